// Copying, filling and exchanging.
#include <gtest/gtest.h>

#include <bit>
#include <utility>
#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

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
    static std::vector<std::string> take() { return std::exchange(seen, {}); }
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
        for (int32_t value : {0, 1, -3, 70000, -70001, INT32_MAX}) {
            Operation operation = moveOperation("orvSet", depth);
            operation.sources = 0;
            operation.cases = 16;
            bool floats = depth == ORV_DEPTH_32F;
            operation.rule = [=](uint32_t, uint32_t) { return bitsOf(depth, value); };
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
    const PictureSpec pixels = {.channels = 3, .width = 24, .height = 8}, gray = {.width = 24, .height = 8},
                      bits = {.depth = ORV_DEPTH_1U, .width = 24, .height = 8};
    PictureSpec planes = pixels, other = pixels, grayPlane = gray, tiled = gray, lone = gray;
    planes.order = other.order = grayPlane.order = ORV_DATA_ORDER_PLANE;
    other.origin = grayPlane.origin = ORV_ORIGIN_BL;
    other.depth = ORV_DEPTH_16U;
    tiled.tileWidth = tiled.tileHeight = 8;
    lone.alpha = 1;
    const std::string depths = "srcImage->depth != dstImage->depth", origins = "srcImage->origin != dstImage->origin",
                      orders = "srcImage->dataOrder != dstImage->dataOrder",
                      counts = "Number of processed channels of srcImage != Number of processed channels of dstImage";
    const struct {
        PictureSpec src, dst;
        std::vector<std::string> contexts;
        const char* tileCalls = "";
    } cases[] = {
        {pixels, other, {depths, origins, orders}},
        // The data order is that of the source's depth.
        {bits, other, {depths, origins}},
        {other, bits, {depths, origins, orders}},
        {pixels, planes, {orders}},
        {gray, grayPlane, {origins}},
        {gray, pixels, {counts}},
        {lone, gray, {}},  // nothing to process, nothing to compare
        // With tiles the channels are counted when the first cell is open.
        {pixels, tiled, {counts}, "A write 0 0\nA release 0 0\n"},
    };
    for (const auto& move : moves) {
        const auto call = move.call;
        SCOPED_TRACE(move.name);
        for (const auto& one : cases) {
            Picture src(one.src), dst(one.dst);
            std::vector<uint8_t> before = dst.bytes();
            std::string expected;
            for (const std::string& context : one.contexts)
                expected += std::string("-5 ") + move.name + ' ' + context + '\n';
            EXPECT_EQ(reportsOf([&] { call(src, dst); }), expected);
            EXPECT_TRUE(dst.bytes() == before);
            EXPECT_EQ(dst.log().text(), one.tileCalls);
        }
        Picture good(pixels), flat(other);
        flat->width = 0;
        std::string incorrect = std::string(" ") + move.name + " Incorrect Image\n";
        EXPECT_EQ(reportsOf([&] { call(good, flat), call(nullptr, flat), call(flat, flat); }),
                  "-10" + incorrect + "-9" + incorrect + "-10" + incorrect);
    }
}

