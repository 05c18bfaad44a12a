#include "filters/TransferFilter.h"

#include "filters/FilterFrame.h"

static ByteTable TransferTable(REALarray curve) {
    ByteTable table{};
    if (!curve) return table;
    const int last = std::min(REALGetArrayUBound(curve), 255);
    for (int i = 0; i <= last; ++i) table.entry[i] = static_cast<std::uint8_t>(REALGetArrayInt(curve, i));
    return table;
}

// --- workers --------------------------------------------------------------------------------------------------------

void rbTransferFilterG(ImageClassData* source, ImageClassData* dest, REALarray gray) {
    const ByteTable tables[] = {TransferTable(gray)};
    MapThroughTables(ColourSidesOf(source, dest), WholeImage(source), tables);
}

void rbTransferFilterGA(ImageClassData* source, ImageClassData* dest, REALarray gray, REALarray alpha) {
    const ByteTable tables[] = {TransferTable(gray), TransferTable(alpha)};
    MapThroughTables(SidesOf(source, dest), WholeImage(source), tables);
}

void rbTransferFilterRGB(ImageClassData* source, ImageClassData* dest, REALarray red, REALarray green, REALarray blue) {
    const ByteTable tables[] = {TransferTable(red), TransferTable(green), TransferTable(blue)};
    MapThroughTables(ColourSidesOf(source, dest), WholeImage(source), tables);
}

void rbTransferFilterRGBA(ImageClassData* source, ImageClassData* dest, REALarray red, REALarray green, REALarray blue,
                          REALarray alpha) {
    const ByteTable tables[] = {TransferTable(red), TransferTable(green), TransferTable(blue), TransferTable(alpha)};
    MapThroughTables(SidesOf(source, dest), WholeImage(source), tables);
}

// --- members --------------------------------------------------------------------------------------------------------

namespace {

struct CurveSet {
    REALarray red;
    REALarray green;  // of a gray image too
    REALarray blue;
    bool toAlpha;  // an alpha channel is filtered too
    REALarray alpha;
};

REALobject FilterByFamily(REALobject object, REALobject dest, const CurveSet& curve) {
    return FilterInto(object, dest, [&curve](ImageClassData* source, ImageClassData* target) {
        const bool toAlpha = curve.toAlpha && source->HasAlpha;
        if (source->IsGray && toAlpha) {
            rbTransferFilterGA(source, target, curve.green, curve.alpha);
        } else if (source->IsGray) {
            rbTransferFilterG(source, target, curve.green);
        } else if (source->IsRGB && toAlpha) {
            rbTransferFilterRGBA(source, target, curve.red, curve.green, curve.blue, curve.alpha);
        } else if (source->IsRGB) {
            rbTransferFilterRGB(source, target, curve.red, curve.green, curve.blue);
        }
    });
}

}  // namespace

REALobject TransferFilterG(REALobject object, REALobject dest, REALarray gray) {
    return FilterByFamily(object, dest, {gray, gray, gray, false, nullptr});
}

REALobject TransferFilterGA(REALobject object, REALobject dest, REALarray gray, REALarray alpha) {
    return FilterByFamily(object, dest, {gray, gray, gray, true, alpha});
}

REALobject TransferFilterRGB(REALobject object, REALobject dest, REALarray red, REALarray green, REALarray blue) {
    return FilterByFamily(object, dest, {red, green, blue, false, nullptr});
}

REALobject TransferFilterRGBA(REALobject object, REALobject dest, REALarray red, REALarray green, REALarray blue,
                              REALarray alpha) {
    return FilterByFamily(object, dest, {red, green, blue, true, alpha});
}
