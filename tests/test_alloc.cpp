// Memory, image headers, pixel data and their release.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>

#include "orv.h"
#include "picture.h"
#include "reports.h"
#include "testheap.h"

namespace {

int32_t ORV_CALL noTile(OrvImage*, int32_t, int32_t, int32_t)
{
    return 0;
}

constexpr uint32_t depths[] = {ORV_DEPTH_1U,  ORV_DEPTH_8U,  ORV_DEPTH_8S, ORV_DEPTH_16U,
                               ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};

OrvImage* createLike(const OrvImage& image, OrvTileInfo* tileInfo = nullptr)
{
    return orvCreateImageHeader(image.nChannels, image.alphaChannel, image.depth, image.colorModel, image.channelSeq,
                                image.dataOrder, image.origin, image.align, image.width, image.height, image.roi,
                                image.maskROI, image.imageTag, tileInfo);
}

// The whole of a test's blocks must be back at its end, and no report left unread.
class Alloc : public testing::Test {
protected:
    Reports reports;
    int blocks = testheap::blocks();

    void TearDown() override
    {
        EXPECT_EQ(reports.take(), "");
        EXPECT_EQ(testheap::blocks(), blocks);
    }
};

}  // namespace

TEST_F(Alloc, BlocksAreAlignedAndLeadBack)
{
    const std::function<void*(int32_t)> forms[] = {orvMalloc, orvwMalloc, orviMalloc, orvsMalloc, orvdMalloc};
    const int sizes[] = {1, 2, 4, 4, 8};
    for (int form = 0; form < 5; ++form) {
        for (int32_t none : {0, -1, INT_MIN})
            EXPECT_EQ(forms[form](none), nullptr);
        for (int32_t count : {1, 2, 3, 31, 32, 33, 1000}) {
            void* block = forms[form](count);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(uintptr_t(block) % 32, 0u);
            auto* start = static_cast<uint8_t*>(static_cast<void**>(block)[-1]);
            EXPECT_LE(start + sizeof(void*), block);
            EXPECT_LE(block, start + 31 + sizeof(void*));
            memset(block, 0xEE, size_t(count) * size_t(sizes[form]));
            orvFree(block);
        }
        testheap::refuse(1);
        EXPECT_EQ(forms[form](8), nullptr);
    }
    testheap::refuse(0);
#if INTPTR_MAX == INT32_MAX
    // The products leave the address range.
    EXPECT_EQ(orvdMalloc(0x20000001), nullptr);
    EXPECT_EQ(orvwMalloc(INT_MAX), nullptr);
    EXPECT_EQ(orviMalloc(0x3FFFFFF8), nullptr);
#endif
    orvFree(nullptr);
    orvDeleteROI(nullptr);
    orvDeleteTileInfo(nullptr);
    EXPECT_EQ(orvGetErrStatus(), 0);
}

TEST_F(Alloc, SmallRecords)
{
    OrvROI* roi = orvCreateROI(-1, -2, -3, -4, -5);
    EXPECT_TRUE(roi->coi == -1 && roi->xOffset == -2 && roi->yOffset == -3 && roi->width == -4 && roi->height == -5);
    orvSetROI(roi, 1, 2, 3, 4, 5);
    EXPECT_TRUE(roi->coi == 1 && roi->xOffset == 2 && roi->yOffset == 3 && roi->width == 4 && roi->height == 5);
    orvDeleteROI(roi);

    OrvTileInfo* tiles = orvCreateTileInfo(noTile, &reports, 12, -7);
    EXPECT_TRUE(tiles->callBack == noTile && tiles->tileTag == &reports && tiles->width == 12 && tiles->height == -7);
    EXPECT_EQ(tiles->tileData, nullptr);
    uint8_t byte = 0;
    tiles->tileData = &byte;
    orvSetTileInfo(tiles, nullptr, nullptr, 8, 16);
    EXPECT_TRUE(!tiles->callBack && !tiles->tileTag && !tiles->tileData && tiles->width == 8 && tiles->height == 16);
    orvDeleteTileInfo(tiles);

    orvSetROI(nullptr, 1, 2, 3, 4, 5);
    orvSetTileInfo(nullptr, noTile, nullptr, 8, 8);
    testheap::refuse(1, true);
    EXPECT_EQ(orvCreateROI(0, 0, 0, 1, 1), nullptr);
    EXPECT_EQ(orvCreateTileInfo(noTile, nullptr, 8, 8), nullptr);
    testheap::refuse(0);
}

