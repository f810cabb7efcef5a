// The checks of a function, held against a table of faults in the order in which they have to be found.
//
//   const FaultOf fault{"orvNot"};
//   expectFaultsInOrder({{.depth = ORV_DEPTH_8U, .width = 8, .height = 8}, ...}, call, {
//       fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
//       ...
//   });
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "picture.h"

// Makes a fault in the images of a call, or in whatever else the call takes.
using FaultMaker = std::function<void(OrvImage* const* images)>;

struct Fault {
    std::string report;  // all lines, empty for a silent end
    FaultMaker make;
    std::optional<int32_t> returned = {};  // what the function returns, if that is looked at
};

// Faults that a function reports under its name.
struct FaultOf {
    std::string function;

    Fault operator()(int32_t status, const std::string& context, FaultMaker make,
                     std::optional<int32_t> returned = {}) const
    {
        return {std::to_string(status) + ' ' + function + ' ' + context + '\n', std::move(make), returned};
    }
};

// Makes a fault in one field of one image's header.
template <class Field, class Value>
FaultMaker setField(int image, Field OrvImage::*field, Value value)
{
    return [=](OrvImage* const* images) { images[image]->*field = value; };
}

// Gives an image other channels, of which `alpha`, counted from 1, is the alpha channel.
FaultMaker setChannels(int image, int channels, int alpha);

// Masks the first two images, and refuses the n-th allocation unless n is 0.
FaultMaker setMasks(OrvImage* first, OrvImage* second, int refuse = 0);

// Refuses the n-th allocation, and those after it if `all`.
FaultMaker refuseMemory(int n = 1, bool all = false);

using FaultyCall = std::function<std::optional<int32_t>(OrvImage* const* images)>;
void expectReturnedFaultsInOrder(const std::vector<PictureSpec>& specs, const FaultyCall& call,
                                 const std::vector<Fault>& faults);

// For each fault calls the function, which may return a status, with that fault by itself, and with all that come after
// it: the first one alone must be reported, and no image may change. Where two faults touch one field, the earlier has
// its way. A fault may also refuse allocations, which is called off afterwards.
template <class Call>
void expectFaultsInOrder(const std::vector<PictureSpec>& specs, const Call& call, const std::vector<Fault>& faults)
{
    expectReturnedFaultsInOrder(
        specs,
        [&](OrvImage* const* images) -> std::optional<int32_t> {
            if constexpr (std::is_void_v<std::invoke_result_t<const Call&, OrvImage* const*>>)
                return call(images), std::nullopt;
            else
                return call(images);
        },
        faults);
}

// What one call on good images reports.
std::string reportsOf(const std::function<void()>& call);
