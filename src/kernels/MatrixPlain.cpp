#include <algorithm>
#include <cmath>

#include "kernels/Matrix.h"

namespace zor {

std::uint8_t MatrixFinish::operator()(std::uint32_t sum) const {
    const int value = static_cast<int>(sum + static_cast<std::uint32_t>(delta));
    if (!scales()) return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
    // Cut before it is truncated: the same byte, and not-a-number is 0.
    const double scaled = value * scaleFactor + bias;
    const double atLeast0 = scaled > 0.0 ? scaled : 0.0;
    return static_cast<std::uint8_t>(static_cast<int>(atLeast0 < 255.0 ? atLeast0 : 255.0));
}

static bool IsExact(const WordScale& scale, const MatrixFinish& finish, int most) {
    const MatrixFinish scaleAlone{0, finish.scaleFactor, finish.bias};
    for (int sum = 0; sum <= most; ++sum) {
        if (scale(static_cast<std::uint32_t>(sum)) != scaleAlone(static_cast<std::uint32_t>(sum))) return false;
    }
    return true;
}

WordScale FindWordScale(const MatrixFinish& finish, std::int64_t most) {
    constexpr std::int64_t kMostOfAWord = 32767;
    constexpr double kLeast = 1.0 / 32768;  // smaller ones leave nothing but 0
    const double scale = finish.scaleFactor;
    if (!(scale >= kLeast && scale < 1.0) || most < 0 || most > kMostOfAWord) return {};
    // As many bits as there is room for, a little too much or a little too little.
    int exponent = 0;
    const double bits = std::frexp(scale, &exponent) * 65536;
    const std::uint16_t factor = static_cast<std::uint16_t>(bits);
    const std::uint16_t above = static_cast<std::uint16_t>(std::min(std::ceil(bits), 65535.0));
    const std::uint16_t more = static_cast<std::uint16_t>(finish.bias / scale);
    const std::uint16_t oneMore = static_cast<std::uint16_t>(more + 1);
    for (const WordScale& tried : {WordScale{above, more, -exponent}, WordScale{factor, more, -exponent},
                                   WordScale{factor, oneMore, -exponent}, WordScale{above, oneMore, -exponent}}) {
        if (IsExact(tried, finish, static_cast<int>(most))) return tried;
    }
    return {};
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
