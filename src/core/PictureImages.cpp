#include "core/PictureImages.h"

#include <algorithm>
#include <bit>

#include "core/Channels.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "core/Teardown.h"
#include "host/GDImage.h"
#include "host/QuickDraw.h"

namespace zor {

namespace {

struct PixelLayout {
    int format;
    int pixelSize;
    int colour[3];  // red, green, blue
    int alpha;
    bool hasAlpha;
};

constexpr PixelLayout kDesktopARGB = {ImageFormatARGB, 4, {1, 2, 3}, 0, true};
constexpr PixelLayout kDesktopXRGB = {ImageFormatXRGB, 4, {1, 2, 3}, 0, false};
constexpr PixelLayout kDesktopRGB = {ImageFormatRGB, 3, {0, 1, 2}, 0, false};
// Words of the processor's order, blue in their lowest byte. The numbers are those of the desktop's pictures, and where
// the highest byte comes first so are the places.
constexpr bool kLittleEndian = std::endian::native == std::endian::little;
constexpr PixelLayout kConsoleAlpha =
    kLittleEndian ? PixelLayout{ImageFormatARGB, 4, {2, 1, 0}, 3, true} : kDesktopARGB;
constexpr PixelLayout kConsole = kLittleEndian ? PixelLayout{ImageFormatXRGB, 4, {2, 1, 0}, 3, false} : kDesktopXRGB;

// What a constructor finds in its object.
enum class Found {
    earlier,  // an image of another call, or nothing: it is given back
    written,  // what the other constructor set in this very call: written over, its lock on the picture stays
};

// What both kinds set. The picture is locked before what the object held is given back: it may be the same one.
void TakePicture(ImageClassData* record, REALobject picture, const REALpictureDescription& description, int rowSize,
                 const PixelLayout& layout, Found found) {
    REALLockObject(picture);
    if (found == Found::earlier) ReleaseEarlierStorage(record);
    ClearLayout(record);
    record->Target = picture;
    record->Width = description.width;
    record->Height = description.height;
    record->ImageFormat = layout.format;
    record->PixelSize = layout.pixelSize;
    const FamilyFields& family = kFamilyFields[static_cast<int>(PixelFamily::rgb)];
    record->*family.flag = true;
    for (int c = 0; c < family.colours.count; ++c) {
        OffsetOf(record, family.colours.id[c]) = layout.colour[c];
        HasFlag(record, family.colours.id[c]) = true;
    }
    record->AlphaOffset = layout.alpha;  // also where there is none
    record->HasAlpha = layout.hasAlpha;
    record->RowSize = rowSize;
    // In 32 bits, as hosts count the bytes of their pictures.
    record->TotalSize =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(rowSize) * static_cast<std::uint32_t>(description.height));
    record->MappedFirstRow = -1;
    record->MappedLastRow = -1;
    record->MappedRowCount = 0;
    record->Valid = true;
}

}  // namespace

// True if the image stands.
static bool ConstructOnGWorld(REALobject object, REALobject picture, REALboolean useAlpha) {
    REALpictureDescription description{};
    REALLockPictureDescription(picture, &description);
    REALUnlockPictureDescription(picture);
    if (description.kind != kPictureKindGWorld || !description.data) return false;
    PixMap** const pixMap = GetPortPixMap(static_cast<OpaqueGrafPtr*>(description.data));
    if (!pixMap) return false;
    std::uint8_t* const base = GetPixBaseAddr(pixMap);
    if (!base) return false;
    const int depth = GetPixDepth(pixMap);
    if (depth != 32 && depth != 24) return false;
    const PixelLayout& layout = depth == 24 ? kDesktopRGB : useAlpha ? kDesktopARGB : kDesktopXRGB;
    ImageClassData* const record = ImageDataOf(object);
    TakePicture(record, picture, description, GetPixRowBytes(pixMap), layout, Found::earlier);
    record->Pixels = base;
    record->MappedRowCount = record->Height;
    record->GetRow = GetRowLinear;
    record->StorageBytes = record->RowSize > 0 && record->Height > 0 ? record->TotalSize : 0;
    return true;
}

void ImageConstructorPictureGUI(REALobject object, REALobject picture, REALboolean useAlpha) {
    ConstructOnGWorld(object, picture, useAlpha);
}

static void ConstructOnGDImage(REALobject object, REALobject picture, REALboolean useAlpha, Found found) {
    REALpictureDescription description{};
    if (!REALLockPictureDescriptionX(picture, &description, kPictureKindGDImage)) return;
    REALUnlockPictureDescription(picture);
    IsConsole = true;  // no other world has such pictures
    const GDImage* const image = static_cast<const GDImage*>(description.data);
    if (description.kind != kPictureKindGDImage || !image || !image->tpixels || !image->trueColor) return;
    const int rowSize = static_cast<std::int32_t>(static_cast<std::uint32_t>(description.width) * 4u);
    ImageClassData* const record = ImageDataOf(object);
    TakePicture(record, picture, description, rowSize, useAlpha ? kConsoleAlpha : kConsole, found);
    record->Pixels = nullptr;
    record->RowPointers = reinterpret_cast<std::uint8_t**>(image->tpixels);
    record->GetRow = GetRowGDImage;
    // What the image itself has, should the description tell more.
    record->TableRows = std::min(description.height, image->height);
    record->StorageBytes = static_cast<std::int64_t>(std::min(description.width, image->width)) * 4;
}

void ImageConstructorPictureConsole(REALobject object, REALobject picture, REALboolean useAlpha) {
    ConstructOnGDImage(object, picture, useAlpha, Found::earlier);
}

void ImageConstructorPicture(REALobject object, REALobject picture, REALboolean useAlpha) {
    if (!IsConsole && !IsDesktop) CheckApplication();
    bool onGWorld = false;
    if (!IsConsole) onGWorld = ConstructOnGWorld(object, picture, useAlpha);
    if (!IsDesktop) ConstructOnGDImage(object, picture, useAlpha, onGWorld ? Found::written : Found::earlier);
}

}  // namespace zor
