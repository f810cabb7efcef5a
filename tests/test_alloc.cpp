// Memory, image headers, pixel data and their release.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

int32_t ORV_CALL noTile(OrvImage*, int32_t, int32_t, int32_t)
{
    return 0;
}

// What headers may point at.
uint8_t pixels[32];
OrvTileInfo tiles;
OrvROI region, regionOfMask = {2, 0, 0, 1, 1};

OrvImage* createLike(const OrvImage& image, const char* colorModel = "RGBAxx", const char* channelSeq = "G")
{
    return orvCreateImageHeader(image.nChannels, image.alphaChannel, image.depth, colorModel, channelSeq,
                                image.dataOrder, image.origin, image.align, image.width, image.height, image.roi,
                                image.maskROI, image.imageTag, image.tileInfo);
}

// The values of a header without pixels.
OrvImage headerOf(uint32_t depth, int channels, int width, int height, int order = 0, int align = 4)
{
    OrvImage image = {};
    image.depth = depth;
    image.nChannels = channels;
    image.width = width;
    image.height = height;
    image.dataOrder = order;
    image.align = align;
    return image;
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
    const std::pair<std::function<void*(int32_t)>, size_t> forms[] = {
        {orvMalloc, 1}, {orvwMalloc, 2}, {orviMalloc, 4}, {orvsMalloc, 4}, {orvdMalloc, 8}};
    for (const auto& [allocate, size] : forms) {
        for (int32_t none : {0, -1, INT_MIN})
            EXPECT_EQ(allocate(none), nullptr);
        for (int32_t count : {1, 2, 3, 31, 32, 33, 1000}) {
            void* block = allocate(count);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(uintptr_t(block) % 32, 0u);
            auto* start = static_cast<uint8_t*>(static_cast<void**>(block)[-1]);
            EXPECT_LE(start + sizeof(void*), block);
            EXPECT_LE(block, start + 31 + sizeof(void*));
            memset(block, 0xEE, size_t(count) * size);
            orvFree(block);
        }
        testheap::refuse(1);
        EXPECT_EQ(allocate(8), nullptr);
    }
    testheap::refuse(0);
#if INTPTR_MAX == INT32_MAX
    // The products leave the address range.
    EXPECT_EQ(orvdMalloc(0x20000001), nullptr);
    EXPECT_EQ(orvwMalloc(INT_MAX), nullptr);
    EXPECT_EQ(orviMalloc(0x3FFFFFF8), nullptr);
#endif
    orvFree(nullptr);
    EXPECT_EQ(orvGetErrStatus(), 0);
}

TEST_F(Alloc, SmallRecords)
{
    OrvROI* roi = orvCreateROI(-1, -2, -3, -4, -5);
    EXPECT_TRUE(roi->coi == -1 && roi->xOffset == -2 && roi->yOffset == -3 && roi->width == -4 && roi->height == -5);
    orvDeleteROI(roi);
    OrvTileInfo* record = orvCreateTileInfo(nullptr, nullptr, 8, 8);
    record->tileData = pixels;
    orvSetTileInfo(record, noTile, &reports, 12, -7);
    EXPECT_TRUE(record->callBack == noTile && record->tileTag == &reports && !record->tileData);
    EXPECT_TRUE(record->width == 12 && record->height == -7);
    orvDeleteTileInfo(record);
    orvDeleteROI(nullptr);
    orvDeleteTileInfo(nullptr);
    testheap::refuse(1, true);
    EXPECT_EQ(orvCreateROI(0, 0, 0, 1, 1), nullptr);
    EXPECT_EQ(orvCreateTileInfo(noTile, nullptr, 8, 8), nullptr);
    testheap::refuse(0);
}

// ---- Faults of headers ----

