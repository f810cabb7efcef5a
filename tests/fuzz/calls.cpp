// The table of all functions, and how arguments of each type are drawn and looked at.
#include "draw.h"

namespace {

// A block of the arena for arguments that are arrays.
template <class T>
T* array(Drawing& drawing, int64_t count)
{
    auto* memory = reinterpret_cast<T*>(replayBlock(size_t(count) * sizeof(T), drawing.source.below(2), 0));
    if (!memory)
        replayFail("no room for an array");
    return memory;
}

std::string text(double value)
{
    char digits[60];
    snprintf(digits, sizeof digits, "%a", value);
    return std::isnan(value) ? "NAN" : std::isinf(value) ? value < 0 ? "-INFINITY" : "INFINITY" : digits;
}

template <class T>
T* numbers(Drawing& drawing, int id, int count, const char* type)
{
    T* values = array<T>(drawing, count);
    drawing.write("    %s numbers%d[] = {", type, id);
    for (int i = 0; i < count; ++i) {
        if constexpr (std::is_floating_point_v<T>)
            drawing.write("%s, ", text(double(values[i] = T(drawing.real()))).c_str());
        else
            drawing.write(
                "%d, ", int(values[i] = T(drawing.source.oneIn(8) ? drawing.integer() : drawing.source.below(9) - 3)));
    }
    drawing.write("};\n");
    return values;
}

// The matrices of warps are near the identity more often than not, quadrilaterals near the image.
double* matrix(Drawing& drawing, int rows, int columns)
{
    double* values = array<double>(drawing, rows * columns);
    int kind = drawing.source.below(4), id = drawing.names++;
    const OrvImage* image = drawing.imageAt(0);
    double right = image ? image->width - 1.0 : 9, bottom = image ? image->height - 1.0 : 9;
    drawing.write("    double matrix%d[%d][%d] = {", id, rows, columns);
    for (int i = 0; i < rows * columns; ++i) {
        int row = i / columns, column = i % columns;
        double value = columns == 2 && kind == 0 ? 0 : drawing.real();
        if (drawing.plan.valid)
            value = fmod(value, 1);
        if (kind < 3 && columns == 2 && row == 3 && strstr(drawing.entry.name, "Affine"))
            value = values[column] + values[4 + column] - values[2 + column];
        else if (kind < 3 && columns == 2)
            value = column == 0 ? value * right / 3 + (row == 1 || row == 2 ? right : 0.0)
                                : value * bottom / 3 + (row >= 2 ? bottom : 0.0);
        else if (kind < 3 && columns == 3)
            value = column == 2 && row < 2   ? value * 8
                    : row == 2 && column < 2 ? value / 64
                                             : value / 8 + (row == column);
        else if (kind < 3)
            value = column == 3 ? value * 8 : column == 0 ? value / 256 : value / 8 + (row == column - 1);
        values[i] = value;
        drawing.write("%s, ", text(value).c_str());
    }
    drawing.write("};\n");
    drawing.name("matrix%d", id);
    return values;
}

struct Shape {
    int columns, rows, x, y;
};

Shape kernelShape(Drawing& drawing)
{
    // A row, then a column.
    int line = strstr(drawing.entry.name, "Sep") ? drawing.lines++ & 1 : 2, most = drawing.source.oneIn(6) ? 17 : 5;
    Shape shape = {1 + drawing.source.below(most), 1 + drawing.source.below(most), 0, 0};
    if (drawing.plan.valid || !drawing.source.oneIn(8))
        (line == 0 ? shape.rows : line == 1 ? shape.columns : most) = 1;
    shape.x = drawing.source.below(shape.columns);
    shape.y = drawing.source.below(shape.rows);
    if (!drawing.plan.valid && drawing.source.oneIn(30))
        *drawing.source.of({&shape.x, &shape.y}) = drawing.integer();
    return shape;
}

OrvConvKernel* kernel(Drawing& drawing)
{
    Shape k = kernelShape(drawing);
    int id = drawing.names++, shift = drawing.source.oneIn(3) ? drawing.source.below(34) : 0;
    const auto* values = numbers<int32_t>(drawing, id, k.columns * k.rows, "int32_t");
    drawing.write("    OrvConvKernel* kernel%d = orvCreateConvKernel(%d, %d, %d, %d, numbers%d, %d);\n", id, k.columns,
                  k.rows, k.x, k.y, id, shift);
    drawing.name("kernel%d", id);
    return orvCreateConvKernel(k.columns, k.rows, k.x, k.y, values, shift);
}

OrvConvKernelFP* kernelFP(Drawing& drawing)
{
    Shape k = kernelShape(drawing);
    int id = drawing.names++;
    const auto* values = numbers<float>(drawing, id, k.columns * k.rows, "float");
    drawing.write("    OrvConvKernelFP* kernel%d = orvCreateConvKernelFP(%d, %d, %d, %d, numbers%d);\n", id, k.columns,
                  k.rows, k.x, k.y, id);
    drawing.name("kernel%d", id);
    return orvCreateConvKernelFP(k.columns, k.rows, k.x, k.y, values);
}

OrvLUT** tables(Drawing& drawing)
{
    static thread_local OrvLUT* all[1 << 17];  // as many as an image has channels, the same ones again and again
    const OrvImage* image = drawing.imageAt(0);
    int most = image && image->depth == ORV_DEPTH_1U ? 2 : image && image->depth == ORV_DEPTH_16U ? 65536 : 256;
    int id = drawing.names++;
    bool valid = drawing.plan.valid;
    for (int i = 0; i < 8; ++i) {
        auto* table = all[i] = array<OrvLUT>(drawing, 1);
        int count = 2 + drawing.source.below(drawing.source.oneIn(8) ? 200 : 6);
        *table = {count, array<int32_t>(drawing, count), array<int32_t>(drawing, count), array<int32_t>(drawing, count),
                  drawing.source.below(2)};
        int at = drawing.source.below(3);
        for (int j = 0; j < count; ++j) {
            table->key[j] = at < most ? at : most;
            at += drawing.source.below(2 * most / count + 1);
            table->value[j] = drawing.source.below(300);
            table->factor[j] = drawing.source.below(5) - 2;
            if (!valid && drawing.source.oneIn(100))
                *drawing.source.of({&table->key[j], &table->value[j], &table->factor[j]}) = drawing.integer();
        }
        const char* names[] = {"keys", "values", "factors"};
        const int32_t* arrays[] = {table->key, table->value, table->factor};
        for (int k = 0; k < 3; ++k) {
            drawing.write("    int32_t %s%d_%d[] = {", names[k], id, i);
            for (int j = 0; j < count; ++j)
                drawing.write("%d, ", arrays[k][j]);
            drawing.write("};\n");
        }
        if (!valid && drawing.source.oneIn(40))
            table->factor = nullptr;
        drawing.write("    OrvLUT table%d_%d = {%d, keys%d_%d, values%d_%d, %s%d_%d, %d};\n", id, i, count, id, i, id,
                      i, table->factor ? "factors" : "0 * factors", id, i, table->interpolateType);
    }
    for (size_t i = 8; i < std::size(all); ++i)
        all[i] = all[i % 8];
    drawing.write("    static OrvLUT* tables%d[1 << 17];\n    OrvLUT* few%d[] = {", id, id);
    for (int i = 0; i < 8; ++i)
        drawing.write("&table%d_%d, ", id, i);
    drawing.write("};\n    for (int i = 0; i < 1 << 17; ++i)\n        tables%d[i] = few%d[i %% 8];\n", id, id);
    drawing.name("tables%d", id);
    return all;
}

constexpr int wavelets[][3] = {{0, 0, 0}, {1, 1, 0}, {1, 7, 0}, {2, 3, 0}, {3, 5, 0}, {4, 0, 0}, {5, 1, 3},
                               {5, 2, 8}, {5, 3, 9}, {6, 2, 2}, {6, 3, 1}, {7, 0, 0}, {8, 0, 0}};

// What is drawn for an argument of a type, with `d` for the drawing.
#define DRAWN(type, ...)    \
    template <>             \
    type Drawing::draw()    \
    {                       \
        Drawing& d = *this; \
        (void)d;            \
        __VA_ARGS__         \
    }

}  // namespace

