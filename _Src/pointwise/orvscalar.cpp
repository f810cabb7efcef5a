// Operations of an image and a scalar.
//
//   orvAddS, orvSubtractS, orvMultiplyS         saturating arithmetic of integers
//   orvAndS, orvOrS, orvXorS                    bit by bit
//   orvLShiftS, orvRShiftS                      shifts
//   orvAddSFP, orvSubtractSFP, orvMultiplySFP   arithmetic of floats
#include "../core/ownframe.h"
#include "kernels/ownscalar.h"
#include "orv/pointwise.h"
#include "ownpair.h"

namespace {

constexpr const char* source = "orvscalar";

constexpr const char* noFloats = "This function does not support depth 32F";

// The frame of a call with one source.
void runScalar(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnDepthKernels& kernels,
               const void* scalar)
{
    if (ownGoodPair(report, src, dst, false))
        ownRunPair(report, src, dst, kernels, scalar, noFloats);
}

void runLogic(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnDepthKernels& kernels, int32_t value)
{
    if (!ownGoodPair(report, src, dst, true))
        return;
    OwnDepthValue scalar = ownDepthValue(src->depth, value);
    ownRunPair(report, src, dst, kernels, &scalar, noFloats);
}

void runFloat(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnDepthKernels& kernels, float value)
{
    runScalar(report, src, dst, kernels, &value);
}

int32_t clamped(int32_t value, int32_t low, int32_t high)
{
    return value < low ? low : value > high ? high : value;
}

// True for 8U, 8S, 16U and 16S.
bool isNarrow(uint32_t depth)
{
    int bits = ownDepthBits(depth);
    return bits == 8 || bits == 16;
}

// The largest value of an unsigned depth of as many bits.
int32_t unsignedTop(uint32_t depth)
{
    return int32_t(ownHighest(depth & ORV_DEPTH_MASK));
}

// Subtraction below 32 bits, all cases by one slide of the value taken as unsigned.
void runSlide(const OwnReport& report, OrvImage* src, OrvImage* dst, int32_t value, bool flip)
{
    int32_t top = unsignedTop(src->depth);
    int32_t signBit = (top + 1) / 2;
    int32_t down = value;  // how far every value goes down, from -top to top
    if (ownIsSigned(src->depth))
        down = flip ? clamped(value, -top - 1, top - 1) + 1 : clamped(value, -top, top);
    else if (flip)
        down = value - top;
    OwnSlide slide;
    slide.amount = uint16_t(down < 0 ? -down : down);
    slide.before = uint16_t(ownIsSigned(src->depth) ? signBit : 0);
    slide.after = uint16_t(slide.before ^ (flip ? top : 0));
    const OwnScalarKernels& all = ownScalarKernels();
    const OwnRowKernel* slides = down > 0 ? all.slideDown : all.slideUp;
    const OwnDepthKernels kernels = {{}, slides[0], slides[0], slides[1], slides[1], {}, {}};
    runScalar(report, src, dst, kernels, &slide);
}

// Difference and shortcut at 1U: only the lowest bit of the value counts.
void subtractBits(OrvImage* src, OrvImage* dst, int32_t value, bool flip)
{
    bool one = value & 1;
    if (one == flip)
        orvXorS(src, dst, one);
    else
        orvAndS(src, dst, 0);
}

// True if every result is the lowest or the highest value of an unsigned depth, which is then filled in.
bool subtractFills(OrvImage* src, OrvImage* dst, int32_t value, bool flip)
{
    int32_t top = unsignedTop(src->depth);
    bool zeros = flip ? value <= 0 : value >= top;
    bool ones = flip ? value >= 2 * top : value <= -top;
    if (ones)
        orvOrS(src, dst, -1);
    else if (zeros)
        orvAndS(src, dst, 0);
    return ones || zeros;
}

}  // namespace

