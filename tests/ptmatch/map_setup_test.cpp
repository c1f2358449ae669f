#include "ptmatch/ptgdmap/map_setup.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "grid_points.h"

namespace {

using ptmatch::detail::directionDeg;
using ptmatch::detail::MapSetup;
using ptmatch::detail::mapSetup;
using ptmatch::detail::workingSteps;
using ptmatch::testing::degreeRange;
using Params = rxPtToGridMapRunParams;

const rxVector<2> kNull;

MapSetup setupOf(const Params& params) {
    const std::optional<MapSetup> setup = mapSetup(params);
    EXPECT_TRUE(setup.has_value());
    return setup.value_or(MapSetup());
}

double atan2Deg(double y, double x) {
    return rxDegree(rxRadian(std::atan2(y, x))).toDouble();
}

TEST(MapSetup, StepsOfAnOrdinaryGridAreUsedAsTheyAre) {
    const MapSetup setup = setupOf(Params(rxVector<2>(10, 1), rxVector<2>(-2, 20)));
    EXPECT_EQ(setup.xv, rxVector<2>(10, 1));
    EXPECT_EQ(setup.yv, rxVector<2>(-2, 20));
    EXPECT_EQ(setup.xLength, rxVector<2>(10, 1).len());
    EXPECT_EQ(setup.yLength, rxVector<2>(-2, 20).len());
    EXPECT_TRUE(setup.bothSteps);
    EXPECT_EQ(setup.dof(), 6);
}

TEST(MapSetup, StaggeredGridIsSearchedAlongItsDiagonals) {
    const MapSetup setup = setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 12), true));
    EXPECT_EQ(setup.xv, rxVector<2>(10, 12));
    EXPECT_EQ(setup.yv, rxVector<2>(-10, 12));
    EXPECT_EQ(setup.dof(), 6);
    EXPECT_EQ(workingSteps(Params(rxVector<2>(10, 0), kNull, true)).yv, rxVector<2>(-10, 0));
}

TEST(MapSetup, MissingStepBorrowsTheLengthOfTheOther) {
    const MapSetup onlyX = setupOf(Params(rxVector<2>(3, 4)));
    EXPECT_EQ(onlyX.xLength, 5.0);
    EXPECT_EQ(onlyX.yLength, 5.0);
    EXPECT_EQ(onlyX.cellSize, 5.0);
    EXPECT_FALSE(onlyX.bothSteps);
    EXPECT_EQ(onlyX.dof(), 4);
    const MapSetup onlyY = setupOf(Params(kNull, rxVector<2>(0, 7)));
    EXPECT_EQ(onlyY.xLength, 7.0);
    EXPECT_EQ(onlyY.cellSize, 7.0);
    EXPECT_EQ(onlyY.dof(), 4);
}

TEST(MapSetup, CellIsAsLargeAsTheLongerStep) {
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 20))).cellSize, 20.0);
    EXPECT_EQ(setupOf(Params(rxVector<2>(30, 0), rxVector<2>(0, 20))).cellSize, 30.0);
}

TEST(MapSetup, SnapDefaultsToAFifthOfTheShorterStep) {
    const MapSetup setup = setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 20)));
    EXPECT_EQ(setup.snap, 2.0);
    EXPECT_EQ(setup.dirTolDeg, atan2Deg(2, 20));
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 20), false, -1.0)).snap, 2.0);
    EXPECT_EQ(setupOf(Params(kNull, rxVector<2>(0, 20))).snap, 4.0);
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 20), false, 3.5)).snap, 3.5);
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 10), false, 1e-300)).snap, 1e-300);
}

TEST(MapSetup, SnapOfAStaggeredGridIsAFifthOfTheDiagonal) {
    const MapSetup setup = setupOf(Params(rxVector<2>(30, 0), rxVector<2>(0, 40), true));
    EXPECT_EQ(setup.snap, 10.0);
}

TEST(MapSetup, DirectionToleranceIsTheSmallerAngleThatTheSnapTakesUp) {
    // The farther node: 5.71 degrees, not the 11.3 of the nearer one.
    const MapSetup setup = setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 20)));
    EXPECT_NEAR(setup.dirTolDeg, 5.71, 0.005);
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), kNull)).dirTolDeg, atan2Deg(2, 10));
    EXPECT_EQ(setupOf(Params(kNull, rxVector<2>(0, 20), false, 5.0)).dirTolDeg, atan2Deg(5, 20));
}

