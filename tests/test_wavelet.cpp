// Wavelets: filter banks by what defines them, and the transforms against their definition.
#include <gtest/gtest.h>

#include <cstring>

#include "checks.h"
#include "picture.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Type {
    int32_t wtType, par1, par2;
    int moments;  // of the decomposition: high-pass taps times k^m add up to 0 for m below this
};

std::string nameOf(const Type& type)
{
    return "type " + std::to_string(type.wtType) + " with " + std::to_string(type.par1) + ", " +
           std::to_string(type.par2);
}

const std::vector<Type>& catalogue()
{
    static const std::vector<Type> types = [] {
        std::vector<Type> all = {{ORV_WT_HAAR, 0, 0, 1}, {ORV_WT_VAIDYANATHAN, 0, 0, 0}};
        for (int order = 1; order <= 10; ++order)
            all.push_back({ORV_WT_DAUBECHIES, order, 0, order});
        for (int order = 4; order <= 10; ++order)
            all.push_back({ORV_WT_SYMLET, order - 3, 0, order});
        for (int order = 1; order <= 5; ++order)
            all.push_back({ORV_WT_COIFLET, order, 0, 2 * order});
        for (auto [p, longest] : {std::pair(1, 5), std::pair(2, 8), std::pair(3, 9)})
            for (int q = 2 - p % 2; q <= longest; q += 2) {
                all.push_back({ORV_WT_BSPLINE, p, q, q});
                all.push_back({ORV_WT_BSPLINE_DUAL, p, q, p});
            }
        all.push_back({ORV_WT_LINEAR_SPLINE, 0, 0, 2});
        all.push_back({ORV_WT_QUADRATIC_SPLINE, 0, 0, 3});
        return all;
    }();
    return types;
}

OrvWtKernel kernelOf(const Type& type)
{
    OrvWtKernel kernel;
    EXPECT_EQ(orvWtInit(type.wtType, type.par1, type.par2, &kernel), 0);
    return kernel;
}

std::vector<double> tapsOf(const OrvWtFilter& filter)
{
    return {filter.taps, filter.taps + filter.length};
}

