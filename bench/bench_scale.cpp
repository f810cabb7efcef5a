// Scaling and mirrors, held against a copy of the larger of the two images.
#include "image.h"
#include "table.h"

#ifdef ORV_BENCH_YUV
#include <libyuv.h>
#endif

namespace {

using namespace table;

// What becomes of an image of that size: a destination, or a source, so much smaller.
struct Case {
    std::string name;
    uint32_t depth;
    int channels;
    int large;  // the side of the larger image
    int small;
    bool enlarges;

    std::string text() const
    {
        return name + ", " + depthName(depth) + " x " + std::to_string(channels) + ", " + std::to_string(large);
    }
};

Layout layoutOf(const Case& one, int size)
{
    return {.depth = one.depth, .channels = one.channels, .width = size};
}

template <class Call>
void addCase(const Case& one, double mostCopies, Call call)
{
    double half = one.large > 1024 ? 0.5 : 1;  // a copy of a large image waits for memory
    add({one.text(),
         [=] {
             Image src(layoutOf(one, one.enlarges ? one.small : one.large), slotA);
             Image dst(layoutOf(one, one.enlarges ? one.large : one.small), slotD);
             call(src, dst);
         },
         copyRow(one.large, one.depth, one.channels), 1, copies(mostCopies * half)});
}

// The same row under masks of both images, held against the one without.
template <class Call>
void addMasked(const Case& one, Call call)
{
    add({one.text() + ", masked",
         [=] {
             Layout from = layoutOf(one, one.enlarges ? one.small : one.large);
             Layout to = layoutOf(one, one.enlarges ? one.large : one.small);
             Image fromMask({.depth = ORV_DEPTH_1U, .width = from.width}, slotB);
             Image toMask({.depth = ORV_DEPTH_1U, .width = to.width}, slotMask);
             from.mask = &fromMask;
             to.mask = &toMask;
             Image src(from, slotA), dst(to, slotD);
             call(src, dst);
         },
         one.text(), 1, copies(2)});
}

// A method at the depths and channels: those of 8U have bounds of their own, a byte of the others may take twice as
// long.
template <class Call>
void addDepths(const std::string& name, int large, int small, bool enlarges, double one, double four, Call call)
{
    addCase({name, ORV_DEPTH_8U, 1, large, small, enlarges}, one, call);
    addCase({name, ORV_DEPTH_8U, 3, large, small, enlarges}, four, call);
    addCase({name, ORV_DEPTH_8U, 4, large, small, enlarges}, four, call);
    addCase({name, ORV_DEPTH_16U, 1, large, small, enlarges}, one * 2, call);
    addCase({name, ORV_DEPTH_32F, 1, large, small, enlarges}, one * 2, call);
}

auto resizeBy(int dst, int src, int method)
{
    return [=](OrvImage* from, OrvImage* to) { orvResize(from, to, dst, src, dst, src, method); };
}

auto mirrorBy(int axis)
{
    return [=](OrvImage* from, OrvImage* to) { orvMirror(from, to, axis); };
}

void addBlurred(int size, int mask)
{
    auto call = [=](OrvImage* from, OrvImage* to) {
        orvDecimateBlur(from, to, 1, 3, 1, 3, ORV_INTER_LINEAR, mask, mask);
    };
    addDepths("orvDecimateBlur 1/3 linear, mask " + std::to_string(mask), size, size / 3, false, 8, 8, call);
}

#ifdef ORV_BENCH_YUV

// The same work in a library that computes with fewer bits, for comparison.
void addPeer(const std::string& name, int channels, int large, int small, bool enlarges, libyuv::FilterMode mode)
{
    addCase({name + " (libyuv)", ORV_DEPTH_8U, channels, large, small, enlarges}, 1e9, [=](Image& from, Image& to) {
        auto sizes = [&](auto scale) {
            scale(from.data(), from->widthStep, from->width, from->height, to.data(), to->widthStep, to->width,
                  to->height, mode);
        };
        channels == 4 ? sizes(libyuv::ARGBScale) : sizes(libyuv::ScalePlane);
    });
}

void addPeers(int size)
{
    for (int channels : {1, 4}) {
        addPeer("3/4 linear", channels, size, size * 3 / 4, false, libyuv::kFilterBilinear);
        addPeer("3/4 super", channels, size, size * 3 / 4, false, libyuv::kFilterBox);
        addPeer("1/2 super", channels, size, size / 2, false, libyuv::kFilterBox);
        addPeer("2 linear", channels, size, size / 2, true, libyuv::kFilterBilinear);
        addPeer("2 nearest", channels, size, size / 2, true, libyuv::kFilterNone);
    }
}

#else

void addPeers(int) {}

#endif

const bool added = [] {
    for (int size : {512, 2048}) {
        const int part = size * 3 / 4, half = size / 2;
        addDepths("orvMirror columns", size, size, false, 2.4, 2.6, mirrorBy(1));
        addDepths("orvMirror rows", size, size, false, 1.2, 1.2, mirrorBy(0));
        addDepths("orvMirror both", size, size, false, 2.4, 2.6, mirrorBy(-1));
        addDepths("orvResize 3/4 nearest", size, part, false, 3.5, 4.6, resizeBy(3, 4, ORV_INTER_NN));
        addDepths("orvResize 3/4 linear", size, part, false, 3.5, 4.6, resizeBy(3, 4, ORV_INTER_LINEAR));
        addDepths("orvResize 3/4 cubic", size, part, false, 60, 60, resizeBy(3, 4, ORV_INTER_CUBIC));
        addDepths("orvResize 3/4 super", size, part, false, 15, 15, resizeBy(3, 4, ORV_INTER_SUPER));
        addDepths("orvResize 1/2 super", size, half, false, 1.5, 1.5, resizeBy(1, 2, ORV_INTER_SUPER));
        addDepths("orvZoom 2 linear", size, half, true, 3.5, 4.6, resizeBy(2, 1, ORV_INTER_LINEAR));
        addDepths("orvZoom 2 nearest", size, half, true, 2, 2, resizeBy(2, 1, ORV_INTER_NN));
        addBlurred(size, 3);
        addBlurred(size, 15);
        addMasked({"orvResize 3/4 linear", ORV_DEPTH_8U, 1, size, part, false}, resizeBy(3, 4, ORV_INTER_LINEAR));
        addMasked({"orvZoom 2 nearest", ORV_DEPTH_8U, 1, size, half, true}, resizeBy(2, 1, ORV_INTER_NN));
        addMasked({"orvMirror columns", ORV_DEPTH_8U, 1, size, size, false}, mirrorBy(1));
        addPeers(size);
    }
    return true;
}();

}  // namespace
