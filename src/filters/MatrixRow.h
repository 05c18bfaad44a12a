#pragma once
// One row of a convolution on packed samples.

#include <cstddef>
#include <cstdint>

// A cell of the matrix that counts: the sample that it weighs lies at samples + i for the sample i of the result.
struct MatrixTap {
    const std::uint8_t* samples;
    int weight;
};

// sum + delta as a byte, scaled if scaleFactor is not 1.
struct MatrixFinish {
    int delta;
    double scaleFactor;
    bool scales() const { return !(scaleFactor == 1.0); }
    std::uint8_t operator()(std::uint32_t sum) const;
};

// bytes[i] = finish(sum of samples[i] * weight) for i below count. The two give the same bytes.
void ConvolveRow_Plain(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                       std::uint8_t* bytes);
void ConvolveRow(const MatrixTap* taps, int tapCount, const MatrixFinish& finish, std::ptrdiff_t count,
                 std::uint8_t* bytes);
