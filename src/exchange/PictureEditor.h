#pragma once
// The one door to the pixels of a host picture: a record on the caller's stack that walks a picture row by row.
//
//     PictureEditor editor;
//     if (!GetPictureReader(editor, picture)) return;
//     for (y = 0; y < firstRow; ++y) NextRow(editor);          // rows are stepped over, never computed
//     for (...) { ... editor.CurrentRow + x * editor.BytesPerPixel ...; NextRow(editor); }
//     ClosePictureReader(editor);
//
// While an editor is open the picture's description and, on the desktop, its pixels stay locked, and the picture
// holds one more reference. One whose opening failed needs no closing, and closing twice does no harm. Nothing here
// raises an exception. Host thread only.

#include <cstdint>

#include "core/RowSpan.h"
#include "host/HostCalls.h"
#include "host/QuickDraw.h"

namespace zor {

// How a pixel of a host picture lies in memory.
enum : int {
    // One word of the processor's byte order: red in bits 16 to 23, green in 8 to 15, blue in 0 to 7. Writers leave
    // bits 24 to 31 at 0, which is opaque to the GD library; readers ignore them. Console pictures.
    PixelTypeNative32 = 8,
    PixelTypeRGB24 = 12,   // red, green, blue. Desktop pictures of 24 bits
    PixelTypeARGB32 = 13,  // alpha, red, green, blue. Writers store alpha 255; readers ignore it. Desktop, 32 bits
};

struct PictureEditor {
    int RowBytes;       // from one row to the next; of a GD image Width * 4
    int Width;          // pixels
    int Height;         // rows
    int BytesPerPixel;  // 3 or 4
    int PixelType;
    std::uint8_t* CurrentRow;
    std::uint8_t* FirstRow;
    std::uint8_t* Buffer;                // a writer's own pixels in place of a picture; no opening sets it
    REALobject Picture;                  // locked once for the editor
    REALpictureDescription Description;  // locked from opening to closing
    zor::PixMap** PixMap;                // its pixels are locked; null for a GD image
    int** RowTable;                      // rows of a GD image; null for a GWorld
    int ColumnIndex;                     // 0 after every step
    int RowIndex;                        // number of CurrentRow; goes on counting behind the last row
    REALboolean AllowCopy;               // a picture of an unreadable kind may be drawn into one that is readable
    REALboolean ForWriting;              // pixels will change: the host's cache is cleared at closing
};

// Opens an editor on a picture, which may be nil. True if that worked.
bool GetPictureReader(PictureEditor& editor, REALobject picture, REALboolean allowCopy, REALboolean forWriting);

// The form for reading: a copy is allowed.
bool GetPictureReader(PictureEditor& editor, REALobject picture);

// Longest side of a host picture, in pixels.
inline constexpr int kMaxPictureSide = 32767;

// Makes a picture of 1 to kMaxPictureSide pixels a side and opens an editor on it. True if that worked; a size
// out of range is refused without a call of the host.
bool NewPictureWriter(PictureEditor& editor, int width, int height);

// To the next row; behind the last one CurrentRow is row 0 again.
void NextRow(PictureEditor& editor);

// The row on which the cursor stands, with the bytes that may be touched from it. A desktop picture's bytes are one run
// of RowBytes x Height; of a GD image every row of Width words is by itself.
RowSpan CurrentRowSpan(const PictureEditor& editor);

void ClosePictureReader(PictureEditor& editor);

// An editor that is closed also where a method is left because the application cancelled it in a yield.
struct EditorHolder {
    PictureEditor editor{};
    EditorHolder() = default;
    ~EditorHolder() { ClosePictureReader(editor); }
    EditorHolder(const EditorHolder&) = delete;
    EditorHolder& operator=(const EditorHolder&) = delete;
};

// Closes a writer and gives its picture, locked once for the caller; nil where there is none.
REALobject RenderPictureWriter(PictureEditor& editor);

}  // namespace zor
