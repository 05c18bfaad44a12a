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

// Seconds for a unit of effort, from efforts that are over and the time they took. What was expected in seconds counts
// as well, for as long as little is known: how fast a file is read says little about an effect.
double ProgressEstimate::Pace(double told, double took) const {
    constexpr double kExpectation = 0.1, kLeastExpectation = 0.2;
    const double expected = inSeconds_ ? std::max(kLeastExpectation, kExpectation * Sum(efforts_.size())) : 0;
    return told + expected > 0 ? (took + expected) / (told + expected) : 0;
}

void ProgressEstimate::Begin(double seconds) {
    if (tells_ && phases_ > 0) {
        told_ += efforts_[phases_ - 1];
        took_ += seconds - begun_;
    }
    if (phases_ < efforts_.size()) ++phases_;
    begun_ = stepped_ = seconds;
    part_ = 0;
    tells_ = false;
    const double before = Sum(phases_ - 1) / Sum(efforts_.size());
    if (before > 0) done_ = std::max(done_.value_or(0), before);
}

void ProgressEstimate::Step(std::int64_t done, std::int64_t total, double seconds) {
    if (phases_ == 0) Begin(seconds);
    const double before = Sum(phases_ - 1), own = efforts_[phases_ - 1];
    if (total > 0) {
        if (!tells_) part_ = 0;
        tells_ = true;
        const double part = std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
        if (part <= part_) return;
        part_ = part;
        stepped_ = seconds;
    } else {
        const double pace = Pace(told_, took_);
        if (tells_ || pace <= 0) return;
        part_ = ExpectedPart((seconds - begun_) / (own * pace));
    }
    done_ = std::max(done_.value_or(0), (before + own * part_) / Sum(efforts_.size()));
}

std::optional<double> ProgressEstimate::Done() const {
    return done_;
}

std::optional<double> ProgressEstimate::SecondsLeft(double seconds) const {
    constexpr double kTooEarly = 0.01;
    if (!done_ || *done_ < kTooEarly) return std::nullopt;
    const double own = efforts_[phases_ - 1], later = Sum(efforts_.size()) - Sum(phases_);
    const double pace = Pace(told_, took_);
    if (pace <= 0 && part_ <= 0) return std::nullopt;
    if (!tells_) return (own * (1 - part_) + later) * pace;
    // Its own pace, which at first is that of what was before.
    constexpr double kFirst = 0.05;
    const double taken = stepped_ - begun_;
    const double first = pace > 0 ? kFirst * own : 0;
    const double left = own * (1 - part_) * (taken + first * pace) / (part_ * own + first);
    // Some of that has gone by since.
    const double gone = left > 0 ? ExpectedPart((seconds - stepped_) / left) : 0;
    return left * (1 - gone) + later * Pace(told_ + part_ * own, took_ + taken);
}

std::string ProgressText(const std::string& phase, std::optional<double> done, std::optional<double> secondsLeft,
                         std::size_t columns) {
    std::string text = phase;
    if (done) text += "  " + std::to_string(std::min(static_cast<int>(*done * 100), 99)) + "%";
    if (secondsLeft) text += "  " + ClockText(*secondsLeft) + " left";
    if (text.size() > columns) text.resize(columns);
    return text;
}
