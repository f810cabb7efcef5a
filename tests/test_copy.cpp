// Copying, filling and exchanging.
#include <gtest/gtest.h>

#include <bit>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

// Pixels move between images of one origin; data orders only matter where there are channels.
bool moveFits(const Layout& layout)
{
    bool single = layout.images[0].spec.channels == 1 && layout.images[1].spec.channels == 1;
    return originsAgree(layout) && (single || ordersAgree(layout));
}

// Bits under a mask go through the logic operations.
bool masksBits(const Layout& layout)
{
    const Layout::Image& dst = layout.images.back();
    return dst.spec.depth == ORV_DEPTH_1U && (layout.images[0].mask || dst.mask);
}

Operation moveOperation(const char* name, uint32_t depth)
{
    Operation operation = {.name = name, .sourceDepth = depth, .resultDepth = depth};
    operation.rule = [](uint32_t a, uint32_t) { return a; };
    operation.fits = moveFits;
    operation.inPlace = false;
    operation.padding = false;
    operation.seed = depth;
    return operation;
}

// Runs what has one order of tile calls, and then, for 1U, what is done with the logic operations.
void runBoth(Operation operation)
{
    auto fits = operation.fits;
    operation.fits = [&](const Layout& layout) { return fits(layout) && !masksBits(layout); };
    runMatrix(operation);
    if (operation.resultDepth != ORV_DEPTH_1U || testing::Test::HasFailure())
        return;
    operation.fits = [&](const Layout& layout) { return fits(layout) && masksBits(layout); };
    operation.padding = operation.masksAreImages = true;
    operation.walk = {};
    runMatrix(operation);
}

const struct {
    const char* name;
    void(ORV_CALL* call)(OrvImage* src, OrvImage* dst);
} moves[] = {{"orvCopy", orvCopy}, {"orvExchange", orvExchange}};

// What a tile provider sees of an image's header and the mask, at each of its calls.
struct Witness {
    static inline std::vector<std::string> seen;
    static inline std::function<std::string(OrvImage* image)> look;
    static inline OrvTileCallBack provider;

    Witness(Picture& picture, std::function<std::string(OrvImage* image)> what)
    {
        seen.clear();
        look = what;
        provider = picture->tileInfo->callBack;
        picture->tileInfo->callBack = call;
    }
    static int32_t ORV_CALL call(OrvImage* image, int32_t x, int32_t y, int32_t mode)
    {
        if (mode != ORV_TILE_RELEASE)
            seen.push_back(look(image));
        return provider(image, x, y, mode);
    }
};

}  // namespace

TEST(Copy, IsAsTheModelInEveryLayout)
{
    for (uint32_t depth : allDepths) {
        Operation operation = moveOperation("orvCopy", depth);
        operation.call = [](OrvImage* const* images) { orvCopy(images[0], images[1]); };
        operation.walk = [](const Scene& scene) { return gridWalk(scene, "orvCopy"); };
        runBoth(operation);
        if (HasFailure())
            return;
    }
}

TEST(Exchange, IsAsTheModelInEveryLayout)
{
    for (uint32_t depth : allDepths) {
        Operation operation = moveOperation("orvExchange", depth);
        operation.call = [](OrvImage* const* images) { orvExchange(images[0], images[1]); };
        operation.swaps = true;
        operation.walk = [](const Scene& scene) { return swapWalk(scene, "orvExchange"); };
        auto fits = operation.fits;
        auto bothTiled = [](const Layout& layout) {
            return layout.images[0].spec.tileWidth && layout.images[1].spec.tileWidth;
        };
        operation.fits = [&](const Layout& layout) { return fits(layout) && !bothTiled(layout); };
        runMatrix(operation);
        operation.fits = [&](const Layout& layout) { return fits(layout) && bothTiled(layout); };
        operation.endsAtRefusal = false;
        runMatrix(operation);
        if (HasFailure())
            return;
    }
}

TEST(Set, IsAsTheModelInEveryLayout)
{
    for (uint32_t depth : allDepths)
        for (int32_t value : {0, 1, 77, -3, 70000}) {
            Operation operation = moveOperation("orvSet", depth);
            operation.sources = 0;
            operation.cases = 16;
            bool floats = depth == ORV_DEPTH_32F;
            operation.rule = [=](uint32_t, uint32_t) { return bitsOf(depth, value); };
            operation.fits = {};
            operation.call = [=](OrvImage* const* images) {
                return floats ? orvSetFP(images[0], float(value)) : orvSet(images[0], value);
            };
            operation.walk = [=](const Scene& scene) {
                Walk walk = gridWalk(scene, "orvSet");
                for (WalkStep& step : walk)
                    step.refusal += floats ? "-1 orvSetFP \n" : "";
                return walk;
            };
            operation.fits = ordersAgree;
            operation.seed = depth + uint64_t(uint32_t(value));
            runBoth(operation);
            if (HasFailure())
                return;
        }
}

