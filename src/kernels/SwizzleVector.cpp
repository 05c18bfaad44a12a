#include <cstring>

#include "kernels/Swizzle.h"
#include "kernels/VectorBlocks.h"

namespace zor {

namespace {

// Sixteen pixels are a group: kSrc blocks of sixteen bytes become kDst such blocks, whatever the pixels are. The pixels
// that reach into one block of the target lie side by side in the source, in one to five blocks that begin with the
// first of those pixels. A shuffle takes from each of these what it has and leaves 0 elsewhere, and they are or'ed:
//
//     RGB to BGR, block 1   from R5 G5 B5 R6 ... R10   G5 R5 B6 G6 R6 B7 ... R9  0
//                           from G10 B10 .....          0  0  0  0  0  0 ...  0 B10
//
// Vectors of one block are as fast here as wider ones, whose halves would come from two groups. No load leaves the
// group: the last ones of it begin earlier, and what two of them have is or'ed with itself.
template <int kSrc, int kDst>
struct Group {
    static constexpr std::ptrdiff_t FirstPixel(std::ptrdiff_t block) { return kBlockBytes * block / kDst; }
    static constexpr std::ptrdiff_t PixelsOf(std::ptrdiff_t block) {
        return (kBlockBytes * block + kBlockBytes - 1) / kDst - FirstPixel(block) + 1;
    }
    static constexpr std::ptrdiff_t LoadsOf(std::ptrdiff_t block) {
        return (PixelsOf(block) * kSrc + kBlockBytes - 1) / kBlockBytes;
    }
    static constexpr std::ptrdiff_t LoadAt(std::ptrdiff_t block, std::ptrdiff_t load) {
        const std::ptrdiff_t at = FirstPixel(block) * kSrc + kBlockBytes * load, last = kBlockBytes * (kSrc - 1);
        return at < last ? at : last;
    }
    static constexpr int kMaxLoads = 5;
    static_assert(LoadsOf(0) <= kMaxLoads && LoadsOf(kDst - 1) <= kMaxLoads);
};

// For each byte of the target's group: where its pixel begins in the source's, and which byte of the pixel it is.
template <int kSrc, int kDst>
struct GroupBytes {
    alignas(kBlockBytes) std::uint8_t pixelAt[kDst * kBlockBytes];
    alignas(kBlockBytes) std::uint8_t byte[kDst * kBlockBytes];

    constexpr GroupBytes() : pixelAt(), byte() {
        for (int k = 0; k < kDst * kBlockBytes; ++k) {
            pixelAt[k] = static_cast<std::uint8_t>(k / kDst * kSrc);
            byte[k] = static_cast<std::uint8_t>(k % kDst);
        }
    }
};
template <int kSrc, int kDst>
constexpr GroupBytes<kSrc, kDst> kGroupBytes;

// What a swizzle says of the bytes of a pixel, for look-ups by byte.
struct PixelBytes {
    Block from;  // 128 for those that are not taken from the source
    Block keep;  // 255 for those that stay
    Block flip;

    explicit PixelBytes(const Swizzle& swizzle) {
        alignas(kBlockBytes) std::uint8_t table[3][kBlockBytes] = {};
        for (int j = 0; j < Swizzle::kMaxStep; ++j) {
            const bool isPart = j < swizzle.dstBytes, stays = !isPart || swizzle.from[j] == Swizzle::kStays;
            const bool isTaken = isPart && swizzle.from[j] >= 0;
            table[0][j] = isTaken ? static_cast<std::uint8_t>(swizzle.from[j]) : std::uint8_t{128};
            table[1][j] = stays ? 255 : 0;
            table[2][j] = stays ? std::uint8_t{0} : swizzle.flip[j];
        }
        from = hn::LoadDup128(kBlock, table[0]);
        keep = hn::LoadDup128(kBlock, table[1]);
        flip = hn::LoadDup128(kBlock, table[2]);
    }
};

// Positions in a block as indices of a shuffle, which gives 0 for those that are not in it. Those of bytes that are not
// taken lie between 48 and 203, since a pixel begins at most 80 bytes from a load; none of them can be meant.
HWY_INLINE Block IndicesOf(Block positions) {
#if HWY_TARGET == HWY_NEON
    return positions;  // all above 15 give 0
#else
    return hn::SaturatedAdd(positions, hn::Set(kBlock, 0x70));  // the low half counts, and 0 comes where the top bit is
#endif
}

// A swizzle as indices of shuffles and masks for a group.
template <int kSrc, int kDst, bool kMixed>
struct GroupMoves {
    using Shape = Group<kSrc, kDst>;
    Block index[kDst][Shape::kMaxLoads];
    Block keep[kDst];
    Block flip[kDst];

