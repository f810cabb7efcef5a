#include "draw.h"

#include <algorithm>
#include <string_view>

#include "testheap.h"

uint32_t Source::bits()
{
    if (data) {
        uint32_t value = 0;
        for (int i = 0; i < 4 && left; ++i, --left)
            value = value << 8 | *data++;
        return value;
    }
    uint64_t z = seed += 0x9E3779B97F4A7C15u;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
    z = (z ^ z >> 27) * 0x94D049BB133111EBu;
    return uint32_t(z >> 32);
}

struct Drawing::Place {
    OrvImage image, before;
    OrvROI roi;
    OrvTileInfo info;
    ReplayTiles tiles;
    ReplayHow how;
    bool isMask;
    bool isWild;  // its pixels do not lie as in an image
    int32_t firstBlock, blocks;
    std::vector<uint8_t> bytes;
};

Drawing::Drawing(Source given, const Plan& wanted, const Entry& what) : source(given), plan(wanted), entry(what)
{
    replayReset();
    replayBegin();
    replayArena.isLoud = plan.loud;
    if (plan.program)
        fprintf(plan.program,
                "/* %s */\n#include \"replay.h\"\n\nint main(void)\n{\n    replayReset();\n    replayBegin();\n    "
                "replayArena.isLoud = 1;\n",
                entry.name);
}

Drawing::~Drawing()
{
    for (Place* place : places)
        delete place;
}

void Drawing::write(const char* format, ...)
{
    va_list values;
    va_start(values, format);
    if (plan.program)
        vfprintf(plan.program, format, values);
    va_end(values);
}

void Drawing::name(const char* format, ...)
{
    if (!plan.program)
        return;
    char text[400];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof text, format, values);
    va_end(values);
    arguments += (arguments.empty() ? "" : ", ") + std::string(text);
}

bool Drawing::begin()
{
    if (plan.program) {
        bool oldStatus = !plan.valid && source.oneIn(40);
        if (oldStatus)
            write("    orvSetErrStatus(-5);\n");
        if (plan.refuseMemory)
            write("    /* request %d for memory is refused */\n", plan.refuseMemory);
        write("    %s(%s);\n    replayCheck();\n    return 0;\n}\n", entry.name, arguments.c_str());
        return false;
    }
    if (!plan.valid && source.oneIn(40))
        orvSetErrStatus(-5);
    for (Place* place : places) {
        place->before = place->image;
        keepBytes(*place);
    }
    if (plan.refuseMemory)
        testheap::refuse(plan.refuseMemory, plan.refuseAll);
    return true;
}

void Drawing::end()
{
    if (plan.refuseMemory) {
        memoryRefused = testheap::refused();
        testheap::refuse(0);
    }
    int32_t status = orvGetErrStatus();
    hash(uint32_t(status));
    worked = status == 0 && replayArena.reports == 0;
    replayCheck();
    for (Place* place : places) {
        const OrvImage &now = place->image, &old = place->before;
        bool same = now.roi == old.roi && now.maskROI == old.maskROI && now.tileInfo == old.tileInfo &&
                    now.width == old.width && now.height == old.height && now.depth == old.depth &&
                    now.nChannels == old.nChannels && now.widthStep == old.widthStep;
        if (!same && !strstr(entry.name, "llocate") && !strstr(entry.name, "FromDIB"))
            replayFail(now.maskROI != old.maskROI ? "maskROI was changed"
                       : now.roi != old.roi       ? "roi was changed"
                                                  : "a header was changed");
        if (!isShared)
            checkBytes(*place);
        tileRefused |= place->how.refuse && place->tiles.requests >= place->how.refuse;
        // Where a tile or memory does not come, what is open stays so.
        bool isSilent = memoryRefused || (!plan.valid && strstr(entry.name, "Filter"));  // without memory
        if (worked && !isSilent && now.tileInfo == &place->info && place->tiles.open != 0)
            replayFail("a tile was left open");
        if (!place->isWild && !isShared && !memoryRefused && !tileRefused)
            hashPixels(*place);
        if (now.imageDataBlock)  // of a function that has allocated it
            orvDeallocateImage(&place->image);
    }
    if (isShared)
        digest = 0;                                                    // what is read may have been written
    isPortable &= plan.valid || !strstr(entry.name, "AllocateImage");  // whose pixels may be what was in memory
}

