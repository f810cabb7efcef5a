// The direct transform of lines of any length, by symmetry: values that are equally far from the line's ends are folded into
// sums and differences, which meet only cosines and only sines.
//
// The floating core adds up in double precision. Folded values are rounded to floats, as the values that they are made of
// and those of the table are, so that their products are exact and a fused step gives the same bits as two. The sums of several
// outputs are formed at once, so that a folded value is loaded once for all of them.
#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// A lane group V and the vectors that its values are counted in: `wides` of type Wide. Factor is what a table holds.
template <class V>
struct Counting;

template <>
struct Counting<FloatVector> {
    using Wide = DoubleVector;
    using Factor = double;
    static constexpr int wides = 2;
    using HalfFloat = float __attribute__((vector_size(vectorBytes / 2)));

    static void widen(const FloatVector* from, Wide* to)
    {
        for (int i = 0; i < wides; ++i)
            to[i] = __builtin_convertvector(take<HalfFloat>(reinterpret_cast<const HalfFloat*>(from) + i), Wide);
    }
    static void narrow(const Wide* from, FloatVector* to)
    {
        for (int i = 0; i < wides; ++i)
            reinterpret_cast<HalfFloat*>(to)[i] = __builtin_convertvector(from[i], HalfFloat);
    }
    static Wide rounded(Wide a) { return __builtin_convertvector(__builtin_convertvector(a, HalfFloat), Wide); }
    static void addProduct(Wide& sum, Wide a, Factor factor)
    {
#if defined(__AVX2__)
        sum = _mm256_fmadd_pd(a, _mm256_set1_pd(factor), sum);
#else
        sum += a * factor;
#endif
    }
};

template <>
struct Counting<float> {
    using Wide = double;
    using Factor = double;
    static constexpr int wides = 1;

    static void widen(const float* from, Wide* to) { *to = *from; }
    static void narrow(const Wide* from, float* to) { *to = float(*from); }
    static Wide rounded(Wide a) { return float(a); }
    static void addProduct(Wide& sum, Wide a, Factor factor) { sum += a * factor; }
};

template <class V>
struct FixedCounting {
    using Wide = V;
    using Factor = int32_t;
    static constexpr int wides = 1;

    static void widen(const V* from, Wide* to) { *to = *from; }
    static void narrow(const Wide* from, V* to) { *to = *from; }
    static Wide rounded(Wide a) { return a; }
    static void addProduct(Wide& sum, Wide a, Factor factor) { sum += fixedProduct(a, factor); }
};

template <>
struct Counting<IntVector> : FixedCounting<IntVector> {
};
template <>
struct Counting<uint32_t> : FixedCounting<uint32_t> {
};

// A folded line, of `vectors` wide vectors a value: real lines have as many as a lane group, complex ones twice as many.
template <class V, int parts>
struct Folded {
    using Count = Counting<V>;
    using Wide = typename Count::Wide;
    using Factor = typename Count::Factor;
    static constexpr int vectors = parts * Count::wides;
    // As many outputs at once as keep their accumulators in registers.
    static constexpr int outputs = vectors >= 4 ? 1 : vectors == 2 ? 2 : 4;

    ptrdiff_t length;
    ptrdiff_t folds;  // (length - 1) / 2
    bool even;
    const Wide* values;   // a fold's sum, then its difference
    const Wide* first;    // value 0
    const Wide* middle;   // value length / 2 of even lengths
    const Factor* table;  // cos, -sin
};

// The cosine and the sine part of one output.
template <class V, int parts>
struct Output {
    using Wide = typename Counting<V>::Wide;
    Wide cosine[Folded<V, parts>::vectors];  // with the first and the middle value
    Wide sine[Folded<V, parts>::vectors];
};