void ORV_CALL orvAddS(OrvImage* srcImage, OrvImage* dstImage, int32_t value)
{
    constexpr OwnReport report{"orvAddS", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    if (srcImage->depth == ORV_DEPTH_1U)
        return orvOrS(srcImage, dstImage, value);
    // The limit keeps the negation from overflowing and is beyond every result.
    if (isNarrow(srcImage->depth))
        return orvSubtractS(srcImage, dstImage, value < -65535 ? 65535 : -value, 0);
    if (report.when(srcImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "For processing depth 32F use function orvAddSFP"))
        return;
    runScalar(report, srcImage, dstImage, ownScalarKernels().add, &value);
}

void ORV_CALL orvSubtractS(OrvImage* srcImage, OrvImage* dstImage, int32_t value, int32_t flip)
{
    constexpr OwnReport report{"orvSubtractS", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    uint32_t depth = srcImage->depth;
    if (report.when(depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "For processing depth 32F use function orvSubtractSFP"))
        return;
    if (depth == ORV_DEPTH_1U)
        return subtractBits(srcImage, dstImage, value, flip != 0);
    if ((depth == ORV_DEPTH_8U || depth == ORV_DEPTH_16U) && subtractFills(srcImage, dstImage, value, flip != 0))
        return;
    if (isNarrow(depth))
        return runSlide(report, srcImage, dstImage, value, flip != 0);
    const OwnScalarKernels& kernels = ownScalarKernels();
    runScalar(report, srcImage, dstImage, flip ? kernels.reverse : kernels.subtract, &value);
}

void ORV_CALL orvMultiplyS(OrvImage* srcImage, OrvImage* dstImage, int32_t value)
{
    constexpr OwnReport report{"orvMultiplyS", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    uint32_t depth = srcImage->depth;
    if (report.when(depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "For processing depth 32F use function orvMultiplySFP"))
        return;
    if (depth == ORV_DEPTH_1U)
        return orvAndS(srcImage, dstImage, value);
    if ((depth == ORV_DEPTH_8U || depth == ORV_DEPTH_16U) && value <= 0)
        return orvAndS(srcImage, dstImage, 0);
    const OwnScalarKernels& kernels = ownScalarKernels();
    if (isNarrow(depth) && ownIsSigned(depth)) {
        // A factor of one above the depth's range leaves of every value its sign.
        int32_t beyond = (unsignedTop(depth) + 1) / 2;
        if (value >= beyond)
            return runScalar(report, srcImage, dstImage, kernels.signLimit, nullptr);
        value = clamped(value, -beyond, beyond);
    } else if (isNarrow(depth)) {
        value = clamped(value, 0, unsignedTop(depth));
    }
    OwnDepthValue scalar = ownDepthValue(depth, value);
    runScalar(report, srcImage, dstImage, kernels.multiply, &scalar);
}

void ORV_CALL orvAndS(OrvImage* srcImage, OrvImage* dstImage, int32_t value)
{
    constexpr OwnReport report{"orvAndS", source};
    runLogic(report, srcImage, dstImage, ownScalarKernels().bitAnd, value);
}

void ORV_CALL orvOrS(OrvImage* srcImage, OrvImage* dstImage, int32_t value)
{
    constexpr OwnReport report{"orvOrS", source};
    runLogic(report, srcImage, dstImage, ownScalarKernels().bitOr, value);
}

void ORV_CALL orvXorS(OrvImage* srcImage, OrvImage* dstImage, int32_t value)
{
    constexpr OwnReport report{"orvXorS", source};
    runLogic(report, srcImage, dstImage, ownScalarKernels().bitXor, value);
}

void ORV_CALL orvLShiftS(OrvImage* srcImage, OrvImage* dstImage, uint32_t nShift)
{
    constexpr OwnReport report{"orvLShiftS", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    if (nShift == 0)
        return orvXorS(srcImage, dstImage, 0);
    if (nShift >= uint32_t(ownDepthBits(srcImage->depth)))
        return orvAndS(srcImage, dstImage, 0);
    int count = int(nShift);
    runScalar(report, srcImage, dstImage, ownScalarKernels().shiftLeft, &count);
}

void ORV_CALL orvRShiftS(OrvImage* srcImage, OrvImage* dstImage, uint32_t nShift)
{
    constexpr OwnReport report{"orvRShiftS", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    if (nShift == 0)
        return orvXorS(srcImage, dstImage, 0);
    uint32_t bits = uint32_t(ownDepthBits(srcImage->depth));
    if (nShift >= bits && !ownIsSigned(srcImage->depth))
        return orvAndS(srcImage, dstImage, 0);
    int count = int(nShift >= bits ? bits - 1 : nShift);
    runScalar(report, srcImage, dstImage, ownScalarKernels().shiftRight, &count);
}

void ORV_CALL orvAddSFP(OrvImage* srcImage, OrvImage* dstImage, float value)
{
    constexpr OwnReport report{"orvAddSFP", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    if (report.when(srcImage->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "For processing this depth use function orvAddS"))
        return;
    runFloat(report, srcImage, dstImage, ownScalarKernels().add, value);
}

void ORV_CALL orvSubtractSFP(OrvImage* srcImage, OrvImage* dstImage, float value, int32_t flip)
{
    constexpr OwnReport report{"orvSubtractSFP", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    if (report.when(srcImage->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "For processing this depth use function orvSubtractS"))
        return;
    const OwnScalarKernels& kernels = ownScalarKernels();
    runFloat(report, srcImage, dstImage, flip ? kernels.reverse : kernels.subtract, value);
}

void ORV_CALL orvMultiplySFP(OrvImage* srcImage, OrvImage* dstImage, float value)
{
    constexpr OwnReport report{"orvMultiplySFP", source};
    if (report.when(!srcImage, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return;
    if (report.when(srcImage->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "For processing this depth use function orvMultiplyS"))
        return;
    runFloat(report, srcImage, dstImage, ownScalarKernels().multiply, value);
}