void Drawing::hashReal(double value)
{
    uint64_t bits = 0;
    memcpy(&bits, &value, 8);
    hash(std::isnan(value) ? 1 : bits);
}

void Drawing::hashRow(const OrvImage* image, const uint8_t* row, int width)
{
    int size = int(image->depth & ORV_DEPTH_MASK) / 8;
    int64_t bytes = replayRowBytes(image, width);
    for (int64_t i = 0; i < bytes; i += size ? size : 1) {
        float real = 0;
        uint32_t word = 0;
        uint16_t half = 0;
        if (image->depth == ORV_DEPTH_32F)
            memcpy(&real, row + i, 4), hashReal(real);
        else if (size == 4)
            memcpy(&word, row + i, 4), hash(word);
        else if (size == 2)
            memcpy(&half, row + i, 2), hash(half);
        else
            hash(row[i] & (size == 0 && i == bytes - 1 ? 0xFF00 >> ((width + 7) % 8 + 1) : 0xFF));
    }
}

void Drawing::hashImage(const OrvImage* image)
{
    if (!image->tileInfo && image->imageData)
        for (int64_t row = 0; row < replayRows(image, image->height); ++row)
            hashRow(image, image->imageData + row * image->widthStep, image->width);
}

void Drawing::hashPixels(const Place& place)
{
    const OrvTileInfo* info = place.image.tileInfo;
    hashImage(&place.image);
    for (int i = 0; info && i < place.blocks; ++i) {
        const ReplayBlock& tile = replayArena.block[place.firstBlock + i];
        int64_t rows = replayRows(&place.image, info->height), step = int64_t(tile.bytes) / rows;
        for (int64_t row = 0; row < rows; ++row)
            hashRow(&place.image, tile.data + row * step, info->width);
    }
}

int32_t Drawing::integer()
{
    static const int32_t edges[] = {-1,    -2,    INT32_MIN, INT32_MAX, INT32_MIN + 1, INT32_MAX - 1, 255,     256,
                                    65535, 65536, 127,       128,       -128,          32767,         -32768,  31,
                                    32,    33,    64,        1000,      46341,         65537,         1 << 30, -7};
    int kind = plan.valid ? 0 : source.below(8);
    if (kind < 6 && !entry.likely.empty()) {
        const std::vector<int>& list = entry.likely[std::min(size_t(integers++), entry.likely.size() - 1)];
        return list[size_t(source.below(int(list.size())))];
    }
    if (kind < 7)
        return source.below(8);
    int32_t edge = edges[source.below(int(std::size(edges)))];
    // What takes time with the window's size would take minutes.
    int32_t most = strstr(entry.name, "ColorMedian")                            ? 40
                   : strstr(entry.name, "Blur") || strstr(entry.name, "Filter") ? 2000
                                                                                : INT32_MAX;
    return edge > most ? edge % most : edge;
}

double Drawing::real()
{
    static const double edges[] = {0.0, -0.0, INFINITY, -INFINITY, NAN, 1e300, -1e300, 1e-300, 4e9, -3e9, 1e18, 5e-324};
    int kind = source.below(plan.valid ? 12 : 14);
    if (kind >= 12)
        return edges[source.below(int(std::size(edges)))];
    if (kind < 4)
        return kind - 1;
    return (source.below(65536) - 32768) / (kind < 8 ? 32768.0 : kind < 11 ? 1024.0 : 256.0);
}

