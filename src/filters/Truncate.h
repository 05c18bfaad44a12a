#pragma once
// From a double to an integer the way all filters do it.

#include <climits>

namespace zor {

// Toward zero. What lies outside the range of int saturates; not-a-number gives forNan.
inline int TruncateToInt(double value, int forNan = 0) {
    if (value != value) return forNan;
    if (value >= INT_MAX) return INT_MAX;
    if (value <= INT_MIN) return INT_MIN;
    return static_cast<int>(value);
}

}  // namespace zor
