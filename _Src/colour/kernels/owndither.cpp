// Kernels of depth conversion without dithering, and of the ordered dither.
#include "owndither.h"

#include "ownquantise.h"

namespace OWN_ISA {
namespace {

// ---- Depth conversion alone ---------------------------------------------------------------------------------------

// Values of signed depths count from the lowest on.
template <class S>
constexpr S zeroOf = S(OwnRange<S>::lowest);

template <class S, class D>
struct HighBits {
    using Source = S;
    using Result = D;
    explicit HighBits(const void*) {}
    D operator()(S a) const
    {
        using Bits = std::make_unsigned_t<S>;
        return D(Bits(a ^ zeroOf<S>) >> (sizeof(S) - sizeof(D)) * 8);
    }
};

template <class S>
struct HighestBit {
    using Source = S;
    explicit HighestBit(const void*) {}
    bool operator()(S a) const { return a >= S(zeroOf<S> + (int64_t{1} << (8 * sizeof(S) - 1))); }
};

// ---- Ordered dither -----------------------------------------------------------------------------------------------

template <OwnLevelForm form>
void quantisePiece(const OwnQuantiser& quantiser, const double* __restrict values, const double* __restrict thresholds,
                   int32_t* __restrict codes, ptrdiff_t n)
{
    const OwnQuantiser q = quantiser;
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    for (; i + 4 <= n; i += 4) {
        Four code = quantised<form>(q, ownLoad<Four>(values + i), ownLoad<Four>(thresholds + i)).code;
        ownStore(codes + i, 0, __builtin_convertvector(code, FourCodes));
    }
#endif
    for (; i < n; ++i)
        codes[i] = int32_t(quantised<form>(q, values[i], thresholds[i]).code);
}

using QuantisePiece = void (*)(const OwnQuantiser& quantiser, const double* values, const double* thresholds,
                               int32_t* codes, ptrdiff_t n);

QuantisePiece quantiserOf(OwnLevelForm form)
{
    switch (form) {
    case OwnLevelForm::bits: return quantisePiece<OwnLevelForm::bits>;
    case OwnLevelForm::codes: return quantisePiece<OwnLevelForm::codes>;
    default: return quantisePiece<OwnLevelForm::scaled>;
    }
}

// The thresholds of a piece of a row that begins at a multiple of four.
void setThresholds(const OwnDither& dither, int32_t y, uint32_t along, uint32_t down, double* thresholds, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i) {
        auto x = uint32_t(i);
        double noise = dither.noise.values ? noiseAt(dither.noise, along + x, down + x) : 0.0;
        thresholds[i] = (dither.matrix[y & 3][i & 3] + noise) * dither.span;
    }
}

void orderPieces(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst, uint32_t x0, uint32_t y0)
{
    const LoadPixels load = loaderOf(dither.from);
    const StoreCodes store = storerOf(dither.to);
    const QuantisePiece quantise = quantiserOf(dither.quantiser.form);
    const bool noisy = dither.noise.values;
    double values[pieceLength], thresholds[pieceLength];
    int32_t codes[pieceLength];
    for (int32_t y = 0; y < dst.height; ++y) {
        if (!noisy)
            setThresholds(dither, y, 0, 0, thresholds, pieceLength);
        for (int32_t channel = 0; channel < dst.channels; ++channel)
            for (ptrdiff_t x = 0; x < dst.width; x += pieceLength) {
                ptrdiff_t n = dst.width - x < pieceLength ? dst.width - x : pieceLength;
                uint32_t along = x0 + uint32_t(channel) + uint32_t(x);
                if (noisy)
                    setThresholds(dither, y, along, along + 2 * (y0 + uint32_t(y)), thresholds, n);
                load(valueAt(src, dither.from, channel, x, y), src.pixelStep, values, n);
                quantise(dither.quantiser, values, thresholds, codes, n);
                store(codes, valueAt(dst, dither.to, channel, x, y), dst.pixelStep, n);
            }
    }
}

// ---- Ordered dither to bits, without noise ------------------------------------------------------------------------

template <class S>
struct AtLeast {
    using Source = S;
    explicit AtLeast(const void*) {}
    bool operator()(S a, S least) const { return a >= least; }
};

// The least value above a threshold. The brightest value passes every threshold.
template <class S>
S leastAbove(const OwnDither& dither, double threshold)
{
    auto least = int64_t(threshold) + 1;
    auto full = int64_t(dither.quantiser.full);
    return S((least < full ? least : full) + OwnRange<S>::lowest);
}

// Compares the rows of each phase of the matrix with one row of least values.
template <class S>
void orderBits(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst)
{
    constexpr ptrdiff_t most = 4096 / sizeof(S);
    S least[most];
    const ptrdiff_t width = dst.width;
    for (int32_t phase = 0; phase < 4 && phase < dst.height; ++phase) {
        for (ptrdiff_t i = 0; i < most && i < width; ++i)
            least[i] = i < 4 ? leastAbove<S>(dither, dither.matrix[phase][i] * dither.span) : least[i - 4];
        for (ptrdiff_t x = 0; x < width; x += most) {
            OwnTestRows rows = {valueAt(src, dither.from, 0, x, phase),
                                least,
                                nullptr,
                                {valueAt(dst, OWN_1U, 0, x, phase), 0},
                                width - x < most ? width - x : most};
            rows.count = (dst.height - phase + 3) / 4;
            rows.aStep = 4 * src.rowStep;
            rows.bitStep = 4 * dst.rowStep;
            TestRows<AtLeast<S>>::bits(rows);
        }
    }
}

void order(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst, uint32_t x, uint32_t y)
{
    if (dither.to != OWN_1U || dither.noise.values)
        orderPieces(dither, src, dst, x, y);
    else if (dither.from == OWN_8U)
        orderBits<uint8_t>(dither, src, dst);
    else if (dither.from == OWN_16U)
        orderBits<uint16_t>(dither, src, dst);
    else
        orderBits<int32_t>(dither, src, dst);
}

template <class S, class D>
constexpr OwnRowKernel narrowOf = OneSourceRows<HighBits<S, D>>::kernel;
template <class S>
constexpr OwnTestKernel bitsOf = TestRows<HighestBit<S>>::kernel;
constexpr OwnTestKernel noTest = {nullptr, nullptr};

}  // namespace

extern const OwnDitherKernels ownDitherKernels;
const OwnDitherKernels ownDitherKernels = {
    narrowOf<uint16_t, uint8_t>,
    narrowOf<int32_t, uint8_t>,
    narrowOf<int32_t, uint16_t>,
    {noTest, bitsOf<uint8_t>, noTest, bitsOf<uint16_t>, noTest, bitsOf<int32_t>, noTest},
    order,
};

}  // namespace OWN_ISA
