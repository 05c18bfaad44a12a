#pragma once
// How much of a run is done and how long the rest will take, from what its phases were expected to take.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class ProgressEstimate {
public:
    ProgressEstimate() = default;

    // What each phase is expected to take, relative to the others and above 0.
    explicit ProgressEstimate(std::vector<double> efforts) : efforts_(std::move(efforts)) {}

    // The next phase begins; the first call begins the first. Times are seconds since the start of the run. Phases
    // beyond those that were expected count as the last one.
    void Begin(double seconds);

    // `done` of `total` steps of the phase, as of that time. A total of 0: the work tells nothing, and takes about as
    // long as the phases before it let expect.
    void Step(std::int64_t done, std::int64_t total, double seconds);

    // From 0 to 1, of the whole run; nothing where nothing is known yet. Never less than before.
    [[nodiscard]] std::optional<double> Done() const;

    // Seconds that the rest will take; nothing where it is too early to tell.
    [[nodiscard]] std::optional<double> SecondsLeft(double seconds) const;

private:
    [[nodiscard]] double Sum(std::size_t phases) const;

    std::vector<double> efforts_ = {1};
    std::size_t phases_ = 0;  // that have begun
    double begun_ = 0;        // when the last of them did
    std::optional<double> done_;
};

// "scale  63%  0:12 left" in at most `columns` characters.
std::string ProgressText(const std::string& phase, std::optional<double> done, std::optional<double> secondsLeft,
                         std::size_t columns);
