#include "owncompos.h"

#include <cstring>

#include "../core/kernels/ownrows.h"
#include "../core/ownmask.h"
#include "../core/ownpixels.h"

namespace {

// ---- A piece of plain memory --------------------------------------------------------------------------------------

// Scratch for a part of a row: small enough that all of it stays in the first-level cache.
constexpr int32_t scratchBytes = 4096;

struct alignas(64) Scratch {
    uint8_t bytes[scratchBytes];
};

// One channel of a region.
struct Channel {
    uint8_t* start;
    ptrdiff_t rowStep;
    int32_t pixelStep;
};

Channel channelOf(const OrvImage& image, int32_t channel)
{
    bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
    return {ownRoiStart(image, channel).data, image.widthStep, planes ? 1 : image.nChannels};
}

// How the colour channels of all images come together: as they lie, with the alpha channels between them, where pixels
// are as far apart in all; otherwise gathered; planes one by one.
struct Shape {
    int32_t passes, values;  // of a pixel in a pass
    int32_t step;            // lanes of a pixel
    bool asTheyLie;
};

struct Piece {
    const OwnComposite& call;
    const OwnCompositeKernels& kernels;
    const OrvImage* const* works;
    int count;  // images with colours: the destination and one or two sources
    OwnGeometry images[3];
    const OwnGeometry* mask;
    Channel alphaA, alphaB, alphaTo;
    Shape shape;
    int bytes;
    int32_t chunk;
    Scratch pattern;  // lanes of a chunk without a mask
};

Shape shapeOf(const OwnGeometry* images, int count)
{
    constexpr int32_t widest = 8;
    bool planes = false, alike = images[0].pixelStep <= widest;
    for (int i = 0; i < count; ++i) {
        planes = planes || images[i].planeStep;
        alike = alike && images[i].pixelStep == images[0].pixelStep;
    }
    planes = planes || images[0].channels > widest;
    int32_t channels = images[0].channels;
    if (alike)
        return {planes ? channels : 1, planes ? 1 : channels, images[0].pixelStep, true};
    return {planes ? channels : 1, planes ? 1 : channels, planes ? 1 : channels, false};
}

// A chunk of a row: from pixel x on.
struct Chunk {
    int32_t x, y, pixels;
    uint8_t *a, *b;  // alphas of the pixels, of the lanes
    uint8_t *lanesA, *lanesB;
};

uint8_t* addressOf(const Piece& piece, const Channel& channel, const Chunk& chunk)
{
    return channel.start + chunk.y * channel.rowStep + ptrdiff_t(chunk.x) * channel.pixelStep * piece.bytes;
}

const uint8_t* maskBits(const Piece& piece, const Chunk& chunk)
{
    return piece.mask->start + chunk.y * piece.mask->rowStep + (chunk.x >> 3);
}

// Stores lanes of results: under the mask, and only those of processed values.
void storeLanes(const Piece& piece, const Chunk& chunk, const void* results, uint8_t* to, int32_t step, int32_t values)
{
    const OwnRowKernels& move = ownRowKernels();
    Scratch lanes;
    ptrdiff_t n = ptrdiff_t(chunk.pixels - 1) * step + values;
    if (!piece.mask && step == values) {
        memcpy(to, results, size_t(n) * size_t(piece.bytes));
        return;
    }
    if (piece.mask)
        move.lanes[ownSizeIndex(piece.bytes)](maskBits(piece, chunk), piece.mask->bit, step, values, lanes.bytes,
                                              chunk.pixels);
    move.copy[piece.bytes == 1 ? OWN_8U : OWN_16U].select(results, nullptr, to,
                                                          piece.mask ? lanes.bytes : piece.pattern.bytes, n);
}

// Stores values that lie side by side `values` a pixel in pixels of `step` values.
void scatterValues(const Piece& piece, const Chunk& chunk, void* results, uint8_t* to, int32_t step, int32_t values)
{
    const OwnRowKernels& move = ownRowKernels();
    int size = ownSizeIndex(piece.bytes);
    if (!piece.mask)
        return move.scatter[size](results, to, step, values, chunk.pixels);
    Scratch stored;
    move.gather[size](to, step, values, stored.bytes, chunk.pixels);
    storeLanes(piece, chunk, results, stored.bytes, values, values);
    move.scatter[size](stored.bytes, to, step, values, chunk.pixels);
}

// Alphas of the chunk's pixels. They are copied before anything of the chunk is stored, since they may lie there.
void bringAlpha(const Piece& piece, const OwnCompositeAlpha& alpha, const Channel& channel, const Chunk& chunk,
                const uint8_t* other, uint8_t* to)
{
    using Kind = OwnCompositeAlpha::Kind;
    if (alpha.kind == Kind::channel)
        ownRowKernels().gather[ownSizeIndex(piece.bytes)](addressOf(piece, channel, chunk), channel.pixelStep, 1, to,
                                                          chunk.pixels);
    else if (alpha.kind == Kind::complement)
        piece.kernels.complement(other, to, chunk.pixels);
}

void fillConstant(const OwnCompositeAlpha& alpha, int bytes, Scratch& pixels)
{
    if (alpha.kind != OwnCompositeAlpha::Kind::constant)
        return;
    uint16_t half = uint16_t(alpha.constant);
    uint8_t byte = uint8_t(alpha.constant);
    const void* scalar = bytes == 1 ? static_cast<const void*>(&byte) : &half;
    ownRowKernels().fill[bytes == 1 ? OWN_8U : OWN_16U].run({nullptr, scalar, pixels.bytes, scratchBytes / bytes});
}

// The colours of a chunk in one pass.
void compositeColours(const Piece& piece, const Chunk& chunk, int32_t pass)
{
    Scratch brought[2], results;
    const Shape& shape = piece.shape;
    int size = ownSizeIndex(piece.bytes);
    ptrdiff_t n = ptrdiff_t(chunk.pixels - 1) * shape.step + (shape.asTheyLie ? shape.values : shape.step);
    uint8_t* places[3] = {};
    const void* from[2] = {nullptr, nullptr};
    for (int i = 0; i < piece.count; ++i) {
        const OwnGeometry& image = piece.images[i];
        places[i] =
            addressOf(piece, {ownChannelStart(image, pass, piece.bytes), image.rowStep, image.pixelStep}, chunk);
        if (i == 0)
            continue;
        from[i - 1] = places[i];
        if (!shape.asTheyLie && image.pixelStep != shape.values) {
            ownRowKernels().gather[size](places[i], image.pixelStep, shape.values, brought[i - 1].bytes, chunk.pixels);
            from[i - 1] = brought[i - 1].bytes;
        }
    }
    const uint8_t* alphas[2] = {chunk.lanesA, chunk.lanesB};
    for (int i = 0; piece.call.multiplies && i < piece.count - 1; ++i) {
        piece.kernels.weighted({from[i], nullptr, alphas[i], nullptr, brought[i].bytes, n});
        from[i] = brought[i].bytes;
    }
    bool direct =
        !piece.mask && (shape.asTheyLie ? shape.step == shape.values : piece.images[0].pixelStep == shape.values);
    piece.call.colour({from[0], from[1], chunk.lanesA, chunk.lanesB, direct ? places[0] : results.bytes, n});
    if (direct)
        return;
    if (shape.asTheyLie)
        storeLanes(piece, chunk, results.bytes, places[0], shape.step, shape.values);
    else
        scatterValues(piece, chunk, results.bytes, places[0], piece.images[0].pixelStep, shape.values);
}

void compositeChunk(const Piece& piece, Chunk& chunk)
{
    using Kind = OwnCompositeAlpha::Kind;
    const OwnComposite& call = piece.call;
    bringAlpha(piece, call.a, piece.alphaA, chunk, nullptr, chunk.a);
    bringAlpha(piece, call.b, piece.alphaB, chunk, chunk.a, chunk.b);
    if (piece.shape.step > 1) {
        if (call.a.kind != Kind::constant && call.a.kind != Kind::none)
            piece.kernels.spread(chunk.a, piece.shape.step, chunk.lanesA, chunk.pixels);
        if (call.b.kind != Kind::constant && call.b.kind != Kind::none)
            piece.kernels.spread(chunk.b, piece.shape.step, chunk.lanesB, chunk.pixels);
    }
    for (int32_t pass = 0; pass < piece.shape.passes; ++pass)
        compositeColours(piece, chunk, pass);
    if (!call.alpha && call.to.kind != Kind::constant)
        return;
    Scratch alphas;
    if (call.alpha)
        call.alpha({nullptr, nullptr, chunk.a, chunk.b, alphas.bytes, chunk.pixels});
    scatterValues(piece, chunk, call.alpha ? alphas.bytes : chunk.a, addressOf(piece, piece.alphaTo, chunk),
                  piece.alphaTo.pixelStep, 1);
}

void compositePiece(Piece& piece, OwnSize size)
{
    Scratch a, b, lanesA, lanesB;
    bool spreads = piece.shape.step > 1;
    fillConstant(piece.call.a, piece.bytes, a);
    fillConstant(piece.call.b, piece.bytes, b);
    if (spreads) {
        fillConstant(piece.call.a, piece.bytes, lanesA);
        fillConstant(piece.call.b, piece.bytes, lanesB);
    }
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = 0; x < size.width;) {
            Chunk chunk = {x,
                           y,
                           ownMin(piece.chunk, size.width - x),
                           a.bytes,
                           b.bytes,
                           spreads ? lanesA.bytes : a.bytes,
                           spreads ? lanesB.bytes : b.bytes};
            compositeChunk(piece, chunk);
            x += chunk.pixels;
        }
}

