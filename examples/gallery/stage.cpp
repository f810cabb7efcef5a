#include "stage.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>

namespace gallery {

namespace {

Stage* current = nullptr;

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string depthName(uint32_t depth)
{
    if (depth == ORV_DEPTH_32F)
        return "32F";
    return std::to_string(depth & ORV_DEPTH_MASK) + (depth & ORV_DEPTH_SIGN ? "S" : "U");
}

std::string detailOf(const OrvImage& image)
{
    std::string text =
        std::to_string(image.width) + " × " + std::to_string(image.height) + ", " + depthName(image.depth);
    if (image.nChannels > 1)
        text += image.alphaChannel ? ", RGB and alpha" : ", RGB";
    if (image.dataOrder == ORV_DATA_ORDER_PLANE && image.nChannels > 1)
        text += " in planes";
    if (image.tileInfo)
        text += ", tiles of " + std::to_string(image.tileInfo->width) + " × " + std::to_string(image.tileInfo->height);
    return text;
}

bool isWhole(const OrvImage& image, const OrvROI& roi)
{
    return roi.xOffset == 0 && roi.yOffset == 0 && roi.width >= image.width && roi.height >= image.height;
}

std::string channelName(const OrvImage& image, int coi)
{
    static const char* const names[] = {"red", "green", "blue", "alpha"};
    std::string text = "channel " + std::to_string(coi);
    return image.nChannels >= 3 && coi <= 4 ? text + ", " + names[coi - 1] : text;
}

// The region and the channel of interest.
std::vector<Box> boxesOf(const OrvImage& image)
{
    if (!image.roi)
        return {};
    const OrvROI& roi = *image.roi;
    std::string label = isWhole(image, roi) ? "" : "region";
    if (roi.coi > 0)
        label += (label.empty() ? "" : ", ") + channelName(image, roi.coi);
    if (label.empty())
        return {};
    return {{roi.xOffset, roi.yOffset, std::min(roi.width, image.width - roi.xOffset),
             std::min(roi.height, image.height - roi.yOffset), label}};
}

std::vector<double> valuesOf(const OrvImage& image)
{
    std::vector<double> values;
    values.reserve(size_t(image.width) * image.height * image.nChannels);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.nChannels; ++c)
                values.push_back(valueAt(image, x, y, c));
    return values;
}

// An element of a packed sequence of real input along one axis: `at(i)` is its i-th value.
template <class At>
std::complex<double> unpackedLine(int length, int k, At at)
{
    if (k == 0)
        return at(0);
    if (2 * k == length)
        return at(length - 1);
    return {at(2 * k - 1), at(2 * k)};
}

// F(v, u) of a packed spectrum, u and v up to half the size in one axis.
std::complex<double> unpacked(const OrvImage& image, int u, int v, int channel)
{
    int width = image.width, height = image.height;
    if (2 * u > width)
        return std::conj(unpacked(image, width - u, (height - v) % height, channel));
    if (u > 0 && 2 * u < width)
        return {valueAt(image, 2 * u - 1, v, channel), valueAt(image, 2 * u, v, channel)};
    int column = u == 0 ? 0 : width - 1;
    auto at = [&](int i) { return valueAt(image, column, i, channel); };
    if (2 * v > height)
        return std::conj(unpackedLine(height, height - v, at));
    return unpackedLine(height, v, at);
}

double shownValue(const OrvImage& image, const View& view, int x, int y, int channel)
{
    if (view.kind == View::Kind::spectrum) {
        int u = (x + (image.width + 1) / 2) % image.width, v = (y + (image.height + 1) / 2) % image.height;
        return std::log1p(std::abs(unpacked(image, u, v, channel)));
    }
    double value = valueAt(image, x, y, channel);
    if (view.kind == View::Kind::logarithm)
        return std::log1p(std::abs(value));
    return view.offset + view.gain * value * (image.depth == ORV_DEPTH_1U ? 255 : 1);
}

// What to multiply shown values with, so that the largest is white. The largest alone would make the rest too dark in a
// spectrum, whose sum of all pixels is far above all else: the brightest part in ten thousand is cut.
double brightness(const std::vector<double>& values, const View& view)
{
    if (view.kind == View::Kind::linear || values.empty())
        return 1;
    std::vector<double> sorted = values;
    auto place = sorted.begin() + ptrdiff_t(double(sorted.size() - 1) * 0.9999);
    std::nth_element(sorted.begin(), place, sorted.end());
    return *place > 0 ? 255 / *place : 1;
}

Image pictureOf(const OrvImage& image, const View& view)
{
    int channels = image.nChannels >= 3 ? 3 : 1;
    std::vector<double> values;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < channels; ++c)
                values.push_back(shownValue(image, view, x, y, c));
    double factor = brightness(values, view);
    Image picture(channels, ORV_DEPTH_8U, image.width, image.height);
    size_t next = 0;
    for (int y = 0; y < image.height; ++y)
        for (int i = 0; i < image.width * channels; ++i) {
            double value = std::nearbyint(values[next++] * factor);
            picture.row<uint8_t>(y)[i] = uint8_t(value > 0 ? std::min(value, 255.0) : 0);  // 0 for what is no number
        }
    return picture;
}

}  // namespace

