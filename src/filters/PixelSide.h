#pragma once
// An image as the filters that reach beyond one pixel see it, rows as packed samples, and the tests that tell when
// such a filter may visit pixels in another order than the one it is defined by.

#include <cstdlib>
#include <memory>

#include "filters/ChannelPair.h"

struct PixelSide {
    ImageClassData* record;
    std::ptrdiff_t pixelSize;  // bytes from one pixel to the next
    ChannelSet channels;       // in the order of their stores
};

// A source and a destination, with the channels of the source's family. No channels for a source of no family.
struct PixelSides {
    PixelSide source;
    PixelSide dest;
    int count() const { return source.channels.count; }
};
PixelSides SidesOf(ImageClassData* source, ImageClassData* dest);

// False for an image that has lost its pixels, closed during a yield or with the image that it is a view of. Nothing
// is written from such a source.
inline bool HasRows(ImageClassData* record) {
    return static_cast<bool>(GetRowSpan(record, 0));
}

// True if no two pixels of a row have a channel byte in common.
bool PixelsAreApart(const PixelSide& side);

// True if the first `width` pixels of a row keep to the RowSize bytes of that row, so that rows share no byte.
bool RowsAreApart(const PixelSide& side, std::int64_t width);

inline bool Covers(const RowSpan& row, const PixelSide& side, std::ptrdiff_t first, std::ptrdiff_t width) {
    return width < 1 || CoversPixels(row, side.channels, side.pixelSize, first, width);
}
template <int kCount>
void Load(const RowSpan& row, const PixelSide& side, std::ptrdiff_t x, std::uint8_t* samples) {
    LoadPixel<kCount>(row, side.pixelSize, side.channels, x, samples);
}
template <int kCount>
void Store(const RowSpan& row, const PixelSide& side, std::ptrdiff_t x, const std::uint8_t* samples) {
    StorePixel<kCount>(row, side.pixelSize, side.channels, x, samples);
}

// Zero-filled memory that is freed at the end of the scope. False where it cannot be had.
template <class T>
class HeapArray {
public:
    explicit HeapArray(std::int64_t count)
        : memory_(static_cast<T*>(std::calloc(static_cast<std::size_t>(count > 0 ? count : 1), sizeof(T)))) {}
    T* get() const { return memory_.get(); }
    explicit operator bool() const { return memory_ != nullptr; }

private:
    struct Free {
        void operator()(T* memory) const { std::free(memory); }
    };
    std::unique_ptr<T, Free> memory_;
};

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
