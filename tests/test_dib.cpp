// Bitmaps against a plain reader and a plain writer, a pixel at a time.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>

#include "bitmap.h"
#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

// ---- The plain reader and writer ----------------------------------------------------------------------------------

using Colour = std::array<int, 4>;  // B, G, R, A

// The lowest run of bits of a mask.
struct Run {
    int first = 0, width = 0;

    explicit Run(uint32_t mask)
    {
        while (mask && !(mask >> first & 1))
            ++first;
        while (first + width < 32 && mask >> (first + width) & 1)
            ++width;
    }
};

std::array<uint32_t, 4> masksOf(const Bitmap& bitmap)
{
    bool wide = bitmap.spec.bits == 32;
    std::array<uint32_t, 4> masks = {wide ? 0xFFu : 0x1F, wide ? 0xFF00u : 0x3E0, wide ? 0xFF0000u : 0x7C00, 0};
    if (bitmap.spec.compression == BI_BITFIELDS)
        masks = {bitmap.entry(2), bitmap.entry(1), bitmap.entry(0), 0};
    for (int bit = 31; wide && bit >= 0 && !((masks[0] | masks[1] | masks[2]) >> bit & 1); --bit)
        masks[3] |= 1u << bit;
    return masks;
}

int greyOf(const Colour& colour)
{
    return int(0.072169 * colour[0] + 0.71516 * colour[1] + 0.212671 * colour[2]);
}

Colour colourAt(const Bitmap& bitmap, int x, int y)
{
    uint32_t raw = bitmap.raw(x, y);
    if (bitmap.spec.bits <= 8)
        raw = raw < bitmap.entries() ? bitmap.entry(raw) : 0;
    if (bitmap.spec.bits <= 8 || bitmap.spec.bits == 24)
        return {int(raw & 255), int(raw >> 8 & 255), int(raw >> 16 & 255), 255};
    Colour colour = {0, 0, 0, 255};
    std::array<uint32_t, 4> masks = masksOf(bitmap);
    for (size_t k = 0; k < (bitmap.spec.bits == 32 ? 4 : 3); ++k) {
        Run run(masks[k]);
        uint64_t value = raw >> run.first & ((uint64_t{1} << run.width) - 1);
        colour[k] = int(run.width < 8 ? value << (8 - run.width) : value >> (run.width - 8));
    }
    return colour;
}

// A channel of an image that takes a colour.
uint32_t channelOf(const OrvImage& image, Colour colour, int c)
{
    if (image.channelSeq[0] == 'G')
        colour[2] = greyOf(colour);
    if (image.channelSeq[0] == 'R')
        std::swap(colour[0], colour[2]);
    int value = colour[size_t(image.nChannels == 1 ? 2 : c)];
    return uint32_t(image.depth == ORV_DEPTH_1U ? value >= 128 : image.depth == ORV_DEPTH_16U ? value << 8 : value);
}

// The colour that a bitmap takes of an image's pixel, in its order of rows.
Colour colourOf(const Picture& picture, int x, int y)
{
    Colour colour = {0, 0, 0, 255};
    int channels = picture.image.nChannels, shift = picture.image.depth == ORV_DEPTH_16U ? 8 : 0;
    for (int c = 0; c < std::max(channels, 3); ++c) {
        auto raw = int(picture.raw(x, y, channels == 1 ? 0 : c));
        colour[size_t(c)] = picture.image.depth == ORV_DEPTH_1U ? raw * 255 : raw >> shift;
    }
    if (picture.image.channelSeq[0] == 'G')
        colour[0] = colour[1] = colour[2];
    if (picture.image.channelSeq[0] == 'R')
        std::swap(colour[0], colour[2]);
    return colour;
}

uint32_t nearestEntry(const Bitmap& bitmap, const Colour& colour)
{
    bool grey = colour[0] == colour[1] && colour[1] == colour[2];
    if (bitmap.entries() == 256 && grey &&
        (bitmap.entry(size_t(colour[0])) & 0xFFFFFF) == uint32_t(colour[0]) * 0x010101)
        return uint32_t(colour[0]);
    uint32_t best = 0;
    int least = INT32_MAX;
    for (size_t i = 0; i < bitmap.entries(); ++i) {
        int distance = 0;
        for (size_t k = 0; k < 3; ++k) {
            int difference = int(bitmap.entry(i) >> 8 * k & 255) - colour[k];
            distance += difference * difference;
        }
        if (distance < least) {
            least = distance;
            best = uint32_t(i);
        }
    }
    return best;
}

uint32_t rawOf(const Bitmap& bitmap, const Colour& colour)
{
    if (bitmap.spec.bits <= 8) {
        uint32_t index = nearestEntry(bitmap, colour);
        return bitmap.spec.bits == 1 ? index > 0 : index;
    }
    if (bitmap.spec.bits == 24)
        return uint32_t(colour[0] | colour[1] << 8 | colour[2] << 16);
    uint32_t raw = 0;
    std::array<uint32_t, 4> masks = masksOf(bitmap);
    for (size_t k = 0; k < (bitmap.spec.bits == 32 ? 4 : 3); ++k) {
        Run run(masks[k]);
        auto value = uint64_t(colour[k]);
        raw |= uint32_t((run.width < 8 ? value >> (8 - run.width) : value << (run.width - 8)) << run.first);
    }
    return bitmap.spec.bits == 16 ? raw & 0xFFFF : raw;
}

