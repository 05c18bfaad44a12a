// The kernels of the blurs: division by multiplication for every sum there is, in every tier.

#include "kernels/Blur.h"

#include <gtest/gtest.h>

#include <algorithm>
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
        for (int divisor = 3; divisor <= 257; divisor += 2) {
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

}  // namespace
