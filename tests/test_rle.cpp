// The run-length code of bitmaps, against a decoder and an encoder that do a pixel at a time.
#include <gtest/gtest.h>

#include "checks.h"
#include "convert/owndib.h"
#include "model.h"
#include "testheap.h"

namespace {

constexpr OwnReport report{"test", "test"};

using Bytes = std::vector<uint8_t>;

BITMAPINFOHEADER headerOf(int bits, int width, int height, size_t codeBytes)
{
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = uint16_t(bits);
    header.biCompression = bits == 4 ? BI_RLE4 : BI_RLE8;
    header.biSizeImage = uint32_t(codeBytes);
    return header;
}

size_t rowBytesOf(int bits, int width)
{
    return size_t((width * bits + 31) / 32 * 4);
}

int pixelAt(const uint8_t* rows, int bits, int width, int x, int y)
{
    const uint8_t* row = rows + size_t(y) * rowBytesOf(bits, width);
    return bits == 8 ? row[x] : x % 2 ? row[x / 2] & 15 : row[x / 2] >> 4;
}

// What is wrong with a code, in the words of the report; otherwise its pixels.
std::string naiveDecode(int bits, int width, int height, const Bytes& code, std::vector<int>& pixels)
{
    size_t at = 0;
    int x = 0, y = 0;
    auto byte = [&](size_t i) { return i < code.size() ? int(code[i]) : -1; };
    auto put = [&](int value) { pixels[size_t(y * width + x++)] = value; };
    auto part = [&](int value, int i) { return bits == 8 ? value : i % 2 ? value & 15 : value >> 4; };
    for (;;) {
        int first = byte(at), second = byte(at + 1);
        at += 2;
        if (second < 0)
            return "mismatch biHeight";
        if (first == 0 && second == 1)
            return y < height - 1 ? "mismatch biHeight" : "";
        if (y == height)
            return "mismatch biHeight";
        if (first > 0) {
            if (x + first > width)
                return "mismatch biHeight or biWidth";
            for (int i = 0; i < first; ++i)
                put(part(second, i));
        } else if (second == 0) {
            if (x != width)
                return "mismatch biWidth";
            x = 0;
            ++y;
        } else if (second == 2) {
            if (byte(at + 1) < 0)
                return "mismatch biHeight";
            x += byte(at);
            y += byte(at + 1);
            at += 2;
            if (x > width || y > height)
                return "bad Delta command";
        } else {
            int perByte = 8 / bits, bytes = (second + perByte - 1) / perByte;
            if (x + second > width)
                return "mismatch biHeight or biWidth";
            if (byte(at + size_t(bytes) - 1) < 0)
                return "mismatch biHeight";
            for (int i = 0; i < second; ++i)
                put(part(code[at + size_t(i / perByte)], i));
            at += size_t(bytes + bytes % 2);
        }
    }
}

void expectDecoded(int bits, int width, int height, const Bytes& code)
{
    std::vector<int> pixels(size_t(width) * size_t(height));
    std::string fault = naiveDecode(bits, width, height, code, pixels);
    int blocks = testheap::blocks();
    uint8_t* rows = nullptr;
    std::string told =
        reportsOf([&] { rows = ownRLEDecompress(report, headerOf(bits, width, height, code.size()), code.data()); });
    std::string name = "BI_RLE" + std::to_string(bits);
    EXPECT_EQ(told, fault.empty() ? "" : "-5 test Incorrect format of " + name + " DIB (" + fault + ")\n");
    ASSERT_EQ(rows != nullptr, fault.empty());
    for (int y = 0; rows && y < height; ++y)
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(pixelAt(rows, bits, width, x, y), pixels[size_t(y * width + x)]) << x << ' ' << y;
    orvFree(rows);
    EXPECT_EQ(testheap::blocks(), blocks);
}

// A code that is right, as long as its tokens keep to the rows; `wrong` of 1000 tokens do not care.
Bytes randomCode(Random& random, int bits, int width, int height, int wrong)
{
    Bytes code;
    auto add = [&](int first, int second) { code.insert(code.end(), {uint8_t(first), uint8_t(second)}); };
    int x = 0, y = 0;
    while (y < height && code.size() < 4000) {
        bool careless = random.below(1000) < wrong;
        int room = careless ? 300 : width - x, n = std::min(random.between(1, random.below(3) ? 12 : 255), room);
        int kind = careless ? random.below(5) : room ? random.below(4) : 4;
        if (kind == 4) {
            add(0, 0);
            x = 0;
            ++y;
        } else if (kind == 3) {
            int down = careless ? random.below(256) : random.below(4) ? 0 : random.below(std::min(3, height - y));
            add(0, 2);
            add(n = std::min(n, 255), down);
            x += n;
            y += down;
        } else if (kind == 2 && (n = std::min(n, 255)) > 2) {
            add(0, n);
            int bytes = bits == 8 ? n : (n + 1) / 2;
            for (int i = 0; i < bytes + bytes % 2; ++i)
                code.push_back(uint8_t(random.bits()));
            x += n;
        } else if (kind < 2) {
            add(n = std::min(n, 255), int(random.bits() & 255));
            x += n;
        }
    }
    if (random.below(10))
        add(0, 1);
    return code;
}

// The coded rows of eight bits.
Bytes naiveEncode(int width, int height, const uint8_t* rows)
{
    Bytes code;
    auto add = [&](int first, int second) { code.insert(code.end(), {uint8_t(first), uint8_t(second)}); };
    for (int y = 0; y < height; ++y) {
        const uint8_t* p = rows + size_t(y) * rowBytesOf(8, width);
        int x = 0;
        while (x < width - 3) {
            int n = 1;
            if (p[x] == p[x + 1]) {
                while (x + n < width && n < 255 && p[x + n] == p[x])
                    ++n;
                add(n, p[x]);
            } else if (p[x + 1] == p[x + 2]) {
                add(1, p[x]);
            } else if (p[x + 2] == p[x + 3]) {
                add(1, p[x]);
                add(1, p[x + 1]);
                n = 2;
            } else {
                auto repeats = [&](int i) { return i + 2 < width && p[i] == p[i + 1] && p[i] == p[i + 2]; };
                for (n = 3; x + n < width && n < 255 && !repeats(x + n);)
                    ++n;
                add(0, n);
                code.insert(code.end(), p + x, p + x + n);
                if (n % 2)
                    code.push_back(0);
            }
            x += n;
        }
        for (; x < width; ++x)
            add(1, p[x]);
        add(0, 0);
    }
    add(0, 1);
    return code;
}

// Pixels with runs, patterns and noise.
Bytes randomRows(Random& random, int bits, int width, int height)
{
    Bytes rows(rowBytesOf(bits, width) * size_t(height));
    int calm = random.below(4), values = random.between(1, 1 << bits);
    for (size_t i = 0; i < rows.size(); ++i)
        rows[i] = i > 1 && random.below(10) < 3 * calm ? rows[i - 1 - size_t(random.below(6) == 0)]
                                                       : uint8_t(random.below(values) * (bits == 4 ? 17 : 1));
    return rows;
}

}  // namespace

