#pragma once
// Rows scaled by the nearest pixel without images: which row of the source a row of the target is made of, and that.

#include "scale/ShufflePlan.h"

namespace zor {

// What ScalePictureFast takes: pixel or row i of `to` is that of the source at i times from / to, rounded down.
inline int NearestOf(int i, int from, int to) {
    return static_cast<int>(i * (static_cast<double>(from) / to));
}

class NearestRows {
public:
    // Of rows that are packed pixels: one, three or four colours, and alpha behind them. False without memory.
    [[nodiscard]] bool Start(int srcWidth, int width, int colours, bool alpha);

    void Make(const std::uint8_t* src, std::uint8_t* dst) const;

private:
    int width_ = 0;
    PixelLayout pixels_{};
    NearestFn nearest_ = nullptr;
    HeapArray<std::int32_t> columns_;
    ShufflePlan plan_;
};

}  // namespace zor
