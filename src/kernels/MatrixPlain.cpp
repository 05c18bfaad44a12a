#include <algorithm>

#include "kernels/Matrix.h"

namespace zor {

std::uint8_t MatrixFinish::operator()(std::uint32_t sum) const {
    const int value = static_cast<int>(sum + static_cast<std::uint32_t>(delta));
    if (!scales()) return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
    // Cut before it is truncated: the same byte, and not-a-number is 0.
    const double scaled = value * scaleFactor;
    const double atLeast0 = scaled > 0.0 ? scaled : 0.0;
    return static_cast<std::uint8_t>(static_cast<int>(atLeast0 < 255.0 ? atLeast0 : 255.0));
}

static void Convolve_Plain(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                           std::uint8_t* dst) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint32_t sum = 0;
        for (int t = 0; t < tapCount; ++t) sum += taps[t].samples[i] * static_cast<std::uint32_t>(taps[t].weight);
        dst[i] = finish(sum);
    }
}

void InitMatrix_Plain(MatrixKernels* kernels) {
    *kernels = {Convolve_Plain};
}

}  // namespace zor
