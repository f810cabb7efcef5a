// Wavelets: filter banks by what defines them, and the transforms against their definition.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <regex>
#include <sstream>

#include "checks.h"
#include "model.h"
#include "picture.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Type {
    int32_t wtType, par1, par2;
    int moments = 0;                 // of the decomposition: high-pass taps times k^m add up to 0 for m below this
    std::array<int, 4> offset = {};  // of the kernel's filters
};

const std::vector<Type> catalogue = [] {
    std::vector<Type> all = {{ORV_WT_HAAR, 0, 0, 1, {1, 1, 0, 0}}, {ORV_WT_VAIDYANATHAN, 0, 0, 0, {20, 2, 3, 21}}};
    const std::array<int, 4> daubechies[] = {{1, 1, 0, 0},   {1, 3, 2, 0},  {1, 3, 4, 2},   {1, 5, 6, 2},
                                             {2, 8, 7, 1},   {2, 10, 9, 1}, {2, 10, 11, 3}, {2, 12, 13, 3},
                                             {3, 15, 14, 2}, {3, 17, 16, 2}};
    const std::array<int, 4> symlets[] = {{3, 5, 4, 2}, {4, 4, 5, 5}, {5, 7, 6, 4},  {8, 6, 5, 7},
                                          {8, 6, 7, 9}, {9, 9, 8, 8}, {9, 11, 10, 8}};
    const std::array<int, 4> coiflets[] = {
        {4, 2, 1, 3}, {4, 6, 7, 5}, {6, 10, 11, 7}, {8, 14, 15, 9}, {10, 18, 19, 11}};
    for (int order = 1; order <= 10; ++order)
        all.push_back({ORV_WT_DAUBECHIES, order, 0, order, daubechies[order - 1]});
    for (int order = 4; order <= 10; ++order)
        all.push_back({ORV_WT_SYMLET, order - 3, 0, order, symlets[order - 4]});
    for (int order = 1; order <= 5; ++order)
        all.push_back({ORV_WT_COIFLET, order, 0, 2 * order, coiflets[order - 1]});
    auto addSpline = [&](int32_t wtType, int32_t dual, int p, int q) {
        int low = p / 2, high = p == 3 ? q : q - 1;
        all.push_back({wtType, p, q, q, {low, high, high + 1, low + 1}});
        if (dual)
            all.push_back({dual, p, q, p, {high, low, low + 1, high + 1}});
    };
    for (auto [p, longest] : {std::pair(1, 5), std::pair(2, 8), std::pair(3, 9)})
        for (int q = 2 - p % 2; q <= longest; q += 2)
            addSpline(ORV_WT_BSPLINE, ORV_WT_BSPLINE_DUAL, p, q);
    addSpline(ORV_WT_LINEAR_SPLINE, 0, 2, 2);
    addSpline(ORV_WT_QUADRATIC_SPLINE, 0, 3, 3);
    return all;
}();

std::string nameOf(const Type& type)
{
    return "type " + std::to_string(type.wtType) + " with " + std::to_string(type.par1) + ", " +
           std::to_string(type.par2);
}

OrvWtKernel kernelOf(const Type& type)
{
    OrvWtKernel kernel;
    EXPECT_EQ(orvWtInit(type.wtType, type.par1, type.par2, &kernel), 0);
    return kernel;
}

std::vector<OrvWtFilter> filtersOf(const OrvWtKernel& kernel)
{
    return {kernel.filtDecLow, kernel.filtDecHigh, kernel.filtRecLow, kernel.filtRecHigh};
}

std::vector<double> tapsOf(const OrvWtFilter& filter)
{
    return {filter.taps, filter.taps + filter.length};
}

// The sum of the taps times a power of their distance from `centre`, which is measured in lengths of the filter.
double moment(const OrvWtFilter& filter, int power, double centre)
{
    double sum = 0;
    for (int k = 0; k < filter.length; ++k)
        sum += filter.taps[k] * std::pow((k - centre) / filter.length, power);
    return sum;
}

// The product of what the analysis takes for output i with what the synthesis gives for input i + shift.
double product(const OrvWtFilter& dec, const OrvWtFilter& rec, int shift)
{
    double sum = 0;
    for (int k = 0; k < dec.length; ++k) {
        int other = dec.offset + rec.offset + 2 * shift - k;
        if (other >= 0 && other < rec.length)
            sum += double(dec.taps[k]) * rec.taps[other];
    }
    return sum;
}