namespace {

const struct {
    char letter;
    uint32_t depth;
} depthLetters[] = {{'1', ORV_DEPTH_1U},  {'b', ORV_DEPTH_8U},  {'c', ORV_DEPTH_8S}, {'h', ORV_DEPTH_16U},
                    {'s', ORV_DEPTH_16S}, {'i', ORV_DEPTH_32S}, {'f', ORV_DEPTH_32F}};

// What an image of a function mostly is.
struct Kind {
    std::string depths = "1bchsif", model;
    bool noRegion = false, single = false, half = false, twice = false, tight = false, plain = false, other = false,
         alike = false, alpha = false;
};

// The text has a part for each image, the last for all that follow, with letters of depths, "=" for that of the first
// image, and signs: "!" no region, "#" one channel, "/" half and "*" twice the first one's size, "~" rows
// without a distance, "_" no tiles, "&" not the one before, "|" the first one's size and region, "^" an alpha channel,
// ":RGB" a model.
Kind kindOf(const char* text, int index)
{
    std::string all = text;
    for (; index > 0 && all.find(',') != std::string::npos; --index)
        all = all.substr(all.find(',') + 1);
    all = all.substr(0, all.find(','));
    Kind kind;
    if (size_t colon = all.find(':'); colon != std::string::npos) {
        kind.model = all.substr(colon + 1);
        all = all.substr(0, colon);
    }
    std::string depths;
    for (char sign : all) {
        kind.noRegion |= sign == '!';
        kind.single |= sign == '#';
        kind.half |= sign == '/';
        kind.twice |= sign == '*';
        kind.tight |= sign == '~';
        kind.plain |= sign == '_';
        kind.other |= sign == '&';
        kind.alike |= sign == '|';
        kind.alpha |= sign == '^';
        if (!strchr("!#/_*~&|^", sign))
            depths += sign;
    }
    if (!depths.empty())
        kind.depths = depths;
    return kind;
}

}  // namespace

OrvImage* Drawing::maskFor(int deep)
{
    auto* mask = new Place{};
    places.push_back(mask);
    mask->isMask = true;
    int number = placed++;
    fillHeader(*mask, 1, true);
    if (deep < 3 && !plan.valid && source.oneIn(4))
        mask->image.maskROI = maskFor(deep + 1);
    place(*mask, number);
    return mask->image.imageData ? &mask->image : nullptr;
}

namespace {

// Around the end of the range.
int32_t moved(int32_t offset, int32_t by)
{
    return int32_t(uint32_t(offset) + uint32_t(by));
}

}  // namespace

