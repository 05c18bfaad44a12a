#pragma once
// The hot loops of the resampler, on whole rows of packed samples, as a table of functions that is handed along.
//
// Every twin of these functions gives the same bytes: the same double operations in the same order for every sample.
// A sample is (byte * factor) * weight, added up in the order of the taps; the sum is divided by the weight sum.

#include <cstddef>
#include <cstdint>

#include "scale/Contributions.h"

// Several source rows are resampled at once, since they share their weights: the samples of the rows stand side by side
// as lanes. planes is the count of bytes per pixel; a row block holds columns of planes * rows doubles, and in a column
// the rows of plane 0, of plane 1, ...
struct HorizontalOps {
    int rows;  // source rows per block

    // Widens one packed row into lane `row` of the block, each plane times its factor.
    void (*widenRow)(const std::uint8_t* packed, int width, const double* factors, int row, double* block);

    // Resamples a block to one byte per column of the table, channel and row, in this order: x, channel, row. The block
    // has taps() columns of finite numbers behind the last source column.
    void (*resample)(const double* block, const TapTable& taps, std::uint8_t* bytes);
};

struct ScaleRowOps {
    static constexpr int kRowsAtOnce = 8;

    // By channel count, 1 to 5; with luma 1 or 2, whose first channel is the sum of three planes. [0] takes a block of
    // one row, [1] the block that runs fastest.
    HorizontalOps plain[6][2];
    HorizontalOps luma[3][2];

    // sums[i] += rows[k][i] * weights[k] for k from 0 to rowCount - 1, which is at most kRowsAtOnce.
    void (*accumulateRows)(double* sums, const std::uint8_t* const* rows, const double* weights, int rowCount,
                           std::ptrdiff_t count);

    // bytes[i] = ScaledByte(sums[i], weightSum).
    void (*finishRow)(const double* sums, double weightSum, std::uint8_t* bytes, std::ptrdiff_t count);
};

// A sum over its weight sum, cut to a byte: truncated, never rounded. What is not a number, as the sum of an empty
// list, is 0.
inline std::uint8_t ScaledByte(double sum, double weightSum) {
    const double value = sum / weightSum;
    const double atLeast0 = value > 0.0 ? value : 0.0;
    const double cut = atLeast0 < 255.0 ? atLeast0 : 255.0;
    return static_cast<std::uint8_t>(static_cast<int>(cut));
}

// Fills every slot.
void InitScaleRowOps_Plain(ScaleRowOps* ops);

// The table that runs fastest on this processor; made once.
const ScaleRowOps& PickedScaleRowOps();