namespace {

using Images = OrvImage* const*;  // an image, its mask, and the mask of that

const std::vector<PictureSpec> goodSpecs = {
    {.depth = ORV_DEPTH_16U, .channels = 2, .width = 3, .height = 2}, {.depth = ORV_DEPTH_1U}, {.depth = ORV_DEPTH_1U}};

void nestMasks(Images i)
{
    i[0]->maskROI = i[1];
    i[1]->maskROI = i[2];
}

void givePixels(OrvImage* image)
{
    image->imageData = pixels;
    image->tileInfo = nullptr;
}

void giveTiles(OrvImage* image, OrvTileCallBack callBack, int width, int height)
{
    tiles = {callBack, nullptr, nullptr, width, height};
    image->imageData = nullptr;
    image->tileInfo = &tiles;
}

void giveRegion(OrvImage* image, int coi, int x, int y, int width, int height)
{
    region = {coi, x, y, width, height};
    image->roi = &region;
}

// All faults in the order in which they are found, as their statuses: first and last those of the header as a whole.
const std::vector<Fault> headFaults = {
    {"-12", [](Images i) { i[0]->imageData = nullptr, i[0]->tileInfo = nullptr; }},
    {"-12", [](Images i) { i[0]->imageData = pixels, i[0]->tileInfo = &tiles; }},
    {"-10", [](Images i) { givePixels(i[0]), i[0]->imageSize = 0; }},
    {"-13", [](Images i) { givePixels(i[0]), i[0]->widthStep = -16; }},
};

const std::vector<Fault> valueFaults = {
    {"-10", [](Images i) { i[0]->width = 3, i[0]->height = 0; }},
    {"-10", [](Images i) { i[0]->width = -1; }},
    {"-15", [](Images i) { i[0]->nChannels = 0; }},
    {"-16", [](Images i) { i[0]->depth = ORV_DEPTH_1U; }},
    {"-17", [](Images i) { i[0]->depth = 0x80000001u; }},
    {"-18", [](Images i) { i[0]->alphaChannel = 1; }},
    {"-19", [](Images i) { i[0]->dataOrder = 2; }},
    {"-20", [](Images i) { i[0]->origin = -1; }},
    {"-21", [](Images i) { i[0]->align = 2; }},
    {"-117", [](Images i) { i[1]->depth = ORV_DEPTH_8U; }},
    {"-26", [](Images i) { i[1]->tileInfo = &tiles; }},
    {"-112", [](Images i) { i[1]->imageData = nullptr; }},
    {"-110", [](Images i) { i[1]->imageSize = 0; }},
    {"-113", [](Images i) { i[1]->widthStep = 0; }},
    {"-110", [](Images i) { i[1]->width = 0; }},
    {"-115", [](Images i) { i[1]->nChannels = 0; }},
    {"-116", [](Images i) { i[1]->nChannels = 2; }},
    {"-118", [](Images i) { i[1]->alphaChannel = 2; }},
    {"-217", [](Images i) { i[2]->depth = ORV_DEPTH_8U; }},
    {"-126", [](Images i) { i[2]->tileInfo = &tiles; }},
    {"-221", [](Images i) { i[2]->align = 0; }},
    {"-124", [](Images i) { i[1]->roi = &regionOfMask; }},
};

const std::vector<Fault> tailFaults = {
    {"-22", [](Images i) { giveTiles(i[0], nullptr, 0, -8); }},
    {"-23", [](Images i) { giveTiles(i[0], noTile, 0, 8); }},
    {"-23", [](Images i) { giveTiles(i[0], noTile, 8, -8); }},
    {"-23", [](Images i) { giveTiles(i[0], noTile, 12, 8); }},
    {"-23", [](Images i) { giveTiles(i[0], noTile, 8, 4); }},
    {"-23", [](Images i) { giveTiles(i[0], noTile, 1 << 29, 8); }},  // rows of four bytes a pixel, beyond 32 bits
    {"-24", [](Images i) { giveRegion(i[0], -1, -1, -1, 0, 0); }},
    {"-24", [](Images i) { giveRegion(i[0], 3, -1, -1, 0, 0); }},
    {"-25", [](Images i) { giveRegion(i[0], 0, -1, -1, 1, 0); }},
    {"-25", [](Images i) { giveRegion(i[0], 0, -1, -1, 0, 1); }},
    {"-11", [](Images i) { giveRegion(i[0], 0, -1, 0, 1, 1); }},
    {"-11", [](Images i) { giveRegion(i[0], 0, 0, -1, 1, 1); }},
};

std::vector<Fault> reportedAs(const std::string& words, std::vector<Fault> faults)
{
    for (Fault& fault : faults)
        fault.report += ' ' + words + '\n';
    return faults;
}

}  // namespace

