#include "ptmatch/hypotenuse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using ptmatch::detail::hypotenuse;

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Hypotenuse, IsTheRootOfTheSumOfSquaresWithoutSigns) {
    EXPECT_EQ(hypotenuse(3.0, -4.0), 5.0);
    EXPECT_EQ(hypotenuse(-4.0, 3.0), 5.0);
    EXPECT_EQ(hypotenuse(-2.0, 0.0), 2.0);
    EXPECT_EQ(hypotenuse(-0.0, 0.0), 0.0);
    for (double b = 0.01; b < 1.0; b += 0.01) {
        EXPECT_NEAR(hypotenuse(1.0, b), std::sqrt(1.0 + b * b), 2 * kEps);
    }
}

TEST(Hypotenuse, NeitherOverflowsNorVanishes) {
    EXPECT_NEAR(hypotenuse(3e307, 4e307) / 5e307, 1.0, 4 * kEps);
    EXPECT_NEAR(hypotenuse(3e-300, 4e-300) / 5e-300, 1.0, 4 * kEps);
    EXPECT_EQ(hypotenuse(1e300, 1e-300), 1e300);
    EXPECT_EQ(hypotenuse(kInfinity, 1.0), kInfinity);
    EXPECT_EQ(hypotenuse(1.0, -kInfinity), kInfinity);
}

TEST(Hypotenuse, KeepsWhatIsNotANumber) {
    for (const double other : {0.0, 1.0, -1e300}) {
        EXPECT_TRUE(std::isnan(hypotenuse(kNaN, other))) << other;
        EXPECT_TRUE(std::isnan(hypotenuse(other, kNaN))) << other;
    }
}

}  // namespace