double sumOf(const OrvWtFilter& filter, int power = 0)
{
    double sum = 0;
    for (int k = 0; k < filter.length; ++k)
        sum += filter.taps[k] * std::pow((k - filter.length / 2.0) / filter.length, power);
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

// ---- The transforms, as they are defined ----------------------------------------------------------------------------

using Line = std::vector<float>;

Line naiveAnalysis(Line x, const OrvWtFilter& filter)
{
    if (x.size() % 2)
        x.push_back(x.back());
    int n = int(x.size());
    Line out;
    for (int i = 0; i < n / 2; ++i) {
        double sum = 0;
        for (int k = 0; k < filter.length; ++k)
            sum += double(filter.taps[k]) * x[size_t(((2 * i + filter.offset - k) % n + n) % n)];
        out.push_back(float(sum));
    }
    return out;
}

Line naiveSynthesis(const Line& a, const Line& d, const OrvWtFilter& low, const OrvWtFilter& high)
{
    int n = 2 * int(a.size());
    Line out;
    for (int i = 0; i < n; ++i) {
        double sum = 0;
        auto add = [&](const Line& half, const OrvWtFilter& filter) {
            for (int k = 0; k < filter.length; ++k) {
                int at = ((i + filter.offset - k) % n + n) % n;
                if (at % 2 == 0)
                    sum += double(filter.taps[k]) * half[size_t(at / 2)];
            }
        };
        add(a, low);
        add(d, high);
        out.push_back(float(sum));
    }
    return out;
}

// Rows of one band.
using Band = std::vector<Line>;

Line columnOf(const Band& band, size_t x)
{
    Line column;
    for (const Line& row : band)
        column.push_back(row[x]);
    return column;
}

Band transposed(const Band& band)
{
    Band result;
    for (size_t x = 0; x < band[0].size(); ++x)
        result.push_back(columnOf(band, x));
    return result;
}

Band filterRows(const Band& band, const OrvWtFilter& filter)
{
    Band result;
    for (const Line& row : band)
        result.push_back(naiveAnalysis(row, filter));
    return result;
}

// approx, xDetail, yDetail, dDetail
std::vector<Band> naiveDecompose(const Band& picture, const OrvWtKernel& kernel)
{
    std::vector<Band> bands;
    for (const OrvWtFilter* along : {&kernel.filtDecLow, &kernel.filtDecHigh})
        for (const OrvWtFilter* across : {&kernel.filtDecLow, &kernel.filtDecHigh})
            bands.push_back(transposed(filterRows(transposed(filterRows(picture, *along)), *across)));
    return bands;
}

Band naiveReconstruct(const std::vector<Band>& bands, const OrvWtKernel& kernel)
{
    auto mergeColumns = [&](const Band& low, const Band& high) {
        Band result;
        for (size_t x = 0; x < low[0].size(); ++x)
            result.push_back(
                naiveSynthesis(columnOf(low, x), columnOf(high, x), kernel.filtRecLow, kernel.filtRecHigh));
        return transposed(result);
    };
    Band low = mergeColumns(bands[0], bands[1]);
    Band high = mergeColumns(bands[2], bands[3]);
    Band result;
    for (size_t y = 0; y < low.size(); ++y)
        result.push_back(naiveSynthesis(low[y], high[y], kernel.filtRecLow, kernel.filtRecHigh));
    return result;
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

// A picture and its four subbands.
struct Set {
    Picture whole;
    Picture approx, xDetail, yDetail, dDetail;
    OrvROI area;

    explicit Set(const PictureSpec& spec)
        : whole(spec),
          approx(half(spec)),
          xDetail(half(spec)),
          yDetail(half(spec)),
          dDetail(half(spec)),
          area(areaOf(spec))
    {
    }

    static OrvROI areaOf(const PictureSpec& spec)
    {
        OrvROI roi = spec.roi.value_or(OrvROI{0, 0, 0, spec.width, spec.height});
        roi.width = std::min(roi.width, spec.width - roi.xOffset);
        roi.height = std::min(roi.height, spec.height - roi.yOffset);
        return roi;
    }
    static PictureSpec half(const PictureSpec& spec)
    {
        OrvROI roi = areaOf(spec);
        return {.depth = ORV_DEPTH_32F, .width = (roi.width + 1) / 2, .height = (roi.height + 1) / 2};
    }

    Picture* band(int i) { return std::vector<Picture*>{&approx, &xDetail, &yDetail, &dDetail}[size_t(i)]; }

    int32_t decompose(const OrvWtKernel& kernel)
    {
        return orvWtDecompose(&kernel, whole, approx, xDetail, yDetail, dDetail);
    }
    int32_t reconstruct(const OrvWtKernel& kernel, OrvImage* dst)
    {
        return orvWtReconstruct(&kernel, approx, xDetail, yDetail, dDetail, dst);
    }

    Band pixels()
    {
        Band rows(size_t(area.height));
        for (int y = 0; y < area.height; ++y)
            for (int x = 0; x < area.width; ++x)
                rows[size_t(y)].push_back(float(whole.get(area.xOffset + x, area.yOffset + y)));
        return rows;
    }
    std::string faults()
    {
        return whole.faults() + approx.faults() + xDetail.faults() + yDetail.faults() + dDetail.faults();
    }
};

Band valuesOf(Picture& picture)
{
    Band rows(size_t(picture->height));
    for (int y = 0; y < picture->height; ++y)
        for (int x = 0; x < picture->width; ++x)
            rows[size_t(y)].push_back(float(picture.get(x, y)));
    return rows;
}

PictureSpec randomSpec(Random& random, int largest)
{
    PictureSpec spec = {.width = random.between(1, largest),
                        .height = random.between(1, largest),
                        .extraStep = 4 * random.below(2),
                        .seed = random.bits()};
    if (random.below(2))
        spec.roi = OrvROI{random.below(2), random.below(spec.width), random.below(spec.height),
                          random.between(1, largest), random.between(1, largest)};
    return spec;
}

// Filters that need not fit each other.
struct RandomFilters {
    std::vector<float> taps[4];
    OrvWtKernel kernel = {};

    RandomFilters(Random& random, int longest)
    {
        OrvWtFilter filters[4];
        for (int i = 0; i < 4; ++i) {
            int length = i % 2 && random.below(2) ? int(taps[i - 1].size()) : random.between(2, longest);
            for (int k = 0; k < length; ++k)
                taps[i].push_back(float(random.between(-1000, 1000)) / 771.0f);
            filters[i] = {taps[i].data(), length, random.below(length), 0};
        }
        EXPECT_EQ(orvWtInitUserFilter4(filters, &kernel), 0);
    }
    ~RandomFilters() { orvWtFree(&kernel); }
};

void expectNaive(Set& set, const OrvWtKernel& kernel)
{
    ASSERT_EQ(set.decompose(kernel), 0);
    std::vector<Band> bands = naiveDecompose(set.pixels(), kernel);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(valuesOf(*set.band(i)) == bands[size_t(i)]) << "band " << i;

    // What is reconstructed need not come from a decomposition.
    Random random(set.whole.layout().seed);
    for (int i = 0; i < 4; ++i) {
        set.band(i)->fill([&](int, int, int) { return float(random.between(-3000, 3000)) / 13; });
        bands[size_t(i)] = valuesOf(*set.band(i));
    }
    Picture expected(set.whole.layout());
    Band merged = naiveReconstruct(bands, kernel);
    for (int y = 0; y < set.area.height; ++y)
        for (int x = 0; x < set.area.width; ++x)
            expected.set(set.area.xOffset + x, set.area.yOffset + y, 0,
                         std::nearbyint(std::clamp(merged[size_t(y)][size_t(x)], 0.f, 255.f)));
    ASSERT_EQ(set.reconstruct(kernel, set.whole), 0);
    ASSERT_TRUE(set.whole.values() == expected.values());
    ASSERT_EQ(set.faults(), "");
}

void expectPictureBack(int width, int height)
{
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
    Set set({.width = width, .height = height, .seed = uint64_t(width * 100 + height)});
    Picture back({.width = width, .height = height, .seed = 99});
    for (const Type& type : catalogue()) {
        OrvWtKernel kernel = kernelOf(type);
        ASSERT_EQ(set.decompose(kernel), 0);
        ASSERT_EQ(set.reconstruct(kernel, back), 0);
        for (int y = 0; y < height; ++y) {
            uint8_t* row = back->imageData + y * back->widthStep;
            ASSERT_EQ(memcmp(set.whole->imageData + y * set.whole->widthStep, row, size_t(width)), 0) << nameOf(type);
            memset(row, 0x5A, size_t(width));
        }
    }
    ASSERT_EQ(set.faults() + back.faults(), "");
}

std::string reportsOf(int32_t expected, const std::function<int32_t()>& call)
{
    Reports reports;
    orvSetErrStatus(-3);
    EXPECT_EQ(call(), expected);
    EXPECT_EQ(orvGetErrStatus(), expected);
    return reports.take();
}

}  // namespace

TEST(WaveletCatalogue, BanksAreWhatDefinesThem)
{
    for (const Type& type : catalogue()) {
        SCOPED_TRACE(nameOf(type));
        OrvWtKernel kernel = kernelOf(type);
        EXPECT_EQ(kernel.wtType, type.wtType);
        EXPECT_EQ(kernel.par1, type.par1);
        EXPECT_EQ(kernel.par2, type.par2);
        EXPECT_NEAR(sumOf(kernel.filtDecLow), 1, 1e-6);
        EXPECT_NEAR(sumOf(kernel.filtRecLow), 2, 1e-6);
        for (int power = 0; power < type.moments; ++power)
            EXPECT_NEAR(sumOf(kernel.filtDecHigh, power), 0, 1e-6) << power;
        for (int shift = -16; shift <= 16; ++shift) {
            EXPECT_NEAR(product(kernel.filtDecLow, kernel.filtRecLow, shift), shift == 0, 1e-6) << shift;
            EXPECT_NEAR(product(kernel.filtDecHigh, kernel.filtRecHigh, shift), shift == 0, 1e-6) << shift;
            EXPECT_NEAR(product(kernel.filtDecLow, kernel.filtRecHigh, shift), 0, 1e-6) << shift;
            EXPECT_NEAR(product(kernel.filtDecHigh, kernel.filtRecLow, shift), 0, 1e-6) << shift;
        }
        bool spline = type.wtType >= ORV_WT_BSPLINE;
        EXPECT_EQ(kernel.orthogonality, spline ? ORV_WT_BIORTHOGONAL : ORV_WT_ORTHONORMAL);
        for (const OrvWtFilter* filter :
             {&kernel.filtDecLow, &kernel.filtDecHigh, &kernel.filtRecLow, &kernel.filtRecHigh}) {
            std::vector<double> taps = tapsOf(*filter), reverse(taps.rbegin(), taps.rend()), negative = reverse;
            for (double& tap : negative)
                tap = -tap;
            EXPECT_EQ(filter->symmetry, taps == reverse    ? ORV_WT_SYMMETRIC
                                        : taps == negative ? ORV_WT_ANTISYMMETRIC
                                                           : ORV_WT_ASYMMETRIC);
        }
        if (spline)
            continue;
        // Each filter of an orthonormal bank is the other side's, reversed and doubled.
        for (auto [dec, rec] :
             {std::pair(kernel.filtDecLow, kernel.filtRecLow), std::pair(kernel.filtDecHigh, kernel.filtRecHigh)})
            for (int k = 0; k < dec.length; ++k)
                EXPECT_NEAR(2 * dec.taps[k], rec.taps[rec.length - 1 - k], 1e-6);
    }
}

TEST(WaveletCatalogue, LengthsAndPlaces)
{
    for (const Type& type : catalogue()) {
        SCOPED_TRACE(nameOf(type));
        OrvWtFilter low = kernelOf(type).filtDecLow;
        int largest = int(std::max_element(low.taps, low.taps + low.length,
                                           [](float a, float b) { return std::abs(a) < std::abs(b); }) -
                          low.taps);
        int length = 0;
        if (type.wtType == ORV_WT_DAUBECHIES && type.par1 > 1)
            length = 2 * type.par1;
        if (type.wtType == ORV_WT_SYMLET)
            length = 2 * type.par1 + 6;
        if (type.wtType == ORV_WT_COIFLET && type.par1 > 1)
            length = 6 * type.par1;
        if (type.wtType == ORV_WT_VAIDYANATHAN)
            length = 24;
        if (length) {
            EXPECT_EQ(std::pair(low.length, low.offset), std::pair(length, largest));
        }
    }
    // The scaling function of a Coiflet has vanishing moments too.
    for (int order = 1; order <= 3; ++order) {
        OrvWtFilter low = kernelOf({ORV_WT_COIFLET, order, 0, 0}).filtDecLow;
        for (int power = 1; power < 2 * order; ++power) {
            double moment = 0;
            for (int k = 0; k < low.length; ++k)
                moment += low.taps[k] * std::pow((k - 2.0 * order) / low.length, power);
            EXPECT_NEAR(moment, 0, 1e-6) << order << ' ' << power;
        }
    }
}

// Designed for its stop band instead of vanishing moments.
TEST(WaveletCatalogue, VaidyanathanStopsHighFrequencies)
{
    OrvWtFilter low = kernelOf({ORV_WT_VAIDYANATHAN, 0, 0, 0}).filtDecLow;
    for (double frequency = 0.7; frequency <= 1; frequency += 0.01) {
        double real = 0;
        double imaginary = 0;
        for (int k = 0; k < low.length; ++k) {
            real += low.taps[k] * std::cos(frequency * k * 3.14159265358979);
            imaginary += low.taps[k] * std::sin(frequency * k * 3.14159265358979);
        }
        EXPECT_LT(std::hypot(real, imaginary), 6e-4) << frequency;
    }
}

TEST(WaveletCatalogue, TellingRows)
{
    struct {
        Type type;
        std::vector<double> decLow, decHigh, recLow, recHigh;
    } rows[] = {
        {{ORV_WT_HAAR, 0, 0, 0}, {0.5, 0.5}, {0.5, -0.5}, {1, 1}, {-1, 1}},
        {{ORV_WT_DAUBECHIES, 1, 0, 0}, {0.5, 0.5}, {0.5, -0.5}, {1, 1}, {-1, 1}},
        {{ORV_WT_LINEAR_SPLINE, 0, 0, 0},
         {0.25, 0.5, 0.25},
         {-0.125, -0.25, 0.75, -0.25, -0.125},
         {-0.25, 0.5, 1.5, 0.5, -0.25},
         {-0.5, 1, -0.5}},
        {{ORV_WT_QUADRATIC_SPLINE, 0, 0, 0},
         {0.125, 0.375, 0.375, 0.125},
         {0.046875, 0.140625, -0.109375, -0.703125, 0.703125, 0.109375, -0.140625, -0.046875},
         {0.09375, -0.28125, -0.21875, 1.40625, 1.40625, -0.21875, -0.28125, 0.09375},
         {-0.25, 0.75, -0.75, 0.25}},
        {{ORV_WT_BSPLINE_DUAL, 2, 2, 0},
         {-0.125, 0.25, 0.75, 0.25, -0.125},
         {0.25, -0.5, 0.25},
         {0.5, 1, 0.5},
         {0.25, 0.5, -1.5, 0.5, 0.25}},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(nameOf(row.type));
        OrvWtKernel kernel = kernelOf(row.type);
        EXPECT_EQ(tapsOf(kernel.filtDecLow), row.decLow);
        EXPECT_EQ(tapsOf(kernel.filtDecHigh), row.decHigh);
        EXPECT_EQ(tapsOf(kernel.filtRecLow), row.recLow);
        EXPECT_EQ(tapsOf(kernel.filtRecHigh), row.recHigh);
    }
    auto places = [](int32_t wtType, int32_t par1, int32_t par2) {
        OrvWtKernel kernel = kernelOf({wtType, par1, par2, 0});
        std::string text;
        for (auto& filter : {kernel.filtDecLow, kernel.filtDecHigh, kernel.filtRecLow, kernel.filtRecHigh})
            text += std::to_string(filter.length) + '/' + std::to_string(filter.offset) + ' ';
        return text;
    };
    EXPECT_EQ(places(ORV_WT_HAAR, -7, 99), "2/1 2/1 2/0 2/0 ");
    EXPECT_EQ(places(ORV_WT_COIFLET, 1, 0), "6/4 6/2 6/1 6/3 ");
    EXPECT_EQ(places(ORV_WT_DAUBECHIES, 4, -1), "8/1 8/5 8/6 8/2 ");
    EXPECT_EQ(places(ORV_WT_BSPLINE, 1, 1), "2/0 2/0 2/1 2/1 ");
    EXPECT_EQ(places(ORV_WT_BSPLINE, 2, 4), "3/1 9/3 9/4 3/2 ");
    EXPECT_EQ(places(ORV_WT_BSPLINE_DUAL, 2, 4), "9/3 3/1 3/2 9/4 ");
    EXPECT_EQ(places(ORV_WT_BSPLINE, 3, 9), "4/1 20/9 20/10 4/2 ");
    EXPECT_EQ(places(ORV_WT_QUADRATIC_SPLINE, 0, 0), "4/1 8/3 8/4 4/2 ");
}

TEST(WaveletCatalogue, Refusals)
{
    OrvWtKernel kernel;
    memset(&kernel, 0x5A, sizeof kernel);
    OrvWtKernel before = kernel;
    std::string type = "-5 orvWtInit Bad wtType value.\n", par1 = "-5 orvWtInit Bad par1   value.\n",
                par2 = "-5 orvWtInit Bad par2   value.\n";
    struct {
        int32_t wtType, par1, par2;
        std::string report;
    } cases[] = {{9, 1, 1, type},  {-1, 1, 1, type}, {INT32_MAX, 0, 0, type}, {1, 0, 0, par1}, {1, 11, 0, par1},
                 {2, 0, 0, par1},  {2, 8, 0, par1},  {3, 0, 0, par1},         {3, 6, 0, par1}, {5, 0, 1, par1},
                 {5, 4, 99, par1}, {6, -1, 1, par1}, {5, 2, 3, par2},         {5, 1, 7, par2}, {6, 3, 0, par2},
                 {6, 2, 10, par2}, {5, 3, 2, par2}};
    for (auto& one : cases)
        EXPECT_EQ(reportsOf(-5, [&] { return orvWtInit(one.wtType, one.par1, one.par2, &kernel); }), one.report)
            << one.wtType << ' ' << one.par1 << ' ' << one.par2;
    EXPECT_EQ(memcmp(&kernel, &before, sizeof kernel), 0);
    EXPECT_EQ(reportsOf(-27, [] { return orvWtInit(99, 0, 0, nullptr); }),
              "-27 orvWtInit Null pointer by wtKernel was passed.\n");
    EXPECT_EQ(reportsOf(0, [&] { return orvWtInit(ORV_WT_HAAR, 77, -1, &kernel); }), "");
    EXPECT_EQ(kernel.par1, 0);
}

TEST(WaveletKernel, CopiesTheUsersFilters)
{
    float taps[4][3] = {{1, 2}, {3, 4, 5}, {6, 7}, {8, 9, 10}};
    OrvWtFilter filters[4];
    float* tapPointers[4];
    int32_t lengths[4], offsets[4];
    for (int i = 0; i < 4; ++i) {
        filters[i] = {taps[i], 2 + i % 2, i % 2, 0};
        tapPointers[i] = taps[i];
        lengths[i] = 2 + i % 2;
        offsets[i] = i % 2;
    }
    std::function<int32_t(OrvWtKernel*)> initialisers[] = {
        [&](OrvWtKernel* kernel) { return orvWtInitUserFilter4(filters, kernel); },
        [&](OrvWtKernel* kernel) {
            return orvWtInitUserFilter(&filters[0], &filters[1], &filters[2], &filters[3], kernel);
        },
        [&](OrvWtKernel* kernel) { return orvWtInitUserTaps(tapPointers, lengths, offsets, kernel); },
    };
    for (auto& initialise : initialisers) {
        int blocks = testheap::blocks();
        OrvWtKernel kernel;
        memset(&kernel, 0x5A, sizeof kernel);
        OrvWtKernel before = kernel;
        for (int n = 1; n <= 4; ++n) {
            testheap::refuse(n);
            EXPECT_NE(reportsOf(-4, [&] { return initialise(&kernel); }).find("No working memory.\n"),
                      std::string::npos);
            testheap::refuse(0);
            EXPECT_EQ(testheap::blocks(), blocks);
            EXPECT_EQ(memcmp(&kernel, &before, sizeof kernel), 0);
        }
        EXPECT_EQ(reportsOf(0, [&] { return initialise(&kernel); }), "");
        EXPECT_EQ(testheap::blocks(), blocks + 4);
        EXPECT_EQ(kernel.wtType, ORV_WT_USER);
        EXPECT_EQ(kernel.par1 | kernel.par2, 0);
        EXPECT_EQ(kernel.orthogonality, 3);
        const OrvWtFilter* made[] = {&kernel.filtDecLow, &kernel.filtDecHigh, &kernel.filtRecLow, &kernel.filtRecHigh};
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(tapsOf(*made[i]), tapsOf(filters[i]));
            EXPECT_NE(made[i]->taps, taps[i]);
            EXPECT_EQ(made[i]->offset, i % 2);
            EXPECT_EQ(made[i]->symmetry, 3);
        }
        EXPECT_EQ(orvWtFree(&kernel), 0);
        EXPECT_EQ(testheap::blocks(), blocks);
        OrvWtKernel zero = {};
        EXPECT_EQ(memcmp(&kernel, &zero, sizeof kernel), 0);
        EXPECT_EQ(orvWtFree(&kernel), 0);
    }
    int blocks = testheap::blocks();
    OrvWtKernel kernel = kernelOf({ORV_WT_SYMLET, 2, 0, 0});
    EXPECT_EQ(orvWtFree(&kernel), 0);
    EXPECT_EQ(kernel.filtRecHigh.taps, nullptr);
    EXPECT_EQ(testheap::blocks(), blocks);

    Reports reports;
    orvSetErrStatus(-3);
    EXPECT_EQ(orvWtFree(&kernel), 0);
    EXPECT_EQ(orvGetErrStatus(), -3);
    EXPECT_EQ(orvWtFree(nullptr), -27);
    EXPECT_EQ(reports.take(), "-27 orvWtFree Null pointer by wtKernel was passed.\n");
}

