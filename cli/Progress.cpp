#include "Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "Effort.h"

namespace {

constexpr std::chrono::milliseconds kQuietTime{1000};
constexpr std::chrono::milliseconds kDrawInterval{100};

bool lineShown = false;

// The width may change at any time; a line that is longer would leave its beginning behind.
std::size_t TerminalColumns() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col < 2) return 80;
    return size.ws_col;
}

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

double Progress::Seconds(Clock::time_point now) const {
    return std::chrono::duration<double>(now - start_).count();
}

void Progress::Plan(std::vector<double> efforts) {
    if (!enabled_) return;
    const double unit = SecondsForEffort();
    for (double& effort : efforts) effort *= unit;
    estimate_ = ProgressEstimate(std::move(efforts), true);
}

void Progress::Begin(const std::string& phase) {
    phase_ = phase;
    done_ = total_ = 0;
    estimate_.Begin(Seconds(Clock::now()));
}

void Progress::Step(std::int64_t done, std::int64_t total) {
    if (!enabled_) return;
    if (total > 0) {
        done_ = done;
        total_ = total;
    }
    const Clock::time_point now = Clock::now();
    if (now < nextDraw_) return;
    nextDraw_ = now + kDrawInterval;
    estimate_.Step(done_, total_, Seconds(now));
    const std::string text =
        ProgressText(phase_, estimate_.Done(), estimate_.SecondsLeft(Seconds(now)), TerminalColumns() - 1);
    std::fprintf(stderr, "\r%s\033[K", text.c_str());
    std::fflush(stderr);
    lineShown = true;
}

void Progress::End() {
    ClearProgressLine();
}