// ---- The value test ----

namespace {

// A good image of two channels, its mask, and the faults that it can be given, in the order in which they are found.
struct Subject {
    OrvImage image = {};
    OrvImage mask = {};
    OrvImage maskOfMask = {};
    OrvTileInfo tiles = {noTile, nullptr, nullptr, 8, 8};
    OrvROI roi = {0, 0, 0, 1, 1};
    uint8_t bytes[4] = {};

    explicit Subject(bool withData)
    {
        image.nChannels = 2;
        image.depth = ORV_DEPTH_16U;
        image.align = 8;
        image.width = 3;
        image.height = 2;
        if (withData)
            giveData(image);
        mask = image;
        mask.depth = ORV_DEPTH_1U;
        mask.nChannels = 1;
        giveData(mask);
        maskOfMask = mask;
    }
    void giveData(OrvImage& to)
    {
        to.imageData = bytes;
        to.widthStep = 16;
        to.imageSize = 32;
    }
};

struct Fault {
    int32_t status;
    std::function<void(Subject&)> make;
};

const std::vector<Fault> valueFaults = {
    {-10, [](Subject& s) { s.image.height = 0; }},
    {-10, [](Subject& s) { s.image.width = -1; }},
    {-15, [](Subject& s) { s.image.nChannels = 0; }},
    {-16, [](Subject& s) { s.image.depth = ORV_DEPTH_1U; }},
    {-17, [](Subject& s) { s.image.depth = 0x80000001u; }},
    {-18, [](Subject& s) { s.image.alphaChannel = 1; }},
    {-19, [](Subject& s) { s.image.dataOrder = 2; }},
    {-20, [](Subject& s) { s.image.origin = -1; }},
    {-21, [](Subject& s) { s.image.align = 2; }},
    {-117, [](Subject& s) { s.image.maskROI = &s.mask, s.mask.depth = ORV_DEPTH_8U; }},
    {-26, [](Subject& s) { s.image.maskROI = &s.mask, s.mask.tileInfo = &s.tiles; }},
    {-112, [](Subject& s) { s.image.maskROI = &s.mask, s.mask.imageData = nullptr; }},
};

// The faults of the header as a whole; the value test stands between the first four and the others.
const std::vector<Fault> headFaults = {
    {-12, [](Subject& s) { s.image.imageData = nullptr; }},
    {-12, [](Subject& s) { s.image.tileInfo = &s.tiles; }},
    {-10, [](Subject& s) { s.image.imageSize = 0; }},
    {-13, [](Subject& s) { s.image.widthStep = -16; }},
};

void tile(Subject& s)
{
    s.image.imageData = nullptr;
    s.image.tileInfo = &s.tiles;
}

const std::vector<Fault> tailFaults = {
    {-22, [](Subject& s) { tile(s), s.tiles.callBack = nullptr; }},
    {-23, [](Subject& s) { tile(s), s.tiles.width = 0; }},
    {-23, [](Subject& s) { tile(s), s.tiles.height = -8; }},
    {-23, [](Subject& s) { tile(s), s.tiles.width = 12; }},
    {-23, [](Subject& s) { tile(s), s.tiles.height = 4; }},
    {-24, [](Subject& s) { s.image.roi = &s.roi, s.roi.coi = -1; }},
    {-24, [](Subject& s) { s.image.roi = &s.roi, s.roi.coi = 3; }},
    {-25, [](Subject& s) { s.image.roi = &s.roi, s.roi.height = 0; }},
    {-25, [](Subject& s) { s.image.roi = &s.roi, s.roi.width = 0; }},
    {-11, [](Subject& s) { s.image.roi = &s.roi, s.roi.xOffset = -1; }},
    {-11, [](Subject& s) { s.image.roi = &s.roi, s.roi.yOffset = -1; }},
};

}  // namespace