// ---- Material -----------------------------------------------------------------------------------------------------

int storedRow(const Picture& picture, int y)
{
    return picture.image.origin == ORV_ORIGIN_BL ? picture.image.height - 1 - y : y;
}

BitmapSpec randomBitmap(Random& random)
{
    static const int kinds[] = {1, 4, 8, 16, 24, 32};
    BitmapSpec spec;
    spec.bits = kinds[random.below(6)];
    spec.width = random.below(6) ? random.between(1, 50) : random.between(500, 1100);
    spec.height = random.between(1, 12) * (random.below(2) ? 1 : -1);
    if (random.below(2))
        spec.compression = spec.bits >= 16 && random.below(4) ? BI_BITFIELDS : BI_RGB;
    if (random.below(3) == 0)
        spec.used = uint32_t(random.between(1, spec.bits == 8 ? 256 : spec.bits == 4 ? 16 : 300));
    spec.separate = random.below(2);
    spec.seed = random.bits();
    return spec;
}

void setMasks(Bitmap& bitmap, Random& random)
{
    if (bitmap.spec.compression != BI_BITFIELDS)
        return;
    const size_t count = std::min<size_t>(3, bitmap.entries());  // none at 24 bits
    for (size_t k = 0; k < count && random.below(4); ++k) {      // otherwise any bits
        int width = random.below(random.below(3) ? 9 : 33);
        uint64_t run = (uint64_t{1} << width) - 1;
        bitmap.setEntry(k, uint32_t(run << random.below(33 - width)));
    }
}

PictureSpec randomPicture(Random& random, int width, int height, bool toRead)
{
    static const char* const sequences[] = {"G", "GRAY", "BGR", "BGRA", "RGB", "RGBA"};
    static const int counts[] = {1, 3, 4};
    PictureSpec spec;
    spec.channels = counts[random.below(3)];
    spec.alpha = spec.channels == 4 ? 4 : 0;
    spec.depth = random.below(3) ? ORV_DEPTH_8U : ORV_DEPTH_16U;
    if (spec.channels == 1 && random.below(3) == 0)
        spec.depth = ORV_DEPTH_1U;
    spec.channelSeq = sequences[random.below(6)];
    spec.order = random.below(2);
    spec.origin = random.below(2);
    spec.align = 4 << random.below(4);
    spec.extraStep = random.below(3);
    spec.offset = random.below(4);
    spec.width = width + (toRead && random.below(2) ? random.below(12) : 0);
    spec.height = height + (toRead && random.below(2) ? random.below(5) : 0);
    if (random.below(4) == 0)  // has no effect
        spec.roi = OrvROI{random.between(0, spec.channels), 1, 1, 2, 2};
    spec.seed = random.bits();
    return spec;
}

void read(Bitmap& bitmap, OrvImage* image)
{
    if (bitmap.spec.separate)
        orvConvertFromDIBSep(bitmap.place(), bitmap.data(), image);
    else
        orvConvertFromDIB(bitmap.place(), image);
}

void write(OrvImage* image, Bitmap& bitmap, int dither = ORV_DITHER_NONE, int palette = ORV_PALETTE_KEEP)
{
    if (bitmap.spec.separate)
        orvConvertToDIBSep(image, bitmap.place(), bitmap.data(), dither, palette);
    else
        orvConvertToDIB(image, bitmap.place(), dither, palette);
}

std::string textOf(const BitmapSpec& spec, const PictureSpec& picture)
{
    return std::to_string(spec.bits) + " bits, compression " + std::to_string(spec.compression) + ", " +
           std::to_string(spec.width) + " x " + std::to_string(spec.height) + ", colours " + std::to_string(spec.used) +
           "; " + depthName(picture.depth) + " x " + std::to_string(picture.channels) + ' ' + picture.channelSeq;
}

}  // namespace

// ---- Pixels -------------------------------------------------------------------------------------------------------

TEST(Dib, IsReadAsThePlainReaderDoes)
{
    Random random(3);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        Bitmap bitmap(randomBitmap(random));
        setMasks(bitmap, random);
        int width = bitmap.spec.width, height = std::abs(bitmap.spec.height);
        PictureSpec spec = randomPicture(random, width, height, true);
        Picture picture(spec);
        SCOPED_TRACE(testing::Message() << round << ": " << textOf(bitmap.spec, spec));
        std::vector<uint32_t> expected = picture.values();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                for (int c = 0; c < spec.channels; ++c)
                    expected[size_t((storedRow(picture, y) * spec.width + x) * spec.channels + c)] =
                        channelOf(picture.image, colourAt(bitmap, x, y), c);
        std::vector<uint8_t> block = bitmap.block, buffer = bitmap.buffer;
        EXPECT_EQ(reportsOf([&] { read(bitmap, picture); }), "");
        ASSERT_TRUE(picture.values() == expected);
        EXPECT_TRUE(bitmap.block == block && bitmap.buffer == buffer);
        EXPECT_EQ(picture.faults(), "");
    }
}

