#pragma once
// Runs of pixels as plain rows of bytes, for filters that treat a byte alike wherever it stands, or by its place in the
// pixel only. Bytes between the channels go along and are left out where the result is written.

#include <algorithm>

#include "filters/PixelSide.h"
#include "kernels/Convert.h"

namespace zor {

// The longest pixel that goes as bytes.
constexpr std::ptrdiff_t kMaxByteStep = 8;

// True if the channels of every pixel lie within as many bytes as lead to the next.
inline bool GoAsBytes(const PixelSide& side) {
    return side.channels.count > 0 && side.pixelSize > 0 && side.pixelSize <= kMaxByteStep && PixelsAreApart(side);
}

// Takes channels from one layout to another.
ConvertFn PixelMover(int channels);

// For runs of two layers, of which the source goes as bytes and whose order does not show. work(from, to, bytes, pixel)
// makes bytes from those of the source, in its layout; `pixel` is the first one of them in the run. `to` is part of the
// target itself where that has the same layout and no other byte, and may then be `from`; otherwise it lies apart, and
// a block of pixels that is still in the cache goes on from there.
template <class Work>
void WorkOnBytes(const RunSet& runs, Work work) {
    const PixelRun &dst = runs.run[0], &src = runs.run[1];
    const std::ptrdiff_t first = src.channels.lowest(), span = src.channels.highest() - first + 1;
    if (FillPixel(src.channels, src.step) && dst.step == src.step && SameOffsets(src.channels, dst.channels)) {
        work(src.pixels + first, dst.pixels + first, runs.count * src.step, std::ptrdiff_t{0});
        return;
    }
    constexpr std::ptrdiff_t kPixels = 480;
    std::uint8_t made[kPixels * kMaxByteStep];
    PixelRun from{made, src.step, src.channels}, to = dst;
    for (int c = 0; c < src.channels.count; ++c) from.channels.offset[c] -= first;
    const auto move = PixelMover(src.channels.count);
    for (std::ptrdiff_t at = 0; at < runs.count; at += kPixels) {
        const std::ptrdiff_t count = std::min(kPixels, runs.count - at);
        work(src.pixels + at * src.step + first, made, (count - 1) * src.step + span, at);
        to.pixels = dst.pixels + at * dst.step;
        move(to, from, count, 0);
    }
}

}  // namespace zor
