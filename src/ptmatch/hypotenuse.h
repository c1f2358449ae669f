#pragma once

#include <cmath>

namespace ptmatch::detail {

/// The root of a^2 + b^2 without overflow, of the same bits on every platform.
inline double hypotenuse(double a, double b) {
    const bool isFirstLarger = std::abs(a) > std::abs(b);
    const double large = std::abs(isFirstLarger ? a : b);
    const double small = std::abs(isFirstLarger ? b : a);
    if (large == 0.0) return small;  // 0, or what is not a number
    const double ratio = small / large;
    return large * std::sqrt(1.0 + ratio * ratio);
}

}  // namespace ptmatch::detail