TEST(Dib, IsWrittenAsThePlainWriterDoes)
{
    Random random(4);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        Bitmap bitmap(randomBitmap(random));
        setMasks(bitmap, random);
        int width = bitmap.spec.width, height = std::abs(bitmap.spec.height);
        if (bitmap.spec.bits == 8 && random.below(2))  // greys among the entries, some of them twice
            for (size_t i = 0; i < bitmap.entries(); ++i)
                if (random.below(2))
                    bitmap.setEntry(i, uint32_t(i / 2 * 2) * 0x010101);
        PictureSpec spec = randomPicture(random, width, height, false);
        Picture picture(spec);
        SCOPED_TRACE(testing::Message() << round << ": " << textOf(bitmap.spec, spec));
        Bitmap before = bitmap;
        std::vector<uint8_t> values = picture.bytes();
        EXPECT_EQ(reportsOf([&] { write(picture, bitmap); }), "");
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(bitmap.raw(x, y), rawOf(bitmap, colourOf(picture, x, storedRow(picture, y))))
                    << x << ' ' << y;
        // Everything but the rows stays, and of these what follows the last pixel's byte.
        EXPECT_TRUE(std::equal(bitmap.block.begin(), bitmap.block.begin() + ptrdiff_t(41 + 4 * bitmap.entries()),
                               before.block.begin()));
        size_t used = size_t(width * bitmap.spec.bits + 7) / 8;
        for (size_t i = 0; i < size_t(height) * bitmap.rowBytes(); ++i)
            ASSERT_TRUE(i % bitmap.rowBytes() < used || bitmap.rows()[i] == before.rows()[i]);
        EXPECT_TRUE(picture.bytes() == values);
    }
}

TEST(Dib, DitheringComesBeforeWriting)
{
    const std::map<int, int> levels = {{1, 2}, {4, 16}, {8, 256}, {16, 32}, {24, 256}, {32, 256}};
    for (auto [bits, count] : levels)
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U})
            for (int channels : {1, 4}) {
                if (bits == 1 && channels > 1)
                    continue;
                PictureSpec spec = {.depth = depth, .channels = channels, .alpha = channels == 4 ? 4 : 0};
                spec.width = 33, spec.height = 21, spec.channelSeq = channels == 1 ? "G" : "RGBA";
                Picture picture(spec);
                spec.depth = bits == 1 ? ORV_DEPTH_1U : ORV_DEPTH_8U;
                Picture reduced(spec);
                for (int c = 0; c < channels; ++c)
                    reduced.fill([&](int x, int y, int k) { return picture.raw(x, y, k) >> (depth - spec.depth); });
                orvReduceBits(picture, reduced, 0, ORV_DITHER_STUCKEY, count);
                Bitmap bitmap({.width = 33, .height = 21, .bits = bits}), expected = bitmap;
                EXPECT_EQ(reportsOf([&] { write(picture, bitmap, ORV_DITHER_STUCKEY); }), "");
                write(reduced, expected);
                EXPECT_TRUE(bitmap.block == expected.block) << bits << ' ' << depth << ' ' << channels;
            }
}

// ---- Palettes -----------------------------------------------------------------------------------------------------

TEST(Dib, FixedPalettes)
{
    struct Case {
        int bits, channels;
        uint32_t used;
        std::vector<std::pair<size_t, uint32_t>> entries;
    };
    const Case cases[] = {{1, 3, 0, {{0, 0}, {1, 0xFFFFFF}}},
                          {8, 3, 2, {{0, 0}, {1, 0xFFFFFF}}},
                          {4, 1, 0, {{0, 0}, {1, 0x111111}, {15, 0xFFFFFF}}},
                          {4, 3, 0, {{0, 0}, {1, 0x800000}, {7, 0x808080}, {8, 0xC0C0C0}, {15, 0xFFFFFF}}},
                          {8, 1, 0, {{0, 0}, {77, 0x4D4D4D}, {255, 0xFFFFFF}}},
                          {8, 3, 0, {{0, 0}, {1, 0x000040}, {4, 0x002000}, {0xA7, 0xA020FF}, {255, 0xFFFFFF}}}};
    for (const Case& one : cases) {
        Bitmap bitmap({.width = 3, .height = 3, .bits = one.bits, .used = one.used});
        Picture picture({.channels = one.channels, .width = 3, .height = 3});
        write(picture, bitmap, ORV_DITHER_NONE, ORV_PALETTE_FIXED);
        for (auto [i, colour] : one.entries)
            EXPECT_EQ(bitmap.entry(i), colour) << one.bits << ' ' << one.channels << ' ' << i;
        EXPECT_EQ(bitmap.header().biClrUsed, one.used);
    }
    Bitmap odd({.width = 3, .height = 3, .bits = 8, .used = 17}), before = odd;
    write(Picture({.width = 3, .height = 3}), odd, ORV_DITHER_NONE, ORV_PALETTE_FIXED);
    EXPECT_TRUE(std::equal(odd.block.begin(), odd.block.begin() + 41 + 4 * 17, before.block.begin()));
}