using Pairs = double (*)[2];
using Triples = double (*)[3];
using Quadruples = double (*)[4];

DRAWN(OrvImage*, return image();)
DRAWN(int32_t, int32_t value = integer(); name(value == INT32_MIN ? "INT32_MIN" : "%d", value); return value;)
DRAWN(uint32_t, auto value = uint32_t(integer()); name("%uu", value); return value;)
// Numbers are drawn one statement each: compilers evaluate operands in orders of their own.
DRAWN(double, double value = real(); value *= source.of({1, 1, 10, 90}); name("%s", text(value).c_str()); return value;)
DRAWN(float, double wide = real(); wide *= source.of({1, 1, 10, 100}); auto value = float(wide);
      // Positive ones, one above the other, where one is an epsilon or two are a range.
      if (plan.valid && (strstr(entry.name, "Eps") || strstr(entry.name, "orvScaleFP"))) value = most += fabsf(value);
      name("%s", text(double(value)).c_str()); return value;)
DRAWN(double*, double* value = array<double>(d, 1); *value = 0; return argument("(double[1]){0}", value);)
DRAWN(float*, float* value = array<float>(d, 1); *value = 0; return argument("(float[1]){0}", value);)
DRAWN(int32_t*, int32_t* value = array<int32_t>(d, 1); *value = 0; return argument("(int32_t[1]){0}", value);)
DRAWN(Pairs, return reinterpret_cast<Pairs>(matrix(d, strstr(entry.name, "Bound") ? 2 : 4, 2));)
DRAWN(Triples, return reinterpret_cast<Triples>(matrix(d, strstr(entry.name, "Perspective") ? 3 : 2, 3));)
DRAWN(Quadruples, return reinterpret_cast<Quadruples>(matrix(d, 2, 4));)
DRAWN(OrvROI*, auto* roi = array<OrvROI>(d, 1); *roi = {integer(), integer(), integer(), integer(), integer()};
      name("&(OrvROI){%d, %d, %d, %d, %d}", roi->coi, roi->xOffset, roi->yOffset, roi->width, roi->height); return roi;)
DRAWN(OrvLUT**, return tables(d);)
DRAWN(OrvConvKernel*, return kernel(d);)
DRAWN(OrvConvKernelFP*, return kernelFP(d);)
DRAWN(const int32_t*, int id = names++; const auto* values = numbers<int32_t>(d, id, 16, "int32_t");
      name("numbers%d", id); return values;)
DRAWN(const float*, int id = names++; const auto* values = numbers<float>(d, id, 16, "float"); name("numbers%d", id);
      return values;)
DRAWN(OrvColorTwist*, auto* twist = array<OrvColorTwist>(d, 1); int id = names++;
      memcpy(twist->data, numbers<int32_t>(d, id, 16, "int32_t"), sizeof twist->data); twist->scalingValue = integer();
      write("    OrvColorTwist twist%d;\n    memcpy(twist%d.data, numbers%d, 64);\n    twist%d.scalingValue = %d;\n",
            id, id, id, id, twist->scalingValue);
      name("&twist%d", id); return twist;)
