#pragma once
// Kernels of the filtered scaler: source rows along x, and rows of the temporary image along y.
//
// What they give is defined in double precision: a sample is (byte * factor) * weight, added up in the order of the
// taps; the sum is divided by the weight sum, and the quotient becomes a byte by the ending. Vector twins come to the
// same bytes through integers, and look again where those cannot prove a byte.

#include <cstddef>
#include <cstdint>

#include "kernels/PixelRun.h"

namespace zor {

// How a quotient becomes a byte, once it is cut to what a byte can hold.
enum class Ending : unsigned char {
    truncate,  // towards zero
    nearest,   // to the nearest, halves up
};

// A sum over its weight sum as a byte. What is not a number, as the sum of an empty list, is 0.
std::uint8_t ScaledByte(double sum, double weightSum, Ending ending = Ending::truncate);

// --- taps -----------------------------------------------------------------------------------------------------------

// How integers stand for the weights of a list. A weight's share of the weight sum is
//
//     coarse * 2^-shift + fine * 2^-(shift + fineShift)
//
// up to an error, and for any bytes the sum of byte * share is off by at most `bound` * 2^-shift for the coarse
// integers alone, by at most `fineBound` * 2^-(shift + fineShift) for both: these bounds count in what rounding in
// double precision may do to the sum that defines the result. Where the bytes of a sum are known to differ by no more
// than d levels, the coarse sum is off by at most `boundOfLevel` * d + `boundOfNone`. A byte is proved where both ends
// of the interval that the bound leaves give it. No sum of the integers, nor of bounds and halves with it, leaves 32
// bits.
struct IntegerForm {
    std::int32_t bound;
    std::int16_t boundOfLevel;
    std::int16_t boundOfNone;
    std::int32_t fineBound;
    std::int8_t shift;
    std::int8_t fineShift;
    bool usable;  // false: the list has no integer form
};

// What becomes of a list's samples where all of them are the same byte.
enum class FlatResult : unsigned char {
    same,     // that byte
    oneLess,  // the byte before it, and 0 for 0
    unknown,  // it depends on the byte
};

// The samples of one column or row of the result: `taps` neighbours from `first` on, those of a table beyond them with
// weight 0.
struct TapList {
    int first;
    int taps;  // 0: none, the result is 0
    double weightSum;
    IntegerForm form;
    IntegerForm lumaForm;  // for the three planes of luma together; not usable in tables without
    FlatResult flat;
};

// Lists with their weights, side by side. All lists of a table take `stride` taps, an even number, some of them of
// weight 0.
struct Taps {
    int count;  // of lists
    int stride;
    Ending ending;
    const TapList* lists;
    const float* weights;  // stride for list 0, for list 1, ...
    // stride integers for list 0, for list 1, ...; in tables for luma, four times as many: the shares of red, green and
    // blue, then the plain ones
    const std::int16_t* coarse;
    const std::int16_t* fine;
    bool luma;

    int sets() const { return luma ? 4 : 1; }
};

constexpr double kLumaFactors[3] = {0.3, 0.59, 0.11};

// --- rows -----------------------------------------------------------------------------------------------------------

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
constexpr int ChannelsOf(ResampleShape shape) {
    return shape >= kLumaOnly ? shape - kLumaOnly + 1 : shape + 1;
}
constexpr int PlanesOf(ResampleShape shape) {
    return shape >= kLumaOnly ? ChannelsOf(shape) + 2 : ChannelsOf(shape);
}

// Source rows that are resampled together, since they share their weights.
struct RowBlock {
    static constexpr int kMaxRows = 16;
    static constexpr int kMaxStep = 8;
    static constexpr int kMaxPitch = 5;

    int rows;                           // 1 to kMaxRows
    const std::uint8_t* src[kMaxRows];  // by row: pixel 0; `planes` bytes of a pixel are read
    int step;                           // from pixel to pixel, at most kMaxStep
    int offset[ChannelSet::kMax];       // by plane, 0 or above, and below step
    int width;                          // of the source, in pixels, at least 1
    const Taps* taps;                   // one list per column of the result, none beginning before the one before it
    std::uint8_t* dst[kMaxRows];        // by row: pitch bytes per list, all of which are written
    int pitch;                          // at most kMaxPitch
    int byteOf[ChannelSet::kMax];       // by channel: its byte in the group; the other bytes of a group become 0
    std::uint8_t* scratch;              // RowScratchBytes of it, of any content
    std::int16_t* fine[kMaxRows];       // in place of dst, pitch and byteOf, where fine samples are made
};

// Working memory for blocks of such rows, of any width.
std::int64_t RowScratchBytes(ResampleShape shape, int stride);

// One row of the result out of rows that stand one above the other, or two that are of the same rows: of `list` and of
// the list after it, which has as many taps.
struct RowStack {
    static constexpr int kMaxLists = 2;

    const std::uint8_t* const* rows;  // by tap of the list
    std::ptrdiff_t count;             // bytes of each, each for itself
    const Taps* taps;
    int list;
    int lists;                     // 1 or 2
    std::uint8_t* dst[kMaxLists];  // rows that share no byte with each other nor with those that they are made of
};

// --- fine samples ---------------------------------------------------------------------------------------------------
//
// Where a result is rounded only once, at its end, what lies between the passes is finer than bytes, and may be darker
// than black and brighter than white: 2^kFineBits to a level, in 16 bits. These kernels compute in integers, and what a
// list has no integers for in floating point, so that twins agree to the byte here too.

constexpr int kFineBits = 6;

// The fine sample of a channel by the sum in double precision: for lists that have no integers.
std::int16_t FineSample(const RowBlock& block, int row, int list, int channel);
constexpr bool HasFineIntegers(const IntegerForm& form) {
    return form.usable && form.shift > kFineBits;
}

// One row of bytes out of rows of fine samples that stand one above the other.
struct FineStack {
    const std::int16_t* const* rows;  // by tap, of which there is at least one
    int taps;
    // Which add up to 2^kWeightBits, and in size to less than 2^16; 0 behind an odd number of them. Null: shares serve.
    const std::int16_t* weights;
    static constexpr int kWeightBits = 14;
    const float* shares;   // of each weight in the sum of all
    std::ptrdiff_t count;  // samples of each row
    std::uint8_t* dst;     // shares no byte with the rows
};

// By shares, in single precision: of groups of kTapsInGroup in their order.
void AcrossFineByShares(const FineStack& stack);

// Rounding errors of long sums grow with the number of additions after one another.
constexpr int kTapsInGroup = 256;

struct ScalingKernels {
    void (*alongRows[kResampleShapes])(const RowBlock& block);
    // Of at least one row.
    void (*acrossRows)(const RowStack& stack);

    void (*alongFine[4])(const RowBlock& block);  // of one to four channels
    void (*acrossFine)(const FineStack& stack);
};

void InitScaling_Plain(ScalingKernels* kernels);
void InitScaling_Sse4(ScalingKernels* kernels);
void InitScaling_Avx2(ScalingKernels* kernels);
void InitScaling_Neon(ScalingKernels* kernels);

}  // namespace zor
