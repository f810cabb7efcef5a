// Convolution kernels and two-dimensional convolution.
//
//   orvCreateConvKernel, ...Char, ...FP   a kernel of integers, of integers given as bytes, of floats
//   orvGetConvKernel, ...Char, ...FP      what it was created from
//   orvDeleteConvKernel, ...FP            releases it
//   orvConvolve2D, ...FP                  convolves an image with up to ten kernels and combines the results
#include <type_traits>

#include "../core/ownlines.h"
#include "../core/ownmask.h"
#include "../core/ownreport.h"
#include "../core/ownscratch.h"
#include "owncnv2d.h"

namespace {

constexpr const char* source = "orvcnv2d";

// ---- Kernels ------------------------------------------------------------------------------------------------------

template <class Kernel, class Value>
Kernel* createKernel(const OwnReport& report, const Kernel& shape, const Value* values)
{
    const int32_t nCols = shape.nCols, nRows = shape.nRows, anchorX = shape.anchorX, anchorY = shape.anchorY;
    if (report.when(!values, ORV_STATUS_BAD_ARG, "(values == 0)"))
        return nullptr;
    if (report.when(nRows < 1 || nCols < 1, ORV_STATUS_BAD_ARG, "(nRows<=0 || nCols<=0)"))
        return nullptr;
    if (report.when(anchorX < 0 || anchorY < 0 || nRows <= anchorY || nCols <= anchorX, ORV_STATUS_BAD_ARG,
                    "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)"))
        return nullptr;
    using Stored = std::remove_pointer_t<decltype(Kernel::values)>;
    const int64_t count = int64_t{nCols} * nRows;
    OwnScratch<Kernel> kernel(1);
    OwnScratch<Stored> reversed(kernel ? count : 0);
    if (report.when(!kernel || !reversed, ORV_STATUS_NO_MEMORY, "Allocation failure"))
        return nullptr;
    for (int64_t i = 0; i < count; ++i)
        reversed[ptrdiff_t(i)] = values[count - 1 - i];
    *kernel.data = shape;
    kernel.data->anchorX = nCols - anchorX - 1;
    kernel.data->anchorY = nRows - anchorY - 1;
    kernel.data->values = reversed.release();
    return kernel.release();
}

// Where a kernel is to be written to.
template <class Value>
struct KernelOut {
    int32_t *nCols, *nRows;
    int32_t *anchorX, *anchorY;
    Value** values;
};

// True if two of these are there. One that is missing does not keep the other from being reported; a status that is
// negative by then, whatever left it, ends the function.
bool goodPair(const OwnReport& report, const int32_t* a, const char* noA, const int32_t* b, const char* noB)
{
    bool missing = report.when(!a, ORV_STATUS_BAD_ARG, noA);
    missing = report.when(!b, ORV_STATUS_BAD_ARG, noB) || missing;
    return !missing && orvGetErrStatus() >= 0;
}

template <class Kernel, class Value>
bool checkGet(const OwnReport& report, const Kernel* kernel, const KernelOut<Value>& out)
{
    if (report.when(!kernel, ORV_STATUS_BAD_ARG, "kernel==0"))
        return false;
    if (report.when(ownBadKernel(*kernel), ORV_STATUS_BAD_ARG, "ownBadKernel((OwnConvKernel*)kernel)"))
        return false;
    if (!goodPair(report, out.nRows, "nRows==0", out.nCols, "nCols==0"))
        return false;
    if (!goodPair(report, out.anchorX, "anchorX==0", out.anchorY, "anchorY==0"))
        return false;
    if (report.when(!out.values || !*out.values, ORV_STATUS_BAD_ARG, "values==0"))
        return false;
    return true;
}

template <class Kernel, class Value>
void getKernel(const Kernel& kernel, const KernelOut<Value>& out)
{
    *out.nCols = kernel.nCols;
    *out.nRows = kernel.nRows;
    *out.anchorX = kernel.nCols - kernel.anchorX - 1;
    *out.anchorY = kernel.nRows - kernel.anchorY - 1;
    const int64_t count = int64_t{kernel.nCols} * kernel.nRows;
    for (int64_t i = 0; i < count; ++i)
        (*out.values)[i] = Value(kernel.values[count - 1 - i]);
}

template <class Value>
void getInteger(const OwnReport& report, OrvConvKernel* kernel, const KernelOut<Value>& out, int32_t* nShiftR)
{
    if (!checkGet(report, kernel, out))
        return;
    if (report.when(!nShiftR, ORV_STATUS_BAD_ARG, "nShiftR==0"))
        return;
    getKernel(*kernel, out);
    *nShiftR = kernel->nShiftR;
}

template <class Kernel>
void deleteKernel(const OwnReport& report, Kernel* kernel)
{
    if (report.when(!kernel, ORV_STATUS_BAD_ARG, "kernel==0"))
        return;
    if (report.when(!kernel->values, ORV_STATUS_BAD_ARG, "kernel->values==0"))
        return;
    orvFree(kernel->values);
    orvFree(kernel);
}

// ---- Convolution --------------------------------------------------------------------------------------------------

bool goodOffset(const OrvImage& image)
{
    return !image.roi || (image.roi->xOffset >= 0 && image.roi->xOffset < image.width && image.roi->yOffset >= 0 &&
                          image.roi->yOffset < image.height);
}

template <class Kernel>
bool goodKernels(const OwnReport& report, Kernel* const* kernels, int32_t count, int32_t method)
{
    if (report.when(!kernels, ORV_STATUS_BAD_ARG, "kernel==0"))
        return false;
    if (report.when(count <= 0 || count > ownMostKernels, ORV_STATUS_BAD_ARG, "(nKernels<=0 || nKernels>10)"))
        return false;
    bool known = method >= ORV_COMBINE_SUM && method <= ORV_COMBINE_MIN;
    if (report.when(count > 1 && !known, ORV_STATUS_BAD_ARG, "Inadmissible method"))
        return false;
    for (int32_t i = 0; i < count; ++i)
        if (report.when(!kernels[i], ORV_STATUS_BAD_ARG, "kernel[i]==0"))
            return false;
    for (int32_t i = 0; i < count; ++i)
        if (report.when(ownBadKernel(*kernels[i]) || !kernels[i]->values, ORV_STATUS_BAD_ARG, "Bad kernel structure"))
            return false;
    return true;
}

// True if the channels of the images go together.
bool goodChannels(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    OwnChannels from = ownChannels(src), to = ownChannels(dst);
    if (report.when(from.coi != to.coi, ORV_STATUS_BAD_ARG, "One of the COI is not defined"))
        return false;
    if (report.when(from.count < 1 || to.count < 1, ORV_STATUS_BAD_ARG, "No channel to operate"))
        return false;
    if (report.when(from.count != to.count, ORV_STATUS_BAD_ARG, "Uncompatible images"))
        return false;
    return true;
}

template <class Kernel>
bool convolve(OrvImage* src, OrvImage* dst, Kernel* const* kernels, int32_t count, int32_t method)
{
    OwnMask mask;
    OrvImage* second = src->maskROI == dst->maskROI ? nullptr : dst->maskROI;
    if (ownCombineMasks(src->maskROI, second, nullptr, mask) == OwnMaskResult::noMemory)
        return false;
    OwnConvWindow windows[ownMostKernels];
    for (int32_t i = 0; i < count; ++i)
        windows[i] = OwnConvWindow(*kernels[i]);
    OwnConvPlan plan(windows, count, method, *src);
    return plan &&
           ownRunNeighbours({src, dst, mask.image, plan.reach, ownConvolvePiece, &plan}) == OwnNeighbourResult::done;
}

// A size for both images that their masks leave.
bool hasCommonSize(const OrvImage& src, const OrvImage& dst)
{
    OwnSize size;
    return ownCommonSize(src, dst, src.maskROI, false, size) && ownCommonSize(src, dst, dst.maskROI, false, size);
}

// What both forms of convolution do; one of the depths refused is 32F, the other is every other depth.
template <class Kernel>
void checkAndConvolve(const OwnReport& report, OrvImage* src, OrvImage* dst, Kernel* const* kernels, int32_t count,
                      int32_t method, const char* refusal)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return;
    if (report.when(!goodOffset(*src) || !goodOffset(*dst), ORV_STATUS_BAD_ROI_OFFSET, "Bad ROI offsets"))
        return;
    if (!goodKernels(report, kernels, count, method))
        return;
    if (report.when(src->depth != dst->depth || src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG,
                    "Uncompatible images"))
        return;
    constexpr bool takesFloats = std::is_same_v<Kernel, OrvConvKernelFP>;
    if (report.when((src->depth == ORV_DEPTH_32F) != takesFloats, ORV_STATUS_BAD_ARG, refusal))
        return;
    if (!hasCommonSize(*src, *dst) || !goodChannels(report, *src, *dst))
        return;
    report.when(!convolve(src, dst, kernels, count, method), ORV_STATUS_NO_MEMORY, "Allocation failure");
}

}  // namespace

