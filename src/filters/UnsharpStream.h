#pragma once
// Unsharp mask for people's pictures, without images: each value is pushed away from the mean of the square around it,
// which is not rounded before, by 4 * amount times their difference. Colours of the mean are weighed by alpha; alpha
// stays. Rows are fed and taken as those of a BlurStream.

#include "filters/SlidingWindow.h"

namespace zor {

struct UnsharpStreamRequest {
    int width;
    int height;
    int channels;              // 1 to 4, packed
    bool hasAlpha;             // the last one, of 2 or 4
    double amount;             // 0 or more
    int radius;                // of the square, 0 to WindowShape::kMaxRadius
    int threshold;             // smaller differences stay; 0 to 256
    RowStore store = nullptr;  // of waitingRows() rows of the source; without: memory
    const KernelTable* kernels = &Kernels();

    std::int64_t waitingRows() const;
};

class UnsharpStream {
public:
    [[nodiscard]] bool Start(const UnsharpStreamRequest& request);
    [[nodiscard]] bool Feed(const std::uint8_t* row);
    [[nodiscard]] bool Take(std::uint8_t* row);

private:
    UnsharpStreamRequest request_{};
    SlidingWindow window_;
    HeapArray<std::uint8_t> memory_;
    bool started_ = false;
};

}  // namespace zor