// ---- Pixels with their alpha ----------------------------------------------------------------------------------------

// True for four values side by side of which all but the alpha are processed.
bool endsWithAlpha(const Piece& piece, int image)
{
    const OwnGeometry& geometry = piece.images[image];
    return !geometry.planeStep && geometry.pixelStep == 4 && geometry.channels == 3;
}

// What a kernel for whole pixels needs to know of an alpha; false if that is not in the source's pixels.
bool pixelAlpha(const OwnCompositeAlpha& alpha, int role, OwnPixelAlpha& found)
{
    using Kind = OwnCompositeAlpha::Kind;
    found = {alpha.kind == Kind::channel, alpha.kind == Kind::complement, uint32_t(alpha.constant)};
    return !found.own || alpha.role == role;
}

// The kernel that composites whole pixels and how it takes alphas, or NULL.
OwnPixelKernels::Kernel pixelKernel(const Piece& piece, OwnPixelRow& row)
{
    using Kind = OwnCompositeAlpha::Kind;
    const OwnComposite& call = piece.call;
    if (!call.whole || !pixelAlpha(call.a, OWN_A, row.alphaA) || !pixelAlpha(call.b, OWN_B, row.alphaB))
        return nullptr;
    for (int i = 0; i < piece.count; ++i)
        if (!endsWithAlpha(piece, i))
            return nullptr;
    if (call.to.kind != Kind::none && call.to.role != OWN_DST)
        return nullptr;
    return call.whole[call.to.kind == Kind::none];
}