void Drawing::fillHeader(Place& to, int index, bool isMask)
{
    OrvImage& image = to.image;
    const OrvImage* first = index || isMask ? imageAt(0) : nullptr;
    if (isMask && !first && !places.empty())
        first = &places[0]->image;
    Kind kind = isMask ? kindOf("1_", 0) : kindOf(entry.images, index);
    bool valid = plan.valid, like = first && (valid || !source.oneIn(10));
    auto hostile = [&](int n) { return !valid && source.oneIn(n); };

    char letter = kind.depths[size_t(source.below(int(kind.depths.size())))];
    image.depth = ORV_DEPTH_8U;
    for (const auto& known : depthLetters)
        if (known.letter == letter || (hostile(100) && !isMask))
            image.depth = known.depth;
    if (letter == '=' && first)
        image.depth = first->depth;
    int sizes = source.below(8);
    auto side = [&] { return 1 + source.below(sizes == 0 ? 3 : sizes < 5 ? 24 : sizes < 7 ? 48 : valid ? 70 : 130); };
    image.width = side();
    image.height = side();
    if (hostile(60))
        (source.oneIn(2) ? image.width : image.height) = 200 + source.below(30000);
    if (like && (kind.half || kind.twice || kind.tight || kind.alike || !source.oneIn(4))) {
        image.width = first->width;
        image.height = first->height;
        if (kind.twice)
            image.width = int32_t(2 * int64_t{image.width} - (image.width & 1)),
            image.height = int32_t(2 * int64_t{image.height});
        if (kind.half) {
            image.width = (first->roi ? first->roi->width : first->width) / 2 + (first->width & 1);
            image.height = (first->roi ? first->roi->height : first->height) / 2 + (first->height & 1);
            image.width = image.width < 1 || image.width > 200 ? 1 : image.width;
            image.height = image.height < 1 || image.height > 200 ? 1 : image.height;
        }
    }
    image.nChannels = kind.single ? 1 : source.of({1, 1, 2, 3, 3, 4, 4, 5});
    if (kind.alpha && image.nChannels == 1)
        image.nChannels = 4;
    image.alphaChannel = image.nChannels > 1 && (kind.alpha || source.oneIn(4)) ? image.nChannels : 0;
    image.dataOrder = source.below(2);
    image.origin = source.oneIn(5);
    if (like && !kind.single && !isMask) {
        image.nChannels = first->nChannels;
        image.alphaChannel = first->alphaChannel;
    }
    if (like) {
        image.dataOrder = first->dataOrder & 1;
        image.origin = first->origin & 1;
    }
    const char *model = "RGB", *sequence = source.oneIn(2) ? "RGB" : "BGR";
    if (kind.model == "GRAY") {
        model = "GRAY", sequence = "G";
        image.nChannels = 1;
        image.alphaChannel = 0;
    } else if (!kind.model.empty()) {
        if (kind.model != "RGB")
            model = sequence = kind.model.c_str();
        image.nChannels = like ? 3 : 3 + source.oneIn(3);
        image.alphaChannel = image.nChannels == 4 ? 4 : 0;
    } else if (image.nChannels == 1) {
        model = "GRAY", sequence = "G";
    }
    memcpy(image.colorModel, model, strnlen(model, 4));
    memcpy(image.channelSeq, sequence, strnlen(sequence, 4));
    if (image.depth == ORV_DEPTH_1U || isMask) {
        image.nChannels = 1;
        image.alphaChannel = hostile(30);
    }
    image.headerSize = int(sizeof image);
    image.align = kind.tight ? 4 : source.of({4, 8, 16, 32});
    int64_t row = replayRowBytes(&image, image.width);
    image.widthStep =
        int32_t((row + image.align - 1) / image.align * image.align + (kind.tight ? 0 : source.of({0, 0, 1, 3, 16})));
    if (hostile(60)) {
        image.widthStep = 1 + source.below(int(row));
    }
    for (int i = 0; i < 4; ++i) {
        image.borderMode[i] = hostile(40) ? integer() : source.below(4);
        image.borderConst[i] = source.oneIn(2) ? 0 : int(source.bits()) % (image.depth == ORV_DEPTH_1U ? 2 : 120);
    }
    to.how = {source.bits(),   source.below(valid ? 4 : 5), source.below(2), source.below(8),
              plan.refuseTile, !valid && source.oneIn(12)};

    // A channel of interest is mostly wanted in all images.
    const OrvROI* firstRegion = like ? first->roi : nullptr;
    bool hasRegion =
        like && kind.alike ? firstRegion != nullptr : (firstRegion && firstRegion->coi && !isMask) || source.oneIn(2);
    if (!kind.noRegion && hasRegion) {
        OrvROI& roi = to.roi;
        int32_t w = image.width, h = image.height;
        roi.xOffset = source.below(w), roi.yOffset = source.below(h);
        roi.width = 1 + source.below(w - roi.xOffset), roi.height = 1 + source.below(h - roi.yOffset);
        if (firstRegion && (kind.alike || source.oneIn(2)))
            roi = *firstRegion;
        roi.coi = image.nChannels > 1 && source.oneIn(3) ? 1 + source.below(image.nChannels) : 0;
        if (like)
            roi.coi = firstRegion ? firstRegion->coi : 0;
        if (hostile(10)) {
            const int32_t value = integer();
            *source.of({&roi.xOffset, &roi.yOffset, &roi.width, &roi.height, &roi.coi}) =
                moved(value, -source.below(3));
        } else if (hostile(10))
            roi.xOffset = moved(roi.xOffset, -source.of({w, 1, 5})),
            roi.yOffset = moved(roi.yOffset, source.of({h, 1, 7}));
        image.roi = &roi;
    }
    if (!isMask && source.oneIn(4))
        image.maskROI = maskFor(0);
    if (!kind.plain && !plan.plain && !(isMask && !hostile(100)) && source.oneIn(4)) {
        to.info.callBack = replayProvide;
        to.info.tileTag = &to.tiles;
        to.info.width = hostile(30) ? integer() : source.of({8, 8, 16, 24, 32, 64});
        to.info.height = hostile(30) ? integer() : source.of({8, 8, 16, 24, 64});
        image.tileInfo = &to.info;
        if (hostile(12))
            to.how.refuse = 1 + source.below(20);
        if (hostile(20)) {
            // Far beyond what memory holds: the region is near the end, and the provider gives up soon.
            int32_t &size = source.oneIn(2) ? image.width : image.height,
                    &offset = &size == &image.width ? to.roi.xOffset : to.roi.yOffset;
            size = INT32_MAX - source.below(9);
            offset = size - 1 - source.below(30);
            image.roi = &to.roi;
            to.how.refuse = 1 + source.below(300);
        }
    }
    image.imageSize = int32_t(replayBytes(&image) & 0x7FFFFFFF);
    if (hostile(25)) {
        int32_t* fields[] = {&image.headerSize,   &image.headerId,  &image.nChannels,
                             &image.alphaChannel, &image.dataOrder, &image.origin,
                             &image.align,        &image.width,     &image.height,
                             &image.imageSize,    &image.widthStep, reinterpret_cast<int32_t*>(&image.depth),
                             &to.info.width,      &to.info.height};
        OrvImage old = image;
        *source.of({fields[0], fields[2], fields[3], fields[4], fields[5], fields[6], fields[7], fields[8], fields[9],
                    fields[10], fields[11], fields[12], fields[13]}) = integer();
        if (!image.tileInfo && (image.imageSize > replayMostBytes - 256 || replayBytes(&image) > replayMostBytes - 256))
            image = old;
    }
    // So many tiles would take minutes, for a warp also where it asks for none of them.
    if (image.tileInfo && (image.width > 300 || image.height > 300)) {
        if (!to.how.refuse)
            to.how.refuse = 1 + source.below(300);
        if (strstr(entry.images, "1bhf")) {
            to.roi = {0, image.width - image.width % 25, image.height - image.height % 25, 25, 25};
            image.roi = &to.roi;
        }
    }
}

