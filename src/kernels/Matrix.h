#pragma once
// The kernel of convolutions, on packed samples.

#include <cstddef>
#include <cstdint>

namespace zor {

// A cell of the matrix that counts: the sample that it weighs lies at samples + i for the sample i of the result.
struct MatrixTap {
    const std::uint8_t* samples;
    int weight;
};

// The scale of sums from 0 to 32767 by a product: ((sum + more) * factor) >> (16 + shift), cut to 255.
struct WordScale {
    std::uint16_t factor = 0;  // 0: there is none
    std::uint16_t more = 0;
    int shift = 0;
    std::uint8_t operator()(std::uint32_t sum) const {
        const std::uint32_t scaled = ((sum + more) * factor) >> (16 + shift);
        return static_cast<std::uint8_t>(scaled < 255 ? scaled : 255);
    }
};

// sum + delta as a byte: scaled, and moved by the bias, if scaleFactor is not 1, then cut to 0 to 255 and truncated.
// The sum wraps at 32 bits.
struct MatrixFinish {
    int delta;
    double scaleFactor;
    double bias = 0;        // 0.5 where the scaled value is to be rounded instead
    WordScale wordScale{};  // does the same, below 0 too when that is taken for 0; good for sums + delta up to 32767
    bool scales() const { return !(scaleFactor == 1.0); }
    std::uint8_t operator()(std::uint32_t sum) const;
};

// Looks for a product that does what the scale of a finish does to every sum + delta up to `most`: each is tried.
// None is found for a scale of 1 and above, of 0 and below, or where `most` is beyond 32767.
WordScale FindWordScale(const MatrixFinish& finish, std::int64_t most);

struct MatrixKernels {
    // dst[i] = finish(sum of samples[i] * weight) for i below count. dst overlaps no samples.
    void (*convolve)(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                     std::uint8_t* dst);
};

void InitMatrix_Plain(MatrixKernels* kernels);
void InitMatrix_Sse4(MatrixKernels* kernels);
void InitMatrix_Avx2(MatrixKernels* kernels);
void InitMatrix_Neon(MatrixKernels* kernels);

}  // namespace zor
