#include "kernels/Scaling.h"

namespace zor {

std::uint8_t ScaledByte(double sum, double weightSum) {
    const double value = sum / weightSum;
    const double atLeast0 = value > 0.0 ? value : 0.0;
    const double cut = atLeast0 < 255.0 ? atLeast0 : 255.0;
    return static_cast<std::uint8_t>(static_cast<int>(cut));
}

namespace {

template <int kPlanes>
void Widen_Plain(const std::uint8_t* packed, int width, const double* factors, int rows, double* lane) {
    double factor[kPlanes];
    for (int p = 0; p < kPlanes; ++p) factor[p] = factors[p];
    const std::ptrdiff_t column = std::ptrdiff_t{kPlanes} * rows;
    for (int x = 0; x < width; ++x, packed += kPlanes, lane += column) {
        for (int p = 0; p < kPlanes; ++p) lane[std::ptrdiff_t{p} * rows] = static_cast<double>(packed[p]) * factor[p];
    }
}

// The sums of a column are kept apart from each other, so that additions need not wait for one another. Counts of sums
// that are a power of two are avoided in the blocks of several rows: the compiler then turns the loop over the
// taps into vectors across taps, shuffles the samples for it, and ends up at half the speed.
template <ResampleShape kShape, int kBlock>
void Resample_Plain(const double* block, const TapColumns& taps, std::uint8_t* bytes) {
    constexpr bool kLuma = kShape >= kLumaOnly;
    constexpr int kRows = kRowsInBlock[kShape][kBlock];
    constexpr int kChannels = kShape - (kLuma ? kLumaOnly : kChannels1) + 1;
    constexpr int kPlanes = kLuma ? kChannels + 2 : kChannels;
    constexpr int kLanes = kPlanes * kRows;
    constexpr int kSums = kChannels * kRows;
    const double* weights = taps.weights;
    for (int x = 0; x < taps.columns; ++x, weights += taps.taps, bytes += kSums) {
        const double* sample = block + static_cast<std::ptrdiff_t>(taps.first[x]) * kLanes;
        double sums[kSums] = {};
        for (int k = 0; k < taps.taps; ++k, sample += kLanes) {
            const double weight = weights[k];
            if constexpr (kLuma) {
                for (int r = 0; r < kRows; ++r) {
                    sums[r] += sample[r] * weight + sample[kRows + r] * weight + sample[2 * kRows + r] * weight;
                }
                for (int i = kRows; i < kSums; ++i) sums[i] += sample[2 * kRows + i] * weight;
            } else {
                for (int i = 0; i < kSums; ++i) sums[i] += sample[i] * weight;
            }
        }
        const double weightSum = taps.weightSums[x];
        for (int i = 0; i < kSums; ++i) bytes[i] = ScaledByte(sums[i], weightSum);
    }
}

template <int kCount>
void Accumulate(double* sums, const std::uint8_t* const* rows, const double* weights, std::ptrdiff_t count) {
    const std::uint8_t* row[kCount];
    double weight[kCount];
    for (int k = 0; k < kCount; ++k) {
        row[k] = rows[k];
        weight[k] = weights[k];
    }
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        double sum = sums[i];
        for (int k = 0; k < kCount; ++k) sum += static_cast<double>(row[k][i]) * weight[k];
        sums[i] = sum;
    }
}

void AccumulateRows_Plain(double* sums, const std::uint8_t* const* rows, const double* weights, int rowCount,
                          std::ptrdiff_t count) {
    for (; rowCount >= 4; rows += 4, weights += 4, rowCount -= 4) Accumulate<4>(sums, rows, weights, count);
    for (; rowCount >= 1; ++rows, ++weights, --rowCount) Accumulate<1>(sums, rows, weights, count);
}

void FinishRow_Plain(const double* sums, double weightSum, std::uint8_t* bytes, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) bytes[i] = ScaledByte(sums[i], weightSum);
}

}  // namespace

void InitScaling_Plain(ScalingKernels* kernels) {
#define RESAMPLE(shape) {Resample_Plain<shape, 0>, Resample_Plain<shape, 1>}
    *kernels = {{Widen_Plain<1>, Widen_Plain<2>, Widen_Plain<3>, Widen_Plain<4>, Widen_Plain<5>},
                {RESAMPLE(kChannels1), RESAMPLE(kChannels2), RESAMPLE(kChannels3), RESAMPLE(kChannels4),
                 RESAMPLE(kChannels5), RESAMPLE(kLumaOnly), RESAMPLE(kLumaAndAlpha)},
                AccumulateRows_Plain,
                FinishRow_Plain};
#undef RESAMPLE
}

}  // namespace zor
