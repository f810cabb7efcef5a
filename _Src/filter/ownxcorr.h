// A call of normalised cross-correlation: what is known of the template, and two ways to the products with it.
//
// OwnProductSums forms the products one by one, which is best for small templates and the only way for samples of 32
// bits. OwnProductSpectra takes the products of a whole block of windows from Fourier transforms in double precision:
// those of integers are integers, so that they are exact as long as the error of the transforms is proved to stay below
// a half.
#pragma once

#include <cstring>

#include "../core/ownfourier.h"
#include "../core/ownlines.h"
#include "../core/ownneighbour.h"
#include "kernels/ownxcorr.h"

struct OwnCorrelation {
    // Copies the template's region: its image may also be the destination.
    explicit OwnCorrelation(OrvImage& tpl);

    // False if there is no memory.
    explicit operator bool() const { return values && energies; }

    // A row of the template in a processed channel.
    const uint8_t* row(int32_t channel, int32_t y) const
    {
        return values.data + (ptrdiff_t{channel} * size.height + y) * rowBytes;
    }
    int64_t pixels() const { return int64_t{size.width} * size.height; }
    bool isReal() const { return depth == ORV_DEPTH_32S || depth == ORV_DEPTH_32F; }
    bool isBytes() const { return ownValueBytes(depth) == 1; }

    uint32_t depth;
    OwnSize size;
    int32_t channels;
    OwnReach reach;
    int32_t rowBytes;
    OwnScratch<uint8_t> values;
    OwnScratch<double> energies;  // the sums of squares, by channel

private:
    bool fill(OrvImage& tpl);
};

// Memory that is correlated: the regions of headers of plain memory, all of one size. The mask may be NULL.
struct OwnCorrelated {
    const OrvImage &src, &dst, *mask;
};

// A part of a region, from its start.
struct OwnPart {
    int32_t x, y;
    int32_t width, height;
};

// The rows of one channel of a part, from the samples to the results.
class OwnCorrelationRows {
public:
    OwnCorrelationRows(const OwnCorrelation& correlation, int32_t channel, const OwnCorrelated& images,
                       const OwnPart& part);

    // False if there is no memory.
    explicit operator bool() const { return lines && columns && realColumns && squares; }

    int32_t width() const { return lines.width(); }
    int32_t height() const { return lines.height(); }
    ptrdiff_t sampleCount() const { return samples; }  // of a row and its surroundings
    const void* source(int64_t y) { return lines.source(y, 0); }

    // Stores row y, where the sums of products of its windows are known. Rows of integers come from the first to the
    // last; of others sample rows are given, as doubles.
    void finish(int32_t y, const double* products);
    template <class RowAt>
    void finish(int32_t y, const double* products, RowAt rowAt)
    {
        memset(realColumns.data, 0, size_t(samples) * sizeof(double));
        for (int32_t i = 0; i < correlation.size.height; ++i)
            kernels.addRealSquares(rowAt(i), realColumns.data, samples);
        kernels.realWindows(realColumns.data, correlation.size.width, squares.data, width());
        store(y, products);
    }

private:
    void store(int32_t y, const double* products);

    const OwnCorrelationKernels& kernels = ownCorrelationKernels();
    const OwnCorrelation& correlation;
    // A part of an image and, of those that have several, one of its channels.
    struct Shown {
        OwnWork work;
        Shown(const OrvImage& image, const OwnPart& part, int32_t channel);
    };
    Shown src, dst, mask;
    double energy;
    OwnLines lines;
    ptrdiff_t samples;            // of a row
    OwnScratch<int64_t> columns;  // sums of squares over the rows of the windows
    OwnScratch<double> realColumns;
    OwnScratch<double> squares;  // of whole windows
};

// The template as rows of factors, of one channel at a time.
struct OwnProductSums {
    explicit OwnProductSums(const OwnCorrelation& correlation);

    // False if there is no memory.
    explicit operator bool() const { return halves && reals; }

    void take(int32_t channel);

    const OwnCorrelation& correlation;
    ptrdiff_t step;              // from row to row
    OwnScratch<int16_t> halves;  // of bytes, an even number in each row
    OwnScratch<double> reals;    // of other depths
    int32_t taken = -1;          // the channel
};

// The size of the planes that are best transformed to correlate rectangles of up to `most`, or 0 x 0 where products are
// better formed one by one.
OwnSize ownCorrelationPlane(const OwnCorrelation& correlation, OwnSize most);

// The template's spectrum, of one channel at a time, and planes to correlate with it.
struct OwnProductSpectra {
    OwnProductSpectra(const OwnCorrelation& correlation, OwnSize planeSize);

    // False if there is no memory.
    explicit operator bool() const { return plane.ready() && re && im && templateRe && templateIm; }

    void take(int32_t channel);
    void correlate();  // the planes with the template

    const OwnCorrelation& correlation;
    OwnFourierPlane plane;
    OwnScratch<double> re, im;
    OwnScratch<double> templateRe, templateIm;
    int32_t taken = -1;

private:
    ptrdiff_t planeValues() const { return ptrdiff_t{plane.width} * plane.height; }
};

// Correlate a rectangle of plain memory by OwnProductSums or OwnProductSpectra: tasks of ownRunNeighbours.
bool ownCorrelateBySums(void* productSums, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
bool ownCorrelateBySpectra(void* productSpectra, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
