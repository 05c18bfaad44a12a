#include "Workers.h"

#include <algorithm>
#include <csignal>
#include <system_error>
#include <utility>

#include "Processors.h"

namespace {

constexpr int kMostThreads = 32;

// Signals are for the thread of the program, which knows what to leave behind.
class NoSignals {
public:
    NoSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~NoSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    NoSignals(const NoSignals&) = delete;
    NoSignals& operator=(const NoSignals&) = delete;

private:
    sigset_t before_{};
};

}  // namespace

int Workers::ThreadsFor(int threads) {
    if (threads == 0) threads = Processors();
    return std::clamp(threads, 1, kMostThreads);
}

Workers::Workers(int threads) {
    const NoSignals none;
    try {
        for (int i = 1; i < ThreadsFor(threads); ++i) threads_.emplace_back([this] { Work(); });
    } catch (const std::system_error&) {
        // The caller does what they would have helped with.
    }
}

Workers::~Workers() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        waiting_.clear();
    }
    added_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

std::size_t Workers::Add(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back({count_, std::move(work)});
    done_.push_back(false);
    added_.notify_one();
    return count_++;
}

bool Workers::IsDone(std::size_t number) {
    const std::lock_guard lock(mutex_);
    return Done(number);
}

void Workers::WaitFor(std::size_t number) {
    std::unique_lock lock(mutex_);
    while (!Done(number)) {
        if (waiting_.empty()) {
            ended_.wait(lock);
        } else {
            RunNext(lock);
        }
    }
}

void Workers::Work() {
    std::unique_lock lock(mutex_);
    while (!ending_) {
        if (waiting_.empty()) {
            added_.wait(lock);
        } else {
            RunNext(lock);
        }
    }
}

void Workers::RunNext(std::unique_lock<std::mutex>& lock) {
    const Piece piece = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    piece.work();
    lock.lock();
    done_[piece.number - doneBefore_] = true;
    for (; !done_.empty() && done_.front(); ++doneBefore_) done_.pop_front();
    ended_.notify_all();
}
