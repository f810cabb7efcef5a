// Conversions between depths: the bytes that they move should be what they cost.
#include "image.h"
#include "table.h"

namespace {

using namespace table;

constexpr uint32_t integers[] = {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S};

double bytesOf(uint32_t depth)
{
    return double(depth & ORV_DEPTH_MASK) / 8;
}

// A row held against a copy of 8U, which moves two bytes a pixel.
template <class Run>
void addRow(const std::string& name, uint32_t from, uint32_t to, int size, double most, Run run)
{
    Layout source = {.depth = from, .width = size}, result = {.depth = to, .width = size};
    add({name + ' ' + depthName(from) + " to " + depthName(to) + ", " + std::to_string(size),
         [=] {
             Image src(source, slotA), dst(result, slotD);
             run(src, dst);
         },
         copyRow(size), 1, most > 0 ? copies(most) : 0});
}

const bool added = [] {
    for (int size : {512, 2048}) {
        for (uint32_t from : integers)
            for (uint32_t to : integers) {
                double most = 1.3 * (bytesOf(from) + bytesOf(to)) / 2;
                addRow("orvConvert", from, to, size, most, orvConvert);
                if (from != to)
                    addRow("orvScale", from, to, size, most, orvScale);
            }
        auto scaleFP = [](OrvImage* src, OrvImage* dst) { orvScaleFP(src, dst, -0.5f, 12000.0f); };
        auto scaleTo1 = [](OrvImage* src, OrvImage* dst) { orvScaleFP(src, dst, 0, 1); };
        addRow("orvScaleFP 0 to 1", ORV_DEPTH_8U, ORV_DEPTH_32F, size, 5, scaleTo1);
        addRow("orvScaleFP", ORV_DEPTH_8U, ORV_DEPTH_32F, size, 5, scaleFP);
        addRow("orvScaleFP", ORV_DEPTH_32F, ORV_DEPTH_8U, size, 5, scaleFP);
        for (uint32_t depth : {ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S}) {
            addRow("orvScaleFP", depth, ORV_DEPTH_32F, size, 0, scaleFP);
            addRow("orvScaleFP", ORV_DEPTH_32F, depth, size, 0, scaleFP);
        }
        addRow("orvConvert", ORV_DEPTH_8U, ORV_DEPTH_1U, size, 0, orvConvert);
        auto toGray = [](OrvImage* src, OrvImage* dst) { orvBitonalToGray(src, dst, 20, 100); };
        addRow("orvBitonalToGray", ORV_DEPTH_1U, ORV_DEPTH_8U, size, 1.5, toGray);
        addRow("orvBitonalToGray", ORV_DEPTH_1U, ORV_DEPTH_32S, size, 0, toGray);
    }
    return true;
}();

}  // namespace
