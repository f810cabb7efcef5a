#include "probe.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <sstream>

namespace probe {

int depth = 0;

namespace {

constexpr uint32_t depths[] = {ORV_DEPTH_1U,  ORV_DEPTH_8U,  ORV_DEPTH_8S, ORV_DEPTH_16U,
                               ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};
constexpr int callsExamined = 3;
const char* const columns[] = {"depths", "channels", "orders", "coi", "masks", "tiles", "place"};

// What has been found of a function, in a set of words for each column.
struct Row {
    bool hasImages = false;
    int calls = 0;
    std::map<std::string, std::set<std::string>> found;
};

std::map<std::string, Row>& rows()
{
    static std::map<std::string, Row> all;
    return all;
}

std::vector<std::string> split(const std::string& text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

std::string depthName(uint32_t depth)
{
    return depth == ORV_DEPTH_32F ? "32F"
                                  : std::to_string(depth & ORV_DEPTH_MASK) + (depth & ORV_DEPTH_SIGN ? "S" : "U");
}

enum class Role { source, destination, both, fixed };

// Masks, alphas and maps stay as they were given.
std::vector<Role> rolesOf(const Call& call)
{
    std::vector<std::string> names;
    for (size_t place : call.places)
        names.push_back(call.function.arguments[place]);
    auto is = [](const std::string& name, const char* start) { return name.rfind(start, 0) == 0; };
    bool hasDestination = std::any_of(names.begin(), names.end(), [&](auto& n) { return is(n, "dst") || n == "res"; });
    bool hasSource = std::any_of(names.begin(), names.end(), [&](auto& n) { return is(n, "src"); });
    std::vector<Role> roles;
    for (const std::string& name : names) {
        if (name == "mask" || is(name, "alpha") || name == "xMap" || name == "yMap")
            roles.push_back(Role::fixed);
        else if (is(name, "dst") || name == "res" || (!hasDestination && hasSource && !is(name, "src")))
            roles.push_back(Role::destination);
        else
            roles.push_back(names.size() == 1 ? Role::both : Role::source);
    }
    return roles;
}

struct Kind {
    uint32_t depth;
    int channels, order = ORV_DATA_ORDER_PIXEL;
    bool tiled = false, masked = false;
    int coi = 0;
};

// Random values, floats from 0 to 255, others over the whole range; a seed gives the same ones each time.
void fill(const OrvImage& image, size_t seed)
{
    constexpr size_t size = size_t{1} << 22;
    static std::vector<uint8_t> bytes;
    static std::vector<float> floats;
    if (bytes.empty()) {
        std::minstd_rand random(5);
        for (size_t i = 0; i < size; ++i) {
            bytes.push_back(uint8_t(random() >> 8));
            floats.push_back(float(bytes.back()) + 0.25f);
        }
    }
    const uint8_t* values =
        image.depth == ORV_DEPTH_32F ? reinterpret_cast<const uint8_t*>(floats.data()) : bytes.data();
    for (size_t done = 0, start = 4096 * seed; done < size_t(image.imageSize); start = 0) {
        size_t part = std::min(size_t(image.imageSize) - done, size - start);
        memcpy(image.imageData + done, values + start, part);
        done += part;
    }
}

// An image as large as the given one, with its region, and values that are the same for the same kind and seed.
OrvImage* makeLike(const OrvImage& given, const Kind& kind, size_t seed)
{
    int channels = kind.depth == ORV_DEPTH_1U ? 1 : kind.channels;
    const char* model = channels < 3 ? "GRAY" : "RGB";
    OrvImage* image =
        orvCreateImageHeader(channels, channels == 4 ? 4 : 0, kind.depth, model, channels < 3 ? "G" : "RGB", kind.order,
                             given.origin, 32, given.width, given.height, nullptr, nullptr, nullptr, nullptr);
    if (channels >= 3 && given.nChannels >= 3) {
        memcpy(image->colorModel, given.colorModel, 4);
        memcpy(image->channelSeq, given.channelSeq, 4);
    }
    if (kind.depth == ORV_DEPTH_32F)
        orvAllocateImageFP(image, 1, 0);
    else
        orvAllocateImage(image, 1, 0);
    fill(*image, seed);
    std::copy_n(given.borderMode, 4, image->borderMode);
    if (given.roi)
        image->roi = orvCreateROI(0, given.roi->xOffset, given.roi->yOffset, given.roi->width, given.roi->height);
    if (kind.coi && channels > 1) {
        if (!image->roi)
            image->roi = orvCreateROI(0, 0, 0, given.width, given.height);
        image->roi->coi = kind.coi;
    }
    if (kind.masked) {
        image->maskROI = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G", 0, given.origin, 4, given.width,
                                              given.height, nullptr, nullptr, nullptr, nullptr);
        orvAllocateImage(image->maskROI, 1, 0);
    }
    return image;
}

// A tiled image that keeps its tiles in memory.
struct Tiles {
    OrvTileInfo info;
    std::vector<std::vector<uint8_t>> memory;
    int columns;
};

int32_t ORV_CALL provide(OrvImage* image, int32_t x, int32_t y, int32_t mode)
{
    Tiles& tiles = *static_cast<Tiles*>(image->tileInfo->tileTag);
    if (mode != ORV_TILE_RELEASE)
        image->tileInfo->tileData = tiles.memory[size_t(y * tiles.columns + x)].data();
    return 0;
}

OrvImage* tiledCopy(OrvImage* plain)
{
    constexpr int size = 64;
    auto* tiles = new Tiles;
    orvSetTileInfo(&tiles->info, provide, tiles, size, size);
    tiles->columns = (plain->width + size - 1) / size;
    size_t count = size_t(tiles->columns) * size_t((plain->height + size - 1) / size);
    tiles->memory.assign(count, std::vector<uint8_t>(size * size * 4 * size_t(plain->nChannels) + 64));
    auto* image = new OrvImage(*plain);
    image->imageData = image->imageDataBlock = nullptr;
    image->tileInfo = &tiles->info;
    OrvROI* roi = plain->roi;
    plain->roi = image->roi = nullptr;
    orvCopy(plain, image);
    plain->roi = image->roi = roi;
    return image;
}

std::vector<uint8_t> pixelsOf(OrvImage* image)
{
    if (!image->tileInfo)
        return {image->imageData, image->imageData + image->imageSize};
    OrvImage plain = *image;
    plain.tileInfo = nullptr;
    plain.roi = image->roi ? orvCreateROI(0, 0, 0, image->width, image->height) : nullptr;
    OrvImage whole = *image;
    whole.roi = nullptr;
    plain.roi = nullptr;
    if (plain.depth == ORV_DEPTH_32F)
        orvAllocateImageFP(&plain, 1, 0);
    else
        orvAllocateImage(&plain, 1, 0);
    orvCopy(&whole, &plain);
    return {plain.imageData, plain.imageData + plain.imageSize};
}

// What a call has done: whether it was well, whether anything changed, and the destinations' pixels afterwards.
struct Outcome {
    bool good = false, changed = false;
    std::vector<uint8_t> pixels;
};

int reports = 0;
int32_t ORV_CALL count(int32_t status, const char*, const char*, const char*, int32_t)
{
    ++reports;
    return status;
}

class Examination {
public:
    explicit Examination(const Call& call) : call(call), roles(rolesOf(call)) {}

