#pragma once
// Kernels of the filtered scaler for pixels whose colours are weighed by their alpha: gray with alpha, and red, green
// and blue with alpha, which stands last.
//
// A pixel on its way is as many floats: each colour times alpha, 0 to 255 * 255, and alpha, 0 to 255. Source bytes are
// just that, without any error. What they give is defined in single precision, so that twins agree to the byte:
// products are rounded before they are added up in the order of the taps, kTapsInGroup at a time, and the sums of these
// groups in their order. Between the passes nothing is cut off; the result is cut to what a picture can hold: alpha to
// 0 to 255, then a colour times alpha to 0 to 255 times alpha.

#include <cstddef>
#include <cstdint>

#include "kernels/Scaling.h"

namespace zor {

enum WeighedShape : int { kGrayByAlpha, kColoursByAlpha, kWeighedShapes };
constexpr int ChannelsOf(WeighedShape shape) {
    return shape == kGrayByAlpha ? 2 : 4;
}

// A row of floats has room for so many that vectors of eight cover its pixels.
constexpr std::int64_t WeighedRowFloats(WeighedShape shape, std::int64_t pixels) {
    return (pixels * ChannelsOf(shape) + 7) / 8 * 8;
}

// Source rows that are resampled together, since they share their weights.
struct WeighedBlock {
    int rows;                                     // 1 to RowBlock::kMaxRows
    const std::uint8_t* src[RowBlock::kMaxRows];  // pixels side by side
    const Taps* taps;                             // one list per column of the result; only what lists take is read
    const float* shares;  // of each weight in the sum of its list; stride for list 0, for list 1, ...
    float* dst[RowBlock::kMaxRows];
    std::uint8_t* scratch;  // WeighedScratchBytes of it, of any content
};
std::int64_t WeighedScratchBytes(int stride);

// One row of the result out of rows that stand one above the other.
struct WeighedStack {
    const float* const* rows;  // by tap
    int taps;                  // 0: the result is clear
    const float* shares;
    std::ptrdiff_t count;  // pixels
    // Alpha is rounded to nearest, and so are the colours; those of clear pixels are 0.
    std::uint8_t* dst;
};

struct WeighedKernels {
    // Whether alpha is 255 in all of the pixels.
    bool (*isOpaque[kWeighedShapes])(const std::uint8_t* pixels, std::ptrdiff_t count);
    void (*alongRows[kWeighedShapes])(const WeighedBlock& block);
    void (*acrossRows[kWeighedShapes])(const WeighedStack& stack);
};

void InitWeighed_Plain(WeighedKernels* kernels);
void InitWeighed_Sse4(WeighedKernels* kernels);
void InitWeighed_Avx2(WeighedKernels* kernels);
void InitWeighed_Neon(WeighedKernels* kernels);

}  // namespace zor