DRAWN(const OrvColorTwist*, return draw<OrvColorTwist*>();)
DRAWN(OrvNoiseParam*, auto* noise = array<OrvNoiseParam>(d, 1); int id = names++;
      const auto* limits = numbers<float>(d, id, 2, "float");
      *noise = {source.below(plan.valid ? 2 : 3), source.bits(), integer(), integer(), limits[0], limits[1]};
      name("&(OrvNoiseParam){%d, %uu, %d, %d, numbers%d[0], numbers%d[1]}", noise->noise, noise->seed, noise->lowInt,
           noise->highInt, id, id);
      return noise;)
DRAWN(OrvMomentState*, auto* state = array<OrvMomentState>(d, 1);
      for (int i = 0; i < 16; ++i)(*state)[i / 4][i % 4] = {1, double(i* i + 1)};
      return argument("&(OrvMomentState){{{1, 1}}}", state);)
DRAWN(const OrvWtKernel*, auto* bank = array<OrvWtKernel>(d, 1);
      const int* type = wavelets[source.below(int(std::size(wavelets)))]; int id = names++;
      orvWtInit(type[0], type[1], type[2], bank);
      write("    OrvWtKernel bank%d;\n    orvWtInit(%d, %d, %d, &bank%d);\n", id, type[0], type[1], type[2], id);
      name("&bank%d", id); return bank;)
DRAWN(OrvWtKernel*, return const_cast<OrvWtKernel*>(draw<const OrvWtKernel*>());)
DRAWN(void*, auto* pixel = array<uint8_t>(d, replayMostBytes - 256); memset(pixel, 7, 1024);
      return argument("memset(replayBlock(replayMostBytes - 256, 0, 0), 7, 1024)", static_cast<void*>(pixel));)
DRAWN(const void*, return draw<void*>();)
DRAWN(const char*, return argument("\"RGB\"", static_cast<const char*>("RGB"));)
DRAWN(OrvUserFunc, return argument("replayInteger", replayInteger);)
DRAWN(OrvUserFuncFP, return argument("replayReal", replayReal);)
DRAWN(OrvUserFuncPixel, return argument("replayPixel", replayPixel);)
DRAWN(OrvErrorCallBack, return argument("orvNulDevReport", orvNulDevReport);)
DRAWN(OrvTileCallBack, return argument("replayProvide", replayProvide);)
DRAWN(OrvTileInfo*, auto* info = array<OrvTileInfo>(d, 1); *info = {}; return argument("&(OrvTileInfo){0}", info);)
DRAWN(int32_t**, auto** values = array<int32_t*>(d, 1); *values = array<int32_t>(d, 289);
      return argument("&(int32_t*){(int32_t[289]){0}}", values);)
DRAWN(int8_t**, auto** values = array<int8_t*>(d, 1); *values = array<int8_t>(d, 289);
      return argument("&(int8_t*){(int8_t[289]){0}}", values);)
DRAWN(float**, auto** values = array<float*>(d, 1); *values = array<float>(d, 289);
      return argument("&(float*){(float[289]){0}}", values);)

// What a call has left in its arguments; kernels that were made for it are released.
template <class T>
void Drawing::look(T value)
{
    bool deletes = strstr(entry.name, "Delete");
    if constexpr (std::is_same_v<T, OrvConvKernel*>) {
        if (!deletes)
            orvDeleteConvKernel(value);
    } else if constexpr (std::is_same_v<T, OrvConvKernelFP*>) {
        if (!deletes)
            orvDeleteConvKernelFP(value);
    } else if (!plan.valid || deletes) {
        return;
    } else if constexpr (std::is_same_v<T, Pairs> || std::is_same_v<T, Triples> || std::is_same_v<T, Quadruples>) {
        int columns = int(sizeof *value / 8), rows = columns == 2 && !strstr(entry.name, "Bound") ? 4 : 2;
        for (int i = 0; i < rows * columns; ++i)
            hashReal(value[i / columns][i % columns]);
    } else if constexpr (std::is_same_v<T, double*> || std::is_same_v<T, float*>) {
        hashReal(double(*value));
    } else if constexpr (std::is_same_v<T, OrvMomentState*>) {
        for (int i = 0; i < 16; ++i)
            hashReal((*value)[i / 4][i % 4].value);
    } else if constexpr (std::is_same_v<T, OrvLUT**>) {
        for (int i = 0; i < 8; ++i)
            for (int j = 0; j < value[i]->num; ++j)
                hash(uint32_t(value[i]->value[j]));
    } else if constexpr (std::is_same_v<T, OrvNoiseParam*>) {
        hash(value->seed);
        hash(uint32_t(value->lowInt) ^ uint32_t(value->highInt));
        hashReal(double(value->lowFlt));
        hashReal(double(value->highFlt));
    } else if constexpr (std::is_same_v<T, void*>) {
        if (strstr(entry.name, "Pixel") && imageAt(0)) {
            OrvImage pixel = *imageAt(0);
            pixel.dataOrder = ORV_DATA_ORDER_PIXEL;
            hashRow(&pixel, static_cast<const uint8_t*>(value), 1);
        }
    } else if constexpr (std::is_same_v<T, OrvROI*>) {
        hash(uint32_t(value->width) ^ uint32_t(value->coi));
    }
}

