#include <algorithm>

#include "kernels/Weighed.h"

namespace zor {

// Plain twins need none; vector ones widen some columns at a time, besides those of two lists, 32 floats each.
std::int64_t WeighedScratchBytes(int stride) {
    return (256 + 2 * std::int64_t{stride}) * 128 + 64;
}

namespace {

float CutTo(float value, float most) {
    const float atLeast0 = value > 0.0F ? value : 0.0F;
    return atLeast0 < most ? atLeast0 : most;
}

// Sums of a pixel, alpha last, as a picture can hold them.
template <int kChannels>
void Cut(float (&sums)[kChannels]) {
    float& alpha = sums[kChannels - 1];
    alpha = CutTo(alpha, 255.0F);
    for (int c = 0; c + 1 < kChannels; ++c) sums[c] = CutTo(sums[c], 255.0F * alpha);
}

template <WeighedShape kShape>
bool IsOpaque_Plain(const std::uint8_t* pixels, std::ptrdiff_t count) {
    constexpr int kChannels = ChannelsOf(kShape);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        if (pixels[i * kChannels + kChannels - 1] != 255) return false;
    }
    return true;
}

template <WeighedShape kShape>
void AlongRows_Plain(const WeighedBlock& block) {
    constexpr int kChannels = ChannelsOf(kShape);
    for (int r = 0; r < block.rows; ++r) {
        const float* shares = block.shares;
        for (int x = 0; x < block.taps->count; ++x, shares += block.taps->stride) {
            const TapList& list = block.taps->lists[x];
            const std::uint8_t* pixel = block.src[r] + static_cast<std::ptrdiff_t>(list.first) * kChannels;
            float sums[kChannels] = {};
            for (int group = 0; group < list.taps; group += kTapsInGroup) {
                float sumsOfGroup[kChannels] = {};
                const int end = std::min(group + kTapsInGroup, list.taps);
                for (int k = group; k < end; ++k, pixel += kChannels) {
                    const float alpha = pixel[kChannels - 1];
                    for (int c = 0; c + 1 < kChannels; ++c) {
                        sumsOfGroup[c] += static_cast<float>(pixel[c]) * alpha * shares[k];
                    }
                    sumsOfGroup[kChannels - 1] += alpha * shares[k];
                }
                for (int c = 0; c < kChannels; ++c) sums[c] += sumsOfGroup[c];
            }
            std::copy_n(sums, kChannels, block.dst[r] + static_cast<std::ptrdiff_t>(x) * kChannels);
        }
    }
}

template <WeighedShape kShape>
void AcrossRows_Plain(const WeighedStack& stack) {
    constexpr int kChannels = ChannelsOf(kShape);
    for (std::ptrdiff_t i = 0; i < stack.count; ++i) {
        float sums[kChannels] = {};
        for (int group = 0; group < stack.taps; group += kTapsInGroup) {
            float sumsOfGroup[kChannels] = {};
            const int end = std::min(group + kTapsInGroup, stack.taps);
            for (int k = group; k < end; ++k) {
                for (int c = 0; c < kChannels; ++c)
                    sumsOfGroup[c] += stack.rows[k][i * kChannels + c] * stack.shares[k];
            }
            for (int c = 0; c < kChannels; ++c) sums[c] += sumsOfGroup[c];
        }
        Cut(sums);
        const float alpha = sums[kChannels - 1];
        std::uint8_t* const pixel = stack.dst + i * kChannels;
        const bool isClear = alpha < 0.5F;
        for (int c = 0; c + 1 < kChannels; ++c) {
            pixel[c] = isClear ? std::uint8_t{0} : static_cast<std::uint8_t>(static_cast<int>(sums[c] / alpha + 0.5F));
        }
        pixel[kChannels - 1] = static_cast<std::uint8_t>(static_cast<int>(alpha + 0.5F));
    }
}

}  // namespace

void InitWeighed_Plain(WeighedKernels* kernels) {
    *kernels = {{IsOpaque_Plain<kGrayByAlpha>, IsOpaque_Plain<kColoursByAlpha>},
                {AlongRows_Plain<kGrayByAlpha>, AlongRows_Plain<kColoursByAlpha>},
                {AcrossRows_Plain<kGrayByAlpha>, AcrossRows_Plain<kColoursByAlpha>}};
}

}  // namespace zor
