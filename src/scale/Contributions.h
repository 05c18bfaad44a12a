#pragma once
// Which source samples make up a target column or row, and with what weights.

#include <cstddef>
#include <cstdint>

#include "core/Yield.h"
#include "scale/FilterKernels.h"

namespace zor {

struct Contribution {
    float weight;  // rounded from double; the double was not 0
    int pixel;     // column of the source, or row of the temporary image
};

struct ContributionList {
    Contribution* entries;  // in ascending order of pixel; null if there was no memory for them
    int count;
    float weightSum;  // added up in double precision from the unrounded weights, rounded once
};

enum class ScaleAxis { kHorizontal, kVertical };

// One list per target column, then, in the same array, one per target row.
class ContributionTable {
public:
    ContributionTable() = default;
    ContributionTable(const ContributionTable&) = delete;
    ContributionTable& operator=(const ContributionTable&) = delete;
    ~ContributionTable();

    // Room for that many empty lists. False without memory, and for an array above 2147483647 bytes.
    [[nodiscard]] bool Allocate(int lists);

    // Fills the first `lists` lists, for the positions from `first` on. scale is target size / source size; size is the
    // number of samples there are, by which spans are clipped. With a yield, the host may get a turn after each list.
    void Build(const FilterKernel& kernel, ScaleAxis axis, double scale, int size, int lists, YieldData* yield,
               int first = 0);

    // Makes all lists empty again.
    void FreeEntries();

    const ContributionList* lists() const { return lists_; }

private:
    ContributionList* lists_ = nullptr;
    int count_ = 0;
};

// Entries that a list has room for. A list never takes more, so this bounds it where rounding would let one more in.
std::int64_t ListCapacity(const FilterKernel& kernel, ScaleAxis axis, double scale);

// Fills the list at a position, which counts from 0. Without memory, or for more than 2147483647 bytes of entries, the
// list stays empty.
void BuildList(const FilterKernel& kernel, ScaleAxis axis, double scale, int size, double position,
               ContributionList* list);

}  // namespace zor