// A call's result; what it has made is released.
template <class T>
void Drawing::take(T value)
{
    if constexpr (std::is_same_v<T, double> || std::is_same_v<T, int32_t>) {
        if constexpr (std::is_same_v<T, double>)
            hashReal(value);
        else
            hash(uint32_t(value));
        if (replayArena.heard && replayArena.reports)
            replayArena.heard(orvGetErrStatus(), "answer", text(double(value)).c_str());
    } else if constexpr (std::is_same_v<T, const char*>)
        hash(strlen(value));
    else if constexpr (std::is_same_v<T, OrvROI*>)
        orvDeleteROI(value);
    else if constexpr (std::is_same_v<T, OrvTileInfo*>)
        orvDeleteTileInfo(value);
    else if constexpr (std::is_same_v<T, OrvColorTwist*>)
        orvDeleteColorTwist(value);
    else if constexpr (std::is_same_v<T, OrvConvKernel*>)
        orvDeleteConvKernel(value);
    else if constexpr (std::is_same_v<T, OrvConvKernelFP*>)
        orvDeleteConvKernelFP(value);
    else if constexpr (std::is_same_v<T, OrvImage*>) {
        if (!value)
            return;
        bool header = strstr(entry.name, "Header");
        // A clone whose rows are of another length has the bytes, and no values.
        const OrvImage* source = strstr(entry.name, "Clone") ? imageAt(0) : nullptr;
        if (!source || (!source->tileInfo && source->widthStep == value->widthStep))
            hashImage(value);
        orvDeallocate(value, header ? ORV_IMAGE_HEADER : ORV_IMAGE_HEADER | ORV_IMAGE_DATA | ORV_IMAGE_ROI);
    } else if constexpr (std::is_pointer_v<T> && !std::is_function_v<std::remove_pointer_t<T>> &&
                         !std::is_same_v<T, const OrvLibVersion*>)
        orvFree(value);
}