    void run()
    {
        if (!findDepths())
            return;
        findChannels();
        findOrders();
        findMasks();
        findTiles();
        findPlace();
    }

    std::map<std::string, std::set<std::string>> found;

private:
    bool has(Role role) const { return std::find(roles.begin(), roles.end(), role) != roles.end(); }

    Outcome attempt(const Kind& source, const Kind& destination, bool inPlace = false)
    {
        std::vector<OrvImage*> images;
        OrvImage* first = nullptr;
        for (size_t i = 0; i < roles.size(); ++i) {
            const Kind& kind = roles[i] == Role::destination ? destination : source;
            OrvImage* image = call.images[i];
            if (roles[i] != Role::fixed) {
                bool same = inPlace && roles[i] == Role::destination && first;
                image = same ? first : makeLike(*image, kind, i);
                if (kind.tiled && !same)
                    image = tiledCopy(image);
                if (!first)
                    first = image;
            }
            images.push_back(image);
        }
        std::vector<std::vector<uint8_t>> before;
        auto isTarget = [&](size_t i) { return roles[i] == Role::destination || roles[i] == Role::both; };
        for (size_t i = 0; i < roles.size(); ++i)
            before.push_back(isTarget(i) ? pixelsOf(images[i]) : std::vector<uint8_t>());
        reports = 0;
        orvSetErrStatus(0);
        call.run(images);
        Outcome outcome;
        outcome.good = reports == 0 && orvGetErrStatus() == 0;
        orvSetErrStatus(0);
        for (size_t i = 0; i < roles.size(); ++i)
            if (isTarget(i)) {
                std::vector<uint8_t> after = pixelsOf(images[i]);
                outcome.changed |= after != before[i];
                outcome.pixels.insert(outcome.pixels.end(), after.begin(), after.end());
            }
        release(images);
        return outcome;
    }