TEST(Copy, ReportsOneFaultAfterTheOther)
{
    for (const auto& move : moves) {
        const auto name = move.name;
        const auto call = move.call;
        SCOPED_TRACE(name);
        std::string start = std::string("-5 ") + name + ' ';
        std::string depths = start + "srcImage->depth != dstImage->depth\n";
        std::string origins = start + "srcImage->origin != dstImage->origin\n";
        std::string orders = start + "srcImage->dataOrder != dstImage->dataOrder\n";
        std::string counts =
            start + "Number of processed channels of srcImage != Number of processed channels of dstImage\n";
        PictureSpec spec = {.channels = 3, .width = 8, .height = 8}, other = spec;
        other.depth = ORV_DEPTH_16U;
        other.origin = ORV_ORIGIN_BL;
        other.order = ORV_DATA_ORDER_PLANE;
        auto reports = [&](const PictureSpec& first, const PictureSpec& second) {
            Picture src(first), dst(second);
            std::vector<uint8_t> before = dst.bytes();
            std::string text = reportsOf([&] { call(src, dst); });
            EXPECT_TRUE(dst.bytes() == before);
            return text;
        };
        EXPECT_EQ(reports(spec, other), depths + origins + orders);
        // The data order is that of the source's depth.
        PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 8, .height = 8};
        EXPECT_EQ(reports(bits, other), depths + origins);
        EXPECT_EQ(reports(other, bits), depths + origins + orders);
        PictureSpec gray = {.width = 8, .height = 8}, plane = gray;
        plane.order = ORV_DATA_ORDER_PLANE;
        EXPECT_EQ(reports(spec, plane), orders);
        plane.origin = ORV_ORIGIN_BL;
        EXPECT_EQ(reports(gray, plane), origins);
        EXPECT_EQ(reports(gray, spec), counts);
        // Before and after comes what every operation has.
        Picture good(spec), flat(spec);
        flat->width = 0;
        EXPECT_EQ(reportsOf([&] { call(good, flat); }), std::string("-10 ") + name + " Incorrect Image\n");
        EXPECT_EQ(reportsOf([&] { call(nullptr, flat); }), std::string("-9 ") + name + " Incorrect Image\n");
        EXPECT_EQ(reportsOf([&] { call(flat, flat); }), std::string("-10 ") + name + " Incorrect Image\n");
        // With tiles the channels are counted when the first cell is open.
        TileLog log;
        PictureSpec tiled = {.width = 24, .height = 8, .tileWidth = 8, .tileHeight = 8, .name = "T", .log = &log};
        EXPECT_EQ(reports(spec, tiled), counts);
        EXPECT_EQ(log.text(), "T write 0 0\nT release 0 0\n");
    }
}

TEST(Copy, OfAnImageToItselfDoesNothing)
{
    Picture picture({.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8});
    EXPECT_EQ(reportsOf([&] { orvCopy(picture, picture), orvExchange(picture, picture); }), "");
    EXPECT_EQ(picture.log().text(), "");
}

// The masks of both images cannot be combined: the nested report, then the trace. A handler may tell to go on.
TEST(Copy, TracesFailuresOfMasks)
{
    PictureSpec maskSpec = {.depth = ORV_DEPTH_1U, .width = 8, .height = 8};
    Picture first(maskSpec), second(maskSpec);
    PictureSpec spec = {.width = 8, .height = 8, .mask = first}, other = {.width = 8, .height = 8, .mask = second};
    for (const auto& move : moves)
        for (int n : {1, 2}) {
            Picture src(spec), dst(other);
            std::vector<uint8_t> before = dst.bytes();
            int blocks = testheap::blocks();
            std::string nested = n == 1 ? "-5 orvAllocateImage ( image == ((void *)0) )\n"
                                        : "-4 orvAllocateImage for allocate image data\n";
            EXPECT_EQ(reportsOf([&] { testheap::refuse(n), move.call(src, dst); }), nested + "-1 " + move.name + " \n");
            Reports reports;
            orvRedirectError([](int32_t, const char*, const char*, const char*, int32_t) { return 0; });
            testheap::refuse(n);
            move.call(src, dst);
            testheap::refuse(0);
            EXPECT_EQ(testheap::blocks(), blocks);
            EXPECT_TRUE(dst.bytes() == before);
        }
}

