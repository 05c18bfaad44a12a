#include "kernels/Touch.h"
#include "kernels/VectorBlocks.h"

namespace zor {

namespace {

const hn::RepartitionToWide<decltype(kBytes)> kWords;
using Words = hn::Vec<decltype(kWords)>;
constexpr std::ptrdiff_t kLanes = kBlocks * kBlockBytes;
constexpr int kMaxStep = 5;

// The bytes of a run from the first channel of the first pixel to the last channel of the last. What is done to byte k
// depends on k % step alone.
struct TouchedBytes {
    std::uint8_t* first;
    std::ptrdiff_t size;
    int step;
    int channelAt[kMaxStep];  // of each byte of a pixel; kNone: it stays
    static constexpr int kNone = -1;
};

// False for pixels of another step, or with channels further apart than that or on the same byte.
bool FindBytes(const PixelRun& run, std::ptrdiff_t count, TouchedBytes* bytes) {
    if (run.step < 1 || run.step > kMaxStep || count < 1) return false;
    const std::ptrdiff_t* const offset = run.channels.offset;
    std::ptrdiff_t lowest = offset[0], highest = offset[0];
    for (int c = 1; c < run.channels.count; ++c) {
        lowest = offset[c] < lowest ? offset[c] : lowest;
        highest = offset[c] > highest ? offset[c] : highest;
    }
    if (highest - lowest >= run.step) return false;
    *bytes = {run.pixels + lowest, (count - 1) * run.step + highest - lowest + 1, static_cast<int>(run.step), {}};
    for (int& channel : bytes->channelAt) channel = TouchedBytes::kNone;
    for (int c = 0; c < run.channels.count; ++c) {
        int& channel = bytes->channelAt[offset[c] - lowest];
        if (channel != TouchedBytes::kNone) return false;
        channel = c;
    }
    return true;
}

// --- patterns -------------------------------------------------------------------------------------------------------

// As many vectors as a pixel has bytes begin with the first byte of a pixel again. For each byte of those: which of its
// pixel it is.
template <int kStep>
struct ByteOfPixel {
    std::uint8_t at[kStep * kLanes];
    constexpr ByteOfPixel() : at() {
        for (int k = 0; k < kStep * kLanes; ++k) at[k] = static_cast<std::uint8_t>(k % kStep);
    }
};
template <int kStep>
constexpr ByteOfPixel<kStep> kByteOfPixel;

// A number for each byte of a pixel, brought to all bytes of the vectors.
struct PixelTable {
    alignas(kBlockBytes) std::uint8_t entry[kBlockBytes] = {};

    template <int kStep>
    HWY_INLINE Bytes VectorOf(int vector) const {
        const Bytes at = hn::LoadU(kBytes, kByteOfPixel<kStep>.at + vector * kLanes);
        return hn::TableLookupBytes(hn::LoadDup128(kBytes, entry), at);
    }
};

// --- what is done to a byte -----------------------------------------------------------------------------------------

// A member `kReads` tells whether the bytes are looked at; one by one they are taken by Byte.

// Stays where it has no channel.
PixelTable MaskOf(const TouchedBytes& bytes) {
    PixelTable mask;
    for (int j = 0; j < bytes.step; ++j) mask.entry[j] = bytes.channelAt[j] == TouchedBytes::kNone ? 0 : 255;
    return mask;
}

struct StoreOp {
    const std::uint8_t* value;

    template <int kStep, bool kKeeps>
    struct Vectors {
        static constexpr bool kReads = kKeeps;
        Bytes stored[kStep], kept[kStep];