TEST_F(Alloc, HeaderCheckFindsTheFirstFault)
{
    std::vector<Fault> faults = headFaults;
    faults.insert(faults.end(), valueFaults.begin(), valueFaults.end());
    faults.insert(faults.end(), tailFaults.begin(), tailFaults.end());
    for (size_t first = 0; first < faults.size(); ++first)
        for (size_t second = first; second < faults.size(); ++second) {
            // Two faults at once: the one that is looked for first decides. Tiles would undo the faults of plain images.
            Subject subject(true);
            faults[second].make(subject);
            if (first != second && first < headFaults.size() && subject.image.tileInfo)
                continue;
            faults[first].make(subject);
            orvSetErrStatus(0);
            EXPECT_EQ(orvCheckImageHeader(&subject.image), faults[first].status) << first << ' ' << second;
            EXPECT_EQ(orvGetErrStatus(), faults[first].status);
        }
    EXPECT_EQ(orvCheckImageHeader(nullptr), -9);
    EXPECT_EQ(orvGetErrStatus(), -9);
}

TEST_F(Alloc, HeaderCheckOfMasks)
{
    Subject subject(true);
    subject.image.maskROI = &subject.mask;
    subject.mask.maskROI = &subject.maskOfMask;
    orvSetErrStatus(-7);
    EXPECT_EQ(orvCheckImageHeader(&subject.image), 0);
    EXPECT_EQ(orvGetErrStatus(), -7);  // success leaves it alone

    const Fault faults[] = {
        {-110, [](Subject& s) { s.mask.width = 0; }},
        {-110, [](Subject& s) { s.mask.imageSize = 0; }},
        {-113, [](Subject& s) { s.mask.widthStep = 0; }},
        {-115, [](Subject& s) { s.mask.nChannels = 0; }},
        {-116, [](Subject& s) { s.mask.nChannels = 2; }},
        {-118, [](Subject& s) { s.mask.alphaChannel = 2; }},
        {-124, [](Subject& s) { s.mask.roi = &s.roi, s.roi.coi = 2; }},
        {-217, [](Subject& s) { s.maskOfMask.depth = ORV_DEPTH_8U; }},
        {-126, [](Subject& s) { s.maskOfMask.tileInfo = &s.tiles; }},
        {-221, [](Subject& s) { s.maskOfMask.align = 0; }},
    };
    for (const Fault& fault : faults) {
        Subject broken(true);
        broken.image.maskROI = &broken.mask;
        broken.mask.maskROI = &broken.maskOfMask;
        fault.make(broken);
        EXPECT_EQ(orvCheckImageHeader(&broken.image), fault.status);
        EXPECT_EQ(orvGetErrStatus(), fault.status);
    }
    // A chain that bites its tail is a fault, not the end of the stack.
    subject.maskOfMask.maskROI = &subject.mask;
    EXPECT_LT(orvCheckImageHeader(&subject.image), 0);
}

TEST_F(Alloc, HeaderCheckPasses)
{
    Subject subject(true);
    subject.image.roi = &subject.roi;
    subject.roi = {2, 1000, 1000, INT_MAX, INT_MAX};  // a region outside the image is cut later
    subject.image.alphaChannel = 2;
    subject.image.widthStep = 1;
    EXPECT_EQ(orvCheckImageHeader(&subject.image), 0);
    tile(subject);
    subject.image.widthStep = subject.image.imageSize = -1;  // nobody looks at these then
    EXPECT_EQ(orvCheckImageHeader(&subject.image), 0);
    for (uint32_t depth : depths)
        for (int align : {4, 8, 16, 32}) {
            subject.image.depth = depth;
            subject.image.align = align;
            subject.image.nChannels = subject.image.alphaChannel = subject.roi.coi = 1;
            EXPECT_EQ(orvCheckImageHeader(&subject.image), 0);
        }
}

