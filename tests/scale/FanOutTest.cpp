#include "scale/FanOut.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "FailingAlloc.h"
#include "support/FakeHost.h"

using namespace zor;

namespace {

struct Call {
    int first, last, index, threaded;
    bool sameThread;
    bool operator==(const Call&) const = default;
};

struct Calls {
    std::mutex mutex;
    std::vector<Call> list;
    pthread_t caller = pthread_self();
    std::atomic<int> finished{0};

    std::vector<Call> Sorted() {
        std::sort(list.begin(), list.end(), [](const Call& a, const Call& b) { return a.index < b.index; });
        return list;
    }
};

void Note(int first, int last, int index, signed char threaded, void const* data) {
    auto* const calls = static_cast<Calls*>(const_cast<void*>(data));
    const std::lock_guard lock(calls->mutex);
    calls->list.push_back({first, last, index, threaded, pthread_equal(pthread_self(), calls->caller) != 0});
}

// Restores the system's own functions at the end of a test.
class FanOut : public EngineTest {
protected:
    ~FanOut() override { gWorkerSystem = DefaultWorkerSystem(); }
};

TEST_F(FanOut, RunsEverythingInOneCallForNegativeCounts) {
    Calls calls;
    RunThreads(-1, 10, &calls, Note);
    RunThreads(-7, 3, &calls, Note);
    const std::vector<Call> expected = {{0, 9, -1, 0, true}, {0, 2, -1, 0, true}};
    EXPECT_EQ(calls.list, expected);
    EXPECT_EQ(host.Count("REALYieldToRB"), 0);
}

TEST_F(FanOut, SplitsIntoEqualBandsAndTheLastTakesTheRest) {
    Calls calls;
    RunThreads(3, 11, &calls, Note);
    const std::vector<Call> expected = {{0, 2, 0, 1, false}, {3, 5, 1, 1, false}, {6, 10, 2, 1, false}};
    EXPECT_EQ(calls.Sorted(), expected);
    EXPECT_GE(host.Count("REALYieldToRB"), 1);
}

TEST_F(FanOut, GivesFewItemsToTheLastBand) {
    Calls calls;
    RunThreads(4, 3, &calls, Note);
    const std::vector<Call> expected = {
        {0, -1, 0, 1, false}, {0, -1, 1, 1, false}, {0, -1, 2, 1, false}, {0, 2, 3, 1, false}};
    EXPECT_EQ(calls.Sorted(), expected);
}

TEST_F(FanOut, TakesNoMoreThan32Threads) {
    for (const int threads : {32, 33, 1000}) {
        Calls calls;
        RunThreads(threads, 64, &calls, Note);
        EXPECT_EQ(calls.list.size(), 32U) << threads;
    }
}

TEST_F(FanOut, TakesAsManyThreadsAsProcessorsForZero) {
    for (const int processors : {1, 8, 40}) {
        gWorkerSystem.processorCount = processors == 1   ? +[] { return 1; }
                                       : processors == 8 ? +[] { return 8; }
                                                         : +[] { return 40; };
        Calls calls;
        RunThreads(0, 80, &calls, Note);
        EXPECT_EQ(static_cast<int>(calls.list.size()), processors);  // 40 is not cut to 32
    }
}

int NoThread(pthread_t*, void* (*)(void*), void*) {
    return EAGAIN;
}

TEST_F(FanOut, RunsAllBandsItselfInOrderIfNoThreadCanBeMade) {
    gWorkerSystem.createThread = NoThread;
    Calls calls;
    RunThreads(3, 10, &calls, Note);
    const std::vector<Call> expected = {{0, 2, 0, 0, true}, {3, 5, 1, 0, true}, {6, 9, 2, 0, true}};
    EXPECT_EQ(calls.list, expected);
}

int everyOther = 0;
int EveryOtherThread(pthread_t* thread, void* (*start)(void*), void* argument) {
    return everyOther++ % 2 == 0 ? EAGAIN : my_pthread_create(thread, start, argument);
}

TEST_F(FanOut, RunsTheBandsThatGotNoThreadItself) {
    gWorkerSystem.createThread = EveryOtherThread;
    Calls calls;
    RunThreads(4, 8, &calls, Note);
    const std::vector<Call> expected = {
        {0, 1, 0, 0, true}, {2, 3, 1, 1, false}, {4, 5, 2, 0, true}, {6, 7, 3, 1, false}};
    EXPECT_EQ(calls.Sorted(), expected);
}

bool RunAtOnce(void (*function)(void*), void* argument) {
    function(argument);
    return true;
}

TEST_F(FanOut, PrefersTheQueueOfTheSystem) {
    gWorkerSystem.dispatch = RunAtOnce;
    gWorkerSystem.createThread = [](pthread_t*, void* (*)(void*), void*) -> int {
        ADD_FAILURE() << "a thread beside the queue";
        return EAGAIN;
    };
    Calls calls;
    RunThreads(2, 4, &calls, Note);
    const std::vector<Call> expected = {{0, 1, 0, 1, true}, {2, 3, 1, 1, true}};
    EXPECT_EQ(calls.list, expected);
}

TEST_F(FanOut, DoesNothingWithoutMemoryForTheBands) {
    Calls calls;
    {
        const FailingAlloc fail(0);
        RunThreads(2, 4, &calls, Note);
    }
    EXPECT_TRUE(calls.list.empty());
    EXPECT_EQ(host.Count("REALYieldToRB"), 0);
}

TEST_F(FanOut, RunsOnWithoutMemoryForAMutex) {
    std::vector<pthread_mutex_t*> taken;  // empties the list of mutexes left behind
    for (const int made = fan_out::MutexesMade(); fan_out::MutexesMade() == made;) fan_out::Init(taken.emplace_back());
    Calls calls;
    {
        const FailingAlloc fail(1);
        RunThreads(2, 4, &calls, Note);
        EXPECT_TRUE(fail.happened());
    }
    EXPECT_EQ(calls.list.size(), 2U);
    for (pthread_mutex_t* mutex : taken) fan_out::GiveBack(mutex);
}

TEST_F(FanOut, SkipsANullFunctionAndStillEnds) {
    RunThreads(3, 9, nullptr, nullptr);
    EXPECT_GE(host.Count("REALYieldToRB"), 1);
}

TEST_F(FanOut, UsesItsMutexesAgain) {
    Calls calls;
    RunThreads(32, 64, &calls, Note);
    const int made = fan_out::MutexesMade();
    for (int round = 0; round < 20; ++round) RunThreads(32, 64, &calls, Note);
    EXPECT_EQ(fan_out::MutexesMade(), made);
}

TEST_F(FanOut, IgnoresNullMutexes) {
    fan_out::Lock(nullptr);
    fan_out::Unlock(nullptr);
    fan_out::GiveBack(nullptr);
    pthread_mutex_t* mutex = nullptr;
    fan_out::Init(mutex);
    ASSERT_NE(mutex, nullptr);
    fan_out::Lock(mutex);
    EXPECT_NE(pthread_mutex_trylock(mutex), 0);
    fan_out::Unlock(mutex);
    EXPECT_EQ(pthread_mutex_trylock(mutex), 0);
    fan_out::Unlock(mutex);
    fan_out::GiveBack(mutex);
}

TEST_F(FanOut, YieldsWhileItWaits) {
    static std::atomic<bool> release;
    release = false;
    int turns = 0;
    host.onYield = [&] {
        if (++turns == 3) release = true;
    };
    RunThreads(1, 1, nullptr, [](int, int, int, signed char, void const*) {
        while (!release) gWorkerSystem.delay(1);
    });
    EXPECT_GE(turns, 3);
}

void FinishLate(int, int, int, signed char, void const* data) {
    gWorkerSystem.delay(20);
    ++static_cast<Calls*>(const_cast<void*>(data))->finished;
}

TEST_F(FanOut, WaitsForAllBandsBeforeAnExceptionOfTheHostLeavesIt) {
    Calls calls;
    host.onYield = [] { throw std::runtime_error("cancelled"); };
    EXPECT_THROW(RunThreads(4, 8, &calls, FinishLate), std::runtime_error);
    EXPECT_EQ(calls.finished.load(), 4);
    host.onYield = nullptr;
    RunThreads(4, 8, &calls, FinishLate);
    EXPECT_EQ(calls.finished.load(), 8);
}

TEST_F(FanOut, GivesItsThreadsTwoMebibytesOfStack) {
    static std::atomic<std::size_t> stackBytes;
    stackBytes = 0;
    RunThreads(1, 1, nullptr, [](int, int, int, signed char, void const*) {
        pthread_attr_t attributes;
        if (pthread_getattr_np(pthread_self(), &attributes) != 0) return;
        std::size_t size = 0;
        pthread_attr_getstacksize(&attributes, &size);
        pthread_attr_destroy(&attributes);
        stackBytes = size;
    });
    EXPECT_GE(stackBytes.load(), 2097152U - 65536U);
    EXPECT_LE(stackBytes.load(), 2097152U + 1048576U);
}

}  // namespace
