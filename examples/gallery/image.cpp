#include "image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>

#include "support/pngio.h"

namespace gallery {

namespace {

std::string photoFolder;

template <class T>
void putClamped(uint8_t* place, double value)
{
    double low = std::numeric_limits<T>::lowest(), high = std::numeric_limits<T>::max();
    double rounded = std::numeric_limits<T>::is_integer ? std::nearbyint(value) : value;
    *reinterpret_cast<T*>(place) = T(std::clamp(rounded, low, high));
}

uint8_t* address(const OrvImage& image, int x, int y, int channel)
{
    int bytes = std::max(1, int(image.depth & ORV_DEPTH_MASK) / 8);
    if (image.dataOrder == ORV_DATA_ORDER_PLANE)
        return image.imageData + ptrdiff_t(channel * image.height + y) * image.widthStep + ptrdiff_t(x) * bytes;
    return image.imageData + ptrdiff_t(y) * image.widthStep + (ptrdiff_t(x) * image.nChannels + channel) * bytes;
}

void putValue(const OrvImage& image, int x, int y, int channel, double value)
{
    uint8_t* place = address(image, x, y, channel);
    switch (image.depth) {
    case ORV_DEPTH_8U: return putClamped<uint8_t>(place, value);
    case ORV_DEPTH_8S: return putClamped<int8_t>(place, value);
    case ORV_DEPTH_16U: return putClamped<uint16_t>(place, value);
    case ORV_DEPTH_16S: return putClamped<int16_t>(place, value);
    case ORV_DEPTH_32S: return putClamped<int32_t>(place, value);
    case ORV_DEPTH_32F: return putClamped<float>(place, value);
    }
}

template <class Inside>
Image shape(int width, int height, Inside inside)
{
    Image mask(1, ORV_DEPTH_1U, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (inside(x, y))
                mask.row<uint8_t>(y)[x >> 3] |= uint8_t(128 >> (x & 7));
    return mask;
}

}  // namespace

Image::Image(int channels, uint32_t depth, int width, int height, int dataOrder)
{
    bool colour = channels >= 3;
    header = orvCreateImageHeader(channels, channels == 4 ? 4 : 0, depth, colour ? "RGB" : "GRAY", colour ? "RGB" : "G",
                                  dataOrder, ORV_ORIGIN_TL, 32, width, height, nullptr, nullptr, nullptr, nullptr);
    if (depth == ORV_DEPTH_32F)
        orvAllocateImageFP(header, 1, 0);
    else
        orvAllocateImage(header, 1, 0);
    if (!header || !header->imageData)
        throw std::runtime_error("no memory for an image");
}

double valueAt(const OrvImage& image, int x, int y, int channel)
{
    if (image.depth == ORV_DEPTH_1U)
        return image.imageData[ptrdiff_t(y) * image.widthStep + (x >> 3)] >> (7 - (x & 7)) & 1;
    const uint8_t* place = address(image, x, y, channel);
    switch (image.depth) {
    case ORV_DEPTH_8U: return *place;
    case ORV_DEPTH_8S: return *reinterpret_cast<const int8_t*>(place);
    case ORV_DEPTH_16U: return *reinterpret_cast<const uint16_t*>(place);
    case ORV_DEPTH_16S: return *reinterpret_cast<const int16_t*>(place);
    case ORV_DEPTH_32S: return *reinterpret_cast<const int32_t*>(place);
    default: return *reinterpret_cast<const float*>(place);
    }
}

void setPhotoFolder(const std::string& folder)
{
    photoFolder = folder;
}

Image photo(const std::string& name)
{
    static std::map<std::string, Image> loaded;
    Image& image = loaded[name];
    if (!image)
        image = Image(pngLoad((photoFolder + "/" + name + ".png").c_str()));
    if (!image)
        throw std::runtime_error("no photograph " + name);
    return image.clone();
}

Image converted(const Image& image, uint32_t depth, double gain, double offset)
{
    Image result(image->nChannels, depth, image->width, image->height, image->dataOrder);
    for (int y = 0; y < image->height; ++y)
        for (int x = 0; x < image->width; ++x)
            for (int c = 0; c < image->nChannels; ++c)
                putValue(*result, x, y, c, offset + gain * valueAt(*image, x, y, c));
    return result;
}

Image channelOf(const Image& image, int channel)
{
    Image result(1, image->depth, image->width, image->height);
    for (int y = 0; y < image->height; ++y)
        for (int x = 0; x < image->width; ++x)
            putValue(*result, x, y, 0, valueAt(*image, x, y, channel));
    return result;
}

Image part(const Image& image, int x, int y, int width, int height)
{
    Image result(image->nChannels, image->depth, width, height, image->dataOrder);
    for (int j = 0; j < height; ++j)
        for (int i = 0; i < width; ++i)
            for (int c = 0; c < image->nChannels; ++c)
                putValue(*result, i, j, c, valueAt(*image, x + i, y + j, c));
    return result;
}

Image ellipse(int width, int height, double centreX, double centreY, double radiusX, double radiusY)
{
    return shape(width, height,
                 [=](int x, int y) { return std::hypot((x - centreX) / radiusX, (y - centreY) / radiusY) < 1; });
}

Image stripes(int width, int height, int pitch)
{
    return shape(width, height, [=](int x, int y) { return (x + y) / pitch % 2 == 0; });
}

}  // namespace gallery
