// Checks that warps and maps share.
#pragma once

#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "orv/geometry.h"

// Reports every fault that holds, one after the other.
class OwnFaults {
public:
    explicit OwnFaults(const OwnReport& report) : report(report) {}

    void test(bool fault, const char* context, int32_t line = __builtin_LINE())
    {
        found |= report.when(fault, ORV_STATUS_BAD_ARG, context, line);
    }

    // True if the work may go on. A report handler may clear the status; images that do not fit each other cannot be
    // worked on all the same.
    bool none() const { return !found && orvGetErrStatus() >= 0; }

private:
    const OwnReport& report;
    bool found = false;
};

// True if the data orders of two images have to agree, and do not.
inline bool ownOrdersDiffer(const OrvImage& src, const OrvImage& dst)
{
    const bool ordered = src.depth != ORV_DEPTH_1U && !(src.nChannels == 1 && dst.nChannels == 1);
    return ordered && src.dataOrder != dst.dataOrder;
}

// These are false after a report.
inline bool ownMethodIsGood(const OwnReport& report, int32_t interpolate)
{
    const int32_t method = interpolate & ~ORV_BLEND_EDGE;
    return !report.when(
        method != ORV_INTER_NN && method != ORV_INTER_LINEAR && method != ORV_INTER_CUBIC, ORV_STATUS_BAD_ARG,
        "interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC");
}

inline bool ownChannelsAgree(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    return !report.when(ownChannels(src).count != ownChannels(dst).count, ORV_STATUS_BAD_ARG,
                        "Number of processed channels of srcImage != Number of processed channels of dstImage");
}
