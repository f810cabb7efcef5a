// Norms, extremes and moments.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"

namespace {

const int32_t normTypes[] = {ORV_NORM_C,          ORV_NORM_L1,          ORV_NORM_L2,
                             ORV_NORM_RELATIVE_C, ORV_NORM_RELATIVE_L1, ORV_NORM_RELATIVE_L2};

// Random layouts of one or two images of a depth; random values of floats are kept in bounds and free of NaN.
Layout randomLayout(Random& random, uint32_t depth, int images, int channels)
{
    Layout layout;
    int width = random.below(12) ? random.between(1, 70) : random.between(1000, 5000), height = random.between(1, 20);
    int order = random.below(2);
    for (int i = 0; i < images; ++i) {
        PictureSpec spec = randomPictureSpec(random, depth, channels, width, height);
        spec.order = order;
        std::optional<PictureSpec> mask;
        if (random.below(3) == 0)
            mask = randomMaskSpec(random, width, height);
        layout.images.push_back({spec, i, mask, i});
    }
    return layout;
}

void tameFloats(const Scene& scene)
{
    Random random(5);
    for (Picture* picture : scene.images)
        if (picture->layout().depth == ORV_DEPTH_32F)
            picture->fill([&](int, int, int) { return float(random.between(-100000, 100000)) / 64; });
}

double naiveNorm(const Scene& scene, int32_t type)
{
    uint32_t depth = scene.images[0]->layout().depth;
    long double value = 0, divisor = 0;
    auto add = [&](long double& sum, long double term) {
        term = std::abs(term);
        sum = type & ORV_NORM_C & 1 ? std::max(sum, term) : sum + (type & ORV_NORM_L2 ? term * term : term);
    };
    forSelectedPixels(scene, [&](int, int, const std::vector<PixelBits>& images) {
        for (size_t c = 0; c < images[0].size(); ++c) {
            long double a = numberOf(depth, images[0][c]);
            long double b = images.size() > 1 ? numberOf(depth, images[1][c]) : 0.0;
            add(value, a - b);
            add(divisor, b);
        }
    });
    if (type & ORV_NORM_L2)
        value = std::sqrt(value), divisor = std::sqrt(divisor);
    return double(type & 8 ? (divisor > 0 ? value / divisor : -1) : value);
}

bool isNear(double a, double b)
{
    return std::abs(a - b) <= 1e-12 * std::max(std::abs(a), std::abs(b));
}

}  // namespace

TEST(Norm, IsAsDefinedInEveryLayout)
{
    Random random(3);
    for (uint32_t depth : allDepths)
        for (int i = 0; i < 60; ++i) {
            int images = random.between(1, 2);
            Layout layout = randomLayout(random, depth, images, depth == ORV_DEPTH_1U ? 1 : random.between(1, 4));
            if (images == 2) {
                bool coi = layout.images[0].spec.roi && layout.images[0].spec.roi->coi > 0;
                bool other = layout.images[1].spec.roi && layout.images[1].spec.roi->coi > 0;
                if (coi != other || layout.images[0].spec.channels != layout.images[1].spec.channels ||
                    (!coi && layout.images[0].spec.alpha != layout.images[1].spec.alpha))
                    continue;
            }
            SCOPED_TRACE(depthName(depth) + ' ' + std::to_string(i) + layout.text());
            Scene scene(layout);
            tameFloats(scene);
            std::vector<OrvImage*> pointers = scene.pointers();
            for (int32_t type : normTypes) {
                if (images == 1 && type > ORV_NORM_L2)
                    continue;
                Reports reports;
                double norm = orvNorm(pointers[0], images == 2 ? pointers[1] : nullptr, type);
                double expected = naiveNorm(scene, type);
                ASSERT_TRUE(isNear(norm, expected)) << type << ' ' << norm << ' ' << expected;
                ASSERT_EQ(reports.take(), expected == -1 ? "-5 orvNorm Zero divided\n" : "");
            }
            ASSERT_EQ(scene.faults(), "");
            ASSERT_EQ(scene.openTiles(), 0);
        }
}

