#include "scale/RowOps.h"

namespace {

template <int kPlanes, int kRows>
void WidenRow_Plain(const std::uint8_t* packed, int width, const double* factors, int row, double* block) {
    double factor[kPlanes];
    for (int p = 0; p < kPlanes; ++p) factor[p] = factors[p];
    double* lane = block + row;
    for (int x = 0; x < width; ++x, packed += kPlanes, lane += kPlanes * kRows) {
        for (int p = 0; p < kPlanes; ++p) lane[p * kRows] = static_cast<double>(packed[p]) * factor[p];
    }
}

// The sums of a column are kept apart from each other, so that additions need not wait for one another. Counts of sums
// that are a power of two are avoided in the blocks of several rows below: the compiler then turns the loop over the
// taps into vectors across taps, shuffles the samples for it, and ends up at half the speed.
template <int kChannels, int kRows, bool kLuma>
void Resample_Plain(const double* block, const TapTable& table, std::uint8_t* bytes) {
    constexpr int kPlanes = kLuma ? kChannels + 2 : kChannels;
    constexpr int kLanes = kPlanes * kRows;
    constexpr int kSums = kChannels * kRows;
    const int taps = table.taps();
    const double* weights = table.weights();
    for (int x = 0; x < table.columns(); ++x, weights += taps, bytes += kSums) {
        const double* sample = block + static_cast<std::ptrdiff_t>(table.first()[x]) * kLanes;
        double sums[kSums] = {};
        for (int k = 0; k < taps; ++k, sample += kLanes) {
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
        const double weightSum = table.weightSums()[x];
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

template <int kChannels, int kRows, bool kLuma = false>
constexpr HorizontalOps Slot() {
    return {kRows, WidenRow_Plain < kLuma ? kChannels + 2 : kChannels, kRows >,
            Resample_Plain<kChannels, kRows, kLuma>};
}

}  // namespace

void InitScaleRowOps_Plain(ScaleRowOps* ops) {
    *ops = {{{},
             {Slot<1, 1>(), Slot<1, 6>()},
             {Slot<2, 1>(), Slot<2, 3>()},
             {Slot<3, 1>(), Slot<3, 2>()},
             {Slot<4, 1>(), Slot<4, 3>()},
             {Slot<5, 1>(), Slot<5, 2>()}},
            {{}, {Slot<1, 1, true>(), Slot<1, 6, true>()}, {Slot<2, 1, true>(), Slot<2, 3, true>()}},
            AccumulateRows_Plain,
            FinishRow_Plain};
}

const ScaleRowOps& PickedScaleRowOps() {
    static const ScaleRowOps picked = [] {
        ScaleRowOps ops;
        InitScaleRowOps_Plain(&ops);
        return ops;
    }();
    return picked;
}
