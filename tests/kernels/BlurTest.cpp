// The kernels of the blurs: division by multiplication for every sum there is, in every tier.

#include "kernels/Blur.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <vector>

#include "kernels/Tiers.h"

using namespace zor;

namespace {

template <class Sum, class Division>
std::vector<std::uint8_t> Quotients(const SumKernels<Sum, Division>& kernels, std::vector<Sum> sums,
                                    const Division& by) {
    const std::vector<std::uint8_t> zeros(sums.size());
    std::vector<std::uint8_t> quotients(sums.size());
    kernels.down(sums.data(), zeros.data(), zeros.data(), static_cast<std::ptrdiff_t>(sums.size()), by,
                 quotients.data());
    return quotients;
}

TEST(BlurKernelsTiers, NarrowSumsOfEverySizeHaveTheirQuotient) {
    for (const KernelTier& tier : RunnableTiers()) {
        for (int divisor = 3; divisor <= 257; ++divisor) {
            NarrowDivision by{};
            ASSERT_TRUE(MakeNarrowDivision(divisor, &by)) << divisor;
            std::vector<std::uint16_t> sums(static_cast<std::size_t>(std::min(65536, 256 * divisor)));
            std::iota(sums.begin(), sums.end(), std::uint16_t{0});
            const std::vector<std::uint8_t> quotients = Quotients(tier.table.blur.narrow, sums, by);
            for (const std::uint16_t sum : sums) {
                ASSERT_EQ(quotients[sum], sum / divisor) << tier.name << ": " << sum << " / " << divisor;
            }
        }
    }
}

TEST(BlurKernelsTiers, WideSumsHaveTheirQuotientAtBothOfItsEnds) {
    for (const KernelTier& tier : RunnableTiers()) {
        for (std::uint32_t divisor = 3; divisor <= 2097151; divisor += divisor < 2000 ? 2 : 2 * (divisor / 100)) {
            std::vector<std::uint32_t> sums;
            for (std::uint32_t quotient = 0; quotient < 256; ++quotient) {
                sums.push_back(quotient * divisor);
                sums.push_back(quotient * divisor + divisor - 1);
            }
            const std::vector<std::uint8_t> quotients =
                Quotients(tier.table.blur.wide, sums, MakeWideDivision(divisor));
            for (std::size_t i = 0; i < sums.size(); ++i) {
                ASSERT_EQ(quotients[i], i / 2) << tier.name << ": " << sums[i] << " / " << divisor;
            }
        }
    }
}

// --- sums of three --------------------------------------------------------------------------------------------------

// Every sample with every sum of two neighbours.
struct TapPairs {
    std::vector<std::uint8_t> row, before, after;
    TapPairs() {
        for (int sample = 0; sample < 256; ++sample) {
            for (int sum = 0; sum <= 510; ++sum) {
                row.push_back(static_cast<std::uint8_t>(sample));
                before.push_back(static_cast<std::uint8_t>(std::max(0, sum - 255)));
                after.push_back(static_cast<std::uint8_t>(sum - before.back()));
            }
        }
    }
    TapRows rows() const { return {row.data(), before.data(), after.data()}; }
    std::ptrdiff_t count() const { return static_cast<std::ptrdiff_t>(row.size()); }
};

TEST(BlurKernelsTiers, TapsGiveTheByteOfEveryPair) {
    const TapPairs pairs;
    std::vector<std::uint8_t> bytes(pairs.row.size());
    for (const KernelTier& tier : RunnableTiers()) {
        for (const double weight : {0.0, 0.5, 0.25, 0.1, 0.3, 2.3 - 2.0, 1.0 / 3, 0.999999, 1e-9}) {
            const ThreeTaps taps{weight, 1.0 / (weight + weight + 1.0)};
            tier.table.blur.taps(pairs.rows(), pairs.count(), taps, bytes.data());
            for (std::size_t i = 0; i < bytes.size(); ++i) {
                ASSERT_EQ(bytes[i], taps(pairs.row[i], pairs.before[i] + pairs.after[i]))
                    << tier.name << ": " << weight;
            }
        }
    }
}

TEST(BlurKernelsTiers, TapsByRuleAreTheQuotientOfEveryPair) {
    const TapPairs pairs;
    std::vector<std::uint8_t> bytes(pairs.row.size());
    for (const KernelTier& tier : RunnableTiers()) {
        for (const double weight : {0.5, 0.25, 0.75, 0.125, 0.984375, 0.1, 0.3, 0.78, 1.0 / 3}) {
            TapRule rule{};
            ASSERT_TRUE(MakeTapRule({weight, 0.0}, &rule)) << weight;
            ASSERT_NEAR(rule.neighbourWeight, weight * rule.weight, 1e-6);
            tier.table.blur.tapsByRule(pairs.rows(), pairs.count(), rule, bytes.data());
            for (std::size_t i = 0; i < bytes.size(); ++i) {
                const int sum = pairs.row[i] * rule.weight + (pairs.before[i] + pairs.after[i]) * rule.neighbourWeight;
                ASSERT_EQ(bytes[i], sum / (rule.weight + 2 * rule.neighbourWeight)) << tier.name << ": " << weight;
            }
        }
    }
    TapRule rule{};
    for (const double weight : {0.0, 0.123456789, 0.999}) EXPECT_FALSE(MakeTapRule({weight, 0.0}, &rule)) << weight;
}

// --- sharpening -----------------------------------------------------------------------------------------------------

int Sharpened(int a, int b, double factor, int threshold) {
    if (std::abs(a - b) < threshold) return a;
    double product = (a - b) * factor;
    if (std::abs(product - std::round(product)) < 1e-9) product = std::round(product);
    return std::clamp(static_cast<int>(std::floor(product)) + b, 0, 255);
}

// A rule that is found does what its factor says for every pair of bytes, in every tier.
TEST(BlurKernelsTiers, SharpenEveryPairOfBytes) {
    std::vector<double> factors = {1.0, 2.0, 3.0, 5.0, 2.2, 2.6, 0.2, 0.5, 1.4, 3.8, 9.0, 126.7, 127.0};
    for (int i = 1; i <= 150; ++i) factors.push_back(4 * (i / 50.0) + 1);
    std::vector<std::uint8_t> bytes(256);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
    int found = 0;
    for (const KernelTier& tier : RunnableTiers()) {
        found = 0;
        for (std::size_t i = 0; i < factors.size(); ++i) {
            const int threshold = static_cast<int>(i % 4 == 0 ? 0 : i % 4 == 3 ? 255 : i);
            SharpenRule rule{};
            if (!MakeSharpenRule(factors[i], threshold, &rule)) continue;
            ++found;
            for (int a = 0; a < 256; ++a) {
                std::vector<std::uint8_t> sharp(256, static_cast<std::uint8_t>(a));
                tier.table.blur.sharpen(bytes.data(), 256, rule, sharp.data());
                for (int b = 0; b < 256; ++b) {
                    ASSERT_EQ(sharp[static_cast<std::size_t>(b)], Sharpened(a, b, factors[i], threshold))
                        << tier.name << ": " << a << " from " << b << " by " << factors[i];
                }
            }
        }
    }
    EXPECT_GT(found, 140) << "most factors should have a rule";
    SharpenRule rule{};
    for (const double factor : {0.0, -1.0, 127.5, std::nan("")}) EXPECT_FALSE(MakeSharpenRule(factor, 0, &rule));
    EXPECT_FALSE(MakeSharpenRule(3.0, 256, &rule)) << "no distance reaches it";
}

}  // namespace