// Sums of a row count as unsigned, and those that 32 bits do not hold lose what lies above.
TEST(Norm, KeepsTotalsOfARowIn32Bits)
{
    for (int width : {40000, 66051, 66052, 70000}) {
        Picture bytes({.width = width, .height = 2});
        bytes.fill([](int, int, int) { return 255; });
        double squares = double(uint32_t(255 * 255 * uint64_t(width)));
        EXPECT_EQ(orvNorm(bytes, nullptr, ORV_NORM_L2), std::sqrt(2 * squares));
        Picture words({.depth = ORV_DEPTH_16U, .width = width, .height = 2});
        words.fill([](int, int, int) { return 65535; });
        EXPECT_EQ(orvNorm(words, nullptr, ORV_NORM_L1), 2.0 * uint32_t(65535 * uint64_t(width)));
        EXPECT_EQ(orvNorm(words, nullptr, ORV_NORM_L2), std::sqrt(2 * 65535.0 * 65535.0 * width));
    }
}

TEST(Norm, ChecksInOrder)
{
    PictureSpec spec = {.channels = 3, .width = 8, .height = 8};
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 8, .height = 8};
    Picture mask(bits), other(bits),
        empty({.depth = ORV_DEPTH_1U, .width = 8, .height = 8, .roi = OrvROI{0, 9, 0, 4, 4}});
    OrvROI chosen = {2, 0, 0, 8, 8};
    int32_t type = ORV_NORM_L1;
    const FaultOf fault{"orvNorm"};
    auto call = [&](OrvImage* const* images) {
        orvNorm(images[0], images[1], type);
        type = ORV_NORM_L1;
    };
    expectFaultsInOrder(
        {spec, spec}, call,
        {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
            fault(-19, "DataOrder_A!=DataOrder_B", setField(1, &OrvImage::dataOrder, 1)),
            fault(-5, "(srcImageA->depth!=srcImageB->depth)", setField(1, &OrvImage::depth, ORV_DEPTH_16S)),
            fault(-5, "Unknown normType", [&](auto) { type = 8; }),
            fault(-15, "", setField(1, &OrvImage::nChannels, 4)),
            fault(-24, "COI should be defined for second image if COI is defined for the first one",
                  setField(0, &OrvImage::roi, &chosen)),
            {"-4 orvAllocateImage for allocate image data\n-9 orvNorm Null pointer for mask\n",
             setMasks(mask, other, 2)},
        });
    auto badHeader = setField(1, &OrvImage::widthStep, 0);
    expectFaultsInOrder({spec, spec}, call,
                        {
                            fault(-13, "Incorrect Image",
                                  [&](auto images) {
                                      images[1]->depth = ORV_DEPTH_16S;
                                      badHeader(images);
                                  }),
                            fault(-5, "Unknown normType", [&](auto) { type = 8; }),
                            fault(-13, "Incorrect Image", badHeader),
                            fault(-24, "nChannelsA != nChannelsB", setField(1, &OrvImage::alphaChannel, 3)),
                        });
    Picture image(spec);
    EXPECT_EQ(reportsOf([&] { orvNorm(image, nullptr, ORV_NORM_RELATIVE_L2); }),
              "-5 orvNorm normType is impossible, no second image\n");
    image->maskROI = empty;
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNorm(image, image, ORV_NORM_C), 0); }), "");
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNorm(image, image, ORV_NORM_RELATIVE_C), -1); }),
              "-5 orvNorm Zero divided\n");
}

