#pragma once
// Kernels of the filtered scaler, on packed samples.
//
// All twins do the same double operations in the same order for every sample: a sample is (byte * factor) * weight,
// added up in the order of the taps; the sum is divided by the weight sum.

#include <cstddef>
#include <cstdint>

namespace zor {

// Which channels are filtered together. In those with luma the first channel is the sum of three planes.
enum ResampleShape : int {
    kChannels1,
    kChannels2,
    kChannels3,
    kChannels4,
    kChannels5,
    kLumaOnly,
    kLumaAndAlpha,
    kResampleShapes
};
constexpr ResampleShape ResampleShapeOf(int channels, bool luma) {
    return static_cast<ResampleShape>((luma ? kLumaOnly : kChannels1) + channels - 1);
}

// Several source rows are resampled at once, since they share their weights: the samples of the rows stand side by side
// as lanes. planes is the count of bytes per packed pixel; a row block holds columns of planes * rows doubles, and in a
// column the rows of plane 0, of plane 1, ... By shape: a block of one row, and the block that runs fastest.
constexpr int kRowsInBlock[kResampleShapes][2] = {{1, 6}, {1, 3}, {1, 2}, {1, 3}, {1, 2}, {1, 6}, {1, 3}};

// The columns of a result row: each has the same number of neighbouring taps in the source row.
struct TapColumns {
    int taps;  // of each column
    int columns;
    const int* first;          // by column: source column of the first tap
    const double* weights;     // taps of column 0, of column 1, ...
    const double* weightSums;  // by column
};

struct ScalingKernels {
    static constexpr int kMaxPlanes = 5;
    static constexpr int kRowsAtOnce = 8;
    using Widen = void (*)(const std::uint8_t* packed, int width, const double* factors, int rows, double* lane);
    using Resample = void (*)(const double* block, const TapColumns& taps, std::uint8_t* bytes);

    // Widens one packed row into the lane of its row in a block of so many rows, each plane times its factor. By
    // planes, [0] for one.
    Widen widen[kMaxPlanes];

    // Resamples a block to one byte per column of the table, channel and row, in this order: x, channel, row. The block
    // has taps.taps columns of finite numbers behind the last source column. By shape and block, as kRowsInBlock.
    Resample resample[kResampleShapes][2];

    // sums[i] += rows[k][i] * weights[k] for k from 0 to rowCount - 1, which is at most kRowsAtOnce.
    void (*accumulateRows)(double* sums, const std::uint8_t* const* rows, const double* weights, int rowCount,
                           std::ptrdiff_t count);

    // bytes[i] = ScaledByte(sums[i], weightSum).
    void (*finishRow)(const double* sums, double weightSum, std::uint8_t* bytes, std::ptrdiff_t count);
};

// A sum over its weight sum, cut to a byte: truncated, never rounded. What is not a number, as the sum of an empty
// list, is 0.
std::uint8_t ScaledByte(double sum, double weightSum);

void InitScaling_Plain(ScalingKernels* kernels);

}  // namespace zor