    void release(const std::vector<OrvImage*>& images) const
    {
        std::set<OrvImage*> seen;
        for (size_t i = 0; i < images.size(); ++i)
            if (roles[i] != Role::fixed && !images[i]->tileInfo && seen.insert(images[i]).second)
                orvDeallocate(images[i], ORV_IMAGE_ALL | (images[i]->maskROI ? ORV_IMAGE_MASK : 0));
    }

    bool works(const Outcome& outcome) const { return outcome.good && (outcome.changed || !has(Role::destination)); }

    int channelsOf(Role role) const
    {
        for (size_t i = 0; i < roles.size(); ++i)
            if (roles[i] == role)
                return call.images[i]->nChannels;
        return 1;
    }

    uint32_t depthOf(Role role) const
    {
        for (size_t i = 0; i < roles.size(); ++i)
            if (roles[i] == role)
                return call.images[i]->depth;
        return 0;
    }

    bool findDepths()
    {
        bool any = false;
        bool pairs = has(Role::destination) && has(Role::source);
        Role only = has(Role::destination) ? Role::destination : has(Role::source) ? Role::source : Role::both;
        for (uint32_t from : depths)
            for (uint32_t to : depths) {
                if (!pairs && from != to)
                    continue;
                Kind source = {from, channelsOf(pairs ? Role::source : only)};
                Kind destination = {to, channelsOf(pairs ? Role::destination : only)};
                if (!works(attempt(source, destination))) {
                    if (source.channels == 1 && destination.channels == 1)
                        continue;
                    source.channels = destination.channels = 1;
                    if (!works(attempt(source, destination)))
                        continue;
                }
                found["depths"].insert(depthName(from) + (from == to ? "" : ">" + depthName(to)));
                bool asGiven =
                    from == depthOf(pairs ? Role::source : only) && (!pairs || to == depthOf(Role::destination));
                if (!any || asGiven) {
                    base[0] = source;
                    base[1] = destination;
                }
                any = true;
            }
        return any;
    }

    void findChannels()
    {
        for (int channels : {1, 3, 4}) {
            Kind source = base[0], destination = base[1];
            if (channels > 1 && (source.depth == ORV_DEPTH_1U || destination.depth == ORV_DEPTH_1U) &&
                source.depth == destination.depth)
                continue;
            source.channels = destination.channels = channels;
            if (works(attempt(source, destination)))
                found["channels"].insert(channels == 4 ? "3+alpha" : std::to_string(channels));
        }
        if (base[0].channels != base[1].channels && has(Role::source) && has(Role::destination))
            found["channels"].insert(std::to_string(base[0].channels) + ">" + std::to_string(base[1].channels));
        Kind source = base[0], destination = base[1];
        source.coi = destination.coi = 1;
        if (std::max(source.channels, destination.channels) == 1)
            source.channels = destination.channels = 3;
        if (source.depth != ORV_DEPTH_1U || destination.depth != ORV_DEPTH_1U)
            found["coi"].insert(works(attempt(source, destination)) ? "yes" : "no");
    }

