// The gallery's entries for maps of the plane, warps and remapping.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "families.h"

namespace gallery {

namespace {

Image white(int channels, int width, int height)
{
    Image image(channels, ORV_DEPTH_8U, width, height);
    orvSet(image, 255);
    return image;
}

// A part of a picture, so many times as large, each pixel a square.
Image magnified(const Image& image, int x, int y, int width, int height, int times)
{
    Image large(image->nChannels, ORV_DEPTH_8U, width * times, height * times);
    for (int j = 0; j < height * times; ++j)
        for (int i = 0; i < width * times; ++i)
            std::copy_n(image.row<uint8_t>(y + j / times) + (x + i / times) * image->nChannels, image->nChannels,
                        large.row<uint8_t>(j) + i * image->nChannels);
    return large;
}

// ---- Maps of the plane --------------------------------------------------------------------------------------------

struct Point {
    double x, y;
};

Point mapped(const double (&c)[2][3], Point p)
{
    return {c[0][0] * p.x + c[0][1] * p.y + c[0][2], c[1][0] * p.x + c[1][1] * p.y + c[1][2]};
}
Point mapped(const double (&c)[2][4], Point p)
{
    return {c[0][0] * p.x * p.y + c[0][1] * p.x + c[0][2] * p.y + c[0][3],
            c[1][0] * p.x * p.y + c[1][1] * p.x + c[1][2] * p.y + c[1][3]};
}
Point mapped(const double (&c)[3][3], Point p)
{
    const double w = c[2][0] * p.x + c[2][1] * p.y + c[2][2];
    return {(c[0][0] * p.x + c[0][1] * p.y + c[0][2]) / w, (c[1][0] * p.x + c[1][1] * p.y + c[1][2]) / w};
}

// Draws what a map makes of a net of eight by eight meshes over a region.
template <class Coeffs>
void drawNet(const Image& canvas, const Coeffs& coeffs, const OrvROI& region, int darkness)
{
    constexpr int steps = 800;
    auto draw = [&](double u, double v) {
        const Point p =
            mapped(coeffs, {region.xOffset + u * (region.width - 1), region.yOffset + v * (region.height - 1)});
        const auto x = int(lround(p.x)), y = int(lround(p.y));
        if (x >= 0 && y >= 0 && x < canvas->width && y < canvas->height)
            canvas.row<uint8_t>(y)[x] = uint8_t(255 - darkness);
    };
    for (int line = 0; line <= 8; ++line)
        for (int i = 0; i <= steps; ++i) {
            draw(line / 8.0, double(i) / steps);
            draw(double(i) / steps, line / 8.0);
        }
}

Box boxOf(const double (&bound)[2][2], const char* label)
{
    const auto x = int(std::floor(bound[0][0])), y = int(std::floor(bound[0][1]));
    return {x, y, int(std::ceil(bound[1][0])) - x + 1, int(std::ceil(bound[1][1])) - y + 1, label};
}

// What an entry for a kind of map works with: a region of 400 by 300 pixels that is led to a quadrangle, and a smaller
// one in it that takes the same way.
template <class Coeffs>
struct MapScene {
    Image& image;
    Image& canvas;
    OrvROI small = {0, 250, 150, 101, 101};
    Coeffs coeffs = {}, again = {};
    double corners[4][2] = {}, bound[2][2] = {}, smallBound[2][2] = {};