TEST_F(Alloc, CreationAndAllocationRefuseFaultyValues)
{
    const Fault noText = {-14, nullptr};
    std::vector<Fault> faults = valueFaults;
    faults.insert(faults.begin() + 4, noText);
    for (size_t first = 0; first < faults.size(); ++first)
        for (size_t second = first; second < faults.size(); ++second) {
            Subject subject(false);
            const char* text = faults[first].make && faults[second].make ? "RGB" : nullptr;
            for (size_t fault : {second, first})
                if (faults[fault].make)
                    faults[fault].make(subject);
            const OrvImage& image = subject.image;
            for (int which = 0; which < 2; ++which)
                EXPECT_EQ(orvCreateImageHeader(image.nChannels, image.alphaChannel, image.depth, which ? text : "RGB",
                                               which ? "RGB" : text, image.dataOrder, image.origin, image.align,
                                               image.width, image.height, nullptr, image.maskROI, nullptr, nullptr),
                          nullptr);
            std::string fault = std::to_string(faults[first].status);
            std::string created = fault + " orvCreateImageHeader Incorrect data-ins\n";
            EXPECT_EQ(reports.take(), created + created) << first << ' ' << second;
            if (!text)
                continue;
            orvAllocateImage(&subject.image, 0, 0);
            std::string expected = fault + " orvAllocateImage Incorrect data-ins\n";
            if (faults[first].status != -17 && faults[second].status != -17) {
                if (image.depth == ORV_DEPTH_16U)
                    subject.image.depth = ORV_DEPTH_32F;
                if (image.depth == ORV_DEPTH_32F) {
                    orvAllocateImageFP(&subject.image, 0, 0);
                    expected += fault + " orvAllocateImageFP Incorrect data-ins\n";
                }
            }
            EXPECT_EQ(reports.take(), expected) << first << ' ' << second;
            EXPECT_EQ(subject.image.imageData, nullptr);
        }
}

// ---- Creation and allocation ----

TEST_F(Alloc, HeaderHoldsWhatItWasGiven)
{
    OrvROI roi = {};
    Picture mask({.depth = ORV_DEPTH_1U, .width = 5, .height = 5});
    OrvTileInfo tiles = {noTile, nullptr, nullptr, 8, 8};
    OrvImage* image = orvCreateImageHeader(4, 4, ORV_DEPTH_16S, "RGBAxx", "G", ORV_DATA_ORDER_PLANE, ORV_ORIGIN_BL, 32,
                                           17, 9, &roi, mask, &reports, &tiles);
    ASSERT_NE(image, nullptr);
    OrvImage expected = {};
    expected.headerSize = int32_t(sizeof(OrvImage));
    expected.nChannels = expected.alphaChannel = 4;
    expected.depth = ORV_DEPTH_16S;
    memcpy(expected.colorModel, "RGBA", 4);
    memcpy(expected.channelSeq, "G\0\0", 4);
    expected.dataOrder = expected.origin = 1;
    expected.align = 32;
    expected.width = 17;
    expected.height = 9;
    expected.roi = &roi;
    expected.maskROI = mask;
    expected.imageTag = &reports;
    expected.tileInfo = &tiles;
    expected.widthStep = 64;
    expected.imageSize = 64 * 9 * 4;
    EXPECT_EQ(memcmp(image, &expected, offsetof(OrvImage, imageSize)), 0);
    EXPECT_EQ(image->widthStep, expected.widthStep);
    EXPECT_EQ(image->imageSize, expected.imageSize);
    EXPECT_TRUE(!image->imageData && !image->imageDataBlock);
    for (int side = 0; side < 4; ++side)
        EXPECT_TRUE(image->borderMode[side] == ORV_BORDER_CONSTANT && image->borderConst[side] == 0);
    orvDeallocateHeader(image);

    testheap::refuse(1);
    EXPECT_EQ(createLike(expected), nullptr);
    EXPECT_TRUE(testheap::refused());
    testheap::refuse(0);
}

