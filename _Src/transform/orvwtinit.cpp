// Kernels of the wavelet transforms.
//
//   orvWtInit               a filter bank of the catalogue
//   orvWtInitUserFilter4    a kernel of the application's filters, in one array
//   orvWtInitUserFilter     the same, each by a pointer
//   orvWtInitUserTaps       the same, from arrays of taps, lengths and offsets
//   orvWtFree               releases what a kernel owns
#include <cstring>

#include "ownwtfilters.h"

namespace {

constexpr const char* source = "orvwtinit";

// Four filters in the order of the kernel.
constexpr int filters = 4;

OrvWtFilter& filterOf(OrvWtKernel& kernel, int i)
{
    switch (i) {
    case 0: return kernel.filtDecLow;
    case 1: return kernel.filtDecHigh;
    case 2: return kernel.filtRecLow;
    default: return kernel.filtRecHigh;
    }
}

void freeTaps(OrvWtKernel& kernel)
{
    for (int i = 0; i < filters; ++i)
        orvFree(filterOf(kernel, i).taps);
}

// A kernel in the making: its taps are released unless it is handed over.
struct NewKernel {
    OrvWtKernel kernel = {};

    NewKernel() = default;
    NewKernel(const NewKernel&) = delete;
    NewKernel& operator=(const NewKernel&) = delete;
    ~NewKernel() { freeTaps(kernel); }

    void handOver(OrvWtKernel& to)
    {
        to = kernel;
        kernel = {};
    }
};

// Makes a kernel with copies of good filters.
int32_t makeUserKernel(const OwnReport& report, const OrvWtFilter (&from)[filters], OrvWtKernel* wtKernel)
{
    NewKernel made;
    made.kernel.wtType = ORV_WT_USER;
    made.kernel.orthogonality = ORV_WT_UNKNOWN;
    for (int i = 0; i < filters; ++i) {
        float* taps = orvsMalloc(from[i].length);
        if (report.when(!taps, ORV_STATUS_NO_MEMORY, "No working memory."))
            return ORV_STATUS_NO_MEMORY;
        memcpy(taps, from[i].taps, size_t(from[i].length) * sizeof(float));
        filterOf(made.kernel, i) = {taps, from[i].length, from[i].offset, ORV_WT_UNKNOWN};
    }
    made.handOver(*wtKernel);
    return ORV_STATUS_OK;
}

}  // namespace

int32_t ORV_CALL orvWtInit(int32_t wtType, int32_t par1, int32_t par2, OrvWtKernel* wtKernel)
{
    constexpr OwnReport report{"orvWtInit", source};
    orvSetErrStatus(ORV_STATUS_OK);
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    const OrvWtKernel* kernel = ownWtCatalogueKernel(report, wtType, par1, par2);
    if (!kernel)
        return ORV_STATUS_BAD_ARG;
    *wtKernel = *kernel;
    return ORV_STATUS_OK;
}

int32_t ORV_CALL orvWtInitUserFilter4(const OrvWtFilter* filt, OrvWtKernel* wtKernel)
{
    constexpr OwnReport report{"orvWtInitUserFilter4", source};
    static constexpr OwnWtFilterTexts texts[filters] = {
        OWN_WT_FILTER_TEXTS("filt[0]"),
        OWN_WT_FILTER_TEXTS("filt[1]"),
        OWN_WT_FILTER_TEXTS("filt[2]"),
        OWN_WT_FILTER_TEXTS("filt[3]"),
    };
    orvSetErrStatus(ORV_STATUS_OK);
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!filt, ORV_STATUS_NULL_POINTER, "Null pointer by filt was passed."))
        return ORV_STATUS_NULL_POINTER;
    for (int i = 0; i < filters; ++i)
        if (int32_t status = ownWtCheckFilter(report, filt[i], texts[i]))
            return status;
    return makeUserKernel(report, {filt[0], filt[1], filt[2], filt[3]}, wtKernel);
}

