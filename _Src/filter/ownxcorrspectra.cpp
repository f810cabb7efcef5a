// Normalised cross-correlation whose products come from Fourier transforms: block by block, by the method of overlap
// and save (T. G. Stockham, "High-speed convolution and correlation", AFIPS Spring Joint Computer Conference, 1966).
#include "kernels/ownconv.h"
#include "ownxcorr.h"

OwnProductSpectra::OwnProductSpectra(const OwnCorrelation& call, OwnSize planeSize)
    : correlation(call),
      plane(planeSize.width, planeSize.height),
      re(planeValues()),
      im(planeValues()),
      templateRe(planeValues()),
      templateIm(planeValues())
{
}

void OwnProductSpectra::take(int32_t channel)
{
    if (taken == channel)
        return;
    taken = channel;
    const size_t bytes = size_t(planeValues()) * sizeof(double);
    memset(templateRe.data, 0, bytes);
    memset(templateIm.data, 0, bytes);
    auto* asReals = ownConvKernels().reals[ownDepthIndex(correlation.depth)];
    for (int32_t y = 0; y < correlation.size.height; ++y)
        asReals(correlation.row(channel, y), templateRe.data + ptrdiff_t{y} * plane.width, correlation.size.width);
    plane.transform(templateRe.data, templateIm.data, 1);
}

void OwnProductSpectra::correlate()
{
    plane.transform(re.data, im.data, 1);
    ownCorrelationKernels().multiplySpectra(re.data, im.data, templateRe.data, templateIm.data, planeValues());
    plane.transform(re.data, im.data, -1);
}

namespace {

// The blocks of a rectangle that fit the planes, in one channel.
class Blocks {
public:
    Blocks(OwnProductSpectra& productSpectra, const OwnCorrelated& correlated)
        : spectra(productSpectra),
          correlation(spectra.correlation),
          plane(spectra.plane),
          images(correlated),
          width(images.src.roi->width),
          height(images.src.roi->height),
          blockWidth(ownMin(width, plane.width - correlation.size.width + 1)),
          blockHeight(ownMin(height, plane.height - correlation.size.height + 1)),
          products(blockWidth)
    {
    }

    bool run()
    {
        if (!products)
            return false;
        for (OwnPart block = at(0, 0); isInside(block);)
            if (!(correlation.isBytes() ? correlateTwo(block) : correlateSplit(block)))
                return false;
        return true;
    }

private:
    const OwnCorrelationKernels& kernels = ownCorrelationKernels();
    OwnProductSpectra& spectra;
    const OwnCorrelation& correlation;
    const OwnFourierPlane& plane;
    OwnCorrelated images;
    int32_t width, height;
    int32_t blockWidth, blockHeight;
    OwnScratch<double> products;  // of a row

    OwnPart at(int32_t x, int32_t y) const
    {
        return {x, y, ownMin(blockWidth, width - x), ownMin(blockHeight, height - y)};
    }
    bool isInside(const OwnPart& block) const { return block.height > 0; }
    OwnPart after(const OwnPart& block) const
    {
        bool last = block.x + block.width == width;
        return last ? at(0, block.y + block.height) : at(block.x + block.width, block.y);
    }

    // Two blocks of bytes are the parts of one plane.
    bool correlateTwo(OwnPart& block)
    {
        const OwnPart second = after(block);
        if (!load(block, spectra.re.data, nullptr))
            return false;
        if (!isInside(second))
            clear(spectra.im.data, 0, plane.height);
        else if (!load(second, spectra.im.data, nullptr))
            return false;
        spectra.correlate();
        if (!store(block, spectra.re.data, nullptr))
            return false;
        if (!isInside(second)) {
            block = second;
            return true;
        }
        block = after(second);
        return store(second, spectra.im.data, nullptr);
    }

    // The upper and the lower bytes of 16 bits are.
    bool correlateSplit(OwnPart& block)
    {
        if (!load(block, spectra.re.data, spectra.im.data))
            return false;
        spectra.correlate();
        const OwnPart done = block;
        block = after(block);
        return store(done, spectra.re.data, spectra.im.data);
    }

    void clear(double* part, int32_t from, int32_t to) const
    {
        memset(part + ptrdiff_t{from} * plane.width, 0, size_t(to - from) * size_t(plane.width) * sizeof(double));
    }

    // Brings a block and its surroundings to parts of the plane, of which the lower may be NULL.
    bool load(const OwnPart& block, double* upper, double* lower)
    {
        OwnCorrelationRows rows(correlation, spectra.taken, images, block);
        if (!rows)
            return false;
        const int32_t loaded = block.height + correlation.size.height - 1;
        const ptrdiff_t rest = plane.width - rows.sampleCount();
        for (int32_t y = 0; y < loaded; ++y) {
            const ptrdiff_t row = ptrdiff_t{y} * plane.width, end = row + rows.sampleCount();
            kernels.split[ownDepthIndex(correlation.depth)](rows.source(y - correlation.reach.top), upper + row,
                                                            lower ? lower + row : nullptr, rows.sampleCount());
            memset(upper + end, 0, size_t(rest) * sizeof(double));
            if (lower)
                memset(lower + end, 0, size_t(rest) * sizeof(double));
        }
        clear(upper, loaded, plane.height);
        if (lower)
            clear(lower, loaded, plane.height);
        return true;
    }

    // Makes the results of a block of the products in parts of the plane.
    bool store(const OwnPart& block, const double* upper, const double* lower)
    {
        OwnCorrelationRows rows(correlation, spectra.taken, images, block);
        if (!rows)
            return false;
        const double scale = 1.0 / (double(plane.width) * plane.height);
        for (int32_t y = 0; y < block.height; ++y) {
            const ptrdiff_t row = ptrdiff_t{y} * plane.width;
            if (lower)
                kernels.nearestOfTwo(upper + row, lower + row, scale, products.data, block.width);
            else
                kernels.nearest(upper + row, scale, products.data, block.width);
            rows.finish(y, products.data);
        }
        return true;
    }
};

}  // namespace

bool ownCorrelateBySpectra(void* productSpectra, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    auto& spectra = *static_cast<OwnProductSpectra*>(productSpectra);
    for (int32_t channel = 0; channel < spectra.correlation.channels; ++channel) {
        spectra.take(channel);
        if (!Blocks(spectra, {src, dst, mask}).run())
            return false;
    }
    return true;
}
