#include "ownresample.h"

#include <cstring>

#include "orv/geometry.h"

int32_t ownBearableMethod(const OrvImage& src, int32_t method)
{
    if (src.depth == ORV_DEPTH_1U || src.width == 1 || src.height == 1)
        return ORV_INTER_NN;
    if (method == ORV_INTER_CUBIC && (src.width < 4 || src.height < 4))
        return ORV_INTER_LINEAR;
    return method;
}

bool OwnPositionList::confine(const OwnPositionRange& range, const OwnPositionRange& limits, bool certain)
{
    marked = false;
    if (certain)
        return true;
    // Those beyond the end of a row must not look as if there were something to mark.
    const int columns = n / ownPositionRows;
    for (int row = 0; row < ownPositionRows; ++row)
        for (int i = ownMax(count[row], 0); i < columns; ++i) {
            atX[i * columnStep + row * rowStep] = limits.left;
            atY[i * columnStep + row * rowStep] = limits.top;
        }
    const OwnConfined confined = ownPositionKernels().confine(atX, atY, n, range, limits, marks);
    marked = confined == OWN_CONFINED_SOME;
    return confined != OWN_CONFINED_NONE;
}

namespace {

// Bytes of a source that stay in the cache once they are there.
constexpr int64_t cached = 1 << 20;

OwnSampleDepth sampleDepth(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_1U: return OWN_SAMPLE_1U;
    case ORV_DEPTH_8U: return OWN_SAMPLE_8U;
    case ORV_DEPTH_16U: return OWN_SAMPLE_16U;
    default: return OWN_SAMPLE_32F;
    }
}

OwnSampleMethod sampleMethod(int32_t method)
{
    switch (method) {
    case ORV_INTER_NN: return OWN_NEAREST;
    case ORV_INTER_LINEAR: return OWN_LINEAR;
    default: return OWN_CUBIC;
    }
}

}  // namespace

OwnResampler::OwnResampler(const OrvImage& src, OwnSize size, int32_t x, int32_t y, const OrvImage& dst, int32_t method)
    : valueBytes(ownValueBytes(src.depth))
{
    ownPlaneGeometry(dst, to);
    const bool planes = src.dataOrder == ORV_DATA_ORDER_PLANE;
    const int64_t rowBytes = src.widthStep;
    source = {size.width, size.height, valueBytes * (planes ? 1 : src.nChannels), rowBytes, 0, false};
    source.origin = valueBytes ? y * rowBytes + int64_t{x} * source.pixelBytes : y * rowBytes * 8 + x;
    source.compact = size.width <= 32768 && size.height <= 32768 && src.height * rowBytes <= INT32_MAX;
    fetches = valueBytes && src.height * rowBytes > cached;
    below = ptrdiff_t(rowBytes) * (method == ORV_INTER_NN ? 0 : method == ORV_INTER_LINEAR ? 1 : 3);
    sampler = &ownSampleKernels().samplers[sampleDepth(src.depth)][sampleMethod(method)];
    sourceChannelStep = planes ? ptrdiff_t(src.height * rowBytes) : valueBytes;
    channelStep = to.planeStep ? to.planeStep : valueBytes;
    group = planes || to.planeStep ? 1 : ownMin(to.channels, ownSampleChannels);
    from = src.imageData + ownChannels(src).first * sourceChannelStep;
}

void OwnResampler::store(const OwnPositionList& list)
{
    Task& task = next();
    fetchTarget(list);
    sampler->prepare(source, list.atX, list.atY, list.n, task.places);
    if (list.marked)
        memcpy(task.marks, list.marks, size_t(list.n));
    take(list, list.marked);
}

bool OwnResampler::storeInside(const OwnListedRows& rows, OwnMapKind kind, OwnPositionState& state,
                               const OwnPositionRange& limits)
{
    const auto prepare = sampler->inside.prepareRows[kind];
    if (!prepare)
        return false;
    fetchTarget(rows);
    if (!prepare(source, state, rows.n / ownPositionRows, limits, next().places))
        return false;
    take(rows, false);
    return true;
}

bool OwnResampler::storeInside(const OwnListedRows& rows, const OwnFloatRows& positions, const OwnPositionRange& limits)
{
    if (!sampler->inside.prepareFloats)
        return false;
    fetchTarget(rows);
    if (!sampler->inside.prepareFloats(source, positions, limits, next().places))
        return false;
    take(rows, false);
    return true;
}

void OwnResampler::take(const OwnListedRows& rows, bool marked)
{
    Task& task = next();
    task.rows = rows;
    task.marked = marked;
    if (fetches)
        ownSampleKernels().fetch(from, task.places, rows.columnStep, rows.rowStep, rows.n, below);
    finish();
    if (fetches)
        current = 1 - current;
}

void OwnResampler::fetchTarget(const OwnListedRows& rows) const
{
    constexpr ptrdiff_t cacheLine = 64;
    const ptrdiff_t pixelStep = ptrdiff_t{to.pixelStep} * valueBytes;
    for (int row = 0; row < ownPositionRows; ++row)
        for (ptrdiff_t i = 0; i < rows.count[row] * pixelStep; i += cacheLine)
            __builtin_prefetch(to.start + rows.y[row] * to.rowStep + rows.x[row] * pixelStep + i, 1);
}

void OwnResampler::finish()
{
    const OwnSampleKernels& kernels = ownSampleKernels();
    Task& task = tasks[current];
    OwnListedRows& rows = task.rows;
    OwnDelivery delivery;
    delivery.pixels = pixels;
    delivery.columnStep = rows.columnStep;
    delivery.rowStep = rows.rowStep;
    delivery.count = rows.count;
    delivery.step = ptrdiff_t{to.pixelStep} * valueBytes;
    delivery.marks = task.marked ? task.marks : nullptr;
    for (int32_t channel = 0; rows.n > 0 && channel < to.channels; channel += group) {
        const int32_t channels = ownMin(group, to.channels - channel);
        const uint8_t* const data = from + channel * sourceChannelStep;
        for (int row = 0; row < ownPositionRows; ++row) {
            delivery.to[row] =
                to.start + channel * channelStep + rows.y[row] * to.rowStep + rows.x[row] * delivery.step;
            delivery.bit[row] = to.bit + rows.x[row];
        }
        if (const auto copy = sampler->copy[channels - 1]) {
            copy(data, task.places, delivery);
        } else {
            sampler->sample[channels - 1](source, data, task.places, rows.n, pixels);
            kernels.deliver[channels * valueBytes](delivery);
        }
    }
    rows.n = 0;
}
