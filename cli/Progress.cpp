#include "Progress.h"

#include <unistd.h>

#include <cstdio>

namespace {

constexpr std::chrono::milliseconds kQuietTime{1000};
constexpr std::chrono::milliseconds kDrawInterval{100};

bool lineShown = false;

}  // namespace

void ClearProgressLine() {
    if (!lineShown) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    lineShown = false;
}

Progress::Progress(bool quiet)
    : enabled_(!quiet && isatty(STDERR_FILENO) == 1), start_(Clock::now()), nextDraw_(start_ + kQuietTime) {}

Progress::~Progress() {
    End();
}

void Progress::Begin(const std::string& phase) {
    phase_ = phase;
}

void Progress::Step(std::int64_t done, std::int64_t total) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now < nextDraw_) return;
    nextDraw_ = now + kDrawInterval;
    if (total > 0) {
        std::fprintf(stderr, "\r\033[K%s %d%%", phase_.c_str(), static_cast<int>(done * 100 / total));
    } else {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - start_).count();
        std::fprintf(stderr, "\r\033[K%s (%lld s)", phase_.c_str(), static_cast<long long>(seconds));
    }
    std::fflush(stderr);
    lineShown = true;
}

void Progress::End() {
    ClearProgressLine();
}