// Of all filters the first fault counts, and of its faults the first of these.
TEST(WaveletKernel, ChecksTheUsersFilters)
{
    float taps[2] = {1, 1};
    const OrvWtFilter good = {taps, 2, 1, 0};
    const OrvWtFilter bad[4] = {{nullptr, 1, 9, 0}, {taps, 1, 9, 0}, {taps, 2, 2, 0}, {taps, 2, -1, 0}};
    const char* names[4] = {"(*decLow)", "(*decHigh)", "(*recLow)", "(*recHigh)"};
    OrvWtKernel kernel;
    for (int i = 0; i < 4; ++i)
        for (int fault = 0; fault < 4; ++fault) {
            OrvWtFilter filters[4];
            float* pointers[4];
            int32_t lengths[4], offsets[4];
            for (int k = 0; k < 4; ++k) {
                filters[k] = k < i ? good : k == i ? bad[fault] : bad[0];
                pointers[k] = taps;
                lengths[k] = filters[k].length;
                offsets[k] = filters[k].offset;
            }
            pointers[i] = filters[i].taps;
            auto text = [&](const std::string& filter, const std::string& length, const std::string& offset) {
                std::string texts[] = {filter + ".taps == NULL.", length + " < 2.", offset + " >= " + length + ".",
                                       offset + " < 0."};
                return "Error " + texts[fault] + "\n";
            };
            std::string name = "filt[" + std::to_string(i) + "]";
            EXPECT_EQ(reportsOf(-29, [&] { return orvWtInitUserFilter4(filters, &kernel); }),
                      "-29 orvWtInitUserFilter4 " + text(name, name + ".length", name + ".offset"));
            name = names[i];
            EXPECT_EQ(
                reportsOf(
                    -29,
                    [&] { return orvWtInitUserFilter(&filters[0], &filters[1], &filters[2], &filters[3], &kernel); }),
                "-29 orvWtInitUserFilter " + text(name, name + ".length", name + ".offset"));
            std::string index = "[" + std::to_string(i) + "]";
            EXPECT_EQ(
                reportsOf(fault ? -29 : -27, [&] { return orvWtInitUserTaps(pointers, lengths, offsets, &kernel); }),
                fault ? "-29 orvWtInitUserTaps " + text("", "len_filt" + index, "ofs_filt" + index)
                      : "-27 orvWtInitUserTaps Null pointer by tap_filt" + index + " was passed.\n");
        }

    auto null = [](const char* function, const char* argument) {
        return std::string("-27 ") + function + " Null pointer by " + argument + " was passed.\n";
    };
    float* pointers[4] = {};
    int32_t numbers[4] = {};
    const OrvWtFilter* g = &good;
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserFilter4(nullptr, nullptr); }),
              null("orvWtInitUserFilter4", "wtKernel"));
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserFilter4(nullptr, &kernel); }),
              null("orvWtInitUserFilter4", "filt"));
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserFilter(g, g, g, g, nullptr); }),
              null("orvWtInitUserFilter", "wtKernel"));
    for (int i = 0; i < 4; ++i) {
        const char* arguments[4] = {"decLow", "decHigh", "recLow", "recHigh"};
        EXPECT_EQ(reportsOf(-27,
                            [&] {
                                return orvWtInitUserFilter(i > 0 ? g : nullptr, i > 1 ? g : nullptr,
                                                           i > 2 ? g : nullptr, nullptr, &kernel);
                            }),
                  null("orvWtInitUserFilter", arguments[i]));
    }
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserTaps(nullptr, nullptr, nullptr, nullptr); }),
              null("orvWtInitUserTaps", "wtKernel"));
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserTaps(nullptr, nullptr, nullptr, &kernel); }),
              null("orvWtInitUserTaps", "tap_filt"));
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserTaps(pointers, nullptr, nullptr, &kernel); }),
              null("orvWtInitUserTaps", "len_filt"));
    EXPECT_EQ(reportsOf(-27, [&] { return orvWtInitUserTaps(pointers, numbers, nullptr, &kernel); }),
              null("orvWtInitUserTaps", "ofs_filt"));
}