void Drawing::place(Place& to, int number)
{
    OrvImage& image = to.image;
    to.firstBlock = replayArena.blocks;
    if (!replayPixels(&image, to.how)) {
        image.tileInfo = nullptr;
        image.imageData = nullptr;
    }
    to.blocks = replayArena.blocks - to.firstBlock;
    // Pixels that lie in those of the first image, but where the address sanitizer watches, which does not like copies
    // of rows that overlap. All builds draw the same.
#if defined(__SANITIZE_ADDRESS__) || defined(ORVZ3_LIBFUZZER)
    constexpr bool mayOverlap = false;
#else
    constexpr bool mayOverlap = true;
#endif
    int64_t spare = -1;
    const OrvImage* first = imageAt(0);
    if (!plan.valid && !to.isMask && first && first->imageData && image.imageData &&
        places[0]->image.imageData == first->imageData && places[0]->blocks == 1 && source.oneIn(20)) {
        spare =
            int64_t(replayArena.block[places[0]->firstBlock].bytes) - int64_t(replayArena.block[to.firstBlock].bytes);
        spare = spare < 0 ? -1 : source.below(int(spare) + 1);
        isPortable &= spare < 0;
        if (!mayOverlap)
            spare = -1;
        if (spare >= 0) {
            image.imageData = first->imageData + spare;
            isShared = true;
        }
    }
    to.isWild |= image.width < 1 || image.height < 1 || image.nChannels < 1 || image.dataOrder >> 1 ||
                 std::string_view("\x01\x08\x10\x20").find(char(image.depth & 255)) == std::string_view::npos ||
                 !image.imageData == !image.tileInfo || image.widthStep < replayRowBytes(&image, image.width);
    isPortable &= !to.isWild;  // values whose bytes others share depend on the order of bytes
    if (!plan.program)
        return;
    const OrvImage& i = image;
    if (i.roi)
        write("    OrvROI roi%d = {%d, %d, %d, %d, %d};\n", number, i.roi->coi, i.roi->xOffset, i.roi->yOffset,
              i.roi->width, i.roi->height);
    if (i.tileInfo)
        write("    static ReplayTiles tiles%d;\n    OrvTileInfo info%d = {replayProvide, &tiles%d, NULL, %d, %d};\n",
              number, number, number, i.tileInfo->width, i.tileInfo->height);
    write("    OrvImage image%d = {%d, %d, %d, %d, 0x%Xu, \"%.4s\", \"%.4s\", %d, %d, %d, %d, %d, ", number,
          i.headerSize, i.headerId, i.nChannels, i.alphaChannel, i.depth, i.colorModel, i.channelSeq, i.dataOrder,
          i.origin, i.align, i.width, i.height);
    auto pointer = [&](bool set, const char* what, int n) { set ? write("&%s%d, ", what, n) : write("NULL, "); };
    pointer(i.roi, "roi", number);
    // A mask is drawn right after its image has its number.
    pointer(i.maskROI, "image", number + 1);
    write("NULL, ");
    pointer(i.tileInfo, "info", number);
    write("%d, NULL, %d, {%d, %d, %d, %d}, {%d, %d, %d, %d}, NULL};\n", i.imageSize, i.widthStep, i.borderMode[0],
          i.borderMode[1], i.borderMode[2], i.borderMode[3], i.borderConst[0], i.borderConst[1], i.borderConst[2],
          i.borderConst[3]);
    write("    ReplayHow how%d = {%uu, %d, %d, %d, %d, %d};\n    replayPixels(&image%d, how%d);\n", number, to.how.seed,
          to.how.fill, to.how.atStart, to.how.shift, to.how.refuse, to.how.again, number, number);
    if (spare >= 0)
        write("    image%d.imageData = image0.imageData + %d;\n", number, int(spare));
}

