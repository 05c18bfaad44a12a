#include "filters/GammaFilter.h"

#include <cmath>

#include "filters/FilterFrame.h"
#include "filters/Truncate.h"

ByteTable GammaTable(double gamma) {
    ByteTable table;
    for (int i = 0; i < 256; ++i) {
        const double value = std::pow(i / 255.0, 1.0 / gamma) * 255.0 + 0.5;
        table.entry[i] = static_cast<std::uint8_t>(std::clamp(TruncateToInt(value, -1), 0, 255));
    }
    return table;
}

// --- workers --------------------------------------------------------------------------------------------------------

void rbGammaFilterG(ImageClassData* source, ImageClassData* dest, double gamma) {
    const ByteTable tables[] = {GammaTable(gamma)};
    MapThroughTables(ColourSidesOf(source, dest), WholeImage(source), tables);
}

void rbGammaFilterGA(ImageClassData* source, ImageClassData* dest, double gamma, double alphaGamma) {
    const ByteTable tables[] = {GammaTable(gamma), GammaTable(alphaGamma)};
    MapThroughTables(SidesOf(source, dest), WholeImage(source), tables);
}

void rbGammaFilterRGB(ImageClassData* source, ImageClassData* dest, double red, double green, double blue) {
    const ByteTable tables[] = {GammaTable(red), GammaTable(green), GammaTable(blue)};
    MapThroughTables(ColourSidesOf(source, dest), WholeImage(source), tables);
}

void rbGammaFilterRGBA(ImageClassData* source, ImageClassData* dest, double red, double green, double blue,
                       double alpha) {
    const ByteTable tables[] = {GammaTable(red), GammaTable(green), GammaTable(blue), GammaTable(alpha)};
    MapThroughTables(SidesOf(source, dest), WholeImage(source), tables);
}

// --- members --------------------------------------------------------------------------------------------------------

// One gamma for gray out of three, mixed by luminance. It is worked out in whole numbers, fractions dropped first.
static double MixedGamma(double red, double green, double blue) {
    const auto weighted = [](unsigned weight, double gamma) {
        return weight * static_cast<unsigned>(TruncateToInt(gamma));
    };
    return static_cast<int>(weighted(77, red) + weighted(151, green) + weighted(28, blue)) / 256;
}

namespace {

struct GammaSet {
    double gray;
    double red;
    double green;
    double blue;
    bool toAlpha;  // an alpha channel is filtered too
    double alpha;
};

REALobject FilterByFamily(REALobject object, REALobject dest, const GammaSet& gamma) {
    return FilterInto(object, dest, [&gamma](ImageClassData* source, ImageClassData* target) {
        const bool toAlpha = gamma.toAlpha && source->HasAlpha;
        if (source->IsGray && toAlpha) {
            rbGammaFilterGA(source, target, gamma.gray, gamma.alpha);
        } else if (source->IsGray) {
            rbGammaFilterG(source, target, gamma.gray);
        } else if (source->IsRGB && toAlpha) {
            rbGammaFilterRGBA(source, target, gamma.red, gamma.green, gamma.blue, gamma.alpha);
        } else if (source->IsRGB) {
            rbGammaFilterRGB(source, target, gamma.red, gamma.green, gamma.blue);
        }
    });
}

}  // namespace

REALobject GammaFilterG(REALobject object, REALobject dest, double gamma) {
    return FilterByFamily(object, dest, {gamma, gamma, gamma, gamma, false, 0});
}

REALobject GammaFilterGA(REALobject object, REALobject dest, double gamma, double alphaGamma) {
    return FilterByFamily(object, dest, {gamma, gamma, gamma, gamma, true, alphaGamma});
}

REALobject GammaFilterRGB(REALobject object, REALobject dest, double redGamma, double greenGamma, double blueGamma) {
    const double gray = MixedGamma(redGamma, greenGamma, blueGamma);
    return FilterByFamily(object, dest, {gray, redGamma, greenGamma, blueGamma, false, 0});
}

REALobject GammaFilterRGBA(REALobject object, REALobject dest, double redGamma, double greenGamma, double blueGamma,
                           double alphaGamma) {
    const double gray = MixedGamma(redGamma, greenGamma, blueGamma);
    return FilterByFamily(object, dest, {gray, redGamma, greenGamma, blueGamma, true, alphaGamma});
}
