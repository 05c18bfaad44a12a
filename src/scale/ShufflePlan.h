#pragma once
// The nearest-pixel scaler's rows as shuffles of bytes: which byte of the source each byte of a target row is, worked
// out once for all rows.

#include "core/HeapArray.h"
#include "kernels/Nearest.h"

namespace zor {

// Pixels in a row: their channels, and the bytes from one to the next.
struct PixelLayout {
    ChannelSet channels;
    std::ptrdiff_t step;

    bool operator==(const PixelLayout& other) const {
        return step == other.step && SameOffsets(channels, other.channels);
    }
};

class ShufflePlan {
public:
    // None: rows go pixel by pixel.
    ShufflePlan() = default;

    // For `width` pixels, pixel i made of pixel columns[i] of the source by that rule, with the alpha that is last in
    // both layouts if withAlpha. There is none by plain kernels, for a rule that calculates, for rows that are too
    // short, for columns that lie too far apart, and where memory is short.
    ShufflePlan(PixelRule rule, bool withAlpha, const PixelLayout& dst, const PixelLayout& src,
                const std::int32_t* columns, int width);

    explicit operator bool() const { return windows_ > 0; }

    // From the pixels of one row into those of another. Of the source bytes are read from the first that column 0 has
    // to the last that the last column has.
    void Run(const std::uint8_t* src, std::uint8_t* dst) const;

private:
    bool FindWindows(const std::int32_t* places, std::int64_t srcBytes);
    bool FillPieces(const std::int32_t* places);

    std::ptrdiff_t srcFirst_ = 0, dstFirst_ = 0;  // bytes from pixel 0 to the first one that is read or written
    std::ptrdiff_t bytes_ = 0;                    // of the target
    int windows_ = 0;
    bool keeps_ = false;
    HeapArray<std::int32_t> from_{0};
    HeapArray<std::uint8_t> index_{0}, keep_{0};
};

}  // namespace zor
