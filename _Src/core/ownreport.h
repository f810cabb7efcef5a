// How an exported function reports: its name and its source, named once at its head.
#pragma once

#include "orv/core.h"

struct OwnReport {
    const char* func;  // the exported function
    const char* file;  // the source, without path and ending

    // Reports `status` with the text of the failed condition, from the line of the call.
    int32_t operator()(int32_t status, const char* context, int32_t line = __builtin_LINE()) const
    {
        return orvError(status, func, context, file, line);
    }

    // True, after the report, if the condition of a fault holds. Checks read
    //
    //   if (report.when(nRows < 0, ORV_STATUS_BAD_ARG, "(nRows<0)"))
    //       return;
    bool when(bool fault, int32_t status, const char* context, int32_t line = __builtin_LINE()) const
    {
        if (fault)
            orvError(status, func, context, file, line);
        return fault;
    }

    // True if `image` is good; otherwise reports its fault.
    bool goodImage(OrvImage* image, int32_t line = __builtin_LINE()) const
    {
        if (orvCheckImageHeader(image) == ORV_STATUS_OK)
            return true;
        orvError(orvGetErrStatus(), func, "Incorrect Image", file, line);
        return false;
    }
};
