#include "exchange/PictureEditor.h"

#include <algorithm>
#include <cstdlib>

#include "exchange/PictureDrawing.h"
#include "host/GDImage.h"

namespace zor {

namespace {

// What is opened: the picture that was asked for, or the copy that was made of it. A copy is not copied again, so that
// a host whose new pictures cannot be read either gives up instead of going round for ever.
enum class Opened { original, copy };

bool Open(PictureEditor& editor, REALobject picture, REALboolean allowCopy, REALboolean forWriting, Opened what);

// Opens the editor on a copy in place of the original, and gives the caller's reference on the copy back: that of the
// editor keeps it alive until closing.
bool OpenCopy(PictureEditor& editor, REALobject copy) {
    if (!copy) return false;
    const bool opened = Open(editor, copy, editor.AllowCopy, editor.ForWriting, Opened::copy);
    REALUnlockObject(copy);
    return opened;
}

bool GiveUpDesktop(PictureEditor& editor, REALobject picture) {
    editor.PixMap = nullptr;
    editor.FirstRow = nullptr;
    editor.CurrentRow = nullptr;
    REALUnlockPictureDescription(picture);
    return false;
}

// The description is locked and of kind GWorld.
bool OpenGWorld(PictureEditor& editor, REALobject picture, Opened what) {
    IsDesktop = true;
    if (!editor.Description.data) return GiveUpDesktop(editor, picture);
    editor.PixMap = GetGWorldPixMap(static_cast<OpaqueGrafPtr*>(editor.Description.data));
    if (!editor.PixMap) return GiveUpDesktop(editor, picture);
    const int depth = GetPixDepth(editor.PixMap);
    if (depth != 32 && depth != 24) {
        GiveUpDesktop(editor, picture);
        if (editor.ForWriting || what == Opened::copy) return false;
        return OpenCopy(editor, ClonePicture(picture, editor.Description.width, editor.Description.height));
    }
    editor.PixelType = depth == 32 ? PixelTypeARGB32 : PixelTypeRGB24;
    editor.BytesPerPixel = depth / 8;
    if (!LockPixels(editor.PixMap)) return GiveUpDesktop(editor, picture);
    editor.FirstRow = editor.CurrentRow = GetPixBaseAddr(editor.PixMap);
    if (!editor.FirstRow) {
        UnlockPixels(editor.PixMap);
        return GiveUpDesktop(editor, picture);
    }
    REALLockObject(picture);
    editor.RowBytes = GetPixRowBytes(editor.PixMap);
    editor.Width = editor.Description.width;
    editor.Height = editor.Description.height;
    editor.Picture = picture;
    return true;
}

bool IsTrueColor(const GDImage* image) {
    return image && !image->pixels && image->tpixels && image->trueColor;
}

bool OpenGDImage(PictureEditor& editor, REALobject picture) {
    editor.Description = {};
    if (!REALLockPictureDescriptionX(picture, &editor.Description, kPictureKindGDImage)) return false;
    IsConsole = true;
    const GDImage* const image = static_cast<const GDImage*>(editor.Description.data);
    if (editor.Description.kind != kPictureKindGDImage || !IsTrueColor(image)) {
        REALUnlockPictureDescription(picture);
        return false;
    }
    REALLockObject(picture);
    editor.PixelType = PixelTypeNative32;
    editor.Picture = picture;
    editor.BytesPerPixel = 4;
    // No more than the image itself has, should the description tell more.
    editor.Width = std::min(editor.Description.width, image->width);
    editor.Height = std::min(editor.Description.height, image->height);
    editor.RowBytes = editor.Width * editor.BytesPerPixel;
    editor.RowTable = image->tpixels;
    int* const firstRow = editor.Height > 0 ? editor.RowTable[0] : nullptr;
    editor.FirstRow = editor.CurrentRow = reinterpret_cast<std::uint8_t*>(firstRow);
    return true;
}

bool Open(PictureEditor& editor, REALobject picture, REALboolean allowCopy, REALboolean forWriting, Opened what) {
    editor = {};
    if (!picture) return false;
    editor.AllowCopy = allowCopy;
    editor.ForWriting = forWriting;
    if (!IsConsole && !IsDesktop) CheckApplication();
    if (!IsConsole) {
        REALLockPictureDescription(picture, &editor.Description);
        if (editor.Description.kind == kPictureKindGWorld) return OpenGWorld(editor, picture, what);
        // A picture of another kind keeps this lock: its host takes it back when the picture goes.
        if (allowCopy && !forWriting && what == Opened::original) {
            if (const REALobject copy = ClonePicture(picture)) return OpenCopy(editor, copy);
        }
    }
    return !IsDesktop && OpenGDImage(editor, picture);
}

}  // namespace

bool GetPictureReader(PictureEditor& editor, REALobject picture, REALboolean allowCopy, REALboolean forWriting) {
    return Open(editor, picture, allowCopy, forWriting, Opened::original);
}

bool GetPictureReader(PictureEditor& editor, REALobject picture) {
    return GetPictureReader(editor, picture, true, false);
}

bool NewPictureWriter(PictureEditor& editor, int width, int height) {
    editor = {};
    if (width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide) return false;
    const REALobject picture = REALNewPicture(width, height, 32);
    if (!picture) return false;
    const bool opened = GetPictureReader(editor, picture, false, true);
    REALUnlockObject(picture);  // the editor's own reference keeps it
    return opened;
}

void NextRow(PictureEditor& editor) {
    editor.ColumnIndex = 0;
    ++editor.RowIndex;
    if (editor.RowIndex >= editor.Height) {
        editor.CurrentRow = editor.FirstRow;
    } else if (editor.PixelType == PixelTypeNative32) {
        editor.CurrentRow = reinterpret_cast<std::uint8_t*>(editor.RowTable[editor.RowIndex]);
    } else {
        editor.CurrentRow = editor.FirstRow + static_cast<std::ptrdiff_t>(editor.RowIndex) * editor.RowBytes;
    }
}

RowSpan CurrentRowSpan(const PictureEditor& editor) {
    std::uint8_t* const row = editor.CurrentRow;
    if (!row) return {};
    if (editor.RowTable) return {row, 0, static_cast<std::ptrdiff_t>(editor.Width) * editor.BytesPerPixel};
    // Rows that go upwards in memory have a negative distance.
    const std::ptrdiff_t rowBytes = editor.RowBytes;
    const std::ptrdiff_t begin = std::min<std::ptrdiff_t>(rowBytes, 0) * (editor.Height - 1);
    const std::ptrdiff_t position = row - editor.FirstRow;
    return {row, begin - position, begin + std::abs(rowBytes) * editor.Height - position};
}

void ClosePictureReader(PictureEditor& editor) {
    if (editor.PixMap) UnlockPixels(editor.PixMap);
    editor.PixMap = nullptr;
    if (!editor.Picture) return;
    REALUnlockPictureDescription(editor.Picture);
    if (editor.ForWriting) REALPictureClearCache(editor.Picture);
    REALUnlockObject(editor.Picture);
    editor.Picture = nullptr;
}

REALobject RenderPictureWriter(PictureEditor& editor) {
    constexpr int kBufferPixelType = 1;
    REALobject result = nullptr;
    if (editor.Picture) {
        result = editor.Picture;
        REALLockObject(result);
    } else if (editor.Buffer) {
        result =
            REALBuildPictureFromBuffer(editor.Width, editor.Height, kBufferPixelType, editor.Buffer, editor.RowBytes);
    }
    ClosePictureReader(editor);
    if (result) REALPictureClearCache(result);
    return result;
}

}  // namespace zor