// Takes a line apart, into the work space. `value(n, to)` widens value n of the line.
template <class V, int parts, class ValueAt>
Folded<V, parts> fold(const OwnFftLength<Value<V>>& length, ValueAt value)
{
    using Fold = Folded<V, parts>;
    using Wide = typename Fold::Wide;
    constexpr int vectors = Fold::vectors;
    Fold result;
    result.length = length.length;
    result.folds = (length.length - 1) / 2;
    result.even = length.length % 2 == 0;
    auto* values = static_cast<Wide*>(length.directScratch);
    result.values = values;
    for (ptrdiff_t n = 1; n <= result.folds; ++n) {
        Wide a[vectors], b[vectors];
        value(n, a);
        value(length.length - n, b);
        for (int i = 0; i < vectors; ++i) {
            values[i] = Fold::Count::rounded(a[i] + b[i]);
            values[vectors + i] = Fold::Count::rounded(a[i] - b[i]);
        }
        values += 2 * vectors;
    }
    value(0, values);
    result.first = values;
    values += vectors;
    if (result.even)
        value(length.length / 2, values);
    result.middle = values;
    values += vectors;
    auto* table = reinterpret_cast<typename Fold::Factor*>(values);
    result.table = table;
    for (ptrdiff_t i = 0; i < 2 * ptrdiff_t{length.length}; ++i)
        table[i] = length.direct[i];
    return result;
}

// Output 0: the table would only turn by nothing, and in fixed point lose a bit by that.
template <class V, int parts>
void sumAll(const Folded<V, parts>& line, Output<V, parts>& output)
{
    using Wide = typename Counting<V>::Wide;
    constexpr int vectors = Folded<V, parts>::vectors;
    for (int i = 0; i < vectors; ++i) {
        Wide sum = line.first[i];
        if (line.even)
            sum += line.middle[i];
        for (ptrdiff_t n = 0; n < line.folds; ++n)
            sum += line.values[2 * n * vectors + i];
        output.cosine[i] = sum;
        output.sine[i] = Wide{};
    }
}

// Outputs k, k + 1 and so on.
template <class V, int parts>
void sumTurned(const Folded<V, parts>& line, ptrdiff_t k, Output<V, parts>* outputs)
{
    using Fold = Folded<V, parts>;
    using Wide = typename Fold::Wide;
    constexpr int vectors = Fold::vectors;
    constexpr int count = Fold::outputs;
    Wide cosine[count][vectors] = {};
    Wide sine[count][vectors] = {};
    ptrdiff_t step[count];
    ptrdiff_t at[count];
    for (int j = 0; j < count; ++j)
        at[j] = step[j] = 2 * ((k + j) % line.length);
    const Wide* values = line.values;
    for (ptrdiff_t n = 0; n < line.folds; ++n, values += 2 * vectors)
        for (int j = 0; j < count; ++j) {
            auto c = line.table[at[j]], s = line.table[at[j] + 1];
            for (int i = 0; i < vectors; ++i) {
                Counting<V>::addProduct(cosine[j][i], values[i], c);
                Counting<V>::addProduct(sine[j][i], values[vectors + i], s);
            }
            ptrdiff_t next = at[j] + step[j];
            at[j] = next >= 2 * line.length ? next - 2 * line.length : next;
        }
    for (int j = 0; j < count; ++j)
        for (int i = 0; i < vectors; ++i) {
            Wide alone = line.first[i];
            if (line.even)
                alone = (k + j) % 2 == 0 ? alone + line.middle[i] : alone - line.middle[i];
            outputs[j].cosine[i] = alone + cosine[j][i];
            outputs[j].sine[i] = sine[j][i];
        }
}

// Hands the outputs from 0 to half the length to `write(k, output)`.
template <class V, int parts, class Write>
void eachOutput(const Folded<V, parts>& line, Write write)
{
    constexpr int count = Folded<V, parts>::outputs;
    Output<V, parts> outputs[count];
    sumAll(line, outputs[0]);
    write(0, outputs[0]);
    ptrdiff_t last = line.length / 2;
    for (ptrdiff_t k = 1; k <= last; k += count) {
        sumTurned(line, k, outputs);
        for (ptrdiff_t j = 0; j < count && k + j <= last; ++j)
            write(k + j, outputs[j]);
    }
}

