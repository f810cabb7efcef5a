// Fourier transforms beside FFTW in single precision.
#include <string>
#include <vector>

#include "orv.h"
#include "table.h"

#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif

namespace {

constexpr int32_t forward = ORV_FFT_FORWARD;

std::string nameOf(const char* what, int n)
{
    return std::string(what) + ' ' + std::to_string(n) + " x " + std::to_string(n);
}

OrvImage* newImage(uint32_t depth, int n)
{
    OrvImage* image = orvCreateImageHeader(1, 0, depth, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 32, n, n,
                                           nullptr, nullptr, nullptr, nullptr);
    if (depth == ORV_DEPTH_32F) {
        orvAllocateImageFP(image, 0, 0);
        for (int32_t i = 0; i < image->imageSize / 4; ++i)
            reinterpret_cast<float*>(image->imageData)[i] = float(i % 251);
    } else {
        orvAllocateImage(image, 1, 0x5A);
    }
    return image;
}

// The images are made at the first run and kept: none is made for rows that are filtered out.
struct Images {
    uint32_t depth;
    int n;
    OrvImage* src = nullptr;
    OrvImage* dst = nullptr;

    void make()
    {
        if (src)
            return;
        src = newImage(depth, n);
        dst = newImage(ORV_DEPTH_32F, n);
    }
};

#if defined(ORV_BENCH_FFTW)
struct Peer {
    int n;
    fftwf_plan plan = nullptr;

    void run()
    {
        if (!plan) {
            float* in = fftwf_alloc_real(size_t(n) * size_t(n));
            fftwf_complex* out = fftwf_alloc_complex(size_t(n) * size_t(n / 2 + 1));
            plan = fftwf_plan_dft_r2c_2d(n, n, in, out, FFTW_MEASURE);
            for (size_t i = 0; i < size_t(n) * size_t(n); ++i)
                in[i] = float(i % 251);
        }
        fftwf_execute(plan);
    }
};
#endif

struct Rows {
    Rows()
    {
        for (int n : {256, 1024, 1023, 4096}) {
            std::string peer = nameOf("FFTW r2c", n);
#if defined(ORV_BENCH_FFTW)
            table::add({peer, [state = Peer{n}]() mutable { state.run(); }});
#endif
            // Odd lengths go through the direct transform: reported, with no ratio to reach.
            table::add({nameOf("orvRealFft2D 32F", n),
                        [images = Images{ORV_DEPTH_32F, n}]() mutable {
                            images.make();
                            orvRealFft2D(images.src, images.dst, forward);
                        },
                        peer, 1, n % 2 ? 0 : 1 / 1.5});
            table::add({nameOf("orvCcsFft2D 32F", n),
                        [images = Images{ORV_DEPTH_32F, n}]() mutable {
                            images.make();
                            orvCcsFft2D(images.src, images.dst, ORV_FFT_INVERSE);
                        },
                        peer});
        }
        table::add({nameOf("orvRealFft2D 8U to 32F", 1024),
                    [images = Images{ORV_DEPTH_8U, 1024}]() mutable {
                        images.make();
                        orvRealFft2D(images.src, images.dst, forward);
                    },
                    nameOf("orvRealFft2D 32F", 1024)});
        table::add({nameOf("orvMpyRCPack2D 32F", 1024), [images = Images{ORV_DEPTH_32F, 1024}]() mutable {
                        images.make();
                        orvMpyRCPack2D(images.src, images.src, images.dst);
                    }});
    }
} const rows;

}  // namespace