void compositePixels(const Piece& piece, OwnPixelKernels::Kernel kernel, OwnPixelRow row, OwnSize size)
{
    Scratch results;
    const int32_t pixelBytes = 4 * piece.bytes, most = piece.mask ? scratchBytes / pixelBytes : size.width;
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = 0; x < size.width;) {
            Chunk chunk = {x, y, ownMin(most, size.width - x), nullptr, nullptr, nullptr, nullptr};
            uint8_t* places[3];
            for (int i = 0; i < 3; ++i) {
                const OwnGeometry& image = piece.images[i < piece.count ? i : 1];
                places[i] = image.start + y * image.rowStep + ptrdiff_t(x) * pixelBytes;
            }
            row.a = places[OWN_A];
            row.b = places[OWN_B];
            row.d = piece.mask ? results.bytes : places[OWN_DST];
            row.pixels = chunk.pixels;
            if (piece.mask)
                memcpy(results.bytes, places[OWN_DST], size_t(chunk.pixels) * size_t(pixelBytes));
            kernel(row);
            if (piece.mask)
                storeLanes(piece, chunk, results.bytes, places[OWN_DST], 4, 4);
            x += chunk.pixels;
        }
}

// ---- The road to pieces ---------------------------------------------------------------------------------------------

// Lanes of pixels without a mask.
void makePattern(Piece& piece)
{
    memset(piece.pattern.bytes, 0, scratchBytes);
    size_t pixel = size_t(piece.shape.step) * size_t(piece.bytes),
           values = size_t(piece.shape.values) * size_t(piece.bytes);
    for (size_t at = 0; at + pixel <= scratchBytes; at += pixel)
        memset(piece.pattern.bytes + at, 0xFF, values);
}

struct Task {
    const OwnComposite& call;
    const OrvImage* mask;
};