TEST_F(Alloc, HeaderCheckFindsTheFirstFault)
{
    std::vector<Fault> faults = headFaults;
    faults.insert(faults.end(), valueFaults.begin(), valueFaults.end());
    faults.insert(faults.end(), tailFaults.begin(), tailFaults.end());
    auto check = [](Images i) {
        nestMasks(i);
        int32_t status = orvCheckImageHeader(i[0]);
        EXPECT_EQ(orvGetErrStatus(), status);
        orvError(status, "orvCheckImageHeader", "stores", "", 0);
    };
    expectFaultsInOrder(goodSpecs, check, reportedAs("orvCheckImageHeader stores", faults));
    EXPECT_EQ(orvCheckImageHeader(nullptr), -9);
    EXPECT_EQ(orvGetErrStatus(), -9);
}

TEST_F(Alloc, HeaderCheckPasses)
{
    Picture image(goodSpecs[0]), mask(goodSpecs[1]), maskOfMask(goodSpecs[2]);
    OrvImage* const images[] = {image, mask, maskOfMask};
    nestMasks(images);
    giveRegion(image, 2, 1000, 1000, INT_MAX, INT_MAX);  // a region outside the image is cut later
    image->alphaChannel = 2;
    image->widthStep = 1;
    orvSetErrStatus(-7);
    EXPECT_EQ(orvCheckImageHeader(image), 0);
    giveTiles(image, noTile, (1 << 29) - 8, 8);
    image->widthStep = image->imageSize = -1;  // nobody looks at these then
    EXPECT_EQ(orvCheckImageHeader(image), 0);
    EXPECT_EQ(orvGetErrStatus(), -7);  // success leaves it alone
    // A chain that bites its tail is a fault, not the end of the stack.
    maskOfMask->maskROI = mask;
    EXPECT_LT(orvCheckImageHeader(image), 0);
}

TEST_F(Alloc, CreationAndAllocationRefuseFaultyValues)
{
    const char* text = "RGB";
    std::vector<Fault> faults = valueFaults;
    faults.insert(faults.begin() + 4, {"-14", [&](Images) { text = nullptr; }});
    for (bool isModel : {false, true}) {
        auto create = [&](Images i) {
            nestMasks(i);
            EXPECT_EQ(createLike(*i[0], isModel ? text : "RGB", isModel ? "RGB" : text), nullptr);
            text = "RGB";
        };
        expectFaultsInOrder(goodSpecs, create, reportedAs("orvCreateImageHeader Incorrect data-ins", faults));
    }
    auto allocate = [](Images i) {
        nestMasks(i);
        i[0]->imageData = nullptr;
        orvAllocateImage(i[0], 0, 0);
        EXPECT_EQ(i[0]->imageData, nullptr);
    };
    expectFaultsInOrder(goodSpecs, allocate, reportedAs("orvAllocateImage Incorrect data-ins", valueFaults));
}

// ---- Creation and allocation ----

TEST_F(Alloc, HeaderHoldsWhatItWasGiven)
{
    Picture mask({.depth = ORV_DEPTH_1U});
    OrvImage expected = headerOf(ORV_DEPTH_16S, 4, 17, 9, 1, 32);
    expected.headerSize = int32_t(sizeof(OrvImage));
    expected.alphaChannel = 4;
    expected.origin = 1;
    memcpy(expected.colorModel, "RGBA", 4);
    memcpy(expected.channelSeq, "G\0\0", 4);
    expected.roi = &region;
    expected.maskROI = mask;
    expected.imageTag = &reports;
    expected.tileInfo = &tiles;
    OrvImage* image = createLike(expected);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(memcmp(image, &expected, offsetof(OrvImage, imageSize)), 0);
    EXPECT_TRUE(!image->imageData && !image->imageDataBlock);
    for (int side = 0; side < 4; ++side)
        EXPECT_TRUE(image->borderMode[side] == ORV_BORDER_CONSTANT && image->borderConst[side] == 0);
    orvDeallocateHeader(image);
    testheap::refuse(1);
    EXPECT_EQ(createLike(expected), nullptr);
    testheap::refuse(0);
}