OrvConvKernel* ORV_CALL orvCreateConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                            const int32_t* values, int32_t nShiftR)
{
    constexpr OwnReport report{"orvCreateConvKernel", source};
    return createKernel(report, OrvConvKernel{nCols, nRows, anchorX, anchorY, nullptr, nShiftR}, values);
}

OrvConvKernel* ORV_CALL orvCreateConvKernelChar(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                                const char* values, int32_t nShiftR)
{
    constexpr OwnReport report{"orvCreateConvKernelChar", source};
    auto* bytes = reinterpret_cast<const int8_t*>(values);  // whether or not the system's characters have a sign
    return createKernel(report, OrvConvKernel{nCols, nRows, anchorX, anchorY, nullptr, nShiftR}, bytes);
}

OrvConvKernelFP* ORV_CALL orvCreateConvKernelFP(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY,
                                                const float* values)
{
    constexpr OwnReport report{"orvCreateConvKernelFP", source};
    return createKernel(report, OrvConvKernelFP{nCols, nRows, anchorX, anchorY, nullptr}, values);
}

void ORV_CALL orvGetConvKernel(OrvConvKernel* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX,
                               int32_t* anchorY, int32_t** values, int32_t* nShiftR)
{
    constexpr OwnReport report{"orvGetConvKernel", source};
    getInteger<int32_t>(report, kernel, {nCols, nRows, anchorX, anchorY, values}, nShiftR);
}