namespace {

// Median cut over the pixels themselves: a box is a list of cells, each as often as it has pixels.
struct Cell {
    std::array<int, 3> at;
    bool operator<(const Cell& o) const
    {
        return std::array{at[2], at[1], at[0]} < std::array{o.at[2], o.at[1], o.at[0]};
    }
};
using Cells = std::vector<Cell>;

int sideOf(const Cells& box, size_t axis)
{
    auto [low, high] = std::ranges::minmax_element(box, {}, [=](const Cell& cell) { return cell.at[axis]; });
    return high->at[axis] - low->at[axis];
}

// Takes the upper part of a box away.
Cells cut(Cells& box)
{
    int red = sideOf(box, 0), green = sideOf(box, 1), blue = sideOf(box, 2);
    size_t axis = red >= green && red >= blue ? 0 : green < blue ? 2 : 1;
    std::ranges::stable_sort(box, {}, [=](const Cell& cell) { return cell.at[axis]; });
    size_t half = box.size() / 2, before = half, after = half;
    while (before > 0 && box[before - 1].at[axis] == box[half].at[axis])
        --before;
    while (after < box.size() && box[after].at[axis] == box[half].at[axis])
        ++after;
    auto at = box.begin() + ptrdiff_t(half - before < after - half ? before : after);
    Cells upper(at, box.end());
    box.erase(at, box.end());
    return upper;
}

std::vector<uint32_t> naivePalette(const Picture& picture, size_t most)
{
    bool grey = picture.image.nChannels == 1, rgb = picture.image.channelSeq[0] == 'R';
    int shift = (picture.image.depth == ORV_DEPTH_16U ? 8 : 0) + (grey ? 0 : 2);
    std::vector<Cells> boxes(1);
    std::map<Cell, int> different;
    for (int y = 0; y < picture.image.height; ++y)
        for (int x = 0; x < picture.image.width; ++x) {
            Cell cell = {};
            for (int c = 0; c < (grey ? 1 : 3); ++c)
                cell.at[size_t(grey || rgb ? c : 2 - c)] = int(picture.raw(x, y, c) >> shift);
            boxes[0].push_back(cell);
            ++different[cell];
        }
    auto colour = [&](int64_t r, int64_t g, int64_t b) {
        return uint32_t(grey ? r * 0x010101 : r * 65536 + g * 256 + b);
    };
    std::vector<uint32_t> colours;
    if (different.size() <= most) {
        for (auto& [cell, count] : different)
            colours.push_back(grey ? colour(cell.at[0], 0, 0) : colour(cell.at[0] * 4, cell.at[1] * 4, cell.at[2] * 4));
        return colours;
    }
    while (boxes.size() < most)
        for (size_t i = 0, count = boxes.size(); i < count && boxes.size() < most; ++i)
            if (sideOf(boxes[i], 0) || sideOf(boxes[i], 1) || sideOf(boxes[i], 2)) {
                Cells upper = cut(boxes[i]);
                boxes.push_back(upper);
            }
    for (const Cells& box : boxes) {
        int64_t sums[3] = {}, n = int64_t(box.size());
        for (const Cell& cell : box)
            for (size_t k = 0; k < 3; ++k)
                sums[k] += cell.at[k] * (grey ? 1 : 4);
        colours.push_back(colour(sums[0] / n, sums[1] / n, sums[2] / n));
    }
    return colours;
}

}  // namespace

TEST(Dib, PalettesByMedianCut)
{
    Random random(6);
    for (int round = 0; round < 300 && !testing::Test::HasFailure(); ++round) {
        int bits = round % 3 == 0 ? 1 : round % 3 == 1 ? 4 : 8;
        PictureSpec spec = randomPicture(random, random.between(1, 60), random.between(1, 40), false);
        spec.channelSeq = random.below(2) ? "BGR" : "RGB";
        Picture picture(spec);
        int many = random.between(1, 300), wide = random.between(1, 256);
        if (spec.depth != ORV_DEPTH_1U)  // few colours or many, in a corner of the cube or all over
            picture.fill([&](int x, int y, int c) {
                return (x * 7 + y * y + c * random.below(2)) % many * wide / 256 % 256 << (spec.depth == 16 ? 8 : 0);
            });
        BitmapSpec target = {.width = spec.width, .height = spec.height, .bits = bits};
        if (random.below(3) == 0)
            target.used = uint32_t(random.between(1, 1 << bits));
        Bitmap bitmap(target);
        size_t room = bitmap.entries();
        std::vector<uint32_t> expected = {0, 0xFFFFFF};
        if (spec.depth != ORV_DEPTH_1U)
            expected = naivePalette(picture, room);
        expected.resize(std::min(expected.size(), room));
        SCOPED_TRACE(testing::Message() << round << ": " << textOf(target, spec));
        EXPECT_EQ(reportsOf([&] { write(picture, bitmap, ORV_DITHER_NONE, ORV_PALETTE_MEDCUT); }), "");
        ASSERT_EQ(bitmap.header().biClrUsed, expected.size());
        for (size_t i = 0; i < expected.size(); ++i)
            ASSERT_EQ(bitmap.entry(i), expected[i]) << i;
        // A reader finds the pixels where the new palette ends.
        spec.channels = 3, spec.alpha = 0, spec.depth = ORV_DEPTH_8U, spec.channelSeq = "BGR";
        Picture readBack(spec);
        EXPECT_EQ(reportsOf([&] { orvConvertFromDIB(bitmap.place(), readBack); }), "");
        for (int x = 0; x < spec.width; ++x) {
            uint32_t colour = uint32_t(readBack.raw(x, 0) | readBack.raw(x, 0, 1) << 8 | readBack.raw(x, 0, 2) << 16);
            EXPECT_TRUE(std::ranges::find(expected, colour) != expected.end());
        }
    }
}

// ---- New images ---------------------------------------------------------------------------------------------------

