#pragma once
// The record behind every PictureZOR object. The host provides it zero-filled inside the object.
//
// A sample is found through this record and never through the format number: the byte of a channel of the pixel at
// column x, row y lies x * PixelSize + the channel's offset bytes behind the address that GetRow gives for row y.
// All samples are unsigned bytes.

#include <cstdint>
#include <type_traits>

#include "core/Yield.h"
#include "host/HostCalls.h"

namespace zor {

struct ImageClassData;

// The address of row y, or null. On a file-backed image it is good until the next call on the same record. Pixel
// loops do not call this themselves: they take their rows from core/RowSpan.h, which knows where the storage ends.
using GetRowFunction = std::uint8_t* (*)(ImageClassData* record, int y);

// Life of the bytes that an image and its views share; see core/Storage.h.
struct StorageMark;

struct ImageClassData : YieldData {
    REALobject Factory;               // PictureFactoryZOR; the host holds the reference
    REALobject MemoryTarget;          // memory block that backs the image, locked
    REALboolean DebugPictureEnabled;  // the application writes it

    int RedOffset;  // bytes from the start of a pixel
    bool HasRed;
    int GreenOffset;
    bool HasGreen;
    int BlueOffset;
    bool HasBlue;
    int GrayOffset;
    bool HasGray;
    int AlphaOffset;
    bool HasAlpha;
    int CyanOffset;
    bool HasCyan;
    int MagentaOffset;
    bool HasMagenta;
    int YellowOffset;
    bool HasYellow;
    int BlackOffset;
    bool HasBlack;

    int Width;  // pixels
    bool IsGray;
    int Height;  // rows
    bool IsRGB;
    int RowSize;  // bytes from one row to the next
    bool IsCMYK;
    int PixelSize;  // bytes from one pixel to the next
    bool Valid;     // a constructor went all the way; nothing ever clears it
    int ImageFormat;
    int RowOffset;           // added to every row index by the row accessors; not 0 on clip views
    std::int64_t TotalSize;  // bytes of the storage; views carry their parent's
    int ChannelCount;        // entries of ChannelOffsets that count
    int ChannelOffsets[8];   // channels in pixel order

    REALobject Parent;      // the image that this one is a view of, locked
    REALobject FileItem;    // folder item of the mapping file, locked
    REALobject Target;      // host picture that backs the image, locked
    char* FilePath;         // path of the mapping file, freed with free
    REALstring DataString;  // nothing sets it; released at the teardown

    bool OwnsBuffer;             // Pixels was allocated here
    std::uint8_t* Pixels;        // base of the pixel memory or of the mapped window, or null
    bool OwnsFile;               // the mapping file was created here and goes with this image
    bool IsMapped;               // a window is mapped right now
    std::int32_t MappingHandle;  // reads 0 always
    int FileHandle;              // descriptor of the mapping file
    bool IsMapping;              // the image lives in a file
    int MappingBlockSize;        // bytes of one window
    std::uint8_t** RowPointers;  // rows of a host picture in console form
    GetRowFunction GetRow;       // null: no pixels
    int MappedFirstRow;          // rows of the current window; -1 if none
    int MappedLastRow;
    int MappedRowCount;  // rows of one window

    // Private from here on: what the storage guard knows beyond the fields above.
    std::int64_t StorageBytes;  // linear storage: bytes from Pixels that may be touched; host picture: bytes of a row
    std::int64_t WindowBytes;   // bytes of the current window that lie inside the file
    int TableRows;              // host picture in console form: entries of RowPointers
    StorageMark* Mark;          // shared by an image and its views; null where no view was ever made
    REALobject
        NextWaiting;      // while views of this image that have gone wait to let go of it: the next that is waited for
    int WaitingReleases;  // and how many they are
};
static_assert(std::is_standard_layout_v<YieldData>);

// The record of an image object: it lies where the host said at registration. The object must not be null.
ImageClassData* ImageDataOf(REALobject object);

// The test almost every method makes on every image it touches: a closed image keeps Valid and loses only GetRow.
inline bool IsUsable(const ImageClassData* record) {
    return record->Valid && record->GetRow && record->Width >= 0 && record->Height >= 1;
}

}  // namespace zor
