// Warps, held against copies of an image of the same size, and against each other. The quadrangles cover the whole
// destination, so that every pixel is made.
#include <cmath>
#include <vector>

#include "image.h"
#include "table.h"

#if defined(ORV_BENCH_PIXMAN)
#include <pixman.h>
#endif
#if defined(ORV_BENCH_YUV)
#include <libyuv.h>
#endif

namespace {

using namespace table;

struct Case {
    uint32_t depth;
    int channels;
};

constexpr Case cases[] = {
    {ORV_DEPTH_8U, 1}, {ORV_DEPTH_8U, 3}, {ORV_DEPTH_8U, 4}, {ORV_DEPTH_16U, 1}, {ORV_DEPTH_32F, 1}};
constexpr const char* methods[] = {"nearest", "linear", "cubic"};

// Turned by 20 degrees about the middle and so much larger that no corner shows.
struct Affine {
    double coeffs[2][3];

    explicit Affine(int size)
    {
        const double angle = 20 * M_PI / 180, scale = 1.3, middle = (size - 1) / 2.0;
        const double c = scale * cos(angle), s = scale * sin(angle);
        const double made[2][3] = {{c, s, middle - c * middle - s * middle}, {-s, c, middle + s * middle - c * middle}};
        std::copy(&made[0][0], &made[0][0] + 6, &coeffs[0][0]);
    }
};

// A quadrangle about the whole image that is no parallelogram.
struct Slanting {
    double quad[4][2];

    explicit Slanting(int size)
        : quad{{-0.1 * size, -0.3 * size},
               {1.2 * size, -0.05 * size},
               {1.05 * size, 1.1 * size},
               {-0.2 * size, 1.3 * size}}
    {
    }
};

std::string rowName(const char* what, const Case& one, int method, int size)
{
    return std::string(what) + ' ' + methods[method] + ' ' + depthName(one.depth) + " x " +
           std::to_string(one.channels) + ", " + std::to_string(size);
}

// Bounds in copies of the same image at 512 x 512; half of them at 2048, where a copy waits for memory.
double allowed(const Case& one, int method, int size)
{
    const double bounds[3][2] = {{30, 8}, {45, 18}, {120, 120}};
    const int bytes = int(one.depth & ORV_DEPTH_MASK) / 8;
    return bounds[method][one.channels > 1] * (bytes > 1 ? 2 : 1) * (size > 1024 ? 0.5 : 1);
}

template <class Call>
void addRow(const std::string& name, const Case& one, int size, const std::string& against, double bound, Call call)
{
    const Layout layout = {.depth = one.depth, .channels = one.channels, .width = size};
    add({name,
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             call(src, dst);
         },
         against, 1, bound});
}

void addWarps(const Case& one, int method, int size)
{
    const std::string affine = rowName("affine", one, method, size);
    addRow(affine, one, size, copyRow(size, one.depth, one.channels), copies(allowed(one, method, size)),
           [=](Image& src, Image& dst) { orvWarpAffine(src, dst, Affine(size).coeffs, method); });
    if (one.depth != ORV_DEPTH_8U)
        return;
    for (int flag : {0, 1}) {
        const std::string way = flag ? " from" : " onto";
        addRow(rowName(("perspective" + way).c_str(), one, method, size), one, size, affine, 1 / 1.3,
               [=](Image& src, Image& dst) { orvWarpPerspectiveQ(src, dst, Slanting(size).quad, flag, method); });
        addRow(rowName(("bilinear" + way).c_str(), one, method, size), one, size, affine, 1 / 2.0,
               [=](Image& src, Image& dst) { orvWarpBilinearQ(src, dst, Slanting(size).quad, flag, method); });
    }
}

// The affine map of the same size as two images.
void addRemap(const Case& one, int method, int size)
{
    const Layout mapLayout = {.depth = ORV_DEPTH_32F, .width = size};
    addRow(rowName("orvRemap", one, method, size), one, size, rowName("affine", one, method, size), 1 / 1.3,
           [=](Image& src, Image& dst) {
               Image xMap(mapLayout, slotB), yMap(mapLayout, slotC);
               static int made = 0;
               if (made != size) {
                   made = size;
                   const Affine map(size);
                   for (int y = 0; y < size; ++y)
                       for (int x = 0; x < size; ++x) {
                           auto at = [&](Image& image) {
                               return reinterpret_cast<float*>(image.data() + ptrdiff_t{y} * image->widthStep) + x;
                           };
                           const double scale = 1 / 1.69, u = x - map.coeffs[0][2], v = y - map.coeffs[1][2];
                           *at(xMap) = float(scale * (map.coeffs[1][1] * u - map.coeffs[0][1] * v));
                           *at(yMap) = float(scale * (map.coeffs[0][0] * v - map.coeffs[1][0] * u));
                       }
               }
               orvRemap(src, xMap, yMap, dst, method);
           });
}

