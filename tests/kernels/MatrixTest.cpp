// Scales of convolutions by a product.

#include "kernels/Matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace zor;

namespace {

TEST(WordScale, DoesWhatTheScaleDoesToEverySum) {
    int found = 0;
    for (int side = 2; side <= 1000; ++side) {
        const MatrixFinish finish{0, 1.0 / side};
        const WordScale scale = FindWordScale(finish, 32767);
        if (scale.factor == 0) continue;
        ++found;
        for (std::uint32_t sum = 0; sum <= 32767; ++sum) {
            ASSERT_EQ(scale(sum), finish(sum)) << sum << " / " << side;
        }
    }
    EXPECT_GT(found, 900) << "most divisors of matrices should have the fast scale";
}

TEST(WordScale, IsGoodForTheSumsThatWereTriedOnly) {
    // 0.3 has no product of 16 bits that is right everywhere, but one that is right for small sums.
    for (const double factor : {0.3, 0.123456789, 0.7071067811865476, 0.9999, 1.0 / 32768}) {
        const MatrixFinish finish{0, factor};
        const WordScale scale = FindWordScale(finish, 200);
        for (std::uint32_t sum = 0; scale.factor != 0 && sum <= 200; ++sum) {
            ASSERT_EQ(scale(sum), finish(sum)) << sum << " * " << factor;
        }
    }
    EXPECT_NE(FindWordScale({0, 0.3}, 200).factor, 0);
}

TEST(WordScale, LeavesOtherScalesAlone) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double factor : {1.0, 1.5, 0.0, -0.5, 1e-300, kInfinity, -kInfinity, std::nan("")}) {
        EXPECT_EQ(FindWordScale({0, factor}, 100).factor, 0) << factor;
    }
    EXPECT_EQ(FindWordScale({0, 0.5}, 32768).factor, 0);
    EXPECT_EQ(FindWordScale({0, 0.5}, -1).factor, 0);
}

}  // namespace
