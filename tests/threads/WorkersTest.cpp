// The threads that the program works with. The thread sanitizer looks on where it is built in.

#include "Workers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <vector>

namespace {

TEST(Workers, DoEveryPieceOnceAndTellWhenItIsDone) {
    constexpr int kPieces = 500;
    for (const int threads : {1, 2, 7}) {
        std::vector<int> runs(kPieces);
        Workers workers(threads);
        std::vector<std::size_t> numbers;
        for (int& count : runs) numbers.push_back(workers.Add([&count] { ++count; }));
        // Later ones first: pieces before them may still be waiting.
        for (std::size_t i = numbers.size(); i-- > 0;) {
            EXPECT_EQ(numbers[i], i);
            workers.WaitFor(numbers[i]);
            EXPECT_TRUE(workers.IsDone(numbers[i]));
            EXPECT_EQ(runs[i], 1) << "seen by whoever waited";
        }
        EXPECT_EQ(runs, std::vector<int>(kPieces, 1));
    }
}

TEST(Workers, FeedEachOtherInTurns) {
    // As rows go through an effect: a ring of slots that is filled again as soon as it was read.
    constexpr int kSlots = 5, kRows = 400;
    Workers workers(4);
    std::vector<int> slots(kSlots), taken;
    std::vector<std::size_t> numbers(kSlots);
    for (int row = 0; row < kRows + kSlots; ++row) {
        const auto slot = static_cast<std::size_t>(row % kSlots);
        if (row >= kSlots) {
            workers.WaitFor(numbers[slot]);
            taken.push_back(slots[slot]);
        }
        if (row < kRows) numbers[slot] = workers.Add([&value = slots[slot], row] { value = row * row; });
    }
    ASSERT_EQ(taken.size(), static_cast<std::size_t>(kRows));
    for (int row = 0; row < kRows; ++row) EXPECT_EQ(taken[static_cast<std::size_t>(row)], row * row);
}

TEST(Workers, LeaveWhatNobodyHasBegunAtTheirEnd) {
    std::atomic<int> begun = 0, ended = 0;
    {
        Workers workers(2);
        for (int i = 0; i < 1000; ++i) {
            workers.Add([&] {
                ++begun;
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                ++ended;
            });
        }
    }
    EXPECT_EQ(begun, ended) << "what was begun was waited for";
    EXPECT_LT(begun, 1000);
}

TEST(Workers, AreAsManyAsAskedFor) {
    EXPECT_GE(Workers::ThreadsFor(0), 1);
    EXPECT_EQ(Workers::ThreadsFor(1), 1);
    EXPECT_EQ(Workers::ThreadsFor(7), 7);
    EXPECT_EQ(Workers::ThreadsFor(1000), 32);
}

}  // namespace
