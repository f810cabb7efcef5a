// threads.cpp - several threads on one picture: find its edges, one strip of rows to a thread.
//
//     threads photo.png result.png [threads]
//
// The library takes no locks and needs none: what it keeps belongs to a thread. Threads share pixels as long as nobody
// writes what another reads or writes, but each has its own headers, since an operation may write into a header while
// it runs.
#include <orv.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/pngio.h"

constexpr int32_t allSides = ORV_SIDE_TOP | ORV_SIDE_BOTTOM | ORV_SIDE_LEFT | ORV_SIDE_RIGHT;

struct FreeImage {
    void operator()(OrvImage* image) const { orvDeallocate(image, ORV_IMAGE_HEADER | ORV_IMAGE_DATA); }
};
using ImagePtr = std::unique_ptr<OrvImage, FreeImage>;

// An image of the same kind with pixels of its own, or nothing.
static ImagePtr makeLike(const OrvImage& like, int32_t height)
{
    ImagePtr image(orvCreateImageHeader(like.nChannels, 0, like.depth, "", "", like.dataOrder, like.origin, like.align,
                                        like.width, height, nullptr, nullptr, nullptr, nullptr));
    if (image)
        orvAllocateImage(image.get(), 0, 0);
    return image && image->imageData ? std::move(image) : nullptr;
}

// Another header for the same pixels, with a region of its own.
class View {
public:
    View(const OrvImage& image, int32_t y, int32_t height) : roi{0, 0, y, image.width, height}, header(image)
    {
        header.roi = &roi;
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    operator OrvImage*() { return &header; }

private:
    OrvROI roi;
    OrvImage header;
};

// Edges are what differs from its surroundings, whichever is brighter, four times as strong. One of the two differences
// is 0 in every place, as results below 0 stay at 0. The blur reads beyond the strip, into its neighbours, of the
// source.
static void findEdges(const OrvImage& source, const OrvImage& result, int32_t y, int32_t height)
{
    ImagePtr soft = makeLike(source, height), darker = makeLike(source, height);
    if (!soft || !darker) {
        orvError(ORV_STATUS_NO_MEMORY, "findEdges", "", __FILE__, __LINE__);
        return;
    }
    View from(source, y, height), to(result, y, height);
    orvBlur(from, soft.get(), 9, 9, 4, 4);
    orvSubtract(soft.get(), from, darker.get());
    orvSubtract(from, soft.get(), soft.get());
    orvOr(soft.get(), darker.get(), soft.get());
    orvMultiplyS(soft.get(), to, 4);
}

// What a thread does: it sets its own mode and handler, since it inherits neither, and tells how it went.
static void work(const OrvImage& source, const OrvImage& result, int32_t y, int32_t height, int32_t& status)
{
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    findEdges(source, result, y, height);
    status = orvGetErrStatus();
}

// Runs the strips in as many threads; returns the milliseconds that it took, or a negative status.
static double findEdgesInThreads(const OrvImage& source, const OrvImage& result, int32_t count)
{
    auto start = std::chrono::steady_clock::now();
    std::vector<int32_t> statuses(count);
    std::vector<std::thread> threads;
    for (int32_t i = 0; i < count; ++i) {
        int32_t y = int32_t(int64_t(source.height) * i / count),
                end = int32_t(int64_t(source.height) * (i + 1) / count);
        threads.emplace_back(work, std::cref(source), std::cref(result), y, end - y, std::ref(statuses[i]));
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int32_t status : statuses)
        if (status < 0)
            return status;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: threads photo.png result.png [threads]\n");
        return 2;
    }
    int32_t count = argc > 3 ? std::atoi(argv[3]) : int32_t(std::thread::hardware_concurrency());
    ImagePtr photo(pngLoad(argv[1]));
    if (!photo || count < 1 || count > photo->height)
        return EXIT_FAILURE;
    orvSetBorderMode(photo.get(), ORV_BORDER_REPLICATE, allSides, 0);
    ImagePtr result = makeLike(*photo, photo->height);
    if (!result)
        return EXIT_FAILURE;
    findEdgesInThreads(*photo, *result, 1);  // not timed: the first run meets its memory for the first time
    double one = findEdgesInThreads(*photo, *result, 1);
    double all = findEdgesInThreads(*photo, *result, count);
    if (one < 0 || all < 0 || !pngSave(argv[2], result.get()))
        return EXIT_FAILURE;
    std::printf("1 thread: %.2f ms, %d threads: %.2f ms\n", one, count, all);
    return EXIT_SUCCESS;
}