// Bit for bit, for filters of all shapes: longer than the image, of even and odd lengths, at any offsets.
TEST(Wavelet, IsTheDefinedTransform)
{
    Random random(3);
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(round);
        Set set(randomSpec(random, 40));
        if (round % 3) {
            RandomFilters filters(random, round % 2 ? 12 : 90);
            expectNaive(set, filters.kernel);
        } else {
            expectNaive(set, kernelOf(catalogue()[size_t(round / 3) % catalogue().size()]));
        }
        if (HasFatalFailure())
            return;
    }
}

// Rows that take several chunks, rings that go round often.
TEST(Wavelet, WideAndHighPictures)
{
    Random random(4);
    for (auto [width, height] : {std::pair(1301, 9), std::pair(6, 700), std::pair(530, 31)}) {
        Set set({.width = width, .height = height, .seed = 5});
        RandomFilters filters(random, 14);
        expectNaive(set, filters.kernel);
        Set other({.width = width, .height = height, .seed = 6});
        expectNaive(other, kernelOf({ORV_WT_COIFLET, 5, 0, 0}));
    }
}

TEST(Wavelet, GivesThePictureBack)
{
    for (int height = 1; height <= 40; ++height)
        for (int width = 1; width <= 40 && !HasFailure(); ++width)
            expectPictureBack(width, height);
    for (auto [width, height] : {std::pair(257, 131), std::pair(1, 997), std::pair(640, 2), std::pair(383, 512)})
        expectPictureBack(width, height);
}

