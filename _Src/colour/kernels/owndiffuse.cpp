// Kernels of error diffusion.
//
// Along a row every pixel waits for the error of the one before it. Rows do not wait for each other's ends: a row may
// follow the one above it a few pixels behind. So the fast form (owndiffuselanes.h) takes many rows at once, one a lane
// of its vectors, and what is left of the rows goes one by one. Errors are kept as floats and all else is computed in
// double precision, where the product of an error and a weight is exact: a fused multiplication has the bits of two
// steps.
#if defined(__AVX2__)
#pragma GCC target("fma")
#include "owndiffuselanes.h"
#endif
#include "owndiffusefilters.h"

namespace OWN_ISA {
namespace {

// ---- Row by row ---------------------------------------------------------------------------------------------------

template <class Filter, OwnLevelForm form>
void diffuseRow(const Task& task, ptrdiff_t row, OwnErrorRows& errors)
{
    const OwnQuantiser q = task.dither.quantiser;
    const LoadPixels load = loaderOf(task.dither.from);
    const StoreCodes store = storerOf(task.dither.to);
    const float *above = errors.rows[0], *above2 = errors.rows[1];
    float* made = errors.rows[2];
    double values[pieceLength], last = 0, last2 = 0;
    int32_t codes[pieceLength];
    for (ptrdiff_t start = 0; start < task.dst.width; start += pieceLength) {
        ptrdiff_t n = task.dst.width - start < pieceLength ? task.dst.width - start : pieceLength;
        load(task.source(start, row), task.src.pixelStep, values, n);
        for (ptrdiff_t i = 0; i < n; ++i) {
            ptrdiff_t x = start + i;
            double value = Filter::withErrors(
                values[i], [=](int k) { return double(above2[x + k]); }, [=](int k) { return double(above[x + k]); },
                [=](int k) { return k == -1 ? last : last2; });
            auto result = quantised<form>(q, value, task.threshold(x, row));
            codes[i] = int32_t(result.code);
            made[x] = float(result.error);
            last2 = last;
            last = double(made[x]);
        }
        store(codes, task.target(start, row), task.dst.pixelStep, n);
    }
    turn(errors);
}

template <class Filter, OwnLevelForm form>
void diffuseRows(const Task& task, OwnErrorRows& errors)
{
    ptrdiff_t row = 0;
#if defined(__AVX2__)
    if (task.dst.width >= 8) {
        for (; row + 16 <= task.dst.height; row += 16)
            diffuseTogether<Filter, form, 16>(task, row, errors);
        for (; row + 8 <= task.dst.height; row += 8)
            diffuseTogether<Filter, form, 8>(task, row, errors);
    }
#endif
    for (; row < task.dst.height; ++row)
        diffuseRow<Filter, form>(task, row, errors);
}

template <class Filter>
void diffuse(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst, uint32_t channel, uint32_t y,
             OwnErrorRows& errors)
{
    const Task task = {dither, src, dst, channel, y};
    switch (dither.quantiser.form) {
    case OwnLevelForm::bits: return diffuseRows<Filter, OwnLevelForm::bits>(task, errors);
    case OwnLevelForm::codes: return diffuseRows<Filter, OwnLevelForm::codes>(task, errors);
    default: return diffuseRows<Filter, OwnLevelForm::scaled>(task, errors);
    }
}

}  // namespace

extern const OwnDiffuseKernels ownDiffuseKernels;
const OwnDiffuseKernels ownDiffuseKernels = {{diffuse<FloydSteinberg>, diffuse<Jarvis>, diffuse<Stucki>}};

}  // namespace OWN_ISA
