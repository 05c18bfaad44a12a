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

    // What each phase is expected to take, above 0: relative to the others, or in seconds where `inSeconds`.
    explicit ProgressEstimate(std::vector<double> efforts, bool inSeconds = false)
        : efforts_(std::move(efforts)), inSeconds_(inSeconds) {}

    // The next phase begins; the first call begins the first. Times are seconds since the start of the run. Phases
    // beyond those that were expected count as the last one.
    void Begin(double seconds);

    // `done` of `total` steps of the phase, as of that time. A total of 0: the work tells nothing, and takes about as
    // long as was expected, by what the phases before it took.
    void Step(std::int64_t done, std::int64_t total, double seconds);

    // From 0 to 1, of the whole run; nothing where nothing is known yet. Never less than before.
    [[nodiscard]] std::optional<double> Done() const;

    // Seconds that the rest will take; nothing where it is too early to tell.
    [[nodiscard]] std::optional<double> SecondsLeft(double seconds) const;

private:
    [[nodiscard]] double Sum(std::size_t phases) const;
    [[nodiscard]] double Pace(double told, double took) const;

    std::vector<double> efforts_ = {1};
    bool inSeconds_ = false;
    std::size_t phases_ = 0;  // that have begun
    double begun_ = 0;        // when the last of them did
    double part_ = 0;         // of it that is done
    bool tells_ = false;      // it does
    double told_ = 0;         // efforts of the phases before that have told what is done
    double took_ = 0;         // seconds that these took
    double stepped_ = 0;      // when the last step was
    std::optional<double> done_;
};

// "scale  63%  0:12 left" in at most `columns` characters.
std::string ProgressText(const std::string& phase, std::optional<double> done, std::optional<double> secondsLeft,
                         std::size_t columns);
