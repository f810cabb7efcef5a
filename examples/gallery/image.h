// Images that release themselves, and the material that entries of the gallery work on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "orv.h"

namespace gallery {

// An image of the library, with its pixels and its region; a mask in it belongs to somebody else.
class Image {
public:
    Image() = default;
    // Pixels are 0. Channels beyond the depth's and the page's wants are the caller's affair.
    Image(int channels, uint32_t depth, int width, int height, int dataOrder = ORV_DATA_ORDER_PIXEL);
    explicit Image(OrvImage* taken) : header(taken) {}
    Image(Image&& other) noexcept : header(std::exchange(other.header, nullptr)) {}
    Image& operator=(Image&& other) noexcept
    {
        std::swap(header, other.header);
        return *this;
    }
    ~Image() { orvDeallocate(header, ORV_IMAGE_ALL); }

    operator OrvImage*() const { return header; }
    OrvImage* operator->() const { return header; }

    Image clone() const { return Image(orvCloneImage(header)); }
    template <class T>
    T* row(int y, int plane = 0) const
    {
        return reinterpret_cast<T*>(header->imageData + ptrdiff_t(plane * header->height + y) * header->widthStep);
    }

private:
    OrvImage* header = nullptr;
};

// A value of a plain image, of any depth and data order.
double valueAt(const OrvImage& image, int x, int y, int channel);

// A photograph of examples/photos by its name without ending, as 8U.
Image photo(const std::string& name);
// Where photographs are looked for.
void setPhotoFolder(const std::string& folder);

// An image of another depth with offset + gain * value, cut to the depth's range.
Image converted(const Image& image, uint32_t depth, double gain = 1, double offset = 0);
// One channel of an image, counted from 0.
Image channelOf(const Image& image, int channel);
// A part of an image.
Image part(const Image& image, int x, int y, int width, int height);

// Masks, with their bits set inside the shape.
Image ellipse(int width, int height, double centreX, double centreY, double radiusX, double radiusY);
Image stripes(int width, int height, int pitch);

}  // namespace gallery