// Whether a function may write an image's pixels.
bool Drawing::isWritten(const OrvImage* image) const
{
    auto is = [&](const char* part) { return strstr(entry.name, part) != nullptr; };
    if (is("orvGet") || is("orvNorm") || is("Moment") || is("MinMax") || is("Histo") || is("ToDIB") || is("Check") ||
        is("Clone"))
        return is("Equalize") || is("CrossCorr") ? images.back() == image : false;
    for (size_t i = 0; i < images.size(); ++i)
        if (images[i] == image && (i + 1 == images.size() || is("Exchange") || (is("Decompose") && i > 0) ||
                                   (is("orvAlphaComposite") && i == 2)))
            return true;
    return false;
}

// Not for these, for which a region, or its channel, has no effect or is only a start.
static bool keepsToRegion(const char* name)
{
    return !strstr(
        " orvConvert orvBitonalToGray orvPutPixel orvPreMultiplyAlpha orvReduceBits orvApplyColorTwist orvColorTwistFP "
        "orvUserProcessPixel orvDCT2D ",
        (std::string(" ") + name + " ").c_str());
}

void Drawing::keepBytes(Place& place)
{
    for (int i = 0; i < place.blocks; ++i) {
        const ReplayBlock& block = replayArena.block[place.firstBlock + i];
        place.bytes.insert(place.bytes.end(), block.data, block.data + block.bytes);
    }
}

