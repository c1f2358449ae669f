#include "ptmatch/ptgdmap/distance_bands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::DistanceBands;
using ptmatch::detail::PointBox;
using ptmatch::detail::squaredLength;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();

double below(double v) {
    return std::nextafter(v, -kInfinity);
}

double above(double v) {
    return std::nextafter(v, kInfinity);
}

TEST(DistanceBands, HoldDistancesNearEitherStepWithTheBoundsIncluded) {
    const DistanceBands bands(10, 40, rxRange(0.5, 2.0));
    for (const double inside : {25.0, 100.0, 400.0, 1000.0, 6400.0}) {
        EXPECT_TRUE(bands.holds(inside)) << inside;
    }
    for (const double outside : {0.0, below(25.0), above(6400.0), kInfinity}) {
        EXPECT_FALSE(bands.holds(outside)) << outside;
    }
    const DistanceBands apart(10, 100, rxRange(0.5, 2.0));
    EXPECT_TRUE(apart.holds(400.0));
    EXPECT_FALSE(apart.holds(above(400.0)));
    EXPECT_FALSE(apart.holds(below(2500.0)));
    EXPECT_TRUE(apart.holds(2500.0));
}

TEST(DistanceBands, BoundsAreSquaresOfTheRoundedProducts) {
    const double length = 7.3;
    const double bound = length * 1.1;
    const DistanceBands bands(length, length, rxRange(1.1, 1.1));
    EXPECT_TRUE(bands.holds(bound * bound));
    EXPECT_FALSE(bands.holds(above(bound * bound)));
    EXPECT_FALSE(bands.holds(below(bound * bound)));
}

TEST(DistanceBands, FullRangeHoldsEveryDistance) {
    const DistanceBands bands(10, 10, rxRange::FullRange());
    for (const double d2 : {0.0, 1e-300, 100.0, kLargest, kInfinity}) EXPECT_TRUE(bands.holds(d2));
}

TEST(DistanceBands, RangeFromMinusInfinityBeginsAtZero) {
    const DistanceBands bands(10, 10, rxRange(-kInfinity, 1.0));
    EXPECT_TRUE(bands.holds(0.0));
    EXPECT_TRUE(bands.holds(100.0));
    EXPECT_FALSE(bands.holds(101.0));
}

TEST(DistanceBands, NegativeStartCountsByItsSize) {
    const DistanceBands bands(10, 10, rxRange(-0.5, 1.0));
    EXPECT_TRUE(bands.holds(25.0));
    EXPECT_FALSE(bands.holds(24.0));
}

TEST(DistanceBands, RangeWithItsStartAboveItsEndHoldsNothing) {
    for (const rxRange& range : {rxRange(1.2, 0.8), rxRange(0.5, -0.8), rxRange(0, -kInfinity)}) {
        const DistanceBands bands(10, 10, range);
        for (const double d2 : {0.0, 25.0, 50.0, 100.0, kInfinity}) EXPECT_FALSE(bands.holds(d2));
        PointBox box;
        box.add(rxVector<2>(-100, -100));
        box.add(rxVector<2>(100, 100));
        EXPECT_FALSE(bands.mayHold(rxVector<2>(), box));
    }
}

TEST(DistanceBands, BoxesOutOfReachAreRecognised) {
    const DistanceBands bands(10, 10, rxRange(0.8, 1.2));
    PointBox spot;
    spot.add(rxVector<2>(5, 5));
    EXPECT_FALSE(bands.mayHold(rxVector<2>(5, 5), spot));
    EXPECT_TRUE(bands.mayHold(rxVector<2>(15, 5), spot));
    spot.add(rxVector<2>(6, 7));
    EXPECT_FALSE(bands.mayHold(rxVector<2>(5, 5), spot));
    EXPECT_TRUE(bands.mayHold(rxVector<2>(-2, 7), spot));
    EXPECT_FALSE(bands.mayHold(rxVector<2>(30, 5), spot));
    EXPECT_FALSE(bands.mayHold(rxVector<2>(5, 30), spot));
}

/// Numbers of every size, and many that are equal.
double anyNumber(ptmatch::testing::Randomness& random) {
    switch (random.below(4)) {
        case 0:
            return static_cast<double>(random.below(5) - 2);
        case 1:
            return random.between(-20, 20);
        case 2:
            return std::ldexp(random.between(-1, 1), static_cast<int>(random.below(2040)) - 1020);
        default:
            return random.below(2) == 0 ? kLargest : -kLargest;
    }
}

TEST(DistanceBands, BoxWithAnAcceptedPointIsNeverPassedOver) {
    ptmatch::testing::Randomness random(3);
    long accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        const rxVector<2> from(anyNumber(random), anyNumber(random));
        PointBox box;
        std::vector<rxVector<2>> points;
        for (int k = 0; k < 4; ++k) {
            points.emplace_back(anyNumber(random), anyNumber(random));
            box.add(points.back());
        }
        // The tightest band that holds one of the points, so that its box just reaches it.
        const rxVector<2>& point = points[static_cast<std::size_t>(random.below(4))];
        const double length = (point - from).len();
        const DistanceBands bands(length, length, rxRange(1, 1));
        if (!bands.holds(squaredLength(point - from))) continue;  // the root was rounded
        ++accepted;
        ASSERT_TRUE(bands.mayHold(from, box)) << "round " << round;
    }
    EXPECT_GT(accepted, 5000);
}

}  // namespace
