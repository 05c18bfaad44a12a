#pragma once
// Threads beside that of the program, for work on bytes alone: what runs there neither throws nor speaks to the
// engine's host.

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

class Workers {
public:
    // 0 stands for one on each processor that this process has for itself.
    static int ThreadsFor(int threads);

    // So many threads, of which the one that calls is the first; fewer where the system gives no more.
    explicit Workers(int threads);
    // Leaves what nobody has begun, and waits for the rest.
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    // Gives the work its number: 0, 1, ...
    std::size_t Add(std::function<void()> work);
    [[nodiscard]] bool IsDone(std::size_t number);
    // Meanwhile the caller works on what nobody has begun.
    void WaitFor(std::size_t number);

private:
    struct Piece {
        std::size_t number;
        std::function<void()> work;
    };

    void Work();
    void RunNext(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] bool Done(std::size_t number) const { return number < doneBefore_ || done_[number - doneBefore_]; }

    std::mutex mutex_;
    std::condition_variable added_, ended_;
    std::deque<Piece> waiting_;
    std::size_t count_ = 0;
    std::size_t doneBefore_ = 0;  // all of those are done
    std::deque<bool> done_;       // from there on
    bool ending_ = false;
    std::vector<std::thread> threads_;
};
