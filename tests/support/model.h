// The naive model of the frame, and the matrix of layouts over which operations are held against it.
//
//   Operation sum = {.name = "orvAdd", .sources = 2, .sourceDepth = ORV_DEPTH_8U, .resultDepth = ORV_DEPTH_8U};
//   sum.rule = onNumbers(ORV_DEPTH_8U, [](double a, double b) { return a + b; });
//   sum.call = [](OrvImage* const* images) { orvAdd(images[0], images[1], images[2]); };
//   runMatrix(sum);
//
// The model knows pixels, channels and mask bits, and nothing of rows, runs or kernels: it is written to be read.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "picture.h"

// The bits of a result value from the bits of the source values, of which the missing ones are 0.
using Rule = std::function<uint32_t(uint32_t a, uint32_t b)>;

// The number that a value of `depth` stands for.
double numberOf(uint32_t depth, uint32_t bits);
// The value of `depth` that stands for a number: integers cut off at the ends of the range, floats rounded once.
uint32_t bitsOf(uint32_t depth, double number);

// A rule on numbers, from values of one depth to values of another.
template <class Function>
Rule onNumbers(uint32_t sourceDepth, uint32_t resultDepth, Function function)
{
    return [=](uint32_t a, uint32_t b) {
        return bitsOf(resultDepth, double(function(numberOf(sourceDepth, a), numberOf(sourceDepth, b))));
    };
}
template <class Function>
Rule onNumbers(uint32_t depth, Function function)
{
    return onNumbers(depth, depth, function);
}

// Images and masks of one call, sources first, the destination last.
struct Layout {
    struct Image {
        PictureSpec spec;
        int same;  // the index of the image that it is: its own, or another's with which it is one
        std::optional<PictureSpec> mask;
        int sameMask;  // likewise
    };
    std::vector<Image> images;

    std::string text() const;
};

// The pictures of a layout. Scenes of one layout hold the same bytes.
struct Scene {
    explicit Scene(const Layout& layout);
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    TileLog log;                   // of all tiled images
    std::vector<Picture*> images;  // as the layout has them; one picture may stand more than once
    std::vector<Picture*> masks;   // of the images, NULL for none

    Picture& destination() const { return *images.back(); }
    // All pictures, each once.
    const std::vector<std::unique_ptr<Picture>>& all() const { return pictures; }
    std::vector<OrvImage*> pointers() const;
    std::string faults() const;
    int openTiles() const;
    // The bytes of the application's records, which a call leaves as they are.
    std::vector<uint8_t> headers() const;

private:
    std::vector<std::unique_ptr<Picture>> pictures;
};

struct Area {
    int x, y, width, height;
};

// The processed pixels of a picture: its region as far as the picture reaches. Width and height may be negative.
Area areaOf(const Picture& picture);
// The processed channels, counted from 0.
std::vector<int> channelsOf(const PictureSpec& spec);
// What the whole call processes, counted from the starts of the regions: width and height are 0 if one image has
// nothing.
Area commonArea(const Scene& scene);

// Calls visit for every place of the common area that all masks select: the place from the starts of the regions, and
// for each image the bits of its processed channels there.
using PixelBits = std::vector<uint32_t>;
void forSelectedPixels(const Scene& scene,
                       const std::function<void(int x, int y, const std::vector<PixelBits>& images)>& visit);

// One step of a walk over tiles.
struct WalkStep {
    enum Kind { open, release, piece } kind;
    // Of an open or a release:
    const Picture* picture = nullptr;
    int column = 0, row = 0;
    int mode = 0;
    std::string refusal = {};  // the report if the tile does not come
    // Of a piece: the part of the common area that is done now.
    Area area = {};
    // Of an open: the releases that still follow if the tile does not come.
    std::vector<WalkStep> undo = {};
};
using Walk = std::vector<WalkStep>;

struct Operation {
    const char* name;
    int sources = 1;  // 0, 1 or 2
    uint32_t sourceDepth = ORV_DEPTH_8U;
    uint32_t resultDepth = ORV_DEPTH_8U;
    Rule rule = {};
    std::function<void(OrvImage* const* images)> call = {};

    // How the rule makes the result:
    bool test = false;   // one bit a pixel, set where the rule is not 0 in every processed channel
    bool swaps = false;  // the source gets what the destination had

    // Which layouts it takes, among those in which all images process as many channels as the source.
    std::function<bool(const Layout& layout)> fits = {};
    bool inPlace = true;  // the destination may be a source

    // Plain images without regions and masks may be processed padding and all; also with masks where these are worked
    // on like images.
    bool padding = true;
    bool masksAreImages = false;

    // The tile calls it makes. With it the tile calls are compared, and every layout with tiles is run once more with
    // one of them refused, unless a refused tile does not end the walk.
    std::function<Walk(const Scene& scene)> walk = {};
    bool endsAtRefusal = true;

    int cases = 48;
    uint64_t seed = 1;
};

// Does to the scene what the operation should, in a part of the common area.
void applyModel(const Operation& operation, const Scene& scene, const Area& part);

// Runs an operation over many random layouts, and fails the test where a byte, a tile call, a report or a header is not
// as the model has it.
void runMatrix(const Operation& operation);

// A picture of any layout, in which `processed` channels are processed of a region of about the given size.
PictureSpec randomPictureSpec(Random& random, uint32_t depth, int processed, int width, int height);
// A mask for such a region.
PictureSpec randomMaskSpec(Random& random, int width, int height);

// For `fits`: data orders of all images are the same, unless the depth is 1U.
bool ordersAgree(const Layout& layout);
bool originsAgree(const Layout& layout);

// The band walk of sources and destination, whose refused tiles are reported by `function`: "(srcImageA->tileInfo->..."
// with the name that goes with the image.
Walk bandWalk(const Scene& scene, const std::string& function, const std::vector<std::string>& names);
// The grid walk over the destination's tiles, or the source's where those have the only ones; the other image's tiles
// are fetched.
Walk gridWalk(const Scene& scene, const std::string& function, int sourceMode = ORV_TILE_READ);
// The walk over the destination's tiles, or those of the first tiled source; every other tiled source is fetched.
Walk leadingWalk(const Scene& scene, const std::string& refusal);
// The walk in which two tiled images swap their pixels: as the grid walk, and then each cell is written to the source.
Walk swapWalk(const Scene& scene, const std::string& function);

std::string depthName(uint32_t depth);
extern const std::vector<uint32_t> allDepths;

// 256 values of a depth as bits: all that 8 bits have; of wider depths those around the ends, 0 and powers of two,
// infinity and NaN among floats, and random ones.
std::vector<uint32_t> telling(uint32_t depth);
// True for the same bits or, at 32F, two NaN.
bool sameValue(uint32_t depth, uint32_t a, uint32_t b);
