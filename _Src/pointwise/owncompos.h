// What products of normalised values and compositing share: checks, masks, and the road of a pixel with its alpha.
#pragma once

#include "../core/ownmanywalk.h"
#include "../core/ownreport.h"
#include "kernels/owncompos.h"
#include "kernels/ownpixcompos.h"

// The images of a call, in the order in which they are checked and in which their tiles are opened.
enum OwnCompositeRole { OWN_DST, OWN_A, OWN_B, OWN_ALPHA_A, OWN_ALPHA_B, OWN_ALPHA_DST, OWN_ROLES };

// Texts about one image, by its name.
struct OwnCompositeTexts {
    const char* null;
    const char* alphaAlone;     // without a region
    const char* alphaNotAsked;  // without a channel of interest that is the alpha channel
    const char* alphaAsked;
    const char* noAlpha;
    const char* badAlpha;
};

#define OWN_COMPOSITE_TEXTS(name)                                                                                 \
    {                                                                                                             \
        name "==0", name "->alphaChannel == 1 && " name "->roi == 0",                                             \
            name "->alphaChannel == 1 && " name "->roi->coi != 1",                                                \
            name "->alphaChannel > 0 && " name "->roi->coi == " name "->alphaChannel", name "->alphaChannel < 1", \
            name "->alphaChannel > " name "->nChannels"                                                           \
    }

// True if `image` can be worked on; `size` becomes what it leaves of it. That an alpha channel is the last, and all of
// its mask, the test of its header sees to.
bool ownCompositeImage(const OwnReport& report, OrvImage* image, const OwnCompositeTexts& texts, OwnSize& size);

inline int32_t ownColourCount(const OrvImage& image)
{
    return image.nChannels - (image.alphaChannel != 0);
}

inline int32_t ownCoiOf(const OrvImage& image)
{
    return image.roi ? image.roi->coi : 0;
}

// Where the alpha of a source comes from.
struct OwnCompositeAlpha {
    enum class Kind { none, constant, channel, complement } kind = Kind::none;
    int role = 0;         // of the image that has the channel
    int32_t channel = 0;  // from 0
    int32_t constant = 0;
};

// One call after its checks: a row kernel with its scalar, or `colour`, is done with A and B, or A alone, and stored in
// the processed channels of the destination.
struct OwnComposite {
    const OwnReport& report;
    OrvImage* images[OWN_ROLES];
    OwnCompositeAlpha a, b;
    const OwnRowKernel* pixels = nullptr;
    const void* scalar = nullptr;
    OwnCompositeKernels::Kernel colour = nullptr;
    bool multiplies = false;                      // A and B are multiplied by their alphas first
    OwnCompositeKernels::Kernel alpha = nullptr;  // what is stored as the destination's alpha
    OwnCompositeAlpha to = {};                    // where
    // All of this at once for pixels of four values with their alpha, by whether the destination's is kept; may be
    // missing.
    const OwnPixelKernels::Kernel* whole = nullptr;
};

// Runs it over the region of `size`, under the combined masks of the first `masked` images.
void ownRunComposite(const OwnComposite& call, OwnSize size, int masked);
