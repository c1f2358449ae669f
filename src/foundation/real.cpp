#include "foundation/real.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

bool rfRealEq(double a, double b, double tolerance) {
    return std::abs(a - b) <= tolerance;
}

long iRound(double v) {
    if (std::isnan(v)) return 0;
    constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
    // std::round is exact: adding 0.5 and truncating would take 0.49999999999999994 to 1.
    return static_cast<long>(std::clamp(std::round(v), kLowest, kHighest));
}