    void findOrders()
    {
        Kind source = base[0], destination = base[1];
        if (source.depth == ORV_DEPTH_1U && destination.depth == ORV_DEPTH_1U)
            return;
        if (source.channels == 1 && found["channels"].contains("3"))
            source.channels = destination.channels = 3;
        if (source.channels == 1 && destination.channels == 1)
            return;
        found["orders"].insert("pixels");
        source.order = destination.order = ORV_DATA_ORDER_PLANE;
        if (works(attempt(source, destination)))
            found["orders"].insert("planes");
        destination.order = ORV_DATA_ORDER_PIXEL;
        if (has(Role::source) && has(Role::destination) && works(attempt(source, destination)))
            found["orders"].insert("planes to pixels");
    }

    // Under a mask without a bit set nothing may change.
    void findMasks()
    {
        for (int side = 0; side < 2; ++side) {
            if (!has(side ? Role::destination : Role::source) && !(has(Role::both) && side == 0))
                continue;
            Kind kinds[2] = {base[0], base[1]};
            kinds[side].masked = true;
            Outcome outcome = attempt(kinds[0], kinds[1]);
            const char* name = has(Role::both) ? "" : side ? "destination: " : "source: ";
            bool measures = !has(Role::destination) && !attempt(base[0], base[1]).changed;
            found["masks"].insert(std::string(name) + (!outcome.good     ? "refused"
                                                       : measures        ? "taken"
                                                       : outcome.changed ? "ignored"
                                                                         : "yes"));
        }
    }

    void findTiles()
    {
        Kind source = base[0], destination = base[1];
        source.tiled = destination.tiled = true;
        Outcome plain = attempt(base[0], base[1]), tiled = attempt(source, destination);
        if (!tiled.good)
            found["tiles"].insert("no");
        else if (base[0].depth == ORV_DEPTH_1U || base[1].depth == ORV_DEPTH_1U)
            found["tiles"].insert("yes");  // the bits that pad a row are nobody's
        else
            found["tiles"].insert(samePixels(plain, tiled) ? "yes" : "yes, other values");
    }

    static bool samePixels(const Outcome& a, const Outcome& b)
    {
        // Padding of rows aside, which copies do not carry.
        size_t differing = 0;
        for (size_t i = 0; i < std::min(a.pixels.size(), b.pixels.size()); ++i)
            differing += a.pixels[i] != b.pixels[i];
        return differing * 20 < a.pixels.size();
    }

    void findPlace()
    {
        if (!has(Role::source) || !has(Role::destination))
            return;
        OrvImage *from = nullptr, *to = nullptr;
        for (size_t i = 0; i < roles.size(); ++i) {
            if (roles[i] == Role::source && !from)
                from = call.images[i];
            if (roles[i] == Role::destination)
                to = call.images[i];
        }
        if (from->width != to->width || from->height != to->height || from->roi || to->roi) {
            return;
        }
        Kind kind = base[1];
        if (base[0].depth != base[1].depth || base[0].channels != base[1].channels) {
            found["place"].insert("no");
            return;
        }
        Outcome apart = attempt(kind, kind), together = attempt(kind, kind, true);
        found["place"].insert(works(together) && apart.pixels == together.pixels ? "yes" : "no");
    }