// A handler that clears the status lets the work go on, though not between two depths.
TEST(Copy, GoesOnWhereAHandlerClearsTheStatus)
{
    const PictureSpec pixels = {.channels = 3, .width = 19, .height = 9};
    PictureSpec planes = pixels, bottom = pixels, tiled = pixels, words = pixels;
    planes.order = tiled.order = ORV_DATA_ORDER_PLANE;
    bottom.origin = tiled.origin = ORV_ORIGIN_BL;
    tiled.tileWidth = tiled.tileHeight = 8;
    words.depth = ORV_DEPTH_16U;
    for (const auto& move : moves)
        for (PictureSpec other : {planes, bottom, tiled, words}) {
            other.seed = 2;
            Picture src(pixels), dst(other);
            std::vector<uint32_t> old = dst.values(), wanted = src.values();
            Reports reports;
            orvRedirectError([](int32_t, const char*, const char*, const char*, int32_t) {
                orvSetErrStatus(ORV_STATUS_OK);
                return 0;
            });
            move.call(src, dst);
            bool done = other.depth == pixels.depth;
            EXPECT_EQ(dst.values(), done ? wanted : old) << move.name;
            EXPECT_EQ(src.values(), done && move.call == orvExchange ? old : wanted) << move.name;
            EXPECT_EQ(src.faults() + dst.faults(), "");
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

// An image whose only channel is alpha has nothing to process.
TEST(Copy, LeavesALoneAlphaChannel)
{
    const PictureSpec whole = {.alpha = 1, .width = 4, .height = 4},
                      part = {.alpha = 1, .width = 4, .height = 4, .roi = OrvROI{0, 1, 1, 2, 2}};
    for (const PictureSpec& spec : {whole, part}) {
        Picture src(spec), dst(spec);
        dst.fillRandom(2);
        std::vector<uint8_t> before = dst.bytes();
        EXPECT_EQ(reportsOf([&] { orvCopy(src, dst), orvExchange(src, dst), orvSet(dst, 9), orvAdd(src, src, dst); }),
                  "");
        EXPECT_TRUE(dst.bytes() == before);
    }
}

// A float image is filled as an image of 32-bit integers, and the provider of its tiles sees that. Of a NaN its bits
// stay.
TEST(Set, ShowsFloatsAsIntegers)
{
    Picture picture({.depth = ORV_DEPTH_32F, .width = 16, .height = 8, .tileWidth = 8, .tileHeight = 8});
    Witness witness(picture, [](OrvImage* image) { return depthName(image->depth); });
    for (uint32_t bits : {0x7FC12345u, 0x80000000u, 0xFF800000u}) {
        EXPECT_EQ(reportsOf([&] { orvSetFP(picture, std::bit_cast<float>(bits)); }), "");
        EXPECT_EQ(Witness::take(), std::vector<std::string>(2, "32S"));
        EXPECT_EQ(picture->depth, ORV_DEPTH_32F);
        EXPECT_EQ(picture.values(), std::vector<uint32_t>(16 * 8, bits));
    }
}

// Zeros under a mask: the mask is inverted for the time of the work, as far as its region goes.
TEST(Set, InvertsTheMaskOfBitsForZeros)
{
    Picture mask({.depth = ORV_DEPTH_1U, .width = 20, .height = 9, .roi = OrvROI{0, 3, 1, 16, 8}});
    mask.fill([](int x, int, int) { return x % 2; });
    const std::vector<uint32_t> before = mask.values();
    Picture bits({.depth = ORV_DEPTH_1U, .width = 16, .height = 8, .mask = mask, .tileWidth = 16, .tileHeight = 8});
    Witness witness(bits, [&](OrvImage* image) {
        std::string row;
        for (int x = 0; x < 20; ++x)
            row += char('0' + mask.raw(x, 1));
        return row + (image->maskROI ? " masked" : "");
    });
    orvSet(bits, 1);
    EXPECT_EQ(Witness::take(), std::vector<std::string>{"01010101010101010101"});
    orvSet(bits, 0);
    EXPECT_EQ(Witness::take(), std::vector<std::string>{"01001010101010101011"});
    EXPECT_EQ(bits->maskROI, &mask.image);
    EXPECT_EQ(mask.values(), before);
    EXPECT_EQ(mask.faults() + bits.faults(), "");
}

// The logic operations behind a masked copy of bits: clear, then merge, under a mask of its own.
TEST(Copy, MergesMaskedBits)
{
    const PictureSpec maskSpec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture upper(maskSpec), mask(maskSpec);
    upper.fill([](int, int, int) { return 0; });
    mask.fill([](int, int, int) { return 1; });
    mask->maskROI = upper;  // a mask's own mask has no effect
    TileLog log;
    PictureSpec spec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 8, .tileWidth = 8, .tileHeight = 8, .log = &log};
    Picture src(spec);
    src->maskROI = mask;
    spec.tileWidth = 16;
    spec.seed = 2;
    spec.name = "D";
    Picture dst(spec);
    Witness witness(dst, [&](OrvImage* image) {
        return std::string(image->maskROI ? "masked" : "plain") + (src->maskROI ? " masked" : " plain");
    });
    EXPECT_EQ(reportsOf([&] { orvCopy(src, dst); }), "");
    EXPECT_EQ(log.text(),
              "D write 0 0\nD release 0 0\n"
              "A read 0 0\nA release 0 0\nA read 1 0\nA release 1 0\n"
              "D write 0 0\nD release 0 0\n");
    EXPECT_EQ(Witness::seen, std::vector<std::string>(2, "plain plain"));
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
        const std::vector<uint32_t> moved = src.values();
        for (int y = 0; y < 8; ++y)  // the first tile
            std::copy_n(moved.begin() + y * 24, 8, wanted.begin() + y * 24);
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
        const auto& [coi, x, y, width, height] = *image->roi;
        std::string text;
        for (int number : {coi, x, y, width, height})
            text += std::to_string(number) + ' ';
        return text;
    });
    EXPECT_EQ(reportsOf([&] { orvExchange(src, dst); }), "");
    std::vector<std::string> expected;
    for (auto [region, tiles] :
         {std::pair("2 3 5 8 4 ", 4), {"2 11 5 6 4 ", 4}, {"2 3 9 8 5 ", 2}, {"2 11 9 6 5 ", 2}}) {
        expected.insert(expected.end(), size_t(tiles), "2 3 5 14 9 ");  // the whole region while a cell is read
        expected.insert(expected.end(), size_t(tiles), region);
    }
    EXPECT_EQ(Witness::seen, expected);
    EXPECT_EQ(src->roi, &src.roi);
}

