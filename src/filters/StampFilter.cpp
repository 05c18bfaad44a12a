#include "filters/StampFilter.h"

#include "filters/BoxBlur.h"
#include "filters/Curves.h"
#include "filters/FilterFrame.h"
#include "filters/TableWalk.h"
#include "filters/Truncate.h"

namespace zor {

// 0 below low, 1 from high on, and a smooth step in between.
static double SmoothStep(double low, double high, double i) {
    if (low > i) return 0.0;
    if (i >= high) return 1.0;
    const double t = (i - low) / (high - low);
    return (3.0 - 2.0 * t) * t * t;
}

double StampValue(double threshold, double softness, int black, int white, double level) {
    const double low = (threshold - 0.5 * softness) * 255.0;
    const double high = (threshold + 0.5 * softness) * 255.0;
    return SmoothStep(low, high, level) * (white - black) + black;
}

ByteTable StampTable(double threshold, double softness, int black, int white) {
    ByteTable table;
    for (int i = 0; i < 256; ++i) {
        table.entry[i] = static_cast<std::uint8_t>(TruncateToInt(StampValue(threshold, softness, black, white, i)));
    }
    return table;
}

REALobject StampFilter2(REALobject object, REALobject dst, double, double threshold, double softness, int black,
                        int white) {
    return FilterInto(object, dst, [=](ImageClassData* from, ImageClassData* to) {
        const auto table = [=](int shift) {
            return StampTable(threshold, softness, black >> shift & 255, white >> shift & 255);
        };
        constexpr int kRed = 16, kGreen = 8, kBlue = 0;
        const PixelSides sides = ColourSidesOf(from, to);
        if (from->IsGray) {
            const ByteTable tables[] = {table(kGreen)};
            MapThroughTables(sides, WholeImage(from), tables);
        } else if (from->IsRGB) {
            const ByteTable tables[] = {table(kRed), table(kGreen), table(kBlue)};
            MapThroughTables(sides, WholeImage(from), tables);
        }
    });
}

REALobject StampFilter(REALobject object, REALobject dst, double radius, double threshold, double softness,
                       REALcolor black, REALcolor white) {
    constexpr int kSteps = 3;
    const ObjectHolder blurred(BoxBlurFilter2(object, dst, radius / 3.0, kSteps, true, true));
    if (!blurred.get()) return nullptr;
    return StampFilter2(blurred.get(), nullptr, radius, threshold, softness, black, white);
}

}  // namespace zor
