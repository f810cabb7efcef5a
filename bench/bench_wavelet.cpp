// Wavelets, held against a copy of the picture and against a copy of as many bytes as they read and write.
#include <cstring>
#include <memory>

#include "orv.h"
#include "table.h"

namespace {

OrvImage* make(uint32_t depth, int width, int height)
{
    OrvImage* image = orvCreateImageHeader(1, 0, depth, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 32, width,
                                           height, nullptr, nullptr, nullptr, nullptr);
    if (depth == ORV_DEPTH_32F)
        orvAllocateImageFP(image, 1, 0);
    else
        orvAllocateImage(image, 1, 0);
    return image;
}

struct Set {
    OrvImage* whole;
    OrvImage* copy;
    OrvImage* bands[4];

    explicit Set(int size) : whole(make(ORV_DEPTH_8U, size, size)), copy(make(ORV_DEPTH_8U, size, size))
    {
        for (int32_t i = 0; i < whole->imageSize; ++i)
            whole->imageData[i] = uint8_t((i * 7919u) >> 5);
        for (OrvImage*& band : bands)
            band = make(ORV_DEPTH_32F, size / 2, size / 2);
    }
    Set(const Set&) = delete;
    Set& operator=(const Set&) = delete;
    ~Set()
    {
        for (OrvImage* image : {whole, copy, bands[0], bands[1], bands[2], bands[3]})
            orvDeallocate(image, ORV_IMAGE_HEADER | ORV_IMAGE_DATA);
    }
};

void addKernel(std::shared_ptr<Set> set, int32_t wtType, int32_t par1, const std::string& name, const std::string& copy)
{
    OrvWtKernel kernel;
    orvWtInit(wtType, par1, 0, &kernel);
    // The bound of 1 / 12 is that of the fourth Daubechies filter.
    double bound = wtType == ORV_WT_DAUBECHIES && par1 == 4 ? 1.0 / 12 : 0;
    table::add(
        {"orvWtDecompose " + name,
         [=] { orvWtDecompose(&kernel, set->whole, set->bands[0], set->bands[1], set->bands[2], set->bands[3]); }, copy,
         1, bound});
    table::add(
        {"orvWtReconstruct " + name,
         [=] { orvWtReconstruct(&kernel, set->bands[0], set->bands[1], set->bands[2], set->bands[3], set->copy); },
         copy, 1, 0});
}

bool added = [] {
    for (int size : {256, 4096}) {
        auto set = std::make_shared<Set>(size);
        std::string suffix = std::to_string(size);
        std::string copy = "copy of 8U " + suffix;
        table::add({copy, [=] { memcpy(set->copy->imageData, set->whole->imageData, size_t(set->whole->imageSize)); }});
        // One byte in and four out are moved as two and a half in and as many out.
        table::add({"copy of the bytes of a wavelet " + suffix, [=] {
                        memcpy(set->copy->imageData, set->whole->imageData, size_t(set->whole->imageSize) / 2);
                        memcpy(set->bands[0]->imageData, set->bands[1]->imageData, size_t(set->bands[0]->imageSize));
                        memcpy(set->bands[2]->imageData, set->bands[3]->imageData, size_t(set->bands[2]->imageSize));
                    }});
        addKernel(set, ORV_WT_HAAR, 0, "Haar " + suffix, copy);
        addKernel(set, ORV_WT_DAUBECHIES, 4, "Daubechies 4 " + suffix, copy);
        addKernel(set, ORV_WT_DAUBECHIES, 10, "Daubechies 10 " + suffix, copy);
        addKernel(set, ORV_WT_LINEAR_SPLINE, 0, "linear spline " + suffix, copy);
    }
    return true;
}();

}  // namespace
