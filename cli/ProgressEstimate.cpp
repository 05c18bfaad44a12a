#include "ProgressEstimate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>

namespace {

// Of what a phase takes that tells nothing: straight on at first, then slower, and never all of it.
double ExpectedPart(double ofExpectation) {
    constexpr double kStraight = 0.8;
    if (ofExpectation <= kStraight) return ofExpectation;
    return 1 - (1 - kStraight) * std::exp(-(ofExpectation - kStraight));
}

std::string ClockText(double seconds) {
    const auto whole = static_cast<std::int64_t>(std::ceil(std::min(seconds, 359999.0)));
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%d:%02d:%02d", static_cast<int>(whole / 3600),
                      static_cast<int>(whole / 60 % 60), static_cast<int>(whole % 60));
    else
        std::snprintf(text, sizeof text, "%d:%02d", static_cast<int>(whole / 60), static_cast<int>(whole % 60));
    return text;
}

}  // namespace

double ProgressEstimate::Sum(std::size_t phases) const {
    return std::accumulate(efforts_.begin(), efforts_.begin() + static_cast<std::ptrdiff_t>(phases), 0.0);
}

void ProgressEstimate::Begin(double seconds) {
    if (phases_ < efforts_.size()) ++phases_;
    begun_ = seconds;
    const double before = Sum(phases_ - 1) / Sum(efforts_.size());
    if (before > 0) done_ = std::max(done_.value_or(0), before);
}

void ProgressEstimate::Step(std::int64_t done, std::int64_t total, double seconds) {
    if (phases_ == 0) Begin(seconds);
    const double before = Sum(phases_ - 1), own = efforts_[phases_ - 1];
    double part = 0;
    if (total > 0) {
        part = std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
    } else {
        if (before <= 0 || begun_ <= 0) return;
        part = ExpectedPart((seconds - begun_) / (own * begun_ / before));
    }
    done_ = std::max(done_.value_or(0), (before + own * part) / Sum(efforts_.size()));
}

std::optional<double> ProgressEstimate::Done() const {
    return done_;
}

std::optional<double> ProgressEstimate::SecondsLeft(double seconds) const {
    constexpr double kTooEarly = 0.01;
    if (!done_ || *done_ < kTooEarly) return std::nullopt;
    return seconds * (1 - *done_) / *done_;
}

std::string ProgressText(const std::string& phase, std::optional<double> done, std::optional<double> secondsLeft,
                         std::size_t columns) {
    std::string text = phase;
    if (done) text += "  " + std::to_string(std::min(static_cast<int>(*done * 100), 99)) + "%";
    if (secondsLeft) text += "  " + ClockText(*secondsLeft) + " left";
    if (text.size() > columns) text.resize(columns);
    return text;
}