TEST(Wavelet, ChecksInOrder)
{
    PictureSpec whole = {.width = 9, .height = 6, .roi = OrvROI{1, 2, 0, 20, 5}};
    PictureSpec half = {.depth = ORV_DEPTH_32F, .width = 4, .height = 3};
    struct {
        const char* function;
        std::string whole, suffix, low, high;
        std::function<int32_t(const OrvWtKernel* kernel, OrvImage* const* images)> call;
    } sides[] = {
        {"orvWtDecompose", "src", "Dst", "wtKernel->filtDecLow", "wtKernel->filtDecHigh",
         [](const OrvWtKernel* kernel, OrvImage* const* images) {
             return orvWtDecompose(kernel, images[0], images[1], images[2], images[3], images[4]);
         }},
        {"orvWtReconstruct", "dst", "Src", "wtKernel->filtRecLow", "wtKernel->filtRecHigh",
         [](const OrvWtKernel* kernel, OrvImage* const* images) {
             return orvWtReconstruct(kernel, images[1], images[2], images[3], images[4], images[0]);
         }},
    };
    Picture tiled({.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8});
    OrvROI inside = {0, 0, 0, 1, 1};
    for (auto& side : sides) {
        SCOPED_TRACE(side.function);
        OrvWtKernel kernel;
        bool decomposes = side.function == std::string("orvWtDecompose");
        OrvWtFilter& low = decomposes ? kernel.filtDecLow : kernel.filtRecLow;
        OrvWtFilter& high = decomposes ? kernel.filtDecHigh : kernel.filtRecHigh;
        std::string names[5] = {side.whole, "approx" + side.suffix, "xDetail" + side.suffix, "yDetail" + side.suffix,
                                "dDetail" + side.suffix};
        std::vector<Fault> faults;
        auto add = [&](int status, const std::string& text, std::function<void(OrvImage* const*)> make) {
            faults.push_back({std::to_string(status) + " " + side.function + " " + text + "\n", std::move(make)});
        };
        auto addFilter = [&](OrvWtFilter* filter, const std::string& name) {
            add(-29, "Error " + name + ".taps == NULL.", [=](OrvImage* const*) { filter->taps = nullptr; });
            add(-29, "Error " + name + ".length < 2.", [=](OrvImage* const*) { filter->length = 1; });
            add(-29, "Error " + name + ".offset >= " + name + ".length.",
                [=](OrvImage* const*) { filter->offset = filter->length = 2; });
            add(-29, "Error " + name + ".offset < 0.", [=](OrvImage* const*) { filter->offset = -1; });
        };
        addFilter(&low, side.low);
        addFilter(&high, side.high);
        for (int i = 0; i < 5; ++i) {
            add(-20, "Incorrect image: " + names[i] + ".", [=](OrvImage* const* images) { images[i]->origin = 7; });
            add(-5, "Tiled image not supported: " + names[i] + ".", [=, &tiled](OrvImage* const* images) {
                images[i]->origin = 0;
                images[i]->tileInfo = tiled->tileInfo;
                images[i]->imageData = nullptr;
            });
        }
        for (int i = 1; i < 5; ++i)
            add(-25, "Error " + names[i] + "->roi != NULL.",
                [=, &inside](OrvImage* const* images) { images[i]->roi = &inside; });
        for (int i = 0; i < 5; ++i)
            add(-17, "Error " + names[i] + "->depth != ORV_DEPTH_" + (i ? "32F." : "8U."),
                [=](OrvImage* const* images) { images[i]->depth = ORV_DEPTH_16S; });
        for (int i = 0; i < 5; ++i)
            add(-15, "Error " + names[i] + "->nChannels != 1.",
                [=](OrvImage* const* images) { images[i]->nChannels = 3; });
        add(-25, "Error " + side.whole + "->roi->xOffset >= " + side.whole + "->width.",
            [](OrvImage* const* images) { images[0]->roi->xOffset = images[0]->width; });
        add(-25, "Error " + side.whole + "->roi->yOffset >= " + side.whole + "->height.",
            [](OrvImage* const* images) { images[0]->roi->yOffset = images[0]->height; });
        for (int i = 1; i < 5; ++i) {
            add(-10, "Error actualWidth(" + names[i] + ") != (actualWidth(" + side.whole + ") + 1) / 2.",
                [=](OrvImage* const* images) { images[i]->width = 3; });
            add(-10, "Error actualHeight(" + names[i] + ") != (actualHeight(" + side.whole + ") + 1) / 2.",
                [=](OrvImage* const* images) { images[i]->height = 4; });
        }
        // The first of all to be made, in a kernel that is still whole.
        add(-13, "Not equal decomposed images widthStep values.", [&](OrvImage* const* images) {
            kernel = kernelOf({ORV_WT_DAUBECHIES, 2, 0, 0});
            images[3]->widthStep += 4;
        });
        expectFaultsInOrder(
            {whole, half, half, half, half},
            [&](OrvImage* const* images) {
                orvSetErrStatus(-2);
                int32_t status = side.call(&kernel, images);
                EXPECT_EQ(status, orvGetErrStatus());
            },
            faults);

        // An even size, and images that are not there.
        kernel = kernelOf({ORV_WT_HAAR, 0, 0, 0});
        Set set({.width = 8, .height = 8});
        OrvImage* images[5] = {set.whole, set.approx, set.xDetail, set.yDetail, set.dDetail};
        set.yDetail->height = 5;
        EXPECT_EQ(reportsOf(-10, [&] { return side.call(&kernel, images); }),
                  std::string("-10 ") + side.function + " Error actualHeight(" + names[3] + ") != actualHeight(" +
                      side.whole + ") / 2.\n");
        set.yDetail->width = 3;
        EXPECT_EQ(reportsOf(-10, [&] { return side.call(&kernel, images); }),
                  std::string("-10 ") + side.function + " Error actualWidth(" + names[3] + ") != actualWidth(" +
                      side.whole + ") / 2.\n");
        for (int i = 5; i-- > 0;) {
            images[i] = nullptr;
            EXPECT_EQ(reportsOf(-9, [&] { return side.call(&kernel, images); }),
                      std::string("-9 ") + side.function + " Incorrect image: " + names[i] + ".\n");
        }
        EXPECT_EQ(reportsOf(-27, [&] { return side.call(nullptr, images); }),
                  std::string("-27 ") + side.function + " Null pointer by wtKernel was passed.\n");
    }
}

