#include <algorithm>
#include <cmath>
#include <cstring>

#include "kernels/Scaling.h"

namespace zor {

std::uint8_t ScaledByte(double sum, double weightSum, Ending ending) {
    const double quotient = sum / weightSum;
    const double value = ending == Ending::nearest ? quotient + 0.5 : quotient;
    const double atLeast0 = value > 0.0 ? value : 0.0;
    const double cut = atLeast0 < 255.0 ? atLeast0 : 255.0;
    return static_cast<std::uint8_t>(static_cast<int>(cut));
}

// Plain twins work on a window on the row, of up to six rows of eight bytes; vector ones on one of 16 rows of two
// bytes.
constexpr int kWindow = 1024;  // columns, besides those of two lists

std::int64_t RowScratchBytes(ResampleShape shape, int stride) {
    return (kWindow + 2 * std::int64_t{stride}) * PlanesOf(shape) * 48 + 8192;
}

namespace {

// --- rows -----------------------------------------------------------------------------------------------------------

// Several source rows are resampled at once: the samples of the rows stand side by side as lanes, each plane times its
// factor. A column of the block is the rows of plane 0, of plane 1, ... So many run fastest; a window that does not fit
// into the cache would be slower than one row at a time.
constexpr int kRowsAtOnce[kResampleShapes] = {6, 3, 2, 3, 2, 6, 3};
constexpr std::int64_t kMaxWindowBytes = std::int64_t{1} << 24;

// Lists that are worked on together, and the columns of the source that they take.
struct Section {
    int begin, end;
    int first, pastLast;
};

Section SectionFrom(const Taps& taps, int begin) {
    Section section = {begin, begin, 0, 0};
    for (; section.end < taps.count; ++section.end) {
        const TapList& list = taps.lists[section.end];
        if (list.taps == 0) continue;
        if (section.pastLast == 0) section.first = list.first;
        const std::int64_t pastLast = std::int64_t{list.first} + list.taps;
        if (pastLast - section.first > kWindow + 2 * std::int64_t{taps.stride}) break;
        section.pastLast = static_cast<int>(std::max<std::int64_t>(section.pastLast, pastLast));
    }
    return section;
}

template <ResampleShape kShape, int kRows>
void Widen(const RowBlock& block, int firstRow, int rows, const Section& section, double* lanes) {
    constexpr int kPlanes = PlanesOf(kShape);
    constexpr int kLanes = kPlanes * kRows;
    const int pastLast = std::min(section.pastLast, block.width);  // beyond the row there are taps of weight 0 only
    for (int r = 0; r < rows; ++r) {
        const std::uint8_t* pixel = block.src[firstRow + r] + static_cast<std::ptrdiff_t>(section.first) * block.step;
        double* lane = lanes + r;
        for (int x = section.first; x < pastLast; ++x, pixel += block.step, lane += kLanes) {
            for (int p = 0; p < kPlanes; ++p) {
                const double byte = static_cast<double>(pixel[block.offset[p]]);
                lane[p * kRows] = kShape >= kLumaOnly && p < 3 ? byte * kLumaFactors[p] : byte;
            }
        }
    }
    if (pastLast < section.pastLast) {
        std::fill(lanes + static_cast<std::ptrdiff_t>(pastLast - section.first) * kLanes,
                  lanes + static_cast<std::ptrdiff_t>(section.pastLast - section.first) * kLanes, 0.0);
    }
}

// The sums of a column are kept apart from each other, so that additions need not wait for one another. Counts of sums
// that are a power of two are avoided in the blocks of several rows: the compiler then turns the loop over the
// taps into vectors across taps, shuffles the samples for it, and ends up at half the speed.
template <ResampleShape kShape, int kRows>
void Resample(const RowBlock& block, int firstRow, int rows, const Section& section, const double* lanes) {
    constexpr bool kLuma = kShape >= kLumaOnly;
    constexpr int kChannels = ChannelsOf(kShape), kLanes = PlanesOf(kShape) * kRows, kSums = kChannels * kRows;
    const Taps& taps = *block.taps;
    for (int r = 0; r < rows && kChannels < block.pitch; ++r) {
        std::memset(block.dst[firstRow + r] + static_cast<std::ptrdiff_t>(section.begin) * block.pitch, 0,
                    static_cast<std::size_t>(section.end - section.begin) * static_cast<unsigned>(block.pitch));
    }
    const float* weights = taps.weights + static_cast<std::ptrdiff_t>(section.begin) * taps.stride;
    for (int x = section.begin; x < section.end; ++x, weights += taps.stride) {
        const TapList& list = taps.lists[x];
        const std::ptrdiff_t column = list.taps > 0 ? list.first - section.first : 0;
        const double* sample = lanes + column * kLanes;
        double sums[kSums] = {};
        for (int k = 0; k < list.taps; ++k, sample += kLanes) {
            const double weight = static_cast<double>(weights[k]);
            if constexpr (kLuma) {
                for (int r = 0; r < kRows; ++r) {
                    sums[r] += sample[r] * weight + sample[kRows + r] * weight + sample[2 * kRows + r] * weight;
                }
                for (int i = kRows; i < kSums; ++i) sums[i] += sample[2 * kRows + i] * weight;
            } else {
                for (int i = 0; i < kSums; ++i) sums[i] += sample[i] * weight;
            }
        }
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * block.pitch;
        for (int c = 0; c < kChannels; ++c) {
            for (int r = 0; r < rows; ++r) {
                block.dst[firstRow + r][at + block.byteOf[c]] =
                    ScaledByte(sums[c * kRows + r], list.weightSum, taps.ending);
            }
        }
    }
}

template <ResampleShape kShape, int kRows>
void AlongRowsBy(const RowBlock& block) {
    double* const lanes = reinterpret_cast<double*>(block.scratch);
    for (int first = 0; first < block.rows; first += kRows) {
        const int rows = std::min(kRows, block.rows - first);
        for (Section section{}; section.end < block.taps->count;) {
            section = SectionFrom(*block.taps, section.end);
            Widen<kShape, kRows>(block, first, rows, section, lanes);
            Resample<kShape, kRows>(block, first, rows, section, lanes);
        }
    }
}

template <ResampleShape kShape>
void AlongRows_Plain(const RowBlock& block) {
    const bool fits = RowScratchBytes(kShape, block.taps->stride) <= kMaxWindowBytes;
    if (fits && block.rows > 1) return AlongRowsBy<kShape, kRowsAtOnce[kShape]>(block);
    AlongRowsBy<kShape, 1>(block);
}

// --- rows one above the other ---------------------------------------------------------------------------------------

constexpr int kStrip = 512;  // columns whose sums stay in the cache

template <int kCount>
void Accumulate(double* sums, const std::uint8_t* const* rows, const float* weights, std::ptrdiff_t at,
                std::ptrdiff_t count) {
    const std::uint8_t* row[kCount];
    double weight[kCount];
    for (int k = 0; k < kCount; ++k) {
        row[k] = rows[k] + at;
        weight[k] = static_cast<double>(weights[k]);
    }
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        double sum = sums[i];
        for (int k = 0; k < kCount; ++k) sum += static_cast<double>(row[k][i]) * weight[k];
        sums[i] = sum;
    }
}

void AcrossRowsOf(const RowStack& stack, int which) {
    const Taps& taps = *stack.taps;
    const int index = stack.list + which;
    const TapList& list = taps.lists[index];
    const float* const weights = taps.weights + static_cast<std::ptrdiff_t>(index) * taps.stride;
    for (std::ptrdiff_t at = 0; at < stack.count; at += kStrip) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kStrip, stack.count - at);
        double sums[kStrip] = {};
        int k = 0;
        for (; k + 4 <= list.taps; k += 4) Accumulate<4>(sums, stack.rows + k, weights + k, at, count);
        for (; k < list.taps; ++k) Accumulate<1>(sums, stack.rows + k, weights + k, at, count);
        std::uint8_t* const dst = stack.dst[which] + at;
        for (std::ptrdiff_t i = 0; i < count; ++i) dst[i] = ScaledByte(sums[i], list.weightSum, taps.ending);
    }
}