// A handler that clears the status lets the work go on, though not to memory of another shape, nor without a norm.
TEST(Norm, GoesOnWhereAHandlerClearsTheStatus)
{
    static std::vector<std::string> told;
    const PictureSpec one = {.width = 9, .height = 5},
                      planes = {.channels = 3, .alpha = 3, .order = ORV_DATA_ORDER_PLANE, .width = 9, .height = 5},
                      third = {.channels = 3, .width = 9, .height = 5, .roi = OrvROI{3, 0, 0, 9, 5}};
    auto norm = [](const PictureSpec& a, const PictureSpec& b, int32_t type, bool alone = false) {
        Picture first(a), second(b);
        first.fill([](int, int, int) { return 9; });
        second.fill([](int, int, int) { return 2; });
        Reports reports;
        told.clear();
        orvRedirectError([](int32_t status, const char*, const char* text, const char*, int32_t) {
            told.push_back(std::to_string(status) + ' ' + text);
            orvSetErrStatus(ORV_STATUS_OK);
            return 0;
        });
        return orvNorm(first, alone ? nullptr : static_cast<OrvImage*>(second), type);
    };
    using Lines = std::vector<std::string>;
    const PictureSpec two = {.channels = 2, .width = 9, .height = 5};
    EXPECT_EQ(norm(two, planes, ORV_NORM_L1), 7 * 2 * 45);
    EXPECT_EQ(told, (Lines{"-19 DataOrder_A!=DataOrder_B", "-15 "}));
    EXPECT_EQ(norm(third, one, ORV_NORM_L1), 7 * 45);
    EXPECT_EQ(told.size(), 2u);
    EXPECT_EQ(norm(one, two, ORV_NORM_L1), 0);
    EXPECT_EQ(told, (Lines{"-15 ", "-24 nChannelsA != nChannelsB"}));
    EXPECT_EQ(norm(one, one, 8), 0);
    EXPECT_EQ(told, (Lines{"-5 Unknown normType", "-2  "}));
    EXPECT_EQ(norm(one, one, ORV_NORM_RELATIVE_C, true), 0);
    EXPECT_EQ(told, (Lines{"-5 normType is impossible, no second image", "-2  "}));
}

TEST(MinMax, FindsWhatComparesInEveryLayout)
{
    Random random(4);
    for (int i = 0; i < 200; ++i) {
        Layout layout = randomLayout(random, ORV_DEPTH_32F, 1, random.between(1, 4));
        SCOPED_TRACE(std::to_string(i) + layout.text());
        Scene scene(layout);
        tameFloats(scene);
        float least = 7, greatest = 7, low = 7, high = 7;
        bool first = true;
        forSelectedPixels(scene, [&](int, int, const std::vector<PixelBits>& images) {
            for (uint32_t bits : images[0]) {
                float value = std::bit_cast<float>(bits);
                low = first || value < low ? value : low;
                high = first || value > high ? value : high;
                first = false;
            }
        });
        EXPECT_EQ(orvMinMaxFP(scene.pointers()[0], &least, &greatest), 0);
        ASSERT_EQ(least, low);
        ASSERT_EQ(greatest, high);
    }
    // A NaN that comes first is both extremes; a later one is passed over.
    for (int at : {0, 1, 40, 69}) {
        Picture picture({.depth = ORV_DEPTH_32F, .width = 35, .height = 2});
        picture.fill([](int x, int y, int) { return x - 10 * y; });
        picture.set(at % 35, at / 35, 0, NAN);
        float least, greatest;
        orvMinMaxFP(picture, &least, &greatest);
        EXPECT_TRUE(at == 0 ? std::isnan(least) && std::isnan(greatest) : least == -10 && greatest == 34) << at;
    }
}

TEST(MinMax, ChecksInOrder)
{
    const FaultOf fault{"orvMinMaxFP"};
    float least = 1, *min = &least;
    expectFaultsInOrder({{.depth = ORV_DEPTH_32F, .width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8}},
                        [&](OrvImage* const* images) {
                            float greatest;
                            int32_t result = orvMinMaxFP(images[0], min, &greatest);
                            min = &least;
                            return result;
                        },
                        {
                            fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0), -5),
                            fault(
                                -5, "((min == 0)||(max == 0))", [&](auto) { min = nullptr; }, -5),
                            fault(-5, "(srcImage->depth != 32)", setField(0, &OrvImage::depth, ORV_DEPTH_32S), -5),
                            fault(
                                -5, "(srcImage->tileInfo->tileData == NULL)",
                                [](auto images) {
                                    images[0]->tileInfo->callBack = [](OrvImage*, int32_t, int32_t, int32_t) {
                                        return 0;
                                    };
                                },
                                -4),
                        });
    EXPECT_EQ(least, 1);
}

