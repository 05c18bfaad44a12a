#pragma once
// A run of pixels: the only picture that a kernel knows.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace zor {

// The channels of a pixel that are worked on, in the order in which they are stored.
struct ChannelSet {
    static constexpr int kMax = 5;
    int count;                    // 1 to 5; 0: none
    std::ptrdiff_t offset[kMax];  // bytes from the start of a pixel; may lie outside of it, as those of clip views do

    std::ptrdiff_t lowest() const { return *std::min_element(offset, offset + count); }
    std::ptrdiff_t highest() const { return *std::max_element(offset, offset + count); }
};

// Channel c of pixel i is pixels[i * step + channels.offset[c]].
struct PixelRun {
    std::uint8_t* pixels;  // not owned
    std::ptrdiff_t step;   // bytes from one pixel to the next; 0: one pixel again and again
    ChannelSet channels;
};

// True if no two channels are the same byte.
inline bool AreDistinct(const ChannelSet& channels) {
    for (int c = 1; c < channels.count; ++c) {
        const std::ptrdiff_t* const offset = channels.offset;
        if (std::find(offset, offset + c, offset[c]) != offset + c) return false;
    }
    return true;
}

// True if the channels are all the bytes of a pixel, so that pixels side by side are one run of channel bytes.
inline bool FillPixel(const ChannelSet& channels, std::ptrdiff_t pixelSize) {
    return channels.count > 0 && channels.count == pixelSize && AreDistinct(channels) &&
           channels.highest() - channels.lowest() == pixelSize - 1;
}

inline bool SameOffsets(const ChannelSet& a, const ChannelSet& b) {
    return a.count == b.count && std::equal(a.offset, a.offset + a.count, b.offset);
}

// Stands behind every pixel of a loop that must keep to its order: the compiler may then neither merge nor reorder
// pixels. What it can tell from addresses is not enough: two windows on one file are the same bytes at different
// addresses.
inline void EndOfPixel() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

// The twin for a channel count out of the slots by channel count of a record. There must be a channel.
template <class Kernel>
Kernel ByCount(const Kernel (&slots)[ChannelSet::kMax], int count) {
    return slots[std::clamp(count, 1, ChannelSet::kMax) - 1];
}

// Calls work with the count as a constant of the compiler's.
template <class Work>
void WithChannelCount(int count, Work work) {
    switch (count) {
        case 1:
            return work(std::integral_constant<int, 1>());
        case 2:
            return work(std::integral_constant<int, 2>());
        case 3:
            return work(std::integral_constant<int, 3>());
        case 4:
            return work(std::integral_constant<int, 4>());
        case 5:
            return work(std::integral_constant<int, 5>());
    }
}

}  // namespace zor
