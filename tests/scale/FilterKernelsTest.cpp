#include "scale/FilterKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ReferenceScale.h"

using namespace zor;

namespace {

double Below(double x) {
    return std::nextafter(x, 0.0);
}
double Above(double x) {
    return std::nextafter(x, std::numeric_limits<double>::infinity());
}

double WeightOf(int mode, double x) {
    const FilterKernel* const kernel = KernelOfMode(mode);
    return kernel->Supports(x) ? kernel->weight(x) : 0.0;
}

TEST(Kernels, AreSevenAndNoMore) {
    EXPECT_EQ(KernelOfMode(0), nullptr);
    EXPECT_EQ(KernelOfMode(8), nullptr);
    EXPECT_EQ(KernelOfMode(-1), nullptr);
    for (int mode = 1; mode <= 7; ++mode) {
        ASSERT_NE(KernelOfMode(mode), nullptr);
        EXPECT_EQ(KernelOfMode(mode)->mode, mode);
    }
}

struct KernelRow {
    int mode;
    const char* name;
    double radius, support;
    bool closed;
    int horizontalCapacity, verticalCapacity;
};

TEST(Kernels, HaveTheirRadiusSupportAndCapacities) {
    const KernelRow rows[] = {
        {1, "triangle", 1.0, 1.0, false, 4, 4}, {2, "box", 0.5, 0.5, true, 2, 3},
        {3, "lanczos3", 3.0, 3.0, false, 8, 8}, {4, "lanczos8", 8.0, 8.0, false, 18, 18},
        {5, "mitchell", 2.0, 2.0, false, 6, 6}, {6, "poly3", 4.0, 2.0, false, 10, 10},
        {7, "cubic", 3.0, 3.0, true, 8, 8},
    };
    for (const KernelRow& row : rows) {
        SCOPED_TRACE(row.name);
        const FilterKernel* const kernel = KernelOfMode(row.mode);
        EXPECT_STREQ(kernel->name, row.name);
        EXPECT_EQ(kernel->radius, row.radius);
        EXPECT_EQ(kernel->horizontalCapacity, row.horizontalCapacity);
        EXPECT_EQ(kernel->verticalCapacity, row.verticalCapacity);
        EXPECT_TRUE(kernel->Supports(0.0));
        EXPECT_TRUE(kernel->Supports(Below(row.support)));
        EXPECT_EQ(kernel->Supports(row.support), row.closed);
        EXPECT_FALSE(kernel->Supports(Above(row.support)));
    }
}

TEST(Kernels, TriangleFallsInAStraightLine) {
    EXPECT_EQ(WeightOf(1, 0.0), 1.0);
    EXPECT_EQ(WeightOf(1, 0.25), 0.75);
    EXPECT_EQ(WeightOf(1, Below(1.0)), 1.0 - Below(1.0));
}

TEST(Kernels, BoxCountsAHalfOnBothSides) {
    EXPECT_EQ(WeightOf(2, 0.0), 1.0);
    EXPECT_EQ(WeightOf(2, 0.5), 1.0);
    EXPECT_EQ(WeightOf(2, Above(0.5)), 0.0);
}

TEST(Kernels, LanczosIsOneInTheMiddleAndAlmostNothingAtWholeSteps) {
    for (const int mode : {3, 4}) {
        EXPECT_EQ(WeightOf(mode, 0.0), 1.0);
        for (int step = 1; step < (mode == 3 ? 3 : 8); ++step) {
            EXPECT_LT(std::fabs(WeightOf(mode, step)), 1e-15);
            EXPECT_NE(WeightOf(mode, step), 0.0);  // small, but kept
        }
    }
    const double pi = 3.141592653589793;
    EXPECT_NEAR(WeightOf(3, 0.5), 2.0 / pi * 0.5 / (pi / 6.0), 1e-15);
    EXPECT_NEAR(WeightOf(4, 0.5), 2.0 / pi * std::sin(pi / 16.0) / (pi / 16.0), 1e-15);
}

TEST(Kernels, MitchellHasTwoBranches) {
    EXPECT_EQ(WeightOf(5, 0.0), 5.333333333333333 / 6.0);
    EXPECT_NEAR(WeightOf(5, Below(1.0)), 1.0 / 18.0, 1e-15);
    EXPECT_NEAR(WeightOf(5, 1.0), 1.0 / 18.0, 1e-14);
    // The branch that is taken at 1 is the outer one.
    EXPECT_EQ(WeightOf(5, 1.0), (-2.3333333333333335 + 12.0 - 20.0 + 10.666666666666666) / 6.0);
    EXPECT_NEAR(WeightOf(5, 1.5), (-2.3333333333333335 * 3.375 + 27.0 - 30.0 + 10.666666666666666) / 6.0, 1e-15);
}

TEST(Kernels, Poly3IsZeroAtWholeSteps) {
    EXPECT_EQ(WeightOf(6, 0.0), 1.0);
    EXPECT_EQ(WeightOf(6, 0.5), (1.25 * 0.5 - 2.25) * 0.25 + 1.0);
    EXPECT_EQ(WeightOf(6, 1.0), 0.0);
    EXPECT_EQ(WeightOf(6, 1.5), ((-0.75 * 1.5 + 3.75) * 1.5 - 6.0) * 1.5 + 3.0);
    EXPECT_EQ(WeightOf(6, 2.0), 0.0);
    EXPECT_EQ(WeightOf(6, 3.0), 0.0);
}

TEST(Kernels, CubicHasThreeBranchesClosedAtTheTop) {
    EXPECT_EQ(WeightOf(7, 0.0), 1.0);
    EXPECT_EQ(WeightOf(7, 1.0), 1.3333333333333333 - 2.3333333333333335 + 1.0);
    EXPECT_EQ(WeightOf(7, 2.0), -0.5833333333333334 * 8.0 + 3.0 * 4.0 - 4.916666666666667 * 2.0 + 2.5);
    EXPECT_EQ(WeightOf(7, 3.0), 0.08333333333333333 * 27.0 - 0.6666666666666666 * 9.0 + 1.75 * 3.0 - 1.5);
    EXPECT_EQ(WeightOf(7, 0.5), 1.3333333333333333 * 0.125 - 2.3333333333333335 * 0.25 + 1.0);
    EXPECT_EQ(WeightOf(7, 2.5), 0.08333333333333333 * 15.625 - 0.6666666666666666 * 6.25 + 1.75 * 2.5 - 1.5);
    EXPECT_EQ(WeightOf(7, Above(3.0)), 0.0);
}

TEST(Kernels, AgreeWithTheReferenceToTheBit) {
    for (int mode = 1; mode <= kScaleModes; ++mode) {
        for (int i = 0; i <= 90000; ++i) {
            const double x = i / 10000.0;
            ASSERT_EQ(WeightOf(mode, x), reference::Weight(mode, x)) << KernelOfMode(mode)->name << " at " << x;
        }
    }
}

}  // namespace
