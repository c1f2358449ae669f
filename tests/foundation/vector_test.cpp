#include "foundation/vector.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Pair, HoldsTwoIntegers) {
    const rxPair<long> pair(-3, 2147483647);
    EXPECT_EQ(pair.x(), -3);
    EXPECT_EQ(pair.y(), 2147483647);
    EXPECT_EQ(rxPair<long>(), rxPair<long>(0, 0));
}

TEST(Pair, EqualsWhereBothNumbersDo) {
    EXPECT_EQ(rxPair<long>(1, 2), rxPair<long>(1, 2));
    EXPECT_NE(rxPair<long>(1, 2), rxPair<long>(2, 2));
    EXPECT_NE(rxPair<long>(1, 2), rxPair<long>(1, 1));
}

TEST(Pair, AddsAndSubtractsByCoordinate) {
    EXPECT_EQ(rxPair<long>(1, 2) + rxPair<long>(10, -20), rxPair<long>(11, -18));
    EXPECT_EQ(rxPair<long>(1, 2) - rxPair<long>(10, -20), rxPair<long>(-9, 22));
}

TEST(Vector2, StartsAtTheOrigin) {
    EXPECT_EQ(rxVector<2>().x(), 0.0);
    EXPECT_EQ(rxVector<2>().y(), 0.0);
}

TEST(Vector2, EachCoordinateIsSetAlone) {
    rxVector<2> v(1.5, -2.5);
    v.x(7.0);
    EXPECT_EQ(v, rxVector<2>(7.0, -2.5));
    v.y(8.0);
    EXPECT_EQ(v, rxVector<2>(7.0, 8.0));
}

TEST(Vector2, TakesIntegerPairsExactly) {
    EXPECT_EQ(rxVector<2>(rxPair<long>(-2147483647L - 1, 2147483647)),
              rxVector<2>(-2147483648.0, 2147483647.0));
}

TEST(Vector2, AddsAndSubtractsByCoordinate) {
    EXPECT_EQ(rxVector<2>(1.0, 2.0) + rxVector<2>(0.5, -4.0), rxVector<2>(1.5, -2.0));
    EXPECT_EQ(rxVector<2>(1.0, 2.0) - rxVector<2>(0.5, -4.0), rxVector<2>(0.5, 6.0));
}

TEST(Vector2, EqualityIsExact) {
    EXPECT_EQ(rxVector<2>(0.0, 1.0), rxVector<2>(-0.0, 1.0));
    EXPECT_NE(rxVector<2>(1.0, 1.0),
              rxVector<2>(1.0 + std::numeric_limits<double>::epsilon(), 1.0));
    EXPECT_NE(rxVector<2>(1.0, 1.0),
              rxVector<2>(1.0, 1.0 + std::numeric_limits<double>::epsilon()));
    EXPECT_NE(rxVector<2>(kNaN, 1.0), rxVector<2>(kNaN, 1.0));
}

TEST(Vector2, LengthIsEuclidean) {
    EXPECT_EQ(rxVector<2>(3.0, -4.0).len(), 5.0);
    EXPECT_EQ(rxVector<2>().len(), 0.0);
    EXPECT_EQ(rxVector<2>(1e200, 0.0).len(), kInfinity) << "the square is beyond double";
}

TEST(Vector2, AngleIsTheDirection) {
    EXPECT_EQ(rxVector<2>(2.0, 0.0).angle().toDouble(), 0.0);
    EXPECT_EQ(rxVector<2>(0.0, 3.0).angle().toDouble(), std::numbers::pi / 2.0);
    EXPECT_EQ(rxVector<2>(-1.0, 0.0).angle().toDouble(), std::numbers::pi);
    EXPECT_EQ(rxVector<2>(-1.0, -0.0).angle().toDouble(), -std::numbers::pi);
    EXPECT_EQ(rxVector<2>(0.0, -3.0).angle().toDouble(), -std::numbers::pi / 2.0);
    EXPECT_EQ(rxVector<2>().angle().toDouble(), 0.0);
}

TEST(Vector2, NullMeansExactlyZero) {
    EXPECT_TRUE(rxVector<2>().isNull());
    EXPECT_TRUE(rxVector<2>(-0.0, 0.0).isNull());
    EXPECT_FALSE(rxVector<2>(std::numeric_limits<double>::denorm_min(), 0.0).isNull());
    EXPECT_FALSE(rxVector<2>(0.0, kNaN).isNull());
}

TEST(Vector2, FiniteMeansBothCoordinatesAre) {
    EXPECT_TRUE(rxVector<2>(1e308, -1e308).isFinite());
    EXPECT_FALSE(rxVector<2>(kNaN, 0.0).isFinite());
    EXPECT_FALSE(rxVector<2>(0.0, -kInfinity).isFinite());
}

TEST(Vector3, StartsAtTheOriginAndIsSetByCoordinate) {
    EXPECT_EQ(rxVector<3>(), rxVector<3>(0.0, 0.0, 0.0));
    rxVector<3> v(1.0, 2.0, 3.0);
    v.x(4.0);
    EXPECT_EQ(v, rxVector<3>(4.0, 2.0, 3.0));
    v.y(5.0);
    EXPECT_EQ(v, rxVector<3>(4.0, 5.0, 3.0));
    v.z(6.0);
    EXPECT_EQ(v.x(), 4.0);
    EXPECT_EQ(v.y(), 5.0);
    EXPECT_EQ(v.z(), 6.0);
    EXPECT_NE(v, rxVector<3>(4.0, 5.0, 7.0));
}

}  // namespace
