// The cosine transform, held against FFTW where that is found.
#include <cmath>
#include <memory>

#include "orv.h"
#include "table.h"
#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif

namespace {

struct Images {
    OrvImage* src;
    OrvImage* dst;
    OrvROI from = {};
    OrvROI to = {};

    explicit Images(int size) : src(make(size)), dst(make(size))
    {
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                reinterpret_cast<float*>(src->imageData + y * src->widthStep)[x] =
                    float((x * 7 + y * 13 + x * y) & 255);
    }
    Images(const Images&) = delete;
    Images& operator=(const Images&) = delete;
    ~Images()
    {
        orvDeallocate(src, ORV_IMAGE_HEADER | ORV_IMAGE_DATA);
        orvDeallocate(dst, ORV_IMAGE_HEADER | ORV_IMAGE_DATA);
    }
    static OrvImage* make(int size)
    {
        OrvImage* image = orvCreateImageHeader(1, 0, ORV_DEPTH_32F, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL,
                                               32, size, size, nullptr, nullptr, nullptr, nullptr);
        orvAllocateImageFP(image, 1, 0);
        return image;
    }
    float* row(OrvImage* image, int y) const
    {
        return reinterpret_cast<float*>(image->imageData + y * image->widthStep);
    }
};

// All blocks of 8 x 8, one call each.
template <class Block>
void forBlocks(int size, Block block)
{
    for (int y = 0; y < size; y += 8)
        for (int x = 0; x < size; x += 8)
            block(x, y);
}

void addBlocks(int size, int flags, const char* name)
{
    auto images = std::make_shared<Images>(size);
    images->src->roi = &images->from;
    images->dst->roi = &images->to;
    table::add({std::string("orvDCT2D 8x8 blocks ") + name,
                [=] {
                    forBlocks(size, [&](int x, int y) {
                        images->from = images->to = {0, x, y, 8, 8};
                        orvDCT2D(images->src, images->dst, flags);
                    });
                },
                std::string("FFTW 8x8 blocks ") + name, 1, 0.5});
}

void addWhole(int size, int flags, const char* name)
{
    auto images = std::make_shared<Images>(size);
    std::string what = std::to_string(size) + " " + name;
    table::add({"orvDCT2D " + what, [=] { orvDCT2D(images->src, images->dst, flags); }, "FFTW DCT " + what, 1,
                size % 2 ? 0 : 0.5});
}

#if defined(ORV_BENCH_FFTW)
// Plans are measured at the first run, which Google Benchmark does not count.
struct Peer {
    Images images;
    fftwf_plan plan = nullptr;
    int size, edge;
    fftwf_r2r_kind kind;

    Peer(int whole, int part, int flags)
        : images(whole), size(whole), edge(part), kind(flags == ORV_DCT_FORWARD ? FFTW_REDFT10 : FFTW_REDFT01)
    {
    }
    ~Peer() { fftwf_destroy_plan(plan); }

    void prepare()
    {
        if (plan)
            return;
        int n[2] = {edge, edge};
        int step[2] = {size, images.src->widthStep / 4};
        fftwf_r2r_kind kinds[2] = {kind, kind};
        plan = fftwf_plan_many_r2r(2, n, 1, images.row(images.src, 0), step, 1, 0, images.row(images.dst, 0), step, 1,
                                   0, kinds, FFTW_MEASURE);
    }
};

void addPeer(int size, int edge, int flags, const std::string& name)
{
    auto peer = std::make_shared<Peer>(size, edge, flags);
    table::add({name, [=] {
                    peer->prepare();
                    Images& images = peer->images;
                    if (edge == size)
                        fftwf_execute(peer->plan);
                    else
                        forBlocks(size, [&](int x, int y) {
                            fftwf_execute_r2r(peer->plan, images.row(images.src, y) + x, images.row(images.dst, y) + x);
                        });
                }});
}
#endif

bool added = [] {
    for (auto [flags, name] : {std::pair(ORV_DCT_FORWARD, "forward"), std::pair(ORV_DCT_INVERSE, "inverse")}) {
        addBlocks(1024, flags, name);
        for (int size : {256, 1024, 1023})
            addWhole(size, flags, name);
#if defined(ORV_BENCH_FFTW)
        addPeer(1024, 8, flags, std::string("FFTW 8x8 blocks ") + name);
        for (int size : {256, 1024, 1023})
            addPeer(size, size, flags, "FFTW DCT " + std::to_string(size) + " " + name);
#endif
    }
    return true;
}();

}  // namespace
