#include "foundation/range.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = std::numbers::pi;

rxAngleRange degrees(double start, double end) {
    return rxAngleRange(rxDegree(start), rxDegree(end), false);
}

TEST(RangeDefs, KindsHaveTheirRecordedValues) {
    EXPECT_EQ(static_cast<int>(rxRangeDefs::Normal), 0);
    EXPECT_EQ(static_cast<int>(rxRangeDefs::Empty), 1);
    EXPECT_EQ(static_cast<int>(rxRangeDefs::Full), 2);
}

// ---- ranges of numbers ------------------------------------------------------------------------

TEST(Range, DefaultIsEmpty) {
    const rxRange range;
    EXPECT_EQ(range.range(), rxRangeDefs::Empty);
    EXPECT_EQ(range.start(), 0.0);
    EXPECT_EQ(range.end(), 0.0);
    for (double v : {0.0, 1.0, -kInfinity, kInfinity, kNaN}) EXPECT_FALSE(range.isWithin(v)) << v;
}

TEST(Range, FullHoldsEverything) {
    const rxRange range = rxRange::FullRange();
    EXPECT_EQ(range.range(), rxRangeDefs::Full);
    EXPECT_EQ(range.start(), -kInfinity);
    EXPECT_EQ(range.end(), kInfinity);
    for (double v : {0.0, 1e308, -kInfinity, kInfinity, kNaN}) EXPECT_TRUE(range.isWithin(v)) << v;
}

TEST(Range, ZeroToZeroHoldsTheNumberZero) {
    const rxRange range(0.0, 0.0);
    EXPECT_EQ(range.range(), rxRangeDefs::Normal);
    EXPECT_EQ(range, rxRange(0.0, 0.0));
    EXPECT_NE(range, rxRange()) << "an empty range reports the same bounds";
    EXPECT_TRUE(range.isWithin(0.0));
    EXPECT_FALSE(range.isWithin(std::numeric_limits<double>::denorm_min()));
    EXPECT_FALSE(range.isWithin(-std::numeric_limits<double>::denorm_min()));
}

TEST(Range, BothBoundsBelongToItExactly) {
    const rxRange range(-0.1, 0.3);
    EXPECT_EQ(range.start(), -0.1);
    EXPECT_EQ(range.end(), 0.3);
    EXPECT_TRUE(range.isWithin(-0.1));
    EXPECT_TRUE(range.isWithin(0.3));
    EXPECT_FALSE(range.isWithin(std::nextafter(-0.1, -1.0)));
    EXPECT_FALSE(range.isWithin(std::nextafter(0.3, 1.0)));
    EXPECT_FALSE(range.isWithin(kNaN));
}

TEST(Range, StartAboveEndHoldsNothing) {
    const rxRange range(1.0, -1.0);
    EXPECT_EQ(range.range(), rxRangeDefs::Normal);
    for (double v : {-1.0, 0.0, 1.0}) EXPECT_FALSE(range.isWithin(v)) << v;
}

TEST(Range, NormalRangesAreEqualWhereTheirBoundsAre) {
    EXPECT_EQ(rxRange(1.0, 2.0), rxRange(1.0, 2.0));
    EXPECT_NE(rxRange(1.0, 2.0), rxRange(1.5, 2.0));
    EXPECT_NE(rxRange(1.0, 2.0), rxRange(1.0, 2.5));
    EXPECT_NE(rxRange(-kInfinity, kInfinity), rxRange::FullRange());
    EXPECT_EQ(rxRange(), rxRange());
    EXPECT_EQ(rxRange::FullRange(), rxRange::FullRange());
    EXPECT_NE(rxRange(), rxRange::FullRange());
}

TEST(Range, KindsOtherThanNormalIgnoreBounds) {
    EXPECT_EQ(rxRange::fromKind(rxRangeDefs::Normal, 1.0, 2.0), rxRange(1.0, 2.0));
    EXPECT_EQ(rxRange::fromKind(rxRangeDefs::Empty, 1.0, 2.0), rxRange());
    EXPECT_EQ(rxRange::fromKind(rxRangeDefs::Full, kNaN, 2.0), rxRange::FullRange());
    EXPECT_EQ(rxRange::fromKind(static_cast<rxRangeDefs::Range>(3), 1.0, 2.0), rxRange());
}

