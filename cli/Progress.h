#pragma once
// One line on the terminal that tells how far the work is. It appears when the work has taken a second, and never when
// stderr is no terminal.

#include <chrono>
#include <cstdint>
#include <string>

class Progress {
public:
    explicit Progress(bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // A new phase: "reading", "scale", "writing".
    void Begin(const std::string& phase);

    // `done` of `total` steps of the phase. Cheap enough to be called once a row; draws ten times a second at most.
    // A total of 0 stands for work whose length is not known; the seconds it has taken are shown then.
    void Step(std::int64_t done, std::int64_t total);

    // Takes the line away.
    void End();

private:
    using Clock = std::chrono::steady_clock;
    bool enabled_;
    std::string phase_;
    Clock::time_point start_;
    Clock::time_point nextDraw_;
};

// Takes away the line that is on the terminal now, if any, so that other text can be printed there.
void ClearProgressLine();
