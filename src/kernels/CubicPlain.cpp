#include <algorithm>
#include <cmath>

#include "kernels/Cubic.h"

namespace zor {

CubicWeights MakeCubicWeights() {
    CubicWeights weights;
    for (int phase = 0; phase < CubicWeights::kPhases; ++phase) {
        const double t = static_cast<double>(phase) / CubicWeights::kPhases;
        const double exact[4] = {((-0.5 * t + 1) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1,
                                 ((-1.5 * t + 2) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
        std::int16_t* const weight = weights.weight[phase];
        int rest = 1 << CubicWeights::kBits;
        for (int i = 0; i < 4; ++i) {
            weight[i] = static_cast<std::int16_t>(std::lround(exact[i] * (1 << CubicWeights::kBits)));
            rest -= weight[i];
        }
        weight[t < 0.5 ? 1 : 2] = static_cast<std::int16_t>(weight[t < 0.5 ? 1 : 2] + rest);
    }
    return weights;
}

namespace {

constexpr int kAcrossBits = 8, kDownBits = 2 * CubicWeights::kBits - kAcrossBits;

int PhaseOf(std::int32_t place) {
    return place >> (CubicLine::kPlaceBits - CubicWeights::kPhaseBits) & (CubicWeights::kPhases - 1);
}

std::int32_t Across(std::int32_t a, std::int32_t weightOfA, std::int32_t b, std::int32_t weightOfB) {
    return (a * weightOfA + b * weightOfB + (1 << (kAcrossBits - 1))) >> kAcrossBits;
}

template <int kChannels>
void Line_Plain(const CubicLine& line, std::uint8_t* __restrict dst, std::ptrdiff_t count) {
    std::int32_t x = line.x, y = line.y;
    for (std::ptrdiff_t i = 0; i < count; ++i, x += line.dx, y += line.dy, dst += kChannels) {
        const std::int16_t* const across = line.weights->weight[PhaseOf(x)];
        const std::int16_t* const down = line.weights->weight[PhaseOf(y)];
        const std::uint8_t* const first = line.src + (y >> CubicLine::kPlaceBits) * line.rowBytes +
                                          std::ptrdiff_t{x >> CubicLine::kPlaceBits} * kChannels;
        for (int c = 0; c < kChannels; ++c) {
            std::int32_t sum = 1 << (kDownBits - 1);
            for (int row = 0; row < 4; ++row) {
                const std::uint8_t* const from = first + row * line.rowBytes + c;
                sum += (Across(from[0], across[0], from[kChannels], across[1]) +
                        Across(from[2 * kChannels], across[2], from[3 * kChannels], across[3])) *
                       down[row];
            }
            dst[c] = static_cast<std::uint8_t>(std::clamp(sum >> kDownBits, 0, 255));
        }
    }
}

}  // namespace

void InitCubic_Plain(CubicKernels* kernels) {
    *kernels = {{Line_Plain<1>, Line_Plain<2>, Line_Plain<3>, Line_Plain<4>}};
}

}  // namespace zor
