#pragma once
// Ordered dither as people expect it: from afar the picture looks as it did. Rows as they come; no images, no host.

#include <cstddef>
#include <cstdint>

#include "core/HeapArray.h"

namespace zor {

struct OrderedDitherRequest {
    int matrix;     // a number that SetMatrixValues knows
    int levels;     // 2 to 256, evenly from 0 to 255
    int channels;   // bytes a pixel, 1 to 4
    bool hasAlpha;  // the last of them, which stays
    bool isInk;     // what is dithered is the light that inks leave
};

// A sample lies between two levels, and takes the upper one the more often the nearer it is to that: where a matrix has
// its largest cells first, so that dark dots grow around the smallest. A matrix alone makes but as many tones as it has
// cells. Its repetitions therefore take part in turns, 8 x 8 of them, each at a slightly other threshold: the mean of
// any tone comes out right.
class OrderedDither {
public:
    // False for a matrix or a number of levels that there is not, and for want of memory.
    [[nodiscard]] bool Start(const OrderedDitherRequest& request);

    // Row y of a picture, counted from its top. dst may be src.
    void DitherRow(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t pixels, int y) const;

private:
    const std::uint8_t* OffsetsOf(int y) const { return offsets_.get() + y % period_ * rowBytes_; }

    OrderedDitherRequest request_{};
    std::uint8_t level_[256] = {};
    int period_ = 0;               // rows and columns after which all repeats
    std::ptrdiff_t rowBytes_ = 0;  // of a row of offsets: whole periods
    // For each byte of a pixel what is added before it is cut down to a level, 0 to 254 of 255.
    HeapArray<std::uint8_t> offsets_;
};

}  // namespace zor
