#include "kernels/Convert.h"
#include "kernels/Swizzle.h"
#include "kernels/VectorBlocks.h"

namespace zor {

namespace {

const hn::RepartitionToWide<decltype(kBytes)> kWords;
using Words = hn::Vec<decltype(kWords)>;

// --- bytes that only move -------------------------------------------------------------------------------------------

// Which channel of the source goes to each of the target's.
template <PixelRule kRule>
constexpr signed char ChannelFor(int channel, int dstColours) {
    if (kRule == PixelRule::copy) return static_cast<signed char>(channel);
    if (kRule == PixelRule::replicate || channel == dstColours - 1) return 0;
    return Swizzle::kConstant;
}

template <Conversion kConversion, PixelRule kRule, int kSrc, int kDst, bool kAlpha>
void Move(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, std::uint8_t alphaMask) {
    signed char channel[ChannelSet::kMax] = {};
    std::uint8_t flip[ChannelSet::kMax] = {};
    for (int c = 0; c < kDst; ++c) channel[c] = ChannelFor<kRule>(c, kDst);
    if (kAlpha) {
        channel[kDst] = kSrc;
        flip[kDst] = alphaMask;
    }
    SwizzleRun run;
    if (MakeSwizzle(dst, src, channel, flip, &run)) {
        ZOR_TIER_FUNCTION(MoveBytes)(run.swizzle, run.dst, run.src, count);
    } else {
        ConvertInOrder(kConversion, kAlpha)(dst, src, count, alphaMask);
    }
}

// --- luma -----------------------------------------------------------------------------------------------------------

// 77 red + 151 green + 28 blue is made of two sums, 77 red + 51 green and 100 green + 28 blue. The weights of each are
// 128 together, so that none leaves 15 bits, which an instruction for sums of products of bytes may give. The whole is
// at most 65280.
constexpr std::uint8_t kWeights[] = {77, 51, 77, 51, 77, 51, 77, 51, 100, 28, 100, 28, 100, 28, 100, 28};

HWY_INLINE Words PairSums(Bytes samples, Bytes weights) {
#if HWY_TARGET == HWY_AVX2
    return Words{_mm256_maddubs_epi16(samples.raw, weights.raw)};
#elif HWY_TARGET == HWY_SSE4
    return Words{_mm_maddubs_epi16(samples.raw, weights.raw)};
#else
    return Words(vpaddq_u16(vmull_u8(vget_low_u8(samples.raw), vget_low_u8(weights.raw)),
                            vmull_high_u8(samples.raw, weights.raw)));
#endif
}

// The high bytes of the words of each block.
HWY_INLINE Bytes HighBytes(Words first, Words second) {
#if HWY_TARGET == HWY_AVX2
    return Bytes{_mm256_packus_epi16(_mm256_srli_epi16(first.raw, 8), _mm256_srli_epi16(second.raw, 8))};
#elif HWY_TARGET == HWY_SSE4
    return Bytes{_mm_packus_epi16(_mm_srli_epi16(first.raw, 8), _mm_srli_epi16(second.raw, 8))};
#else
    return Bytes(vuzp2q_u8(vreinterpretq_u8_u16(first.raw), vreinterpretq_u8_u16(second.raw)));
#endif
}

// Where red, green and blue lie in a pixel, counted from the first of them, and how many bytes it takes them all.
struct ColourPlaces {
    int offset[3];
    int bytes;
};

// Luma of sixteen pixels, and in wider vectors of the sixteen behind them. Of four pixels at a time the samples that
// the two sums are made of are brought side by side, R G four times and then G B four times; the sums of one half and
// those of the other are added. No load leaves the sixteen pixels.
template <int kStep>
class LumaOf16 {
public:
    HWY_INLINE explicit LumaOf16(const ColourPlaces& places) : weights_(hn::LoadDup128(kBytes, kWeights)) {
        alignas(kBlockBytes) std::uint8_t index[2][kBlockBytes];
        for (int k = 0; k < kBlockBytes; ++k) {
            const int from = places.offset[k / 8 + k % 2] + k / 2 % 4 * kStep;
            index[0][k] = static_cast<std::uint8_t>(from);
            index[1][k] = static_cast<std::uint8_t>(from + 12 * kStep - LoadAt(3));
        }
        first_ = hn::LoadDup128(kBytes, index[0]);
        last_ = hn::LoadDup128(kBytes, index[1]);
    }
    HWY_INLINE Bytes operator()(const std::uint8_t* pixels) const {
        const hn::Repartition<std::uint64_t, decltype(kBytes)> kHalves;
        Words sums[2];
        for (int i = 0; i < 2; ++i) {
            const Words a = FourAt(pixels, 2 * i), b = FourAt(pixels, 2 * i + 1);
            const auto x = hn::BitCast(kHalves, a), y = hn::BitCast(kHalves, b);
            sums[i] = hn::Add(hn::BitCast(kWords, hn::InterleaveLower(kHalves, x, y)),
                              hn::BitCast(kWords, hn::InterleaveUpper(kHalves, x, y)));
        }
        return HighBytes(sums[0], sums[1]);
    }

private:
    static constexpr std::ptrdiff_t LoadAt(int four) { return four < 3 ? 4 * kStep * four : kBlockBytes * (kStep - 1); }

    HWY_INLINE Words FourAt(const std::uint8_t* pixels, int four) const {
        const Bytes bytes = LoadBlocks(pixels + LoadAt(four), kStep * kBlockBytes);
        return PairSums(hn::TableLookupBytes(bytes, four < 3 ? first_ : last_), weights_);
    }

