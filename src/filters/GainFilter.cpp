#include "filters/GainFilter.h"

#include <algorithm>
#include <cmath>

#include "filters/Curves.h"
#include "filters/FilterFrame.h"
#include "filters/TableWalk.h"
#include "filters/Truncate.h"

namespace zor {

static double GainCurve(double t, double exponent) {
    if (t < 0.5) return 0.5 * std::pow(2 * t, exponent);
    return 1.0 - 0.5 * std::pow(2 * (1.0 - t), exponent);
}

ByteTable GainTable(double gain, double bias, double added) {
    const double exponent = std::log(1.0 - gain) / std::log(0.5);
    const double bend = 1.0 / bias - 2.0;
    ByteTable table;
    for (int i = 0; i < 256; ++i) {
        const double t = i / 255.0;
        double x, rest;  // rest: what x leaves of 1
        if (t < 0.001) {
            x = 0.0;
            rest = 1.0;
        } else if (t > 0.999) {
            x = 1.0;
            rest = 0.0;
        } else {
            x = GainCurve(t, exponent);
            rest = 1.0 - x;
        }
        const double value = x / (rest * bend + 1.0) * 255.0 + added;
        table.entry[i] = static_cast<std::uint8_t>(std::clamp(TruncateToInt(value), 0, 255));
    }
    return table;
}

REALobject GainFilter(REALobject object, REALobject dst, double gain, double bias) {
    return FilterInto(object, dst, [gain, bias](ImageClassData* from, ImageClassData* to) {
        if (from->IsGray || from->IsRGB) MapThroughTable(SidesOf(from, to), GainTable(gain, bias));
    });
}

}  // namespace zor
