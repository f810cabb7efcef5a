// Fourier transforms beside FFTW in single precision.
#include "image.h"
#include "orv.h"
#include "peers.h"

namespace {

using table::Image, table::Layout;

template <class Transform>
void addTransform(const std::string& name, const peers::Size& size, Transform transform, int32_t flags,
                  const std::string& peer, double bound, uint32_t depth = ORV_DEPTH_32F)
{
    table::add({peers::nameOf(name, size),
                [=] {
                    Layout layout = {.depth = ORV_DEPTH_32F, .width = size.width, .height = size.height};
                    Image dst(layout, table::slotD);
                    layout.depth = depth;
                    Image src(layout, table::slotA);
                    transform(src, dst, flags);
                },
                peer, 1, bound});
}

bool added = [] {
    for (const peers::Size& size : peers::sizes) {
        std::string peer = peers::nameOf("FFTW r2c", size);
#if defined(ORV_BENCH_FFTW)
        size_t pixels = size_t(size.width) * size_t(size.height);
        peers::add(peer, pixels, pixels + 2 * size_t(size.height), [=](float* in, float* out) {
            return fftwf_plan_dft_r2c_2d(size.height, size.width, in, reinterpret_cast<fftwf_complex*>(out),
                                         FFTW_MEASURE);
        });
#endif
        addTransform("orvRealFft2D 32F", size, orvRealFft2D, ORV_FFT_FORWARD, peer, 1 / size.slower);
        addTransform("orvCcsFft2D 32F", size, orvCcsFft2D, ORV_FFT_INVERSE, peer, 0);
    }
    peers::Size size = {1024, 1024, 0};
    addTransform("orvRealFft2D 8U to 32F", size, orvRealFft2D, ORV_FFT_FORWARD, peers::nameOf("orvRealFft2D 32F", size),
                 0, ORV_DEPTH_8U);
    auto multiply = [](OrvImage* src, OrvImage* dst, int32_t) { orvMpyRCPack2D(src, src, dst); };
    addTransform("orvMpyRCPack2D 32F", size, multiply, 0, "", 0);
    return true;
}();

}  // namespace
