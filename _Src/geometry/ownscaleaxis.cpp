#include "ownscaleaxis.h"

#include <cmath>

#include "kernels/ownaxis.h"
#include "kernels/ownscale.h"

namespace {

template <class T>
bool allocate(OwnScratch<T>& block, int64_t count)
{
    OwnScratch<T> made(count);
    block.data = made.data;
    made.data = nullptr;
    return bool(block);
}

bool allocate(OwnScaleAxis& axis, int32_t count)
{
    axis.count = count;
    return allocate(axis.index, count) && (axis.samples == 1 || allocate(axis.fraction, count));
}

// The first of four samples, and the position from the second on. At the image's edges the four are moved inward.
void placeCubic(OwnScaleAxis& axis, int32_t i, double position, int32_t index, const OwnScaleLine& line)
{
    int32_t place = line.offset + index;
    int32_t last = line.imageLength - 1;
    int32_t second = ownMin(ownMax(place, 1), last - 2) - line.offset;
    axis.index[i] = second - 1;
    axis.fraction[i] = place == last ? 2.0 : position - second;
}

// Cells of so many pixels, the last one perhaps of fewer.
void makeWholeCells(OwnAreaAxis& axis, int32_t length, int64_t pixels)
{
    axis.most = int32_t(pixels < length ? pixels : length);
    axis.count = ownMin(axis.count, int32_t((length + pixels - 1) / pixels));
    for (int32_t i = 0; i < axis.count; ++i) {
        axis.index[i] = int32_t(i * pixels);
        axis.pixels[i] = axis.most;
        axis.firstWeight[i] = axis.lastWeight[i] = 1;
    }
    const int32_t last = axis.count - 1, rest = length - axis.index[last];
    axis.pixels[last] = ownMin(axis.most, rest);
}

}  // namespace

int32_t ownFilledPixels(const OwnScaleRatio& ratio, int32_t length, int32_t most)
{
    const double count = std::rint(length / ratio.factor() + ownIndexBias);
    return count >= most ? most : count < 1 ? 1 : int32_t(count);
}

double ownZoomStep(const OwnScaleRatio& ratio, int32_t length)
{
    const double ideal = double(ratio.dst) * length / ratio.src;
    return ideal > 1 ? (length - 1) / (ideal - 1) : 0;
}

bool ownZoomAxis(OwnScaleAxis& axis, OwnScaleMethod method, const OwnScaleLine& line, double start, double step,
                 int32_t count)
{
    const int32_t last = line.length - 1;
    axis.samples = method == OwnScaleMethod::cubic ? 4 : method == OwnScaleMethod::linear && last > 0 ? 2 : 1;
    if (!allocate(axis, count))
        return false;
    const OwnAxisKernels& kernels = ownAxisKernels();
    double position = start, positions[512];
    for (int32_t done = 0, n; done < count; done += n) {
        n = ownMin(count - done, int32_t(sizeof positions / sizeof *positions));
        position = kernels.positions(position, step, positions, n);
        int32_t* index = axis.index.data + done;
        if (axis.samples == 2) {
            kernels.lines(positions, last, index, axis.fraction.data + done, n);
            continue;
        }
        kernels.indices(positions, last, index, n);
        for (int32_t i = 0; i < n && axis.samples == 4; ++i)
            placeCubic(axis, done + i, positions[i], index[i], line);
    }
    return true;
}

bool ownDecimateAxis(OwnScaleAxis& axis, OwnScaleMethod method, const OwnScaleLine& line, bool exact, double step,
                     int32_t most)
{
    const bool nearest = method == OwnScaleMethod::nearest;
    axis.samples = nearest || exact ? 1 : method == OwnScaleMethod::linear ? 2 : 4;
    axis.firstIsWhole = axis.samples > 1;
    most = ownMin(most, line.length);  // steps are not below 1
    if (!allocate(axis, most))
        return false;
    // Between pixels there must be one after the position.
    const int32_t last = axis.samples == 1 ? line.length - 1 : line.length - 2;
    double position = nearest && !exact ? 0.5 : 0.0;
    int32_t i = 0;
    for (; i < most && position < last + 1.0; ++i, position += step) {
        auto index = int32_t(position);
        if (axis.samples == 1) {
            axis.index[i] = index;
        } else if (axis.samples == 2) {
            axis.index[i] = index;
            axis.fraction[i] = position - index;
        } else {
            placeCubic(axis, i, position, index, line);
        }
    }
    axis.count = i;
    return true;
}

bool ownAreaAxis(OwnAreaAxis& axis, const OwnScaleLine& line, bool exact, double step, int32_t count)
{
    // A cell's end that lies so near a pixel's is taken for it.
    constexpr double tolerance = 0.0001f;
    axis.count = count;
    axis.whole = exact;
    if (!allocate(axis.index, count) || !allocate(axis.pixels, count) || !allocate(axis.firstWeight, count) ||
        !allocate(axis.lastWeight, count))
        return false;
    if (exact) {
        makeWholeCells(axis, line.length, int64_t(step));
        return true;
    }
    double end = step;
    auto begin = [&](int32_t cell, int32_t pixel, float weight) {
        axis.index[cell] = pixel;
        axis.pixels[cell] = 1;
        axis.firstWeight[cell] = weight;
        axis.lastWeight[cell] = weight;
    };
    auto add = [&](int32_t cell, float weight) {
        axis.lastWeight[cell] = weight;
        ++axis.pixels[cell];
        axis.most = ownMax(axis.most, axis.pixels[cell]);
    };
    begin(0, 0, 1);
    axis.most = 1;
    int32_t cell = 0;
    for (int32_t pixel = 1; pixel < line.length; ++pixel) {
        if (end + tolerance > pixel + 1.0) {
            add(cell, 1);
            continue;
        }
        double part = end - pixel;
        if (part != 0)
            add(cell, float(part));
        if (++cell == count)
            break;
        end += step;
        begin(cell, pixel, float(1 - part));
    }
    axis.count = ownMin(count, cell + 1);
    return true;
}