// Sums of integers are exact as long as double precision holds them; those of floats run in the order of the pixels.
TEST(Moments, AreTheSumsInOrderInEveryLayout)
{
    Random random(6);
    for (uint32_t depth : allDepths)
        for (int i = 0; i < 60; ++i) {
            Layout layout = randomLayout(random, depth, 1, 1);
            PictureSpec& spec = layout.images[0].spec;
            SCOPED_TRACE(depthName(depth) + ' ' + std::to_string(i) + layout.text());
            if (spec.alpha && spec.channels > 1 && !(spec.roi && spec.roi->coi > 0))
                continue;
            Scene scene(layout);
            tameFloats(scene);
            OrvMomentState state, expected;
            memset(&state, 0x55, sizeof state);
            memcpy(&expected, &state, sizeof state);
            double sums[4][4] = {}, row[4] = {};
            Area area = commonArea(scene), region = areaOf(*scene.images[0]);
            int last = -1;
            auto endRow = [&] {
                double y = region.y + last;
                for (int m = 0; m < 4; ++m)
                    for (int n = 0; n < 4 - m; ++n)
                        sums[m][n] += n == 0   ? row[m]
                                      : n == 1 ? row[m] * y
                                      : n == 2 ? row[m] * y * y
                                               : row[m] * y * y * y;
                std::ranges::fill(row, 0);
            };
            forSelectedPixels(scene, [&](int x, int y, const std::vector<PixelBits>& images) {
                if (y != last && last >= 0)
                    endRow();
                last = y;
                double term = numberOf(depth, images[0][0]);
                for (double& sum : row) {
                    sum += term;
                    term *= region.x + x;
                }
            });
            if (last >= 0)
                endRow();
            orvMoments(scene.pointers()[0], &state);
            if (area.width > 0 && area.height > 0) {
                expected[1][0].scale = 1.0 / area.width;
                expected[0][1].scale = 1.0 / area.height;
                for (int m = 0; m < 4; ++m)
                    for (int n = 0; n < 4 - m; ++n)
                        expected[m][n].value = sums[m][n];
            }
            bool exact = !spec.tileWidth;
            for (int m = 0; m < 4; ++m)
                for (int n = 0; n < 4; ++n) {
                    ASSERT_EQ(state[m][n].scale, expected[m][n].scale);
                    ASSERT_TRUE(exact ? state[m][n].value == expected[m][n].value
                                      : std::abs(state[m][n].value - expected[m][n].value) <=
                                            1e-11 * (1 + std::abs(expected[0][0].value)) * std::pow(6000.0, m + n))
                        << m << n << ' ' << state[m][n].value << ' ' << expected[m][n].value;
                }
            ASSERT_EQ(scene.faults(), "");
            ASSERT_EQ(scene.openTiles(), 0);
        }
}

// Wide rows of large values pass what double precision holds, where the order of the additions begins to tell.
TEST(Moments, KeepTheOrderWhereSumsAreRounded)
{
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_16S})
        for (int width : {1000, 3500, 9000}) {
            Picture picture({.depth = depth, .width = width, .height = 7});
            double sums[2] = {}, values[2];
            for (int y = 0; y < 7; ++y) {
                double row[2] = {};
                for (double x = 0; x < width; ++x) {
                    row[0] += picture.get(int(x), y) * x * x;
                    row[1] += picture.get(int(x), y) * x * x * x;
                }
                sums[0] += row[0] * y;
                sums[1] += row[1];
            }
            OrvMomentState state;
            orvMoments(picture, &state);
            values[0] = orvGetSpatialMoment(&state, 2, 1);
            values[1] = orvSpatialMoment(picture, 3, 0);
            EXPECT_EQ(values[0], sums[0]) << depthName(depth) << ' ' << width;
            EXPECT_EQ(values[1], sums[1]) << depthName(depth) << ' ' << width;
        }
}