TEST(MapSetup, DirectionToleranceIsAtLeastOneAndAHalfDegrees) {
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 100))).dirTolDeg, 1.5);
    EXPECT_EQ(setupOf(Params(rxVector<2>(10, 0), kNull, false, 1e-9)).dirTolDeg, 1.5);
}

TEST(MapSetup, AxesPointWhereTheStepsPoint) {
    const MapSetup setup = setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, -20)));
    EXPECT_EQ(setup.axes.x, 0.0);
    EXPECT_EQ(setup.axes.y, 270.0);
    const MapSetup turned = setupOf(Params(rxVector<2>(-5, -5), kNull));
    EXPECT_EQ(turned.axes.x, 225.0);
    EXPECT_EQ(turned.axes.y, 0.0);
}

TEST(MapSetup, EmptyTolerancesStandForTheDefaults) {
    const MapSetup setup = setupOf(Params(rxVector<2>(10, 0), rxVector<2>(0, 10)));
    EXPECT_EQ(setup.sizeTol, rxRange(0.8, 1.2));
    EXPECT_EQ(setup.angleTol, degreeRange(-20, 20));
}

TEST(MapSetup, GivenTolerancesStay) {
    const Params given(rxVector<2>(10, 0), rxVector<2>(0, 10), false, 0.0, rxRange(2, 1),
                       degreeRange(5, -5));
    EXPECT_EQ(setupOf(given).sizeTol, rxRange(2, 1));
    EXPECT_EQ(setupOf(given).angleTol, degreeRange(5, -5));
    const Params full(rxVector<2>(10, 0), rxVector<2>(0, 10), false, 0.0, rxRange::FullRange(),
                      rxAngleRange::FullRange());
    EXPECT_EQ(setupOf(full).sizeTol.range(), rxRangeDefs::Full);
    EXPECT_EQ(setupOf(full).angleTol.range(), rxRangeDefs::Full);
}

TEST(MapSetup, StepsThatSpanNoGridHaveNone) {
    EXPECT_FALSE(mapSetup(Params()));
    EXPECT_FALSE(mapSetup(Params(kNull, kNull, true)));
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(10, 0), rxVector<2>(20, 0))));
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(10, 0), rxVector<2>(-10, 0))));
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(1, 3), rxVector<2>(1, 3))));
}

TEST(MapSetup, StaggeredGridNeedsBothStepsAndTwoDiagonals) {
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(10, 0), kNull, true)));
    EXPECT_FALSE(mapSetup(Params(kNull, rxVector<2>(0.1, 0.7), true)));
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(10, 3), rxVector<2>(10, 3), true)));
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(10, 3), rxVector<2>(-10, -3), true)));
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(10, 3), rxVector<2>(20, 6), true)));
}

TEST(MapSetup, ParallelMeansToWithinTheRoundingOfTheSteps) {
    const double third = 1.0 / 3.0;
    // In real numbers these are not parallel, by the rounding of a third.
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(third, 0.1), rxVector<2>(10 * third, 1.0))));
    const double eps = 0x1p-52;
    EXPECT_FALSE(mapSetup(Params(rxVector<2>(1, 1), rxVector<2>(1, 1 + 8 * eps))));
    EXPECT_TRUE(mapSetup(Params(rxVector<2>(1, 1), rxVector<2>(1, 1 + 32 * eps))));
    // However small or large the angle's sides.
    EXPECT_TRUE(mapSetup(Params(rxVector<2>(1e-150, 0), rxVector<2>(0, 1e150))));
    EXPECT_TRUE(mapSetup(Params(rxVector<2>(1e-150, 0), rxVector<2>(0, 1e-150))));
}

TEST(DirectionDeg, RunsFromZeroThroughAWholeTurn) {
    EXPECT_EQ(directionDeg(rxVector<2>(1, 0)), 0.0);
    EXPECT_EQ(directionDeg(rxVector<2>(0, 1)), 90.0);
    EXPECT_EQ(directionDeg(rxVector<2>(-1, 0)), 180.0);
    EXPECT_EQ(directionDeg(rxVector<2>(0, -1)), 270.0);
    EXPECT_EQ(directionDeg(rxVector<2>(0, 0)), 0.0);
    // Too close below 0 for a double beside 360.
    EXPECT_EQ(directionDeg(rxVector<2>(1, -1e-20)), 360.0);
}

}  // namespace
