#include "ownnetwork.h"

#include "../core/ownregion.h"

namespace {

// The number of a value that is not needed, and of none.
constexpr uint16_t unneeded = 0xFFFF;

// ---- Lists of values ----------------------------------------------------------------------------------------------

// A value at a distance of some pixels.
struct Wire {
    uint16_t value;
    uint16_t shift;
};

// Values of which each is at most as great as the next. Of a set of `total` values those stand here that can still be
// the median; `below` smaller ones do not.
struct List {
    Wire wires[ownNetworkMost];
    int32_t count = 0;
    int32_t below = 0;
    int32_t total = 0;

    void append(Wire wire) { wires[count++] = wire; }
};

List shifted(List list, int32_t shift)
{
    for (int32_t i = 0; i < list.count; ++i)
        list.wires[i].shift = uint16_t(list.wires[i].shift + shift);
    return list;
}

// ---- Making a network ---------------------------------------------------------------------------------------------

class Maker {
public:
    Maker(OwnNetworkStep* steps, int32_t room, int32_t inputs, int32_t windowPixels)
        : steps(steps), room(room), next(uint16_t(inputs)), pixels(windowPixels)
    {
    }

    int32_t count() const { return made; }
    bool isWhole() const { return made < room; }
    int32_t values() const { return next; }

    // The median of a window is in the one list, or in both.
    Wire medianOf(int32_t row, int32_t nCols) { return across(input(row), nCols).wires[0]; }

    List core(int32_t nCols, int32_t nRows) { return across(down(1, nRows - 1), nCols); }

    // The least of the greater ones of all pairs that leave as many values below.
    Wire medianOf(const List& a, int32_t row, int32_t nCols)
    {
        const List b = across(input(row), nCols);
        const int32_t rank = pixels / 2 + 1 - a.below - b.below;
        Wire least = {unneeded, 0};
        for (int32_t i = rank < a.count ? rank : a.count; i >= 0 && rank - i <= b.count; --i) {
            const Wire greatest = i == 0      ? b.wires[rank - 1]
                                  : i == rank ? a.wires[i - 1]
                                              : compare(a.wires[i - 1], b.wires[rank - i - 1]).greater;
            least = least.value == unneeded ? greatest : compare(least, greatest).lesser;
        }
        return least;
    }

private:
    struct Pair {
        Wire lesser, greater;
    };

    OwnNetworkStep* steps;
    int32_t room, made = 0;
    uint16_t next;   // the number of the next value
    int32_t pixels;  // of the window

    static List input(int32_t row)
    {
        List list;
        list.append({uint16_t(row), 0});
        list.total = 1;
        return list;
    }

    // Values are compared from the left one's place on.
    Pair compare(Wire a, Wire b)
    {
        if (!isWhole())
            return {a, b};
        const uint16_t left = a.shift < b.shift ? a.shift : b.shift;
        const auto lesser = next++, greater = next++;
        steps[made++] = {.a = a.value,
                         .b = b.value,
                         .aShift = uint16_t(a.shift - left),
                         .bShift = uint16_t(b.shift - left),
                         .lesser = lesser,
                         .greater = greater};
        return {{lesser, left}, {greater, left}};
    }

    // Odd-even merging: K. E. Batcher, "Sorting networks and their applications", AFIPS 32 (1968). Of `a` and `b` those
    // wires are merged that lie `step` apart.
    void mergeWires(const Wire* a, int32_t aCount, const Wire* b, int32_t bCount, Wire* result)
    {
        if (aCount == 0 || bCount == 0) {
            for (int32_t i = 0; i < aCount + bCount; ++i)
                result[i] = aCount ? a[i] : b[i];
            return;
        }
        if (aCount == 1 && bCount == 1) {
            const Pair pair = compare(a[0], b[0]);
            result[0] = pair.lesser;
            result[1] = pair.greater;
            return;
        }
        Wire halves[4][ownNetworkMost / 2], even[ownNetworkMost], odd[ownNetworkMost];
        for (int32_t i = 0; i < aCount; ++i)
            halves[i % 2][i / 2] = a[i];
        for (int32_t i = 0; i < bCount; ++i)
            halves[2 + i % 2][i / 2] = b[i];
        mergeWires(halves[0], (aCount + 1) / 2, halves[2], (bCount + 1) / 2, even);
        mergeWires(halves[1], aCount / 2, halves[3], bCount / 2, odd);
        const int32_t evens = (aCount + 1) / 2 + (bCount + 1) / 2, odds = aCount / 2 + bCount / 2;
        *result++ = even[0];
        for (int32_t i = 0; i < odds || i + 1 < evens; ++i) {
            if (i < odds && i + 1 < evens) {
                const Pair pair = compare(odd[i], even[i + 1]);
                *result++ = pair.lesser;
                *result++ = pair.greater;
            } else {
                *result++ = i < odds ? odd[i] : even[i + 1];
            }
        }
    }

    List merge(const List& a, const List& b)
    {
        List result;
        mergeWires(a.wires, a.count, b.wires, b.count, result.wires);
        result.count = a.count + b.count;
        result.below = a.below + b.below;
        result.total = a.total + b.total;
        dropExtremes(result);
        return result;
    }