    Bytes weights_, first_, last_;
};

std::uint8_t LumaOf(const std::uint8_t* pixel, const ColourPlaces& places) {
    const int* const at = places.offset;
    return static_cast<std::uint8_t>((77 * pixel[at[0]] + 151 * pixel[at[1]] + 28 * pixel[at[2]]) >> 8);
}

// Into bytes side by side. The last sixteen may begin within those before.
template <int kStep>
void PackLuma(const std::uint8_t* pixels, const ColourPlaces& places, std::ptrdiff_t count, std::uint8_t* dst) {
    constexpr std::ptrdiff_t kAtOnce = kBlocks * kBlockBytes;
    const std::ptrdiff_t whole = places.bytes == kStep ? count : count - 1;
    std::ptrdiff_t done = 0;
    if (whole >= kAtOnce) {
        const LumaOf16<kStep> luma(places);
        while (done < whole) {
            const std::ptrdiff_t first = done + kAtOnce <= whole ? done : whole - kAtOnce;
            AskAhead(pixels + first * kStep, kStep * kAtOnce);
            AskAhead(dst + first, kAtOnce);
            hn::StoreU(luma(pixels + first * kStep), kBytes, dst + first);
            done = first + kAtOnce;
        }
    }
    for (; done < count; ++done) dst[done] = LumaOf(pixels + done * kStep, places);
}

// Pixels that are worked at once where they go through buffers, which stay in the nearest cache.
constexpr std::ptrdiff_t kStretch = 1024;

// Some of the channels of one run go to some of another.
bool MakePart(const PixelRun& dst, int dstChannel, const PixelRun& src, int srcChannel, int channels, std::uint8_t flip,
              SwizzleRun* run) {
    constexpr signed char kInOrder[] = {0, 1, 2};
    const std::uint8_t flips[] = {flip, flip, flip};
    PixelRun to{dst.pixels, dst.step, {channels, {}}}, from{src.pixels, src.step, {channels, {}}};
    for (int c = 0; c < channels; ++c) {
        to.channels.offset[c] = dst.channels.offset[dstChannel + c];
        from.channels.offset[c] = src.channels.offset[srcChannel + c];
    }
    return MakeSwizzle(to, from, kInOrder, flips, run);
}

void MovePart(const SwizzleRun& part, std::ptrdiff_t first, std::ptrdiff_t count) {
    ZOR_TIER_FUNCTION(MoveBytes)
    (part.swizzle, part.dst + first * part.swizzle.dstStep, part.src + first * part.swizzle.srcStep, count);
}

// Pixels of three and four bytes become gray side by side; all others go through such.
template <bool kAlpha>
void Luma(const PixelRun& dst, const PixelRun& src, std::ptrdiff_t count, std::uint8_t alphaMask) {
    std::uint8_t colours[3 * kStretch], gray[kStretch];
    SwizzleRun in, out, alpha;
    if (!MakePart({colours, 3, {3, {0, 1, 2}}}, 0, src, 0, 3, 0, &in) ||
        !MakePart(dst, 0, {gray, 1, {1, {0}}}, 0, 1, 0, &out) ||
        (kAlpha && !MakePart(dst, 1, src, 3, 1, alphaMask, &alpha))) {
        return ConvertInOrder(kLuma3To1, kAlpha)(dst, src, count, alphaMask);
    }
    const bool straightIn = src.step == 3 || src.step == 4, straightOut = dst.step == 1;
    const ColourPlaces packed = {{0, 1, 2}, 3},
                       own = {{in.swizzle.from[0], in.swizzle.from[1], in.swizzle.from[2]}, in.swizzle.srcBytes};
    const auto pack = src.step == 4 ? PackLuma<4> : PackLuma<3>;
    for (std::ptrdiff_t first = 0; first < count; first += kStretch) {
        const std::ptrdiff_t pixels = count - first < kStretch ? count - first : kStretch;
        std::uint8_t* const to = straightOut ? out.dst + first : gray;
        if (straightIn) {
            pack(in.src + first * src.step, own, pixels, to);
        } else {
            ZOR_TIER_FUNCTION(MoveBytes)(in.swizzle, colours, in.src + first * src.step, pixels);
            pack(colours, packed, pixels, to);
        }
        if (!straightOut) ZOR_TIER_FUNCTION(MoveBytes)(out.swizzle, out.dst + first * dst.step, gray, pixels);
        if (kAlpha) MovePart(alpha, first, pixels);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitConvert)(ConvertKernels* kernels) {
#define MOVES(conversion, rule, src, dst)                                               \
    kernels->apart[conversion][0] = Move<conversion, PixelRule::rule, src, dst, false>; \
    kernels->apart[conversion][1] = Move<conversion, PixelRule::rule, src, dst, true>
    MOVES(kCopy1, copy, 1, 1);
    MOVES(kCopy3, copy, 3, 3);
    MOVES(kCopy4, copy, 4, 4);
    MOVES(kReplicate1To3, replicate, 1, 3);
    MOVES(kReplicate1To4, replicate, 1, 4);
    MOVES(kBlackOnly1To4, blackOnly, 1, 4);
    kernels->apart[kLuma3To1][0] = Luma<false>;
    kernels->apart[kLuma3To1][1] = Luma<true>;
}

}  // namespace zor
