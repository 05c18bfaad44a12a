#pragma once
// Glowing edges for people's pictures, without images: each value becomes the root of twice the squared differences to
// the pixels beside and below, rounded and cut to 255. Pixels of the border stand in for those outside. Alpha stays,
// and a clear pixel as it is; a neighbour that is clear counts as the pixel itself, one that is half clear as what lies
// halfway between the two. Rows are fed and taken as those of a BlurStream; two of them are held.

#include <cstddef>
#include <cstdint>

#include "core/HeapArray.h"
#include "kernels/KernelTable.h"

namespace zor {

struct NeonStreamRequest {
    int width;
    int height;
    int channels;   // 1 to 4, packed
    bool hasAlpha;  // the last one, of 2 or 4
    const KernelTable* kernels = &Kernels();
};

class NeonStream {
public:
    [[nodiscard]] bool Start(const NeonStreamRequest& request);
    [[nodiscard]] bool Feed(const std::uint8_t* row);
    [[nodiscard]] bool Take(std::uint8_t* row);

private:
    bool WantsRow() const { return next_ < request_.height && fed_ < request_.height && fed_ <= next_ + 1; }
    std::ptrdiff_t samples() const { return std::ptrdiff_t{request_.width} * request_.channels; }
    std::uint8_t* RowAt(int y) const;
    void GlowByAlpha(const std::uint8_t* here, const std::uint8_t* below, std::uint8_t* row) const;

    NeonStreamRequest request_{};
    bool started_ = false;
    int fed_ = 0, next_ = 0;
    HeapArray<std::uint8_t> rows_;  // each with its last pixel once more
};

}  // namespace zor