TEST(Dib, TranslatedSharesPixelsWhereItCan)
{
    struct Case {
        int bits;
        uint32_t compression;
        bool ramp;
        const char *model, *sequence;
        int channels, alpha;
        uint32_t depth;
        bool copied;
    };
    const Case cases[] = {
        {1, BI_RGB, true, "GRAY", "G\0\0\0", 1, 0, ORV_DEPTH_1U, false},
        {1, BI_RGB, false, "RGB", "BGR", 3, 0, ORV_DEPTH_8U, true},
        {4, BI_RGB, true, "GRAY", "G\0\0\0", 1, 0, ORV_DEPTH_8U, true},
        {4, BI_RLE4, false, "RGB", "BGR", 3, 0, ORV_DEPTH_8U, true},
        {8, BI_RGB, true, "GRAY", "G\0\0\0", 1, 0, ORV_DEPTH_8U, false},
        {8, BI_RLE8, true, "GRAY", "G\0\0\0", 1, 0, ORV_DEPTH_8U, true},
        {8, BI_RGB, false, "RGB", "BGR", 3, 0, ORV_DEPTH_8U, true},
        {16, BI_RGB, false, "RGB", "BGR", 3, 0, ORV_DEPTH_8U, true},
        {24, BI_RGB, false, "RGB", "BGR", 3, 0, ORV_DEPTH_8U, false},
        {32, BI_RGB, false, "RGBA", "BGRA", 4, 4, ORV_DEPTH_8U, false},
        {32, BI_BITFIELDS, false, "RGBA", "BGRA", 4, 4, ORV_DEPTH_8U, true},
    };
    for (const Case& one : cases)
        for (int height : {7, -7}) {
            if (height < 0 && (one.compression == BI_RLE8 || one.compression == BI_RLE4))
                continue;
            SCOPED_TRACE(testing::Message() << one.bits << ' ' << one.compression << ' ' << one.ramp << ' ' << height);
            BitmapSpec spec = {.width = 13, .height = height, .bits = one.bits, .compression = one.compression};
            Bitmap bitmap(spec);
            for (size_t i = 0; one.ramp && i < bitmap.entries(); ++i)
                bitmap.setEntry(i, uint32_t(255 * i / (bitmap.entries() - 1)) * 0x010101 | 0x7F000000);
            Bitmap plain = bitmap;
            if (one.compression == BI_RLE8 || one.compression == BI_RLE4) {  // rows of seven, and of six pixels
                auto* code = reinterpret_cast<uint8_t*>(bitmap.data());
                plain.data()[0] = 0;
                for (int y = 0; y < 7; ++y)
                    for (uint8_t byte : {7, 0x31, 6, 0x52, 0, y == 6 ? 1 : 0})
                        *code++ = uint8_t(byte);
            }
            int copied = 7;
            int blocks = testheap::blocks();
            OrvImage* image = nullptr;
            EXPECT_EQ(reportsOf([&] { image = orvTranslateDIB(bitmap.place(), &copied); }), "");
            ASSERT_TRUE(image);
            EXPECT_EQ(copied, one.copied);
            EXPECT_EQ(memcmp(image->channelSeq, one.sequence, 3), 0);
            EXPECT_EQ(memcmp(image->colorModel, one.model, 3), 0);
            EXPECT_TRUE(image->nChannels == one.channels && image->alphaChannel == one.alpha &&
                        image->depth == one.depth);
            EXPECT_TRUE(image->width == 13 && image->height == 7 && image->origin == (height > 0));
            EXPECT_TRUE(image->dataOrder == copied && image->align == (copied ? 32 : 4));
            EXPECT_EQ(image->imageData == static_cast<void*>(bitmap.data()), !copied);
            for (int y = 0; y < 7; ++y)
                for (int x = 0; x < 13; ++x) {
                    uint8_t pixel[4];
                    orvGetPixel(image, x, y, pixel);
                    Colour colour = colourAt(plain, x, y);
                    if (one.compression == BI_RLE8 || one.compression == BI_RLE4) {
                        uint32_t index = x < 7 ? 0x31 : 0x52;
                        if (one.bits == 4)
                            index = (x < 7 ? x : x - 7) % 2 ? index & 15 : index >> 4;
                        uint32_t entry = plain.entry(index);
                        colour = {int(entry & 255), int(entry >> 8 & 255), int(entry >> 16 & 255), 255};
                    }
                    for (int c = 0; c < one.channels; ++c)
                        ASSERT_EQ(pixel[c], channelOf(*image, colour, c)) << x << ' ' << y << ' ' << c;
                }
            orvDeallocate(image, ORV_IMAGE_HEADER | ORV_IMAGE_DATA);
            EXPECT_EQ(testheap::blocks(), blocks);
        }
}

// ---- Faults -------------------------------------------------------------------------------------------------------

