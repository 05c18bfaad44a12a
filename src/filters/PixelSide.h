#pragma once
// The two images of a filter with the channels that go from the one to the other, their rows as packed samples, and the
// tests that tell when a filter may visit pixels in another order than the one it is defined by.

#include "core/HeapArray.h"
#include "core/Walk.h"

namespace zor {

struct PixelSide {
    ImageClassData* record;
    std::ptrdiff_t pixelSize;  // bytes from one pixel to the next
    ChannelSet channels;       // in the order of their stores
};

// The channels of the source's family, each at the source's and at the destination's own offset. None for a source of
// no family. The destination may be of another format, or of another family: a channel that it lacks goes to the offset
// that its record carries for it, which is mostly 0.
struct PixelSides {
    PixelSide src;
    PixelSide dst;
    int count() const { return src.channels.count; }
};
PixelSides SidesOf(ImageClassData* src, ImageClassData* dst);
PixelSides ColourSidesOf(ImageClassData* src, ImageClassData* dst);  // without alpha

PixelSide SideOf(ImageClassData* record, const ChannelList& channels);

inline Layer LayerOf(const PixelSide& side, std::int64_t x, std::int64_t y) {
    return LayerOf(side.record, x, y, side.channels);
}

// The pixels of a row from column x on, which must lie inside the storage.
inline PixelRun RunAt(const RowSpan& row, const PixelSide& side, std::ptrdiff_t x) {
    return {row.data + x * side.pixelSize, side.pixelSize, side.channels};
}

// False for an image that has lost its pixels, closed during a yield or with the image that it is a view of. Nothing
// is written from such a source.
inline bool HasRows(ImageClassData* record) {
    return static_cast<bool>(GetRowSpan(record, 0));
}

// True if no two pixels of a row have a channel byte in common.
bool PixelsAreApart(const PixelSide& side);

// True if the first `width` pixels of a row keep to the RowSize bytes of that row, so that rows share no byte.
bool RowsAreApart(const PixelSide& side, std::int64_t width);

// True if what is stored in the pixels of a row is found there again, whatever is stored in those of other rows: then
// a second pass can follow on the heels of a first one.
bool RowsKeepTheirSamples(const PixelSide& side, std::int64_t width);

// A row as a second pass reads what the first has stored in it: its own RowSize bytes, and 0 beyond.
RowSpan OwnBytes(const RowSpan& row, const ImageClassData* record);

// True if every channel byte of those pixels may be touched.
bool Covers(const RowSpan& row, const PixelSide& side, std::ptrdiff_t first, std::ptrdiff_t width);

// A pixel that may lie outside the storage, wholly or in part. Its place is worked out in 64 bits, so that it does not
// wrap.
template <int kCount>
void Load(const RowSpan& row, const PixelSide& side, std::int64_t x, std::uint8_t* samples) {
    for (int c = 0; c < kCount; ++c) {
        const std::int64_t at = x * side.pixelSize + side.channels.offset[c];
        samples[c] = at >= row.begin && at < row.end ? row.data[static_cast<std::ptrdiff_t>(at)] : std::uint8_t{0};
    }
}
template <int kCount>
void Store(const RowSpan& row, const PixelSide& side, std::int64_t x, const std::uint8_t* samples) {
    for (int c = 0; c < kCount; ++c) {
        const std::int64_t at = x * side.pixelSize + side.channels.offset[c];
        if (at >= row.begin && at < row.end) row.data[static_cast<std::ptrdiff_t>(at)] = samples[c];
    }
}

// True if the pixels of both images are made of the channels, in the same order, and have no other byte.
bool ShareWholePixels(const PixelSides& sides);

// --- rows as packed samples -----------------------------------------------------------------------------------------

// Brings the channels into the order in which they lie in a pixel of the source, so that rows of whole pixels need
// no packing. Nothing happens where channels of the destination share a byte, since there the last store counts.
void OrderByBytes(PixelSides* sides);

// The samples of the first `width` pixels: the row itself where they lie packed, otherwise a copy in scratch, which
// has room for them. Bytes outside the storage read 0.
const std::uint8_t* PackedSamples(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width,
                                  std::uint8_t* scratch);
void CopyPackedSamples(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, std::uint8_t* copy);

// Where packed samples for the first `width` pixels are to be written: the row itself, or scratch. EndPacked takes
// them into the row.
std::uint8_t* BeginPacked(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, std::uint8_t* scratch);
void EndPacked(const RowSpan& row, const PixelSide& side, std::ptrdiff_t width, const std::uint8_t* samples);

}  // namespace zor
