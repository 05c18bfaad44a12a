#pragma once
// Contrast stretched for people's pictures, without images: the darkest and the lightest half percent of what shows
// become black and white, and what lies between is stretched in the same way for all colours, rounded. Pixels count as
// much as their alpha, so that clear ones, whatever colour they hide, count for nothing.

#include <cstddef>
#include <cstdint>

#include "kernels/KernelTable.h"

namespace zor {

class LevelStretch {
public:
    // Of pixels with 1 or 3 colours, packed; alpha stands behind them.
    LevelStretch(int colours, bool hasAlpha, const KernelTable& kernels = Kernels());

    void Count(const std::uint8_t* pixels, std::ptrdiff_t count);

    // What each byte of a colour becomes. Where all that shows is alike, or nothing does, bytes stay.
    ByteTable Table();

private:
    static constexpr std::ptrdiff_t kAtOnce = 1024;

    void CountPart(const std::uint8_t* pixels, std::ptrdiff_t count);
    void AddUp();

    const KernelTable& kernels_;
    int colours_;
    bool hasAlpha_;
    LevelCounts few_{};               // of pixels without alpha, until they might wrap
    std::int64_t room_;               // pixels until then
    std::uint64_t weight_[256] = {};  // by level
};

}  // namespace zor
