#pragma once
// The taps of one axis of a block of a target, and the samples of the source that they take.

#include "core/HeapArray.h"
#include "scale/FilterKernels.h"
#include "scale/TapTable.h"

namespace zor {

struct AxisSizes {
    ScaleAxis axis;
    int from, to;      // of the whole pictures
    int begin, count;  // of the block
};

struct AxisTaps {
    TapTable table;           // counts from the first of the samples
    HeapArray<float> shares;  // where asked for: of each weight in the sum of its list, as many as the table has
    int first;
    int count;
};

// False for tables that would be too large, and without memory.
[[nodiscard]] bool MakeAxisTaps(const FilterKernel& kernel, const AxisSizes& sizes, bool luma, Ending ending,
                                AxisTaps* taps);
[[nodiscard]] bool MakeShares(AxisTaps* taps);

}  // namespace zor