// Of what does not fit its field, tiled images hold the largest value, and others are refused.
TEST_F(Alloc, SizesEndAtTheirFields)
{
    const struct {
        OrvImage header;
        int step, size;
    } cases[] = {
        {headerOf(ORV_DEPTH_8U, 1, 0x7FFFFFFC, 1), 0x7FFFFFFC, 0x7FFFFFFC},
        {headerOf(ORV_DEPTH_8U, 1, 0x7FFFFFFD, 1), INT_MAX, INT_MAX},
        {headerOf(ORV_DEPTH_8U, 1, 65536, 32767), 65536, 0x7FFF0000},
        {headerOf(ORV_DEPTH_8U, 1, 65536, 32768), 65536, INT_MAX},
        {headerOf(ORV_DEPTH_8U, 1, 65536, 65536), 65536, INT_MAX},
        {headerOf(ORV_DEPTH_32S, 3, 1 << 14, 1 << 15, 1), 1 << 16, INT_MAX},
        {headerOf(ORV_DEPTH_32S, INT_MAX, INT_MAX, INT_MAX, 1), INT_MAX, INT_MAX},
        {headerOf(ORV_DEPTH_32S, INT_MAX, INT_MAX, INT_MAX, 0), INT_MAX, INT_MAX},
        {headerOf(ORV_DEPTH_8U, 1, 1, INT_MAX), 4, INT_MAX},
    };
    for (auto [header, step, size] : cases) {
        if (OrvImage* plain = createLike(header)) {
            EXPECT_EQ(plain->widthStep, step);
            EXPECT_EQ(plain->imageSize, size);
            EXPECT_LT(size, INT_MAX);
            orvDeallocateHeader(plain);
        } else {
            orvAllocateImage(&header, 1, 1);
            EXPECT_EQ(reports.take(),
                      "-10 orvCreateImageHeader Incorrect data-ins\n-10 orvAllocateImage Incorrect data-ins\n");
            EXPECT_TRUE(!header.imageData && !header.imageDataBlock && !header.widthStep && !header.imageSize);
            EXPECT_EQ(size, INT_MAX);
        }
        giveTiles(&header, noTile, 8, 8);
        OrvImage* tiled = createLike(header);
        ASSERT_NE(tiled, nullptr);
        EXPECT_EQ(tiled->widthStep, step);
        EXPECT_EQ(tiled->imageSize, size);
        // Of so many channels side by side not even a row of a tile has a step.
        EXPECT_EQ(orvCheckImageHeader(tiled), header.nChannels == INT_MAX && header.dataOrder == 0 ? -23 : 0);
        orvDeallocateHeader(tiled);
    }
}

TEST_F(Alloc, AllocationFillsPaddingToo)
{
    const struct {
        uint32_t depth;
        int32_t value;
        uint32_t word;
    } cases[] = {
        {ORV_DEPTH_1U, 1, UINT32_MAX},         {ORV_DEPTH_1U, 0x1FF, UINT32_MAX}, {ORV_DEPTH_1U, 2, 0},
        {ORV_DEPTH_8U, 0x1FF, UINT32_MAX},     {ORV_DEPTH_8S, -2, 0xFEFEFEFEu},   {ORV_DEPTH_16U, 0x1FF, 0x01FF01FFu},
        {ORV_DEPTH_16S, 0x12345, 0x23452345u}, {ORV_DEPTH_32S, -3, 0xFFFFFFFDu},  {ORV_DEPTH_32F, -1, 0xC0200000u},
    };
    for (const auto& [depth, value, word] : cases)
        for (int align : {4, 8, 16, 32})
            for (int order : {0, 1})
                for (int width : {5, 32, 33}) {
                    int channels = depth == ORV_DEPTH_1U ? 1 : 3, height = 3, rows = order ? height * channels : height;
                    OrvImage image = headerOf(depth, channels, width, height, order, align);
                    if (depth == ORV_DEPTH_32F)
                        orvAllocateImageFP(&image, 7, -2.5f);
                    else
                        orvAllocateImage(&image, -1, value);
                    ASSERT_NE(image.imageData, nullptr);
                    EXPECT_EQ(uintptr_t(image.imageData) % uintptr_t(align), 0u);
                    EXPECT_LT(uintptr_t(image.imageData - image.imageDataBlock), uintptr_t(align));
                    EXPECT_EQ(orvCheckImageHeader(&image), 0);
                    PictureSpec spec = {.depth = depth, .channels = channels, .order = order, .align = align};
                    EXPECT_EQ(image.widthStep, int(rowBytes(spec, width)));
                    EXPECT_EQ(image.imageSize, image.widthStep * rows);
                    for (int i = 0; i < image.imageSize; i += 4)
                        ASSERT_EQ(memcmp(image.imageData + i, &word, 4), 0) << depth << ' ' << i;
                    orvDeallocateImage(&image);
                }
}