namespace {

using Header = BITMAPINFOHEADER;

// Sets a field of the header with which the next call is made.
template <class Field, class Value>
FaultMaker set(Header& header, Field Header::*field, Value value)
{
    return [&header, field, value](auto) { header.*field = Field(value); };
}

// The faults of a header in their order, by their texts: those of the form, and those of the number of colours.
std::vector<Fault> formFaults(const FaultOf& fault, Header& header, const std::array<std::string, 6>& texts)
{
    return {
        fault(-5, texts[0], set(header, &Header::biSize, 41)),
        fault(-5, texts[1], set(header, &Header::biPlanes, 2)),
        fault(-5, texts[2], set(header, &Header::biCompression, 4)),
        fault(-5, texts[3], [&](auto) { header.biCompression = BI_RLE8, header.biBitCount = 4, header.biHeight = -5; }),
        fault(-5, texts[4], [&](auto) { header.biCompression = BI_RLE4, header.biBitCount = 8, header.biHeight = -5; }),
        fault(-5, texts[5],
              [&](auto) { header.biCompression = BI_RLE8, header.biBitCount = 8, header.biHeight = -5; })};
}

std::vector<Fault> colourFaults(const FaultOf& fault, Header& header, const std::array<std::string, 3>& texts)
{
    return {fault(-5, texts[0], set(header, &Header::biClrUsed, 0x8001)),
            fault(-5, texts[1], [&](auto) { header.biClrUsed = 257, header.biBitCount = 8, header.biCompression = 0; }),
            fault(-5, texts[2], [&](auto) { header.biClrUsed = 17, header.biBitCount = 4, header.biCompression = 0; })};
}

const std::array<std::string, 6> blockForms = {
    "(dib->biSize != sizeof(BITMAPINFOHEADER))",
    "(dib->biPlanes != 1)",
    "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && (dib->biCompression != 3)",
    "(dib->biBitCount != 8) && (dib->biCompression == 1)",
    "(dib->biBitCount != 4) && (dib->biCompression == 2)",
    "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )"};
const std::array<std::string, 3> blockColours = {"(dib->biClrUsed > 0x8000)",
                                                 "( dib->biBitCount==8 && dib->biClrUsed>256 )",
                                                 "( dib->biBitCount==4 && dib->biClrUsed>16 )"};
const std::array<std::string, 6> sepForms = {
    "(dibHeader->biSize != sizeof(BITMAPINFOHEADER))",
    "(dibHeader->biPlanes != 1)",
    "(dibHeader->biCompression != 0) && (dibHeader->biCompression != 1) && (dibHeader->biCompression != 2) && "
    "(dibHeader->biCompression != 3)",
    "(dibHeader->biBitCount != 8) && (dibHeader->biCompression == 1)",
    "(dibHeader->biBitCount != 4) && (dibHeader->biCompression == 2)",
    "(dibHeader->biHeight < 0) && ( (dibHeader->biCompression == 1) || (dibHeader->biCompression == 2) )"};
const std::array<std::string, 3> sepColours = {"(dibHeader->biClrUsed > 0x8000)",
                                               "(dibHeader->biBitCount==8 && dibHeader->biClrUsed>256)",
                                               "(dibHeader->biBitCount==4 && dibHeader->biClrUsed>16 )"};

// A call on a bitmap whose header is `next` for once.
struct FaultyBitmap {
    Bitmap bitmap;
    Header good = bitmap.header(), next = good;