// Central moments by their definition, about the centre of gravity.
TEST(Moments, AreThoseAboutTheCentre)
{
    Picture picture({.width = 23, .height = 17, .roi = OrvROI{0, 4, 3, 15, 12}});
    OrvMomentState state;
    orvMoments(picture, &state);
    double mass = orvGetSpatialMoment(&state, 0, 0);
    double xc = orvGetSpatialMoment(&state, 1, 0) / mass, yc = orvGetSpatialMoment(&state, 0, 1) / mass;
    for (int m = 0; m < 4; ++m)
        for (int n = 0; n < 4 - m; ++n) {
            long double sum = 0;
            for (int y = 3; y < 15; ++y)
                for (int x = 4; x < 19; ++x)
                    sum += powl(x - xc, m) * powl(y - yc, n) * picture.get(x, y);
            double scale = std::pow(mass, (m + n + 2) * 0.5);
            EXPECT_NEAR(orvCentralMoment(picture, m, n), double(sum), 1e-6 * mass) << m << n;
            EXPECT_EQ(orvGetCentralMoment(&state, m, n), orvCentralMoment(picture, m, n));
            EXPECT_EQ(orvGetNormalizedCentralMoment(&state, m, n), orvCentralMoment(picture, m, n) / scale);
            EXPECT_EQ(orvNormalizedCentralMoment(picture, m, n), orvCentralMoment(picture, m, n) / scale);
            EXPECT_EQ(orvGetNormalizedSpatialMoment(&state, m, n), orvGetSpatialMoment(&state, m, n) / scale);
            EXPECT_EQ(orvNormalizedSpatialMoment(picture, m, n), orvGetSpatialMoment(&state, m, n) / scale);
        }
    // A single channel is taken, be it an alpha channel.
    picture->alphaChannel = 1;
    EXPECT_EQ(orvSpatialMoment(picture, 0, 0), mass);
    Picture black({.width = 8, .height = 4});
    black.fill([](int, int, int) { return 0; });
    EXPECT_EQ(orvCentralMoment(black, 2, 0), 0);
    EXPECT_TRUE(std::isnan(orvNormalizedCentralMoment(black, 2, 0)));
}

TEST(Moments, CheckInOrder)
{
    struct Form {
        const char* name;
        double(ORV_CALL* call)(OrvImage* image, int32_t m, int32_t n);
    };
    for (const Form& form : {Form{"orvSpatialMoment", orvSpatialMoment},
                             {"orvNormalizedSpatialMoment", orvNormalizedSpatialMoment},
                             {"orvCentralMoment", orvCentralMoment},
                             {"orvNormalizedCentralMoment", orvNormalizedCentralMoment}}) {
        const FaultOf fault{form.name};
        int32_t order = 1;
        OrvROI whole = {0, 0, 0, 8, 8}, third = {3, 0, 0, 8, 8};
        expectFaultsInOrder({{.channels = 3, .width = 8, .height = 8}},
                            [&](OrvImage* const* images) {
                                images[0]->roi = images[0]->roi ? images[0]->roi : &third;
                                EXPECT_EQ(form.call(images[0], order, 1), 0);
                                order = 1;
                            },
                            {
                                fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
                                fault(-5, "Only one channel can be proceed", setField(0, &OrvImage::roi, &whole)),
                                fault(-5, "Illegal order of moment", [&](auto) { order = 3; }),
                            });
    }
    OrvMomentState state = {};
    auto orders = [&](auto get) {
        return reportsOf([&] {
            for (int32_t order : {-1, 4})
                EXPECT_EQ(get(&state, order, 0) + get(&state, 0, order), 0);
        });
    };
    auto four = [](const std::string& name) {
        std::string line = "-5 " + name + " Illegal order of moment\n";
        return line + line + line + line;
    };
    EXPECT_EQ(orders(orvGetSpatialMoment), four("orvGetSpatialMoment"));
    EXPECT_EQ(orders(orvGetNormalizedSpatialMoment), four("orvGetSpatialMoment"));
    EXPECT_EQ(orders(orvGetCentralMoment), four("orvGetCentralMoment"));
    EXPECT_EQ(orders(orvGetNormalizedCentralMoment), four("orvGetNormalizedCentralMoment"));
    EXPECT_EQ(reportsOf([&] { orvMoments(nullptr, &state); }), "-9 orvMoments Incorrect Image\n");
    Picture picture({.width = 3, .height = 3});
    EXPECT_EQ(reportsOf([&] {
                  orvMoments(picture, nullptr);
                  EXPECT_EQ(orvGetCentralMoment(nullptr, 1, 1), 0);
              }),
              std::to_string(ORV_STATUS_NULL_POINTER) + " orvMoments state==0\n" +
                  std::to_string(ORV_STATUS_NULL_POINTER) + " orvGetCentralMoment state==0\n");
}