    explicit MapScene(Stage& stage)
        : image(stage.hidden(Image(1, ORV_DEPTH_8U, 400, 300))), canvas(stage.watched("net", white(1, 400, 300)))
    {
    }
    void show(Stage& stage)
    {
        drawNet(canvas, coeffs, {0, 0, 0, 400, 300}, 110);
        drawNet(canvas, again, small, 255);
        stage.showAfter("the regions as nets", canvas, {}, {boxOf(bound, "bound"), boxOf(smallBound, "bound of roi")});
    }
};

void affineMap(Stage& stage)
{
    MapScene<double[2][3]> scene(stage);
    Image& image = scene.image;
    OrvROI* const roi = &scene.small;
    auto &coeffs = scene.coeffs, &again = scene.again;
    auto& corners = scene.corners;
    auto &bound = scene.bound, &smallBound = scene.smallBound;
    double quad[4][2] = {{40, 90}, {290, 20}, {360, 210}, {110, 280}};
    CALL(orvGetAffineTransform(image, coeffs, quad));
    CALL(orvGetAffineQuad(image, coeffs, corners));
    CALL(orvGetAffineBound(image, coeffs, bound));
    CALL(orvGetAffineQuadROI(roi, coeffs, corners));
    CALL(orvGetAffineBoundROI(roi, coeffs, smallBound));
    CALL(orvGetAffineTransformROI(roi, again, corners));
    scene.show(stage);
}

void bilinearMap(Stage& stage)
{
    MapScene<double[2][4]> scene(stage);
    Image& image = scene.image;
    OrvROI* const roi = &scene.small;
    auto &coeffs = scene.coeffs, &again = scene.again;
    auto& corners = scene.corners;
    auto &bound = scene.bound, &smallBound = scene.smallBound;
    double quad[4][2] = {{130, 30}, {270, 30}, {380, 270}, {20, 270}};
    CALL(orvGetBilinearTransform(image, coeffs, quad));
    CALL(orvGetBilinearQuad(image, coeffs, corners));
    CALL(orvGetBilinearBound(image, coeffs, bound));
    CALL(orvGetBilinearQuadROI(roi, coeffs, corners));
    CALL(orvGetBilinearBoundROI(roi, coeffs, smallBound));
    CALL(orvGetBilinearTransformROI(roi, again, corners));
    scene.show(stage);
}

void perspectiveMap(Stage& stage)
{
    MapScene<double[3][3]> scene(stage);
    Image& image = scene.image;
    OrvROI* const roi = &scene.small;
    auto &coeffs = scene.coeffs, &again = scene.again;
    auto& corners = scene.corners;
    auto &bound = scene.bound, &smallBound = scene.smallBound;
    double quad[4][2] = {{130, 30}, {270, 30}, {380, 270}, {20, 270}};
    CALL(orvGetPerspectiveTransform(image, coeffs, quad));
    CALL(orvGetPerspectiveQuad(image, coeffs, corners));
    CALL(orvGetPerspectiveBound(image, coeffs, bound));
    CALL(orvGetPerspectiveQuadROI(roi, coeffs, corners));
    CALL(orvGetPerspectiveBoundROI(roi, coeffs, smallBound));
    CALL(orvGetPerspectiveTransformROI(roi, again, corners));
    scene.show(stage);
}

// ---- Warps --------------------------------------------------------------------------------------------------------

void rotate(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", white(3, 451, 300));
    double xShift = 0, yShift = 0;
    CALL(orvGetRotateShift(225, 149.5, 25, &xShift, &yShift));
    CALL(orvRotate(srcImage, dstImage, 25, xShift, yShift, ORV_INTER_LINEAR));
}

void rotateExactly(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 400, 600));
    CALL(orvRotate(srcImage, dstImage, 90, 0, 599, ORV_INTER_NN));
}

void shear(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("text"));
    Image& dstImage = stage.target("dstImage", white(1, 520, 172));
    CALL(orvShear(srcImage, dstImage, 0.4, 0, 0, 0, ORV_INTER_CUBIC));
}

void affine(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", white(3, 512, 400));
    double coeffs[2][3] = {{0.8, -0.3, 120}, {0.2, 0.5, 10}};
    CALL(orvWarpAffine(srcImage, dstImage, coeffs, ORV_INTER_LINEAR));
}

