// Filters of the wavelet transforms: the catalogue, and what is asked of a filter.
#pragma once

#include "../core/ownreport.h"
#include "orv/transform.h"

// The catalogue's kernel, a constant; NULL after a report if there is none.
const OrvWtKernel* ownWtCatalogueKernel(const OwnReport& report, int32_t wtType, int32_t par1, int32_t par2);

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
    constexpr int32_t fault = ORV_STATUS_BAD_FILTER;
    if (report.when(!filter.taps, fault, texts.taps, line))
        return fault;
    if (report.when(filter.length < 2, fault, texts.length, line))
        return fault;
    if (report.when(filter.offset >= filter.length, fault, texts.offsetAbove, line))
        return fault;
    if (report.when(filter.offset < 0, fault, texts.offsetBelow, line))
        return fault;
    return ORV_STATUS_OK;
}
