#include "model.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <set>

const std::vector<uint32_t> allDepths = {ORV_DEPTH_1U,  ORV_DEPTH_8U,  ORV_DEPTH_8S, ORV_DEPTH_16U,
                                         ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};

// ---- Values -------------------------------------------------------------------------------------------------------

double numberOf(uint32_t depth, uint32_t bits)
{
    switch (depth) {
    case ORV_DEPTH_8S: return int8_t(bits);
    case ORV_DEPTH_16S: return int16_t(bits);
    case ORV_DEPTH_32S: return int32_t(bits);
    case ORV_DEPTH_32F: return std::bit_cast<float>(bits);
    default: return bits;
    }
}

uint32_t bitsOf(uint32_t depth, double number)
{
    if (depth == ORV_DEPTH_32F)
        return std::bit_cast<uint32_t>(float(number));
    bool isSigned = depth & ORV_DEPTH_SIGN;
    int bits = int(depth & ORV_DEPTH_MASK);
    double lowest = isSigned ? -std::ldexp(1, bits - 1) : 0;
    double highest = std::ldexp(1, isSigned ? bits - 1 : bits) - 1;
    uint32_t value = uint32_t(int64_t(std::clamp(number, lowest, highest)));
    return bits == 32 ? value : value & ((1u << bits) - 1);
}

std::string depthName(uint32_t depth)
{
    std::string sign = depth == ORV_DEPTH_32F ? "F" : depth & ORV_DEPTH_SIGN ? "S" : "U";
    return std::to_string(depth & ORV_DEPTH_MASK) + sign;
}

std::vector<uint32_t> telling(uint32_t depth)
{
    std::vector<uint32_t> values;
    int bits = int(depth & ORV_DEPTH_MASK);
    uint32_t all = bits == 32 ? UINT32_MAX : (1u << bits) - 1;
    if (depth == ORV_DEPTH_32F)
        for (float number : {0.0f, 1.0f, 0.1f, 1e-45f, 1e-38f, 16777217.0f, 3e38f, HUGE_VALF, NAN})
            for (float sign : {1.0f, -1.0f})
                values.push_back(std::bit_cast<uint32_t>(number * sign));
    else if (bits > 8)
        for (int bit = 0; bit <= bits; ++bit)
            for (uint32_t around : {0u, 1u, ~0u})
                values.push_back(((bit == bits ? 0u : 1u << bit) + around) & all);
    for (uint32_t i = 0; bits <= 8 && i < 256; ++i)
        values.push_back(i & all);
    Random random(depth);
    while (values.size() < 256)
        values.push_back(depth == ORV_DEPTH_32F ? std::bit_cast<uint32_t>(float(random.between(-9999, 9999)) / 16)
                                                : uint32_t(random.bits()) & all);
    return values;
}

bool sameValue(uint32_t depth, uint32_t a, uint32_t b)
{
    return a == b || (depth == ORV_DEPTH_32F && std::isnan(numberOf(depth, a)) && std::isnan(numberOf(depth, b)));
}

// ---- Scenes -------------------------------------------------------------------------------------------------------

namespace {

std::string specText(const PictureSpec& spec)
{
    auto number = [](int value) { return ' ' + std::to_string(value); };
    std::string text = depthName(spec.depth) + number(spec.width) + 'x' + std::to_string(spec.height) + " channels" +
                       number(spec.channels);
    if (spec.alpha)
        text += " alpha";
    text += spec.order == ORV_DATA_ORDER_PLANE ? " planes" : " pixels";
    text += " align" + number(spec.align) + '+' + std::to_string(spec.extraStep) + " at" + number(spec.offset);
    if (spec.origin == ORV_ORIGIN_BL)
        text += " bottom-left";
    if (spec.roi)
        text += " roi" + number(spec.roi->coi) + ':' + number(spec.roi->xOffset) + number(spec.roi->yOffset) +
                number(spec.roi->width) + 'x' + std::to_string(spec.roi->height);
    if (spec.tileWidth)
        text += " tiles" + number(spec.tileWidth) + 'x' + std::to_string(spec.tileHeight);
    return text;
}

}  // namespace

std::string Layout::text() const
{
    std::string lines;
    for (size_t i = 0; i < images.size(); ++i) {
        const Image& image = images[i];
        std::string name = i + 1 == images.size() ? "D" : std::string(1, char('A' + i));
        lines += '\n' + name + ": ";
        lines += image.same == int(i) ? specText(image.spec) : "is image " + std::to_string(image.same);
        if (image.mask && image.same == int(i))
            lines += "\n   mask: " +
                     (image.sameMask == int(i) ? specText(*image.mask) : "of image " + std::to_string(image.sameMask));
    }
    return lines;
}

