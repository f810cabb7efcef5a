#include "probe.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "probeimages.h"

namespace probe {

int depth = 0;
bool bits = false;

namespace {

constexpr uint32_t depths[] = {ORV_DEPTH_1U,  ORV_DEPTH_8U,  ORV_DEPTH_8S, ORV_DEPTH_16U,
                               ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};
constexpr int callsExamined = 2;
const char* const columns[] = {"depths", "channels", "orders", "coi", "mask", "destination mask", "tiles", "place"};

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

enum class Role { source, alpha, model, destination, both, fixed };

// Alphas are images of one channel like the sources, a model is one without tiles; masks and maps stay as they were
// given.
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
        if (name == "mask" || name == "xMap" || name == "yMap")
            roles.push_back(Role::fixed);
        else if (is(name, "alpha"))
            roles.push_back(Role::alpha);
        else if (is(name, "tpl"))
            roles.push_back(Role::model);
        else if (is(name, "dst") || name == "res" || (!hasDestination && hasSource && !is(name, "src")))
            roles.push_back(Role::destination);
        else
            roles.push_back(names.size() == 1 ? Role::both : Role::source);
    }
    return roles;
}

// What a call has done: whether it was well, whether pixels changed, and what there is afterwards: the destinations'
// pixels, and a digest of what was returned.
struct Outcome {
    bool good = false, changed = false;
    std::vector<uint8_t> pixels;
    size_t returned = 0;

    bool operator==(const Outcome& other) const { return pixels == other.pixels && returned == other.returned; }
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
        findCoi();
        findOrders();
        findMasks();
        findTiles();
        findPlace();
    }

    std::map<std::string, std::set<std::string>> found;

