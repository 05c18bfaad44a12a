#pragma once
// An image as the filters that reach beyond one pixel see it, rows as packed samples, and the tests that tell when
// such a filter may visit pixels in another order than the one it is defined by.

#include <cstdlib>
#include <memory>
#include <utility>

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

// True if the pixels of both images are made of the channels, in the same order, and have no other byte.
bool ShareWholePixels(const PixelSides& sides);

// Where the channels of a pixel lie, for loops over pixels that are all inside the storage.
template <int kCount>
struct ChannelBytes {
    explicit ChannelBytes(const PixelSides& sides) {
        for (int c = 0; c < kCount; ++c) {
            from[c] = sides.source.channels.offset[c];
            to[c] = sides.dest.channels.offset[c];
        }
    }
    void Copy(const std::uint8_t* source, std::uint8_t* dest) const {
        for (int c = 0; c < kCount; ++c) dest[to[c]] = source[from[c]];
    }
    // Of one image with itself.
    void Swap(std::uint8_t* a, std::uint8_t* b) const {
        for (int c = 0; c < kCount; ++c) std::swap(a[from[c]], b[from[c]]);
    }
    std::ptrdiff_t from[kCount], to[kCount];
};

// The same where the pixels of both images are those bytes, in the same order, and nothing else.
template <int kCount>
struct WholePixel {
    explicit WholePixel(const PixelSides& sides) : lowest(sides.source.channels.lowest()) {}
    void Copy(const std::uint8_t* source, std::uint8_t* dest) const {
        std::memcpy(dest + lowest, source + lowest, kCount);
    }
    void Swap(std::uint8_t* a, std::uint8_t* b) const {
        std::uint8_t kept[kCount];
        std::memcpy(kept, a + lowest, kCount);
        std::memcpy(a + lowest, b + lowest, kCount);
        std::memcpy(b + lowest, kept, kCount);
    }
    std::ptrdiff_t lowest;
};

// Calls work with whichever of the two fits.
template <int kCount, class Work>
void WithPixelCopy(const PixelSides& sides, Work work) {
    if (ShareWholePixels(sides)) {
        work(WholePixel<kCount>(sides));
    } else {
        work(ChannelBytes<kCount>(sides));
    }
}

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
