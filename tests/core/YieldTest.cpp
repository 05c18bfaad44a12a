// How often a long method gives the host a turn. The tick counter itself is the system's: the tests set the tick of the
// last yield, from which the distance is counted.

#include <gtest/gtest.h>

#include <climits>

#include "core/ImageClassData.h"
#include "host/HostCalls.h"
#include "host/Platform.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

class Yield : public EngineTest {
protected:
    // A tick that lies `distance` before now; the counter may move by a little until it is read again.
    static int TickBefore(std::int64_t distance) {
        return static_cast<int>(static_cast<std::uint32_t>(TickCount() - static_cast<std::uint32_t>(distance)));
    }
};

constexpr int kFar = 1000000;  // ticks that no test takes

TEST_F(Yield, NeverHappensWithTicksOfZeroOrLess) {
    for (const int ticks : {0, -1, INT_MIN}) {
        YieldData yield{ticks, TickBefore(kFar)};
        YieldIfAsked(&yield);
        EXPECT_EQ(host.Count("REALYieldToRB"), 0) << ticks;
    }
}

TEST_F(Yield, HappensOnceTheTicksHavePassed) {
    YieldData yield{kFar, TickBefore(kFar)};
    YieldIfAsked(&yield);
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
}

TEST_F(Yield, WaitsUntilTheTicksHavePassed) {
    YieldData yield{kFar, TickBefore(kFar / 2)};
    const int last = yield.LastYieldTick;
    YieldIfAsked(&yield);
    EXPECT_EQ(host.Count("REALYieldToRB"), 0);
    EXPECT_EQ(yield.LastYieldTick, last) << "only a yield is remembered";
}

TEST_F(Yield, WithOneTickHappensEachTimeTheCounterHasMoved) {
    YieldData yield{1, TickBefore(1)};
    yield.DoYield();
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
    for (int moved = 1; moved <= 3; ++moved) {
        yield.LastYieldTick = TickBefore(moved);
        yield.DoYield();
        EXPECT_EQ(host.Count("REALYieldToRB"), 1 + moved);
    }
}

TEST_F(Yield, WithOneTickRestsWhileTheCounterStands) {
    // The counter moves sixty times a second: of a thousand calls at once almost all find it standing.
    YieldData yield{1, TickBefore(0)};
    const std::uint32_t first = TickCount();
    for (int i = 0; i < 1000; ++i) yield.DoYield();
    const std::uint32_t moved = TickCount() - first;
    EXPECT_LE(host.Count("REALYieldToRB"), static_cast<int>(moved) + 1);
}

TEST_F(Yield, TakesACounterThatWentBackLikeOneThatWentForward) {
    YieldData yield{1000, TickBefore(-kFar)};
    yield.DoYield();
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
    yield.LastYieldTick = TickBefore(-500);
    yield.DoYield();
    EXPECT_EQ(host.Count("REALYieldToRB"), 1) << "it has not gone back far enough";
}

TEST_F(Yield, MeasuresAcrossTheWrapOfTheCounter) {
    YieldData yield{INT_MAX, TickBefore(2147483647)};
    yield.DoYield();
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
}

TEST_F(Yield, DoesNotCountTheTimeSpentInTheHost) {
    YieldData yield{1, TickBefore(kFar)};
    std::uint32_t inside = 0;
    host.onYield = [&] {
        const std::uint32_t first = TickCount();
        while (TickCount() == first) myDelay(1);
        inside = TickCount();
    };
    yield.DoYield();
    EXPECT_EQ(host.Count("REALYieldToRB"), 1);
    EXPECT_GE(static_cast<std::int32_t>(static_cast<std::uint32_t>(yield.LastYieldTick) - inside), 0);
}

TEST_F(Yield, DataComesFirstInTheRecord) {
    const ImageClassData record{};
    EXPECT_EQ(static_cast<const void*>(&record.YieldTicks), static_cast<const void*>(&record));
    EXPECT_EQ(reinterpret_cast<const char*>(&record.LastYieldTick) - reinterpret_cast<const char*>(&record), 4);
}

TEST(Platform, TicksAreSixtiethsOfASecond) {
    const std::uint32_t first = TickCount();
    timespec before{}, after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    while (TickCount() - first < 6) myDelay(2);
    clock_gettime(CLOCK_MONOTONIC, &after);
    const double seconds =
        static_cast<double>(after.tv_sec - before.tv_sec) + static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e9;
    EXPECT_GE(seconds, 5.0 / 60) << "six ticks are at least five whole ones";
}

TEST(Platform, CountsAtLeastOneProcessor) {
    EXPECT_GE(ProcessorCount(), 1);
}

}  // namespace