void ORV_CALL orvGetConvKernelChar(OrvConvKernel* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX,
                                   int32_t* anchorY, int8_t** values, int32_t* nShiftR)
{
    constexpr OwnReport report{"orvGetConvKernelChar", source};
    getInteger<int8_t>(report, kernel, {nCols, nRows, anchorX, anchorY, values}, nShiftR);
}

void ORV_CALL orvGetConvKernelFP(OrvConvKernelFP* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX,
                                 int32_t* anchorY, float** values)
{
    constexpr OwnReport report{"orvGetConvKernelFP", source};
    const KernelOut<float> out = {nCols, nRows, anchorX, anchorY, values};
    if (checkGet(report, kernel, out))
        getKernel(*kernel, out);
}

void ORV_CALL orvDeleteConvKernel(OrvConvKernel* kernel)
{
    deleteKernel({"orvDeleteConvKernel", source}, kernel);
}

void ORV_CALL orvDeleteConvKernelFP(OrvConvKernelFP* kernel)
{
    deleteKernel({"orvDeleteConvKernelFP", source}, kernel);
}

void ORV_CALL orvConvolve2D(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernel** kernel, int32_t nKernels,
                            int32_t combineMethod)
{
    checkAndConvolve({"orvConvolve2D", source}, srcImage, dstImage, kernel, nKernels, combineMethod,
                     "32F images can be processed only with FP kernel");
}

void ORV_CALL orvConvolve2DFP(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernelFP** kernel, int32_t nKernels,
                              int32_t combineMethod)
{
    checkAndConvolve({"orvConvolve2DFP", source}, srcImage, dstImage, kernel, nKernels, combineMethod,
                     "FP kernel can be used only for 32F images");
}