// Filters that need not fit each other, to be released.
OrvWtKernel randomKernel(Random& random, int longest)
{
    std::vector<float> taps[4];
    OrvWtFilter filters[4];
    for (int i = 0; i < 4; ++i) {
        int length = i % 2 && random.below(2) ? filters[i - 1].length : random.between(2, longest);
        for (int k = 0; k < length; ++k)
            taps[i].push_back(float(random.between(-1000, 1000)) / 771.0f);
        filters[i] = {taps[i].data(), length, random.below(length), 0};
    }
    OrvWtKernel kernel = {};
    EXPECT_EQ(orvWtInitUserFilter4(filters, &kernel), 0);
    return kernel;
}

// ---- The transforms, as they are defined ----------------------------------------------------------------------------

// Splits a line of n samples into its low-pass and its high-pass half, or merges it from them.
void naiveLine(float* x, int n, int step, const OrvWtKernel& kernel, bool merges)
{
    std::vector<double> sums(size_t(n), 0.0);
    for (int half = 0; half < 2; ++half) {
        OrvWtFilter filter = filtersOf(kernel)[size_t(2 * merges + half)];
        for (int k = 0; k < filter.length; ++k)
            for (int i = 0; i < n / 2; ++i) {
                int apart = half * (n / 2) + i;
                int together = ((2 * i + (merges ? k - filter.offset : filter.offset - k)) % n + n) % n;
                sums[size_t(merges ? together : apart)] +=
                    double(filter.taps[k]) * x[(merges ? apart : together) * step];
            }
    }
    for (int i = 0; i < n; ++i)
        x[i * step] = float(sums[size_t(i)]);
}

// Rows, then columns, or the other way round. The block's quarters are the subbands.
void naive(std::vector<float>& block, int width, int height, const OrvWtKernel& kernel, bool merges)
{
    for (bool rows : {!merges, merges})
        for (int i = 0; i < (rows ? height : width); ++i)
            naiveLine(&block[size_t(rows ? i * width : i)], rows ? width : height, rows ? 1 : width, kernel, merges);
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

int32_t decompose(const OrvWtKernel* kernel, OrvImage* const* images)
{
    return orvWtDecompose(kernel, images[0], images[1], images[2], images[3], images[4]);
}

int32_t reconstruct(const OrvWtKernel* kernel, OrvImage* const* images)
{
    return orvWtReconstruct(kernel, images[1], images[2], images[3], images[4], images[0]);
}

// A picture and its subbands approx, xDetail, yDetail and dDetail.
struct Set {
    Picture whole;
    Area area = areaOf(whole);
    int columns = (area.width + 1) / 2, rows = (area.height + 1) / 2;
    PictureSpec half = {.depth = ORV_DEPTH_32F,
                        .width = columns,
                        .height = rows,
                        .extraStep = whole.layout().extraStep,
                        .offset = whole.layout().offset};
    Picture bands[4] = {Picture(half), Picture(half), Picture(half), Picture(half)};
    OrvImage* images[5] = {whole, bands[0], bands[1], bands[2], bands[3]};

    explicit Set(const PictureSpec& spec) : whole(spec) {}

    std::string faults()
    {
        return whole.faults() + bands[0].faults() + bands[1].faults() + bands[2].faults() + bands[3].faults();
    }
};

// What a call returns, which it stores too, whatever was stored before.
int32_t statusOf(const std::function<int32_t()>& call)
{
    orvSetErrStatus(-3);
    int32_t status = call();
    EXPECT_EQ(orvGetErrStatus(), status);
    return status;
}

// Both directions bit for bit. What is merged at last comes from no picture; its eighths lead to ties where taps are
// short.
void expectNaive(const PictureSpec& spec, OrvWtKernel kernel)
{
    Set set(spec);
    Area area = set.area;
    int width = 2 * set.columns, height = 2 * set.rows;
    std::vector<float> block;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            block.push_back(
                float(set.whole.get(area.x + std::min(x, area.width - 1), area.y + std::min(y, area.height - 1))));
    naive(block, width, height, kernel, false);
    EXPECT_EQ(statusOf([&] { return decompose(&kernel, set.images); }), 0);

    Picture expected(spec);
    if (kernel.wtType != ORV_WT_USER) {
        EXPECT_EQ(reconstruct(&kernel, set.images), 0);
        EXPECT_TRUE(set.whole.values() == expected.values()) << "a bank of the catalogue gives the picture back";
    }

    Random random(spec.seed);
    double denominator = random.below(2) ? 8 : 13;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Picture& band = set.bands[2 * (x / set.columns) + y / set.rows];
            float& value = block[size_t(y * width + x)];
            ASSERT_EQ(band.get(x % set.columns, y % set.rows), value) << x << ' ' << y;
            value = float(random.between(-3000, 3000) / denominator);
            band.set(x % set.columns, y % set.rows, 0, value);
        }
    naive(block, width, height, kernel, true);
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            expected.set(area.x + x, area.y + y, 0,
                         std::nearbyint(std::clamp(block[size_t(y * width + x)], 0.f, 255.f)));
    EXPECT_EQ(statusOf([&] { return reconstruct(&kernel, set.images); }), 0);
    EXPECT_TRUE(set.whole.values() == expected.values());
    EXPECT_EQ(set.faults(), "");
    orvWtFree(&kernel);
}

