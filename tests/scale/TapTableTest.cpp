#include "scale/TapTable.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "FailingAlloc.h"

using namespace zor;

namespace {

class Table {
public:
    Table(int mode, int from, int to, ScaleAxis axis, bool luma, Ending ending = Ending::truncate) {
        EXPECT_TRUE(lists.Allocate(to));
        lists.Build(*KernelOfMode(mode), axis, static_cast<double>(to) / from, from, to, nullptr);
        EXPECT_TRUE(table.Build(lists.lists(), to, axis, luma, ending));
        taps = table.taps();
    }
    ContributionTable lists;
    TapTable table;
    Taps taps{};
};

struct Sizes {
    int from, to;
};
constexpr Sizes kSizes[] = {{20, 20},   {20, 6},    {20, 50},  {400, 100}, {100, 400}, {60, 20}, {61, 17},
                            {500, 135}, {90, 91},   {91, 90},  {64, 32},   {32, 64},   {1, 7},   {7, 1},
                            {3000, 10}, {10, 1000}, {700, 13}, {200, 40},  {240, 40}};

TEST(TapTable, HoldsTheSameWeightsWithGapsFilled) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const ScaleAxis axis : {ScaleAxis::kHorizontal, ScaleAxis::kVertical}) {
            for (const Sizes& size : kSizes) {
                const Table made(mode, size.from, size.to, axis, false);
                const Taps& taps = made.taps;
                ASSERT_EQ(taps.count, size.to);
                ASSERT_EQ(taps.stride % 2, 0);
                for (int x = 0; x < taps.count; ++x) {
                    const ContributionList& list = made.lists.lists()[x];
                    std::vector<float> weights(static_cast<std::size_t>(size.from + taps.stride));
                    for (int k = 0; k < list.count; ++k) {
                        weights[static_cast<std::size_t>(list.entries[k].pixel)] = list.entries[k].weight;
                    }
                    const TapList& tapList = taps.lists[x];
                    ASSERT_EQ(tapList.weightSum, static_cast<double>(list.weightSum));
                    ASSERT_EQ(tapList.taps > 0, list.count > 0);
                    ASSERT_TRUE(axis == ScaleAxis::kVertical || tapList.first % 2 == 0);
                    if (list.count > 0) {
                        ASSERT_EQ(tapList.first + tapList.taps - 1, list.entries[list.count - 1].pixel);
                    }
                    for (int k = 0; k < taps.stride; ++k) {
                        ASSERT_EQ(taps.weights[x * taps.stride + k],
                                  list.count ? weights[static_cast<std::size_t>(tapList.first + k)] : 0.0F);
                    }
                }
            }
        }
    }
}

// Of three times the size, every third list of poly3 is a single sample, and begins where its neighbours are done.
TEST(TapTable, HasNoListThatBeginsBeforeTheOneBeforeIt) {
    int filledIn = 0;
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size :
             {Sizes{2, 6}, Sizes{40, 120}, Sizes{7, 17}, Sizes{5, 21}, Sizes{60, 90}, Sizes{9, 3}}) {
            for (const ScaleAxis axis : {ScaleAxis::kHorizontal, ScaleAxis::kVertical}) {
                const Table made(mode, size.from, size.to, axis, false);
                for (int x = 1; x < size.to; ++x) {
                    EXPECT_GE(made.taps.lists[x].first, made.taps.lists[x - 1].first);
                    filledIn += made.lists.lists()[x].entries[0].pixel < made.lists.lists()[x - 1].entries[0].pixel;
                }
            }
        }
    }
    EXPECT_GT(filledIn, 50);
}

TEST(TapTable, CountsFromItsOrigin) {
    ContributionTable table;
    ASSERT_TRUE(table.Allocate(4));
    table.Build(*KernelOfMode(3), ScaleAxis::kHorizontal, 0.5, 200, 4, nullptr, 50);
    TapTable whole, part;
    ASSERT_TRUE(whole.Build(table.lists(), 4, ScaleAxis::kHorizontal, false));
    const int origin = table.lists()[0].entries[0].pixel;
    ASSERT_GT(origin, 90);
    ASSERT_TRUE(part.Build(table.lists(), 4, ScaleAxis::kHorizontal, false, Ending::truncate, origin));
    for (int i = 0; i < 4; ++i) {
        const TapList &a = whole.taps().lists[i], &b = part.taps().lists[i];
        EXPECT_EQ(a.first + a.taps, b.first + b.taps + origin);
        EXPECT_EQ(b.first % 2, 0);
        for (int k = 1; k <= std::min(a.taps, b.taps); ++k) {
            EXPECT_EQ(whole.taps().weights[i * whole.taps().stride + a.taps - k],
                      part.taps().weights[i * part.taps().stride + b.taps - k]);
        }
    }
    EXPECT_EQ(part.taps().lists[0].first, 0);
}