namespace {

// Kernels of a list are released after the call.
template <class K>
void convolution(Drawing& d, void(ORV_CALL* function)(OrvImage*, OrvImage*, K**, int32_t, int32_t), const char* type,
                 void(ORV_CALL* release)(K*))
{
    OrvImage* src = d.image();
    OrvImage* dst = d.image();
    int count = 1 + d.source.below(d.source.oneIn(3) ? 10 : 2);
    K* kernels[10] = {};
    std::string before = d.arguments;
    d.arguments.clear();
    for (int i = 0; i < count; ++i)
        kernels[i] = d.draw<K*>();
    std::string list = d.arguments;
    d.arguments = before;
    d.name("(%s*[]){%s}, %d", type, list.c_str(), count);
    d.perform(function, src, dst, kernels, count, d.draw<int32_t>());
    for (K* one : kernels)
        if (one)
            release(one);
}

// A filter bank of the application's, for the three forms in which it is handed over.
template <int form, class Function>
void userBank(Drawing& d, Function* function)
{
    auto* filters = array<OrvWtFilter>(d, 4);
    auto* taps = array<float*>(d, 4);
    auto *lengths = array<int32_t>(d, 4), *offsets = array<int32_t>(d, 4);
    int id = d.names;
    for (int i = 0; i < 4; ++i) {
        int length = 2 + d.source.below(7);
        taps[i] = numbers<float>(d, d.names++, length, "float");
        lengths[i] = !d.plan.valid && d.source.oneIn(30) ? 1 - d.source.below(9) : length;
        offsets[i] = !d.plan.valid && d.source.oneIn(30) ? d.integer() : d.source.below(length);
        filters[i] = {taps[i], lengths[i], offsets[i], 3};
        d.write("    OrvWtFilter filter%d = {numbers%d, %d, %d, 3};\n", id + i, id + i, lengths[i], offsets[i]);
    }
    auto* bank = array<OrvWtKernel>(d, 1);
    *bank = {};
    char list[200];
    auto each = [&](const char* format) {
        return snprintf(list, sizeof list, format, id, id + 1, id + 2, id + 3), list;
    };
    if constexpr (form == 0) {
        d.name("(OrvWtFilter[]){%s}, &(OrvWtKernel){0}", each("filter%d, filter%d, filter%d, filter%d"));
        d.perform(function, filters, bank);
    } else if constexpr (form == 1) {
        d.name("%s, &(OrvWtKernel){0}", each("&filter%d, &filter%d, &filter%d, &filter%d"));
        d.perform(function, filters, filters + 1, filters + 2, filters + 3, bank);
    } else {
        d.name("(float*[]){%s}, (int32_t[]){%d, %d, %d, %d}, (int32_t[]){%d, %d, %d, %d}, &(OrvWtKernel){0}",
               each("numbers%d, numbers%d, numbers%d, numbers%d"), lengths[0], lengths[1], lengths[2], lengths[3],
               offsets[0], offsets[1], offsets[2], offsets[3]);
        d.perform(function, taps, lengths, offsets, bank);
    }
    for (const OrvWtFilter& filter : {bank->filtDecLow, bank->filtRecHigh})
        for (int i = 0; filter.taps && i < filter.length; ++i)
            d.hashReal(double(filter.taps[i]));
    orvWtFree(bank);
}

// Bitmaps that are what they say: hostile ones have a test of their own.
struct Bitmap {
    BITMAPINFOHEADER* dib;
    char* pixels;
    int width, height, bits;
};

Bitmap bitmapFor(Drawing& d, int width, int height, bool separate, bool coded)
{
    static const int formats[][2] = {{1, 0},  {4, 0},  {8, 0},  {16, 0}, {24, 0},
                                     {32, 0}, {16, 3}, {32, 3}, {8, 1},  {4, 2}};
    const int* format = formats[d.source.below(coded ? 10 : 8)];
    uint32_t seed = d.source.bits();
    d.name("replayBitmap(%d, %d, %d, %d, %uu, %d)", width, height, format[0], format[1], seed, separate);
    if (separate)
        d.name("(char*)replayBits(%d, %d, %d, %uu)", width, height, format[0], seed);
    return {replayBitmap(width, height, format[0], format[1], seed, separate),
            separate ? reinterpret_cast<char*>(replayBits(width, height, format[0], seed)) : nullptr, width, height,
            format[0]};
}

template <bool separate, class Function>
void readBitmap(Drawing& d, Function* function)
{
    OrvImage* image = d.image();
    std::string imageText = d.arguments;
    d.arguments.clear();
    auto side = [](int32_t size) { return size > 0 && size < 200 ? size : 9; };
    Bitmap bitmap = bitmapFor(d, side(image ? image->width : 9), side(image ? image->height : 9), separate, false);
    d.name("%s", imageText.c_str());
    if constexpr (separate)
        d.perform(function, bitmap.dib, bitmap.pixels, image);
    else
        d.perform(function, bitmap.dib, image);
}

template <bool separate, class Function>
void writeBitmap(Drawing& d, Function* function)
{
    OrvImage* image = d.image();
    auto side = [](int32_t size) { return size > 0 && size < 200 ? size : 9; };
    Bitmap bitmap = bitmapFor(d, side(image ? image->width : 9), side(image ? image->height : 9), separate, true);
    int dither = d.source.oneIn(2) ? 1 : d.integer(), palette = d.source.below(3);
    d.name("%d, %d", dither, palette);
    if constexpr (separate)
        d.perform(function, image, bitmap.dib, bitmap.pixels, dither, palette);
    else
        d.perform(function, image, bitmap.dib, dither, palette);
    auto* bytes = separate ? reinterpret_cast<uint8_t*>(bitmap.pixels) : reinterpret_cast<uint8_t*>(bitmap.dib) + 40;
    for (int i = 0; i < (bitmap.width * bitmap.bits + 31) / 32 * 4 * bitmap.height; ++i)
        d.hash(bytes[i]);
}

thread_local OrvImage* translated;

int32_t ORV_CALL translate(BITMAPINFOHEADER* dib, int* copied)
{
    translated = orvTranslateDIB(dib, copied);
    return *copied;
}

void translateBitmap(Drawing& d)
{
    int width = 1 + d.source.below(40), height = 1 + d.source.below(30), copied = 0;
    Bitmap bitmap = bitmapFor(d, width, height, false, false);
    d.name("&(int){0}");
    translated = nullptr;
    d.perform(translate, bitmap.dib, &copied);
    if (translated)
        d.hashImage(translated);
    orvDeallocate(translated, copied ? ORV_IMAGE_ALL : ORV_IMAGE_HEADER);
}

template <class Value, class Function>
void allocate(Drawing& d, Function* function)
{
    OrvImage* image = d.image();
    if (image && !d.source.oneIn(8)) {
        d.write("    image0.imageData = NULL;\n");
        image->imageData = nullptr;
    }
    auto doFill = d.draw<int32_t>();
    d.perform(function, image, doFill, d.draw<Value>());
}

template <class K, class T>
void create(Drawing& d, K*(ORV_CALL* function)(int32_t, int32_t, int32_t, int32_t, const T*, int32_t))
{
    Shape k = kernelShape(d);
    int id = d.names++;
    const T* values = numbers<T>(d, id, k.columns * k.rows, sizeof(T) == 1 ? "char" : "int32_t");
    d.name("%d, %d, %d, %d, numbers%d", k.columns, k.rows, k.x, k.y, id);
    d.perform(function, k.columns, k.rows, k.x, k.y, values, d.draw<int32_t>());
}

void createFP(Drawing& d)
{
    Shape k = kernelShape(d);
    int id = d.names++;
    const auto* values = numbers<float>(d, id, k.columns * k.rows, "float");
    d.name("%d, %d, %d, %d, numbers%d", k.columns, k.rows, k.x, k.y, id);
    d.perform(orvCreateConvKernelFP, k.columns, k.rows, k.x, k.y, values);
}

// A length that costs no second to be cleared, or none at all.
template <class T>
void allot(Drawing& d, T*(ORV_CALL* function)(int32_t))
{
    int32_t length = d.integer();
    length = length > 0 ? length % 5000 : length;
    d.name("%d", length);
    d.perform(function, length);
}

void testImage(Drawing& d)
{
    auto depth = d.draw<int32_t>();
    int width = d.integer() % 300, height = d.integer() % 300;
    d.name("%d, %d", width, height);
    d.perform(orvCreateImageJaehne, depth, width, height);
}

OrvImage* imageOfLibrary(bool records)
{
    return orvCreateImageHeader(3, 0, 8, "RGB", "RGB", 0, 0, 4, 9, 9, records ? orvCreateROI(0, 0, 0, 1, 1) : nullptr,
                                nullptr, nullptr, records ? orvCreateTileInfo(replayProvide, nullptr, 8, 8) : nullptr);
}

const Likely few = {{1, 2, 3, 4, 5, 6, 7, 9, 12, 16}},
             windows = {{2, 3, 3, 5, 7}, {2, 3, 3, 5, 13}, {0, 1, 0}, {0, 1, 0}}, warps = {{0, 1, 2, 16, 17, 18}},
             quads = {{0, 1}, {0, 1, 2, 16, 17, 18}}, bytes = {{0, 1, 2, 3, 7, 100, 127, 128, 200, 255}},
             places = {{0, 1, 2, 5, 9, 20}}, orders = {{0, 1, 2, 3, 0, 1}}, scales = {{0, 1, 5, 10, 31}},
             dithers = {{1, 2, 4, 8, 16}}, fourier = {{1, 2, 5, 6, 17, 18, 33, 34, 21, 38}},
             grow = {{2, 3, 5, 9}, {1, 2}, {2, 3, 7}, {1, 2}, {0, 1, 2}},
             shrink = {{1, 2}, {2, 3, 5}, {1, 2}, {2, 4, 7}, {0, 1, 2, 3}},
             blurred = {{1, 2}, {2, 3, 5}, {1, 2}, {2, 4, 7}, {0, 1, 2}, {3, 5, 7}},
             regions = {{0}, {0, 1, 2, 5}, {0, 1, 2, 5}, {2, 5, 9, 20}, {2, 5, 9, 20}},
             reduce = {{0, 1, 8}, {1, 2, 4, 8, 16}, {2, 16, 256}},
             composites = {{0, 1, 2, 3, 4, 5}, {0, 128, 255}, {0, 99, 255}, {0, 1}},
             resize = {{1, 2, 3, 5}, {1, 2, 3, 5}, {1, 2, 3, 5}, {1, 2, 3, 5}, {0, 1, 2, 3}},
             premultiplied = {{0, 1, 2, 3, 4, 5}, {0, 1}},
             header = {{1, 3}, {0}, {8, 16, 32}, {0, 1}, {0, 1}, {4, 8, 16, 32}, {1, 9, 30}};

// A function whose arguments are drawn by their types, and one for which they are made by an expression.
#define ROW(name, family, ...)                                                      \
    {                                                                               \
#name, [](Drawing & d) { d.call(name); }, family __VA_OPT__(, ) __VA_ARGS__ \
    }
#define OWN(name, family, work, ...)                                        \
    {                                                                       \
#name, [](Drawing & d) { work; }, family __VA_OPT__(, ) __VA_ARGS__ \
    }
#define MADE(expression) d.argument(#expression, d.plan.program ? decltype(expression)() : expression)

}  // namespace

