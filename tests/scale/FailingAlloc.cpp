#include "FailingAlloc.h"

#include <atomic>
#include <cstddef>

extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);

static std::atomic<int> passes{-1};  // calls before the one that fails; below 0: none fails
static std::atomic<long long> allBytes{0};
static std::atomic<int> allCalls{0};

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    ++allCalls;
    allBytes += static_cast<long long>(count * size);
    if (passes.load() >= 0 && passes.fetch_sub(1) == 0) return nullptr;
    return __real_calloc(count, size);
}

FailingAlloc::FailingAlloc(int passed) {
    passes = passed;
}

FailingAlloc::~FailingAlloc() {
    passes = -1;
}

bool FailingAlloc::happened() const {
    return passes.load() < 0;
}

CountedAlloc::CountedAlloc() : bytesBefore_(allBytes), callsBefore_(allCalls) {}

long long CountedAlloc::bytes() const {
    return allBytes - bytesBefore_;
}

int CountedAlloc::calls() const {
    return allCalls - callsBefore_;
}
