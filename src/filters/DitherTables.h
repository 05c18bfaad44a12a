#pragma once
// The matrices of the dither filter.

#include "kernels/Tone.h"

namespace zor {

// The threshold of pixel (x, y) stands at (y mod side) * side + (x mod side). No values and a side of 0 for a number
// that is no matrix.
void SetMatrixValues(int matrix, const int*& values, int& side);

}  // namespace zor