TEST_F(Alloc, AllocationRefusesImagesThatHaveData)
{
    for (bool isFloat : {false, true}) {
        auto expectReport = [&](OrvImage* image, const std::string& words) {
            isFloat ? orvAllocateImageFP(image, 0, 0) : orvAllocateImage(image, 0, 0);
            EXPECT_EQ(reports.entries.at(0).file, "orvalloc");
            EXPECT_GE(reports.entries.at(0).line, 1);
            size_t place = words.find(' ');
            std::string func = isFloat ? " orvAllocateImageFP" : " orvAllocateImage";
            EXPECT_EQ(reports.take(), words.substr(0, place) + func + words.substr(place) + '\n');
        };
        OrvImage image = headerOf(isFloat ? ORV_DEPTH_16U : ORV_DEPTH_32F, 0, 3, 2);
        image.imageData = pixels;
        image.tileInfo = &tiles;
        expectReport(nullptr, "-5 ( image == ((void *)0) )");
        expectReport(&image, "-5 ( image->imageData != ((void *)0) )");
        orvDeallocate(&image, ORV_IMAGE_DATA);
        EXPECT_EQ(image.imageData, pixels);  // the application's own
        orvDeallocateImage(&image);
        expectReport(&image, "-5 ( image->tileInfo != ((void *)0) )");
        image.tileInfo = nullptr;
        expectReport(&image, isFloat ? "-5 ( image->depth != 32 )" : "-5 ( image->depth == 32 )");
        image.depth = isFloat ? ORV_DEPTH_32F : ORV_DEPTH_16U;
        expectReport(&image, "-15 Incorrect data-ins");
        image.nChannels = 2;
        image.widthStep = image.imageSize = 12345;
        testheap::refuse(1);
        expectReport(&image, "-4 for allocate image data");
        testheap::refuse(0);
        EXPECT_TRUE(!image.imageData && !image.imageDataBlock && image.widthStep == 12345 && image.imageSize == 12345);
    }
}

// ---- Release ----

TEST_F(Alloc, DeallocationFollowsItsFlags)
{
    auto create = [](uint32_t depth) {
        OrvImage* image = createLike(headerOf(depth, 1, 5, 5));
        orvAllocateImage(image, 0, 0);
        image->roi = orvCreateROI(0, 0, 0, 1, 1);
        return image;
    };
    for (int flags = 0; flags < 32; ++flags) {
        SCOPED_TRACE(flags);
        OrvImage* image = create(ORV_DEPTH_8U);
        OrvImage* maskOfMask = create(ORV_DEPTH_1U);
        image->maskROI = create(ORV_DEPTH_1U);
        image->maskROI->maskROI = maskOfMask;
        image->tileInfo = orvCreateTileInfo(noTile, nullptr, 8, 8);
        OrvImage rest = *image;
        orvDeallocate(image, flags);
        if (flags & ORV_IMAGE_DATA)
            rest.imageData = rest.imageDataBlock = nullptr;
        if (flags & ORV_IMAGE_ROI)
            rest.roi = nullptr;
        if (flags & ORV_IMAGE_TILE)
            rest.tileInfo = nullptr;
        if (flags & ORV_IMAGE_MASK)
            rest.maskROI = nullptr;
        if (!(flags & ORV_IMAGE_HEADER)) {
            // Both are copies, padding included.
            EXPECT_EQ(memcmp(image, &rest, sizeof rest), 0);
            orvDeallocateHeader(image);
        }
        // What the flags left is still there to be released, and the mask's own mask always is.
        orvDeallocate(&rest, ORV_IMAGE_DATA | ORV_IMAGE_ROI | ORV_IMAGE_TILE | ORV_IMAGE_MASK);
        orvDeallocate(maskOfMask, ORV_IMAGE_ALL);
        EXPECT_EQ(testheap::blocks(), blocks);
    }
    orvDeallocate(nullptr, ORV_IMAGE_ALL);
    orvDeallocateHeader(nullptr);
    orvDeallocateImage(nullptr);
}