private:
    bool has(Role role) const { return std::find(roles.begin(), roles.end(), role) != roles.end(); }

    // With images that are all like the first one and, in place, the destination being that.
    enum class Place { asGiven, apart, same };

    Outcome attempt(const Kind& source, const Kind& destination, Place place = Place::asGiven)
    {
        std::vector<OrvImage*> images;
        OrvImage* first = nullptr;
        for (size_t i = 0; i < roles.size(); ++i) {
            Kind kind = roles[i] == Role::destination ? destination : source;
            if (roles[i] == Role::alpha)
                kind.channels = 1, kind.coi = 0, kind.masked = false;
            if (roles[i] == Role::model)
                kind.tiled = kind.masked = false;
            OrvImage* image = call.images[i];
            if (roles[i] != Role::fixed) {
                bool same = place == Place::same && roles[i] == Role::destination && first;
                OrvImage* model = place != Place::asGiven && first ? first : image;
                size_t seed = place == Place::apart && roles[i] == Role::destination ? 0 : i;
                image = same ? first : makeLike(*model, kind, seed);
                if (kind.tiled && !same)
                    image = tiledCopy(image);
                if (!first && roles[i] != Role::model)
                    first = image;
            }
            images.push_back(image);
        }
        auto isTarget = [&](size_t i) { return roles[i] == Role::destination || roles[i] == Role::both; };
        std::vector<std::vector<uint8_t>> before;
        for (size_t i = 0; i < roles.size(); ++i)
            before.push_back(isTarget(i) ? pixelsOf(images[i]) : std::vector<uint8_t>());
        reports = 0;
        bits = source.depth == ORV_DEPTH_1U;
        orvSetErrStatus(0);
        Outcome outcome;
        outcome.returned = call.run(images);
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
                if (from == to)
                    equal.push_back(source);
                bool asGiven =
                    from == depthOf(pairs ? Role::source : only) && (!pairs || to == depthOf(Role::destination));
                // Bits have but one channel, so that other kinds tell more.
                int worth = 1 + 2 * (from != ORV_DEPTH_1U) + 2 * (to != ORV_DEPTH_1U) + asGiven;
                if (worth > best) {
                    best = worth;
                    base[0] = source;
                    base[1] = destination;
                }
            }
        return best > 0;
    }

    static int channelsIn(const Kind& kind) { return kind.depth == ORV_DEPTH_1U ? 1 : kind.channels; }

    // Channels that a source and a destination may have, the same or, if these do not do, as the call had them.
    void findChannels()
    {
        const char* const names[] = {"", "1", "", "3", "3+alpha"};
        for (int channels : {1, 3, 4}) {
            Kind source = base[0], destination = base[1];
            for (int other : {channels, base[1].channels}) {
                source.channels = channels;
                destination.channels = other;
                if (channelsIn(has(Role::source) ? source : destination) != channels &&
                    channelsIn(destination) != channels)
                    break;
                if (!works(attempt(source, destination)))
                    continue;
                std::string from = names[channelsIn(source)], to = names[channelsIn(destination)];
                if (!has(Role::source))
                    from = to;
                bool alone = !has(Role::destination) || destination.depth == ORV_DEPTH_1U || from == to;
                found["channels"].insert(alone ? from : from + ">" + to);
                break;
            }
        }
    }

    // Gives images of one channel three, the source or both, if there is a depth for that; false if there is none.
    bool widen(Kind& source, Kind& destination)
    {
        if (channelsIn(source) == 1 && channelsIn(destination) == 1)
            source.channels = 3;
        if (channelsIn(destination) == 1 && (channelsIn(source) == 1 || !works(attempt(source, destination))))
            destination.channels = 3;
        return channelsIn(source) > 1 || channelsIn(destination) > 1;
    }

    // One of three channels, which must give another result than all of them.
    void findCoi()
    {
        Kind source = base[0], destination = base[1];
        if (!widen(source, destination))
            return;
        Outcome all = attempt(source, destination);
        source.coi = destination.coi = 1;
        Outcome one = attempt(source, destination);
        found["coi"].insert(!works(one) ? "no" : all.good && one == all ? "ignored" : "yes");
    }

    void findOrders()
    {
        Kind source = base[0], destination = base[1];
        if (!widen(source, destination) || !works(attempt(source, destination)))
            return;
        std::set<std::string>& orders = found["orders"];
        auto tryOrders = [&](int from, int to, const char* name) {
            source.order = from;
            destination.order = to;
            if (works(attempt(source, destination)))
                orders.insert(name);
        };
        tryOrders(ORV_DATA_ORDER_PIXEL, ORV_DATA_ORDER_PIXEL, "pixels");
        tryOrders(ORV_DATA_ORDER_PLANE, ORV_DATA_ORDER_PLANE, "planes");
        if (has(Role::source) && has(Role::destination) && channelsIn(source) > 1 && channelsIn(destination) > 1) {
            tryOrders(ORV_DATA_ORDER_PIXEL, ORV_DATA_ORDER_PLANE, "pixels>planes");
            tryOrders(ORV_DATA_ORDER_PLANE, ORV_DATA_ORDER_PIXEL, "planes>pixels");
        }
    }

    // Under a mask of few pixels the result is another one.
    void findMasks()
    {
        Outcome without = attempt(base[0], base[1]);
        for (int side = 0; side < 2; ++side) {
            if (!has(side ? Role::destination : Role::source) && !(has(Role::both) && side == 0))
                continue;
            Kind kinds[2] = {base[0], base[1]};
            kinds[side].masked = true;
            Outcome with = attempt(kinds[0], kinds[1]);
            found[side ? "destination mask" : "mask"].insert(!with.good ? "no" : with == without ? "ignored" : "yes");
        }
    }

    void findTiles()
    {
        Kind source = base[0], destination = base[1];
        source.tiled = destination.tiled = true;
        Outcome plain = attempt(base[0], base[1]), tiled = attempt(source, destination);
        // Tiles part rows, so that pixels come in another order.
        bool same = countsOf(plain.pixels) == countsOf(tiled.pixels) && plain.returned == tiled.returned;
        found["tiles"].insert(!works(tiled) ? "no" : same ? "yes" : "yes, other values");
    }

    static std::vector<size_t> countsOf(const std::vector<uint8_t>& bytes)
    {
        std::vector<size_t> counts(256);
        for (uint8_t byte : bytes)
            ++counts[byte];
        return counts;
    }

    void findPlace()
    {
        if (!has(Role::source) || !has(Role::destination))
            return;
        // An image has one model, so that none is both of a conversion between two, whether they look or not.
        if (call.function.name == "orvYUV2RGB") {
            found["place"].insert("no");
            return;
        }
        bool done = false;
        for (size_t i = 0; i < equal.size() && !done; ++i)
            for (int channels : {1, 3}) {
                Kind kind = equal[i];
                kind.channels = channels;
                Outcome same = attempt(kind, kind, Place::same);
                done = done || (works(same) && same.pixels == attempt(kind, kind, Place::apart).pixels);
            }
        found["place"].insert(done ? "yes" : "no");
    }

    const Call& call;
    std::vector<Role> roles;
    Kind base[2] = {};        // a source and a destination that are taken
    int best = 0;             // how much these tell
    std::vector<Kind> equal;  // taken as both
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
    for (const char* answer : {"yes", "yes, other values", "ignored", "no"})
        if (found.contains(answer))
            return answer;
    std::string text;
    for (const std::string& one : found)
        text += (text.empty() ? "" : ", ") + one;
    for (size_t at; (at = text.find('>')) != std::string::npos;)
        text.replace(at, 1, " to ");
    const std::string all = "pixels, pixels to planes, planes, planes to pixels";
    if (text == all)
        return "pixels, planes, mixed";
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

// Another call may show that something is not ignored after all.
bool wants(const Function& function)
{
    if (!getenv("ORV_MATRIX") || !isOperation(function.name))
        return false;
    Row& row = rows()[function.name];
    auto isIgnored = [](auto& column) { return column.second.contains("ignored"); };
    bool open = row.found.empty() || std::any_of(row.found.begin(), row.found.end(), isIgnored);
    return open && row.calls++ < callsExamined;
}

// In a process of its own, since arguments may not suit every kind of image.
void examine(const Call& call)
{
    int ends[2];
    if (call.images.empty() || pipe(ends) != 0)
        return;
    pid_t child = fork();
    if (child == 0) {
        alarm(600);
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