// An eye, eight times as large.
void methods(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& nearest = stage.target("nearest", Image(3, ORV_DEPTH_8U, 320, 240));
    Image& linear = stage.target("linear", Image(3, ORV_DEPTH_8U, 320, 240));
    Image& cubic = stage.target("cubic", Image(3, ORV_DEPTH_8U, 320, 240));
    double coeffs[2][3] = {{8, 0, -8.0 * 150}, {0, 8, -8.0 * 100}};
    CALL(orvWarpAffine(srcImage, nearest, coeffs, ORV_INTER_NN));
    CALL(orvWarpAffine(srcImage, linear, coeffs, ORV_INTER_LINEAR));
    CALL(orvWarpAffine(srcImage, cubic, coeffs, ORV_INTER_CUBIC));
}

// What a corner looks like with its edges blended and without.
void blendEdge(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coins"));
    Image& hard = stage.target("hard", white(1, 384, 303));
    Image& blended = stage.target("blended", white(1, 384, 303));
    double quad[4][2] = {{60, 30}, {330, 70}, {300, 250}, {90, 280}};
    CALL(orvWarpPerspectiveQ(srcImage, hard, quad, 0, ORV_INTER_LINEAR));
    CALL(orvWarpPerspectiveQ(srcImage, blended, quad, 0, ORV_INTER_LINEAR | ORV_BLEND_EDGE));
    stage.showAfter("hard, magnified", magnified(hard, 304, 60, 40, 30, 8));
    stage.showAfter("blended, magnified", magnified(blended, 304, 60, 40, 30, 8));
}

void straighten(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("brick"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 358, 516));
    double quad[4][2] = {{100, 0}, {395, 0}, {467, 511}, {48, 511}};
    CALL(orvWarpPerspectiveQ(srcImage, dstImage, quad, 1, ORV_INTER_CUBIC));
}

// A front of bricks, seen from the side and from the front again.
void thereAndBack(Stage& stage)
{
    Image wall(1, ORV_DEPTH_8U, 358, 516);
    double front[4][2] = {{100, 0}, {395, 0}, {467, 511}, {48, 511}};
    orvWarpPerspectiveQ(photo("brick"), wall, front, 1, ORV_INTER_CUBIC);
    Image& srcImage = stage.source("srcImage", std::move(wall));
    Image& side = stage.target("side", white(1, 300, 516));
    Image& back = stage.target("back", white(1, 358, 516));
    double quad[4][2] = {{20, 10}, {270, 130}, {270, 400}, {20, 500}};
    CALL(orvWarpPerspectiveQ(srcImage, side, quad, 0, ORV_INTER_CUBIC));
    CALL(orvWarpPerspectiveQ(side, back, quad, 1, ORV_INTER_CUBIC));
}