    HWY_INLINE explicit GroupMoves(const Swizzle& swizzle) {
        const PixelBytes pixel(swizzle);
        for (int b = 0; b < kDst; ++b) {
            const Block byte = hn::LoadDup128(kBlock, kGroupBytes<kSrc, kDst>.byte + b * kBlockBytes);
            const Block at = hn::Add(hn::LoadDup128(kBlock, kGroupBytes<kSrc, kDst>.pixelAt + b * kBlockBytes),
                                     hn::TableLookupBytes(pixel.from, byte));
            for (int l = 0; l < Shape::LoadsOf(b); ++l) {
                const Block start = hn::Set(kBlock, static_cast<std::uint8_t>(Shape::LoadAt(b, l)));
                index[b][l] = IndicesOf(hn::Sub(at, start));
            }
            if constexpr (kMixed) {
                keep[b] = hn::TableLookupBytes(pixel.keep, byte);
                flip[b] = hn::TableLookupBytes(pixel.flip, byte);
            }
        }
    }

    HWY_INLINE void Move(std::uint8_t* dst, const std::uint8_t* src) const {
        AskAhead(src, kSrc * kBlockBytes);
        AskAhead(dst, kDst * kBlockBytes);
        for (int b = 0; b < kDst; ++b) {
            Block bytes = hn::TableLookupBytesOr0(hn::LoadU(kBlock, src + Shape::LoadAt(b, 0)), index[b][0]);
            for (int l = 1; l < Shape::LoadsOf(b); ++l) {
                bytes =
                    hn::Or(bytes, hn::TableLookupBytesOr0(hn::LoadU(kBlock, src + Shape::LoadAt(b, l)), index[b][l]));
            }
            std::uint8_t* const at = dst + kBlockBytes * b;
            if constexpr (kMixed) {
                const Block kept = hn::And(hn::LoadU(kBlock, at), keep[b]);
                bytes = hn::Or(hn::Xor(bytes, flip[b]), kept);
            }
            hn::StoreU(bytes, kBlock, at);
        }
    }
};

void MovePixels(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i, dst += swizzle.dstStep, src += swizzle.srcStep) {
        for (int j = 0; j < swizzle.dstBytes; ++j) {
            const int from = swizzle.from[j];
            if (from == Swizzle::kStays) continue;
            dst[j] = static_cast<std::uint8_t>((from < 0 ? 0 : src[from]) ^ swizzle.flip[j]);
        }
    }
}

// Groups of whole pixels. The last group may begin within the one before: it moves the same bytes once more. What is
// left is less than a group, or a last pixel of which not all bytes may be touched.
template <int kSrc, int kDst, bool kMixed>
void MoveGroups(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t kPixels = kBlockBytes;
    const bool lastIsWhole = swizzle.srcBytes == kSrc && swizzle.dstBytes == kDst;
    const std::ptrdiff_t whole = lastIsWhole ? count : count - 1;
    std::ptrdiff_t done = 0;
    if (whole >= kPixels) {
        const GroupMoves<kSrc, kDst, kMixed> moves(swizzle);
        while (done < whole) {
            const std::ptrdiff_t first = done + kPixels <= whole ? done : whole - kPixels;
            moves.Move(dst + first * kDst, src + first * kSrc);
            done = first + kPixels;
        }
    }
    MovePixels(swizzle, dst + done * kDst, src + done * kSrc, count - done);
}

#define MOVES_TO(kSrc, kMixed)                                                                 \
    {                                                                                          \
        MoveGroups<kSrc, 1, kMixed>, MoveGroups<kSrc, 2, kMixed>, MoveGroups<kSrc, 3, kMixed>, \
            MoveGroups<kSrc, 4, kMixed>, MoveGroups<kSrc, 5, kMixed>                           \
    }
#define MOVES(kMixed) \
    { MOVES_TO(1, kMixed), MOVES_TO(2, kMixed), MOVES_TO(3, kMixed), MOVES_TO(4, kMixed), MOVES_TO(5, kMixed) }

// By steps of source and target; for bytes that only move, and with bytes that stay, are constants or are flipped.
constexpr SwizzleFn kMoves[2][Swizzle::kMaxStep][Swizzle::kMaxStep] = {MOVES(false), MOVES(true)};

}  // namespace

void ZOR_TIER_FUNCTION(MoveBytes)(const Swizzle& swizzle, std::uint8_t* dst, const std::uint8_t* src,
                                  std::ptrdiff_t count) {
    if (count < 1) return;
    bool mixed = swizzle.dstBytes < swizzle.dstStep, inPlace = swizzle.srcStep == swizzle.dstStep;
    for (int j = 0; j < swizzle.dstBytes; ++j) {
        mixed = mixed || swizzle.from[j] < 0 || swizzle.flip[j] != 0;
        inPlace = inPlace && swizzle.from[j] == j;
    }
    if (inPlace && !mixed) {
        std::memcpy(dst, src, static_cast<std::size_t>(count * swizzle.dstStep));
    } else {
        kMoves[mixed][swizzle.srcStep - 1][swizzle.dstStep - 1](swizzle, dst, src, count);
    }
}

void ZOR_TIER_FUNCTION(InitSwizzle)(SwizzleKernels* kernels) {
    kernels->move = ZOR_TIER_FUNCTION(MoveBytes);
}

}  // namespace zor