TEST(TapTable, GivesUpWithoutMemory) {
    ContributionTable table;
    ASSERT_TRUE(table.Allocate(4));
    table.Build(*KernelOfMode(3), ScaleAxis::kHorizontal, 0.5, 8, 4, nullptr);
    for (const bool luma : {false, true}) {
        for (int passed = 0; passed < 6; ++passed) {
            const FailingAlloc fail(passed);
            TapTable taps;
            EXPECT_FALSE(taps.Build(table.lists(), 4, ScaleAxis::kHorizontal, luma));
            EXPECT_TRUE(fail.happened());
        }
    }
}

// How far the integers are from the shares for the bytes that are worst for them, counted as the bounds are.
struct Worst {
    long double coarse, both;
    long double coarseOfLevel, coarseOfNone;  // where bytes differ by no more than some levels: for each, and for none
};
Worst WorstOf(const std::vector<double>& shares, const IntegerForm& form, const std::int16_t* coarse,
              const std::int16_t* fine) {
    long double coarseUp = 0, coarseDown = 0, bothUp = 0, bothDown = 0;
    for (std::size_t k = 0; k < shares.size(); ++k) {
        const long double left = std::ldexp(static_cast<long double>(shares[k]), form.shift) - coarse[k];
        const long double leftOfBoth = std::ldexp(left, form.fineShift) - fine[k];
        (left > 0 ? coarseUp : coarseDown) += 255 * left;
        (leftOfBoth > 0 ? bothUp : bothDown) += 255 * leftOfBoth;
    }
    // Of bytes from b to b + d, those that are b + d add what they leave d times, and all together it b times.
    return {std::max(coarseUp, -coarseDown), std::max(bothUp, -bothDown), (coarseUp - coarseDown) / 510,
            std::fabs(coarseUp + coarseDown)};
}

TEST(IntegerForms, AreNeverOffByMoreThanTheirBounds) {
    int forms = 0;
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kSizes) {
            const Table made(mode, size.from, size.to, ScaleAxis::kHorizontal, true);
            const Taps& taps = made.taps;
            for (int x = 0; x < taps.count; ++x) {
                const TapList& list = taps.lists[x];
                if (list.taps == 0) continue;
                const float* const weights = taps.weights + static_cast<std::ptrdiff_t>(x) * taps.stride;
                const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * taps.stride * 4;
                std::vector<double> luma, plain;
                for (const double factor : kLumaFactors) {
                    for (int k = 0; k < taps.stride; ++k) {
                        luma.push_back(factor * static_cast<double>(weights[k]) / list.weightSum);
                    }
                }
                for (int k = 0; k < taps.stride; ++k) {
                    plain.push_back(static_cast<double>(weights[k]) / list.weightSum);
                }
                ASSERT_TRUE(list.form.usable) << "mode " << mode << ", " << size.from << " to " << size.to;
                ASSERT_TRUE(list.lumaForm.usable);
                const Worst ofLuma = WorstOf(luma, list.lumaForm, taps.coarse + at, taps.fine + at);
                EXPECT_LE(ofLuma.coarse, list.lumaForm.bound);
                EXPECT_LE(ofLuma.both, list.lumaForm.fineBound);
                // Good enough to settle most samples, and all but a few in a thousand.
                EXPECT_LT(std::ldexp(list.lumaForm.bound, -list.lumaForm.shift), 0.3);
                EXPECT_LT(std::ldexp(list.lumaForm.fineBound, -list.lumaForm.shift - list.lumaForm.fineShift), 1e-3);
                ++forms;
                if (list.form.bound == 0) continue;  // held to its own proof below
                const std::ptrdiff_t own = at + 3 * static_cast<std::ptrdiff_t>(taps.stride);
                const Worst ofPlain = WorstOf(plain, list.form, taps.coarse + own, taps.fine + own);
                EXPECT_LE(ofPlain.coarse, list.form.bound);
                EXPECT_LE(ofPlain.both, list.form.fineBound);
                EXPECT_LE(ofPlain.coarseOfLevel, list.form.boundOfLevel);
                EXPECT_LE(ofPlain.coarseOfNone, list.form.boundOfNone);
                EXPECT_LT(std::ldexp(list.form.bound, -list.form.shift), 0.1);
            }
        }
    }
    EXPECT_GT(forms, 5000);
}

