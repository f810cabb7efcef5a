// What scaling checks and opens, and what is left where something is refused.
#include <gtest/gtest.h>

#include <utility>

#include "checks.h"
#include "refusals.h"
#include "reports.h"
#include "scaling.h"

TEST(Scale, OpensTiles)
{
    TileLog log;
    Reports reports;
    PictureSpec spec = {.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8, .name = "S", .log = &log};
    Picture src(spec), plain({.width = 16, .height = 80});
    spec = {.width = 24, .height = 8, .roi = OrvROI{0, 6, 1, 18, 7}, .tileWidth = 8, .tileHeight = 8};
    spec.name = "D";
    spec.log = &log;
    Picture dst(spec);
    // Columns 0 to 1 of the destination are made of column 0, 2 to 9 of columns 1 to 4, 10 to 17 of 5 to 8.
    orvZoom(src, dst, 2, 1, 1, 1, ORV_INTER_NN);
    EXPECT_EQ(log.text(),
              "D write 0 0\nS read 0 0\nS release 0 0\nD release 0 0\nD write 1 0\nS read 0 0\nS release 0 0\n"
              "D release 1 0\nD write 2 0\nS read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\nD release 2 0\n");
    log.calls.clear();
    // Blocks of 64 rows where the destination is not tiled: of rows 0 to 12 of the source, and of 12 to 15.
    orvZoom(src, plain, 1, 1, 5, 1, ORV_INTER_NN);
    const std::string upper = "S read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n";
    const std::string lower = "S read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\n";
    EXPECT_EQ(log.text(), upper + lower + lower);
    EXPECT_EQ(reports.take(), "");
}

namespace {

// Holds a function against faults, of two images or of one that is both.
class Checks {
public:
    Scaling scaling = {{1, 1}, {1, 1}, ORV_INTER_LINEAR};

    explicit Checks(const ScaleFunction& function) : function(function), fault{function.name} {}

    // Sets a field of the scaling.
    template <class Member, class Value>
    FaultMaker set(Member member, Value value)
    {
        return [=, this](auto) { scaling.*member = value; };
    }

    Fault operator()(int status, const std::string& context, FaultMaker make) const
    {
        return fault(status, context, std::move(make));
    }
    // Faults that are told one after the other.
    Fault operator()(const std::vector<std::pair<int, std::string>>& reports, FaultMaker make) const
    {
        std::string text;
        for (const auto& [status, context] : reports)
            text += fault(status, context, {}).report;
        return {text, std::move(make)};
    }

    void run(const PictureSpec& spec, const std::vector<Fault>& faults, bool inPlace = false)
    {
        const Scaling good = scaling;
        auto call = [&](OrvImage* const* images) {
            OrvImage* both[] = {images[0], images[inPlace ? 0 : 1]};
            function.call(both, std::exchange(scaling, good));
        };
        expectFaultsInOrder({spec, spec}, call, faults);
    }

private:
    const ScaleFunction& function;
    FaultOf fault;
};

constexpr const char* methods =
    "interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC";

const PictureSpec checked = {.channels = 3, .width = 9, .height = 9, .roi = OrvROI{0, 0, 0, 9, 9}};

FaultMaker setRoi(int image, int32_t OrvROI::*field, int32_t value)
{
    return [=](OrvImage* const* images) { images[image]->roi->*field = value; };
}

// A channel of interest on one side and no region on the other.
FaultMaker setCoiAlone(int image)
{
    return [=](OrvImage* const* images) {
        images[image]->roi->coi = 1;
        images[1 - image]->roi = nullptr;
    };
}

}  // namespace

