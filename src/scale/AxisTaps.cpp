#include "scale/AxisTaps.h"

#include <algorithm>

namespace zor {

bool MakeAxisTaps(const FilterKernel& kernel, const AxisSizes& sizes, bool luma, Ending ending, AxisTaps* taps) {
    const double scale = static_cast<double>(sizes.to) / sizes.from;
    if (ListCapacity(kernel, sizes.axis, scale) > TapTable::kMaxWeights / sizes.count) return false;
    ContributionTable lists;
    if (!lists.Allocate(sizes.count)) return false;
    lists.Build(kernel, sizes.axis, scale, sizes.from, sizes.count, nullptr, sizes.begin);
    int first = sizes.from, pastLast = 0;
    for (int i = 0; i < sizes.count; ++i) {
        const ContributionList& list = lists.lists()[i];
        if (!list.entries) return false;
        if (list.count == 0) continue;
        first = std::min(first, list.entries[0].pixel);
        pastLast = std::max(pastLast, list.entries[list.count - 1].pixel + 1);
    }
    // Where nothing is needed, one sample is asked for all the same.
    if (pastLast == 0) first = 0, pastLast = 1;
    taps->first = first;
    taps->count = pastLast - first;
    return taps->table.Build(lists.lists(), sizes.count, sizes.axis, luma, ending, first);
}

// Of the sum of the weights as they are, so that what is flat stays flat.
bool MakeShares(AxisTaps* taps) {
    const Taps table = taps->table.taps();
    taps->shares = HeapArray<float>(table.count, table.stride);
    if (!taps->shares) return false;
    for (int i = 0; i < table.count; ++i) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(i) * table.stride;
        double sum = 0.0;
        for (int k = 0; k < table.stride; ++k) sum += static_cast<double>(table.weights[at + k]);
        if (!(sum > 0.0)) continue;
        for (int k = 0; k < table.stride; ++k) {
            taps->shares.get()[at + k] = static_cast<float>(static_cast<double>(table.weights[at + k]) / sum);
        }
    }
    return true;
}

}  // namespace zor
