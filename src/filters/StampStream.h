#pragma once
// Two colours as from a rubber stamp for people's pictures, without images: values of a copy that is blurred three
// times become the one colour where they are dark and the other where they are light, with a smooth passage between.
// The copy weighs colours by alpha and is not rounded to levels before, since the passage may be steep. Alpha stays.
// Rows are fed and taken as those of a BlurStream.

#include <array>
#include <vector>

#include "filters/BlurStream.h"

namespace zor {

struct StampStreamRequest {
    int width;
    int height;
    int channels;   // 1 to 4, packed
    bool hasAlpha;  // the last one, of 2 or 4
    int radius;     // of each blur, 0 to WindowShape::kMaxRadius
    double threshold, softness;
    std::array<std::uint8_t, 4> black, white;  // by channel
    RowStore store = nullptr;                  // of waitingRows() rows; without: memory
    const KernelTable* kernels = &Kernels();

    std::int64_t waitingRows() const;
    std::int64_t waitingRowBytes() const;
};

class StampStream {
public:
    [[nodiscard]] bool Start(const StampStreamRequest& request);
    [[nodiscard]] bool Feed(const std::uint8_t* row);
    [[nodiscard]] bool Take(std::uint8_t* row);

private:
    std::uint8_t* AlphasAt(int row) const;

    StampStreamRequest request_{};
    BlurStream blur_;
    std::vector<std::uint8_t> tables_;  // by colour, of all blurred values
    std::vector<std::uint16_t> blurred_;
    HeapArray<std::uint8_t> memory_;
    int fed_ = 0, next_ = 0;
};

}  // namespace zor
