#pragma once
// Dabs of oil paint for people's pictures, without images: each value becomes the mean of the class of values that is
// most frequent in a square around it, or the lowest of those that are, rounded. Neighbours count as much as their
// alpha, so that clear ones are left out; alpha stays, and a clear pixel as it is. Rows are fed and taken as those of a
// BlurStream; so many as the square is high have to wait.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "filters/OilRing.h"

namespace zor {

struct OilStreamRequest {
    int width;
    int height;
    int channels;   // 1 to 4, packed
    bool hasAlpha;  // the last one, of 2 or 4
    int classes;    // 1 to 256
    int range;      // pixels to each side of the square, 0 to kMaxRange
    const KernelTable* kernels = &Kernels();

    static constexpr int kMaxRange = 100;  // sums of weighed samples fit 32 bits
};

class OilStream {
public:
    [[nodiscard]] bool Start(const OilStreamRequest& request);
    [[nodiscard]] bool Feed(const std::uint8_t* row);
    [[nodiscard]] bool Take(std::uint8_t* row);

private:
    bool WantsRow() const {
        return next_ < request_.height && fed_ < request_.height && fed_ <= next_ + request_.range;
    }
    std::ptrdiff_t samples() const { return std::ptrdiff_t{request_.width} * request_.channels; }
    std::uint8_t* RowAt(int y) const;
    void SlideAndPaint(std::uint8_t* row);
    template <int kCount>
    void PaintOpaque(std::uint8_t* row);
    template <int kColours>
    void PaintWeighed(std::uint8_t* row);

    OilStreamRequest request_{};
    bool started_ = false;
    int fed_ = 0, next_ = 0, slots_ = 0;
    std::uint8_t classOf_[256] = {};
    HeapArray<std::uint8_t> rows_;
    std::vector<const std::uint8_t*> window_;  // the rows around the next one
    std::vector<bool> opaque_;                 // by slot
    bool byVectors_ = false;
    OilRing ring_;
};

}  // namespace zor