std::string View::label() const
{
    if (kind == Kind::logarithm)
        return "log(1 + |value|)";
    if (kind == Kind::spectrum)
        return "log(1 + |F|), frequency 0 in the middle";
    if (gain == 1 && offset == 0)
        return "";
    std::string text = gain == 1 ? "value" : gain < 0.1 ? "value / " + number(1 / gain) : number(gain) + " × value";
    return offset == 0 ? text : number(offset) + " + " + text;
}

Stage::Stage(bool withPictures) : withPictures(withPictures)
{
    current = this;
    orvSetErrStatus(ORV_STATUS_OK);
    previousHandler = orvRedirectError(takeReport);
}

Stage::~Stage()
{
    orvSetErrStatus(ORV_STATUS_OK);
    orvRedirectError(previousHandler);
    current = nullptr;
}

int32_t ORV_CALL Stage::takeReport(int32_t status, const char* func, const char* context, const char*, int32_t)
{
    current->fail(std::string(func) + ": " + orvErrorStr(status) + " " + context);
    return status;
}

void Stage::addLine(std::string code, bool timed, double milliseconds)
{
    if (code.back() != '}')
        code += ';';
    lines.push_back({code, timed, milliseconds});
}

void Stage::noteStatus()
{
    if (orvGetErrStatus() < 0 && failures.empty())
        fail(std::string("status without a report: ") + orvErrorStr(orvGetErrStatus()));
}

Image& Stage::add(const char* name, Image image, View view, bool isSource, bool isTarget, bool isShown)
{
    props.push_back({name, image->nChannels, image->width, image->height, image->dataOrder, image->depth, isSource});
    actors.push_back({name, std::move(image), view, isSource, isTarget, isShown, {}});
    return actors.back().image;
}

Image& Stage::source(const char* name, Image image, View view)
{
    return add(name, std::move(image), view, true, false);
}

Image& Stage::target(const char* name, Image image, View view)
{
    return add(name, std::move(image), view, false, true);
}

Image& Stage::inPlace(const char* name, Image image, View view)
{
    return add(name, std::move(image), view, true, true);
}

Image& Stage::watched(const char* name, Image image)
{
    return add(name, std::move(image), {}, false, true, false);
}

Image& Stage::hidden(Image image)
{
    return add("", std::move(image), {}, false, false);
}

void Stage::show(std::vector<Figure>& figures, const char* name, const Image& image, const View& view,
                 std::vector<Box> boxes)
{
    if (!withPictures)
        return;
    figures.push_back(
        {name, detailOf(*image), view.label(), image->width, image->height, pictureOf(*image, view), std::move(boxes)});
}

void Stage::showBefore(const char* name, const Image& image, View view, std::vector<Box> boxes)
{
    show(before, name, image, view, std::move(boxes));
}

void Stage::showAfter(const char* name, const Image& image, View view, std::vector<Box> boxes)
{
    show(after, name, image, view, std::move(boxes));
}

// The pictures before the first timed call, whose regions, channels and masks are set by then.
void Stage::lightsOn()
{
    if (lit || !withPictures)
        return;
    lit = true;
    for (Actor& actor : actors) {
        if (actor.isSource)
            show(before, actor.name, actor.image, actor.view, boxesOf(*actor.image));
        if (actor.isTarget)
            actor.values = valuesOf(*actor.image);
    }
}

void Stage::end()
{
    if (!withPictures)
        return;
    if (!lit)
        fail("nothing was called");
    for (Actor& actor : actors) {
        if (!actor.isTarget)
            continue;
        if (actor.isShown)
            show(after, actor.name, actor.image, actor.view, boxesOf(*actor.image));
        if (actor.values == valuesOf(*actor.image))
            fail(std::string(actor.name) + " has not changed");
    }
    if (after.empty())
        fail("nothing is shown");
}

}  // namespace gallery