Scene::Scene(const Layout& layout)
{
    static const char* const names[] = {"A", "B", "C", "E", "F", "G"};
    images.resize(layout.images.size());
    masks.resize(layout.images.size());
    for (size_t i = 0; i < images.size(); ++i) {
        const Layout::Image& image = layout.images[i];
        if (image.same != int(i)) {
            images[i] = images[size_t(image.same)];
            masks[i] = masks[size_t(image.same)];
            continue;
        }
        if (image.mask && image.sameMask == int(i)) {
            pictures.push_back(std::make_unique<Picture>(*image.mask));
            masks[i] = pictures.back().get();
        } else if (image.mask) {
            masks[i] = masks[size_t(image.sameMask)];
        }
        PictureSpec spec = image.spec;
        spec.log = &log;
        spec.mask = masks[i] ? &masks[i]->image : nullptr;
        spec.name = i + 1 == images.size() ? "D" : names[i];  // NOLINT: seven images at most
        pictures.push_back(std::make_unique<Picture>(spec));
        images[i] = pictures.back().get();
    }
}

std::vector<OrvImage*> Scene::pointers() const
{
    std::vector<OrvImage*> all;
    for (Picture* picture : images)
        all.push_back(&picture->image);
    return all;
}

std::string Scene::faults() const
{
    std::string text;
    for (const auto& picture : pictures)
        text += picture->faults();
    return text;
}

int Scene::openTiles() const
{
    int count = 0;
    for (const auto& picture : pictures)
        count += picture->openTiles();
    return count;
}

std::vector<uint8_t> Scene::headers() const
{
    std::vector<uint8_t> bytes;
    auto add = [&](const void* record, size_t size) {
        auto* first = static_cast<const uint8_t*>(record);
        bytes.insert(bytes.end(), first, first + size);
    };
    for (const auto& picture : pictures) {
        add(&picture->image, sizeof picture->image);
        add(&picture->roi, sizeof picture->roi);
    }
    return bytes;
}

// ---- The model ----------------------------------------------------------------------------------------------------

Area areaOf(const Picture& picture)
{
    const PictureSpec& spec = picture.layout();
    if (!spec.roi)
        return {0, 0, spec.width, spec.height};
    const OrvROI& roi = *spec.roi;
    return {roi.xOffset, roi.yOffset, std::min(roi.width, spec.width - roi.xOffset),
            std::min(roi.height, spec.height - roi.yOffset)};
}

std::vector<int> channelsOf(const PictureSpec& spec)
{
    if (spec.roi && spec.roi->coi > 0)
        return {spec.roi->coi - 1};
    std::vector<int> channels;
    for (int c = 0; c < spec.channels - (spec.alpha ? 1 : 0); ++c)
        channels.push_back(c);
    return channels;
}

Area commonArea(const Scene& scene)
{
    Area common = areaOf(scene.destination());
    auto meet = [&](const Picture* picture) {
        if (!picture)
            return;
        Area area = areaOf(*picture);
        common.width = std::min(common.width, area.width);
        common.height = std::min(common.height, area.height);
    };
    for (size_t i = 0; i < scene.images.size(); ++i) {
        meet(scene.images[i]);
        meet(scene.masks[i]);
    }
    if (common.width <= 0 || common.height <= 0)
        return {0, 0, 0, 0};
    return {0, 0, common.width, common.height};
}

namespace {

// A picture of the call: where its region starts, and its processed channels.
struct Side {
    Picture* picture;
    Area area;
    std::vector<int> channels;

    explicit Side(Picture* of) : picture(of), area(areaOf(*of)), channels(channelsOf(of->layout())) {}
    // Values at a place of the common area, in the i-th processed channel.
    uint32_t get(int x, int y, size_t i) const { return picture->raw(area.x + x, area.y + y, channels[i]); }
    void set(int x, int y, size_t i, uint32_t bits) const
    {
        picture->setRaw(area.x + x, area.y + y, channels[i], bits);
    }
};

void applyToPixel(const Operation& operation, const std::vector<Side>& sides, int x, int y)
{
    const Side& d = sides.back();
    bool allPass = true;
    for (size_t i = 0; i < sides[0].channels.size(); ++i) {
        uint32_t a = operation.sources > 0 ? sides[0].get(x, y, i) : 0;
        uint32_t b = operation.sources > 1 ? sides[1].get(x, y, i) : 0;
        uint32_t result = operation.rule(a, b);
        allPass = allPass && result != 0;
        if (operation.test)
            continue;
        if (operation.swaps)
            sides[0].set(x, y, i, d.get(x, y, i));
        d.set(x, y, i, result);
    }
    if (operation.test)
        d.set(x, y, 0, allPass);
}

}  // namespace

