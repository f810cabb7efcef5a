// Masks of several images become one.
#pragma once

#include "orv/core.h"
#include "ownregion.h"
#include "ownreport.h"
#include "ownscratch.h"

enum class OwnMaskResult {
    ready = 0,     // the mask to use is one of the images', or none
    combined = 1,  // it is a temporary image
    noMemory = 2,
    empty = 3  // the masks leave no common area
};

struct OwnMask {
    OrvImage* image = nullptr;  // the mask to use, or NULL
    OwnTempImage temporary;
};

// Combines up to three masks, each of which may be NULL: a bit of the result is set where it is in all of them, each
// counted from its own region's start.
OwnMaskResult ownCombineMasks(OrvImage* a, OrvImage* b, OrvImage* c, OwnMask& result);

// Makes `made` a mask whose bits are clear, with the origin of `like`. False, after the reports of the allocation, if
// there is no memory.
bool ownMakeMask(const OrvImage& like, OwnSize size, OwnTempImage& made);

// Combines two masks in a third by orvAnd, so that what masks these have counts too. False if it fails; a failure of
// the past stops nothing and stays stored.
bool ownAndInto(OrvImage* a, OrvImage* b, OrvImage* made);

// Makes `made` the part that two masks have in common, combined by orvAnd. False if they leave no common area, and
// after a report: ORV_STATUS_BAD_ARG, "(msk == NULL)" or "(msk->imageData == NULL)", where there is no memory;
// ORV_STATUS_BACKTRACE, "error_orvAnd".
bool ownAndMasks(const OwnReport& report, OrvImage* a, OrvImage* b, OwnTempImage& made);
