// The matrix: random layouts, and operations run on them against the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "model.h"
#include "reports.h"
#include "testheap.h"

// ---- Random layouts -----------------------------------------------------------------------------------------------

bool ordersAgree(const Layout& layout)
{
    int order = layout.images[0].spec.order;
    return layout.images[0].spec.depth == ORV_DEPTH_1U ||
           std::ranges::all_of(layout.images, [&](const auto& image) { return image.spec.order == order; });
}

bool originsAgree(const Layout& layout)
{
    int origin = layout.images[0].spec.origin;
    return std::ranges::all_of(layout.images, [&](const auto& image) {
        return image.spec.origin == origin && (!image.mask || image.mask->origin == origin);
    });
}

namespace {

// The scale of a layout: sizes of regions lie near one size, so that most of them are processed.
struct Scale {
    int width, height;
    int processed = 1;  // channels
    bool wide = false;  // rows that do not fit any cache of a part of a row
};

Scale randomScale(Random& random, const Operation& operation)
{
    auto chance = [&](int percent) { return random.below(100) < percent; };
    Scale scale = {};
    int channels[] = {1, 1, 1, 3, 3, 3, 4, 2};
    scale.processed =
        operation.sourceDepth == ORV_DEPTH_1U || (operation.resultDepth == ORV_DEPTH_1U && !operation.test)
            ? 1
            : channels[random.below(8)];
    scale.width = chance(10) ? 1 : chance(30) ? random.between(2, 12) : random.between(13, 60);
    scale.height = chance(10) ? 1 : random.between(2, 24);
    if (chance(8)) {
        scale.wide = true;
        int bits = int(operation.sourceDepth & ORV_DEPTH_MASK);
        int part = 4096 * 8 / (bits * scale.processed);
        scale.width = random.between(part - 9, part * 5 / 2);
        scale.height = random.between(1, 2);
    } else if (scale.processed == 4 && chance(30)) {
        scale.processed = chance(50) ? 9 : 140;
        scale.width = std::min(scale.width, 20);
        scale.height = std::min(scale.height, 5);
    }
    return scale;
}

// Channels of which `processed` are processed.
void chooseChannels(Random& random, PictureSpec& spec, int processed)
{
    int way = random.below(5);
    if (processed > 1 || way < 2) {
        spec.alpha = spec.depth != ORV_DEPTH_1U && random.below(3) == 0 ? processed + 1 : 0;
        spec.channels = processed + (spec.alpha ? 1 : 0);
        return;
    }
    const int counts[] = {1, 3, 4, 12};
    spec.channels = spec.depth == ORV_DEPTH_1U ? 1 : counts[random.below(4)];
    spec.alpha = random.below(3) == 0 ? spec.channels : 0;
    spec.roi = OrvROI{random.between(1, spec.channels), 0, 0, 0, 0};
}

// The size of an image and its region.
void chooseSize(Random& random, PictureSpec& spec, const Scale& scale)
{
    int extraWidth = random.below(3);
    int extraHeight = random.below(2);
    spec.width = scale.width + extraWidth;
    spec.height = scale.height + extraHeight;
    int way = random.below(20);
    if (!spec.roi && way < 8)
        return;
    OrvROI roi = {spec.roi ? spec.roi->coi : 0, 0, 0, spec.width, spec.height};
    if (way >= 9) {
        roi.xOffset = random.below(30);
        roi.yOffset = random.below(14);
        // The image may end inside the region, and now and then before it.
        bool outside = random.below(60) == 0;
        spec.width += roi.xOffset + random.between(-2, 9);
        spec.height += roi.yOffset + random.between(-1, 5);
        if (outside)
            (random.below(2) ? spec.width : spec.height) = random.between(1, 5);
        spec.width = std::max(spec.width, 1);
        spec.height = std::max(spec.height, 1);
    }
    spec.roi = roi;
}

void chooseStorage(Random& random, PictureSpec& spec)
{
    spec.align = 4 << random.below(4);
    spec.extraStep = random.below(3) == 0 ? spec.align * random.between(1, 3) : 0;
    // Pixels may lie at any address, and their rows any number of bytes apart.
    if (random.below(4) == 0) {
        spec.offset = random.below(8);
        spec.extraStep += random.below(2) ? random.below(8) : 0;
    }
    spec.origin = random.below(2);
    spec.seed = random.bits();
}

PictureSpec randomImage(Random& random, uint32_t depth, const Scale& scale, int processed, int order, bool tiles)
{
    PictureSpec spec = {.depth = depth, .order = order};
    chooseChannels(random, spec, processed);
    chooseSize(random, spec, scale);
    chooseStorage(random, spec);
    if (tiles && random.below(3) != 0) {
        spec.tileWidth = scale.wide ? 8 * random.between(40, 400) : 8 * random.between(1, 4);
        spec.tileHeight = 8 * random.between(1, 2);
    }
    return spec;
}

PictureSpec randomMask(Random& random, const Scale& scale)
{
    PictureSpec spec = {.depth = ORV_DEPTH_1U, .order = random.below(2)};
    chooseSize(random, spec, scale);
    chooseStorage(random, spec);
    if (spec.roi)
        spec.roi->coi = random.below(2);
    return spec;
}

Layout randomLayout(Random& random, const Operation& operation)
{
    Scale scale = randomScale(random, operation);
    int count = operation.sources + 1;
    bool tiles = random.below(3) == 0;
    int masks = random.below(3) == 0 ? 60 : random.below(2) ? 30 : 0;  // percent
    int order = random.below(2);
    bool alike = !tiles && masks == 0 && random.below(4) == 0;
    Layout layout;
    for (int i = 0; i < count; ++i) {
        bool last = i + 1 == count;
        uint32_t depth = last ? operation.resultDepth : operation.sourceDepth;
        int processed = last && operation.test ? 1 : scale.processed;
        int imageOrder = random.below(4) ? order : random.below(2);
        Layout::Image image = {randomImage(random, depth, scale, processed, imageOrder, tiles), i, {}, i};
        if (alike && i > 0 && depth == operation.sourceDepth && processed == scale.processed) {
            // What may be processed in one run.
            uint64_t seed = image.spec.seed;
            image.spec = layout.images[0].spec;
            image.spec.seed = seed;
        }
        if (random.below(100) < masks) {
            image.mask = randomMask(random, scale);
            if (i > 0 && random.below(4) == 0 && layout.images[size_t(i - 1)].mask) {
                image.sameMask = layout.images[size_t(i - 1)].sameMask;
                image.mask = layout.images[size_t(i - 1)].mask;
            }
        }
        // One image twice: as both sources, or in place.
        bool mayBeSame =
            last ? operation.inPlace && depth == operation.sourceDepth && processed == scale.processed : i > 0;
        if (i > 0 && mayBeSame && random.below(4) == 0) {
            int other = random.below(i);
            image = layout.images[size_t(other)];
        }
        layout.images.push_back(image);
    }
    return layout;
}

Layout fittingLayout(Random& random, const Operation& operation)
{
    for (;;) {
        Layout layout = randomLayout(random, operation);
        if (operation.fits ? operation.fits(layout) : ordersAgree(layout))
            return layout;
    }
}

// ---- The comparison -----------------------------------------------------------------------------------------------

// The first pixel in which two pictures differ, empty for none.
std::string differingPixel(const Picture& got, const Picture& expected)
{
    const PictureSpec& spec = got.layout();
    std::vector<uint32_t> values = got.values(), others = expected.values();
    auto at = size_t(std::ranges::mismatch(values, others).in1 - values.begin());
    if (at == values.size())
        return "";
    auto channels = size_t(spec.channels), width = size_t(spec.width);
    std::ostringstream text;
    text << "pixel " << at / channels % width << ' ' << at / channels / width << " channel " << at % channels
         << std::hex << " is " << values[at] << ", not " << others[at];
    return text.str();
}

// True if the whole buffers of plain images may be processed: padding is then nobody's.
bool mayTouchPadding(const Operation& operation, const Scene& scene)
{
    auto plain = [](const Picture* picture) {
        const PictureSpec& spec = picture->layout();
        return !spec.tileWidth && (!spec.roi || (spec.channels == 1 && spec.roi->coi > 0));
    };
    auto allowed = [&](const Picture* mask) { return !mask || operation.masksAreImages; };
    return operation.padding && std::ranges::all_of(scene.images, plain) && std::ranges::all_of(scene.masks, allowed);
}

void compareScenes(const Operation& operation, const Scene& got, const Scene& expected)
{
    for (size_t i = 0; i < got.all().size(); ++i) {
        const Picture& picture = *got.all()[i];
        const Picture& other = *expected.all()[i];
        SCOPED_TRACE(std::string("picture ") + picture.layout().name);
        if (picture.bytes() == other.bytes())
            continue;
        EXPECT_EQ(differingPixel(picture, other), "");
        EXPECT_TRUE(&picture == &got.destination() && mayTouchPadding(operation, got)) << "padding was changed";
    }
    EXPECT_EQ(got.faults(), "");
}

// The log of a walk until its n-th open, which is refused; all of it if n is 0.
std::string walkText(const Walk& walk, int n)
{
    TileLog log;
    auto note = [&](const WalkStep& step) {
        log.calls.push_back({nullptr, step.column, step.row, step.mode, step.picture->layout().name});
    };
    for (const WalkStep& step : walk) {
        if (step.kind != WalkStep::piece)
            note(step);
        if (step.kind == WalkStep::open && --n == 0) {
            std::ranges::for_each(step.undo, note);
            break;
        }
    }
    return log.text();
}

// Calls the operation, with the n-th open of a tile refused unless n is 0, and does what the model does. Answers how
// many tiles are opened.
int runScene(const Operation& operation, const Layout& layout, int refuse)
{
    Scene scene(layout), expected(layout);
    Reports reports;
    std::vector<uint8_t> headers = scene.headers();
    std::vector<OrvImage*> images = scene.pointers();
    int blocks = testheap::blocks();
    scene.log.refuse = refuse;
    operation.call(images.data());
    EXPECT_EQ(testheap::blocks(), blocks);
    EXPECT_TRUE(scene.headers() == headers) << "a header was changed";

    std::string report;
    int opens = 0;
    if (operation.walk) {
        Walk walk = operation.walk(scene);
        int open = 0;
        for (const WalkStep& step : walk) {
            if (step.kind == WalkStep::piece)
                applyModel(operation, expected, step.area);
            if (step.kind == WalkStep::open && ++opens == refuse) {
                report = step.refusal;
                open -= int(step.undo.size());
                break;
            }
            open += step.kind == WalkStep::open ? 1 : step.kind == WalkStep::release ? -1 : 0;
        }
        EXPECT_EQ(scene.log.text(), walkText(walk, refuse));
        for (const TileLog::Call& call : scene.log.calls)
            EXPECT_TRUE(std::ranges::find(images, call.image) != images.end()) << "not the application's header";
        EXPECT_EQ(scene.openTiles(), open);
    } else {
        applyModel(operation, expected, commonArea(expected));
        EXPECT_EQ(scene.openTiles(), 0);
    }
    EXPECT_EQ(reports.take(), report);
    compareScenes(operation, scene, expected);
    return opens;
}

}  // namespace

PictureSpec randomPictureSpec(Random& random, uint32_t depth, int processed, int width, int height)
{
    return randomImage(random, depth, {width, height}, processed, random.below(2), random.below(2));
}

PictureSpec randomMaskSpec(Random& random, int width, int height)
{
    return randomMask(random, {width, height});
}

void runMatrix(const Operation& operation)
{
    Random random(operation.seed);
    for (int i = 0; i < operation.cases; ++i) {
        Layout layout = fittingLayout(random, operation);
        SCOPED_TRACE(std::string(operation.name) + " case " + std::to_string(i) + layout.text());
        int opens = runScene(operation, layout, 0);
        if (testing::Test::HasFailure())
            return;
        if (opens == 0 || !operation.endsAtRefusal)
            continue;
        int refuse = random.between(1, opens);
        SCOPED_TRACE("tile " + std::to_string(refuse) + " is refused");
        runScene(operation, layout, refuse);
        if (testing::Test::HasFailure())
            return;
    }
}
