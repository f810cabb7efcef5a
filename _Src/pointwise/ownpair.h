// What operations with one source share: the checks of source and destination, and their run.
#pragma once

#include "../core/ownframe.h"

// False after a report, whose line is that of the call. `bitsHaveNoOrder`: the data order of 1U images is not looked
// at.
bool ownGoodPair(const OwnReport& report, OrvImage* src, OrvImage* dst, bool bitsHaveNoOrder,
                 int32_t line = __builtin_LINE());

// The frame of a call after its checks; the rest as in ownRunMasked.
void ownRunPair(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnDepthKernels& kernels,
                const void* scalar, const char* refusal = nullptr, OwnPadding padding = OwnPadding::mayChange);
