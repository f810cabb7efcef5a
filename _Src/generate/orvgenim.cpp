// A test image.
//
//   orvCreateImageJaehne   a chirp about the centre
#include <cstring>

#include "../core/ownlayout.h"
#include "../core/ownmath.h"
#include "../core/ownreport.h"
#include "../core/ownscratch.h"
#include "../core/ownvalue.h"
#include "orv/generate.h"

namespace {

constexpr const char* source = "orvgenim";

// The sines of a row's pixels. Of the pixel at (x, y) the phase is N / (16 height) turns, where N is the sum of the
// squares of (2 x - width + 1) and (2 y - height + 1): a whole number, of which whole turns can be taken away exactly.
class Chirp {
public:
    Chirp(int32_t imageWidth, int32_t imageHeight)
        : width(imageWidth), height(imageHeight), turn(16 * uint64_t(imageHeight))
    {
    }

    void begin(int32_t y)
    {
        const int64_t column = 1 - int64_t{width}, row = 2 * int64_t{y} + 1 - height;
        const uint64_t square = uint64_t(column * column) + uint64_t(row * row);
        distance = double(square);
        rest = square % turn;
        // From pixel to pixel N grows by 4 times its root in x, and 4.
        const int64_t growth = 4 * column + 4;
        realStep = double(growth);
        step = uint64_t(growth < 0 ? int64_t(turn) - int64_t(uint64_t(-growth) % turn) : growth) % turn;
    }

    double next()
    {
        // The turn of the formula is a double, a little less than 2 pi.
        constexpr double missing = 2.4492935982947064e-16;
        const double perTurn = 1.0 / double(turn);
        const double sine = ownSinOfTurns(double(rest) * perTurn, -missing * (distance * perTurn));
        rest += step;
        rest -= rest >= turn ? turn : 0;
        distance += realStep;
        step += 8;
        step -= step >= turn ? turn : 0;
        realStep += 8;
        return sine;
    }

private:
    int32_t width, height;
    uint64_t turn;                // of N
    uint64_t rest = 0, step = 0;  // of N, less whole turns
    double distance = 0, realStep = 0;
};

struct Range {
    double offset, factor;  // the value is (s + offset) * factor
};

template <class T>
void fillRow(Chirp& chirp, uint8_t* row, int32_t width, const Range& range)
{
    for (int32_t x = 0; x < width; ++x) {
        const double value = (chirp.next() + range.offset) * range.factor;
        if constexpr (T(0.5) != 0)
            ownStore<T>(row, x, T(value));
        else
            ownStore<T>(row, x, ownTruncated<T>(value));
    }
}

void fillBits(Chirp& chirp, uint8_t* row, int32_t width, const Range& range)
{
    for (int32_t x = 0; x < width; ++x)
        if ((chirp.next() + range.offset) * range.factor >= 1.0)
            row[x >> 3] = uint8_t(row[x >> 3] | 128 >> (x & 7));
}

using FillRow = void (*)(Chirp& chirp, uint8_t* row, int32_t width, const Range& range);

// The factors lie just below the ends of the ranges, which the sine's own ends must not pass.
void fill(OrvImage& image)
{
    constexpr struct {
        FillRow row;
        Range range;
    } fills[OWN_DEPTHS] = {
        {fillBits, {1.0, 0.99999}},
        {fillRow<uint8_t>, {1.0, 127.99999}},
        {fillRow<int8_t>, {0.0, 127.99999}},
        {fillRow<uint16_t>, {1.0, 32767.99999}},
        {fillRow<int16_t>, {0.0, 32767.99999}},
        {fillRow<int32_t>, {0.0, 2147483647.99999}},
        {fillRow<float>, {1.0, 0.49999}},
    };
    const auto& fill = fills[ownDepthIndex(image.depth)];
    Chirp chirp(image.width, image.height);
    for (int32_t y = 0; y < image.height; ++y) {
        chirp.begin(y);
        fill.row(chirp, image.imageData + ptrdiff_t(y) * image.widthStep, image.width, fill.range);
    }
}

}  // namespace

OrvImage* ORV_CALL orvCreateImageJaehne(int32_t depth, int32_t width, int32_t height)
{
    constexpr OwnReport report{"orvCreateImageJaehne", source};
    if (report.when(height < 1 || width < 1, ORV_STATUS_BAD_IMAGE_SIZE, orvErrorStr(ORV_STATUS_BAD_IMAGE_SIZE)))
        return nullptr;
    if (report.when(!ownIsDepth(uint32_t(depth)), ORV_STATUS_BAD_DEPTH, orvErrorStr(ORV_STATUS_BAD_DEPTH)))
        return nullptr;
    OwnTempImage made(orvCreateImageHeader(1, 0, uint32_t(depth), "GRAY", "GRAY", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL,
                                           4, width, height, nullptr, nullptr, nullptr, nullptr));
    if (report.when(!made.image, ORV_STATUS_NO_MEMORY, "Not enough memory to allocate header for ImageJaehne"))
        return nullptr;
    if (uint32_t(depth) == ORV_DEPTH_32F)
        orvAllocateImageFP(made.image, 1, 0);
    else
        orvAllocateImage(made.image, 1, 0);
    if (!made.image->imageData) {
        orvDeallocate(made.release(), ORV_IMAGE_HEADER);
        report(ORV_STATUS_NO_MEMORY, "Not enough memory to allocate imageData for ImageJaehne");
        return nullptr;
    }
    fill(*made.image);
    return made.release();
}
