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
constexpr std::uintptr_t kAskAhead = 4096;
HWY_INLINE void AskAhead(const std::uint8_t* at, std::ptrdiff_t bytes) {
    const std::uintptr_t ahead = reinterpret_cast<std::uintptr_t>(at) + kAskAhead;
    for (std::ptrdiff_t i = 0; i < bytes; i += kCacheLine) {
        __builtin_prefetch(reinterpret_cast<const void*>(ahead + static_cast<std::uintptr_t>(i)));
    }
}

// The block at `at` and, where there are two, the one `distance` bytes further on.
#if HWY_TARGET == HWY_AVX2

HWY_INLINE Bytes LoadBlocks(const std::uint8_t* at, std::ptrdiff_t distance) {
    return hn::Combine(kBytes, hn::LoadU(kBlock, at + distance), hn::LoadU(kBlock, at));
}

#else

HWY_INLINE Bytes LoadBlocks(const std::uint8_t* at, std::ptrdiff_t) {
    return hn::LoadU(kBytes, at);
}

#endif

}  // namespace

}  // namespace zor
