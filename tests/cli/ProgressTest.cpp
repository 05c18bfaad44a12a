// What the line on the terminal tells, by clocks that the test sets.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

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

// Runs as they went on a busy machine: what each phase was expected to take, what it took, and whether it told how much
// of it was done.
struct RecordedPhase {
    double expected, took;  // seconds
    bool tells;
};
using RecordedRun = std::vector<RecordedPhase>;

struct Rise {
    double most = 0;     // seconds that the time left was above what it had been before
    double atFirst = 0;  // the time left as it was shown first
    double atLast = 0;
    double total = 0;
};

Rise Replay(const RecordedRun& run) {
    std::vector<double> efforts;
    Rise rise;
    for (const RecordedPhase& phase : run) {
        efforts.push_back(phase.expected);
        rise.total += phase.took;
    }
    ProgressEstimate estimate(efforts, true);
    constexpr double kDraw = 0.1, kShown = 1;
    double begun = 0, least = 1e9;
    for (const RecordedPhase& phase : run) {
        estimate.Begin(begun);
        for (double in = kDraw; in < phase.took; in += kDraw) {
            const double now = begun + in;
            phase.tells ? estimate.Step(static_cast<std::int64_t>(in / phase.took * 10000), 10000, now)
                        : estimate.Step(0, 0, now);
            const auto left = estimate.SecondsLeft(now);
            if (now < kShown || !left) continue;
            if (rise.atFirst == 0) rise.atFirst = *left;
            rise.most = std::max(rise.most, *left - least);
            least = std::min(least, *left);
            rise.atLast = *left;
        }
        begun += phase.took;
    }
    return rise;
}

TEST(Progress, CountsDownInRunsAsTheyWent) {
    const std::vector<RecordedRun> runs = {
        // a large JPEG: read, blurred forty times at once, written
        {{0.19, 0.73, true}, {0.286, 7.93, false}, {0.19, 0.3, true}},
        // read, turned by seven degrees, oil, written as WebP
        {{0.24, 1.16, true}, {0.061, 0.18, false}, {0.439, 1.03, false}, {1.364, 2.6, true}},
        // read, diffused, turned, scaled and written as PNG
        {{0.189, 0.57, true}, {1.703, 6.15, false}, {0.367, 1.02, false}, {3.013, 10.6, true}},
        // rows from reader to writer
        {{3.5, 13.0, true}},
        // a machine that is as fast as was thought, and one three times as fast
        {{1, 1, true}, {10, 10, false}, {4, 4, true}},
        {{3, 1, true}, {30, 10, false}, {12, 4, true}},
    };
    for (std::size_t i = 0; i < runs.size(); ++i) {
        SCOPED_TRACE(i);
        const Rise rise = Replay(runs[i]);
        EXPECT_LE(rise.most, std::max(2.0, 0.2 * rise.total));
        EXPECT_GT(rise.atFirst, 0);
        EXPECT_LT(rise.atFirst, 5 * rise.total);
        EXPECT_LT(rise.atLast, 0.5);
    }
}

// However wrong the expectation of a phase that tells nothing was, while it lasts the time left does not rise.
TEST(Progress, NeverCountsUpInSilentWork) {
    for (const double took : {0.5, 10.0, 1000.0}) {
        ProgressEstimate estimate({1, 10, 5}, true);
        estimate.Begin(0);
        estimate.Step(10, 10, 1);
        estimate.Begin(1);
        double before = 1e9;
        for (int i = 1; i <= 100; ++i) {
            const double now = 1 + took * i / 100;
            estimate.Step(0, 0, now);
            ASSERT_LE(*estimate.SecondsLeft(now), before);
            before = *estimate.SecondsLeft(now);
            ASSERT_GT(before, 0);
        }
    }
}

// Files of ten seconds each: between the ends of two the clock goes on.
TEST(Progress, CountsDownBetweenStepsThatTakeLong) {
    ProgressEstimate estimate;
    estimate.Begin(0);
    double before = 1e9;
    for (int tenth = 1; tenth < 500; ++tenth) {
        const double now = tenth / 10.0;
        estimate.Step(tenth / 100, 5, now);
        const auto left = estimate.SecondsLeft(now);
        if (tenth < 100) {
            EXPECT_FALSE(left.has_value());
            continue;
        }
        ASSERT_LE(*left, before + 1e-9) << now;
        EXPECT_NEAR(*left, 50 - now, 2.5);
        before = *left;
    }
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
