#pragma once
// Rows and whole images as raw bytes, in the image's own format or converted to another on the way.
//
// Converted data has no padding: a row is Width times the PixelSize of the asked format, and the rows of an image
// follow one another. Only the channels that both sides have are written; pad bytes and an alpha that only the target
// has stay as they were, which is 0 in new data. Colour and CMYK are not converted into each other: that raises
// UnsupportedOperationException. Formats that are none, or have no channels, give nil or do nothing.
//
// Memory blocks do not tell their size: one that is smaller than its data is the application's error. A string that
// is too short counts as followed by zeros.

#include "core/ImageClassData.h"

namespace zor {

// A memory block over the row itself. It has no length, and it is good only while the row stays where it is.
REALobject rbGetRow(REALobject object, int index);

// RowSize bytes of the row, padding included.
REALobject rbGetRowCopy(REALobject object, int index);
void rbSetRow(REALobject object, int index, REALobject block);

// One row in the format of that number. With invertAlpha, alpha is written as its complement.
REALobject rbGetRowF(REALobject object, int index, int format);
void rbSetRowF(REALobject object, int index, int format, REALobject block);
REALobject rbGetRowFI(REALobject object, int index, int format, REALboolean invertAlpha);
void rbSetRowFI(REALobject object, int index, int format, REALboolean invertAlpha, REALobject block);
REALstring rbGetRowFS(REALobject object, int index, int format);
void rbSetRowFS(REALobject object, int index, int format, REALstring string);

// All rows. There is no yield.
REALstring rbGetAllFS(REALobject object, int format);
void rbSetAllFS(REALobject object, int format, REALstring string);

}  // namespace zor
