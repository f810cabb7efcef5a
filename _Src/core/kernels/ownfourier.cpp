// Complex lines of any length: mixed radix by decimation in time, and lengths with a large prime factor by a
// convolution.
//
// Values are laid in the order in which the shortest lines stand side by side, and every stage works in place. Parts of
// a line that fit the nearest cache go through all their stages before the next part is touched.
#include "ownfourier.h"

#include "ownbutterfly.h"

namespace OWN_ISA {
namespace {

// ---- Stages ---------------------------------------------------------------------------------------------------------

// The first stage: `count` lines of N neighbouring values.
template <int N, class V>
void firstStage(ComplexLine<V> x, ptrdiff_t count)
{
    for (ptrdiff_t i = 0; i < count; ++i, x = x.from(N)) {
        Complex<V> values[N];
        unrolled<N>([&](auto n) OWN_WHOLE { values[n] = x.get(n); });
        dft<N, Value<V>>(values);
        unrolled<N>([&](auto n) OWN_WHOLE { x.set(n, values[n]); });
    }
}

// Makes one line of N lines of `length` values, `count` times.
template <int N, class V>
void laterStage(ComplexLine<V> x, ptrdiff_t count, ptrdiff_t length, const Value<V>* twiddles)
{
    for (ptrdiff_t i = 0; i < count; ++i, x = x.from(N * length)) {
        const Value<V>* w = twiddles;
        for (ptrdiff_t j = 0; j < length; ++j, w += 2 * (N - 1)) {
            Complex<V> values[N];
            values[0] = x.get(j);
            unrolled<N - 1>([&](auto n) OWN_WHOLE { values[n + 1] = product(x.get(j + (n + 1) * length), w + 2 * n); });
            dft<N, Value<V>>(values);
            unrolled<N>([&](auto n) OWN_WHOLE { x.set(j + n * length, values[n]); });
        }
    }
}

// The sums of cosines and of sines of a prime length, of `count` results at once: a folded value is loaded once for
// all.
template <int count, class V>
inline void primeResults(const Complex<V>* folded, Complex<V> first, ptrdiff_t prime, ptrdiff_t k,
                         const Value<V>* roots, const ComplexLine<V>& x, ptrdiff_t length)
{
    Complex<V> even[count], odd[count];
    ptrdiff_t at[count];
    for (int c = 0; c < count; ++c) {
        even[c] = first;
        odd[c] = Complex<V>{};
        at[c] = 0;
    }
    for (ptrdiff_t n = 0; n < prime / 2; ++n, folded += 2)
        for (int c = 0; c < count; ++c) {
            at[c] += k + c;
            at[c] -= at[c] >= prime ? prime : 0;
            Value<V> cosine = roots[2 * at[c]], sine = roots[2 * at[c] + 1];
            even[c] = Complex<V>{even[c].re + folded[0].re * cosine, even[c].im + folded[0].im * cosine};
            odd[c] = Complex<V>{odd[c].re + folded[1].re * sine, odd[c].im + folded[1].im * sine};
        }
    for (int c = 0; c < count; ++c) {
        x.set((k + c) * length, even[c] - quarterTurn(odd[c]));
        x.set((prime - k - c) * length, even[c] + quarterTurn(odd[c]));
    }
}

// A stage of any odd prime, by symmetry.
template <class V>
void primeStage(ComplexLine<V> x, ptrdiff_t count, ptrdiff_t length, ptrdiff_t prime, const Value<V>* twiddles,
                const Value<V>* roots)
{
    Complex<V> folded[ownFourierLargestPrime - 1];
    for (ptrdiff_t i = 0; i < count; ++i, x = x.from(prime * length)) {
        const Value<V>* w = twiddles;
        for (ptrdiff_t j = 0; j < length; ++j) {
            ComplexLine<V> line = x.from(j);
            Complex<V> first = line.get(0), all = first;
            for (ptrdiff_t n = 1; n <= prime / 2; ++n) {
                Complex<V> near = line.get(n * length), far = line.get((prime - n) * length);
                if (length > 1) {
                    near = product(near, w + 2 * (n - 1));
                    far = product(far, w + 2 * (prime - n - 1));
                }
                folded[2 * (n - 1)] = near + far;
                folded[2 * (n - 1) + 1] = near - far;
                all = all + folded[2 * (n - 1)];
            }
            line.set(0, all);
            ptrdiff_t k = 1;
            for (; k + 1 <= prime / 2; k += 2)
                primeResults<2>(folded, first, prime, k, roots, line, length);
            if (k <= prime / 2)
                primeResults<1>(folded, first, prime, k, roots, line, length);
            w += 2 * (prime - 1);
        }
    }
}

template <int N, class V>
inline void fixedStage(ComplexLine<V> x, ptrdiff_t count, ptrdiff_t length, const Value<V>* twiddles)
{
    if (length == 1)
        firstStage<N>(x, count);
    else
        laterStage<N>(x, count, length, twiddles);
}

// ---- Lines ----------------------------------------------------------------------------------------------------------

template <class V>
struct Stages {
    using T = Value<V>;
    const OwnFourierTable<T>& table;