// ---- Clones ----

TEST_F(Alloc, ClonesOfEveryLayout)
{
    for (uint32_t depth : allDepths)
        for (int layout = 0; layout < 8; ++layout) {
            int order = layout & 1, tile = layout & 2 ? 8 : 0;
            Picture mask({.depth = ORV_DEPTH_1U});
            PictureSpec spec = {.depth = depth, .order = order, .origin = 1, .align = 16, .width = 13, .height = 11};
            spec.channels = depth == ORV_DEPTH_1U ? 1 : 3;
            spec.mask = mask;
            spec.tileWidth = spec.tileHeight = tile;
            if (layout & 4)
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
            expected.maskROI = nullptr;
            expected.imageTag = nullptr;
            expected.tileInfo = nullptr;
            expected.widthStep = int32_t(rowBytes(spec, spec.width));
            expected.imageSize = expected.widthStep * spec.height * (order ? spec.channels : 1);
            expected.roi = clone->roi;
            expected.imageData = clone->imageData;
            expected.imageDataBlock = clone->imageDataBlock;
            // Both are copies, padding included.
            EXPECT_EQ(memcmp(clone, &expected, sizeof expected), 0);
            EXPECT_NE(clone->imageDataBlock, nullptr);
            ASSERT_EQ(clone->roi != nullptr, spec.roi.has_value());
            if (clone->roi) {
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
    for (auto [size, copied] : {std::pair(wide->imageSize, 72), {5, 5}}) {
        wide->imageSize = size;
        OrvImage* clone = orvCloneImage(wide);
        EXPECT_EQ(clone->imageSize, 72);
        EXPECT_EQ(memcmp(clone->imageData, wide->imageData, size_t(copied)), 0);
        for (int i = copied; i < 72; ++i)
            EXPECT_EQ(clone->imageData[i], testheap::pattern) << i;
        orvDeallocate(clone, ORV_IMAGE_ALL);
    }
}

TEST_F(Alloc, ClonesThatFail)
{
    auto expectFailure = [&](OrvImage* image, const std::string& report) {
        EXPECT_EQ(orvCloneImage(image), nullptr);
        testheap::refuse(0);
        EXPECT_EQ(reports.take(), report);
        EXPECT_EQ(testheap::blocks(), blocks);
    };
    const std::string noHeader = "-4 orvCloneImage Not enough memory to allocate header for clone image\n";
    const std::string noRegion = "-4 orvCloneImage Not enough memory to allocate roi for clone image\n";
    const std::string noData = "-4 orvCloneImage Not enough memory to allocate imageData for clone image\n";
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_32F}) {
        Picture source({.depth = depth, .width = 5, .height = 5, .roi = OrvROI{0, 0, 0, 1, 1}});
        std::string allocation = depth == ORV_DEPTH_32F ? "-4 orvAllocateImageFP" : "-4 orvAllocateImage";
        testheap::refuse(1);
        expectFailure(source, noHeader);
        testheap::refuse(2);
        expectFailure(source, noRegion);
        testheap::refuse(3);
        expectFailure(source, allocation + " for allocate image data\n" + noData);
    }
    expectFailure(nullptr, "-9 orvCloneImage Incorrect Image\n");
    // The pixels of this one would be too many for a buffer.
    Picture tiled({.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8});
    tiled->width = tiled->height = 1 << 16;
    expectFailure(tiled, "-10 orvCreateImageHeader Incorrect data-ins\n" + noHeader);
}