// ---- Checks ---------------------------------------------------------------------------------------------------------

// The faults of one function in their order.
struct Faults {
    FaultOf fault;
    std::vector<Fault> list = {};

    void add(int status, const std::string& text, const FaultMaker& make) { list.push_back(fault(status, text, make)); }

    // All that can be wrong with a filter: a record, or an element of three arrays whose NULL taps are reported
    // otherwise.
    void addFilter(OrvWtFilter* filter, const std::string& record, const std::string& index = "")
    {
        static float taps[2] = {1, 1};
        bool arrays = record.empty();
        std::string length = arrays ? "len_filt" + index : record + ".length";
        std::string offset = arrays ? "ofs_filt" + index : record + ".offset";
        if (!arrays)
            add(-29, "Error " + record + ".taps == NULL.", [=](auto) { *filter = {nullptr, 1, 9, 0}; });
        add(-29, "Error " + length + " < 2.", [=](auto) { *filter = {taps, 1, 9, 0}; });
        add(-29, "Error " + offset + " >= " + length + ".", [=](auto) { *filter = {taps, 2, 2, 0}; });
        add(-29, "Error " + offset + " < 0.", [=](auto) { *filter = {taps, 2, -1, 0}; });
    }
};

float userTaps[4][3] = {{1, 2}, {3, 4, 5}, {6, 7}, {8, 9, 10}};

// The arguments of a call that makes a kernel.
struct UserFilters {
    OrvWtFilter filters[4] = {
        {userTaps[0], 2, 0, 0}, {userTaps[1], 3, 1, 0}, {userTaps[2], 2, 0, 0}, {userTaps[3], 3, 1, 0}};
    size_t given = SIZE_MAX;  // so many pointers, in the order of their checks; the others are NULL

    template <class T>
    T* pass(size_t i, T* pointer) const
    {
        return i < given ? pointer : nullptr;
    }
};

struct Maker {
    std::string function;
    std::vector<std::string> pointers;  // in the order of their checks
    std::vector<std::string> records;   // the filters, if they are no arrays
    std::function<int32_t(UserFilters& user, OrvWtKernel* kernel)> make;
};

const std::vector<Maker> makers = {
    {"orvWtInitUserFilter4",
     {"wtKernel", "filt"},
     {"filt[0]", "filt[1]", "filt[2]", "filt[3]"},
     [](UserFilters& user, OrvWtKernel* kernel) {
         return orvWtInitUserFilter4(user.pass(1, user.filters), user.pass(0, kernel));
     }},
    {"orvWtInitUserFilter",
     {"wtKernel", "decLow", "decHigh", "recLow", "recHigh"},
     {"(*decLow)", "(*decHigh)", "(*recLow)", "(*recHigh)"},
     [](UserFilters& user, OrvWtKernel* kernel) {
         OrvWtFilter* f = user.filters;
         return orvWtInitUserFilter(user.pass(1, f), user.pass(2, f + 1), user.pass(3, f + 2), user.pass(4, f + 3),
                                    user.pass(0, kernel));
     }},
    {"orvWtInitUserTaps",
     {"wtKernel", "tap_filt", "len_filt", "ofs_filt"},
     {"", "", "", ""},
     [](UserFilters& user, OrvWtKernel* kernel) {
         float* taps[4];
         int32_t lengths[4], offsets[4];
         for (int i = 0; i < 4; ++i) {
             taps[i] = user.filters[i].taps;
             lengths[i] = user.filters[i].length;
             offsets[i] = user.filters[i].offset;
         }
         return orvWtInitUserTaps(user.pass(1, taps), user.pass(2, lengths), user.pass(3, offsets),
                                  user.pass(0, kernel));
     }},
};

}  // namespace

