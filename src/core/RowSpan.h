#pragma once
// A row of an image together with the bytes that may be touched from it. Every pixel loop takes its rows here.
//
// Many operations run past the end of their rectangle, row or image on purpose, and callers can see what that does
// inside the storage. What would lie outside is neither read nor written: writes are dropped, reads give 0, a run of
// bytes is cut. So a loop takes its row here, and either finds by Covers that all of its bytes are inside and runs
// free of tests, or goes byte by byte through Load and Store, or through a gathered copy.

#include <cstring>

#include "core/Channels.h"

namespace zor {

struct RowSpan {
    std::uint8_t* data;    // address of column 0; null: the row does not exist, skip it
    std::ptrdiff_t begin;  // bytes from data that may be touched, half-open; may lie anywhere relative to data
    std::ptrdiff_t end;

    explicit operator bool() const { return data != nullptr; }
    // Positions are told in 64 bits, as columns times the size of a pixel need not fit into fewer.
    bool Contains(std::int64_t at) const { return at >= begin && at < end; }
    bool Covers(std::int64_t first, std::int64_t pastLast) const {
        return first >= pastLast || (first >= begin && pastLast <= end);
    }
    std::uint8_t Load(std::int64_t at) const { return Contains(at) ? data[at] : 0; }
    void Store(std::int64_t at, std::uint8_t value) const {
        if (Contains(at)) data[at] = value;
    }
};

// Row y of the image. Never touches the pixels. On a file-backed image the row is good until the next call on the
// same record. A closed image, and one whose storage is gone, have no rows.
RowSpan GetRowSpan(ImageClassData* record, int y);

// A run of bytes cut to what may be touched.
struct ByteRun {
    std::uint8_t* data;
    std::size_t size;
};
ByteRun CutRun(const RowSpan& row, std::int64_t first, std::int64_t pastLast);

// Copies `count` bytes starting at `srcAt` in one row to `dstAt` in another. The run is cut to the bytes that both rows
// may touch. The two may overlap: the result is that of a copy through a buffer.
void CopyRun(const RowSpan& dst, std::int64_t dstAt, const RowSpan& src, std::int64_t srcAt, std::int64_t count);

// Reads `count` bytes starting at `from` into a buffer of that size. Bytes that the row does not have read 0; a null
// row has none.
void LoadRun(const RowSpan& row, std::int64_t from, std::ptrdiff_t count, std::uint8_t* buffer);

// A stretch of a run of pixels, as half-open range of indices into the run.
struct PixelRange {
    std::int64_t first;
    std::int64_t last;
};

// Of the `width` pixels from column `x` on: those of which every byte from offset `low` to offset `high` of the pixel
// may be touched; with low above high, those outside of which no byte between the two may be. Within 0 to width, also
// where it is empty. Worked out in 64 bits, so that no column wraps.
PixelRange PixelsWithin(const RowSpan& row, std::int64_t pixelSize, std::int64_t low, std::int64_t high, std::int64_t x,
                        std::int64_t width);

// Those whose every channel byte may be touched.
inline PixelRange PixelsInside(const RowSpan& row, std::int64_t pixelSize, const ChannelSet& channels, std::int64_t x,
                               std::int64_t width) {
    return PixelsWithin(row, pixelSize, channels.lowest(), channels.highest(), x, width);
}

// Those outside of which no channel byte may be.
inline PixelRange PixelsReached(const RowSpan& row, std::int64_t pixelSize, const ChannelSet& channels, std::int64_t x,
                                std::int64_t width) {
    return PixelsWithin(row, pixelSize, channels.highest(), channels.lowest(), x, width);
}

// True for an image that is said to have more pixels than memory can hold, none of which lies in its storage: one of
// the application's own memory in rows of no bytes, for example. What works through an image row by row leaves it
// alone, as nothing that is written there would stay, and the work would not end.
bool HoldsNothing(const ImageClassData* record);

// Reads `width` pixels from column `x` on into packed bytes, channel after channel. Bytes outside read 0. A null row
// gives zeros.
void GatherPixels(const RowSpan& row, int pixelSize, const ChannelSet& channels, std::int64_t x, std::ptrdiff_t width,
                  std::uint8_t* packed);

// Writes packed bytes back: pixels from left to right, the channels of a pixel in the order of the set. Bytes
// outside are dropped.
void ScatterPixels(const RowSpan& row, int pixelSize, const ChannelSet& channels, std::int64_t x, std::ptrdiff_t width,
                   const std::uint8_t* packed);

}  // namespace zor