void applyModel(const Operation& operation, const Scene& scene, const Area& part)
{
    std::vector<Side> sides, masks;
    for (Picture* picture : scene.images)
        sides.emplace_back(picture);
    for (Picture* mask : scene.masks)
        if (mask)
            masks.emplace_back(mask);
    for (int y = part.y; y < part.y + part.height; ++y)
        for (int x = part.x; x < part.x + part.width; ++x)
            if (std::ranges::all_of(masks, [&](const Side& mask) { return mask.get(x, y, 0) != 0; }))
                applyToPixel(operation, sides, x, y);
}

void forSelectedPixels(const Scene& scene,
                       const std::function<void(int x, int y, const std::vector<PixelBits>& images)>& visit)
{
    std::vector<Side> sides, masks;
    for (Picture* picture : scene.images)
        sides.emplace_back(picture);
    for (Picture* mask : scene.masks)
        if (mask)
            masks.emplace_back(mask);
    Area common = commonArea(scene);
    std::vector<PixelBits> images(sides.size());
    for (int y = 0; y < common.height; ++y)
        for (int x = 0; x < common.width; ++x) {
            if (!std::ranges::all_of(masks, [&](const Side& mask) { return mask.get(x, y, 0) != 0; }))
                continue;
            for (size_t i = 0; i < sides.size(); ++i) {
                images[i].clear();
                for (size_t c = 0; c < sides[i].channels.size(); ++c)
                    images[i].push_back(sides[i].get(x, y, c));
            }
            visit(x, y, images);
        }
}

// ---- Walks --------------------------------------------------------------------------------------------------------

namespace {

// The tile that holds a place of the common area.
struct Tile {
    int column, row;
    bool operator==(const Tile&) const = default;
};

Tile tileAt(const Picture& picture, int x, int y)
{
    const PictureSpec& spec = picture.layout();
    return {(areaOf(picture).x + x) / spec.tileWidth, (areaOf(picture).y + y) / spec.tileHeight};
}

bool isTiled(const Picture& picture)
{
    return picture.layout().tileWidth > 0;
}

// The parts into which the tiles of some pictures cut the common area: row by row.
std::vector<std::vector<Area>> cutByTiles(const Area& common, const std::vector<const Picture*>& pictures)
{
    std::set<int> columns = {0}, rows = {0};
    for (const Picture* picture : pictures) {
        if (!isTiled(*picture))
            continue;
        for (int x = 1; x < common.width; ++x)
            if (tileAt(*picture, x, 0) != tileAt(*picture, x - 1, 0))
                columns.insert(x);
        for (int y = 1; y < common.height; ++y)
            if (tileAt(*picture, 0, y) != tileAt(*picture, 0, y - 1))
                rows.insert(y);
    }
    std::vector<std::vector<Area>> parts;
    if (common.width == 0 || common.height == 0)
        return parts;
    auto next = [](const std::set<int>& cuts, int cut, int end) {
        auto after = cuts.upper_bound(cut);
        return after == cuts.end() ? end : *after;
    };
    for (int y : rows) {
        parts.emplace_back();
        for (int x : columns)
            parts.back().push_back({x, y, next(columns, x, common.width) - x, next(rows, y, common.height) - y});
    }
    return parts;
}

WalkStep openStep(const Picture& picture, Tile tile, int mode, const std::string& refusal)
{
    return {WalkStep::open, &picture, tile.column, tile.row, mode, refusal};
}

WalkStep releaseStep(const Picture& picture, Tile tile)
{
    return {WalkStep::release, &picture, tile.column, tile.row, ORV_TILE_RELEASE};
}

WalkStep pieceStep(const Area& area)
{
    WalkStep step = {WalkStep::piece};
    step.area = area;
    return step;
}

// Reads a part of a picture into memory: all tiles of a tile row are open together.
void addFetch(Walk& walk, const Picture& picture, const Area& part, const std::string& refusal)
{
    Tile first = tileAt(picture, part.x, part.y);
    Tile last = tileAt(picture, part.x + part.width - 1, part.y + part.height - 1);
    for (int row = first.row; row <= last.row; ++row) {
        for (int column = first.column; column <= last.column; ++column)
            walk.push_back(openStep(picture, {column, row}, ORV_TILE_READ, refusal));
        for (int column = last.column; column >= first.column; --column)
            walk.push_back(releaseStep(picture, {column, row}));
    }
}

}  // namespace

