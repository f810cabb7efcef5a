// Regions of 1U at bit offsets of their own, against Leptonica's raster operation on the same bits.
#include <memory>

#include "image.h"
#include "orv.h"
#include "table.h"

#if defined(ORV_BENCH_LEPTONICA)
#include <leptonica/allheaders.h>
#endif

namespace {

using table::Image;
using table::Layout;

#if defined(ORV_BENCH_LEPTONICA)
// A picture of Leptonica's, as wide and high as the images.
struct Pix {
    PIX* pix;
    explicit Pix(int size) : pix(pixCreate(size, size, 1))
    {
        for (int i = 0; i < size * pixGetWpl(pix); ++i)
            pixGetData(pix)[i] = uint32_t(i) * 2654435761u;
    }
    Pix(const Pix&) = delete;
    ~Pix() { pixDestroy(&pix); }
};
#endif

struct Operation {
    const char* name;
    void (*run)(Image& src, Image& dst);
    [[maybe_unused]] int rasterOperation;
};

// The operations whose result depends on source and destination alone, as a raster operation's does.
const Operation operations[] = {
    {"orvCopy", [](Image& src, Image& dst) { orvCopy(src, dst); }, 0x0C},
    {"orvAnd", [](Image& src, Image& dst) { orvAnd(src, dst, dst); }, 0x08},
    {"orvXor", [](Image& src, Image& dst) { orvXor(src, dst, dst); }, 0x06},
};

// Makes what a row works on when it runs for the first time.
template <class Things, class... Sizes>
std::function<Things&()> lazily(Sizes... sizes)
{
    auto things = std::make_shared<std::unique_ptr<Things>>();
    return [=]() -> Things& {
        if (!*things)
            *things = std::make_unique<Things>(sizes...);
        return **things;
    };
}

struct Images {
    Image src, dst;
    Images(int size, int from, int to)
        : src({.depth = ORV_DEPTH_1U, .width = size, .roi = {0, from, 1, size - 16, size - 16}}, table::slotA),
          dst({.depth = ORV_DEPTH_1U, .width = size, .roi = {0, to, 1, size - 16, size - 16}}, table::slotD)
    {
    }
};

void addRows(const Operation& operation, int size, int from, int to, double bound)
{
    std::string place =
        " 1U " + std::to_string(size) + ", offsets " + std::to_string(from) + " and " + std::to_string(to);
    std::string peer = "Leptonica for " + (operation.name + place);
    auto images = lazily<Images>(size, from, to);
#if defined(ORV_BENCH_LEPTONICA)
    struct Pair {
        Pix src, dst;
        explicit Pair(int size) : src(size), dst(size) {}
    };
    auto pair = lazily<Pair>(size);
    table::add({peer, [=, &operation] {
                    pixRasterop(pair().dst.pix, to, 1, size - 16, size - 16, operation.rasterOperation, pair().src.pix,
                                from, 1);
                }});
#endif
    table::add(
        {operation.name + place, [=, &operation] { operation.run(images().src, images().dst); }, peer, 1, bound});
}

bool added = [] {
    for (const Operation& operation : operations) {
        addRows(operation, 256, 3, 6, 1 / 1.2);
        addRows(operation, 256, 3, 3, 1 / 1.2);
        addRows(operation, 4096, 3, 6, 1);
    }
    return true;
}();

}  // namespace