// ---- ranges of angles -------------------------------------------------------------------------

TEST(AngleRange, DefaultIsEmpty) {
    const rxAngleRange range;
    EXPECT_EQ(range.range(), rxRangeDefs::Empty);
    EXPECT_EQ(range.start(), rxRadian());
    EXPECT_EQ(range.end(), rxRadian());
    EXPECT_EQ(range.length(), rxRadian());
    for (double v : {0.0, kPi, kInfinity, kNaN}) EXPECT_FALSE(range.isWithin(rxRadian(v))) << v;
}

TEST(AngleRange, FullReportsHalfATurnToEitherSide) {
    const rxAngleRange range = rxAngleRange::FullRange();
    EXPECT_EQ(range.range(), rxRangeDefs::Full);
    EXPECT_EQ(range.start(), rxRadian(rxDegree(-180.0)));
    EXPECT_EQ(range.end(), rxRadian(rxDegree(180.0)));
    EXPECT_EQ(range.middle(), rxRadian());
    EXPECT_EQ(range.length(), rxRadian(2.0 * kPi));
    for (double v : {0.0, kPi, -1e9, kInfinity, kNaN}) EXPECT_TRUE(range.isWithin(rxRadian(v)));
}

TEST(AngleRange, KeepsItsBoundsAsGiven) {
    const rxAngleRange range = degrees(170.0, 190.0);
    EXPECT_EQ(range.range(), rxRangeDefs::Normal);
    EXPECT_EQ(range.start(), rxRadian(rxDegree(170.0)));
    EXPECT_EQ(range.end(), rxRadian(rxDegree(190.0)));
    EXPECT_DOUBLE_EQ(rxDegree(range.middle()).toDouble(), 180.0);
    EXPECT_DOUBLE_EQ(rxDegree(range.length()).toDouble(), 20.0);
    EXPECT_EQ(degrees(-15.0, 15.0).middle(), rxRadian());
}

TEST(AngleRange, TheThirdArgumentHasNoEffect) {
    const rxRadian start(rxDegree(-20.0));
    const rxRadian end(rxDegree(30.0));
    EXPECT_EQ(rxAngleRange(start, end, true), rxAngleRange(start, end, false));
    EXPECT_FALSE(rxAngleRange(end, start, true).isWithin(rxDegree(0.0)));
}

TEST(AngleRange, MinusOneSeventyNineLiesWithin170To190) {
    const rxAngleRange range = degrees(170.0, 190.0);
    EXPECT_TRUE(range.isWithin(rxDegree(-179.0)));
    EXPECT_TRUE(range.isWithin(rxDegree(180.0)));
    EXPECT_TRUE(range.isWithin(rxDegree(-180.0)));
    EXPECT_TRUE(range.isWithin(rxDegree(175.0 + 3600.0)));
    EXPECT_FALSE(range.isWithin(rxDegree(-169.0)));
    EXPECT_FALSE(range.isWithin(rxDegree(169.0)));
    EXPECT_FALSE(range.isWithin(rxDegree(0.0)));
}

TEST(AngleRange, BothBoundsBelongToItExactly) {
    const unsigned seed = 20031;
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(-10.0, 10.0);
    for (int round = 0; round < 1000; ++round) {
        const double start = uniform(engine);
        const double end = start + std::abs(uniform(engine)) / 2.0;
        const rxAngleRange range{rxRadian(start), rxRadian(end)};
        EXPECT_TRUE(range.isWithin(rxRadian(start)));
        EXPECT_TRUE(range.isWithin(rxRadian(end)));
        // Outside by more than the rounding of angles of this size.
        EXPECT_FALSE(range.isWithin(rxRadian(start - 1e-13)));
        EXPECT_FALSE(range.isWithin(rxRadian(end + 1e-13)));
    }
}

