// Transforms of FFTW in single precision, as peers. Their rows are there if FFTW is.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "table.h"
#if defined(ORV_BENCH_FFTW)
#include <fftw3.h>
#endif

namespace peers {

struct Size {
    int width, height;
    double slower;  // how many times the peer's time a transform may take
};

// Sizes of photographs and screens, powers of two, and lengths with large prime factors.
inline const Size sizes[] = {{256, 256, 1.5}, {640, 480, 1.3},   {1000, 1000, 1.3}, {1024, 1024, 1.5}, {1023, 1023, 2},
                             {1021, 1021, 2}, {1920, 1080, 1.3}, {4000, 3000, 1.3}, {4096, 4096, 1}};

inline std::string nameOf(const std::string& what, const Size& size)
{
    return what + ' ' + std::to_string(size.width) + " x " + std::to_string(size.height);
}

#if defined(ORV_BENCH_FFTW)
// Plans are measured at the first run, which does not count.
template <class MakePlan>
void add(const std::string& name, size_t inputs, size_t outputs, MakePlan makePlan)
{
    table::add({name, [=, plan = std::shared_ptr<fftwf_plan_s>()]() mutable {
                    if (!plan) {
                        float* in = fftwf_alloc_real(inputs);
                        plan.reset(makePlan(in, fftwf_alloc_real(outputs)), fftwf_destroy_plan);
                        for (size_t i = 0; i < inputs; ++i)
                            in[i] = float(i % 251);
                    }
                    fftwf_execute(plan.get());
                }});
}
#endif

}  // namespace peers