void runPiece(void* of, const OrvImage* const* works, const OwnCell& cell)
{
    const auto& task = *static_cast<const Task*>(of);
    const OwnComposite& call = task.call;
    int bytes = ownValueBytes(works[OWN_DST]->depth);
    Piece piece = {
        call, ownCompositeTable().of[bytes - 1], works, works[OWN_B] ? 3 : 2, {}, nullptr, {}, {}, {}, {}, bytes, 0,
        {}};
    for (int i = 0; i < piece.count; ++i)
        ownPlaneGeometry(*works[i], piece.images[i]);
    OwnWork maskWork;
    OwnGeometry under;
    if (task.mask) {
        ownShowCell(maskWork, *task.mask, cell);
        under = ownMaskStart(maskWork.image);
        piece.mask = &under;
    }
    if (call.pixels) {
        const OwnGeometry sourcesFirst[3] = {piece.images[1], piece.images[piece.count == 3 ? 2 : 0], piece.images[0]};
        ownProcessPixels(ownPixelOp(*call.pixels, works[OWN_DST]->depth, call.scalar), sourcesFirst, piece.count,
                         piece.mask);
        return;
    }
    using Kind = OwnCompositeAlpha::Kind;
    if (call.a.kind == Kind::channel)
        piece.alphaA = channelOf(*works[call.a.role], call.a.channel);
    if (call.b.kind == Kind::channel)
        piece.alphaB = channelOf(*works[call.b.role], call.b.channel);
    if (call.to.kind != Kind::none)
        piece.alphaTo = channelOf(*works[call.to.role], call.to.channel);
    OwnPixelRow row = {};
    if (const OwnPixelKernels::Kernel whole = pixelKernel(piece, row))
        return compositePixels(piece, whole, row, {cell.width, cell.height});
    piece.shape = shapeOf(piece.images, piece.count);
    piece.chunk = scratchBytes / (ownMax(piece.shape.step, piece.shape.values) * bytes) & ~7;
    if (!piece.mask && piece.shape.step != piece.shape.values)
        makePattern(piece);
    compositePiece(piece, {cell.width, cell.height});
}

// The masks of the first images as one; false after a report.
bool findMask(const OwnReport& report, OrvImage* const* images, int count, OwnSize& size, OwnTempImage& made,
              const OrvImage*& mask)
{
    OrvImage* masks[3];
    int found = 0;
    for (int i = 0; i < count; ++i)
        if (images[i] && images[i]->maskROI) {
            masks[found++] = images[i]->maskROI;
            OwnRect rect = ownRoiRect(*images[i]->maskROI);
            size = {ownMin(size.width, rect.width), ownMin(size.height, rect.height)};
        }
    mask = found ? masks[0] : nullptr;
    if (found < 2 || size.width < 1 || size.height < 1)
        return true;
    if (report.when(!ownMakeMask(*masks[0], size, made), ORV_STATUS_NO_MEMORY, "No working memory"))
        return false;
    if (report.when(!ownAndInto(masks[0], masks[1], made.image) ||
                        (found == 3 && !ownAndInto(made.image, masks[2], made.image)),
                    ORV_STATUS_BACKTRACE, "Bad masks for images"))
        return false;
    mask = made.image;
    return true;
}

}  // namespace

bool ownCompositeImage(const OwnReport& report, OrvImage* image, const OwnCompositeTexts& texts, OwnSize& size)
{
    if (report.when(!image, ORV_STATUS_BAD_ARG, texts.null) || !report.goodImage(image))
        return false;
    OwnRect rect = ownRoiRect(*image);
    size = {ownMin(size.width, rect.width), ownMin(size.height, rect.height)};
    return true;
}

void ownRunComposite(const OwnComposite& call, OwnSize size, int masked)
{
    OwnTempImage made;
    const OrvImage* mask;
    if (!findMask(call.report, call.images, masked, size, made, mask) || size.width < 1 || size.height < 1)
        return;
    OwnManyImages all = {{}, {}, OWN_ROLES};
    for (int i = 0; i < OWN_ROLES; ++i) {
        all.images[i] = call.images[i];
        all.written[i] = i == OWN_DST || i == OWN_ALPHA_DST;
    }
    Task task = {call, mask};
    bool done = ownManyWalk(all, size, runPiece, &task);
    call.report.when(!done, ORV_STATUS_ERROR, "ERROR in Tiling callBack");
}