TEST_F(Alloc, RowLengthsAndSizes)
{
    struct {
        uint32_t depth;
        int channels, order, align, width, height, step, size;
    } cases[] = {
        {ORV_DEPTH_8U, 3, 0, 4, 3, 7, 12, 84},
        {ORV_DEPTH_8U, 3, 1, 4, 3, 7, 4, 84},
        {ORV_DEPTH_1U, 1, 0, 4, 10, 2, 4, 8},
        {ORV_DEPTH_1U, 1, 1, 4, 33, 2, 8, 16},
        {ORV_DEPTH_16S, 2, 0, 16, 5, 3, 32, 96},
        {ORV_DEPTH_32F, 1, 0, 8, 1, 1, 8, 8},
        {ORV_DEPTH_32S, 4, 1, 32, 9, 2, 64, 512},
        {ORV_DEPTH_8S, 5, 0, 4, 1, 1, 8, 8},
        {ORV_DEPTH_8U, 1, 0, 4, 0x7FFFFFFC, 1, 0x7FFFFFFC, 0x7FFFFFFC},
    };
    for (const auto& c : cases) {
        OrvImage* image = orvCreateImageHeader(c.channels, 0, c.depth, "GRAY", "G", c.order, 0, c.align, c.width,
                                               c.height, nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->widthStep, c.step);
        EXPECT_EQ(image->imageSize, c.size);
        orvDeallocate(image, ORV_IMAGE_HEADER);
    }
}

TEST_F(Alloc, SizesThatDoNotFitAreRefused)
{
    struct {
        uint32_t depth;
        int channels, order, width, height, tiledStep, tiledSize;
    } cases[] = {
        {ORV_DEPTH_8U, 1, 0, 0x7FFFFFFD, 1, INT_MAX, INT_MAX},
        {ORV_DEPTH_8U, 1, 0, 65536, 32768, 65536, INT_MAX},
        {ORV_DEPTH_8U, 1, 0, 65536, 65536, 65536, INT_MAX},
        {ORV_DEPTH_32S, 3, 1, 1 << 14, 1 << 15, 1 << 16, INT_MAX},
        {ORV_DEPTH_32S, INT_MAX, 1, INT_MAX, INT_MAX, INT_MAX, INT_MAX},
        {ORV_DEPTH_32S, INT_MAX, 0, INT_MAX, INT_MAX, INT_MAX, INT_MAX},
        {ORV_DEPTH_8U, 1, 0, 1, INT_MAX, 4, INT_MAX},
    };
    for (const auto& c : cases) {
        OrvImage wanted = {};
        wanted.nChannels = c.channels;
        wanted.depth = c.depth;
        wanted.dataOrder = c.order;
        wanted.align = 4;
        wanted.width = c.width;
        wanted.height = c.height;
        EXPECT_EQ(createLike(wanted), nullptr);
        orvAllocateImage(&wanted, 1, 1);
        EXPECT_EQ(reports.take(),
                  "-10 orvCreateImageHeader Incorrect data-ins\n-10 orvAllocateImage Incorrect data-ins\n");
        EXPECT_TRUE(!wanted.imageData && !wanted.imageDataBlock && wanted.widthStep == 0 && wanted.imageSize == 0);

        OrvTileInfo tiles = {noTile, nullptr, nullptr, 8, 8};
        OrvImage* tiled = createLike(wanted, &tiles);
        ASSERT_NE(tiled, nullptr);
        EXPECT_EQ(tiled->widthStep, c.tiledStep);
        EXPECT_EQ(tiled->imageSize, c.tiledSize);
        EXPECT_EQ(orvCheckImageHeader(tiled), 0);
        orvDeallocateHeader(tiled);
    }
}

