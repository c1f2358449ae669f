#include "ptmatch/ptgdmap/grid_rotation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::AxisDirections;
using ptmatch::detail::DegreeRange;
using ptmatch::detail::DirectionHistogram;
using ptmatch::detail::gridRotationDeg;
using ptmatch::detail::mapSetup;
using ptmatch::detail::MapSetup;
using ptmatch::detail::RotationScore;
using ptmatch::detail::rotationsToTry;
using ptmatch::detail::smoothed;
using ptmatch::detail::SmoothedHistogram;
using ptmatch::detail::turned;
using ptmatch::testing::degreeRange;
using Params = rxPtToGridMapRunParams;

const rxVector<2> kNull;

/// Links in the given bins.
DirectionHistogram bins(const std::vector<std::pair<std::size_t, std::int32_t>>& counts) {
    DirectionHistogram histogram{};
    for (const auto& [bin, count] : counts) histogram[bin] = count;
    return histogram;
}

MapSetup setupOf(const rxVector<2>& xv, const rxVector<2>& yv) {
    return mapSetup(Params(xv, yv)).value_or(MapSetup());
}

/// Directions along a single axis at 0 degrees: scores are those of the smoothed bins.
RotationScore alongZero(const DirectionHistogram& histogram) {
    return RotationScore(histogram, setupOf(rxVector<2>(10, 0), kNull));
}

void expectRange(const rxAngleRange& angleTol, long low, long high) {
    const std::optional<DegreeRange> range = rotationsToTry(angleTol);
    ASSERT_TRUE(range);
    EXPECT_EQ(range->low, low);
    EXPECT_EQ(range->high, high);
}

TEST(SmoothedHistogram, SpreadsABinOverItsNeighboursOnTheCircle) {
    const SmoothedHistogram sums = smoothed(bins({{0, 1}}));
    const std::vector<std::pair<std::size_t, std::int64_t>> expected = {
        {356, 0}, {357, 1}, {358, 2}, {359, 4}, {0, 8}, {1, 4}, {2, 2}, {3, 1}, {4, 0}};
    for (const auto& [bin, sum] : expected) EXPECT_EQ(sums[bin], sum) << bin;
    EXPECT_EQ(smoothed(bins({{358, 1}}))[1], 1);
    EXPECT_EQ(smoothed(bins({{358, 1}, {1, 10}}))[359], 4 + 20);
}

TEST(SmoothedHistogram, HoldsSumsBeyond32Bits) {
    EXPECT_EQ(smoothed(bins({{10, 2147483647}}))[10], 8LL * 2147483647);
}

TEST(RotationsToTry, AreTheWholeDegreesAroundTheRange) {
    expectRange(degreeRange(-19.5, 12.25), -20, 13);
    expectRange(degreeRange(0, 90), 0, 90);
    expectRange(degreeRange(-400, 725), -400, 725);
}

TEST(RotationsToTry, WholeDegreesAreThoseThatTheAngleConvertsTo) {
    // From degrees to radians and back, some come out a rounding error away.
    for (long d = -360; d <= 360; ++d) {
        const rxAngleRange range = degreeRange(static_cast<double>(d), 1000);
        const double back = rxDegree(range.start()).toDouble();
        expectRange(range, static_cast<long>(std::floor(back)), 1000);
    }
}

TEST(RotationsToTry, FullRangeIsOneTurnAroundZero) {
    expectRange(rxAngleRange::FullRange(), -180, 180);
}

TEST(RotationsToTry, NarrowRangesAreWidenedEvenlyToThreeDegrees) {
    expectRange(degreeRange(0, 0), -1, 1);
    expectRange(degreeRange(0.25, 0.75), -1, 2);
    expectRange(degreeRange(-2.5, -2.5), -4, -1);
    expectRange(degreeRange(0.5, 1.5), 0, 2);
}

TEST(RotationsToTry, RangeWithItsStartAboveItsEndHoldsNone) {
    EXPECT_FALSE(rotationsToTry(degreeRange(10, -10)));
    EXPECT_FALSE(rotationsToTry(degreeRange(0.25, 0.2)));
}

TEST(RotationScore, TakesTheAxesThatAreKnown) {
    const DirectionHistogram histogram = bins({{40, 10}, {130, 1}});
    const rxVector<2> right(10, 0);
    const rxVector<2> up(0, 10);
    EXPECT_EQ(RotationScore(histogram, setupOf(right, kNull))(40), 80);
    EXPECT_EQ(RotationScore(histogram, setupOf(kNull, up))(40), 8);
    EXPECT_EQ(RotationScore(histogram, setupOf(right, up))(40), 88);
}

