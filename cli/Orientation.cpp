#include "Orientation.h"

#include <algorithm>
#include <utility>

#include "Engine.h"
#include "Errors.h"
#include "Storage.h"

namespace {

bool heeded = true;

// What brings the stored rows to where they are shown, in this order. The turns are the engine's: counter-clockwise.
struct OrientationRow {
    bool mirrorRows;  // left and right
    bool mirrorColumns;
    const char* turn;  // null: none
};

const OrientationRow& RowOf(int orientation) {
    static constexpr OrientationRow kRows[] = {
        {false, false, nullptr},   {true, false, nullptr},      {true, true, nullptr},      {false, true, nullptr},
        {true, false, "Rotate90"}, {false, false, "Rotate270"}, {true, false, "Rotate270"}, {false, false, "Rotate90"},
    };
    return kRows[std::clamp(orientation, 1, 8) - 1];
}

}  // namespace

void SetOrientationHeeded(bool heed) {
    heeded = heed;
}

int HeededOrientation(const PictureHeader& header) {
    return heeded ? header.orientation : 1;
}

ImageShape OrientedShape(const ImageShape& stored, int orientation) {
    if (RowOf(orientation).turn == nullptr) return stored;
    return {stored.height, stored.width, stored.kind};
}

void CheckOrientationFits(const std::string& what, const ImageShape& stored, int orientation) {
    if (RowOf(orientation).turn == nullptr) return;
    const ImageShape turned = OrientedShape(stored, orientation);
    const PixelKindRow& kind = Describe(turned.kind);
    CheckImageFits(what, turned.width, turned.height, kind.constant, kind.channels);
    CheckScratchHolds(what, {NeedOf(stored), NeedOf(turned)});
}

void ApplyOrientation(Raster* image, int orientation) {
    const OrientationRow& row = RowOf(orientation);
    if (row.mirrorRows) image->Image().Call("HMirror");
    if (row.mirrorColumns) image->Image().Call("VMirror");
    if (row.turn == nullptr) return;
    Raster target(OrientedShape(image->Shape(), orientation));
    if (!image->Image().Call(row.turn, target.Image()).AsObject())
        throw RunError("the picture cannot be turned to its orientation");
    *image = std::move(target);
}

PictureHeader OrientedTags(const PictureHeader& header, int orientation) {
    PictureHeader tags = header;
    if (RowOf(orientation).turn != nullptr) {
        std::swap(tags.width, tags.height);
        std::swap(tags.resolution.x, tags.resolution.y);
    }
    tags.orientation = 1;
    return tags;
}