TEST_F(Alloc, AllocationFillsPaddingToo)
{
    struct {
        uint32_t depth;
        int32_t value;
        uint32_t word;
    } cases[] = {
        {ORV_DEPTH_1U, 1, UINT32_MAX},         {ORV_DEPTH_1U, 0x1FF, UINT32_MAX}, {ORV_DEPTH_1U, 2, 0},
        {ORV_DEPTH_8U, 0x1FF, UINT32_MAX},     {ORV_DEPTH_8S, -2, 0xFEFEFEFEu},   {ORV_DEPTH_16U, 0x1FF, 0x01FF01FFu},
        {ORV_DEPTH_16S, 0x12345, 0x23452345u}, {ORV_DEPTH_32S, -3, 0xFFFFFFFDu},  {ORV_DEPTH_32F, -1, 0xC0200000u},
    };
    for (const auto& c : cases)
        for (int align : {4, 8, 16, 32})
            for (int order : {0, 1}) {
                int channels = c.depth == ORV_DEPTH_1U ? 1 : 3;
                OrvImage* image = orvCreateImageHeader(channels, 0, c.depth, "GRAY", "G", order, 0, align, 5, 3,
                                                       nullptr, nullptr, nullptr, nullptr);
                ASSERT_NE(image, nullptr);
                image->widthStep = image->imageSize = 0;
                if (c.depth == ORV_DEPTH_32F)
                    orvAllocateImageFP(image, 7, -2.5f);
                else
                    orvAllocateImage(image, -1, c.value);
                ASSERT_NE(image->imageData, nullptr);
                EXPECT_EQ(uintptr_t(image->imageData) % uintptr_t(align), 0u);
                EXPECT_LT(uintptr_t(image->imageData - image->imageDataBlock), uintptr_t(align));
                EXPECT_EQ(orvCheckImageHeader(image), 0);
                for (int i = 0; i < image->imageSize; i += 4)
                    ASSERT_EQ(memcmp(image->imageData + i, &c.word, 4), 0) << c.depth << ' ' << i;
                EXPECT_EQ(image->imageSize, image->widthStep * 3 * (order ? channels : 1));
                orvDeallocate(image, ORV_IMAGE_ALL);
            }
}

TEST_F(Alloc, AllocationRefusesImagesThatHaveData)
{
    Subject subject(true);
    for (int form = 0; form < 2; ++form) {
        std::string func = form ? " orvAllocateImageFP " : " orvAllocateImage ";
        auto allocate = [&](OrvImage* image) {
            form ? orvAllocateImageFP(image, 0, 0) : orvAllocateImage(image, 0, 0);
            return reports.take();
        };
        OrvImage image = subject.image;
        image.depth = form ? ORV_DEPTH_16U : ORV_DEPTH_32F;
        image.tileInfo = &subject.tiles;
        image.nChannels = 0;
        EXPECT_EQ(allocate(nullptr), "-5" + func + "( image == ((void *)0) )\n");
        EXPECT_EQ(allocate(&image), "-5" + func + "( image->imageData != ((void *)0) )\n");
        EXPECT_EQ(image.imageData, subject.bytes);
        image.imageData = nullptr;
        EXPECT_EQ(allocate(&image), "-5" + func + "( image->tileInfo != ((void *)0) )\n");
        image.tileInfo = nullptr;
        EXPECT_EQ(allocate(&image), "-5" + func + (form ? "( image->depth != 32 )\n" : "( image->depth == 32 )\n"));

        image.depth = form ? ORV_DEPTH_32F : ORV_DEPTH_16U;
        image.nChannels = 2;
        image.widthStep = image.imageSize = 12345;
        testheap::refuse(1);
        EXPECT_EQ(allocate(&image), "-4" + func + "for allocate image data\n");
        testheap::refuse(0);
        EXPECT_TRUE(!image.imageData && !image.imageDataBlock && image.widthStep == 12345 && image.imageSize == 12345);
    }
}

TEST_F(Alloc, ReportsNameTheirSource)
{
    orvAllocateImage(nullptr, 0, 0);
    ASSERT_EQ(reports.entries.size(), 1u);
    EXPECT_EQ(reports.entries[0].file, "orvalloc");
    EXPECT_GE(reports.entries[0].line, 1);
    reports.take();
}

// ---- Release ----

