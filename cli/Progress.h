#pragma once
// One line on the terminal that tells how far the work is and how long the rest will take. It appears when the work has
// taken a second, and never when stderr is no terminal.

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "ProgressEstimate.h"

class Progress {
public:
    explicit Progress(bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // The efforts of the phases to come; without it there is one.
    void Plan(std::vector<double> efforts);

    // A new phase: "reading", "scale", "writing".
    void Begin(const std::string& phase);

    // Another name for the phase that is on.
    void Name(const std::string& phase) { phase_ = phase; }

    // `done` of `total` steps of the phase. Cheap enough to be called once a row; draws ten times a second at most.
    // A total of 0 stands for work whose length is not known.
    void Step(std::int64_t done, std::int64_t total);

    // Takes the line away.
    void End();

private:
    using Clock = std::chrono::steady_clock;
    [[nodiscard]] double Seconds(Clock::time_point now) const;

    bool enabled_;
    ProgressEstimate estimate_;
    std::string phase_;
    std::int64_t done_ = 0, total_ = 0;  // of the phase, as it was told last
    Clock::time_point start_;
    Clock::time_point nextDraw_;
};

// Takes away the line that is on the terminal now, if any, so that other text can be printed there.
void ClearProgressLine();