template <class V>
void realToPairs(Value<V>* block, const OwnFftLength<Value<V>>& length, int32_t direction)
{
    using Count = Counting<V>;
    using Wide = typename Count::Wide;
    V* x = groups<V>(block);
    auto line = fold<V, 1>(length, [&](ptrdiff_t n, Wide* to) { Count::widen(x + n, to); });
    eachOutput(line, [&](ptrdiff_t k, const Output<V, 1>& output) {
        if (k == 0 || 2 * k == line.length) {
            Count::narrow(output.cosine, x + (k != 0));
            return;
        }
        Wide sine[Count::wides];
        for (int i = 0; i < Count::wides; ++i)
            sine[i] = direction < 0 ? -output.sine[i] : output.sine[i];
        Count::narrow(output.cosine, x + 2 * k);
        Count::narrow(sine, x + 2 * k + 1);
    });
}

template <class V>
void pairsToReal(Value<V>* block, const OwnFftLength<Value<V>>& length, int32_t direction)
{
    using Count = Counting<V>;
    using Wide = typename Count::Wide;
    V* x = groups<V>(block);
    // A pair and its mirrored conjugate fold into twice its parts: half of what they are to each of both.
    auto line = fold<V, 1>(length, [&](ptrdiff_t k, Wide* to) {
        if (k == 0 || 2 * k == length.length) {
            Count::widen(x + (k != 0), to);
            return;
        }
        bool mirrored = 2 * k > length.length;
        const V* pair = x + 2 * (mirrored ? length.length - k : k);
        Wide re[Count::wides], im[Count::wides];
        Count::widen(pair, re);
        Count::widen(pair + 1, im);
        for (int i = 0; i < Count::wides; ++i)
            to[i] = mirrored ? re[i] - im[i] : re[i] + im[i];
    });
    eachOutput(line, [&](ptrdiff_t n, const Output<V, 1>& output) {
        Wide here[Count::wides], opposite[Count::wides];
        for (int i = 0; i < Count::wides; ++i) {
            Wide sine = direction < 0 ? output.sine[i] : -output.sine[i];
            here[i] = output.cosine[i] + sine;
            opposite[i] = output.cosine[i] - sine;
        }
        Count::narrow(here, x + n);
        if (n != 0 && 2 * n != line.length)
            Count::narrow(opposite, x + line.length - n);
    });
}

template <class V>
void complexLines(Value<V>* block, const OwnFftLength<Value<V>>& length, int32_t direction)
{
    using Count = Counting<V>;
    using Wide = typename Count::Wide;
    constexpr int wides = Count::wides;
    V* x = groups<V>(block);
    auto line = fold<V, 2>(length, [&](ptrdiff_t n, Wide* to) {
        Count::widen(x + 2 * n, to);
        Count::widen(x + 2 * n + 1, to + wides);
    });
    eachOutput(line, [&](ptrdiff_t k, const Output<V, 2>& output) {
        // The sine part comes times i: its parts change places, and one changes its sign.
        Wide plus[2 * wides], minus[2 * wides];
        for (int i = 0; i < wides; ++i) {
            Wide re = output.cosine[i], im = output.cosine[wides + i];
            Wide turnedRe = -output.sine[wides + i], turnedIm = output.sine[i];
            plus[i] = re + turnedRe;
            plus[wides + i] = im + turnedIm;
            minus[i] = re - turnedRe;
            minus[wides + i] = im - turnedIm;
        }
        const Wide* here = direction < 0 ? minus : plus;
        const Wide* opposite = direction < 0 ? plus : minus;
        Count::narrow(here, x + 2 * k);
        Count::narrow(here + wides, x + 2 * k + 1);
        if (k != 0 && 2 * k != line.length) {
            V* other = x + 2 * (line.length - k);
            Count::narrow(opposite, other);
            Count::narrow(opposite + wides, other + 1);
        }
    });
}

template <class V>
constexpr OwnFftTransforms<Value<V>> transforms = {realToPairs<V>, pairsToReal<V>, complexLines<V>};

}  // namespace

const OwnFftTransforms<float> floatDirect[2] = {transforms<float>, transforms<FloatVector>};
const OwnFftTransforms<int32_t> intDirect[2] = {transforms<uint32_t>, transforms<IntVector>};

}  // namespace OWN_ISA
