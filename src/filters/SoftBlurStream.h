#pragma once
// A blur of less than a pixel for people's pictures, without images: each pixel takes in those beside, above and below
// it with the radius as their weight, and those at its corners with its square. Colours are weighed by alpha; pixels of
// the border stand in for those outside. Rows are fed and taken as those of a BlurStream; three of them are held.

#include <cstdint>

#include "core/HeapArray.h"
#include "kernels/KernelTable.h"

namespace zor {

struct SoftBlurStreamRequest {
    int width;
    int height;
    int channels;   // 1 to 4, packed
    bool hasAlpha;  // the last one, of 2 or 4
    double radius;  // 0 to 1
    const KernelTable* kernels = &Kernels();
};

class SoftBlurStream {
public:
    [[nodiscard]] bool Start(const SoftBlurStreamRequest& request);
    [[nodiscard]] bool Feed(const std::uint8_t* row);
    [[nodiscard]] bool Take(std::uint8_t* row);

private:
    static constexpr int kRows = 3;

    bool WantsRow() const { return next_ < request_.height && fed_ < request_.height && fed_ <= next_ + 1; }
    std::ptrdiff_t samples() const { return std::ptrdiff_t{request_.width} * request_.channels; }
    const std::uint8_t* BytesAt(int row) const;
    std::uint16_t* WordsAt(int row) const;
    void RepeatEdges(std::uint16_t* words) const;
    void SoftenBytes(std::uint8_t* row);
    void SoftenWeighed(std::uint8_t* row);

    SoftBlurStreamRequest request_{};
    SoftWeights weights_{};
    NineWeights nine_{};
    bool copies_ = false;  // the neighbours weigh nothing
    bool started_ = false;
    int fed_ = 0, next_ = 0;
    HeapArray<std::uint8_t> bytes_;          // rows of the source
    HeapArray<std::uint16_t> words_;         // the row in between, or weighed rows of the source; a pixel on each side
    HeapArray<std::uint32_t> sums_, zeros_;  // of weighed pixels, and what they count from
};

}  // namespace zor
