#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <span>

namespace ptmatch::testing {

/// Equal to the last bit, the sign of zero included. Which not-a-number an operation gives is left
/// open by IEEE 754, so of these only that both are.
inline bool isSameNumber(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

/// For EXPECT_TRUE: all numbers are the same; names the first that is not.
inline ::testing::AssertionResult sameNumbers(std::span<const double> actual,
                                              std::span<const double> expected) {
    if (actual.size() != expected.size()) {
        return ::testing::AssertionFailure()
               << actual.size() << " numbers, expected " << expected.size();
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (isSameNumber(actual[i], expected[i])) continue;
        return ::testing::AssertionFailure() << "number " << i << " is " << std::setprecision(17)
                                             << actual[i] << ", expected " << expected[i];
    }
    return ::testing::AssertionSuccess();
}

}  // namespace ptmatch::testing