TEST_F(Alloc, DeallocationFollowsItsFlags)
{
    for (int flags = 0; flags < 32; ++flags) {
        int before = testheap::blocks();
        auto create = [](uint32_t depth) {
            OrvImage* image = orvCreateImageHeader(1, 0, depth, "GRAY", "G", 0, 0, 4, 5, 5, orvCreateROI(0, 0, 0, 1, 1),
                                                   nullptr, nullptr, nullptr);
            orvAllocateImage(image, 0, 0);
            return image;
        };
        OrvImage* image = create(ORV_DEPTH_8U);
        OrvImage* mask = create(ORV_DEPTH_1U);
        OrvImage* maskOfMask = create(ORV_DEPTH_1U);
        image->maskROI = mask;
        mask->maskROI = maskOfMask;
        image->tileInfo = orvCreateTileInfo(noTile, nullptr, 8, 8);
        OrvImage copy = *image;
        orvDeallocate(image, flags);
        int freed = 0;
        for (auto [flag, count] : {std::pair{ORV_IMAGE_HEADER, 1},
                                   {ORV_IMAGE_DATA, 1},
                                   {ORV_IMAGE_ROI, 1},
                                   {ORV_IMAGE_TILE, 1},
                                   {ORV_IMAGE_MASK, 3}})
            freed += flags & flag ? count : 0;
        EXPECT_EQ(testheap::blocks(), before + 10 - freed) << flags;
        if (!(flags & ORV_IMAGE_HEADER)) {
            EXPECT_EQ(image->roi, flags & ORV_IMAGE_ROI ? nullptr : copy.roi);
            EXPECT_EQ(image->tileInfo, flags & ORV_IMAGE_TILE ? nullptr : copy.tileInfo);
            EXPECT_EQ(image->maskROI, flags & ORV_IMAGE_MASK ? nullptr : mask);
            EXPECT_EQ(image->imageData, flags & ORV_IMAGE_DATA ? nullptr : copy.imageData);
            EXPECT_EQ(image->imageDataBlock, flags & ORV_IMAGE_DATA ? nullptr : copy.imageDataBlock);
            orvDeallocate(image, ORV_IMAGE_ALL + ORV_IMAGE_MASK);
        } else {
            // What the flags left is still there to be released.
            if (!(flags & ORV_IMAGE_ROI))
                orvDeleteROI(copy.roi);
            if (!(flags & ORV_IMAGE_TILE))
                orvDeleteTileInfo(copy.tileInfo);
            if (!(flags & ORV_IMAGE_MASK))
                orvDeallocate(mask, ORV_IMAGE_ALL);
            if (!(flags & ORV_IMAGE_DATA)) {
                copy.roi = nullptr;
                orvDeallocateImage(&copy);
            }
        }
        orvDeallocate(maskOfMask, ORV_IMAGE_ALL);
        EXPECT_EQ(testheap::blocks(), before) << flags;
    }
    orvDeallocate(nullptr, ORV_IMAGE_ALL);
    orvDeallocateHeader(nullptr);
    orvDeallocateImage(nullptr);
}

TEST_F(Alloc, DataOfTheApplicationStaysItsOwn)
{
    Subject subject(true);
    orvDeallocate(&subject.image, ORV_IMAGE_DATA);
    EXPECT_EQ(subject.image.imageData, subject.bytes);
    orvDeallocateImage(&subject.image);
    EXPECT_EQ(subject.image.imageData, nullptr);
    // Without data it can be given some again, and again.
    for (int i = 0; i < 3; ++i) {
        orvAllocateImage(&subject.image, 1, i);
        EXPECT_EQ(orvCheckImageHeader(&subject.image), 0);
        orvDeallocateImage(&subject.image);
    }
}

// ---- Clones ----