TEST(Rle, IsDecodedAsThePlainDecoderDoes)
{
    Random random(8);
    for (int round = 0; round < 8000 && !testing::Test::HasFailure(); ++round) {
        int bits = round % 2 ? 4 : 8, width = random.between(1, random.below(3) ? 40 : 600),
            height = random.between(1, 6);
        Bytes code = randomCode(random, bits, width, height, round % 4 < 2 ? 0 : 60);
        SCOPED_TRACE(testing::Message() << round << ": " << bits << ' ' << width << ' ' << height);
        expectDecoded(bits, width, height, code);
        if (random.below(3) == 0 && !code.empty()) {  // a code that breaks off, or a byte that is wrong
            code.resize(size_t(random.between(1, int(code.size()))));
            code[size_t(random.below(int(code.size())))] = uint8_t(random.bits());
            expectDecoded(bits, width, height, code);
        }
    }
}

TEST(Rle, OfSizesThatCannotBeIsRefused)
{
    const Bytes code = {0, 1};
    for (int bits : {4, 8})
        for (auto [width, height] : {std::pair(INT32_MAX, INT32_MAX), {1, INT32_MAX}, {INT32_MAX, 3}}) {
            BITMAPINFOHEADER header = headerOf(bits, width, height, code.size()), before = header;
            std::string name = "BI_RLE" + std::to_string(bits);
            EXPECT_EQ(reportsOf([&] { EXPECT_EQ(ownRLEDecompress(report, header, code.data()), nullptr); }),
                      "-4 test Not enough memory to decompress " + name + " DIB at DIB\n");
            EXPECT_EQ(reportsOf([&] { EXPECT_EQ(ownRLECompress(report, header, nullptr), 0); }),
                      "-4 test Not enough memory to compress DIB at " + name + " DIB\n");
            EXPECT_EQ(memcmp(&header, &before, sizeof header), 0);
        }
}