        HWY_INLINE Vectors(const TouchedBytes& bytes, const StoreOp& op) {
            PixelTable values;
            for (int j = 0; j < kStep; ++j) values.entry[j] = bytes.channelAt[j] < 0 ? 0 : op.value[bytes.channelAt[j]];
            const PixelTable mask = MaskOf(bytes);
            for (int v = 0; v < kStep; ++v) {
                stored[v] = values.VectorOf<kStep>(v);
                kept[v] = hn::Not(mask.VectorOf<kStep>(v));
            }
        }
        HWY_INLINE Bytes operator()(int v, Bytes old) const {
            return kKeeps ? hn::Or(stored[v], hn::And(old, kept[v])) : stored[v];
        }
    };
    std::uint8_t Byte(int channel, std::uint8_t) const { return value[channel]; }
};

struct ComplementOp {
    template <int kStep, bool>
    struct Vectors {
        static constexpr bool kReads = true;
        Bytes flip[kStep];

        HWY_INLINE Vectors(const TouchedBytes& bytes, const ComplementOp&) {
            const PixelTable mask = MaskOf(bytes);
            for (int v = 0; v < kStep; ++v) flip[v] = mask.VectorOf<kStep>(v);
        }
        HWY_INLINE Bytes operator()(int v, Bytes old) const { return hn::Xor(old, flip[v]); }
    };
    std::uint8_t Byte(int, std::uint8_t old) const { return static_cast<std::uint8_t>(255 - old); }
};

// Both weights of a colour that is laid over come in 257ths of 65536, so that the sum is 257 times one of 16 bits: its
// bits from 16 on are the high half of the product with 257. Below 65281 nothing reaches bit 24.
struct LayOverOp {
    static constexpr std::uint32_t kUnit = 257, kMostSum = 65280;
    const LayOverWeights& weights;

    bool FitsWords(int channels) const {
        const std::uint32_t old = weights.oldWeight / kUnit;
        bool fits = weights.oldWeight % kUnit == 0 && old <= 255;
        for (int c = 0; c < channels; ++c) {
            const std::uint32_t added = weights.added[c] / kUnit;
            fits = fits && weights.added[c] % kUnit == 0 && added <= kMostSum && 255 * old + added <= kMostSum;
        }
        return fits;
    }

    template <int kStep, bool kKeeps>
    struct Vectors {
        static constexpr bool kReads = true;
        Words evenAdded[kStep], oddAdded[kStep], oldWeight;
        Bytes mask[kStep];

