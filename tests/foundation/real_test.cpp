#include "foundation/real.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(RealEq, ToleranceItselfIsEqual) {
    EXPECT_TRUE(rfRealEq(1.0, 1.5, 0.5));
    EXPECT_FALSE(rfRealEq(1.0, 1.5000000000000002, 0.5));
    EXPECT_TRUE(rfRealEq(1.5, 1.0, 0.5));
}

TEST(RealEq, NotANumberEqualsNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(rfRealEq(nan, nan, 1.0));
    EXPECT_FALSE(rfRealEq(nan, 0.0, 1.0));
}

TEST(IRound, HalvesGoAwayFromZero) {
    EXPECT_EQ(iRound(0.5), 1);
    EXPECT_EQ(iRound(-0.5), -1);
    EXPECT_EQ(iRound(2.5), 3);
    EXPECT_EQ(iRound(-2.5), -3);
    EXPECT_EQ(iRound(2.4999999999999996), 2);
}

TEST(IRound, LargestNumberBelowHalfIsZero) {
    EXPECT_EQ(iRound(0.49999999999999994), 0);
    EXPECT_EQ(iRound(-0.49999999999999994), 0);
}

TEST(IRound, SaturatesAtTheEndsOf32Bits) {
    EXPECT_EQ(iRound(2147483646.5), 2147483647);
    EXPECT_EQ(iRound(1e300), 2147483647);
    EXPECT_EQ(iRound(-1e300), -2147483648L);
    EXPECT_EQ(iRound(std::numeric_limits<double>::infinity()), 2147483647);
    EXPECT_EQ(iRound(std::numeric_limits<double>::quiet_NaN()), 0);
}

}  // namespace