TEST(Set, CutsTheValueToTheDepth)
{
    const struct {
        uint32_t depth;
        int32_t value, stored;
    } cases[] = {{ORV_DEPTH_1U, 2, 1},
                 {ORV_DEPTH_1U, -1, 0},
                 {ORV_DEPTH_8U, 300, 255},
                 {ORV_DEPTH_8U, -1, 0},
                 {ORV_DEPTH_8S, 300, 127},
                 {ORV_DEPTH_8S, -300, -128},
                 {ORV_DEPTH_16U, 65536, 65535},
                 {ORV_DEPTH_16U, -5, 0},
                 {ORV_DEPTH_16S, 40000, 32767},
                 {ORV_DEPTH_16S, -40000, -32768},
                 {ORV_DEPTH_32S, INT32_MAX, INT32_MAX},
                 {ORV_DEPTH_32S, INT32_MIN, INT32_MIN}};
    for (const auto& one : cases) {
        Picture picture({.depth = one.depth, .width = 3, .height = 2});
        orvSet(picture, one.value);
        EXPECT_EQ(picture.get(2, 1), one.stored) << depthName(one.depth) << ' ' << one.value;
    }
}

TEST(Set, RefusesWhatBelongsToTheOtherForm)
{
    Picture floats({.depth = ORV_DEPTH_32F, .width = 4}), bytes({.width = 4});
    EXPECT_EQ(reportsOf([&] { orvSet(floats, 1); }), "-17 orvSet You should use orvSetFP for this image\n");
    EXPECT_EQ(reportsOf([&] { orvSetFP(bytes, 1); }), "-17 orvSetFP You should use orvSet for this image\n");
    EXPECT_EQ(bytes->depth, ORV_DEPTH_8U);
    EXPECT_EQ(reportsOf([&] { orvSetFP(nullptr, 1); }), "-5 orvSetFP dstImage==0\n");
    EXPECT_EQ(reportsOf([&] { orvSet(nullptr, 1); }), "-9 orvSet Incorrect Image\n");
    floats->width = 0;
    EXPECT_EQ(reportsOf([&] { orvSet(floats, 1); }), "-10 orvSet Incorrect Image\n");
    EXPECT_EQ(reportsOf([&] { orvSetFP(floats, 1); }), "-10 orvSet Incorrect Image\n-1 orvSetFP \n");
    EXPECT_EQ(floats->depth, ORV_DEPTH_32F);
}

// What stays of a NaN is its bits.
TEST(Set, StoresTheBitsOfAFloat)
{
    Picture picture({.depth = ORV_DEPTH_32F, .width = 3});
    for (uint32_t bits : {0x7FC12345u, 0x80000000u, 0xFF800000u}) {
        orvSetFP(picture, std::bit_cast<float>(bits));
        EXPECT_EQ(picture.raw(2, 0), bits);
    }
}

// An image whose only channel is alpha has nothing to process.
TEST(Copy, LeavesALoneAlphaChannel)
{
    for (bool region : {false, true}) {
        PictureSpec spec = {.alpha = 1, .width = 4, .height = 4};
        if (region)
            spec.roi = OrvROI{0, 1, 1, 2, 2};
        Picture src(spec), dst(spec);
        dst.fillRandom(2);
        std::vector<uint8_t> before = dst.bytes();
        EXPECT_EQ(reportsOf([&] { orvCopy(src, dst), orvExchange(src, dst), orvSet(dst, 9), orvAdd(src, src, dst); }),
                  "");
        EXPECT_TRUE(dst.bytes() == before);
    }
}

// A float image is filled as an image of 32-bit integers, and the provider of its tiles sees that.
TEST(Set, ShowsFloatsAsIntegers)
{
    Picture picture({.depth = ORV_DEPTH_32F, .width = 16, .height = 8, .tileWidth = 8, .tileHeight = 8});
    Witness witness(picture, [](OrvImage* image) { return depthName(image->depth); });
    EXPECT_EQ(reportsOf([&] { orvSetFP(picture, 0.5f); }), "");
    EXPECT_EQ(Witness::seen, std::vector<std::string>(2, "32S"));
    EXPECT_EQ(picture->depth, ORV_DEPTH_32F);
    EXPECT_EQ(picture.get(15, 7), 0.5);
}

// Zeros under a mask: the mask is inverted for the time of the work, as far as its region goes.
TEST(Set, InvertsTheMaskOfBitsForZeros)
{
    Picture mask({.depth = ORV_DEPTH_1U, .width = 20, .height = 9, .roi = OrvROI{0, 3, 1, 16, 8}});
    mask.fill([](int x, int, int) { return x % 2; });
    Picture bits({.depth = ORV_DEPTH_1U, .width = 16, .height = 8, .mask = mask, .tileWidth = 16, .tileHeight = 8});
    Witness witness(bits, [&](OrvImage* image) {
        std::string row;
        for (int x = 0; x < 20; ++x)
            row += char('0' + mask.raw(x, 1));
        return row + (image->maskROI ? " masked" : "");
    });
    orvSet(bits, 1);
    EXPECT_EQ(Witness::seen, std::vector<std::string>{"01010101010101010101"});
    Witness::seen.clear();
    orvSet(bits, 0);
    EXPECT_EQ(Witness::seen, std::vector<std::string>{"01001010101010101011"});
    EXPECT_EQ(bits->maskROI, &mask.image);
    for (int x = 0; x < 20; ++x)
        EXPECT_EQ(mask.raw(x, 1), uint32_t(x % 2));
    EXPECT_EQ(mask.faults() + bits.faults(), "");
}