void AcrossRows_Plain(const RowStack& stack) {
    for (int i = 0; i < stack.lists; ++i) AcrossRowsOf(stack, i);
}

// --- fine samples ---------------------------------------------------------------------------------------------------

std::int16_t ToFine(int value) {
    return static_cast<std::int16_t>(std::clamp(value, -32768, 32767));
}

template <int kChannels>
void AlongFine_Plain(const RowBlock& block) {
    const Taps& taps = *block.taps;
    for (int r = 0; r < block.rows; ++r) {
        std::int16_t* dst = block.fine[r];
        for (int x = 0; x < taps.count; ++x, dst += kChannels) {
            const TapList& list = taps.lists[x];
            if (list.taps == 0 || !HasFineIntegers(list.form)) {
                for (int c = 0; c < kChannels; ++c) dst[c] = FineSample(block, r, x, c);
                continue;
            }
            const int shift = list.form.shift - kFineBits;
            const std::int16_t* const weights = taps.coarse + static_cast<std::ptrdiff_t>(x) * taps.stride;
            const std::uint8_t* pixel = block.src[r] + static_cast<std::ptrdiff_t>(list.first) * block.step;
            int sums[kChannels];
            std::fill_n(sums, kChannels, 1 << (shift - 1));
            for (int k = 0; k < list.taps; ++k, pixel += block.step) {
                for (int c = 0; c < kChannels; ++c) sums[c] += pixel[block.offset[c]] * weights[k];
            }
            for (int c = 0; c < kChannels; ++c) dst[c] = ToFine(sums[c] >> shift);
        }
    }
}

