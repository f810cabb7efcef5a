// Between the cosine coefficients of lines and the spectra that a Fourier transform of the same length makes
// (J. Makhoul, "A fast cosine transform in one and two dimensions", IEEE Trans. ASSP-28, 1980).
//
// Two real lines a and b are the parts of a complex line. Its spectrum's values k and N - k give those of both, and
// these the coefficients k and N - k of both.
#include "owndct.h"

#include "../../core/kernels/owncomplex.h"

namespace OWN_ISA {
namespace {

// The values k and N - k of a line.
template <class V>
struct Ends {
    V near, far;
};

// Of a value of a real line's spectrum, coefficients k and N - k; and the other way round, since the step is its own
// opposite. The table has the factor.
template <class V>
inline Ends<V> turn(V re, V im, const float* w)
{
    return {re * w[0] + im * w[1], re * w[1] - im * w[0]};
}

template <class V>
void toCoefficients(float* block, const OwnDctLength& length)
{
    ComplexLine<V> x = lineAt(reinterpret_cast<V*>(block), false);
    const ptrdiff_t n = length.fourier->length;
    auto scale = [&](ptrdiff_t k) { x.set(k, {x.get(k).re * length.first, x.get(k).im * length.first}); };
    scale(0);
    const float* w = length.turns + 2;
    for (ptrdiff_t k = 1; k <= (n - 1) / 2; ++k, w += 2) {
        Complex<V> near = x.get(k), far = x.get(n - k);
        Ends<V> a = turn(near.re + far.re, near.im - far.im, w);
        Ends<V> b = turn(near.im + far.im, far.re - near.re, w);
        x.set(k, {a.near, b.near});
        x.set(n - k, {a.far, b.far});
    }
    if (n % 2 == 0)
        scale(n / 2);
}

template <class V>
void toSpectra(const float* block, const OwnDctLength& length, float* spectra)
{
    const ptrdiff_t n = length.fourier->length;
    const int32_t* order = length.fourier->order;
    ComplexLine<V> x = lineAt(reinterpret_cast<V*>(const_cast<float*>(block)), false);
    ComplexLine<V> to = lineAt(reinterpret_cast<V*>(spectra), false);
    auto scale = [&](ptrdiff_t k) { to.set(order[k], {x.get(k).re * length.first, x.get(k).im * length.first}); };
    scale(0);
    const float* w = length.turns + 2;
    for (ptrdiff_t k = 1; k <= (n - 1) / 2; ++k, w += 2) {
        Complex<V> near = x.get(k), far = x.get(n - k);
        Ends<V> a = turn(near.re, far.re, w);
        Ends<V> b = turn(near.im, far.im, w);
        to.set(order[k], {a.near - b.far, a.far + b.near});
        to.set(order[n - k], {a.near + b.far, b.near - a.far});
    }
    if (n % 2 == 0)
        scale(n / 2);
}

template <class V>
constexpr OwnDctLines lines = {toCoefficients<V>, toSpectra<V>};

}  // namespace

extern const OwnDctKernels ownDctKernels = {{lines<float>, lines<FloatVector>}};

}  // namespace OWN_ISA