    template <class Call>
    auto once(Call call)
    {
        return [this, call](OrvImage* const* images) {
            bitmap.setHeader(std::exchange(next, good));
            call(images[0]);
        };
    }
};

std::vector<Fault> joined(std::initializer_list<std::vector<Fault>> lists)
{
    std::vector<Fault> all;
    for (const auto& list : lists)
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

}  // namespace

TEST(Dib, ReadersCheckInTheirOrder)
{
    PictureSpec spec = {.channels = 3, .width = 20, .height = 9};
    for (bool separate : {false, true}) {
        FaultyBitmap faulty = {Bitmap({.width = 20, .height = 9, .bits = 8, .separate = separate})};
        const FaultOf fault{separate ? "orvConvertFromDIBSep" : "orvConvertFromDIB"};
        const std::string name = separate ? "dibHeader" : "dib";
        expectFaultsInOrder(
            {spec}, faulty.once([&](OrvImage* image) { read(faulty.bitmap, image); }),
            joined(
                {{fault(-5, "( image->alphaChannel < 0 )", setField(0, &OrvImage::alphaChannel, -1)),
                  fault(-5, "( image->nChannels < image->alphaChannel )", setField(0, &OrvImage::alphaChannel, 4)),
                  fault(-5, "( (image->dataOrder != 0) && (image->dataOrder != 1) )",
                        setField(0, &OrvImage::dataOrder, 2)),
                  fault(-5, "( (image->origin != 0) && (image->origin != 1) )", setField(0, &OrvImage::origin, 2)),
                  fault(
                      -5,
                      "( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )",
                      setField(0, &OrvImage::align, 5)),
                  fault(-5, "(image->height <= 0)", setField(0, &OrvImage::height, 0)),
                  fault(-5, "(image->width <= 0)", setField(0, &OrvImage::width, 0)),
                  fault(-5, "(image->imageSize <= 0)", setField(0, &OrvImage::imageSize, 0)),
                  fault(-5, "(image->widthStep <= 0)", setField(0, &OrvImage::widthStep, 0))},
                 formFaults(fault, faulty.next, separate ? sepForms : blockForms),
                 colourFaults(fault, faulty.next, separate ? sepColours : blockColours),
                 {fault(-10, "Image size is too small", setField(0, &OrvImage::width, 19)),
                  fault(-10, "Image size is too small", set(faulty.next, &Header::biHeight, INT32_MIN)),
                  fault(-14, "image->channelSeq unsupport", [](auto images) { images[0]->channelSeq[0] = 'Y'; }),
                  fault(-5, name + "->biBitCount is bad",
                        [&](auto) { faulty.next.biBitCount = 5, faulty.next.biCompression = BI_RGB; }),
                  {"", set(faulty.next, &Header::biWidth, -3)},
                  {"", set(faulty.next, &Header::biHeight, 0)},
                  fault(-3, "image->nChannels and image->depth unsupport", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
                  {"-5 " + fault.function + " Incorrect format of BI_RLE8 DIB (mismatch biHeight or biWidth)\n-3 " +
                       fault.function + " Impossible to decompress RLE DIB\n",
                   [&](auto) {
                       faulty.next.biCompression = BI_RLE8;
                       faulty.bitmap.data()[0] = 100;
                   }}}}));
        Picture picture(spec);
        Bitmap& bitmap = faulty.bitmap;
        bitmap.setHeader(faulty.good);
        EXPECT_EQ(reportsOf([&] {
                      separate ? orvConvertFromDIBSep(nullptr, nullptr, nullptr) : orvConvertFromDIB(nullptr, nullptr);
                  }),
                  separate ? "-5 orvConvertFromDIBSep ( 0 == dibHeader )\n-5 orvConvertFromDIBSep ( 0 == dibData )\n"
                             "-5 orvConvertFromDIBSep ( 0 == image )\n"
                           : "-5 orvConvertFromDIB dib==0\n-5 orvConvertFromDIB image==0\n");
        // An old failure ends the call.
        std::vector<uint8_t> before = picture.bytes();
        Reports reports;
        orvSetErrStatus(ORV_STATUS_ERROR);
        read(bitmap, picture);
        EXPECT_TRUE(reports.take().empty() && picture.bytes() == before);
    }
}

TEST(Dib, WritersCheckInTheirOrder)
{
    PictureSpec spec = {.channels = 4, .alpha = 4, .width = 20, .height = 9};
    for (bool separate : {false, true}) {
        FaultyBitmap faulty = {Bitmap({.width = 20, .height = 9, .bits = 8, .separate = separate})};
        int dither = 1, palette = 0;
        const FaultOf fault{separate ? "orvConvertToDIBSep" : "orvConvertToDIB"};
        std::array<std::string, 6> forms = separate ? sepForms : blockForms;
        if (separate) {
            forms[3] = "( (dibHeader->biBitCount != 8) && (dibHeader->biCompression == 1) )";
            forms[4] = "( (dibHeader->biBitCount != 4) && (dibHeader->biCompression == 2) )";
            forms[5] =
                "( (dibHeader->biHeight < 0) && ((dibHeader->biCompression == 1) || (dibHeader->biCompression == "
                "2)) )";
        }
        const std::string sizes = separate ? "(image->width != dibHeader->biWidth || image->height != abs_biHeight)"
                                           : "(image->width != dib->biWidth || image->height != abs_biHeight)";
        OrvTileInfo tiles = {[](OrvImage*, int32_t, int32_t, int32_t) ORV_CALL { return int32_t{}; }, nullptr, nullptr,
                             8, 8};
        auto call = faulty.once(
            [&](OrvImage* image) { write(image, faulty.bitmap, std::exchange(dither, 1), std::exchange(palette, 0)); });
        expectFaultsInOrder(
            {spec}, call,
            joined(
                {{fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0)),
                  fault(-5, "(image->tileInfo != 0)",
                        [&](auto images) { images[0]->tileInfo = &tiles, images[0]->imageData = nullptr; })},
                 {fault(-5, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )", [](auto images) {
                     images[0]->depth = ORV_DEPTH_8S;
                     images[0]->tileInfo = nullptr;
                 })}}));
        const std::vector<Fault> channels = {
            fault(-5, "(image->nChannels <= 0 || image->nChannels > 4)", setChannels(0, 5, 5)),
            fault(-5, "(image->alphaChannel != 0 && image->alphaChannel != 4)", setChannels(0, 3, 3)),
            fault(-5, "(image->nChannels != 3 && image->nChannels != 1)", setChannels(0, 4, 0))};
        expectFaultsInOrder(
            {spec}, call,
            joined({channels,
                    formFaults(fault, faulty.next, forms),
                    {fault(-5, sizes, set(faulty.next, &Header::biWidth, 21)),
                     fault(-5, sizes, set(faulty.next, &Header::biHeight, INT32_MIN))},
                    colourFaults(fault, faulty.next, separate ? sepColours : blockColours),
                    {fault(-5, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)",
                           [&](auto) { dither = 3; }),
                     fault(-5, "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)",
                           [&](auto) { palette = 3; }),
                     fault(-5, "Parameter biBitCount of DIB-image have illegal value",
                           set(faulty.next, &Header::biBitCount, 5)),
                     fault(-3, "Error of creating medcut palette",
                           [&](auto images) {
                               palette = 2;
                               memcpy(images[0]->channelSeq, "GRAY", 4);
                           }),
                     {"-16 orvCreateImageHeader Incorrect data-ins\n-4 " + fault.function +
                          " Not enough memory to allocate header for temporal image\n",
                      [&](auto) { faulty.next.biBitCount = 1, dither = 2; }},
                     fault(-14, "image->channelSeq unsupport", [](auto images) { images[0]->channelSeq[0] = 'Y'; })}}));
        EXPECT_EQ(reportsOf([&] {
                      Picture picture(spec);
                      separate ? orvConvertToDIBSep(picture, nullptr, nullptr, 1, 0)
                               : orvConvertToDIB(picture, nullptr, 1, 0);
                  }),
                  separate ? "-5 orvConvertToDIBSep ( 0 == dibHeader )\n" : "-5 orvConvertToDIB dib==0\n");
    }
    // Bits are not dithered further.
    Picture bits({.depth = ORV_DEPTH_1U, .width = 20, .height = 9});
    Bitmap bitmap({.width = 20, .height = 9, .bits = 1});
    EXPECT_EQ(reportsOf([&] { write(bits, bitmap, ORV_DITHER_FS); }),
              "-5 orvReduceBits ( (srcImage->depth == ORV_DEPTH_1U ))\n"
              "-3 orvConvertToDIB Dithering can't be produced\n");
}

