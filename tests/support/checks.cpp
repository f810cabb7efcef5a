#include "checks.h"

#include <gtest/gtest.h>

#include <memory>

#include "reports.h"
#include "testheap.h"

FaultMaker setChannels(int image, int channels, int alpha)
{
    return [=](OrvImage* const* images) {
        images[image]->nChannels = channels;
        images[image]->alphaChannel = alpha;
    };
}

FaultMaker setMasks(OrvImage* first, OrvImage* second, int refuse)
{
    return [=](OrvImage* const* images) {
        images[0]->maskROI = first;
        images[1]->maskROI = second;
        if (refuse)
            testheap::refuse(refuse);
    };
}

FaultMaker refuseMemory(int n, bool all)
{
    return [=](OrvImage* const*) { testheap::refuse(n, all); };
}

// Calls with the faults from `first` to before `end`, of which the first alone must be reported.
static void expectFault(const std::vector<PictureSpec>& specs, const FaultyCall& call, const std::vector<Fault>& faults,
                        size_t first, size_t end)
{
    SCOPED_TRACE("faults from " + std::to_string(first) + " to before " + std::to_string(end));
    std::vector<std::unique_ptr<Picture>> pictures;
    std::vector<OrvImage*> images;
    std::vector<std::vector<uint8_t>> before;
    for (const PictureSpec& spec : specs) {
        pictures.push_back(std::make_unique<Picture>(spec));
        images.push_back(*pictures.back());
        before.push_back(pictures.back()->bytes());
    }
    int blocks = testheap::blocks();
    for (size_t i = end; i-- > first;)
        faults[i].make(images.data());
    Reports reports;
    std::optional<int32_t> returned = call(images.data());
    testheap::refuse(0);
    EXPECT_EQ(reports.take(), faults[first].report);
    EXPECT_TRUE(!faults[first].returned || returned == faults[first].returned) << returned.value_or(0);
    EXPECT_EQ(testheap::blocks(), blocks);
    for (size_t i = 0; i < pictures.size(); ++i) {
        EXPECT_TRUE(pictures[i]->bytes() == before[i]) << "image " << i << " was changed";
        EXPECT_EQ(pictures[i]->faults(), "");
    }
}

void expectReturnedFaultsInOrder(const std::vector<PictureSpec>& specs, const FaultyCall& call,
                                 const std::vector<Fault>& faults)
{
    for (size_t first = 0; first < faults.size(); ++first) {
        expectFault(specs, call, faults, first, first + 1);
        expectFault(specs, call, faults, first, faults.size());
    }
}

std::string reportsOf(const std::function<void()>& call)
{
    Reports reports;
    call();
    return reports.take();
}