void AcrossFine_Plain(const FineStack& stack) {
    if (!stack.weights) return AcrossFineByShares(stack);
    constexpr int kShift = FineStack::kWeightBits + kFineBits;
    for (std::ptrdiff_t at = 0; at < stack.count; at += kStrip) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kStrip, stack.count - at);
        int sums[kStrip];
        std::fill_n(sums, count, 1 << (kShift - 1));
        for (int k = 0; k < stack.taps; ++k) {
            const std::int16_t* const row = stack.rows[k] + at;
            const int weight = stack.weights[k];
            for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] += row[i] * weight;
        }
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            stack.dst[at + i] = static_cast<std::uint8_t>(std::clamp(sums[i] >> kShift, 0, 255));
        }
    }
}

}  // namespace

std::int16_t FineSample(const RowBlock& block, int row, int list, int channel) {
    const TapList& taps = block.taps->lists[list];
    if (taps.taps == 0) return 0;
    const float* const weights = block.taps->weights + static_cast<std::ptrdiff_t>(list) * block.taps->stride;
    const std::uint8_t* sample =
        block.src[row] + static_cast<std::ptrdiff_t>(taps.first) * block.step + block.offset[channel];
    double sum = 0.0;
    for (int k = 0; k < taps.taps; ++k, sample += block.step) sum += *sample * static_cast<double>(weights[k]);
    const double value = std::floor(sum / taps.weightSum * (1 << kFineBits) + 0.5);
    return value > -32768.0 ? static_cast<std::int16_t>(std::min(value, 32767.0)) : std::int16_t{-32768};
}

void AcrossFineByShares(const FineStack& stack) {
    for (std::ptrdiff_t at = 0; at < stack.count; at += kStrip) {
        const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kStrip, stack.count - at);
        float sums[kStrip] = {};
        for (int group = 0; group < stack.taps; group += kTapsInGroup) {
            float sumsOfGroup[kStrip] = {};
            const int end = std::min(group + kTapsInGroup, stack.taps);
            for (int k = group; k < end; ++k) {
                const std::int16_t* const row = stack.rows[k] + at;
                const float share = stack.shares[k];
                for (std::ptrdiff_t i = 0; i < count; ++i) sumsOfGroup[i] += static_cast<float>(row[i]) * share;
            }
            for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] += sumsOfGroup[i];
        }
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const float value = sums[i] / (1 << kFineBits) + 0.5F;
            stack.dst[at + i] = static_cast<std::uint8_t>(value > 0.0F ? std::min(static_cast<int>(value), 255) : 0);
        }
    }
}

void InitScaling_Plain(ScalingKernels* kernels) {
    *kernels = {{AlongRows_Plain<kChannels1>, AlongRows_Plain<kChannels2>, AlongRows_Plain<kChannels3>,
                 AlongRows_Plain<kChannels4>, AlongRows_Plain<kChannels5>, AlongRows_Plain<kLumaOnly>,
                 AlongRows_Plain<kLumaAndAlpha>},
                AcrossRows_Plain,
                {AlongFine_Plain<1>, AlongFine_Plain<2>, AlongFine_Plain<3>, AlongFine_Plain<4>},
                AcrossFine_Plain};
}

}  // namespace zor