    // Drops what has so many others below or above it that it cannot be the median.
    void dropExtremes(List& list) const
    {
        const int32_t rank = pixels / 2 + 1;
        const int32_t tooLow = list.total - (pixels - rank) - 1 - list.below;
        const int32_t first = tooLow > 0 ? tooLow : 0;
        const int32_t end = list.count < rank - list.below ? list.count : rank - list.below;
        for (int32_t i = first; i < end; ++i)
            list.wires[i - first] = list.wires[i];
        list.count = end - first;
        list.below += first;
    }

    // `width` of the same list side by side.
    List across(const List& list, int32_t width)
    {
        if (width == 1)
            return list;
        if (width % 2)
            return merge(across(list, width - 1), shifted(list, width - 1));
        const List half = across(list, width / 2);
        return merge(half, shifted(half, width / 2));
    }

    // Rows from `first` on.
    List down(int32_t first, int32_t rows)
    {
        if (rows == 1)
            return input(first);
        return merge(down(first, rows / 2), down(first + rows / 2, rows - rows / 2));
    }
};

// ---- What is needed of a network ----------------------------------------------------------------------------------

// Of a value: the last step that needs it, -1 for none, and its slot.
struct Use {
    int32_t last = -1;
    uint16_t slot = unneeded;
};

// Finds what is needed, from the last step back.
void findUses(OwnNetworkStep* steps, int32_t count, Use* uses)
{
    for (int32_t i = count - 1; i >= 0; --i) {
        OwnNetworkStep& step = steps[i];
        step.lesser = uses[step.lesser].last < 0 ? unneeded : step.lesser;
        step.greater = uses[step.greater].last < 0 ? unneeded : step.greater;
        if (step.lesser == unneeded && step.greater == unneeded)
            continue;
        uses[step.a].last = ownMax(uses[step.a].last, i);
        uses[step.b].last = ownMax(uses[step.b].last, i);
    }
}

// Gives every value a slot for as long as it is needed, the rows of the source the first ones, and drops steps that are
// not needed. `unused` has room for all values.
void assignSlots(OwnNetwork& network, OwnNetworkStep* steps, int32_t count, Use* uses, uint16_t* unused)
{
    int32_t unusedCount = 0;
    for (int32_t i = 0; i < network.inputs; ++i)
        uses[i].slot = uint16_t(i);
    for (int32_t i = 0; i < count; ++i) {
        OwnNetworkStep step = steps[i];
        if (step.lesser == unneeded && step.greater == unneeded)
            continue;
        uint16_t* const made[2] = {&step.lesser, &step.greater};
        uint16_t* const compared[2] = {&step.a, &step.b};
        for (uint16_t* result : made)
            if (*result != unneeded) {
                const auto slot = unusedCount ? unused[--unusedCount] : uint16_t(network.inputs + network.slots++);
                uses[*result].slot = slot;
                *result = slot;
            }
        for (uint16_t* source : compared) {
            Use& use = uses[*source];
            *source = use.slot;
            // In the last step that needs it, and once if both are the same.
            if (use.last == i && use.slot >= network.inputs) {
                unused[unusedCount++] = use.slot;
                use.last = -1;
            }
        }
        steps[network.count++] = step;
    }
    const auto last = uint16_t(network.inputs + network.slots);
    for (int32_t i = 0; i < network.count; ++i) {
        steps[i].lesser = steps[i].lesser == unneeded ? last : steps[i].lesser;
        steps[i].greater = steps[i].greater == unneeded ? last : steps[i].greater;
    }
}

// More steps than a network of so many pixels has.
int32_t mostSteps(int32_t pixels)
{
    return 16 * pixels;
}

}  // namespace

OwnMedianNetwork::OwnMedianNetwork(int32_t nCols, int32_t nRows) : network{}, steps(mostSteps(nCols * nRows))
{
    const int32_t pixels = nCols * nRows;
    network.count = -1;
    if (!steps)
        return;
    network.rows = nRows > 1 ? 2 : 1;
    network.inputs = nRows > 1 ? nRows + 1 : 1;
    Maker maker(steps.data, mostSteps(pixels), network.inputs, pixels);
    Wire medians[2];
    if (nRows == 1) {
        medians[0] = medians[1] = maker.medianOf(0, nCols);
    } else {
        const List core = maker.core(nCols, nRows);
        medians[0] = maker.medianOf(core, 0, nCols);
        medians[1] = maker.medianOf(core, nRows, nCols);
    }
    OwnScratch<Use> uses(maker.values());
    OwnScratch<uint16_t> unused(maker.values());
    if (!maker.isWhole() || !uses || !unused)
        return;
    for (int32_t i = 0; i < maker.values(); ++i)
        uses[i] = {};
    for (const Wire& median : medians)
        uses[median.value].last = INT32_MAX;
    findUses(steps.data, maker.count(), uses.data);
    network.steps = steps.data;
    network.count = 0;
    network.extent = nCols - 1;
    assignSlots(network, steps.data, maker.count(), uses.data, unused.data);
    for (int i = 0; i < 2; ++i)
        network.results[i] = uses[medians[i].value].slot;
}
