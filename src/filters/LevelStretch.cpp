#include "filters/LevelStretch.h"

#include <algorithm>

namespace zor {

namespace {

constexpr std::int64_t kMostCounted = std::int64_t{1} << 31;

// How bright a colour is, in 65536ths of its red, green and blue: those that the engine levels by.
std::uint8_t LevelOf(const std::uint8_t* rgb) {
    constexpr std::uint32_t kRed = 11600, kGreen = 53281, kBlue = 655, kHalf = 32768;
    return static_cast<std::uint8_t>((kRed * rgb[0] + kGreen * rgb[1] + kBlue * rgb[2] + kHalf) >> 16);
}

}  // namespace

LevelStretch::LevelStretch(int colours, bool hasAlpha, const KernelTable& kernels)
    : kernels_(kernels), colours_(colours), hasAlpha_(hasAlpha), room_(kMostCounted) {}

void LevelStretch::Count(const std::uint8_t* pixels, std::ptrdiff_t count) {
    const std::ptrdiff_t channels = colours_ + (hasAlpha_ ? 1 : 0);
    for (std::ptrdiff_t at = 0; at < count; at += kAtOnce) {
        CountPart(pixels + at * channels, std::min(kAtOnce, count - at));
    }
}

void LevelStretch::CountPart(const std::uint8_t* pixels, std::ptrdiff_t count) {
    if (hasAlpha_) {
        for (std::ptrdiff_t i = 0; i < count; ++i, pixels += colours_ + 1) {
            weight_[colours_ == 3 ? LevelOf(pixels) : pixels[0]] += pixels[colours_];
        }
        return;
    }
    if ((room_ -= count) < 0) AddUp();
    std::uint8_t levels[kAtOnce];
    if (colours_ == 3) {
        for (std::ptrdiff_t i = 0; i < count; ++i) levels[i] = LevelOf(pixels + i * 3);
    }
    kernels_.tone.count(colours_ == 3 ? levels : pixels, count, &few_);
}

void LevelStretch::AddUp() {
    for (const auto& lane : few_.lane) {
        for (int i = 0; i < 256; ++i) weight_[i] += lane[i];
    }
    few_ = {};
    room_ = kMostCounted;
}

ByteTable LevelStretch::Table() {
    AddUp();
    std::uint64_t all = 0;
    for (const std::uint64_t weight : weight_) all += weight;
    const std::uint64_t most = all / 200;  // half a percent
    int low = 0, high = 255;
    for (std::uint64_t below = 0; low < 255 && (below += weight_[low]) <= most; ++low) {
    }
    for (std::uint64_t above = 0; high > 0 && (above += weight_[high]) <= most; --high) {
    }
    ByteTable table;
    const int span = high - low;
    for (int i = 0; i < 256; ++i) {
        const int stretched = span <= 0 ? i : (std::clamp(i - low, 0, span) * 510 + span) / (2 * span);
        table.entry[i] = static_cast<std::uint8_t>(stretched);
    }
    return table;
}

}  // namespace zor
