// Normalised cross-correlation whose products are formed one by one.
#include "kernels/ownconv.h"
#include "ownring.h"
#include "ownxcorr.h"

OwnProductSums::OwnProductSums(const OwnCorrelation& call)
    : correlation(call),
      step(call.isBytes() ? (ptrdiff_t{call.size.width} + 1) & ~ptrdiff_t{1} : call.size.width),
      halves(call.isBytes() ? int64_t{step} * call.size.height : 1),
      reals(call.isBytes() ? 1 : call.pixels())
{
}

void OwnProductSums::take(int32_t channel)
{
    if (taken == channel)
        return;
    taken = channel;
    const OwnDepthIndex depth = ownDepthIndex(correlation.depth);
    for (int32_t y = 0; y < correlation.size.height; ++y)
        if (correlation.isBytes()) {
            int16_t* row = halves.data + y * step;
            row[step - 1] = 0;
            ownCorrelationKernels().halves[depth](correlation.row(channel, y), row, correlation.size.width);
        } else {
            ownConvKernels().reals[depth](correlation.row(channel, y), reals.data + y * step, correlation.size.width);
        }
}

namespace {

// How sums of products are formed of rows of either kind of values.
template <class Value, class Sum>
struct Adder {
    void (*add)(const OwnProducts<Value, Sum>& products);
    void (*carry)(Sum* sums, int64_t* totals, ptrdiff_t n);  // NULL where sums are totals
    ptrdiff_t most;                                          // products that sums can take before they are carried
};

class Pass {
public:
    Pass(const OwnProductSums& productSums, const OwnCorrelated& images)
        : sums(productSums),
          correlation(sums.correlation),
          depth(ownDepthIndex(correlation.depth)),
          rows(correlation, sums.taken, images, {0, 0, images.src.roi->width, images.src.roi->height}),
          blocks((ptrdiff_t{rows.width()} + ownProductBlock - 1) / ownProductBlock * ownProductBlock),
          halves(correlation.isBytes() ? correlation.size.height : 0, rows.sampleCount() + readAhead),
          reals(correlation.isBytes() ? 0 : correlation.size.height, rows.sampleCount() + readAhead),
          words(correlation.isBytes() ? blocks : 1),
          realSums(blocks),
          totals(correlation.isReal() ? 1 : blocks)
    {
    }

    bool run()
    {
        if (!rows || !halves || !reals || !words || !realSums || !totals)
            return false;
        for (int32_t y = 0; y < rows.height(); ++y)
            if (correlation.isBytes())
                sumBytes(y);
            else
                sumReals(y);
        return true;
    }

private:
    static constexpr ptrdiff_t readAhead = ownProductBlock + 2;

    const OwnCorrelationKernels& kernels = ownCorrelationKernels();
    const OwnProductSums& sums;
    const OwnCorrelation& correlation;
    OwnDepthIndex depth;
    OwnCorrelationRows rows;
    ptrdiff_t blocks;  // values of a row, in whole blocks
    OwnRing<int16_t> halves;
    OwnRing<double> reals;
    OwnScratch<int32_t> words;
    OwnScratch<double> realSums;
    OwnScratch<int64_t> totals;
    int64_t rowsDone = 0;  // in the ring, from the first of the first window on

    template <class Value>
    void fill(OwnRing<Value>& ring, int32_t y, void (*convert)(const void*, Value*, ptrdiff_t))
    {
        for (; rowsDone < int64_t{y} + ring.rows; ++rowsDone)
            convert(rows.source(rowsDone - correlation.reach.top), ring.row(rowsDone), ptrdiff_t(rows.sampleCount()));
    }

    template <class Value, class Sum>
    void addProducts(const Adder<Value, Sum>& adder, OwnRing<Value>& ring, int32_t y, const Value* weights, Sum* result)
    {
        memset(result, 0, size_t(blocks) * sizeof(Sum));
        if (adder.carry)
            memset(totals.data, 0, size_t(blocks) * sizeof(int64_t));
        const auto window = ring.window(y);
        ptrdiff_t pending = 0;
        for (int32_t row = 0; row < correlation.size.height; ++row)
            for (ptrdiff_t column = 0, count = 0; column < sums.step; column += count) {
                count = sums.step - column < adder.most ? sums.step - column : adder.most;
                if (adder.carry && pending + count > adder.most) {
                    adder.carry(result, totals.data, blocks);
                    pending = 0;
                }
                adder.add({window.row(row) + column, weights + row * sums.step + column, count, result, blocks});
                pending += count;
            }
        if (adder.carry)
            adder.carry(result, totals.data, blocks);
    }

    void sumBytes(int32_t y)
    {
        constexpr ptrdiff_t most = 32768;  // products of 255 * 255 at most in 31 bits
        fill(halves, y, kernels.halves[depth]);
        addProducts({kernels.addHalves, kernels.carryWords, most}, halves, y, sums.halves.data, words.data);
        kernels.asReals(totals.data, realSums.data, rows.width());
        rows.finish(y, realSums.data);
    }

    void sumReals(int32_t y)
    {
        constexpr ptrdiff_t most = ptrdiff_t{1} << 21;  // products of 32 bits in a double's 53
        fill(reals, y, ownConvKernels().reals[depth]);
        auto* add = depth == OWN_32S ? kernels.addReals : kernels.addExact;
        addProducts({add, correlation.isReal() ? nullptr : kernels.carryReals, most}, reals, y, sums.reals.data,
                    realSums.data);
        if (correlation.isReal()) {
            const auto window = reals.window(y);
            return rows.finish(y, realSums.data, [=](int32_t row) { return window.row(row); });
        }
        kernels.asReals(totals.data, realSums.data, rows.width());
        rows.finish(y, realSums.data);
    }
};

}  // namespace

bool ownCorrelateBySums(void* productSums, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    auto& sums = *static_cast<OwnProductSums*>(productSums);
    for (int32_t channel = 0; channel < sums.correlation.channels; ++channel) {
        sums.take(channel);
        if (!Pass(sums, {src, dst, mask}).run())
            return false;
    }
    return true;
}
