#pragma once

namespace zor {

// The seven filter kernels of the resampler.

struct FilterKernel {
    int mode;  // what the application passes
    const char* name;
    double radius;               // of the span of samples that is looked at, in samples of the coarser side
    double support;              // samples further away than this are dropped
    bool closed;                 // a sample at exactly that distance still counts
    int horizontalCapacity;      // most samples of one column where the image is not reduced
    int verticalCapacity;        // the same for a row
    double (*weight)(double x);  // x: distance, 0 or above and inside the support

    bool Supports(double x) const { return closed ? x <= support : x < support; }
};

constexpr int kScaleModes = 7;

// Null for a mode outside 1 to 7.
const FilterKernel* KernelOfMode(int mode);

}  // namespace zor