TEST(AngleRange, WholeTurnsMakeNoDifference) {
    const unsigned seed = 20032;
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int round = 0; round < 1000; ++round) {
        const double start = 20.0 * uniform(engine) - 10.0;
        const double length = 2.0 * kPi * uniform(engine);
        const rxAngleRange range{rxRadian(start), rxRadian(start + length)};
        const double inside = start + length * (0.001 + 0.998 * uniform(engine));
        const double outside =
            start + length + (2.0 * kPi - length) * (0.001 + 0.998 * uniform(engine));
        for (int turns = -5; turns <= 5; ++turns) {
            EXPECT_TRUE(range.isWithin(rxRadian(inside + 2.0 * kPi * turns)));
            EXPECT_FALSE(range.isWithin(rxRadian(outside + 2.0 * kPi * turns)));
        }
    }
}

TEST(AngleRange, StartAboveEndHoldsNothing) {
    const rxAngleRange range = degrees(190.0, 170.0);
    EXPECT_EQ(range.range(), rxRangeDefs::Normal);
    for (double v : {0.0, 170.0, 180.0, 190.0, -179.0}) {
        EXPECT_FALSE(range.isWithin(rxDegree(v))) << v;
    }
}

TEST(AngleRange, AFullTurnOrMoreHoldsEveryFiniteAngle) {
    for (const rxAngleRange& range :
         {degrees(-180.0, 180.0), degrees(10.0, 370.0), degrees(0.0, 1000.0),
          rxAngleRange(rxRadian(-1e300), rxRadian(1e300)),
          rxAngleRange(rxRadian(1e308), rxRadian(1.7e308)),
          rxAngleRange(rxRadian(-kInfinity), rxRadian(0.0))}) {
        EXPECT_EQ(range.range(), rxRangeDefs::Normal);
        for (int v = -720; v <= 720; v += 7) EXPECT_TRUE(range.isWithin(rxDegree(v))) << v;
        EXPECT_FALSE(range.isWithin(rxRadian(kNaN)));
        EXPECT_FALSE(range.isWithin(rxRadian(kInfinity)));
    }
}

TEST(AngleRange, OneAngleAloneIsARange) {
    const rxAngleRange range = degrees(0.0, 0.0);
    EXPECT_EQ(range.range(), rxRangeDefs::Normal);
    EXPECT_TRUE(range.isWithin(rxDegree(0.0)));
    EXPECT_FALSE(range.isWithin(rxRadian(1e-15)));
}

TEST(AngleRange, BadBoundsHoldNothing) {
    EXPECT_FALSE(rxAngleRange(rxRadian(kNaN), rxRadian(1.0)).isWithin(rxRadian(0.5)));
    EXPECT_FALSE(rxAngleRange(rxRadian(0.0), rxRadian(kNaN)).isWithin(rxRadian(0.5)));
}

TEST(AngleRange, NormalRangesAreEqualWhereTheirBoundsAre) {
    EXPECT_EQ(degrees(-15.0, 15.0), degrees(-15.0, 15.0));
    EXPECT_NE(degrees(-15.0, 15.0), degrees(-14.0, 15.0));
    EXPECT_NE(degrees(-15.0, 15.0), degrees(-15.0, 14.0));
    EXPECT_NE(degrees(-15.0, 15.0), degrees(345.0, 375.0));
    EXPECT_NE(degrees(-180.0, 180.0), rxAngleRange::FullRange());
    EXPECT_EQ(rxAngleRange(), rxAngleRange());
    EXPECT_NE(rxAngleRange(), degrees(0.0, 0.0));
}

TEST(AngleRange, KindsOtherThanNormalIgnoreBounds) {
    const rxRadian one(1.0);
    const rxRadian two(2.0);
    EXPECT_EQ(rxAngleRange::fromKind(rxRangeDefs::Normal, one, two), rxAngleRange(one, two));
    EXPECT_EQ(rxAngleRange::fromKind(rxRangeDefs::Empty, one, two), rxAngleRange());
    EXPECT_EQ(rxAngleRange::fromKind(rxRangeDefs::Full, one, two), rxAngleRange::FullRange());
    EXPECT_EQ(rxAngleRange::fromKind(static_cast<rxRangeDefs::Range>(-1), one, two),
              rxAngleRange());
}

}  // namespace
