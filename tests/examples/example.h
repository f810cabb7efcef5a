// Tools for tests of the examples. EXAMPLES, PHOTOS and RESULTS are the folders of the programs, of the photographs and
// for what the programs make.
#pragma once

#include <cstdio>
#include <memory>
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

inline Loaded load(const std::string& path)
{
    return Loaded(pngLoad(path.c_str()));
}