int32_t ORV_CALL orvWtInitUserFilter(const OrvWtFilter* decLow, const OrvWtFilter* decHigh, const OrvWtFilter* recLow,
                                     const OrvWtFilter* recHigh, OrvWtKernel* wtKernel)
{
    constexpr OwnReport report{"orvWtInitUserFilter", source};
    static constexpr OwnWtFilterTexts texts[filters] = {
        OWN_WT_FILTER_TEXTS("(*decLow)"),
        OWN_WT_FILTER_TEXTS("(*decHigh)"),
        OWN_WT_FILTER_TEXTS("(*recLow)"),
        OWN_WT_FILTER_TEXTS("(*recHigh)"),
    };
    orvSetErrStatus(ORV_STATUS_OK);
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!decLow, ORV_STATUS_NULL_POINTER, "Null pointer by decLow was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!decHigh, ORV_STATUS_NULL_POINTER, "Null pointer by decHigh was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!recLow, ORV_STATUS_NULL_POINTER, "Null pointer by recLow was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!recHigh, ORV_STATUS_NULL_POINTER, "Null pointer by recHigh was passed."))
        return ORV_STATUS_NULL_POINTER;
    const OrvWtFilter from[filters] = {*decLow, *decHigh, *recLow, *recHigh};
    for (int i = 0; i < filters; ++i)
        if (int32_t status = ownWtCheckFilter(report, from[i], texts[i]))
            return status;
    return makeUserKernel(report, from, wtKernel);
}

int32_t ORV_CALL orvWtInitUserTaps(float* const* tap_filt, const int32_t* len_filt, const int32_t* ofs_filt,
                                   OrvWtKernel* wtKernel)
{
    constexpr OwnReport report{"orvWtInitUserTaps", source};
    static constexpr const char* tapTexts[filters] = {
        "Null pointer by tap_filt[0] was passed.",
        "Null pointer by tap_filt[1] was passed.",
        "Null pointer by tap_filt[2] was passed.",
        "Null pointer by tap_filt[3] was passed.",
    };
    static constexpr OwnWtFilterTexts texts[filters] = {
        {nullptr, "Error len_filt[0] < 2.", "Error ofs_filt[0] >= len_filt[0].", "Error ofs_filt[0] < 0."},
        {nullptr, "Error len_filt[1] < 2.", "Error ofs_filt[1] >= len_filt[1].", "Error ofs_filt[1] < 0."},
        {nullptr, "Error len_filt[2] < 2.", "Error ofs_filt[2] >= len_filt[2].", "Error ofs_filt[2] < 0."},
        {nullptr, "Error len_filt[3] < 2.", "Error ofs_filt[3] >= len_filt[3].", "Error ofs_filt[3] < 0."},
    };
    orvSetErrStatus(ORV_STATUS_OK);
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!tap_filt, ORV_STATUS_NULL_POINTER, "Null pointer by tap_filt was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!len_filt, ORV_STATUS_NULL_POINTER, "Null pointer by len_filt was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (report.when(!ofs_filt, ORV_STATUS_NULL_POINTER, "Null pointer by ofs_filt was passed."))
        return ORV_STATUS_NULL_POINTER;
    OrvWtFilter from[filters];
    for (int i = 0; i < filters; ++i) {
        if (report.when(!tap_filt[i], ORV_STATUS_NULL_POINTER, tapTexts[i]))
            return ORV_STATUS_NULL_POINTER;
        from[i] = {tap_filt[i], len_filt[i], ofs_filt[i], ORV_WT_UNKNOWN};
    }
    for (int i = 0; i < filters; ++i)
        if (int32_t status = ownWtCheckFilter(report, from[i], texts[i]))
            return status;
    return makeUserKernel(report, from, wtKernel);
}

int32_t ORV_CALL orvWtFree(OrvWtKernel* wtKernel)
{
    constexpr OwnReport report{"orvWtFree", source};
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    if (wtKernel->wtType == ORV_WT_USER)
        freeTaps(*wtKernel);
    *wtKernel = {};
    return ORV_STATUS_OK;
}
