#include "scale/FilterKernels.h"

#include <cmath>

namespace zor {

namespace {

constexpr double kPi = 3.141592653589793;

// All weights are evaluated as they stand here, powers first, terms from left to right: another order changes the last
// bit of a weight, and with it bytes of the result.

double Sinc(double t) {
    if (t == 0.0) return 1.0;
    const double angle = t * kPi;
    return std::sin(angle) / angle;
}

double Triangle(double x) {
    return 1.0 - x;
}

double Box(double) {
    return 1.0;
}

double Lanczos3(double x) {
    return Sinc(x) * Sinc(x / 3.0);
}

double Lanczos8(double x) {
    return Sinc(x) * Sinc(x * 0.125);
}

double Mitchell(double x) {
    const double x2 = x * x;
    const double x3 = x2 * x;
    if (x < 1.0) return (7.0 * x3 - 12.0 * x2 + 5.333333333333333) / 6.0;
    return (-2.3333333333333335 * x3 + 12.0 * x2 - 20.0 * x + 10.666666666666666) / 6.0;
}

double Poly3(double x) {
    const double x2 = x * x;
    if (x < 1.0) return (1.25 * x - 2.25) * x2 + 1.0;
    return ((-0.75 * x + 3.75) * x - 6.0) * x + 3.0;
}

double Cubic(double x) {
    const double x2 = x * x;
    const double x3 = x2 * x;
    if (x <= 1.0) return 1.3333333333333333 * x3 - 2.3333333333333335 * x2 + 1.0;
    if (x <= 2.0) return -0.5833333333333334 * x3 + 3.0 * x2 - 4.916666666666667 * x + 2.5;
    return 0.08333333333333333 * x3 - 0.6666666666666666 * x2 + 1.75 * x - 1.5;
}

// The span of poly3 is twice its support; that shows in its capacity, and in how much of the image is looked at.
constexpr FilterKernel kKernels[kScaleModes] = {
    {1, "triangle", 1.0, 1.0, false, 4, 4, Triangle}, {2, "box", 0.5, 0.5, true, 2, 3, Box},
    {3, "lanczos3", 3.0, 3.0, false, 8, 8, Lanczos3}, {4, "lanczos8", 8.0, 8.0, false, 18, 18, Lanczos8},
    {5, "mitchell", 2.0, 2.0, false, 6, 6, Mitchell}, {6, "poly3", 4.0, 2.0, false, 10, 10, Poly3},
    {7, "cubic", 3.0, 3.0, true, 8, 8, Cubic},
};

}  // namespace

const FilterKernel* KernelOfMode(int mode) {
    return mode >= 1 && mode <= kScaleModes ? &kKernels[mode - 1] : nullptr;
}

}  // namespace zor
