// Tools for tests of the examples. EXAMPLES, PHOTOS and RESULTS are the folders of the programs, of the photographs and
// for what the programs make.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/pngio.h"

struct ExampleEnd {
    int exitCode;
    std::string output;
};

// Runs an example, with its arguments as one text.
inline ExampleEnd runExample(const std::string& name, const std::string& arguments)
{
    std::string command = EXAMPLES + name + ' ' + arguments + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    for (int c; (c = fgetc(pipe)) != EOF;)
        output += char(c);
    int status = pclose(pipe);
    return {status >> 8, output};
}

struct FreeImage {
    void operator()(OrvImage* image) const { orvDeallocate(image, ORV_IMAGE_ALL); }
};
using Loaded = std::unique_ptr<OrvImage, FreeImage>;

// The picture in a file. Without one the test fails here.
inline Loaded load(const std::string& path)
{
    Loaded image(pngLoad(path.c_str()));
    if (!image)
        throw std::runtime_error("no picture in " + path);
    return image;
}

// The picture that an example makes of its inputs, and what it tells if `output` is given.
inline Loaded make(const std::string& name, const std::string& inputs, const std::string& options = "",
                   std::string* output = nullptr)
{
    std::string result = RESULTS + name + ".png";
    remove(result.c_str());
    ExampleEnd end = runExample(name, inputs + ' ' + result + ' ' + options);
    EXPECT_EQ(end.exitCode, 0) << end.output;
    if (output)
        *output = end.output;
    return load(result);
}

inline int valueAt(const OrvImage& image, int x, int y, int channel)
{
    return image.imageData[ptrdiff_t(y) * image.widthStep + ptrdiff_t(x) * image.nChannels + channel];
}

// Compares a picture with what `expected(x, y, channel)` says.
template <class Expected>
void expectPixels(const OrvImage& image, int width, int height, int channels, Expected expected)
{
    ASSERT_TRUE(image.width == width && image.height == height && image.nChannels == channels);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < channels; ++c)
                ASSERT_EQ(valueAt(image, x, y, c), expected(x, y, c)) << x << ' ' << y << ' ' << c;
}
