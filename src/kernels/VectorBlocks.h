#pragma once
// For vector kernels that shuffle bytes, which stay within blocks of sixteen: a vector is one such block, or two, which
// come from two places. All of it is local to the source that includes it; see Vector.h.

#include "kernels/Vector.h"

namespace zor {

namespace {

const hn::ScalableTag<std::uint8_t> kBytes;
const hn::Full128<std::uint8_t> kBlock;
using Bytes = hn::Vec<decltype(kBytes)>;
using Block = hn::Vec<decltype(kBlock)>;

constexpr std::ptrdiff_t kBlockBytes = 16;
constexpr std::ptrdiff_t kBlocks =
    static_cast<std::ptrdiff_t>(hn::MaxLanes(hn::ScalableTag<std::uint8_t>())) / kBlockBytes;  // of a vector

// Asks for the bytes that a loop will come to, which takes the place of `bytes` bytes now. Pictures are larger than the
// caches near a processor, and a row is followed by the next: loops that do little with a byte wait for memory most of
// the time, and less if it is asked for early. Nothing is read; an address behind the last row does no harm.
constexpr std::ptrdiff_t kCacheLine = 64;
constexpr std::ptrdiff_t kAskAhead = 4096;
HWY_INLINE void AskAhead(const std::uint8_t* at, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; i += kCacheLine) __builtin_prefetch(at + kAskAhead + i);
}

// The block at `at` and, where there are two, the one `distance` bytes further on.
#if HWY_TARGET == HWY_AVX2

HWY_INLINE Bytes LoadBlocks(const std::uint8_t* at, std::ptrdiff_t distance) {
    return hn::Combine(kBytes, hn::LoadU(kBlock, at + distance), hn::LoadU(kBlock, at));
}
HWY_INLINE void StoreBlocks(Bytes blocks, std::uint8_t* at, std::ptrdiff_t distance) {
    hn::StoreU(hn::LowerHalf(kBlock, blocks), kBlock, at);
    hn::StoreU(hn::UpperHalf(kBlock, blocks), kBlock, at + distance);
}
HWY_INLINE Block FirstBlock(Bytes blocks) {
    return hn::LowerHalf(kBlock, blocks);
}

#else

HWY_INLINE Bytes LoadBlocks(const std::uint8_t* at, std::ptrdiff_t) {
    return hn::LoadU(kBytes, at);
}
HWY_INLINE void StoreBlocks(Bytes blocks, std::uint8_t* at, std::ptrdiff_t) {
    hn::StoreU(blocks, kBytes, at);
}
HWY_INLINE Block FirstBlock(Bytes blocks) {
    return blocks;
}

#endif

}  // namespace

}  // namespace zor