// The logic operations behind a masked copy of bits: clear, then merge, under a mask of its own.
TEST(Copy, MergesMaskedBits)
{
    TileLog log;
    Picture upper({.depth = ORV_DEPTH_1U, .width = 9, .height = 9});
    upper.fill([](int, int, int) { return 0; });
    // The mask's own mask has no effect.
    Picture mask({.depth = ORV_DEPTH_1U, .width = 9, .height = 9, .mask = upper});
    mask.fill([](int, int, int) { return 1; });
    Picture src(
        {.depth = ORV_DEPTH_1U, .width = 9, .height = 8, .mask = mask, .tileWidth = 8, .tileHeight = 8, .log = &log}),
        dst({.depth = ORV_DEPTH_1U,
             .width = 9,
             .height = 8,
             .tileWidth = 16,
             .tileHeight = 8,
             .seed = 2,
             .name = "D",
             .log = &log});
    Witness witness(dst, [&](OrvImage* image) {
        return std::string(image->maskROI ? "masked" : "plain") + (src->maskROI ? " masked" : " plain");
    });
    EXPECT_EQ(reportsOf([&] { orvCopy(src, dst); }), "");
    EXPECT_EQ(log.text(),
              "D write 0 0\nD release 0 0\n"
              "A read 0 0\nA release 0 0\nA read 1 0\nA release 1 0\n"
              "D write 0 0\nD release 0 0\n");
    EXPECT_EQ(Witness::seen, (std::vector<std::string>{"plain plain", "plain plain"}));
    EXPECT_EQ(src->maskROI, &mask.image);
    EXPECT_EQ(dst->maskROI, nullptr);
    EXPECT_EQ(mask->maskROI, &upper.image);
    EXPECT_EQ(src.values(), dst.values());
}

// A cell after a failure inside the tile provider is walked over like a copy of its own.
TEST(Copy, StopsMovingAfterAFailureInTheProvider)
{
    for (const auto& move : moves) {
        PictureSpec spec = {.width = 24, .height = 8};
        Picture src(spec);
        spec.tileWidth = spec.tileHeight = 8;
        spec.seed = 2;
        Picture dst(spec);
        std::vector<uint32_t> wanted = dst.values();
        for (int i = 0; i < 8 * 24; ++i)
            if (i % 24 < 8)
                wanted[size_t(i)] = src.values()[size_t(i)];
        Witness witness(dst, [](OrvImage*) {
            if (Witness::seen.size() == 1)
                orvSetErrStatus(ORV_STATUS_ERROR);
            return "";
        });
        EXPECT_EQ(reportsOf([&] { move.call(src, dst); }), "") << move.name;
        EXPECT_EQ(Witness::seen.size(), 3u);
        EXPECT_EQ(dst.values(), wanted) << move.name;
        EXPECT_EQ(dst.openTiles(), 0);
        orvSetErrStatus(ORV_STATUS_OK);
    }
}

// The source's region is the cell while a cell is written back.
TEST(Exchange, ShowsTheCellAsTheRegion)
{
    PictureSpec spec = {
        .channels = 3, .width = 30, .height = 20, .roi = OrvROI{2, 3, 5, 14, 9}, .tileWidth = 8, .tileHeight = 8};
    Picture src(spec);
    spec.roi = OrvROI{3, 8, 4, 14, 9};
    Picture dst(spec);
    Witness witness(src, [](OrvImage* image) {
        const OrvROI& roi = *image->roi;
        std::string text;
        for (int number : {roi.coi, roi.xOffset, roi.yOffset, roi.width, roi.height})
            text += std::to_string(number) + ' ';
        return text;
    });
    EXPECT_EQ(reportsOf([&] { orvExchange(src, dst); }), "");
    const std::string whole = "2 3 5 14 9 ";
    auto cell = [&](const std::string& region, size_t tiles) {
        for (size_t i = 0; i < 2 * tiles; ++i)
            EXPECT_EQ(Witness::seen[i], i < tiles ? whole : region) << i;
        Witness::seen.erase(Witness::seen.begin(), Witness::seen.begin() + ptrdiff_t(2 * tiles));
    };
    cell("2 3 5 8 4 ", 4);
    cell("2 11 5 6 4 ", 4);
    cell("2 3 9 8 5 ", 2);
    cell("2 11 9 6 5 ", 2);
    EXPECT_TRUE(Witness::seen.empty());
    EXPECT_EQ(src->roi, &src.roi);
}