// Ends the process where a byte was changed that lies outside of what the function may write.
void Drawing::checkBytes(const Place& place)
{
    const uint8_t* old = place.bytes.data();
    for (int i = 0; i < place.blocks; ++i) {
        const ReplayBlock& block = replayArena.block[place.firstBlock + i];
        if (block.bytes && memcmp(block.data, old, block.bytes) != 0) {
            if (!isWritten(&place.image))
                replayFail(place.isMask ? "a mask was changed" : "a source was changed");
            if (!place.isWild && keepsToRegion(entry.name))
                checkBlock(place, i, old);
        }
        old += block.bytes;
    }
}

void Drawing::checkBlock(const Place& place, int number, const uint8_t* old)
{
    const OrvImage& image = place.image;
    const ReplayBlock& block = replayArena.block[place.firstBlock + number];
    const OrvROI* roi = image.roi;
    bool isPlanes = image.dataOrder == ORV_DATA_ORDER_PLANE;
    int64_t left = 0, top = 0, height = image.height, step = image.widthStep;
    if (image.tileInfo) {
        if (image.width > place.tiles.columns * image.tileInfo->width ||
            image.height > place.tiles.rows * image.tileInfo->height)
            return;  // one tile stands for several
        height = image.tileInfo->height;
        left = number % place.tiles.columns * int64_t{image.tileInfo->width};
        top = number / place.tiles.columns * height;
        step = int64_t(block.bytes) / replayRows(&image, height);
    } else if (!roi || image.nChannels == 1) {
        return;  // padding may be written too
    }
    bool single = roi && roi->coi && !strstr(entry.name, "Alpha");
    for (const OrvImage* other : images)
        single = single && other && other->roi && other->roi->coi == roi->coi;  // or the source's holds for both
    int64_t right = image.width, bottom = image.height, x0 = 0, y0 = 0;
    if (roi) {
        x0 = roi->xOffset, y0 = roi->yOffset;
        right = std::min(right, x0 + roi->width);
        bottom = std::min(bottom, y0 + roi->height);
    }
    int size = int(image.depth & ORV_DEPTH_MASK) / 8, values = isPlanes ? 1 : image.nChannels;
    for (int64_t at = 0; at < int64_t(block.bytes); ++at)
        for (int bits = block.data[at] ^ old[at]; bits; bits &= bits - 1) {
            int64_t row = at / step, value = at % step;
            value = size ? value / size : value * 8 + 7 - __builtin_ctz(unsigned(bits));
            int64_t x = left + value / values, y = top + row % height,
                    channel = isPlanes ? row / height : value % values;
            if (x < x0 || x >= right || y < y0 || y >= bottom || (single && channel != roi->coi - 1))
                replayFail("a pixel outside of the region was written");
        }
}

OrvImage* Drawing::image()
{
    int index = int(images.size());
    if (index == 0 && plan.shared) {
        images.push_back(plan.shared);
        return plan.shared;
    }
    bool again = index > 0 && source.oneIn(plan.valid ? 10 : 6) && !(plan.valid && kindOf(entry.images, index).other);
    if (!plan.valid && source.oneIn(60)) {
        name("NULL");
        return nullptr;
    }
    if (again && index > (plan.shared ? 1 : 0)) {
        int which = plan.shared ? 1 + source.below(index - 1) : source.below(index);
        images.push_back(images[size_t(which)]);
        for (size_t i = 0; i < places.size(); ++i)
            if (images[size_t(which)] == &places[i]->image)
                name("&image%d", int(i));
        return images.back();
    }
    auto* to = new Place{};
    places.push_back(to);
    int number = placed++;
    fillHeader(*to, index, false);
    place(*to, number);
    images.push_back(&to->image);
    name("&image%d", number);
    return &to->image;
}