Image chessboard(int width, int height, int squares)
{
    Image image(1, ORV_DEPTH_8U, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.row<uint8_t>(y)[x] = (x * squares / width + y * squares / height) % 2 ? 230 : 40;
    return image;
}

// Both lead to the same corners; only one of them keeps straight lines straight and shows depth.
void perspectiveOrBilinear(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", chessboard(320, 320, 8));
    Image& floor = stage.target("floor", white(1, 400, 240));
    Image& sheet = stage.target("sheet", white(1, 400, 240));
    double quad[4][2] = {{150, 20}, {250, 20}, {390, 220}, {10, 220}}, perspective[3][3], bilinear[2][4];
    CODE(orvGetPerspectiveTransform(srcImage, perspective, quad));
    CALL(orvWarpPerspective(srcImage, floor, perspective, 0, ORV_INTER_LINEAR));
    CODE(orvGetBilinearTransform(srcImage, bilinear, quad));
    CALL(orvWarpBilinear(srcImage, sheet, bilinear, 0, ORV_INTER_LINEAR));
}

void bilinearBothWays(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& onto = stage.target("onto", white(3, 600, 400));
    Image& from = stage.target("from", white(3, 600, 400));
    double quad[4][2] = {{60, 40}, {560, 110}, {430, 380}, {130, 330}};
    CALL(orvWarpBilinearQ(srcImage, onto, quad, 0, ORV_INTER_LINEAR));
    CALL(orvWarpBilinearQ(srcImage, from, quad, 1, ORV_INTER_LINEAR));
}

// ---- Maps pixel by pixel ------------------------------------------------------------------------------------------

// Sets map images to what `place(x, y)` tells.
template <class Place>
void fillMaps(const Image& xMap, const Image& yMap, Place place)
{
    for (int y = 0; y < xMap->height; ++y)
        for (int x = 0; x < xMap->width; ++x) {
            const Point p = place(x, y);
            xMap.row<float>(y)[x] = float(p.x);
            yMap.row<float>(y)[x] = float(p.y);
        }
}

// A lens that swells what is in its middle.
void lens(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& xMap = stage.source("xMap", Image(1, ORV_DEPTH_32F, 451, 300), scaled(255 / 450.0));
    Image& yMap = stage.source("yMap", Image(1, ORV_DEPTH_32F, 451, 300), scaled(255 / 299.0));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    fillMaps(xMap, yMap, [](int x, int y) {
        const double dx = x - 225, dy = y - 150, r = std::hypot(dx, dy) / 145, pull = r < 1 ? 0.35 + 0.65 * r * r : 1;
        return Point{225 + pull * dx, 150 + pull * dy};
    });
    CALL(orvRemap(srcImage, xMap, yMap, dstImage, ORV_INTER_CUBIC));
}

// Angles run along rows, radii from the bottom up.
void polar(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& xMap = stage.hidden(Image(1, ORV_DEPTH_32F, 640, 200));
    Image& yMap = stage.hidden(Image(1, ORV_DEPTH_32F, 640, 200));
    Image& dstImage = stage.target("dstImage", white(3, 640, 200));
    fillMaps(xMap, yMap, [](int x, int y) {
        const double angle = x * 2 * M_PI / 640, radius = 199 - y;
        return Point{278 + radius * std::cos(angle), 228 + 0.8 * radius * std::sin(angle)};
    });
    CALL(orvRemap(srcImage, xMap, yMap, dstImage, ORV_INTER_LINEAR));
}

}  // namespace

const Family planeMaps = {
    "Geometry",
    "Maps of the plane",
    "The coefficients that lead a region to a quadrangle, the corners to which they lead it, and the box around those. "
    "A "
    "small region in it, without an image, takes the same way.",
    {
        {"orvGetAffineTransform, Quad, Bound", "A parallelogram.", affineMap},
        {"orvGetBilinearTransform, Quad, Bound", "Equal steps along every edge.", bilinearMap},
        {"orvGetPerspectiveTransform, Quad, Bound", "The same corners in perspective.", perspectiveMap},
    }};

const Family warps = {
    "Geometry",
    "Warps",
    "Pictures through maps, onto a quadrangle or from one. What no pixel is led to stays as it was, here white.",
    {
        {"orvRotate", "By 25 degrees about the middle.", rotate},
        {"orvRotate, exact", "A quarter turn, pixel by pixel.", rotateExactly},
        {"orvShear", "Rows moved the further the lower they are.", shear},
        {"orvWarpAffine", "Turned, sheared and scaled in one.", affine},
        {"orvWarpAffine, methods", "Eight times as large, by each method.", methods},
        {"orvWarpPerspectiveQ, ORV_BLEND_EDGE", "The slanting edges of a quadrangle, hard and blended.", blendEdge},
        {"orvWarpPerspectiveQ", "A wall seen aslant, as if from the front.", straighten},
        {"orvWarpPerspectiveQ, there and back", "A wall seen from its side, and from the front again.", thereAndBack},
        {"orvWarpPerspective, orvWarpBilinear", "Onto the same corners by either map.", perspectiveOrBilinear},
        {"orvWarpBilinearQ", "Onto a quadrangle, and from it.", bilinearBothWays},
    }};

const Family remaps = {"Geometry",
                       "Remapping",
                       "Pictures through maps that are pictures themselves.",
                       {
                           {"orvRemap", "Through a lens.", lens},
                           {"orvRemap, polar", "A saucer unrolled: angles along rows, radii along columns.", polar},
                       }};

}  // namespace gallery
