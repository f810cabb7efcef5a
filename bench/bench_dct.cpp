// The cosine transform beside FFTW in single precision.
#include "image.h"
#include "orv.h"
#include "peers.h"

namespace {

using table::Image, table::Layout;

constexpr int blocksSize = 1024;

// All blocks of 8 x 8, one call each.
template <class Block>
void forBlocks(Block block)
{
    for (int y = 0; y < blocksSize; y += 8)
        for (int x = 0; x < blocksSize; x += 8)
            block(x, y);
}

void addBlocks(int flags, const std::string& name)
{
    table::add({"orvDCT2D 8x8 blocks " + name,
                [=] {
                    Layout layout = {.depth = ORV_DEPTH_32F, .width = blocksSize, .roi = {0, 0, 0, 8, 8}};
                    Image src(layout, table::slotA), dst(layout, table::slotD);
                    forBlocks([&](int x, int y) {
                        src.roi.xOffset = dst.roi.xOffset = x;
                        src.roi.yOffset = dst.roi.yOffset = y;
                        orvDCT2D(src, dst, flags);
                    });
                },
                "FFTW 8x8 blocks " + name, 1, 0.5});
}

void addWhole(const peers::Size& size, int flags, const std::string& name)
{
    table::add({peers::nameOf("orvDCT2D " + name, size),
                [=] {
                    Layout layout = {.depth = ORV_DEPTH_32F, .width = size.width, .height = size.height};
                    Image src(layout, table::slotA), dst(layout, table::slotD);
                    orvDCT2D(src, dst, flags);
                },
                peers::nameOf("FFTW DCT " + name, size), 1, 1 / size.slower});
}

#if defined(ORV_BENCH_FFTW)
void addPeers(const peers::Size& size, fftwf_r2r_kind kind, const std::string& name)
{
    size_t pixels = size_t(size.width) * size_t(size.height);
    peers::add(peers::nameOf("FFTW DCT " + name, size), pixels, pixels, [=](float* in, float* out) {
        return fftwf_plan_r2r_2d(size.height, size.width, in, out, kind, kind, FFTW_MEASURE);
    });
}

void addPeerBlocks(fftwf_r2r_kind kind, const std::string& name)
{
    struct Blocks {
        fftwf_plan plan = nullptr;
        float* in = nullptr;
        float* out = nullptr;
    };
    table::add({"FFTW 8x8 blocks " + name, [=, blocks = Blocks()]() mutable {
                    if (!blocks.plan) {
                        constexpr size_t pixels = size_t(blocksSize) * blocksSize;
                        blocks.in = fftwf_alloc_real(pixels);
                        blocks.out = fftwf_alloc_real(pixels);
                        int edges[2] = {8, 8}, steps[2] = {blocksSize, blocksSize};
                        fftwf_r2r_kind kinds[2] = {kind, kind};
                        blocks.plan = fftwf_plan_many_r2r(2, edges, 1, blocks.in, steps, 1, 0, blocks.out, steps, 1, 0,
                                                          kinds, FFTW_MEASURE);
                    }
                    forBlocks([&](int x, int y) {
                        ptrdiff_t at = ptrdiff_t{y} * blocksSize + x;
                        fftwf_execute_r2r(blocks.plan, blocks.in + at, blocks.out + at);
                    });
                }});
}
#endif

bool added = [] {
    for (auto [flags, name] : {std::pair(ORV_DCT_FORWARD, "forward"), std::pair(ORV_DCT_INVERSE, "inverse")}) {
        addBlocks(flags, name);
#if defined(ORV_BENCH_FFTW)
        fftwf_r2r_kind kind = flags == ORV_DCT_FORWARD ? FFTW_REDFT10 : FFTW_REDFT01;
        addPeerBlocks(kind, name);
#endif
        for (const peers::Size& size : peers::sizes) {
            addWhole(size, flags, name);
#if defined(ORV_BENCH_FFTW)
            addPeers(size, kind, name);
#endif
        }
    }
    return true;
}();

}  // namespace