TEST(WaveletCatalogue, BanksAreWhatDefinesThem)
{
    for (const Type& type : catalogue) {
        SCOPED_TRACE(nameOf(type));
        OrvWtKernel kernel = kernelOf(type);
        OrvWtFilter dec[] = {kernel.filtDecLow, kernel.filtDecHigh}, rec[] = {kernel.filtRecLow, kernel.filtRecHigh};
        bool spline = type.wtType >= ORV_WT_BSPLINE;
        bool hasParameters = type.wtType < ORV_WT_LINEAR_SPLINE;
        EXPECT_EQ(std::tuple(kernel.wtType, kernel.par1, kernel.par2),
                  std::tuple(type.wtType, hasParameters * type.par1, hasParameters * type.par2));
        EXPECT_EQ(kernel.orthogonality, spline ? ORV_WT_BIORTHOGONAL : ORV_WT_ORTHONORMAL);
        EXPECT_NEAR(moment(dec[0], 0, 0), 1, 1e-6);
        EXPECT_NEAR(moment(rec[0], 0, 0), 2, 1e-6);
        for (int power = 0; power < type.moments; ++power)
            EXPECT_NEAR(moment(dec[1], power, dec[1].length / 2.0), 0, 1e-6) << power;
        // The scaling function of a Coiflet has vanishing moments too; the published digits show it up to this order.
        for (int power = 1; type.wtType == ORV_WT_COIFLET && type.par1 <= 3 && power < type.moments; ++power)
            EXPECT_NEAR(moment(dec[0], power, dec[0].offset), 0, 1e-6) << power;
        // Taps of orthonormal families are largest where they are anchored.
        for (int k = 0; !spline && type.moments > 1 && k < dec[0].length; ++k)
            EXPECT_LE(dec[0].taps[k], dec[0].taps[dec[0].offset]) << k;
        for (int i : {0, 1})
            for (int shift = -16; shift <= 16; ++shift) {
                EXPECT_NEAR(product(dec[i], rec[i], shift), shift == 0, 1e-6) << shift;
                EXPECT_NEAR(product(dec[i], rec[1 - i], shift), 0, 1e-6) << shift;
            }
        for (const OrvWtFilter& filter : filtersOf(kernel)) {
            std::vector<double> taps = tapsOf(filter), reverse(taps.rbegin(), taps.rend()), negative = reverse;
            for (double& tap : negative)
                tap = -tap;
            EXPECT_EQ(filter.symmetry, taps == reverse    ? ORV_WT_SYMMETRIC
                                       : taps == negative ? ORV_WT_ANTISYMMETRIC
                                                          : ORV_WT_ASYMMETRIC);
        }
        for (size_t i = 0; i < 4; ++i)
            EXPECT_EQ(filtersOf(kernel)[i].offset, type.offset[i]) << i;
    }
}

