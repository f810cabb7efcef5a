// The pointwise operations and the frame: every layout against the loop that it should cost.
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "image.h"
#include "orv.h"
#include "packed.h"
#include "table.h"

namespace {

using table::add;
using table::Image;
using table::Layout;
using table::slotA;
using table::slotB;
using table::slotD;
using table::slotMask;

// An operation on two sources and a destination; `toBits`: the destination is a 1U image.
struct Operation {
    const char* name;
    void (*run)(Image& a, Image& b, Image& d);
    // The loop it should cost, over n bytes of the depth.
    void (*bare)(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n);
    uint32_t depth = ORV_DEPTH_8U;
    bool toBits = false;
    bool bits = false;  // there is a 1U form
};

template <class T, class F>
void loop(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n, F f)
{
    auto* x = reinterpret_cast<const T*>(a);
    auto* y = reinterpret_cast<const T*>(b);
    auto* __restrict z = reinterpret_cast<T*>(d);
    for (size_t i = 0; i < n / sizeof(T); ++i)
        z[i] = f(x[i], y[i]);
}

template <class T>
T cut(int64_t value)
{
    int64_t low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
    return T(value < low ? low : value > high ? high : value);
}

// Sums with the saturation that a vector does best.
template <class T>
void bareAdd(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    if constexpr (std::is_unsigned_v<T>)
        loop<T>(a, b, d, n, [](T x, T y) { return T(std::min(x, T(~y)) + y); });
    else if constexpr (std::is_floating_point_v<T>)
        loop<T>(a, b, d, n, [](T x, T y) { return x + y; });
    else if constexpr (sizeof(T) == 4)
        loop<T>(a, b, d, n, [](T x, T y) {
            T sum = T(uint32_t(x) + uint32_t(y));
            return ((x ^ sum) & (y ^ sum)) < 0 ? (y >> 31) ^ std::numeric_limits<T>::max() : sum;
        });
    else
        loop<T>(a, b, d, n, [](T x, T y) { return cut<T>(int64_t(x) + y); });
}

template <class T>
void bareSubtract(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    loop<T>(a, b, d, n, [](T x, T y) { return T(std::max(x, y) - y); });
}

void bareAnd(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    loop<uint32_t>(a, b, d, n, [](uint32_t x, uint32_t y) { return x & y; });
}

void bareAddS(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    loop<uint8_t>(a, b, d, n, [](uint8_t x, uint8_t) { return uint8_t(std::min(x, uint8_t(223)) + 32); });
}

template <class T>
void bareShift(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    loop<T>(a, b, d, n, [](T x, T) { return T(x >> 3); });
}

void bareMultiplyS(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    loop<uint8_t>(a, b, d, n, [](uint8_t x, uint8_t) { return uint8_t(std::min(x * 3, 255)); });
}

void bareCopy(const uint8_t* a, const uint8_t*, uint8_t* d, size_t n)
{
    memcpy(d, a, n);
}

void bareSet(const uint8_t*, const uint8_t*, uint8_t* d, size_t n)
{
    memset(d, 77, n);
}

void bareThreshold(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    loop<uint8_t>(a, b, d, n, [](uint8_t x, uint8_t) { return uint8_t(x >= 100 ? 255 : 0); });
}

void bareThresholdToBits(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    packed::loop<uint8_t>(a, b, d, n, [](uint8_t x, uint8_t) { return x >= 100; });
}

void bareLess(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n)
{
    packed::loop<uint8_t>(a, b, d, n, [](uint8_t x, uint8_t y) { return x < y; });
}

const Operation operations[] = {
    {"orvAdd", [](Image& a, Image& b, Image& d) { orvAdd(&a, &b, &d); }, bareAdd<uint8_t>, ORV_DEPTH_8U, false, true},
    {"orvAdd 8S", [](Image& a, Image& b, Image& d) { orvAdd(&a, &b, &d); }, bareAdd<int8_t>, ORV_DEPTH_8S},
    {"orvAdd 16U", [](Image& a, Image& b, Image& d) { orvAdd(&a, &b, &d); }, bareAdd<uint16_t>, ORV_DEPTH_16U},
    {"orvAdd 16S", [](Image& a, Image& b, Image& d) { orvAdd(&a, &b, &d); }, bareAdd<int16_t>, ORV_DEPTH_16S},
    {"orvAdd 32S", [](Image& a, Image& b, Image& d) { orvAdd(&a, &b, &d); }, bareAdd<int32_t>, ORV_DEPTH_32S},
    {"orvAdd 32F", [](Image& a, Image& b, Image& d) { orvAdd(&a, &b, &d); }, bareAdd<float>, ORV_DEPTH_32F},
    {"orvSubtract", [](Image& a, Image& b, Image& d) { orvSubtract(&a, &b, &d); }, bareSubtract<uint8_t>, ORV_DEPTH_8U,
     false, true},
    {"orvAnd", [](Image& a, Image& b, Image& d) { orvAnd(&a, &b, &d); }, bareAnd, ORV_DEPTH_8U, false, true},
    {"orvAddS", [](Image& a, Image&, Image& d) { orvAddS(&a, &d, 32); }, bareAddS, ORV_DEPTH_8U, false, true},
    {"orvMultiplyS", [](Image& a, Image&, Image& d) { orvMultiplyS(&a, &d, 3); }, bareMultiplyS, ORV_DEPTH_8U, false,
     true},
    {"orvLShiftS", [](Image& a, Image&, Image& d) { orvLShiftS(&a, &d, 3); }, bareShift<uint8_t>, ORV_DEPTH_8U},
    {"orvRShiftS 8S", [](Image& a, Image&, Image& d) { orvRShiftS(&a, &d, 3); }, bareShift<int8_t>, ORV_DEPTH_8S},
    {"orvRShiftS 16U", [](Image& a, Image&, Image& d) { orvRShiftS(&a, &d, 3); }, bareShift<uint16_t>, ORV_DEPTH_16U},
    {"orvRShiftS 32S", [](Image& a, Image&, Image& d) { orvRShiftS(&a, &d, 3); }, bareShift<int32_t>, ORV_DEPTH_32S},
    {"orvCopy", [](Image& a, Image&, Image& d) { orvCopy(&a, &d); }, bareCopy, ORV_DEPTH_8U, false, true},
    {"orvSet", [](Image&, Image&, Image& d) { orvSet(&d, 77); }, bareSet, ORV_DEPTH_8U},
    {"orvThreshold", [](Image& a, Image&, Image& d) { orvThreshold(&a, &d, 100); }, bareThreshold, ORV_DEPTH_8U},
    {"orvThreshold to 1U", [](Image& a, Image&, Image& d) { orvThreshold(&a, &d, 100); }, bareThresholdToBits,
     ORV_DEPTH_8U, true},
    {"orvLess", [](Image& a, Image& b, Image& d) { orvLess(&a, &b, &d); }, bareLess, ORV_DEPTH_8U, true},
};

// Keeps the images of a row until the end of the program.
struct Images {
    Image a, b, d;
    Images(const Operation& operation, Layout layout)
        : a(without(layout), slotA), b(without(layout), slotB), d(result(operation, layout), slotD)
    {
    }
    static Layout without(Layout layout)
    {
        layout.mask = nullptr;
        return layout;
    }
    static Layout result(const Operation& operation, Layout layout)
    {
        if (operation.toBits) {
            layout.depth = ORV_DEPTH_1U;
            layout.channels = 1;
            layout.alpha = 0;
            layout.roi.coi = 0;
        }
        return layout;
    }
};

std::string rowName(const Operation& operation, int size, const char* what)
{
    return std::string(operation.name) + " " + std::to_string(size) + " " + what;
}

void addRow(const Operation& operation, const Layout& layout, const char* what, const char* against, double share,
            double bound)
{
    auto images = std::make_shared<Images>(operation, layout);
    add({rowName(operation, layout.width, what),
         [images, &operation] { operation.run(images->a, images->b, images->d); },
         *against ? rowName(operation, layout.width, against) : "", share, bound});
}

void addBits(const Operation& operation, int size)
{
    auto addAt = [&](const char* what, const char* against, double bound, int a, int b, int d) {
        Layout layout = {.depth = ORV_DEPTH_1U, .width = size, .roi = {0, d, 1, size - 16, size - 16}};
        auto images = std::make_shared<Images>(operation, layout);
        images->a.roi.xOffset = a;
        images->b.roi.xOffset = b;
        add({rowName(operation, size, what), [images, &operation] { operation.run(images->a, images->b, images->d); },
             *against ? rowName(operation, size, against) : "", 1, bound});
    };
    addAt("1U equal offsets", "", 0, 3, 3, 3);
    addAt("1U unequal offsets", "1U equal offsets", 0.5, 6, 1, 3);
}

void addOperation(const Operation& operation, int size)
{
    Layout plain = {.depth = operation.depth, .width = size};
    auto images = std::make_shared<Images>(operation, plain);
    add({rowName(operation, size, "bare loop"), [images, &operation] {
             operation.bare(images->a.data(), images->b.data(), images->d.data(), images->a.bytes());
         }});
    addRow(operation, plain, "whole", "bare loop", 1, 0.95);
    OrvROI inside = {0, 3, 5, size - 16, size - 16};
    double part = double(size - 16) * (size - 16) / size / size;
    if (!operation.toBits) {
        Layout planes = {.depth = operation.depth, .channels = 3, .order = ORV_DATA_ORDER_PLANE, .width = size};
        addRow(operation, planes, "planes", "", 1, 0);
        planes.roi = inside;
        addRow(operation, planes, "planes, region", "planes", part, 0.9);
    } else {
        Layout region = {.depth = operation.depth, .width = size, .roi = inside};
        addRow(operation, region, "region", "whole", part, 0.75);
    }
    if (operation.depth == ORV_DEPTH_8U) {
        bool less = operation.toBits && operation.name[3] == 'L';
        if (!operation.toBits || less) {
            Layout four = {.depth = operation.depth, .channels = 4, .width = size};
            addRow(operation, four, "4 channels", "", 1, 0);
            four.alpha = 4;
            addRow(operation, four, "4 channels, alpha", "4 channels", 1, 0.6);
        }
        Layout three = {.depth = operation.depth, .channels = 3, .width = size};
        if (!operation.toBits || less) {
            addRow(operation, three, "3 channels", "", 1, 0);
            three.roi = {2, 0, 0, size, size};
            addRow(operation, three, "3 channels, COI", "3 channels", 1, 0.35);
        }
        static Image mask256({.depth = ORV_DEPTH_1U, .width = 256}, slotMask);
        static Image mask4096({.depth = ORV_DEPTH_1U, .width = 4096}, slotMask);
        Layout masked = plain;
        masked.mask = size == 256 ? &mask256 : &mask4096;
        addRow(operation, masked, "masked", "whole", 1, 0.5);
        Layout tiled = plain;
        tiled.tile = 256;
        addRow(operation, tiled, "tiled", "whole", 1, 0.8);
        if (operation.bits)
            addBits(operation, size);
    }
}

bool added = [] {
    for (int size : {256, 4096})
        for (const Operation& operation : operations)
            addOperation(operation, size);
    for (const Operation& operation : operations) {
        auto images = std::make_shared<Images>(operation, Layout{.depth = operation.depth, .width = 1});
        add({std::string(operation.name) + " 1x1 (bound 150 ns)",
             [images, &operation] { operation.run(images->a, images->b, images->d); }});
    }
    return true;
}();

}  // namespace
