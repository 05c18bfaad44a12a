#include "Effort.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

#include "codecs/Picture.h"
#include "effects/Effects.h"

static double Bytes(const ImageShape& shape) {
    return static_cast<double>(shape.width) * shape.height * Describe(shape.kind).channels;
}

double ReadingEffort(const Codec& codec, const ImageShape& shape) {
    return codec.readingEffort * Bytes(shape);
}

double EffectEffort(const EffectCall& call, const ImageShape& source, const ImageShape& result) {
    const double times = call.row->effortTimes == nullptr ? 1 : call.row->effortTimes(call.arguments);
    return call.row->effort * times * std::max(Bytes(source), Bytes(result));
}

double ColourEffort(const ImageShape& shape) {
    constexpr double kInks = 25, kOthers = 5;
    return (shape.kind == PixelKind::CMYK ? kInks : kOthers) * Bytes(shape);
}

double WritingEffort(const Codec& codec, const ImageShape& shape) {
    return codec.writingEffort * Bytes(shape);
}

double SecondsForEffort() {
    // Look-ups that wait for each other, in what the fast memory beside a processor holds.
    constexpr std::size_t kEntries = 1 << 14, kSteps = 100000, kTimes = 3;
    constexpr double kKnown = 392000;  // nanoseconds
    std::vector<std::uint32_t> table(kEntries);
    for (std::size_t i = 0; i < kEntries; ++i) table[i] = static_cast<std::uint32_t>((i * 40503 + 12345) % kEntries);
    double least = 0;
    std::uint32_t at = 0;
    for (std::size_t time = 0; time < kTimes; ++time) {
        const auto start = std::chrono::steady_clock::now();
        for (std::size_t i = 0; i < kSteps; ++i) at = table[(at * 5 + static_cast<std::uint32_t>(i)) % kEntries];
        const double took = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (time == 0 || took < least) least = took;
    }
    // Used where it changes nothing, so that it is worked out.
    return std::max(least, at < kEntries ? 1e-9 : 0.0) / kKnown;
}