Walk bandWalk(const Scene& scene, const std::string& function, const std::vector<std::string>& names)
{
    struct Walker {
        const Picture* picture;
        int mode;
        std::string refusal;
        Tile tile;
    };
    // A source that is the destination has no tiles of its own.
    std::vector<Walker> walkers;
    std::vector<const Picture*> pictures;
    for (size_t i = 0; i < scene.images.size(); ++i) {
        bool last = i + 1 == scene.images.size();
        const Picture* picture = scene.images[i];
        if (isTiled(*picture) && (last || picture != &scene.destination())) {
            std::string refusal = "-5 " + function + " (" + names[i] + "->tileInfo->tileData == 0)\n";
            walkers.push_back({picture, last ? ORV_TILE_WRITE : ORV_TILE_READ, refusal, {}});
            pictures.push_back(picture);
        }
    }
    Walk walk;
    for (const std::vector<Area>& band : cutByTiles(commonArea(scene), pictures)) {
        for (const Area& piece : band) {
            for (Walker& walker : walkers) {
                Tile tile = tileAt(*walker.picture, piece.x, piece.y);
                if (piece.x > 0 && tile == walker.tile)
                    continue;
                if (piece.x > 0)
                    walk.push_back(releaseStep(*walker.picture, walker.tile));
                walk.push_back(openStep(*walker.picture, tile, walker.mode, walker.refusal));
                walker.tile = tile;
            }
            walk.push_back(pieceStep(piece));
        }
        for (const Walker& walker : walkers)
            walk.push_back(releaseStep(*walker.picture, walker.tile));
    }
    return walk;
}

Walk gridWalk(const Scene& scene, const std::string& function, int sourceMode)
{
    const Picture& destination = scene.destination();
    const Picture& source = *scene.images[0];
    const Picture& leading = isTiled(destination) ? destination : source;
    int mode = &leading == &destination ? int(ORV_TILE_WRITE) : sourceMode;
    std::string refusal = "-2 " + function + " Error get tile to " + (mode == ORV_TILE_WRITE ? "write" : "read") + '\n';
    Walk walk;
    for (const std::vector<Area>& cells : cutByTiles(commonArea(scene), {&leading}))
        for (const Area& cell : cells) {
            if (!isTiled(leading)) {
                walk.push_back(pieceStep(cell));
                continue;
            }
            Tile tile = tileAt(leading, cell.x, cell.y);
            walk.push_back(openStep(leading, tile, mode, refusal));
            if (&leading == &destination && &source != &destination && isTiled(source))
                addFetch(walk, source, cell, "-1 " + function + " \n");
            walk.push_back(pieceStep(cell));
            walk.push_back(releaseStep(leading, tile));
        }
    return walk;
}

Walk leadingWalk(const Scene& scene, const std::string& refusal)
{
    size_t last = scene.images.size() - 1, leading = 0;
    while (leading < last && !isTiled(*scene.images[leading]))
        ++leading;
    if (isTiled(scene.destination()))
        leading = last;
    const Picture& leader = *scene.images[leading];
    int mode = leading == last ? ORV_TILE_WRITE : ORV_TILE_READ;
    Walk walk;
    for (const std::vector<Area>& cells : cutByTiles(commonArea(scene), {&leader}))
        for (const Area& cell : cells) {
            if (!isTiled(leader)) {
                walk.push_back(pieceStep(cell));
                continue;
            }
            Tile tile = tileAt(leader, cell.x, cell.y);
            walk.push_back(openStep(leader, tile, mode, refusal));
            size_t fetches = walk.size();
            for (size_t i = 0; i < last; ++i)
                if (i != leading && isTiled(*scene.images[i]))
                    addFetch(walk, *scene.images[i], cell, refusal);
            for (; fetches < walk.size(); ++fetches)
                walk[fetches].undo = {releaseStep(leader, tile)};
            walk.push_back(pieceStep(cell));
            walk.push_back(releaseStep(leader, tile));
        }
    return walk;
}

Walk swapWalk(const Scene& scene, const std::string& function)
{
    const Picture& destination = scene.destination();
    const Picture& source = *scene.images[0];
    if (!isTiled(source) || !isTiled(destination))
        return gridWalk(scene, function, ORV_TILE_WRITE);
    Walk walk;
    for (const std::vector<Area>& cells : cutByTiles(commonArea(scene), {&destination}))
        for (const Area& cell : cells) {
            Tile tile = tileAt(destination, cell.x, cell.y);
            walk.push_back(openStep(destination, tile, ORV_TILE_WRITE, ""));
            addFetch(walk, source, cell, "");
            walk.push_back(pieceStep(cell));
            walk.push_back(releaseStep(destination, tile));
            Tile first = tileAt(source, cell.x, cell.y);
            Tile last = tileAt(source, cell.x + cell.width - 1, cell.y + cell.height - 1);
            for (Tile to = first; to.row <= last.row; ++to.row)
                for (to.column = first.column; to.column <= last.column; ++to.column) {
                    walk.push_back(openStep(source, to, ORV_TILE_WRITE, ""));
                    walk.push_back(releaseStep(source, to));
                }
        }
    return walk;
}
