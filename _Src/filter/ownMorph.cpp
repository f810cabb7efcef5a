// Morphology with a square element.
//
//   orvDilate, orvErode   the greatest and the least value of a window
//   orvOpen, orvClose     both, one after the other
#include "../core/ownmask.h"
#include "../core/ownneighbour.h"
#include "../core/ownreport.h"
#include "orv/filter.h"
#include "ownfold.h"
#include "ownopening.h"

namespace {

constexpr const char* source = "ownMorph";

// A frame of one pixel around the region takes part; farther out it is repeated.
constexpr int32_t frameWidth = 1;

enum class Kind { dilate, erode, open, close };

struct Task {
    Kind kind;
    int32_t columns, rows;  // of the element on either side of its middle
    OwnSize region;
    OwnChannels channels;  // of the destination
    OwnRect place;         // of the piece
};

// ---- Channels -----------------------------------------------------------------------------------------------------

// A destination with a region takes the source's channel of interest and not its own.
OwnChannels targetChannels(const OrvImage& src, const OrvImage& dst)
{
    const OwnChannels from = ownChannels(src);
    return {dst.roi ? from.first : 0, from.count, from.coi};
}

bool channelsAgree(const OrvImage& src, const OrvImage& dst)
{
    return ownChannels(src).count == ownChannels(dst).count && targetChannels(src, dst).first < dst.nChannels;
}

// ---- Pieces -------------------------------------------------------------------------------------------------------

bool foldPiece(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnRect& place = task.place;
    const OwnFold fold = {task.kind == Kind::dilate,
                          {task.columns, task.rows, task.columns, task.rows},
                          {place.x + frameWidth, place.y + frameWidth, task.region.width - place.xEnd + frameWidth,
                           task.region.height - place.yEnd + frameWidth}};
    return ownFoldWindows(fold, src, dst, mask);
}

bool morphPiece(void* context, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const Task& task = *static_cast<const Task*>(context);
    OwnWork target(dst);
    target.roi.coi = task.channels.count == 1 ? task.channels.first + 1 : 0;
    if (task.kind == Kind::dilate || task.kind == Kind::erode)
        return foldPiece(task, src, target.image, mask);
    return ownOpenWindows({task.kind == Kind::close, task.columns, task.rows, task.region}, task.place, src,
                          target.image, mask);
}

OwnReach reachOf(const Task& task)
{
    if (task.kind == Kind::dilate || task.kind == Kind::erode)
        return {task.columns, task.rows, task.columns, task.rows};
    // The last rows of all are those of a window that lies above them.
    return {2 * task.columns, 3 * task.rows, 2 * task.columns, 2 * task.rows};
}

// ---- The call -----------------------------------------------------------------------------------------------------

// An element for which a ring of its rows, with one more, is beyond what can be had, is refused whatever the memory
// that it would take here.
bool ringIsPossible(const OrvImage& image, int32_t width, int32_t iterations)
{
    const int64_t element = int64_t{2} * iterations + 1;
    const int64_t bits = ownDepthBits(image.depth) * (width + element - 1);
    const int64_t pitch = ((bits + 7) / 8 + 7) & ~int64_t{7};
    return element + 1 <= INT32_MAX / pitch;
}

bool isGood(const OwnReport& report, OrvImage* src, OrvImage* dst, int32_t iterations)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    if (report.when(iterations < 1, ORV_STATUS_BAD_ARG, "Illegal number of iterations"))
        return false;
    const uint32_t depth = src->depth;
    if (report.when(depth != ORV_DEPTH_1U && depth != ORV_DEPTH_8U && depth != ORV_DEPTH_16U, ORV_STATUS_BAD_ARG,
                    "Illegal image depth"))
        return false;
    if (report.when(depth != dst->depth, ORV_STATUS_BAD_ARG, "SRC and DST depth are different"))
        return false;
    if (report.when(src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG, "SRC and DST order are different"))
        return false;
    if (report.when(src->origin != dst->origin, ORV_STATUS_BAD_ARG, "SRC and DST orign are different"))
        return false;
    return !report.when(!channelsAgree(*src, *dst), ORV_STATUS_BAD_ARG, "SRC and DST number of channels are different");
}

// False if there is no memory, or a tile does not come.
bool run(OrvImage* src, OrvImage* dst, int32_t iterations, Kind kind)
{
    OwnMask mask;
    OwnMaskResult combined =
        ownCombineMasks(src->maskROI, src->maskROI == dst->maskROI ? nullptr : dst->maskROI, nullptr, mask);
    Task task = {
        .kind = kind, .columns = 0, .rows = 0, .region = {}, .channels = targetChannels(*src, *dst), .place = {}};
    if (combined == OwnMaskResult::empty || task.channels.count == 0)
        return true;
    if (combined == OwnMaskResult::noMemory)
        return false;
    if (!ownCommonSize(*src, *dst, mask.image, false, task.region))
        return true;
    if (!ringIsPossible(*src, task.region.width, iterations))
        return false;
    // Elements that pass the frame on both sides, wherever their middle lies, are all the same.
    task.columns = ownMin(iterations - 1, task.region.width) + 1;
    task.rows = ownMin(iterations - 1, task.region.height) + 1;
    return ownRunNeighbours({.src = src,
                             .dst = dst,
                             .mask = mask.image,
                             .reach = reachOf(task),
                             .piece = morphPiece,
                             .task = &task,
                             .frame = frameWidth,
                             .place = &task.place}) == OwnNeighbourResult::done;
}

// What cannot be had is told by the status alone.
void morph(const OwnReport& report, OrvImage* src, OrvImage* dst, int32_t iterations, Kind kind)
{
    orvSetErrStatus(ORV_STATUS_OK);
    if (isGood(report, src, dst, iterations) && !run(src, dst, iterations, kind))
        orvSetErrStatus(ORV_STATUS_NO_MEMORY);
}

}  // namespace

void ORV_CALL orvDilate(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations)
{
    morph({"orvDilate", source}, srcImage, dstImage, iterations, Kind::dilate);
}

void ORV_CALL orvErode(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations)
{
    morph({"orvErode", source}, srcImage, dstImage, iterations, Kind::erode);
}

void ORV_CALL orvOpen(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations)
{
    morph({"orvOpen", source}, srcImage, dstImage, iterations, Kind::open);
}

void ORV_CALL orvClose(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations)
{
    morph({"orvClose", source}, srcImage, dstImage, iterations, Kind::close);
}
