#include "kernels/Windows.h"

namespace zor {

namespace {

template <int kCount>
void Weigh_Plain(const std::uint8_t* __restrict pixels, std::ptrdiff_t count, std::uint16_t* __restrict words) {
    for (std::ptrdiff_t i = 0; i < count; ++i, pixels += kCount, words += kCount) {
        const int alpha = pixels[kCount - 1];
        for (int c = 0; c < kCount - 1; ++c) words[c] = static_cast<std::uint16_t>(pixels[c] * alpha);
        words[kCount - 1] = static_cast<std::uint16_t>(alpha * 255);
    }
}

template <int kCount, class Sample>
void Slide_Plain(std::uint32_t* __restrict sums, const Sample* __restrict leaves, const Sample* __restrict enters,
                 std::ptrdiff_t pixels, std::uint32_t* __restrict along) {
    std::uint32_t before[kCount] = {};
    for (std::ptrdiff_t i = 0; i < pixels; ++i, sums += kCount, leaves += kCount, enters += kCount, along += kCount) {
        for (int c = 0; c < kCount; ++c) {
            sums[c] += static_cast<std::uint32_t>(enters[c]) - static_cast<std::uint32_t>(leaves[c]);
            before[c] += sums[c];
            along[c] = before[c];
        }
    }
}

template <class Sample>
void Means_Plain(const WindowSums& given, std::ptrdiff_t count, const WindowMean& mean, Sample* __restrict samples) {
    const auto *const first = given.first, *const last = given.last;
    const auto [half, by] = mean;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t sum = last[i] - first[i] + half;
        samples[i] = static_cast<Sample>((sum * std::uint64_t{by.factor}) >> by.shift);
    }
}

std::uint8_t Rounded(double value) {
    return static_cast<std::uint8_t>(static_cast<int>(value + 0.5));
}

template <int kCount>
void Unweigh_Plain(const WindowSums& given, std::ptrdiff_t pixels, double alphaScale, std::uint8_t* __restrict bytes) {
    const auto *const first = given.first, *const last = given.last;
    for (std::ptrdiff_t i = 0; i < pixels * kCount; i += kCount) {
        const auto sum = [&](int c) {
            return static_cast<double>(static_cast<std::int32_t>(last[i + c] - first[i + c]));
        };
        const double alpha = sum(kCount - 1), scale = 255.0 / (alpha > 1.0 ? alpha : 1.0);
        for (int c = 0; c < kCount - 1; ++c) bytes[i + c] = Rounded(sum(c) * scale);
        bytes[i + kCount - 1] = Rounded(alpha * alphaScale);
    }
}

void Sharpen_Plain(const WindowSums& given, const std::uint8_t* __restrict middle, std::ptrdiff_t count,
                   const WindowSharpening& sharpening, std::uint8_t* __restrict bytes) {
    const auto *const first = given.first, *const last = given.last;
    const auto [divisor, least, scale] = sharpening;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t distance = middle[i] * divisor - static_cast<std::int32_t>(last[i] - first[i]);
        const float sharp = static_cast<float>(middle[i]) + static_cast<float>(distance) * scale;
        const float cut = sharp > 0.0f ? sharp < 255.0f ? sharp : 255.0f : 0.0f;
        const bool stays = (distance < 0 ? -distance : distance) < least;
        bytes[i] = stays ? middle[i] : static_cast<std::uint8_t>(static_cast<int>(cut + 0.5f));
    }
}

