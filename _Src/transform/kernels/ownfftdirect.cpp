// The fixed-point core: the direct transform of lines of any length, by symmetry. Values that are equally far from the
// line's ends are folded into sums and differences, which meet only cosines and only sines.
//
// The sums of several outputs are formed at once, so that a folded value is loaded once for all of them.
#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// A folded line, of `parts` lane groups a value: one for real lines, two for complex ones.
template <class V, int parts>
struct Folded {
    // As many outputs at once as keep their accumulators in registers.
    static constexpr int outputs = parts == 2 ? 2 : 4;

    ptrdiff_t length;
    ptrdiff_t folds;  // (length - 1) / 2
    bool even;
    const V* values;       // a fold's sum, then its difference
    const V* first;        // value 0
    const V* middle;       // value length / 2 of even lengths
    const int32_t* table;  // cos, -sin
};

// The cosine and the sine part of one output.
template <class V, int parts>
struct Output {
    V cosine[parts];  // with the first and the middle value
    V sine[parts];
};

// Takes a line apart, into the work space. `value(n, to)` gives value n of the line.
template <class V, int parts, class ValueAt>
Folded<V, parts> fold(const OwnFftFixedLength& length, ValueAt value)
{
    Folded<V, parts> result;
    result.length = length.length;
    result.folds = (length.length - 1) / 2;
    result.even = length.length % 2 == 0;
    result.table = length.direct;
    auto* values = static_cast<V*>(length.directScratch);
    result.values = values;
    for (ptrdiff_t n = 1; n <= result.folds; ++n) {
        V a[parts], b[parts];
        value(n, a);
        value(length.length - n, b);
        for (int i = 0; i < parts; ++i) {
            values[i] = a[i] + b[i];
            values[parts + i] = a[i] - b[i];
        }
        values += 2 * parts;
    }
    value(0, values);
    result.first = values;
    values += parts;
    if (result.even)
        value(length.length / 2, values);
    result.middle = values;
    return result;
}

// Output 0: the table would only turn by nothing, and lose a bit by that.
template <class V, int parts>
void sumAll(const Folded<V, parts>& line, Output<V, parts>& output)
{
    for (int i = 0; i < parts; ++i) {
        V sum = line.first[i];
        if (line.even)
            sum += line.middle[i];
        for (ptrdiff_t n = 0; n < line.folds; ++n)
            sum += line.values[2 * n * parts + i];
        output.cosine[i] = sum;
        output.sine[i] = V{};
    }
}

// Outputs k, k + 1 and so on.
template <class V, int parts>
void sumTurned(const Folded<V, parts>& line, ptrdiff_t k, Output<V, parts>* outputs)
{
    constexpr int count = Folded<V, parts>::outputs;
    V cosine[count][parts] = {};
    V sine[count][parts] = {};
    ptrdiff_t step[count];
    ptrdiff_t at[count];
    for (int j = 0; j < count; ++j)
        at[j] = step[j] = 2 * ((k + j) % line.length);
    const V* values = line.values;
    for (ptrdiff_t n = 0; n < line.folds; ++n, values += 2 * parts)
        for (int j = 0; j < count; ++j) {
            int32_t c = line.table[at[j]], s = line.table[at[j] + 1];
            for (int i = 0; i < parts; ++i) {
                cosine[j][i] += fixedProduct(values[i], c);
                sine[j][i] += fixedProduct(values[parts + i], s);
            }
            ptrdiff_t next = at[j] + step[j];
            at[j] = next >= 2 * line.length ? next - 2 * line.length : next;
        }
    for (int j = 0; j < count; ++j)
        for (int i = 0; i < parts; ++i) {
            V alone = line.first[i];
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
void realToPairs(int32_t* block, const OwnFftFixedLength& length, int32_t direction)
{
    V* x = groups<V>(block);
    auto line = fold<V, 1>(length, [&](ptrdiff_t n, V* to) { *to = x[n]; });
    eachOutput(line, [&](ptrdiff_t k, const Output<V, 1>& output) {
        if (k == 0 || 2 * k == line.length) {
            x[k != 0] = output.cosine[0];
            return;
        }
        x[2 * k] = output.cosine[0];
        x[2 * k + 1] = direction < 0 ? -output.sine[0] : output.sine[0];
    });
}

template <class V>
void pairsToReal(int32_t* block, const OwnFftFixedLength& length, int32_t direction)
{
    V* x = groups<V>(block);
    // A pair and its mirrored conjugate fold into twice its parts: half of what they are to each of both.
    auto line = fold<V, 1>(length, [&](ptrdiff_t k, V* to) {
        if (k == 0 || 2 * k == length.length) {
            *to = x[k != 0];
            return;
        }
        bool mirrored = 2 * k > length.length;
        const V* pair = x + 2 * (mirrored ? length.length - k : k);
        *to = mirrored ? pair[0] - pair[1] : pair[0] + pair[1];
    });
    eachOutput(line, [&](ptrdiff_t n, const Output<V, 1>& output) {
        V sine = direction < 0 ? output.sine[0] : -output.sine[0];
        x[n] = output.cosine[0] + sine;
        if (n != 0 && 2 * n != line.length)
            x[line.length - n] = output.cosine[0] - sine;
    });
}

template <class V>
void complexLines(int32_t* block, const OwnFftFixedLength& length, int32_t direction)
{
    V* x = groups<V>(block);
    auto line = fold<V, 2>(length, [&](ptrdiff_t n, V* to) {
        to[0] = x[2 * n];
        to[1] = x[2 * n + 1];
    });
    eachOutput(line, [&](ptrdiff_t k, const Output<V, 2>& output) {
        // The sine part comes times i: its parts change places, and one changes its sign.
        V re = output.cosine[0], im = output.cosine[1];
        V turnedRe = direction < 0 ? output.sine[1] : -output.sine[1];
        V turnedIm = direction < 0 ? -output.sine[0] : output.sine[0];
        x[2 * k] = re + turnedRe;
        x[2 * k + 1] = im + turnedIm;
        if (k != 0 && 2 * k != line.length) {
            x[2 * (line.length - k)] = re - turnedRe;
            x[2 * (line.length - k) + 1] = im - turnedIm;
        }
    });
}

template <class V>
constexpr OwnFftFixedTransforms transforms = {realToPairs<V>, pairsToReal<V>, complexLines<V>};

}  // namespace

const OwnFftFixedTransforms intDirect[2] = {transforms<uint32_t>, transforms<IntVector>};

}  // namespace OWN_ISA