void addTurns(const Case& one, int size)
{
    const double bytes = (one.depth & ORV_DEPTH_MASK) > 8 ? 2 : 1, half = size > 1024 ? 0.5 : 1;
    auto turn = [&](const char* name, double angle, double most) {
        addRow(std::string(name) + ' ' + depthName(one.depth) + " x " + std::to_string(one.channels) + ", " +
                   std::to_string(size),
               one, size, copyRow(size, one.depth, one.channels), copies(most * bytes * half),
               [=](Image& src, Image& dst) { orvRotate(src, dst, angle, angle > 90 ? size - 1 : 0, size - 1, 0); });
    };
    turn("quarter turn", 90, 5.5);
    turn("half turn", 180, 2.5);
}

// ---- Peers ----------------------------------------------------------------------------------------------------------

#if defined(ORV_BENCH_PIXMAN)
void addPixman(int channels, bool linear, int size)
{
    const Case one = {ORV_DEPTH_8U, channels};
    addRow(rowName("pixman affine", one, linear, size), one, size, rowName("affine", one, linear, size), 0,
           [=](Image& src, Image& dst) {
               const pixman_format_code_t format = channels == 4 ? PIXMAN_a8r8g8b8 : PIXMAN_a8;
               auto wrap = [&](Image& image) {
                   return pixman_image_create_bits(format, size, size, reinterpret_cast<uint32_t*>(image.data()),
                                                   image->widthStep);
               };
               pixman_image_t *from = wrap(src), *to = wrap(dst);
               const Affine map(size);
               pixman_f_transform inverse, forward = {{{map.coeffs[0][0], map.coeffs[0][1], map.coeffs[0][2]},
                                                       {map.coeffs[1][0], map.coeffs[1][1], map.coeffs[1][2]},
                                                       {0, 0, 1}}};
               pixman_f_transform_invert(&inverse, &forward);
               pixman_transform_t transform;
               pixman_transform_from_pixman_f_transform(&transform, &inverse);
               pixman_image_set_transform(from, &transform);
               pixman_image_set_filter(from, linear ? PIXMAN_FILTER_BILINEAR : PIXMAN_FILTER_NEAREST, nullptr, 0);
               pixman_image_composite32(PIXMAN_OP_SRC, from, nullptr, to, 0, 0, 0, 0, 0, 0, size, size);
               pixman_image_unref(from);
               pixman_image_unref(to);
           });
}
#endif

#if defined(ORV_BENCH_YUV)
void addYuv(int size)
{
    for (int angle : {90, 180})
        addRow("libyuv " + std::to_string(angle) + " degrees 8U x 1, " + std::to_string(size), {ORV_DEPTH_8U, 1}, size,
               (angle == 90 ? "quarter turn 8U x 1, " : "half turn 8U x 1, ") + std::to_string(size), 0,
               [=](Image& src, Image& dst) {
                   libyuv::RotatePlane(src.data(), src->widthStep, dst.data(), dst->widthStep, size, size,
                                       angle == 90 ? libyuv::kRotate270 : libyuv::kRotate180);
               });
}
#endif

const bool added = [] {
    for (int size : {512, 2048}) {
        for (const Case& one : cases) {
            for (int method : {ORV_INTER_NN, ORV_INTER_LINEAR, ORV_INTER_CUBIC})
                addWarps(one, method, size);
            addRemap(one, ORV_INTER_LINEAR, size);
            addTurns(one, size);
        }
#if defined(ORV_BENCH_PIXMAN)
        for (int channels : {1, 4})
            for (bool linear : {false, true})
                addPixman(channels, linear, size);
#endif
#if defined(ORV_BENCH_YUV)
        addYuv(size);
#endif
    }
    return true;
}();

}  // namespace
