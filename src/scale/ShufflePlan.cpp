#include "scale/ShufflePlan.h"

#include <algorithm>
#include <climits>

#include "kernels/KernelTable.h"

namespace zor {

constexpr std::ptrdiff_t kPiece = ByteShuffle::kPiece;

// What a byte of the target is that comes from no byte of the source, which would be at its place otherwise.
constexpr std::int32_t kKept = -1, kZero = -2;

// Of one pixel: for each channel of the target the one of the source that it is made of, or kZero.
static std::int32_t ChannelFor(PixelRule rule, int channel, int dstColours, int srcColours) {
    if (channel == dstColours) return srcColours;  // alpha
    if (rule == PixelRule::copy) return channel;
    return rule == PixelRule::replicate || channel == dstColours - 1 ? 0 : kZero;
}

ShufflePlan::ShufflePlan(PixelRule rule, bool withAlpha, const PixelLayout& dst, const PixelLayout& src,
                         const std::int32_t* columns, int width) {
    // Without instructions for it bytes are shuffled one by one, and whole pixels are faster.
    if (ProcessKernels().tier == CpuTier::plain) return;
    if (rule == PixelRule::luma || rule == PixelRule::refused || width < 1 || dst.step < 1 || src.step < 1) return;
    srcFirst_ = src.channels.lowest();
    dstFirst_ = dst.channels.lowest();
    const std::int64_t srcBytes = std::int64_t{columns[width - 1]} * src.step + src.channels.highest() + 1 - srcFirst_;
    const std::int64_t dstBytes = std::int64_t{width - 1} * dst.step + dst.channels.highest() + 1 - dstFirst_;
    if (srcBytes > INT_MAX || dstBytes > INT_MAX || dstBytes < kPiece) return;
    bytes_ = static_cast<std::ptrdiff_t>(dstBytes);

    // As the pixels are stored one by one: where bytes are the same, the last store counts.
    const HeapArray<std::int32_t> places(bytes_);
    if (!places) return;
    std::fill_n(places.get(), bytes_, kKept);
    const int dstColours = dst.channels.count - withAlpha, srcColours = src.channels.count - withAlpha;
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        std::int32_t* const pixel = places.get() + x * dst.step - dstFirst_;
        const std::ptrdiff_t from = columns[x] * src.step - srcFirst_;
        for (int c = 0; c < dst.channels.count; ++c) {
            const std::int32_t channel = ChannelFor(rule, c, dstColours, srcColours);
            pixel[dst.channels.offset[c]] =
                channel < 0 ? kZero : static_cast<std::int32_t>(from + src.channels.offset[channel]);
        }
    }
    if (!FindWindows(places.get(), srcBytes) || !FillPieces(places.get())) windows_ = 0;
}

static std::ptrdiff_t StartOf(std::ptrdiff_t piece, std::ptrdiff_t bytes) {
    return std::min(piece * kPiece, bytes - kPiece);
}

// The first window of every piece, and as many windows as the widest piece needs. They lie within what may be read.
bool ShufflePlan::FindWindows(const std::int32_t* places, std::int64_t srcBytes) {
    from_ = HeapArray<std::int32_t>(PiecesOf(bytes_));
    if (!from_) return false;
    std::int32_t widest = 1;
    for (std::ptrdiff_t piece = 0; piece < PiecesOf(bytes_); ++piece) {
        std::int32_t lowest = INT_MAX, highest = 0;
        for (std::ptrdiff_t i = 0; i < kPiece; ++i) {
            const std::int32_t place = places[StartOf(piece, bytes_) + i];
            if (place < 0) continue;
            lowest = std::min(lowest, place);
            highest = std::max(highest, place);
        }
        if (lowest > highest) lowest = highest = 0;  // no byte of the source
        from_.get()[piece] = lowest;
        widest = std::max(widest, highest - lowest + 1);
    }
    const std::int64_t windows = (widest - 1) / kPiece + 1;
    if (windows > ByteShuffle::kMaxWindows || windows * kPiece > srcBytes) return false;
    windows_ = static_cast<int>(windows);
    const std::int32_t last = static_cast<std::int32_t>(srcBytes - windows * kPiece);
    for (std::ptrdiff_t piece = 0; piece < PiecesOf(bytes_); ++piece) {
        from_.get()[piece] = std::min(from_.get()[piece], last);
    }
    return true;
}

bool ShufflePlan::FillPieces(const std::int32_t* places) {
    const std::ptrdiff_t pieces = PiecesOf(bytes_);
    index_ = HeapArray<std::uint8_t>(pieces * kPiece, windows_);
    keep_ = HeapArray<std::uint8_t>(pieces * kPiece);
    if (!index_ || !keep_) return false;
    std::fill_n(index_.get(), pieces * kPiece * windows_, std::uint8_t{128});
    for (std::ptrdiff_t piece = 0; piece < pieces; ++piece) {
        for (std::ptrdiff_t i = 0; i < kPiece; ++i) {
            const std::int32_t place = places[StartOf(piece, bytes_) + i];
            if (place >= 0) {
                const std::ptrdiff_t at = place - from_.get()[piece];
                index_.get()[(piece * windows_ + at / kPiece) * kPiece + i] = static_cast<std::uint8_t>(at % kPiece);
            } else if (place == kKept) {
                keep_.get()[piece * kPiece + i] = 255;
                keeps_ = true;
            }
        }
    }
    return true;
}

void ShufflePlan::Run(const std::uint8_t* src, std::uint8_t* dst) const {
    const ByteShuffle shuffle = {bytes_, windows_, from_.get(), index_.get(), keeps_ ? keep_.get() : nullptr};
    Kernels().nearest.shuffle(shuffle, src + srcFirst_, dst + dstFirst_);
}

}  // namespace zor
