#include "filters/GammaFilter.h"

#include <algorithm>
#include <cmath>

#include "filters/Curves.h"
#include "filters/FamilyFilter.h"
#include "filters/Truncate.h"

namespace zor {

ByteTable GammaTable(double gamma) {
    ByteTable table;
    for (int i = 0; i < 256; ++i) {
        const double value = std::pow(i / 255.0, 1.0 / gamma) * 255.0 + 0.5;
        table.entry[i] = static_cast<std::uint8_t>(std::clamp(TruncateToInt(value, -1), 0, 255));
    }
    return table;
}

// --- workers --------------------------------------------------------------------------------------------------------

static void rbGammaFilterG(ImageClassData* src, ImageClassData* dst, double gamma) {
    MapColours(src, dst, {GammaTable(gamma)});
}

static void rbGammaFilterGA(ImageClassData* src, ImageClassData* dst, double gamma, double alphaGamma) {
    MapColoursAndAlpha(src, dst, {GammaTable(gamma), GammaTable(alphaGamma)});
}

static void rbGammaFilterRGB(ImageClassData* src, ImageClassData* dst, double red, double green, double blue) {
    MapColours(src, dst, {GammaTable(red), GammaTable(green), GammaTable(blue)});
}

static void rbGammaFilterRGBA(ImageClassData* src, ImageClassData* dst, double red, double green, double blue,
                              double alpha) {
    MapColoursAndAlpha(src, dst, {GammaTable(red), GammaTable(green), GammaTable(blue), GammaTable(alpha)});
}

// --- members --------------------------------------------------------------------------------------------------------

static constexpr FamilyWorkers<double> kGamma = {rbGammaFilterG, rbGammaFilterGA, rbGammaFilterRGB, rbGammaFilterRGBA};

// One gamma for gray out of three, mixed by luminance. It is worked out in whole numbers, fractions dropped first.
static double MixedGamma(double red, double green, double blue) {
    const auto weighted = [](unsigned weight, double gamma) {
        return weight * static_cast<unsigned>(TruncateToInt(gamma));
    };
    return static_cast<int>(weighted(77, red) + weighted(151, green) + weighted(28, blue)) / 256;
}

REALobject GammaFilterG(REALobject object, REALobject dst, double gamma) {
    return FilterByFamily(object, dst, kGamma, {gamma, gamma, gamma, gamma, false, 0});
}

REALobject GammaFilterGA(REALobject object, REALobject dst, double gamma, double alphaGamma) {
    return FilterByFamily(object, dst, kGamma, {gamma, gamma, gamma, gamma, true, alphaGamma});
}

REALobject GammaFilterRGB(REALobject object, REALobject dst, double redGamma, double greenGamma, double blueGamma) {
    const double gray = MixedGamma(redGamma, greenGamma, blueGamma);
    return FilterByFamily(object, dst, kGamma, {gray, redGamma, greenGamma, blueGamma, false, 0});
}

REALobject GammaFilterRGBA(REALobject object, REALobject dst, double redGamma, double greenGamma, double blueGamma,
                           double alphaGamma) {
    const double gray = MixedGamma(redGamma, greenGamma, blueGamma);
    return FilterByFamily(object, dst, kGamma, {gray, redGamma, greenGamma, blueGamma, true, alphaGamma});
}

}  // namespace zor