TEST(Dib, TranslatorChecksInItsOrder)
{
    FaultyBitmap faulty = {Bitmap({.width = 20, .height = 9, .bits = 8})};
    const FaultOf fault{"orvTranslateDIB"};
    std::array<std::string, 6> forms = blockForms;
    forms[0] = "( dib->biSize != sizeof(BITMAPINFOHEADER) )";
    int copied = 7;
    auto call = [&](OrvImage*) { EXPECT_EQ(orvTranslateDIB(faulty.bitmap.place(), &copied), nullptr); };
    expectFaultsInOrder({{}}, faulty.once(call),
                        joined({formFaults(fault, faulty.next, forms),
                                colourFaults(fault, faulty.next, blockColours),
                                {fault(-5, "dib->biBitCount is bad", set(faulty.next, &Header::biBitCount, 5))}}));
    EXPECT_EQ(copied, 7);
    for (auto [width, height] : {std::pair(0, 9), {-1, 9}, {20, 0}, {20, INT32_MIN}, {INT32_MAX, INT32_MAX}}) {
        faulty.next.biWidth = width, faulty.next.biHeight = height;
        EXPECT_EQ(reportsOf([&] { faulty.once(call)(std::array<OrvImage*, 1>{}.data()); }),
                  "-10 orvCreateImageHeader Incorrect data-ins\n"
                  "-4 orvTranslateDIB Not enough memory to allocate header for destination image\n");
    }
    EXPECT_EQ(copied, 1);
    EXPECT_EQ(reportsOf([&] { orvTranslateDIB(nullptr, nullptr); }), "-5 orvTranslateDIB ( dib == 0 )\n");
    EXPECT_EQ(reportsOf([&] { orvTranslateDIB(faulty.bitmap.place(), nullptr); }),
              "-5 orvTranslateDIB ( cloneData == 0 )\n");
    // A code that ends at once, and memory that is refused.
    Header header = faulty.good;
    header.biCompression = BI_RLE8;
    header.biSizeImage = 1;
    faulty.bitmap.setHeader(header);
    int blocks = testheap::blocks();
    EXPECT_EQ(reportsOf([&] { call(nullptr); }),
              "-5 orvConvertFromDIB Incorrect format of BI_RLE8 DIB (mismatch biHeight)\n"
              "-3 orvConvertFromDIB Impossible to decompress RLE DIB\n");
    for (int n = 1; n <= 3; ++n) {
        testheap::refuse(n);
        EXPECT_NE(reportsOf([&] { call(nullptr); }), "");
        EXPECT_TRUE(testheap::refused());
    }
    testheap::refuse(0);
    EXPECT_EQ(testheap::blocks(), blocks);
}

TEST(Dib, LosesNothingWhereMemoryIsRefused)
{
    PictureSpec spec = {.channels = 3, .width = 30, .height = 20};
    for (int kind = 0; kind < 4; ++kind) {
        uint32_t compression = kind < 2 ? BI_RGB : kind == 2 ? BI_RLE8 : BI_RLE4;
        Bitmap bitmap({.width = 30, .height = 20, .bits = kind == 3 ? 4 : 8, .compression = compression});
        const Header header = bitmap.header();
        const Operation operation = {.name = "orvConvertToDIB", .call = [&](OrvImage* const* images) {
                                         bitmap.setHeader(header);
                                         write(images[0], bitmap, kind ? ORV_DITHER_FS : ORV_DITHER_NONE,
                                               ORV_PALETTE_MEDCUT);
                                         // Whatever has happened, the header tells how the pixels stand there.
                                         EXPECT_TRUE(bitmap.header().biCompression == BI_RGB || kind >= 2);
                                     }};
        EXPECT_TRUE(expectNothingLost(operation, {{{spec, 0, {}, 0}}}));
    }
    // Pixels of its own that the image lacks.
    Bitmap bitmap({.width = 30, .height = 20, .bits = 8});
    OrvImage image = Picture(spec).image;
    image.imageData = nullptr;
    testheap::refuse(1);
    EXPECT_EQ(reportsOf([&] { read(bitmap, &image); }),
              "-4 orvAllocateImage for allocate image data\n"
              "-4 orvConvertFromDIB Not enough memory to allocate data for destination image\n");
    testheap::refuse(0);
    EXPECT_EQ(reportsOf([&] { read(bitmap, &image); }), "");
    EXPECT_TRUE(image.imageData);
    orvDeallocateImage(&image);
    int blocks = testheap::blocks();
    Bitmap coded({.width = 30, .height = 20, .bits = 8, .compression = BI_RLE8});
    coded.data()[0] = 100;
    EXPECT_NE(reportsOf([&] { read(coded, &image); }), "");
    EXPECT_TRUE(!image.imageData && testheap::blocks() == blocks);
}
