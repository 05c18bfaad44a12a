#include "filters/TransferFilter.h"

#include <algorithm>

#include "filters/FamilyFilter.h"

namespace zor {

static ByteTable TransferTable(REALarray curve) {
    ByteTable table{};
    if (!curve) return table;
    const int last = std::min(REALGetArrayUBound(curve), 255);
    for (int i = 0; i <= last; ++i) table.entry[i] = static_cast<std::uint8_t>(REALGetArrayInt(curve, i));
    return table;
}

// --- workers --------------------------------------------------------------------------------------------------------

static void rbTransferFilterG(ImageClassData* src, ImageClassData* dst, REALarray gray) {
    MapColours(src, dst, {TransferTable(gray)});
}

static void rbTransferFilterGA(ImageClassData* src, ImageClassData* dst, REALarray gray, REALarray alpha) {
    MapColoursAndAlpha(src, dst, {TransferTable(gray), TransferTable(alpha)});
}

static void rbTransferFilterRGB(ImageClassData* src, ImageClassData* dst, REALarray red, REALarray green,
                                REALarray blue) {
    MapColours(src, dst, {TransferTable(red), TransferTable(green), TransferTable(blue)});
}

static void rbTransferFilterRGBA(ImageClassData* src, ImageClassData* dst, REALarray red, REALarray green,
                                 REALarray blue, REALarray alpha) {
    MapColoursAndAlpha(src, dst, {TransferTable(red), TransferTable(green), TransferTable(blue), TransferTable(alpha)});
}

// --- members --------------------------------------------------------------------------------------------------------

static constexpr FamilyWorkers<REALarray> kTransfer = {rbTransferFilterG, rbTransferFilterGA, rbTransferFilterRGB,
                                                       rbTransferFilterRGBA};

REALobject TransferFilterG(REALobject object, REALobject dst, REALarray gray) {
    return FilterByFamily(object, dst, kTransfer, {gray, gray, gray, gray, false, nullptr});
}

REALobject TransferFilterGA(REALobject object, REALobject dst, REALarray gray, REALarray alpha) {
    return FilterByFamily(object, dst, kTransfer, {gray, gray, gray, gray, true, alpha});
}

// A gray image takes the green curve.
REALobject TransferFilterRGB(REALobject object, REALobject dst, REALarray red, REALarray green, REALarray blue) {
    return FilterByFamily(object, dst, kTransfer, {green, red, green, blue, false, nullptr});
}

REALobject TransferFilterRGBA(REALobject object, REALobject dst, REALarray red, REALarray green, REALarray blue,
                              REALarray alpha) {
    return FilterByFamily(object, dst, kTransfer, {green, red, green, blue, true, alpha});
}

}  // namespace zor