        HWY_INLINE Vectors(const TouchedBytes& bytes, const LayOverOp& op)
            : oldWeight(hn::Set(kWords, static_cast<std::uint16_t>(op.weights.oldWeight / kUnit))) {
            PixelTable low, high;
            for (int j = 0; j < kStep; ++j) {
                const std::uint32_t added = bytes.channelAt[j] < 0 ? 0 : op.weights.added[bytes.channelAt[j]] / kUnit;
                low.entry[j] = static_cast<std::uint8_t>(added);
                high.entry[j] = static_cast<std::uint8_t>(added >> 8);
            }
            const PixelTable touched = MaskOf(bytes);
            for (int v = 0; v < kStep; ++v) {
                const Words lows = hn::BitCast(kWords, low.VectorOf<kStep>(v));
                const Words highs = hn::BitCast(kWords, high.VectorOf<kStep>(v));
                evenAdded[v] = hn::Or(hn::And(lows, hn::Set(kWords, 255)), hn::ShiftLeft<8>(highs));
                oddAdded[v] = hn::Or(hn::ShiftRight<8>(lows), hn::And(highs, hn::Set(kWords, 0xFF00)));
                mask[v] = touched.VectorOf<kStep>(v);
            }
        }
        HWY_INLINE Words Laid(Words old, Words added) const {
            return hn::MulHigh(hn::Add(hn::Mul(old, oldWeight), added),
                               hn::Set(kWords, static_cast<std::uint16_t>(kUnit)));
        }
        HWY_INLINE Bytes operator()(int v, Bytes old) const {
            const Words words = hn::BitCast(kWords, old);
            const Words even = Laid(hn::And(words, hn::Set(kWords, 255)), evenAdded[v]);
            const Words odd = Laid(hn::ShiftRight<8>(words), oddAdded[v]);
            const Bytes laid = hn::BitCast(kBytes, hn::Or(even, hn::ShiftLeft<8>(odd)));
            return kKeeps ? hn::Or(hn::And(laid, mask[v]), hn::AndNot(mask[v], old)) : laid;
        }
    };
    std::uint8_t Byte(int channel, std::uint8_t old) const {
        return static_cast<std::uint8_t>((old * weights.oldWeight + weights.added[channel]) >> 16);
    }
};

// --- runs -----------------------------------------------------------------------------------------------------------

template <class Op>
void TouchPixels(const PixelRun& run, std::ptrdiff_t count, const Op& op) {
    std::uint8_t* pixel = run.pixels;
    for (std::ptrdiff_t i = 0; i < count; ++i, pixel += run.step) {
        for (int c = 0; c < run.channels.count; ++c) {
            std::uint8_t* const byte = pixel + run.channels.offset[c];
            *byte = op.Byte(c, *byte);
        }
    }
}

template <int kStep, bool kKeeps, class Op>
void TouchBytes(const TouchedBytes& bytes, const Op& op) {
    std::uint8_t* const first = bytes.first;
    std::ptrdiff_t done = 0;
    if (bytes.size >= kLanes) {
        using Vectors = typename Op::template Vectors<kStep, kKeeps>;
        const Vectors vectors(bytes, op);
        const auto touch = [&](int v) {
            const Bytes old = Vectors::kReads ? hn::LoadU(kBytes, first + done) : hn::Zero(kBytes);
            hn::StoreU(vectors(v, old), kBytes, first + done);
            done += kLanes;
        };
        while (done + kStep * kLanes <= bytes.size) {
            AskAhead(first + done, kStep * kLanes);
            for (int v = 0; v < kStep; ++v) touch(v);
        }
        for (int v = 0; v < kStep - 1 && done + kLanes <= bytes.size; ++v) touch(v);
    }
    int j = static_cast<int>(done % kStep);
    for (; done < bytes.size; ++done) {
        const int channel = bytes.channelAt[j];
        if (channel != TouchedBytes::kNone) first[done] = op.Byte(channel, first[done]);
        j = j + 1 == kStep ? 0 : j + 1;
    }
}

template <class Op>
void Touch(const PixelRun& run, std::ptrdiff_t count, const Op& op) {
    TouchedBytes bytes{};
    if (!FindBytes(run, count, &bytes)) return TouchPixels(run, count, op);
    using Work = void (*)(const TouchedBytes&, const Op&);
    constexpr Work kWorks[2][kMaxStep] = {{TouchBytes<1, false, Op>, TouchBytes<2, false, Op>, TouchBytes<3, false, Op>,
                                           TouchBytes<4, false, Op>, TouchBytes<5, false, Op>},
                                          {TouchBytes<1, true, Op>, TouchBytes<2, true, Op>, TouchBytes<3, true, Op>,
                                           TouchBytes<4, true, Op>, TouchBytes<5, true, Op>}};
    kWorks[run.channels.count < bytes.step][bytes.step - 1](bytes, op);
}

void Store(const PixelRun& dst, std::ptrdiff_t count, const std::uint8_t* value) {
    Touch(dst, count, StoreOp{value});
}

void Complement(const PixelRun& dst, std::ptrdiff_t count) {
    Touch(dst, count, ComplementOp{});
}

void LayOver(const PixelRun& dst, std::ptrdiff_t count, const LayOverWeights& weights) {
    const LayOverOp op{weights};
    if (op.FitsWords(dst.channels.count)) {
        Touch(dst, count, op);
    } else {
        TouchPixels(dst, count, op);
    }
}

}  // namespace

void ZOR_TIER_FUNCTION(InitTouch)(TouchKernels* kernels) {
    for (int i = 0; i < ChannelSet::kMax; ++i) {
        kernels->store[i] = Store;
        kernels->complement[i] = Complement;
        kernels->layOver[i] = LayOver;
    }
}

}  // namespace zor
