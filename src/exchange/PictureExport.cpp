#include "exchange/PictureExport.h"

#include <algorithm>

#include "core/Factory.h"
#include "core/Rectangles.h"
#include "exchange/ExportRows.h"
#include "exchange/PictureDrawing.h"
#include "exchange/PictureEditor.h"

namespace zor {

// Walks by itself: the rows of the picture are the writer's, and nothing of them is read. Makes a picture of a
// rectangle that lies on the image. Null: the host gives none.
static REALobject ExportRectangle(ImageClassData* record, const PixelRect& rect, ExportColours colours,
                                  const ChannelSet& channels) {
    EditorHolder holder;
    PictureEditor& editor = holder.editor;
    if (!NewPictureWriter(editor, static_cast<int>(rect.width), static_cast<int>(rect.height))) return nullptr;
    const ExportPlan plan = MakeExportPlan(colours, channels, record->PixelSize, editor.PixelType);
    const std::ptrdiff_t x = static_cast<std::ptrdiff_t>(rect.x);
    // A picture is as large as it was asked to be. On a host that gives a smaller one, the rest has no place in it.
    const std::ptrdiff_t width = static_cast<std::ptrdiff_t>(std::min<std::int64_t>(rect.width, editor.Width));
    YieldIfAsked(record);
    for (std::int64_t y = rect.y; y < rect.y + rect.height; ++y) {
        const RowSpan row = GetRowSpan(record, static_cast<int>(y)), place = CurrentRowSpan(editor);
        const std::ptrdiff_t room = place ? place.end / plan.pictureSize : 0;
        ExportRow(plan, row, x, std::min(width, room), place.data);
        NextRow(editor);
        YieldIfAsked(record);
    }
    return RenderPictureWriter(editor);
}

// --- colours --------------------------------------------------------------------------------------------------------

// The try at a picture for the images of one family: with the host in between, each looks at the image anew. A picture
// that is there already stays, and is given back where that turn cancels.
static void TryColours(ObjectHolder* picture, ImageClassData* record, const PixelRect& rect, PixelFamily family,
                       ExportColours colours) {
    const FamilyFields& fields = kFamilyFields[static_cast<int>(family)];
    if (!(record->*fields.flag) || !IsUsable(record)) return;
    YieldIfAsked(record);
    if (picture->get()) return;
    picture->hold(ExportRectangle(record, rect, colours, OffsetsOf(record, fields.colours)));
}

REALobject rbCopyPicture(REALobject object, int x, int y, int w, int h) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, w, h});
    if (rect.IsEmpty()) return nullptr;
    ObjectHolder picture;
    TryColours(&picture, record, rect, PixelFamily::gray, ExportColours::gray);
    TryColours(&picture, record, rect, PixelFamily::rgb, ExportColours::rgb);
    TryColours(&picture, record, rect, PixelFamily::cmyk, ExportColours::cmyk);
    return picture.release();
}

REALobject rbCopyPictureAll(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    return rbCopyPicture(object, 0, 0, record->Width, record->Height);
}

// --- alpha ----------------------------------------------------------------------------------------------------------

REALobject rbCopyMask(REALobject object, int x, int y, int w, int h) {
    ImageClassData* const record = ImageDataOf(object);
    const PixelRect rect = ReduceToImage(record, {x, y, w, h});
    if (!record->HasAlpha || rect.IsEmpty() || !IsUsable(record)) return nullptr;
    YieldIfAsked(record);
    return ExportRectangle(record, rect, ExportColours::gray, OffsetsOf(record, {ChannelId::alpha}));
}

REALobject rbCopyMaskAll(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    return rbCopyMask(object, 0, 0, record->Width, record->Height);
}

// --- both -----------------------------------------------------------------------------------------------------------

REALobject rbCopyPictureWithMask(REALobject object, int x, int y, int w, int h) {
    ObjectHolder picture(rbCopyPicture(object, x, y, w, h));
    const ObjectHolder mask(rbCopyMask(object, x, y, w, h));
    AddPictureMask(picture.get(), mask.get(), w, h);  // without a mask the picture is still good
    return picture.release();
}

REALobject rbCopyPictureWithMaskAll(REALobject object) {
    const ImageClassData* const record = ImageDataOf(object);
    return rbCopyPictureWithMask(object, 0, 0, record->Width, record->Height);
}

REALobject GetDebugPicture(REALobject object, REALword) {
    constexpr int kPreviewSide = 512;
    if (!ImageDataOf(object)->DebugPictureEnabled) return nullptr;
    return rbCopyPictureWithMask(object, 0, 0, kPreviewSide, kPreviewSide);
}

}  // namespace zor