TEST(Scale, ZoomChecksInItsOrder)
{
    Checks zoom(scaleFunctions[0]), resize(scaleFunctions[1]);
    zoom.run(checked, {
                          zoom(-5, "xDst < xSrc || yDst < ySrc", zoom.set(&Scaling::x, Ratio{1, 2})),
                          zoom(-5, "xDst < xSrc || yDst < ySrc", zoom.set(&Scaling::y, Ratio{-2, -1})),
                          zoom(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
                          zoom(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
                          zoom(-5, methods, zoom.set(&Scaling::method, 3)),
                          zoom({{-5, "srcImage->depth != dstImage->depth"},
                                {-5,
                                 "srcImage->depth != ORV_DEPTH_1U && srcImage->depth != ORV_DEPTH_8U && "
                                 "srcImage->depth != ORV_DEPTH_16U && srcImage->depth != ORV_DEPTH_32F"},
                                {-5, "srcImage->dataOrder != dstImage->dataOrder"},
                                {-5, "xDst <= 0 || xSrc <= 0"},
                                {-5, "yDst <= 0 || ySrc <= 0"}},
                               [&](OrvImage* const* images) {
                                   images[0]->depth = ORV_DEPTH_32S;
                                   images[0]->dataOrder = ORV_DATA_ORDER_PLANE;
                                   zoom.scaling.x = {0, 0};
                                   zoom.scaling.y = {1, -1};
                               }),
                          zoom(-2, "srcImage COI != dstImage COI", setRoi(1, &OrvROI::coi, 2)),
                          zoom(-4, "Out of memory", refuseMemory()),
                      });
    zoom.run(checked, {zoom(-5, "This function isn`t in-plase function", [](auto) {})}, true);
    auto set = [&](Ratio x, Ratio y, int method) { return [=, &resize](auto) { resize.scaling = {x, y, method}; }; };
    const std::string trace = "-1 orvResize \n";
    resize.run(checked, {
                            resize(-5, "(xDst > xSrc || yDst > ySrc)", set({2, 1}, {1, 1}, ORV_INTER_SUPER)),
                            {"-5 orvDecimate yDst <= 0\n" + trace, set({1, 1}, {0, 1}, ORV_INTER_SUPER)},
                            {zoom(-5, methods, {}).report + trace, set({1, 1}, {1, 1}, 4)},
                        });
}

TEST(Scale, DecimateChecksInItsOrder)
{
    Checks decimate(scaleFunctions[2]);
    auto spoil = [&](OrvImage* const* images) {
        images[0]->depth = ORV_DEPTH_16S;
        images[0]->origin = ORV_ORIGIN_BL;
        images[0]->dataOrder = ORV_DATA_ORDER_PLANE;
        images[0]->alphaChannel = 3;
        decimate.scaling = {{0, -1}, {0, -1}, 4};
    };
    decimate.run(
        checked,
        {
            decimate(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
            decimate(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
            decimate({{-17, "srcImage->depth != dstImage->depth"},
                      {-17, "depth != 1U, 8U, 16U or 32F"},
                      {-20, "srcImage->origin != dstImage->origin"},
                      {-19, "srcImage->dataOrder != dstImage->dataOrder"},
                      {-15, "srcImage->nChannels != dstImage->nChannels"},
                      {-5, "interpolate != ORV_INTER_NN, ORV_INTER_LINEAR, ORV_INTER_CUBIC or ORV_INTER_SUPER"},
                      {-5, "xDst <= 0"},
                      {-5, "xSrc <= 0"},
                      {-5, "yDst <= 0"},
                      {-5, "ySrc <= 0"},
                      {-5, "xDst > xSrc"},
                      {-5, "yDst > ySrc"}},
                     spoil),
        });
    decimate.run(checked, {decimate(-24, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0", setCoiAlone(0))});
    decimate.run(checked, {decimate(-24, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0", setCoiAlone(1)),
                           decimate(-4, "Out of memory", refuseMemory())});
    decimate.run(checked, {decimate(-5, "srcImage == dstImage", [](auto) {})}, true);
    decimate.scaling = {{2, 3}, {2, 3}, ORV_INTER_SUPER};
    decimate.run(checked,
                 {decimate(-4, "Can't create temporary buffer for interpolate = ORV_INTER_SUPER", refuseMemory())});
}

TEST(Scale, DecimateBlurChecksInItsOrder)
{
    Checks blur(scaleFunctions[3]);
    auto set = [&](auto member, auto value) { return blur.set(member, value); };
    blur.run(checked, {
                          blur(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
                          blur(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
                          blur(-5, "(srcImage->depth!=dstImage->depth)", setField(0, &OrvImage::depth, ORV_DEPTH_16U)),
                          blur(-5, "(srcImage->dataOrder!=dstImage->dataOrder)",
                               setField(0, &OrvImage::dataOrder, ORV_DATA_ORDER_PLANE)),
                          blur(-5, "(srcImage->alphaChannel!=dstImage->alphaChannel)", setChannels(0, 3, 3)),
                          blur(-5, "(xDst>xSrc||yDst>ySrc)", set(&Scaling::y, Ratio{1, 0})),
                          blur(-5, "((xDst <= 0)||(yDst<=0))", set(&Scaling::x, Ratio{0, 0})),
                          blur(-5, "(xMaskSize<0||yMaskSize<0)", set(&Scaling::maskY, -1)),
                          blur(-5, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0", setRoi(0, &OrvROI::coi, 1)),
                          blur(-5, "srcImage->roi->xOffset >= srcImage->width", setRoi(0, &OrvROI::xOffset, 9)),
                          blur(-5, "srcImage->roi->yOffset >= srcImage->height", setRoi(0, &OrvROI::yOffset, 9)),
                          blur(-5, "dstImage->roi->xOffset >= dstImage->width", setRoi(1, &OrvROI::xOffset, 9)),
                          blur(-5, "dstImage->roi->yOffset >= dstImage->height", setRoi(1, &OrvROI::yOffset, 9)),
                          blur(-15, "srcImage->nChannels != dstImage->nChannels", setChannels(0, 2, 0)),
                      });
    // A bad method is told first, and ends the call last.
    blur.run(checked, {blur({{-5, methods}, {-5, "srcImage->roi->coi > 0 && dstImage->roi == NULL"}},
                            [&](OrvImage* const* images) {
                                blur.scaling.method = 3;
                                setCoiAlone(0)(images);
                            })});
    blur.run(checked, {blur(-5, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0", setRoi(1, &OrvROI::coi, 1))});
    blur.run(checked, {blur(-5, "dstImage->roi->coi > 0 && srcImage->roi == NULL", setCoiAlone(1)),
                       blur(-4, "Out of memory", refuseMemory())});
    blur.run(checked, {blur(-5, methods, set(&Scaling::method, -1))});
    blur.run(checked, {blur(-5, "This function isn`t in-plase function", [](auto) {})}, true);
    PictureSpec chars = checked;
    chars.depth = ORV_DEPTH_8S;
    blur.run(chars, {blur(-5, "(srcImage->depth & ORV_DEPTH_SIGN)", [](auto) {})});
}

// What one that has failed before does: nothing, and says no word of it, or says that something failed.
TEST(Scale, AnOldStatusStopsSomeOfThem)
{
    for (size_t i = 0; i < 4; ++i) {
        PictureSpec spec = {.width = 9, .height = 9};
        Picture src(spec), dst({.width = 9, .height = 9, .seed = 2});
        const std::vector<uint32_t> before = dst.values();
        Reports reports;
        orvSetErrStatus(-7);
        OrvImage* images[] = {src, dst};
        scaleFunctions[i].call(images, {{1, 1}, {1, 1}, ORV_INTER_NN});
        EXPECT_EQ(reports.take(), i == 1 ? "-1 orvResize \n" : "") << scaleFunctions[i].name;
        EXPECT_EQ(dst.values() == before, i != 3) << scaleFunctions[i].name;
    }
}

TEST(Scale, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (const ScaleFunction& function : scaleFunctions)
        for (int method = 0; method < 4; ++method) {
            if (method == ORV_INTER_SUPER && &function == scaleFunctions + 3)
                continue;
            const bool enlarges = &function == scaleFunctions;
            if (method == ORV_INTER_SUPER && enlarges)
                continue;
            Operation operation = {.name = function.name, .inPlace = false};
            operation.call = [&](OrvImage* const* images) {
                const Ratio less = {3, 5}, more = {5, 3};
                function.call(images, {enlarges ? more : less, enlarges ? more : less, method, 2, 3});
            };
            forRefusalLayouts(operation, [&](Layout layout) {
                // Some take images of as many channels only, alpha included.
                for (Layout::Image& image : layout.images) {
                    image.spec.channels = 4;
                    image.spec.alpha = 4;
                }
                expectNothingLost(operation, layout, {.toldApart = true});
            });
        }
}

// Sizes and ratios at the ends of their ranges end in a report or in nothing.
TEST(Scale, EndsAtTheEndsOfTheRanges)
{
    constexpr int32_t most = INT32_MAX;
    const int32_t numbers[] = {1, 2, 3, most / 2, most - 1, most};
    for (const ScaleFunction& function : scaleFunctions)
        for (int method = 0; method < 4; ++method)
            for (int32_t dst : numbers)
                for (int32_t src : numbers)
                    for (int32_t mask : {0, 1, 5000, most}) {
                        PictureSpec spec = {
                            .depth = method % 2 ? ORV_DEPTH_8U : ORV_DEPTH_16U, .width = 9, .height = 5};
                        Picture from(spec), to({.depth = spec.depth, .width = 7, .height = 11});
                        from->roi = to->roi = nullptr;
                        OrvImage* images[] = {from, to};
                        Reports reports;
                        function.call(images, {{dst, src}, {src, dst}, method, mask, mask});
                        function.call(images, {{dst, src}, {dst, src}, method, mask, 1});
                        EXPECT_EQ(from.faults() + to.faults(), "");
                    }
}