const std::vector<Entry>& everyCall()
{
    static const std::vector<Entry> entries = {
        ROW(orvColorToGray, "colour", "bhi!:RGB,bh1!&:GRAY"),
        ROW(orvGrayToColor, "colour", "bhi!:GRAY,=!&:RGB"),
        ROW(orvRGB2HSV, "colour", "bhi!:RGB,=!:HSV"),
        ROW(orvHSV2RGB, "colour", "bhi!:HSV,=!:RGB"),
        ROW(orvRGB2HLS, "colour", "bhi!:RGB,=!:HLS"),
        ROW(orvHLS2RGB, "colour", "bhi!:HLS,=!:RGB"),
        ROW(orvRGB2XYZ, "colour", "bhif!:RGB,=!:XYZ"),
        ROW(orvXYZ2RGB, "colour", "bhif!:XYZ,=!:RGB"),
        ROW(orvRGB2LUV, "colour", "f!:RGB,=!:LUV"),
        ROW(orvLUV2RGB, "colour", "f!:LUV,=!:RGB"),
        ROW(orvRGB2YUV, "colour", "bhif!:RGB,=!:YUV"),
        ROW(orvYUV2RGB, "colour", "bhif!:YUV,=!:RGB"),
        ROW(orvRGB2YCrCb, "colour", "bhif!:RGB,=!:YCr"),
        ROW(orvYCrCb2RGB, "colour", "bhif!:YCr,=!:RGB"),
        ROW(orvYCC2RGB, "colour", "b!:YCC,=!:RGB"),
        ROW(orvCreateColorTwist, "colour", "", scales),
        ROW(orvSetColorTwist, "colour", "", scales),
        OWN(orvDeleteColorTwist, "colour", d.perform(orvDeleteColorTwist, MADE(orvCreateColorTwist(replayTwist, 3)))),
        ROW(orvApplyColorTwist, "colour", "bh:RGB,=:RGB", scales),
        ROW(orvColorTwistFP, "colour", "f:RGB,=:RGB"),
        ROW(orvReduceBits, "colour", "bhi,1bh&", reduce),
        ROW(orvConvert, "convert", "1bchsi,bbhhcsi1|"),
        ROW(orvBitonalToGray, "convert", "1,bchsi|&", bytes),
        ROW(orvScale, "convert", "bchsi,bchsi&"),
        ROW(orvScaleFP, "convert", "bchsi,f&"),
        OWN(orvTranslateDIB, "convert", translateBitmap(d)),
        OWN(orvConvertFromDIB, "convert", readBitmap<false>(d, orvConvertFromDIB), "1bh_!:RGB"),
        OWN(orvConvertFromDIBSep, "convert", readBitmap<true>(d, orvConvertFromDIBSep), "1bh_!:RGB"),
        OWN(orvConvertToDIB, "convert", writeBitmap<false>(d, orvConvertToDIB), "1bh_!:RGB", dithers),
        OWN(orvConvertToDIBSep, "convert", writeBitmap<true>(d, orvConvertToDIBSep), "1bh_!:RGB", dithers),
        ROW(orvGetErrStatus, "core"),
        ROW(orvSetErrStatus, "core"),
        ROW(orvGetErrMode, "core"),
        ROW(orvSetErrMode, "core", "", places),
        ROW(orvRedirectError, "core", "", places),
        ROW(orvError, "core", "", places),
        ROW(orvErrorStr, "core", "", places),
        ROW(orvNulDevReport, "core", "", places),
        ROW(orvStdErrReport, "core", "", places),
        ROW(orvGuiBoxReport, "core", "", places),
        ROW(orvGetLibVersion, "core"),
        ROW(orvGetCadenceCounter, "core"),
        OWN(orvMalloc, "core", allot(d, orvMalloc), "", bytes),
        OWN(orvwMalloc, "core", allot(d, orvwMalloc), "", bytes),
        OWN(orviMalloc, "core", allot(d, orviMalloc), "", bytes),
        OWN(orvsMalloc, "core", allot(d, orvsMalloc), "", bytes),
        OWN(orvdMalloc, "core", allot(d, orvdMalloc), "", bytes),
        OWN(orvFree, "core", d.perform(orvFree, MADE(orvMalloc(100)))),
        ROW(orvCreateImageHeader, "core", "1_", header),
        OWN(orvAllocateImage, "core", allocate<int32_t>(d, orvAllocateImage), "1bchsi_", Likely(std::vector<int>{1})),
        OWN(orvAllocateImageFP, "core", allocate<float>(d, orvAllocateImageFP), "f_", Likely(std::vector<int>{1})),
        ROW(orvDeallocateImage, "core"),
        OWN(orvDeallocateHeader, "core", d.perform(orvDeallocateHeader, MADE(imageOfLibrary(false)))),
        OWN(orvDeallocate, "core", d.perform(orvDeallocate, MADE(imageOfLibrary(true)), MADE(15))),
        ROW(orvCheckImageHeader, "core"),
        ROW(orvCloneImage, "core"),
        ROW(orvCreateROI, "core"),
        ROW(orvSetROI, "core"),
        ROW(orvCreateTileInfo, "core"),
        ROW(orvSetTileInfo, "core"),
        OWN(orvDeleteROI, "core", d.perform(orvDeleteROI, MADE(orvCreateROI(0, 1, 2, 3, 4)))),
        OWN(orvDeleteTileInfo, "core",
            d.perform(orvDeleteTileInfo,
                      MADE(orvCreateTileInfo(replayProvide, NULL, 8, 8)))),  // NOLINT(modernize-use-nullptr): C
        ROW(orvGetPixel, "core", "1bchsif", orders),
        ROW(orvPutPixel, "core", "1bchsif", orders),
        ROW(orvCopy, "core", "1bchsif,="),
        ROW(orvExchange, "core", "1bchsif,="),
        ROW(orvSet, "core", "1bchsi", bytes),
        ROW(orvSetFP, "core", "f"),
        ROW(orvSetBorderMode, "filter", "1bchsif", places),
        ROW(orvBlur, "filter", "1bchsif,=", windows),
        OWN(orvCreateConvKernel, "filter", create(d, orvCreateConvKernel)),
        OWN(orvCreateConvKernelChar, "filter", create(d, orvCreateConvKernelChar)),
        OWN(orvCreateConvKernelFP, "filter", createFP(d)),
        ROW(orvGetConvKernel, "filter"),
        ROW(orvGetConvKernelChar, "filter"),
        ROW(orvGetConvKernelFP, "filter"),
        ROW(orvDeleteConvKernel, "filter"),
        ROW(orvDeleteConvKernelFP, "filter"),
        OWN(orvConvolve2D, "filter", convolution(d, orvConvolve2D, "OrvConvKernel", orvDeleteConvKernel),
            "1bchsi,=", orders),
        OWN(orvConvolve2DFP, "filter", convolution(d, orvConvolve2DFP, "OrvConvKernelFP", orvDeleteConvKernelFP),
            "f,=", orders),
        ROW(orvConvolveSep2D, "filter", "1bchsi,="),
        ROW(orvConvolveSep2DFP, "filter", "f,="),
        ROW(orvNormCrossCorr, "filter", "bchsif_,="),
        ROW(orvDilate, "filter", "1bh,=", few),
        ROW(orvErode, "filter", "1bh,=", few),
        ROW(orvOpen, "filter", "1bh,=", few),
        ROW(orvClose, "filter", "1bh,=", few),
        ROW(orvMaxFilter, "filter", "bchsi,=&", windows),
        ROW(orvMinFilter, "filter", "bchsi,=&", windows),
        ROW(orvMedianFilter, "filter", "bchsi,=&", windows),
        ROW(orvColorMedianFilter, "filter", "bchsf:RGB,=&:RGB", windows),
        ROW(orvFixedFilter, "filter", "bchsif,=&", Likely(std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10})),
        ROW(orvNoiseUniformInit, "generate"),
        ROW(orvNoiseUniformInitFP, "generate"),
        ROW(orvNoiseGaussianInit, "generate"),
        ROW(orvNoiseGaussianInitFP, "generate"),
        ROW(orvNoiseImage, "generate", "bchsif", bytes),
        OWN(orvCreateImageJaehne, "generate", testImage(d), "", Likely(std::vector<int>{1, 8, 16, 32, 50, 70})),
        ROW(orvUserProcess, "generate", "bchsi,="),
        ROW(orvUserProcessFP, "generate", "bchsif,="),
        ROW(orvUserProcessPixel, "generate", "bchsif,="),
        ROW(orvGetAffineQuad, "geometry", "1bchsif", places),
        ROW(orvGetAffineQuadROI, "geometry", "1bchsif", regions),
        ROW(orvGetAffineBound, "geometry", "1bchsif", places),
        ROW(orvGetAffineBoundROI, "geometry", "1bchsif", regions),
        ROW(orvGetAffineTransform, "geometry", "1bchsif", places),
        ROW(orvGetAffineTransformROI, "geometry", "1bchsif", regions),
        ROW(orvGetBilinearQuad, "geometry", "1bchsif", places),
        ROW(orvGetBilinearQuadROI, "geometry", "1bchsif", regions),
        ROW(orvGetBilinearBound, "geometry", "1bchsif", places),
        ROW(orvGetBilinearBoundROI, "geometry", "1bchsif", regions),
        ROW(orvGetBilinearTransform, "geometry", "1bchsif", places),
        ROW(orvGetBilinearTransformROI, "geometry", "1bchsif", regions),
        ROW(orvGetPerspectiveQuad, "geometry", "1bchsif", places),
        ROW(orvGetPerspectiveQuadROI, "geometry", "1bchsif", regions),
        ROW(orvGetPerspectiveBound, "geometry", "1bchsif", places),
        ROW(orvGetPerspectiveBoundROI, "geometry", "1bchsif", regions),
        ROW(orvGetPerspectiveTransform, "geometry", "1bchsif", places),
        ROW(orvGetPerspectiveTransformROI, "geometry", "1bchsif", regions),
        ROW(orvGetRotateShift, "geometry"),
        ROW(orvWarpAffine, "geometry", "1bhf,=&", warps),
        ROW(orvWarpBilinearQ, "geometry", "1bhf,=&", quads),
        ROW(orvWarpBilinear, "geometry", "1bhf,=&", quads),
        ROW(orvWarpPerspectiveQ, "geometry", "1bhf,=&", quads),
        ROW(orvWarpPerspective, "geometry", "1bhf,=&", quads),
        ROW(orvShear, "geometry", "1bhf,=&", warps),
        ROW(orvRotate, "geometry", "1bhf,=&", warps),
        ROW(orvRemap, "geometry", "1bhf,f#&,f#,=&", warps),
        ROW(orvZoom, "geometry", "1bhf,=&", grow),
        ROW(orvResize, "geometry", "1bhf,=&", resize),
        ROW(orvDecimate, "geometry", "1bhf,=&", shrink),
        ROW(orvDecimateBlur, "geometry", "1bhf,=&", blurred),
        ROW(orvMirror, "geometry", "1bchsif,=", Likely(std::vector<int>{0, 1, -1})),
        ROW(orvComputeHisto, "measure", "1bh"),
        ROW(orvContrastStretch, "measure", "bh,="),
        ROW(orvHistoEqualize, "measure", "bh,="),
        ROW(orvNorm, "measure", "1bchsif,=", Likely(std::vector<int>{1, 2, 4, 9, 10, 12})),
        ROW(orvMinMaxFP, "measure", "f"),
        ROW(orvMoments, "measure", "1bchsif#", orders),
        ROW(orvGetSpatialMoment, "measure", "1bchsif#", orders),
        ROW(orvGetNormalizedSpatialMoment, "measure", "1bchsif#", orders),
        ROW(orvGetCentralMoment, "measure", "1bchsif#", orders),
        ROW(orvGetNormalizedCentralMoment, "measure", "1bchsif#", orders),
        ROW(orvSpatialMoment, "measure", "1bchsif#", orders),
        ROW(orvNormalizedSpatialMoment, "measure", "1bchsif#", orders),
        ROW(orvCentralMoment, "measure", "1bchsif#", orders),
        ROW(orvNormalizedCentralMoment, "measure", "1bchsif#", orders),
        ROW(orvAdd, "pointwise", "1bchsif,="),
        ROW(orvSubtract, "pointwise", "1bchsif,="),
        ROW(orvMultiply, "pointwise", "1bchsif,="),
        ROW(orvAnd, "pointwise", "1bchsi,="),
        ROW(orvOr, "pointwise", "1bchsi,="),
        ROW(orvXor, "pointwise", "1bchsi,="),
        ROW(orvAddS, "pointwise", "1bchsi,=", bytes),
        ROW(orvSubtractS, "pointwise", "1bchsi,=", bytes),
        ROW(orvMultiplyS, "pointwise", "1bchsi,=", bytes),
        ROW(orvAndS, "pointwise", "1bchsi,=", bytes),
        ROW(orvOrS, "pointwise", "1bchsi,=", bytes),
        ROW(orvXorS, "pointwise", "1bchsi,=", bytes),
        ROW(orvLShiftS, "pointwise", "1bchsi,=", bytes),
        ROW(orvRShiftS, "pointwise", "1bchsi,=", bytes),
        ROW(orvAddSFP, "pointwise", "f,="),
        ROW(orvSubtractSFP, "pointwise", "f,="),
        ROW(orvMultiplySFP, "pointwise", "f,="),
        ROW(orvNot, "pointwise", "1bchsi,="),
        ROW(orvAbs, "pointwise", "1bchsif,="),
        ROW(orvSquare, "pointwise", "1bchsif,="),
        ROW(orvLess, "pointwise", "1bchsif,=,1"),
        ROW(orvGreater, "pointwise", "1bchsif,=,1"),
        ROW(orvEqual, "pointwise", "1bchsif,=,1"),
        ROW(orvEqualFPEps, "pointwise", "f,=,1"),
        ROW(orvLessS, "pointwise", "bchsi,1", bytes),
        ROW(orvGreaterS, "pointwise", "bchsi,1", bytes),
        ROW(orvEqualS, "pointwise", "bchsi,1", bytes),
        ROW(orvLessSFP, "pointwise", "f,1"),
        ROW(orvGreaterSFP, "pointwise", "f,1"),
        ROW(orvEqualSFP, "pointwise", "f,1"),
        ROW(orvEqualSFPEps, "pointwise", "f,1"),
        ROW(orvThreshold, "pointwise", "bchsi,1bchsi", bytes),
        ROW(orvMultiplySScale, "pointwise", "bh,=", bytes),
        ROW(orvMultiplyScale, "pointwise", "bh,=", bytes),
        ROW(orvPreMultiplyAlpha, "pointwise", "bh,=", bytes),
        ROW(orvAlphaCompositeC, "pointwise", "bh,=", composites),
        ROW(orvAlphaComposite, "pointwise", "bh^,=^,=^,=^,=^,=^", premultiplied),
        OWN(orvRealFft2D, "transform", d.call(orvRealFft2D);
            orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE), "bchsif_", fourier),
        OWN(orvCcsFft2D, "transform", d.call(orvCcsFft2D);
            orvCcsFft2D(nullptr, nullptr, ORV_FFT_RELEASE), "bchsif_", fourier),
        ROW(orvMpyRCPack2D, "transform", "csif_,=_|"),
        OWN(orvDCT2D, "transform", d.call(orvDCT2D);
            orvDCT2D(nullptr, nullptr, ORV_DCT_RELEASE), "bchsif_,f_|&", Likely(std::vector<int>{1, 2})),
        ROW(orvWtInit, "transform", "", Likely(std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9})),
        OWN(orvWtInitUserFilter4, "transform", userBank<0>(d, orvWtInitUserFilter4)),
        OWN(orvWtInitUserFilter, "transform", userBank<1>(d, orvWtInitUserFilter)),
        OWN(orvWtInitUserTaps, "transform", userBank<2>(d, orvWtInitUserTaps)),
        ROW(orvWtFree, "transform"),
        ROW(orvWtDecompose, "transform", "b#_,f#_!/~&"),
        ROW(orvWtReconstruct, "transform", "f#_!~,f#_!~,f#_!~,f#_!~,b#_!*"),
    };
    return entries;
}