TEST(WaveletCatalogue, ShortBanksTapByTap)
{
    // The parameters that the kernel keeps, and the taps of each filter, or how many there are.
    const std::pair<Type, std::string> rows[] = {
        {{ORV_WT_HAAR, -7, 99}, "0 0: 0.5 0.5; 0.5 -0.5; 1 1; -1 1; "},
        {{ORV_WT_BSPLINE, 1, 1}, "1 1: 0.5 0.5; 0.5 -0.5; 1 1; -1 1; "},
        {{ORV_WT_BSPLINE, 2, 4}, "2 4: 0.25 0.5 0.25; (9) (9) -0.5 1 -0.5; "},
        {{ORV_WT_BSPLINE, 3, 9}, "3 9: 0.125 0.375 0.375 0.125; (20) (20) -0.25 0.75 -0.75 0.25; "},
        {{ORV_WT_BSPLINE_DUAL, 2, 2},
         "2 2: -0.125 0.25 0.75 0.25 -0.125; 0.25 -0.5 0.25; 0.5 1 0.5; 0.25 0.5 -1.5 0.5 0.25; "},
        {{ORV_WT_LINEAR_SPLINE, 2, 2},
         "0 0: 0.25 0.5 0.25; -0.125 -0.25 0.75 -0.25 -0.125; -0.25 0.5 1.5 0.5 -0.25; -0.5 1 -0.5; "},
        {{ORV_WT_QUADRATIC_SPLINE, 3, 3}, "0 0: 0.125 0.375 0.375 0.125; (8) (8) -0.25 0.75 -0.75 0.25; "},
    };
    for (auto& [type, expected] : rows) {
        std::ostringstream text;
        text.precision(9);  // which tells all values of single precision apart
        OrvWtKernel kernel = kernelOf(type);
        text << kernel.par1 << ' ' << kernel.par2 << ": ";
        for (const OrvWtFilter& filter : filtersOf(kernel)) {
            if (filter.length > 5)
                text << '(' << filter.length << ") ";
            for (int k = 0; k < filter.length && filter.length <= 5; ++k)
                text << filter.taps[k] << (k + 1 < filter.length ? " " : "; ");
        }
        EXPECT_EQ(text.str(), expected) << nameOf(type);
    }
}

TEST(WaveletCatalogue, Refusals)
{
    OrvWtKernel kernel;
    memset(&kernel, 0x5A, sizeof kernel);
    OrvWtKernel before = kernel;
    const std::pair<std::string, std::vector<Type>> cases[] = {
        {"wtType", {{9, 1, 1}, {-1, 1, 1}, {INT32_MAX, 0, 0}}},
        {"par1  ",
         {{1, 0, 0}, {1, 11, 0}, {2, 0, 0}, {2, 8, 0}, {3, 0, 0}, {3, 6, 0}, {5, 0, 1}, {5, 4, 99}, {6, -1, 1}}},
        {"par2  ", {{5, 2, 3}, {5, 1, 7}, {5, 3, 2}, {6, 3, 0}, {6, 2, 10}}},
    };
    for (auto& [bad, types] : cases)
        for (const Type& type : types) {
            auto call = [&] { return orvWtInit(type.wtType, type.par1, type.par2, &kernel); };
            EXPECT_EQ(reportsOf([&] { EXPECT_EQ(statusOf(call), -5); }), "-5 orvWtInit Bad " + bad + " value.\n")
                << nameOf(type);
        }
    EXPECT_EQ(memcmp(&kernel, &before, sizeof kernel), 0);
    EXPECT_EQ(reportsOf([] { EXPECT_EQ(statusOf([] { return orvWtInit(99, 0, 0, nullptr); }), -27); }),
              "-27 orvWtInit Null pointer by wtKernel was passed.\n");
    EXPECT_EQ(reportsOf([] { EXPECT_EQ(statusOf([] { return orvWtFree(nullptr); }), -27); }),
              "-27 orvWtFree Null pointer by wtKernel was passed.\n");
}

TEST(WaveletKernel, CopiesTheUsersFilters)
{
    for (const Maker& maker : makers) {
        SCOPED_TRACE(maker.function);
        UserFilters user;
        OrvWtKernel kernel = {}, zero = {};
        int blocks = testheap::blocks();
        EXPECT_EQ(reportsOf([&] { EXPECT_EQ(statusOf([&] { return maker.make(user, &kernel); }), 0); }), "");
        EXPECT_EQ(std::tuple(kernel.wtType, kernel.par1, kernel.par2, kernel.orthogonality),
                  std::tuple(ORV_WT_USER, 0, 0, ORV_WT_UNKNOWN));
        for (size_t i = 0; i < 4; ++i) {
            OrvWtFilter made = filtersOf(kernel)[i];
            ASSERT_EQ(tapsOf(made), tapsOf(user.filters[i]));
            EXPECT_NE(made.taps, user.filters[i].taps);
            EXPECT_EQ(std::pair(made.offset, made.symmetry), std::pair(user.filters[i].offset, int(ORV_WT_UNKNOWN)));
        }
        // A cleared kernel may be released again. The status stays.
        orvSetErrStatus(-3);
        for (int times = 0; times < 2; ++times) {
            EXPECT_EQ(orvWtFree(&kernel), 0);
            EXPECT_EQ(testheap::blocks(), blocks);
            EXPECT_EQ(memcmp(&kernel, &zero, sizeof kernel), 0);
        }
        EXPECT_EQ(orvGetErrStatus(), -3);
        orvSetErrStatus(0);
    }
}

