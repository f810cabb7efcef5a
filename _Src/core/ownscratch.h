// Owners that release what they hold at the end of the scope.
#pragma once

#include <cstddef>

#include "orv/core.h"

// A block of orvMalloc for `count` values of T; data is NULL if it cannot be had.
template <class T>
struct OwnScratch {
    T* data;

    explicit OwnScratch(int64_t count)
        : data(count > 0 && count <= INT32_MAX / int64_t{sizeof(T)}
                   ? static_cast<T*>(orvMalloc(int32_t(count * sizeof(T))))
                   : nullptr)
    {
    }
    // Takes over a block that came from orvMalloc.
    explicit OwnScratch(T* block) : data(block) {}
    OwnScratch(const OwnScratch&) = delete;
    OwnScratch& operator=(const OwnScratch&) = delete;
    ~OwnScratch() { orvFree(data); }

    explicit operator bool() const { return data != nullptr; }
    T& operator[](ptrdiff_t i) { return data[i]; }

    // Gives the block away: it is not scratch any more.
    T* release()
    {
        T* given = data;
        data = nullptr;
        return given;
    }
};

// A temporary image with its header and pixels.
struct OwnTempImage {
    OrvImage* image = nullptr;
    int32_t flags = ORV_IMAGE_HEADER | ORV_IMAGE_DATA;

    OwnTempImage() = default;
    explicit OwnTempImage(OrvImage* taken) : image(taken) {}
    OwnTempImage(const OwnTempImage&) = delete;
    OwnTempImage& operator=(const OwnTempImage&) = delete;
    ~OwnTempImage() { orvDeallocate(image, flags); }

    // Gives the image away: it is not temporary any more.
    OrvImage* release()
    {
        OrvImage* given = image;
        image = nullptr;
        return given;
    }
};