TEST(Rle, IsEncodedSoThatItIsDecodedToTheSamePixels)
{
    Random random(9);
    int coded = 0;
    for (int round = 0; round < 4000 && !testing::Test::HasFailure(); ++round) {
        int bits = round % 2 ? 4 : 8, width = random.between(1, random.below(3) ? 30 : 700),
            height = random.between(1, 5);
        SCOPED_TRACE(testing::Message() << round << ": " << bits << ' ' << width << ' ' << height);
        const Bytes rows = randomRows(random, bits, width, height);
        Bytes data = rows;
        BITMAPINFOHEADER header = headerOf(bits, width, height, 0);
        EXPECT_EQ(ownRLECompress(report, header, data.data()), 1);
        bool shorter = header.biCompression != BI_RGB;
        if (bits == 8) {
            Bytes expected = naiveEncode(width, height, rows.data());
            ASSERT_EQ(shorter, expected.size() < rows.size());
            if (shorter) {
                ASSERT_EQ(header.biSizeImage, expected.size());
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), data.begin()));
            }
        }
        if (!shorter) {
            EXPECT_EQ(header.biSizeImage, rows.size());
            EXPECT_TRUE(data == rows);
            continue;
        }
        ++coded;
        uint8_t* decoded = ownRLEDecompress(report, header, data.data());
        ASSERT_TRUE(decoded);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(pixelAt(decoded, bits, width, x, y), pixelAt(rows.data(), bits, width, x, y))
                    << x << ' ' << y;
        orvFree(decoded);
    }
    EXPECT_GT(coded, 1000);
}

// The code of a row by itself.
TEST(Rle, TokensOfOneRow)
{
    struct Case {
        int bits, width;
        Bytes row, code;
    };
    const Bytes same(300, 7);
    for (const Case& one : {Case{8, 300, same, {255, 7, 45, 7}},
                            {8, 16, {1, 2, 3, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4}, {0, 3, 1, 2, 3, 0, 13, 4}},
                            {4, 60, Bytes(32, 0x3A), {60, 0x3A}},
                            {4,
                             60,
                             [] {
                                 Bytes row(32, 0x55);
                                 row[0] = 0x12;
                                 return row;
                             }(),
                             {2, 0x12, 58, 0x55}}}) {
        Bytes row = one.row, code = one.code;
        row.resize(rowBytesOf(one.bits, one.width));
        code.insert(code.end(), {0, 0, 0, 1});
        BITMAPINFOHEADER header = headerOf(one.bits, one.width, 1, 0);
        EXPECT_EQ(ownRLECompress(report, header, row.data()), 1);
        row.resize(header.biSizeImage);
        EXPECT_TRUE(row == code) << one.bits << ' ' << one.width;
    }
}