// Of all filters the first bad one counts, and of its faults the first; NULL taps in an array come before all others.
TEST(WaveletKernel, ChecksInOrder)
{
    OrvWtKernel kernel, before;
    memset(&kernel, 0x5A, sizeof kernel);
    memset(&before, 0x5A, sizeof before);
    for (const Maker& maker : makers) {
        SCOPED_TRACE(maker.function);
        UserFilters user;
        Faults faults{{maker.function}};
        const std::string indices[4] = {"[0]", "[1]", "[2]", "[3]"};
        for (size_t i = 0; i < maker.pointers.size(); ++i)
            faults.add(-27, "Null pointer by " + maker.pointers[i] + " was passed.", [&, i](auto) { user.given = i; });
        for (int i = 0; i < 4 && maker.records[0].empty(); ++i)
            faults.add(-27, "Null pointer by tap_filt" + indices[i] + " was passed.",
                       [&, i](auto) { user.filters[i].taps = nullptr; });
        for (size_t i = 0; i < 4; ++i)
            faults.addFilter(&user.filters[i], maker.records[i], indices[i]);
        for (int n = 1; n <= 4; ++n)
            faults.add(-4, "No working memory.", refuseMemory(n));
        auto expectNoKernel = [&](auto) {
            EXPECT_LT(statusOf([&] { return maker.make(user, &kernel); }), 0);
            EXPECT_EQ(memcmp(&kernel, &before, sizeof kernel), 0);
            user = {};
        };
        expectFaultsInOrder({}, expectNoKernel, faults.list);
    }
}

// Filters of all shapes: longer than the image, of even and odd lengths, at any offsets.
TEST(Wavelet, IsTheDefinedTransform)
{
    Random random(3);
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        PictureSpec spec = {.width = random.between(1, 40),
                            .height = random.between(1, 40),
                            .extraStep = random.below(4),
                            .offset = random.below(4),
                            .seed = random.bits()};
        if (random.below(2))
            spec.roi = OrvROI{random.below(2), random.below(spec.width), random.below(spec.height),
                              random.between(1, 40), random.between(1, 40)};
        expectNaive(spec, round % 3 ? randomKernel(random, round % 2 ? 12 : 90)
                                    : kernelOf(catalogue[size_t(round / 3) % catalogue.size()]));
    }
    // Rows that take several chunks, rings that go round often.
    for (auto [width, height] : {std::pair(1301, 9), std::pair(6, 700), std::pair(530, 31)}) {
        SCOPED_TRACE(width);
        PictureSpec spec = {.width = width, .height = height, .seed = 5};
        expectNaive(spec, randomKernel(random, 14));
        expectNaive(spec, kernelOf({ORV_WT_COIFLET, 5, 0}));
    }
}

// Rows wait in a ring as long as the filters, however many there are.
TEST(Wavelet, MemoryDoesNotGrowWithTheHeight)
{
    OrvWtKernel kernel = kernelOf({ORV_WT_DAUBECHIES, 4, 0});
    size_t asked[2];
    for (int tall : {0, 1}) {
        Set set({.width = 64, .height = 100 + 900 * tall});
        testheap::refuse(0);
        decompose(&kernel, set.images);
        reconstruct(&kernel, set.images);
        asked[tall] = testheap::asked();
    }
    EXPECT_EQ(asked[0], asked[1]);
}

TEST(Wavelet, WhatIsNoNumberBecomesNothing)
{
    OrvWtKernel kernel = kernelOf({ORV_WT_HAAR, 0, 0});
    Set set({.width = 75, .height = 2});
    for (Picture& band : set.bands)
        band.fill([](int, int, int) { return NAN; });
    reconstruct(&kernel, set.images);
    for (uint32_t value : set.whole.values())
        EXPECT_EQ(value, 0u);
}