TEST_F(Alloc, ClonesOfEveryLayout)
{
    for (uint32_t depth : depths)
        for (int order : {0, 1})
            for (int tile : {0, 8})
                for (bool withRoi : {false, true}) {
                    int channels = depth == ORV_DEPTH_1U ? 1 : 3;
                    Picture mask({.depth = ORV_DEPTH_1U, .width = 5, .height = 5});
                    PictureSpec spec = {.depth = depth,
                                        .channels = channels,
                                        .order = order,
                                        .origin = 1,
                                        .align = 16,
                                        .width = 13,
                                        .height = 11,
                                        .mask = mask,
                                        .tileWidth = tile,
                                        .tileHeight = tile};
                    if (withRoi)
                        spec.roi = OrvROI{1, 2, 3, 400, 5};
                    Picture source(spec);
                    source->headerSize = 1000;
                    source->headerId = 7;
                    source->imageTag = &mask;
                    for (int side = 0; side < 4; ++side)
                        source->borderMode[side] = source->borderConst[side] = side;
                    OrvImage* clone = orvCloneImage(source);
                    ASSERT_NE(clone, nullptr);
                    OrvImage expected = source.image;
                    expected.headerId = 0;
                    expected.roi = clone->roi;
                    expected.maskROI = nullptr;
                    expected.imageTag = nullptr;
                    expected.tileInfo = nullptr;
                    expected.widthStep = int32_t(rowBytes(spec, spec.width));
                    expected.imageSize = expected.widthStep * spec.height * (order ? channels : 1);
                    expected.imageData = clone->imageData;
                    expected.imageDataBlock = clone->imageDataBlock;
                    // Both are copies, padding included. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
                    EXPECT_EQ(memcmp(clone, &expected, sizeof expected), 0);
                    EXPECT_NE(clone->imageDataBlock, nullptr);
                    EXPECT_EQ(clone->roi != nullptr, withRoi);
                    if (withRoi) {
                        EXPECT_NE(clone->roi, source->roi);
                        EXPECT_EQ(memcmp(clone->roi, source->roi, sizeof(OrvROI)), 0);
                    }
                    EXPECT_TRUE(tile || memcmp(clone->imageData, source->imageData, size_t(clone->imageSize)) == 0);
                    EXPECT_EQ(source.log().text(), "");
                    EXPECT_EQ(source.faults(), "");
                    orvDeallocate(clone, ORV_IMAGE_ALL);
                }
}

TEST_F(Alloc, ClonesCopyNoMoreThanBothSidesHave)
{
    Picture wide({.width = 10, .height = 6, .extraStep = 8});
    OrvImage* clone = orvCloneImage(wide);
    EXPECT_EQ(clone->imageSize, 72);
    EXPECT_EQ(memcmp(clone->imageData, wide->imageData, 72), 0);
    orvDeallocate(clone, ORV_IMAGE_ALL);
    wide->imageSize = 5;
    clone = orvCloneImage(wide);
    EXPECT_EQ(memcmp(clone->imageData, wide->imageData, 5), 0);
    orvDeallocate(clone, ORV_IMAGE_ALL);
}

TEST_F(Alloc, ClonesThatFail)
{
    const std::string lines[] = {
        "-4 orvCloneImage Not enough memory to allocate header for clone image\n",
        "-4 orvCloneImage Not enough memory to allocate roi for clone image\n",
        " for allocate image data\n-4 orvCloneImage Not enough memory to allocate imageData for clone image\n",
    };
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_32F}) {
        Picture source({.depth = depth, .width = 5, .height = 5, .roi = OrvROI{0, 0, 0, 1, 1}});
        for (int n = 1; n <= 3; ++n) {
            testheap::refuse(n);
            EXPECT_EQ(orvCloneImage(source), nullptr);
            std::string allocation = depth == ORV_DEPTH_32F ? "-4 orvAllocateImageFP" : "-4 orvAllocateImage";
            EXPECT_EQ(reports.take(), n == 3 ? allocation + lines[2] : lines[n - 1]);
            EXPECT_EQ(testheap::blocks(), blocks);
        }
        testheap::refuse(0);
    }
    EXPECT_EQ(orvCloneImage(nullptr), nullptr);
    EXPECT_EQ(reports.take(), "-9 orvCloneImage Incorrect Image\n");
    // The pixels of this one would be too many for a buffer.
    Picture tiled({.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8});
    tiled->width = tiled->height = 1 << 16;
    EXPECT_EQ(orvCloneImage(tiled), nullptr);
    EXPECT_EQ(reports.take(), "-10 orvCreateImageHeader Incorrect data-ins\n" + lines[0]);
}