template <int kCount>
void SharpenWeighed_Plain(const WindowSums& given, const std::uint8_t* __restrict middle, std::ptrdiff_t pixels,
                          const WeighedSharpening& sharpening, std::uint8_t* __restrict bytes) {
    const auto *const first = given.first, *const last = given.last;
    const auto [least, scale] = sharpening;
    for (std::ptrdiff_t i = 0; i < pixels * kCount; i += kCount) {
        const std::uint8_t* const pixel = middle + i;
        const auto sum = [&](int c) {
            return static_cast<double>(static_cast<std::int32_t>(last[i + c] - first[i + c]));
        };
        const double window = sum(kCount - 1);
        const bool clear = pixel[kCount - 1] == 0 || window < 1.0;
        const double alpha = clear ? 1.0 : window, step = scale / alpha;
        for (int c = 0; c < kCount - 1; ++c) {
            const double distance = pixel[c] * alpha - sum(c) * 255.0;
            const double sharp = pixel[c] + distance * step;
            const double cut = sharp > 0.0 ? sharp < 255.0 ? sharp : 255.0 : 0.0;
            const bool stays = clear || (distance < 0.0 ? -distance : distance) < least * alpha;
            bytes[i + c] = stays ? pixel[c] : Rounded(cut);
        }
        bytes[i + kCount - 1] = pixel[kCount - 1];
    }
}

std::uint32_t HighHalf(std::uint32_t word, std::uint32_t weight) {
    return (word * weight) >> 16;
}

void SoftDown_Plain(const TapRows& rows, std::ptrdiff_t count, const SoftWeights& weights,
                    std::uint16_t* __restrict words) {
    const auto [row, before, after] = rows;
    const auto [middle, beside] = weights;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t neighbours = static_cast<std::uint32_t>(before[i] + after[i]) << 7;
        words[i] = static_cast<std::uint16_t>(HighHalf(static_cast<std::uint32_t>(row[i]) << 8, middle) +
                                              HighHalf(neighbours, beside));
    }
}

void SoftAlong_Plain(const std::uint16_t* __restrict row, std::ptrdiff_t pixel, std::ptrdiff_t count,
                     const SoftWeights& weights, std::uint8_t* __restrict bytes) {
    const auto [middle, beside] = weights;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t neighbours = (static_cast<std::uint32_t>(row[i - pixel]) + row[i + pixel] + 1) >> 1;
        const std::uint32_t sum = HighHalf(row[i], middle) + HighHalf(neighbours, beside);
        bytes[i] = static_cast<std::uint8_t>((sum + kSoftHalf) >> 8);
    }
}

void SoftWords_Plain(const std::uint16_t* const* rows, std::ptrdiff_t pixel, std::ptrdiff_t count,
                     const NineWeights& given, std::uint32_t* __restrict sums) {
    const NineWeights weights = given;
    const std::uint16_t *above = rows[0], *row = rows[1], *below = rows[2];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t sides = std::uint32_t{above[i]} + below[i] + row[i - pixel] + row[i + pixel];
        const std::uint32_t corners =
            std::uint32_t{above[i - pixel]} + above[i + pixel] + below[i - pixel] + below[i + pixel];
        sums[i] = (row[i] * weights.middle + sides * weights.side + corners * weights.corner) >> 1;
    }
}

}  // namespace

WindowMean MakeWindowMean(std::int64_t divisor) {
    return {static_cast<std::uint32_t>(divisor / 2), MakeWideDivision(divisor)};
}

void InitWindows_Plain(WindowKernels* kernels) {
    *kernels = {{Weigh_Plain<2>, Weigh_Plain<4>},
                {Slide_Plain<1, std::uint8_t>, Slide_Plain<2, std::uint8_t>, Slide_Plain<3, std::uint8_t>,
                 Slide_Plain<4, std::uint8_t>},
                {Slide_Plain<1, std::uint16_t>, Slide_Plain<2, std::uint16_t>, Slide_Plain<3, std::uint16_t>,
                 Slide_Plain<4, std::uint16_t>},
                Means_Plain<std::uint8_t>,
                Means_Plain<std::uint16_t>,
                {Unweigh_Plain<2>, Unweigh_Plain<4>},
                Sharpen_Plain,
                {SharpenWeighed_Plain<2>, SharpenWeighed_Plain<4>},
                SoftDown_Plain,
                SoftAlong_Plain,
                SoftWords_Plain};
}

}  // namespace zor