TEST(IntegerForms, SumsStayWithin32Bits) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (const Sizes& size : kSizes) {
            const Table made(mode, size.from, size.to, ScaleAxis::kVertical, false);
            const Taps& taps = made.taps;
            for (int x = 0; x < taps.count; ++x) {
                const IntegerForm& form = taps.lists[x].form;
                std::int64_t coarse = 0, fine = 0;
                for (int k = 0; k < taps.stride; ++k) {
                    coarse += 255 * std::abs(taps.coarse[x * taps.stride + k]);
                    fine += 255 * std::abs(taps.fine[x * taps.stride + k]);
                }
                EXPECT_LT(coarse + 2 * std::int64_t{form.bound} + (std::int64_t{1} << form.shift),
                          std::int64_t{1} << 31);
                EXPECT_LT(fine + form.fineBound + (std::int64_t{1} << (form.shift + form.fineShift)),
                          std::int64_t{1} << 31);
            }
        }
    }
}

// Where a bound is 0, the integers by themselves give the byte for any samples: tried for every sum that equal weights
// can have.
TEST(IntegerForms, OfMeansGiveEveryMean) {
    int exact = 0;
    for (int n = 1; n <= 300; ++n) {
        std::vector<float> weights(static_cast<std::size_t>(n), 1.0F);
        std::vector<std::int16_t> coarse(weights.size()), fine(weights.size());
        const IntegerForm form = IntegerMaker(n).OfWeights(weights.data(), n, n, coarse.data(), fine.data());
        ASSERT_TRUE(form.usable);
        if (form.bound != 0) continue;
        ++exact;
        const std::int64_t half = std::int64_t{1} << (form.shift - 1);
        for (int sum = 0; sum <= 255 * n; ++sum) {
            const std::int64_t integers = std::int64_t{sum} * coarse[0];
            ASSERT_EQ(integers >> form.shift, ScaledByte(sum, n)) << sum << " of " << n;
            ASSERT_EQ((integers + half) >> form.shift, ScaledByte(sum, n, Ending::nearest)) << sum << " of " << n;
        }
    }
    EXPECT_GE(exact, 40);
}

TEST(IntegerForms, OfWeightsThatAreBinaryFractionsAreExact) {
    const float weights[] = {0.125F, 0.375F, 0.625F, 0.875F, 0.875F, 0.625F, 0.375F, 0.125F};
    std::int16_t coarse[8], fine[8];
    const IntegerForm form = IntegerMaker(8).OfWeights(weights, 8, 4.0, coarse, fine);
    EXPECT_TRUE(form.usable);
    EXPECT_EQ(form.bound, 0);
    for (int k = 0; k < 8; ++k) EXPECT_EQ(std::ldexp(coarse[k], -form.shift), static_cast<double>(weights[k]) / 4.0);
}

TEST(IntegerForms, AreRefusedWhereThereIsNone) {
    std::int16_t coarse[2] = {1, 1}, fine[2] = {1, 1};
    const float weights[] = {0.5F, 0.5F};
    const IntegerMaker maker(2);
    EXPECT_FALSE(maker.OfWeights(weights, 2, 0.0, coarse, fine).usable);
    EXPECT_FALSE(maker.OfWeights(weights, 2, -1.0, coarse, fine).usable);
    EXPECT_FALSE(maker.OfWeights(weights, 2, 1e-6, coarse, fine).usable);
    EXPECT_FALSE(maker.OfWeights(weights, 2, std::nan(""), coarse, fine).usable);
    const double noNumber[] = {std::nan(""), 1.0};
    EXPECT_FALSE(maker.OfShares(noNumber, 2, coarse, fine).usable);
    EXPECT_EQ(coarse[0], 0);
    EXPECT_EQ(fine[1], 0);
}

TEST(FlatSpans, BecomeWhatTheirListTellsOfThem) {
    int same = 0, oneLess = 0;
    for (const Ending ending : {Ending::truncate, Ending::nearest}) {
        for (int mode = 1; mode <= kScaleModes; ++mode) {
            for (const Sizes& size : kSizes) {
                const Table made(mode, size.from, size.to, ScaleAxis::kVertical, false, ending);
                const Taps& taps = made.taps;
                for (int x = 0; x < taps.count; ++x) {
                    const TapList& list = taps.lists[x];
                    if (list.taps == 0 || list.flat == FlatResult::unknown) continue;
                    ++(list.flat == FlatResult::same ? same : oneLess);
                    for (int byte = 0; byte < 256; ++byte) {
                        double sum = 0.0;
                        for (int k = 0; k < list.taps; ++k) {
                            sum += byte * static_cast<double>(taps.weights[x * taps.stride + k]);
                        }
                        const int expected = list.flat == FlatResult::same ? byte : std::max(byte - 1, 0);
                        ASSERT_EQ(ScaledByte(sum, list.weightSum, ending), expected)
                            << "mode " << mode << ", " << size.from << " to " << size.to << ", list " << x;
                    }
                }
            }
        }
    }
    EXPECT_GT(same, 1000);
    EXPECT_GT(oneLess, 1000);
}

}  // namespace
