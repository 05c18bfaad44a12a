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

// sum + delta as a byte: scaled if scaleFactor is not 1, then cut to 0 to 255 and truncated. The sum wraps at 32 bits.
struct MatrixFinish {
    int delta;
    double scaleFactor;
    bool scales() const { return !(scaleFactor == 1.0); }
    std::uint8_t operator()(std::uint32_t sum) const;
};

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
