#pragma once
// Contribution lists in the form that kernels take: neighbouring taps, with integers that stand for their weights.

#include "core/HeapArray.h"
#include "kernels/Scaling.h"
#include "scale/Contributions.h"

namespace zor {

class TapTable {
public:
    // No list begins before the one before it, as kernels go along a row. Those of a horizontal table begin at even
    // columns, since its kernels take columns two by two. What is filled in at ends and gaps are taps of weight 0,
    // which add exactly nothing. Columns and rows of the table count from `origin`, which no list lies before. False
    // without memory, or if the table would have more than kMaxWeights; the lists serve then.
    static constexpr std::int64_t kMaxWeights = std::int64_t{1} << 25;
    [[nodiscard]] bool Build(const ContributionList* lists, int count, ScaleAxis axis, bool luma,
                             Ending ending = Ending::truncate, int origin = 0);

    // The table as kernels take it, good for as long as the table is there.
    Taps taps() const;

private:
    Taps taps_{};
    HeapArray<TapList> lists_;
    HeapArray<float> weights_;
    HeapArray<std::int16_t> integers_;  // the coarse ones, then the fine ones
};

// Makes the integers for lists of up to so many taps, with working memory for one list after the other.
class IntegerMaker {
public:
    explicit IntegerMaker(int mostTaps);
    // False without memory; nothing can be made then.
    explicit operator bool() const { return doubles_ && order_; }

    // The integers for shares (weight / weight sum), `count` coarse and as many fine ones. Not usable where there is no
    // form, as for shares that are no numbers or far above 1; the integers are 0 then.
    IntegerForm OfShares(const double* shares, int count, std::int16_t* coarse, std::int16_t* fine) const;

    // The same for weights by themselves, which may have a form without any error.
    IntegerForm OfWeights(const float* weights, int count, double weightSum, std::int16_t* coarse,
                          std::int16_t* fine) const;

private:
    HeapArray<double> doubles_;  // what the three below point into
    HeapArray<int> order_;
    double* shares_ = nullptr;
    double* rest_ = nullptr;
    double* finest_ = nullptr;
};

FlatResult FlatResultOf(const float* weights, int count, double weightSum, Ending ending);

}  // namespace zor