TEST(Wavelet, WithoutMemoryNothingIsWritten)
{
    OrvWtKernel kernel = kernelOf({ORV_WT_DAUBECHIES, 4, 0, 0});
    for (auto [width, height] : {std::pair(50, 40), std::pair(3, 4)})
        for (bool decomposes : {true, false}) {
            SCOPED_TRACE(decomposes);
            Set set({.width = width, .height = height});
            set.decompose(kernel);
            set.whole.fillRandom(2);
            std::vector<uint32_t> before;
            auto values = [&] {
                std::vector<uint32_t> all = set.whole.values();
                for (int i = 0; i < 4; ++i)
                    for (uint32_t value : set.band(i)->values())
                        all.push_back(value);
                return all;
            };
            before = values();
            int blocks = testheap::blocks();
            for (int n = 1;; ++n) {
                ASSERT_LT(n, 20);
                testheap::refuse(n);
                Reports reports;
                int32_t status = decomposes ? set.decompose(kernel) : set.reconstruct(kernel, set.whole);
                bool refused = testheap::refused();
                testheap::refuse(0);
                EXPECT_EQ(testheap::blocks(), blocks);
                EXPECT_EQ(status, refused ? -4 : 0);
                if (!refused) {
                    EXPECT_GT(n, 3);
                    break;
                }
                EXPECT_EQ(reports.take(), std::string("-4 orvWt") + (decomposes ? "Decompose" : "Reconstruct") +
                                              " No working memory.\n");
                EXPECT_TRUE(values() == before) << n;
            }
            EXPECT_FALSE(values() == before);
        }
}