    const Call& call;
    std::vector<Role> roles;
    Kind base[2] = {};
};

// Depths in their order; those that go to the same depths together.
std::string depthsText(const std::set<std::string>& found)
{
    std::vector<std::pair<std::string, std::string>> groups;  // destinations and their sources
    for (uint32_t from : depths) {
        std::string name = depthName(from), destinations;
        bool others = false;
        for (uint32_t to : depths)
            if (found.contains(from == to ? name : name + ">" + depthName(to))) {
                destinations += ' ' + depthName(to);
                others |= from != to;
            }
        if (destinations.empty())
            continue;
        if (!others)
            destinations.clear();
        auto group = std::find_if(groups.begin(), groups.end(), [&](auto& g) { return g.first == destinations; });
        if (group == groups.end())
            groups.push_back({destinations, name});
        else
            group->second += ' ' + name;
    }
    std::string text;
    for (auto& [destinations, sources] : groups)
        text += (text.empty() ? "" : "; ") + sources + (destinations.empty() ? "" : " to" + destinations);
    return text;
}

std::string cellText(const std::string& column, const std::set<std::string>& found)
{
    if (column == "depths")
        return depthsText(found);
    if (found.contains("yes"))
        return "yes";
    std::string text;
    for (const std::string& one : found)
        text += (text.empty() ? "" : ", ") + one;
    for (size_t at; (at = text.find('>')) != std::string::npos;)
        text.replace(at, 1, " to ");
    return text;
}

// What makes, releases or describes an image has no pixels to process.
bool isOperation(const std::string& name)
{
    for (const char* start : {"orvAllocate", "orvDeallocate", "orvCreate", "orvClone", "orvCheck", "orvSetBorderMode"})
        if (name.rfind(start, 0) == 0)
            return false;
    return true;
}

// Writes the table when the program ends.
struct Writer {
    Writer() { rows(); }  // which is then destroyed later
    ~Writer()
    {
        const char* path = getenv("ORV_MATRIX");
        FILE* out = path && getpid() == owner ? fopen(path, "w") : nullptr;
        if (!out)
            return;
        for (auto& [name, row] : rows()) {
            fprintf(out, "%s", name.c_str());
            const bool unknown = row.hasImages && isOperation(name) && row.found.empty();
            for (const char* column : columns) {
                std::string text = cellText(column, row.found[column]);
                fprintf(out, "\t%s", unknown ? "?" : text.empty() ? "-" : text.c_str());
            }
            fputc('\n', out);
        }
        fclose(out);
    }
    pid_t owner = getpid();
} writer;

}  // namespace

Function::Function(const char* name, const char* arguments, bool hasImages) : name(name), arguments(split(arguments))
{
    rows()[name].hasImages = hasImages;
}

void* address(const char* name)
{
    void* found = dlsym(RTLD_NEXT, name);
    if (!found)
        abort();
    return found;
}

bool wants(const Function& function)
{
    return getenv("ORV_MATRIX") && isOperation(function.name) && rows()[function.name].calls++ < callsExamined;
}

// In a process of its own, since arguments may not suit every kind of image.
void examine(const Call& call)
{
    int ends[2];
    if (call.images.empty() || pipe(ends) != 0)
        return;
    pid_t child = fork();
    if (child == 0) {
        alarm(60);
        orvSetErrMode(ORV_ErrModeSilent);
        orvRedirectError(count);
        Examination examination(call);
        examination.run();
        for (auto& [column, words] : examination.found)
            for (const std::string& word : words)
                dprintf(ends[1], "%s\t%s\n", column.c_str(), word.c_str());
        _exit(0);
    }
    close(ends[1]);
    FILE* in = fdopen(ends[0], "r");
    char line[200];
    while (fgets(line, sizeof line, in)) {
        std::string text(line, strcspn(line, "\n"));
        size_t tab = text.find('\t');
        rows()[call.function.name].found[text.substr(0, tab)].insert(text.substr(tab + 1));
    }
    fclose(in);
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0)
        fprintf(stderr, "%s: the examination has ended with %d\n", call.function.name.c_str(), status);
}

}  // namespace probe
