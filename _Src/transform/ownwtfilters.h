// Filters of the wavelet transforms: the catalogue, and what is asked of a filter.
#pragma once

#include "../core/ownreport.h"
#include "orv/transform.h"

// The catalogue's kernel, a constant; NULL after a report if there is none.
const OrvWtKernel* ownWtCatalogueKernel(const OwnReport& report, int32_t wtType, int32_t par1, int32_t par2);

// Reports and returns `status`.
inline int32_t ownWtFail(const OwnReport& report, int32_t status, const char* context, int32_t line = __builtin_LINE())
{
    report(status, context, line);
    return status;
}

// The texts for a filter's faults.
struct OwnWtFilterTexts {
    const char* taps;
    const char* length;
    const char* offsetAbove;
    const char* offsetBelow;
};

#define OWN_WT_FILTER_TEXTS(filter)                                                         \
    {                                                                                       \
        "Error " filter ".taps == NULL.", "Error " filter ".length < 2.",                   \
            "Error " filter ".offset >= " filter ".length.", "Error " filter ".offset < 0." \
    }

// The status of a filter's first fault, which has been reported, or 0.
inline int32_t ownWtCheckFilter(const OwnReport& report, const OrvWtFilter& filter, const OwnWtFilterTexts& texts,
                                int32_t line = __builtin_LINE())
{
    if (!filter.taps)
        return ownWtFail(report, ORV_STATUS_BAD_FILTER, texts.taps, line);
    if (filter.length < 2)
        return ownWtFail(report, ORV_STATUS_BAD_FILTER, texts.length, line);
    if (filter.offset >= filter.length)
        return ownWtFail(report, ORV_STATUS_BAD_FILTER, texts.offsetAbove, line);
    if (filter.offset < 0)
        return ownWtFail(report, ORV_STATUS_BAD_FILTER, texts.offsetBelow, line);
    return ORV_STATUS_OK;
}
