#include "ownresample.h"

#include "orv/geometry.h"

int32_t ownBearableMethod(const OrvImage& src, int32_t method)
{
    if (src.depth == ORV_DEPTH_1U || src.width == 1 || src.height == 1)
        return ORV_INTER_NN;
    if (method == ORV_INTER_CUBIC && (src.width < 4 || src.height < 4))
        return ORV_INTER_LINEAR;
    return method;
}

void OwnPositionList::confine(const OwnPositionRange& range, const OwnPositionRange& limits, bool certain)
{
    const OwnPositionKernels& kernels = ownPositionKernels();
    marked = !certain && !kernels.inside(atX, atY, n, limits);
    if (marked)
        kernels.confine(atX, atY, n, range, limits, marks);
}

namespace {

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
    source = {size.width, size.height, valueBytes * (planes ? 1 : src.nChannels), rowBytes, 0};
    source.origin = valueBytes ? y * rowBytes + int64_t{x} * source.pixelBytes : y * rowBytes * 8 + x;
    sampler = &ownSampleKernels().samplers[sampleDepth(src.depth)][sampleMethod(method)];
    sourceChannelStep = planes ? ptrdiff_t(src.height * rowBytes) : valueBytes;
    channelStep = to.planeStep ? to.planeStep : valueBytes;
    group = planes || to.planeStep ? 1 : ownMin(to.channels, ownSampleChannels);
    from = src.imageData + ownChannels(src).first * sourceChannelStep;
}

void OwnResampler::store(const OwnPositionList& list)
{
    const OwnSampleKernels& kernels = ownSampleKernels();
    sampler->prepare(source, list.atX, list.atY, list.n, places);
    const ptrdiff_t pixelStep = ptrdiff_t{to.pixelStep} * valueBytes;
    for (int32_t channel = 0; channel < to.channels; channel += group) {
        const int32_t channels = ownMin(group, to.channels - channel);
        sampler->sample[channels - 1](source, from + channel * sourceChannelStep, places, list.n, pixels);
        uint8_t* starts[ownPositionRows];
        int32_t bits[ownPositionRows];
        for (int row = 0; row < list.rows; ++row) {
            starts[row] = to.start + channel * channelStep + list.y[row] * to.rowStep + list.x[row] * pixelStep;
            bits[row] = to.bit + list.x[row];
        }
        kernels.deliver[channels * valueBytes](
            {pixels, list.rows, starts, bits, list.count, pixelStep, list.marked ? list.marks : nullptr});
    }
}
