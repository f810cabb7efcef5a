// Where positions become pixels: lists of positions go in, pixels of the destination come out, whatever the layouts.
#pragma once

#include "../core/ownregion.h"
#include "kernels/ownposition.h"
#include "kernels/ownsample.h"

// The method that an image can bear: bits, rows and columns are not interpolated, and a cubic takes four pixels.
int32_t ownBearableMethod(const OrvImage& src, int32_t method);

// Columns of a few rows that are done before the rows below them: so many that the processor foresees what comes next
// in each row, and so few that what they read of the source is still in the cache for the rows below.
constexpr int ownRunColumns = 8 * ownPositionColumns;

// A block of up to ownPositionRows rows of pixels. That of column i in row r is number i * columnStep + r * rowStep of
// a list: rows lie interleaved, or one after the other.
struct OwnListedRows {
    int n = 0;  // a multiple of ownPositionGroup
    int columnStep, rowStep;
    // The pixels of each row: the first one, counted from the region's start, and how many are to be stored; none for a
    // negative number.
    int32_t x[ownPositionRows], y[ownPositionRows], count[ownPositionRows];
};

// Their positions.
struct OwnPositionList : OwnListedRows {
    bool marked;  // only pixels with a mark are stored
    alignas(64) double atX[ownPositions], atY[ownPositions];
    uint8_t marks[ownPositions];

    // Moves all positions into `limits`, so that they can be sampled, and marks those that lie in `range`, unless all
    // do. With `certain` all are known to lie in both. False if no pixel is to be stored.
    bool confine(const OwnPositionRange& range, const OwnPositionRange& limits, bool certain);
};

class OwnResampler {
public:
    // The memory of `src` holds the pixels of an image of the given size from (x, y) on. The pixels go to the region of
    // `dst`, which is plain memory too.
    OwnResampler(const OrvImage& src, OwnSize size, int32_t x, int32_t y, const OrvImage& dst, int32_t method);
    OwnResampler(const OwnResampler&) = delete;
    OwnResampler& operator=(const OwnResampler&) = delete;

    // Takes a list, and stores the one before it: the pixels that a list needs are on their way into the cache
    // meanwhile.
    void store(const OwnPositionList& list);
    // The same for rows whose positions are in the making, or are given as floats. False, and nothing done, unless it
    // is certain that all positions lie in the limits, and where there is no such way.
    bool storeInside(const OwnListedRows& rows, OwnMapKind kind, OwnPositionState& state,
                     const OwnPositionRange& limits);
    bool storeInside(const OwnListedRows& rows, const OwnFloatRows& positions, const OwnPositionRange& limits);
    // Stores the last one.
    void finish();

private:
    struct Task {
        OwnListedRows rows;
        bool marked = false;
        uint8_t marks[ownPositions];
        OwnSamplePlaces places;
    };

    alignas(64) uint8_t pixels[ownPositions * ownSampleBytes];
    Task tasks[2];  // the one that is stored next, and the one after it
    const OwnSampler* sampler;
    const uint8_t* from;                       // the first processed channel in memory
    ptrdiff_t sourceChannelStep, channelStep;  // bytes from channel to channel
    ptrdiff_t below;                           // bytes from the first row that a sample is made of to the last one
    OwnSampleSource source;
    OwnGeometry to;
    int valueBytes;  // 0 for bits
    int32_t group;   // channels that are processed together
    int current = 0;
    bool fetches;  // asks for memory before it is needed

    Task& next() { return tasks[fetches ? 1 - current : current]; }
    // Takes the next task, whose places are known.
    void take(const OwnListedRows& rows, bool marked);
    // Asks for the memory that pixels will go to.
    void fetchTarget(const OwnListedRows& rows) const;
};