    void run(ComplexLine<V> x, ptrdiff_t count, ptrdiff_t length, int stage, const T* twiddles) const
    {
        switch (table.radix[stage]) {
        case 2: return fixedStage<2>(x, count, length, twiddles);
        case 3: return fixedStage<3>(x, count, length, twiddles);
        case 4: return fixedStage<4>(x, count, length, twiddles);
        case 5: return fixedStage<5>(x, count, length, twiddles);
        case 6: return fixedStage<6>(x, count, length, twiddles);
        case 7: return fixedStage<7>(x, count, length, twiddles);
        case 8: return fixedStage<8>(x, count, length, twiddles);
        case 9: return fixedStage<9>(x, count, length, twiddles);
        case 10: return fixedStage<10>(x, count, length, twiddles);
        case 11: return fixedStage<11>(x, count, length, twiddles);
        case 12: return fixedStage<12>(x, count, length, twiddles);
        case 13: return fixedStage<13>(x, count, length, twiddles);
        case 15: return fixedStage<15>(x, count, length, twiddles);
        case 16: return fixedStage<16>(x, count, length, twiddles);
        default: return primeStage(x, count, length, table.radix[stage], twiddles, table.roots[stage]);
        }
    }

    // The twiddles of all stages before end where those of this one begin.
    static const T* twiddlesAt(const T* twiddles, ptrdiff_t length, ptrdiff_t first)
    {
        return twiddles + 2 * (length - first);
    }

    // Makes a line of `length` values by the first `stages` stages.
    void make(ComplexLine<V> x, ptrdiff_t length, int stages) const
    {
        constexpr ptrdiff_t inCache = 32768 / ptrdiff_t(sizeof(Complex<V>));
        if (length <= inCache) {
            ptrdiff_t made = 1;
            for (int stage = 0; stage < stages; ++stage) {
                ptrdiff_t longer = made * table.radix[stage];
                run(x, length / longer, made, stage, twiddlesAt(table.twiddles, made, table.radix[0]));
                made = longer;
            }
            return;
        }
        int last = stages - 1;
        ptrdiff_t shorter = length / table.radix[last];
        for (ptrdiff_t i = 0; i < table.radix[last]; ++i)
            make(x.from(i * shorter), shorter, last);
        run(x, 1, shorter, last, twiddlesAt(table.twiddles, shorter, table.radix[0]));
    }
};

template <class V>
void transformLine(ComplexLine<V> x, const OwnFourierTable<Value<V>>& table)
{
    Stages<V>{table}.make(x, table.length, table.stages);
}

// ---- Convolutions ---------------------------------------------------------------------------------------------------

// L. I. Bluestein, "A linear filtering approach to the computation of discrete Fourier transform", IEEE Trans. AU-18,
// 1970:
// k n = (k^2 + n^2 - (k - n)^2) / 2 makes the transform a convolution with a chirp.
template <class V>
void transformByChirp(ComplexLine<V> x, ComplexLine<V> work, const OwnFourierTable<Value<V>>& table)
{
    const auto& inner = *table.inner;
    for (ptrdiff_t n = 0; n < table.length; ++n)
        work.set(inner.order[n], product(x.get(n), table.chirp + 2 * n));
    for (ptrdiff_t n = table.length; n < inner.length; ++n)
        work.set(inner.order[n], Complex<V>{});
    transformLine(work, inner);
    for (ptrdiff_t n = 0; n < inner.length; ++n)
        x.set(inner.order[n], product(work.get(n), table.response + 2 * n));
    transformLine(ComplexLine<V>{x.im, x.re}, inner);
    for (ptrdiff_t n = 0; n < table.length; ++n)
        x.set(n, product(x.get(n), table.chirp + 2 * n));
}

template <class V>
void transform(Value<V>* block, Value<V>* scratch, const OwnFourierTable<Value<V>>& table, int32_t direction)
{
    ComplexLine<V> x = lineAt(reinterpret_cast<V*>(block), direction < 0);
    if (table.inner)
        transformByChirp(x, lineAt(reinterpret_cast<V*>(scratch), false), table);
    else
        transformLine(x, table);
}

template <class V>
constexpr OwnFourierLines<Value<V>> lines = {int32_t(sizeof(V) / sizeof(Value<V>)), transform<V>};

}  // namespace

const OwnFourierKernels ownFourierKernels = {{lines<float>, lines<FloatVector>}, lines<DoubleVector>};

}  // namespace OWN_ISA