// Bits may be exchanged under one of the two images, whose bits count as they were.
TEST(Exchange, TakesOneOfTheImagesForTheMask)
{
    for (bool isDestination : {false, true}) {
        PictureSpec spec = {.depth = ORV_DEPTH_1U, .width = 90, .height = 3, .roi = OrvROI{0, 5, 0, 80, 3}};
        Picture src(spec);
        spec.seed = 2;
        spec.roi->xOffset = 2;
        Picture dst(spec), srcBefore(src.layout()), dstBefore(spec);
        (isDestination ? src : dst)->maskROI = isDestination ? dst : src;
        orvExchange(src, dst);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 80; ++x) {
                uint32_t a = srcBefore.raw(x + 5, y), b = dstBefore.raw(x + 2, y);
                bool swaps = isDestination ? b : a;
                ASSERT_EQ(src.raw(x + 5, y), swaps ? b : a) << x;
                ASSERT_EQ(dst.raw(x + 2, y), swaps ? a : b) << x;
            }
    }
}

#if defined(__linux__)

namespace {

// Memory of 2^28 bytes, of which every 2^21 are the same: an image as wide as there can be without its weight.
struct Repeated {
    static constexpr size_t part = size_t{1} << 21, size = size_t{1} << 28;
    int file = memfd_create("repeated", 0);
    uint8_t* data = static_cast<uint8_t*>(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));

    explicit Repeated(uint8_t byte)
    {
        EXPECT_EQ(ftruncate(file, part), 0);
        for (size_t at = 0; at < size; at += part)
            EXPECT_EQ(mmap(data + at, part, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0), data + at);
        std::fill_n(data, part, byte);
    }
    Repeated(const Repeated&) = delete;
    Repeated& operator=(const Repeated&) = delete;
    ~Repeated()
    {
        munmap(data, size);
        close(file);
    }
};

}  // namespace

TEST(Exchange, EndsAtTheWidestImage)
{
    Repeated zeros(0), ones(0xFF);
    Picture a({.depth = ORV_DEPTH_1U}), b({.depth = ORV_DEPTH_1U});
    for (auto [picture, memory] : {std::pair(&a, &zeros), {&b, &ones}}) {
        picture->image.width = INT32_MAX;
        picture->image.widthStep = picture->image.imageSize = int32_t(Repeated::size);
        picture->image.imageData = memory->data;
    }
    orvExchange(a, b);
    // Every bit is exchanged 128 times, but the one behind the last pixel once less.
    EXPECT_EQ(std::count(zeros.data, zeros.data + Repeated::part, 0), ptrdiff_t(Repeated::part) - 1);
    EXPECT_EQ(zeros.data[Repeated::part - 1], 1);
    EXPECT_EQ(ones.data[Repeated::part - 1], 0xFE);
}

#endif