TEST(Wavelet, ChecksInOrder)
{
    OrvWtKernel kernel;
    struct {
        std::string function, whole, suffix, filters;
        OrvWtFilter *low, *high;
        int32_t (*transform)(const OrvWtKernel* kernel, OrvImage* const* images);
    } sides[] = {
        {"orvWtDecompose", "src", "Dst", "wtKernel->filtDec", &kernel.filtDecLow, &kernel.filtDecHigh, decompose},
        {"orvWtReconstruct", "dst", "Src", "wtKernel->filtRec", &kernel.filtRecLow, &kernel.filtRecHigh, reconstruct},
    };
    Picture tiled({.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8});
    OrvROI inside = {0, 0, 0, 1, 1};
    for (auto& side : sides)
        for (bool oddWidth : {true, false}) {
            SCOPED_TRACE(side.function);
            kernel = kernelOf({ORV_WT_DAUBECHIES, 2, 0});
            const OrvWtKernel good = kernel;
            const OrvWtKernel* passed = &kernel;
            PictureSpec whole = {.width = 9, .height = 6, .roi = OrvROI{1, 1 + oddWidth, 0, 20, 5 + oddWidth}};
            PictureSpec band = {.depth = ORV_DEPTH_32F, .width = 4, .height = 3};
            std::string names[5] = {side.whole, "approx" + side.suffix, "xDetail" + side.suffix,
                                    "yDetail" + side.suffix, "dDetail" + side.suffix};

            Faults faults{{side.function}};
            faults.add(-27, "Null pointer by wtKernel was passed.", [&](auto) { passed = nullptr; });
            faults.addFilter(side.low, side.filters + "Low");
            faults.addFilter(side.high, side.filters + "High");
            // A fault of images `first` to `last`, whose names come where the text has a star.
            auto add = [&](int first, int last, int status, const std::string& text,
                           const std::function<void(OrvImage*)>& make) {
                for (int i = first; i <= last; ++i)
                    faults.add(status, std::regex_replace(text, std::regex("\\*"), names[i]),
                               [=](OrvImage* const* images) { make(images[i]); });
            };
            for (int i = 0; i < 5; ++i) {
                add(i, i, -20, "Incorrect image: *.", [](OrvImage* image) { image->origin = 7; });
                add(i, i, -5, "Tiled image not supported: *.", [&](OrvImage* image) {
                    image->tileInfo = tiled->tileInfo;
                    image->imageData = nullptr;
                });
            }
            add(1, 4, -25, "Error *->roi != NULL.", [&](OrvImage* image) { image->roi = &inside; });
            auto otherDepth = [](OrvImage* image) { image->depth = ORV_DEPTH_16S; };
            add(0, 0, -17, "Error *->depth != ORV_DEPTH_8U.", otherDepth);
            add(1, 4, -17, "Error *->depth != ORV_DEPTH_32F.", otherDepth);
            add(0, 4, -15, "Error *->nChannels != 1.", [](OrvImage* image) { image->nChannels = 3; });
            add(0, 0, -25, "Error *->roi->xOffset >= *->width.", [](OrvImage* image) { image->roi->xOffset = 9; });
            add(0, 0, -25, "Error *->roi->yOffset >= *->height.", [](OrvImage* image) { image->roi->yOffset = 6; });
            auto half = [&](const std::string& actual, bool odd) {
                std::string of = actual + "(" + side.whole + ")";
                return "Error " + actual + "(*) != " + (odd ? "(" + of + " + 1)" : of) + " / 2.";
            };
            for (int i = 1; i < 5; ++i) {
                add(i, i, -10, half("actualWidth", oddWidth), [](OrvImage* image) { image->width = 3; });
                add(i, i, -10, half("actualHeight", !oddWidth), [](OrvImage* image) { image->height = 4; });
            }
            add(2, 4, -13, "Not equal decomposed images widthStep values.",
                [](OrvImage* image) { image->widthStep += 4; });
            Set set({.width = 8, .height = 6});
            auto allocates = [&](int n) {
                testheap::refuse(n);
                side.transform(&kernel, set.images);
                return testheap::refused();
            };
            for (int n = 1; allocates(n); ++n)
                faults.add(-4, "No working memory.", refuseMemory(n));
            testheap::refuse(0);

            auto call = [&](OrvImage* const* images) {
                EXPECT_LT(statusOf([&] { return side.transform(passed, images); }), 0);
                kernel = good;
                passed = &kernel;
            };
            expectFaultsInOrder({whole, band, band, band, band}, call, faults.list);

            Reports reports;
            OrvImage* none[5] = {};
            EXPECT_EQ(side.transform(&kernel, none), -9);
            EXPECT_EQ(reports.take(), "-9 " + side.function + " Incorrect image: " + side.whole + ".\n");
        }
}
