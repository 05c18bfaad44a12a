// What the line on the terminal tells, by clocks that the test sets.

#include <gtest/gtest.h>

#include "ProgressEstimate.h"

namespace {

TEST(Progress, CountsTheStepsOfEachPhaseByWhatItIsExpectedToTake) {
    ProgressEstimate estimate({1, 3, 4});
    EXPECT_FALSE(estimate.Done().has_value());
    EXPECT_FALSE(estimate.SecondsLeft(1).has_value());
    estimate.Begin(0);
    estimate.Step(50, 100, 1);
    EXPECT_DOUBLE_EQ(*estimate.Done(), 0.5 / 8);
    EXPECT_DOUBLE_EQ(*estimate.SecondsLeft(1), 15);
    estimate.Begin(2);
    EXPECT_DOUBLE_EQ(*estimate.Done(), 1.0 / 8);
    estimate.Step(2, 3, 6);
    EXPECT_DOUBLE_EQ(*estimate.Done(), 3.0 / 8);
    EXPECT_DOUBLE_EQ(*estimate.SecondsLeft(6), 10);
    estimate.Begin(8);
    estimate.Step(4, 4, 16);
    EXPECT_DOUBLE_EQ(*estimate.Done(), 1);
    EXPECT_DOUBLE_EQ(*estimate.SecondsLeft(16), 0);
}

TEST(Progress, ExpectsOfSilentWorkWhatThePhasesBeforeTook) {
    ProgressEstimate estimate({1, 4, 1});
    estimate.Begin(0);
    estimate.Step(100, 100, 10);
    estimate.Begin(10);  // 40 seconds, by that
    estimate.Step(0, 0, 20);
    EXPECT_DOUBLE_EQ(*estimate.Done(), (1 + 4 * 0.25) / 6);
    EXPECT_DOUBLE_EQ(*estimate.SecondsLeft(20), 40);
    estimate.Step(0, 0, 30);
    EXPECT_DOUBLE_EQ(*estimate.Done(), (1 + 4 * 0.5) / 6);
    // Where it takes far longer, what is done still rises and does not reach the next phase.
    double before = 0;
    for (const double seconds : {50.0, 60.0, 100.0, 200.0}) {
        estimate.Step(0, 0, seconds);
        EXPECT_GT(*estimate.Done(), before);
        EXPECT_LT(*estimate.Done(), 5.0 / 6);
        before = *estimate.Done();
    }
}

TEST(Progress, TellsNothingOfSilentWorkThatComesFirst) {
    ProgressEstimate estimate({1, 1});
    estimate.Begin(0);
    estimate.Step(0, 0, 5);
    EXPECT_FALSE(estimate.Done().has_value());
    EXPECT_FALSE(estimate.SecondsLeft(5).has_value());
}

TEST(Progress, NeverGoesBack) {
    ProgressEstimate estimate({1, 1});
    estimate.Begin(0);
    estimate.Step(90, 100, 1);
    estimate.Step(10, 100, 2);  // another pass over the same rows
    EXPECT_DOUBLE_EQ(*estimate.Done(), 0.45);
    for (int i = 0; i < 5; ++i) estimate.Begin(3);  // more phases than were expected
    estimate.Step(1, 2, 4);
    EXPECT_DOUBLE_EQ(*estimate.Done(), 0.75);
}

TEST(Progress, IsWordedWithinTheWidth) {
    EXPECT_EQ(ProgressText("scale", 0.634, 11.2, 79), "scale  63%  0:12 left");
    EXPECT_EQ(ProgressText("scale", 1.0, 0.0, 79), "scale  99%  0:00 left");
    EXPECT_EQ(ProgressText("reading", 0.1, 3599.5, 79), "reading  10%  1:00:00 left");
    EXPECT_EQ(ProgressText("3 of 17 files", 3.0 / 17, 61.0, 79), "3 of 17 files  17%  1:01 left");
    EXPECT_EQ(ProgressText("oil", std::nullopt, std::nullopt, 79), "oil");
    EXPECT_EQ(ProgressText("oil", 0.005, std::nullopt, 79), "oil  0%");
    EXPECT_EQ(ProgressText("scale", 0.634, 11.2, 9), "scale  63");
    EXPECT_EQ(ProgressText("scale", 0.634, 1e18, 79), "scale  63%  99:59:59 left");
}

}  // namespace
