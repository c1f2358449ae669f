#include "ptmatch/ptgdmap/grid_to_point.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "foundation/fitter.h"
#include "ptmatch/ptgdmap.h"

namespace {

using ptmatch::detail::fitGridToPoint;
using ptmatch::detail::unassignedPosition;
using ptmatch::detail::undoDiagonals;
using ::testing::ElementsAre;
using Points = std::vector<rxVector<2>>;
using Positions = std::vector<rxPair<long>>;

TEST(UnassignedPosition, IsTheLargestPairOf32Bits) {
    EXPECT_EQ(unassignedPosition(), rxPair<long>(2147483647, 2147483647));
    EXPECT_EQ(rxPtToGridMapResult::kUnassigned, 2147483647);
}

TEST(UndoDiagonals, TurnsDiagonalPositionsIntoOnesWithAnEvenSum) {
    Positions map = {{0, 0}, {1, 0}, {0, 1}, {-2, 5}};
    undoDiagonals(map);
    EXPECT_THAT(map, ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 1), rxPair<long>(-1, 1),
                                 rxPair<long>(-7, 3)));
}

TEST(UndoDiagonals, LeavesPointsWithoutAPositionAlone) {
    const long farthest = 1073741823;
    Positions map = {unassignedPosition(), {farthest, -farthest}, {farthest, farthest}};
    undoDiagonals(map);
    EXPECT_THAT(map, ElementsAre(unassignedPosition(), rxPair<long>(2 * farthest, 0),
                                 rxPair<long>(0, 2 * farthest)));
}

// No similarity: the second step is longer and not at a right angle.
const rxXform<2> kSheared(rxMatrix<2>(10, 2, 0, 14), rxVector<2>(100, 200));

Points images(const Positions& positions) {
    Points points;
    for (const rxPair<long>& p : positions) points.push_back(kSheared * rxVector<2>(p));
    return points;
}

TEST(FitGridToPoint, CarriesPositionsOntoPoints) {
    const Positions map = {{0, 0}, {3, 0}, {0, 2}, {-1, 4}};
    const rxXform<2> fitted = fitGridToPoint(images(map), map, true);
    for (const rxPair<long>& p : map) {
        const rxVector<2> miss = fitted * rxVector<2>(p) - kSheared * rxVector<2>(p);
        EXPECT_LT(miss.len(), 1e-12);
    }
}

TEST(FitGridToPoint, IsTheFitterOfPointsAndPositionsInInputOrder) {
    const Positions map = {{0, 0}, {3, 0}, {0, 2}, {-1, 4}};
    const Points points = {{1, 1}, {4.5, 1.25}, {1.5, 3}, {2, 6.5}};
    const Points positions = {{0, 0}, {3, 0}, {0, 2}, {-1, 4}};
    const rxLSPointToPointFitter fitter(points, positions);
    EXPECT_EQ(fitGridToPoint(points, map, true), fitter.fit(6));
    EXPECT_EQ(fitGridToPoint(points, map, false), fitter.fit(4));
}

TEST(FitGridToPoint, PointsWithoutAPositionPlayNoPart) {
    const Positions map = {{0, 0}, unassignedPosition(), {3, 0}, {0, 2}};
    const Positions without = {{0, 0}, {3, 0}, {0, 2}};
    Points points = images(without);
    const rxXform<2> expected = fitGridToPoint(points, without, true);
    points.insert(points.begin() + 1, rxVector<2>(-1e9, 3));
    EXPECT_EQ(fitGridToPoint(points, map, true), expected);
}

TEST(FitGridToPoint, PositionsOnOneLineAreFittedWithASimilarity) {
    for (const Positions& map : {Positions{{0, 2}, {1, 2}, {5, 2}}, Positions{{1, 0}, {1, 4}},
                                 Positions{{0, 0}, {1, 1}, {2, 2}, {-3, -3}}}) {
        const rxXform<2> fitted = fitGridToPoint(images(map), map, true);
        EXPECT_EQ(fitted.matrix().element(0, 0), fitted.matrix().element(1, 1));
        EXPECT_EQ(fitted.matrix().element(0, 1), -fitted.matrix().element(1, 0));
    }
}

TEST(FitGridToPoint, PositionsAtOnePlaceDetermineNothing) {
    const Positions map = {{1, 1}, {1, 1}, {1, 1}};
    EXPECT_THROW(fitGridToPoint(images(map), map, true), rxLSPointToPointFitter::Errors);
}

}  // namespace