TEST(RotationScore, AxesCountByTheirNearestDegree) {
    const auto at = [](double degrees) {
        return ptmatch::testing::turnBy(degrees) * rxVector<2>(10, 0);
    };
    const DirectionHistogram histogram = bins({{30, 1}});
    EXPECT_EQ(RotationScore(histogram, setupOf(at(29.6), kNull))(0), 8);
    EXPECT_EQ(RotationScore(histogram, setupOf(at(30.4), kNull))(0), 8);
    EXPECT_EQ(RotationScore(histogram, setupOf(at(30.6), kNull))(0), 4);
    EXPECT_EQ(RotationScore(bins({{0, 1}}), setupOf(at(-0.3), kNull))(0), 8);
}

TEST(RotationScore, DirectionsAlongXWrapAroundTheTurnInBothDirections) {
    const RotationScore score(bins({{10, 3}}), setupOf(rxVector<2>(0, 10), kNull));
    for (const long turns : {-720L, -360L, 0L, 360L, 720L}) EXPECT_EQ(score(-80 + turns), 24);
}

TEST(RotationScore, DirectionsAlongYWrapFromAboveAloneAndAreZeroBelow) {
    const RotationScore score(bins({{10, 3}, {0, 5}}), setupOf(kNull, rxVector<2>(0, 10)));
    EXPECT_EQ(score(-80), 24);
    EXPECT_EQ(score(-80 + 360), 24);
    EXPECT_EQ(score(-80 + 720), 24);
    EXPECT_EQ(score(-90), 40);
    EXPECT_EQ(score(-91), 40);
    EXPECT_EQ(score(-200), 40);
    EXPECT_EQ(score(-80 - 360), 40);
}

TEST(GridRotation, IsTheDegreeWithTheMostLinks) {
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{7, 5}})), {-20, 20}), 7.0);
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{350, 5}, {3, 4}})), {-20, 20}), -10.0);
}

TEST(GridRotation, FirstOfEqualDegreesWins) {
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{5, 2}, {355, 2}})), {-20, 20}), -5.0);
    EXPECT_EQ(gridRotationDeg(alongZero(bins({})), {-20, 20}), -19.0);
}

TEST(GridRotation, FirstAndLastTwoDegreesAreNeverChosen) {
    const auto found = [](std::size_t bin) {
        return gridRotationDeg(alongZero(bins({{bin, 4}})), {-5, 5});
    };
    EXPECT_EQ(found(3), 3.0);
    EXPECT_EQ(found(4), 3.0);  // the last but one
    EXPECT_EQ(found(5), 3.0);  // the last
    EXPECT_EQ(found(356), -4.0);
    EXPECT_EQ(found(355), -4.0);  // the first
}

TEST(GridRotation, ThreeDegreesLeaveTheMiddleOne) {
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{1, 4}})), {-1, 1}), 0.0);
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{0, 4}})), {-1, 1}), 0.0);
    EXPECT_EQ(gridRotationDeg(alongZero(bins({})), {-1, 1}), 0.0);
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{2, 4}})), {-1, 2}), 0.0);
}

TEST(GridRotation, PeakMovesByTwiceTheOffsetOfAParabola) {
    // Scores 4 + 2, 8 + 4 and 4 + 8 beside bins 0 and 1 of 1 link each: both are 12. With 2 and 1
    // links: 8 + 2 = 10, 16 + 4 = 20, 8 + 8 = 16.
    const RotationScore score = alongZero(bins({{0, 2}, {1, 1}}));
    ASSERT_EQ(score(-1), 10);
    ASSERT_EQ(score(0), 20);
    ASSERT_EQ(score(1), 16);
    EXPECT_EQ(gridRotationDeg(score, {-20, 20}), 0.0 + 6.0 / 14.0);
}

TEST(GridRotation, PeakBesideAnEqualOrHigherScoreStays) {
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{0, 1}, {1, 1}})), {-20, 20}), 0.0);
    // The higher neighbour is one that cannot be chosen.
    EXPECT_EQ(gridRotationDeg(alongZero(bins({{4, 3}, {0, 1}})), {-5, 5}), 3.0);
}

TEST(TurnedAxes, ComeWithinOneTurnAndMayStayNegative) {
    const AxisDirections up = turned({350, 90}, 15.5);
    EXPECT_EQ(up.x, 5.5);
    EXPECT_EQ(up.y, 105.5);
    const AxisDirections down = turned({0, 90}, -10);
    EXPECT_EQ(down.x, -10.0);
    EXPECT_EQ(down.y, 80.0);
    EXPECT_EQ(turned({0, 0}, 360).x, 0.0);
    EXPECT_EQ(turned({30, 0}, 1000).x, 310.0);
    EXPECT_EQ(turned({30, 0}, -1000).x, -250.0);
    EXPECT_EQ(turned({0, 0}, -360).x, 0.0);
    EXPECT_EQ(turned({0, 0}, -359).x, -359.0);
}

}  // namespace
