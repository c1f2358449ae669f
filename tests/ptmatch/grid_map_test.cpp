#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "grid_points.h"
#include "ptmatch/ptgdmap.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

namespace {

using ptmatch::testing::degreeRange;
using ptmatch::testing::gridPoints;
using ptmatch::testing::moved;
using ptmatch::testing::Randomness;
using ptmatch::testing::turnBy;
using ptmatch::testing::uprightGrid;
using Params = rxPtToGridMapRunParams;
using Result = rxPtToGridMapResult;
using Points = std::vector<rxVector<2>>;
using Positions = std::vector<rxPair<long>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const rxVector<2> kNull;
const rxPair<long> kNoPosition(2147483647, 2147483647);

Params square() {
    return Params(rxVector<2>(10, 0), rxVector<2>(0, 10));
}

/// A result with something in every field but the time.
Result earlier() {
    Result result;
    EXPECT_EQ(rfPtToGridMap(gridPoints(2, 2, uprightGrid(3, 3, rxVector<2>(1, 1))),
                            Params(rxVector<2>(3, 0), rxVector<2>(0, 3)), result),
              4);
    return result;
}

/// That nothing was mapped: map and transform are those of before, the time is new.
void expectNothingMapped(const Points& points, const Params& params) {
    const Result before = earlier();
    // A time that no mapping takes, so that the new one can be told.
    ptmatch::testing::ByteVector bytes = ptmatch::testing::stored(before);
    const ptmatch::testing::ByteVector never = ptmatch::testing::stored(-1.0);
    std::copy(never.begin(), never.end(), bytes.begin() + 5);
    Result result = ptmatch::testing::loaded<Result>(bytes);
    ASSERT_EQ(result.time(), -1.0);
    ASSERT_TRUE(result.valid());

    EXPECT_EQ(rfPtToGridMap(points, params, result), 0);
    EXPECT_FALSE(result.valid());
    EXPECT_GE(result.time(), 0.0);
    EXPECT_EQ(result.map(), before.map());
    EXPECT_EQ(result.grid2point(), before.grid2point());
}

/// Point by point the position that it was made from, up to one shift.
void expectPositions(const Result& result, const Positions& expected) {
    ASSERT_EQ(result.map().size(), expected.size());
    const rxPair<long> shift = result.map()[0] - expected[0];
    for (std::size_t k = 0; k < expected.size(); ++k) {
        EXPECT_EQ(result.map()[k] - shift, expected[k]) << "point " << k;
    }
}

Positions gridPositions(long columns, long rows) {
    Positions positions;
    for (long j = 0; j < rows; ++j) {
        for (long i = 0; i < columns; ++i) positions.emplace_back(i, j);
    }
    return positions;
}

void expectTransformFits(const Result& result, const Points& points, double within) {
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (result.map()[k] == kNoPosition) continue;
        const rxVector<2> miss = result.grid2point() * rxVector<2>(result.map()[k]) - points[k];
        EXPECT_LE(miss.len(), within) << "point " << k;
    }
}

TEST(GridMap, PointsOnAGridReceiveTheirPositions) {
    const Points points = gridPoints(8, 6, uprightGrid(10, 12, rxVector<2>(100, 50)));
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, Params(rxVector<2>(10, 0), rxVector<2>(0, 12)), result), 48);
    EXPECT_TRUE(result.valid());
    EXPECT_GT(result.time(), 0.0);
    expectPositions(result, gridPositions(8, 6));
    expectTransformFits(result, points, 1e-11);
}

TEST(GridMap, OrderOfThePointsDoesNotMatterForRelativePositions) {
    Randomness random(4);
    Points points = gridPoints(7, 7, uprightGrid(10, 10));
    random.shuffle(points);
    Positions expected;
    for (const rxVector<2>& p : points) {
        expected.emplace_back(std::lround(p.x() / 10), std::lround(p.y() / 10));
    }
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, square(), result), 49);
    expectPositions(result, expected);
}

TEST(GridMap, ClutterAndGapsLeaveTheOthersTheirPositions) {
    Points points = gridPoints(10, 10, uprightGrid(10, 10));
    Positions expected = gridPositions(10, 10);
    for (const std::size_t gone : {77U, 54U, 45U, 44U, 23U, 11U}) {
        points.erase(points.begin() + static_cast<std::ptrdiff_t>(gone));
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(gone));
    }
    const std::size_t numOnGrid = points.size();
    for (const rxVector<2>& stray :
         {rxVector<2>(34, 35), rxVector<2>(66, 25), rxVector<2>(4, 83)}) {
        points.push_back(stray);
    }
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, square(), result), static_cast<long>(numOnGrid));
    for (std::size_t k = numOnGrid; k < points.size(); ++k) EXPECT_EQ(result.map()[k], kNoPosition);
    for (std::size_t k = 0; k < numOnGrid; ++k) {
        EXPECT_EQ(result.map()[k] - result.map()[0], expected[k] - expected[0]);
    }
}

TEST(GridMap, EmptyListMapsNothing) {
    expectNothingMapped({}, square());
    expectNothingMapped({}, Params());
}

TEST(GridMap, PointsWithoutNeighboursMapNothing) {
    expectNothingMapped({{0, 0}}, square());
    expectNothingMapped({{0, 0}, {5, 0}, {0, 25}, {50, 50}}, square());
    expectNothingMapped(Points(100, rxVector<2>(3, 3)), square());
}

TEST(GridMap, NeighboursOffTheAxesMapNothing) {
    expectNothingMapped({{0, 0}, {7, 7}, {14, 14}}, square());
}

TEST(GridMap, StepsThatSpanNoGridMapNothing) {
    const Points points = gridPoints(4, 4, uprightGrid(10, 10));
    expectNothingMapped(points, Params());
    expectNothingMapped(points, Params(kNull, kNull, true));
    expectNothingMapped(points, Params(rxVector<2>(10, 0), rxVector<2>(20, 0)));
    expectNothingMapped(points, Params(rxVector<2>(10, 10), rxVector<2>(-10, -10)));
    expectNothingMapped(points, Params(rxVector<2>(10, 0), kNull, true));
    expectNothingMapped(points, Params(kNull, rxVector<2>(0, 10), true));
    expectNothingMapped(points, Params(rxVector<2>(10, 0), rxVector<2>(10, 0), true));
    expectNothingMapped(points, Params(rxVector<2>(10, 0), rxVector<2>(-10, 0), true));
}

TEST(GridMap, TolerancesThatHoldNothingMapNothing) {
    const Points points = gridPoints(4, 4, uprightGrid(10, 10));
    Params params = square();
    params.angleTol(degreeRange(10, -10));
    expectNothingMapped(points, params);
    params = square();
    params.sizeTol(rxRange(1.2, 0.8));
    expectNothingMapped(points, params);
}

TEST(GridMap, BadArgumentsThrowAndLeaveTheResult) {
    const Points points = gridPoints(4, 4, uprightGrid(10, 10));
    const auto expectRefused = [&](const Points& given, const Params& params) {
        const Result before = earlier();
        Result result = before;
        EXPECT_THROW(rfPtToGridMap(given, params, result), rxPointMatcherDefs::BadParams);
        EXPECT_EQ(result.valid(), before.valid());
        EXPECT_EQ(result.time(), before.time());
        EXPECT_EQ(result.map(), before.map());
        EXPECT_EQ(result.grid2point(), before.grid2point());
    };
    Points bad = points;
    bad[7] = rxVector<2>(kNaN, 0);
    expectRefused(bad, square());
    bad[7] = rxVector<2>(0, -kInfinity);
    expectRefused(bad, square());
    expectRefused(points, Params(rxVector<2>(kNaN, 0), rxVector<2>(0, 10)));
    expectRefused(points, Params(rxVector<2>(10, 0), rxVector<2>(0, kInfinity)));
    expectRefused(points, Params(rxVector<2>(1e-151, 0), rxVector<2>(0, 10)));
    expectRefused(points, Params(rxVector<2>(10, 0), rxVector<2>(0, 1e151)));
    Params params = square();
    params.snapSize(kNaN);
    expectRefused(points, params);
    params = square();
    params.sizeTol(rxRange(kNaN, 1));
    expectRefused(points, params);
    params = square();
    params.angleTol(degreeRange(0, kNaN));
    expectRefused(points, params);
    params.angleTol(degreeRange(0, 2e6));
    expectRefused(points, params);
    // Also where there is nothing to do.
    expectRefused({}, params);
}

TEST(GridMap, StaggeredPointsReceivePositionsWithAnEvenSum) {
    Points points;
    Positions expected;
    for (long j = 0; j < 9; ++j) {
        for (long i = j % 2; i < 11; i += 2) {
            points.emplace_back(5 + 10.0 * static_cast<double>(i), 12.0 * static_cast<double>(j));
            expected.emplace_back(i, j);
        }
    }
    Result result;
    const Params params(rxVector<2>(10, 0), rxVector<2>(0, 12), true);
    EXPECT_EQ(rfPtToGridMap(points, params, result), static_cast<long>(points.size()));
    EXPECT_TRUE(result.valid());
    for (const rxPair<long>& p : result.map()) EXPECT_EQ((p.x() + p.y()) % 2, 0);
    expectPositions(result, expected);
    expectTransformFits(result, points, 1e-11);
}

TEST(GridMap, StaggeredMapThatIsNotValidKeepsDiagonalPositions) {
    // One diagonal step apart: positions (0, 0) and (1, 0) along the diagonals.
    Result result;
    const Params params(rxVector<2>(10, 0), rxVector<2>(0, 10), true);
    EXPECT_EQ(rfPtToGridMap({{0, 0}, {10, 10}}, params, result), 2);
    EXPECT_FALSE(result.valid());
    EXPECT_THAT(result.map(), ::testing::ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 0)));
}

TEST(GridMap, OneOrTwoPointsAreMappedButNotValid) {
    const Result before = earlier();
    Result result = before;
    EXPECT_EQ(rfPtToGridMap({{0, 0}, {10, 0}}, square(), result), 2);
    EXPECT_FALSE(result.valid());
    EXPECT_THAT(result.map(), ::testing::ElementsAre(rxPair<long>(0, 0), rxPair<long>(1, 0)));
    EXPECT_EQ(result.grid2point(), before.grid2point());

    Params tight = square();
    tight.snapSize(0.1);
    EXPECT_EQ(rfPtToGridMap({{0, 0}, {10.5, 0}}, tight, result), 1);
    EXPECT_FALSE(result.valid());
    EXPECT_THAT(result.map(), ::testing::ElementsAre(rxPair<long>(0, 0), kNoPosition));
}

TEST(GridMap, GridTurnedByTenDegreesIsFound) {
    for (const double degrees : {10.0, -10.0, 0.4, -17.3, 16.8}) {
        SCOPED_TRACE(degrees);
        const Points points =
            moved(turnBy(degrees, rxVector<2>(30, -70)), gridPoints(9, 9, uprightGrid(10, 12)));
        Params params(rxVector<2>(10, 0), rxVector<2>(0, 12));
        params.angleTol(degreeRange(-20, 20));
        Result result;
        EXPECT_EQ(rfPtToGridMap(points, params, result), 81);
        expectPositions(result, gridPositions(9, 9));
        EXPECT_NEAR(rxDegree(result.grid2point().rotation()).toDouble(), degrees, 1e-9);
    }
}

TEST(GridMap, GridTurnedOutOfTheToleranceIsNotFound) {
    const Points points = moved(turnBy(40), gridPoints(9, 9, uprightGrid(10, 10)));
    expectNothingMapped(points, square());
}

TEST(GridMap, FullAngleRangeFindsAnyRotationUpToTheGridsOwn) {
    for (const double degrees : {-170.0, -100.0, 44.0, 137.0, 179.0}) {
        SCOPED_TRACE(degrees);
        const Points points = moved(turnBy(degrees), gridPoints(8, 8, uprightGrid(10, 10)));
        Params params = square();
        params.angleTol(rxAngleRange::FullRange());
        Result result;
        EXPECT_EQ(rfPtToGridMap(points, params, result), 64);
        expectTransformFits(result, points, 1e-11);
    }
}

TEST(GridMap, NarrowAngleRangeIsWidenedSoThatItsRotationIsFound) {
    const Points points = moved(turnBy(5), gridPoints(8, 8, uprightGrid(10, 10)));
    Params params = square();
    params.angleTol(degreeRange(5, 5));
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, params, result), 64);
    expectPositions(result, gridPositions(8, 8));
}

TEST(GridMap, FullSizeRangeAcceptsEveryDistance) {
    // Every point is the first neighbour of itself; what matters is that the map comes out whole
    // from the few links that lead elsewhere.
    Params params = square();
    params.sizeTol(rxRange::FullRange());
    Result result;
    EXPECT_EQ(rfPtToGridMap(gridPoints(5, 5, uprightGrid(10, 10)), params, result), 25);
    expectPositions(result, gridPositions(5, 5));
}

TEST(GridMap, ExactSizeRangeNeedsExactDistances) {
    Params params = square();
    params.sizeTol(rxRange(1, 1));
    Result result;
    EXPECT_EQ(rfPtToGridMap(gridPoints(5, 5, uprightGrid(10, 10)), params, result), 25);
    expectNothingMapped(gridPoints(5, 5, uprightGrid(10.001, 10.001)), params);
}

TEST(GridMap, OneStepMapsARow) {
    Points points = gridPoints(9, 1, uprightGrid(10, 10, rxVector<2>(-40, 7)));
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, Params(rxVector<2>(10, 0)), result), 9);
    expectPositions(result, gridPositions(9, 1));
    points = gridPoints(1, 9, uprightGrid(10, 10, rxVector<2>(-40, 7)));
    EXPECT_EQ(rfPtToGridMap(points, Params(kNull, rxVector<2>(0, 10)), result), 9);
    expectPositions(result, gridPositions(1, 9));
}

TEST(GridMap, SingleRowIsFittedWithASimilarityAlthoughBothStepsAreGiven) {
    Randomness random(8);
    Points points = gridPoints(9, 1, uprightGrid(10, 10));
    for (rxVector<2>& p : points) p = p + random.within(0.5);
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, Params(rxVector<2>(10, 0), rxVector<2>(0, 13)), result), 9);
    EXPECT_TRUE(result.valid());
    const rxMatrix<2>& m = result.grid2point().matrix();
    EXPECT_EQ(m.element(0, 0), m.element(1, 1));
    EXPECT_EQ(m.element(0, 1), -m.element(1, 0));
}

TEST(GridMap, TwoPointsAtOneNodeBothReceiveItsPosition) {
    Points points = gridPoints(5, 5, uprightGrid(10, 10));
    points.emplace_back(21, 19);
    points.emplace_back(20, 20);
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, square(), result), 27);
    EXPECT_EQ(result.map()[25], result.map()[12]);
    EXPECT_EQ(result.map()[26], result.map()[12]);
}

TEST(GridMap, StepsThatPointBackwardsFindNothing) {
    // Only the positive directions of the axes lead on, and here they lead to points that the walk
    // has visited: it goes through the points from small coordinates to large ones.
    expectNothingMapped(gridPoints(5, 5, uprightGrid(10, 10)),
                        Params(rxVector<2>(-10, 0), rxVector<2>(0, -10)));
}

TEST(GridMap, LargeOffsetsAreBearable) {
    const rxVector<2> origin(1e9, -1e9);
    const Points points = gridPoints(12, 12, uprightGrid(10, 10, origin));
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, square(), result), 144);
    expectPositions(result, gridPositions(12, 12));
    expectTransformFits(result, points, 1e-5);
}

TEST(GridMap, TinyAndHugeGridsAreMappedLikeOthers) {
    for (const double scale : {1e-140, 1e-12, 1e12, 1e140}) {
        SCOPED_TRACE(scale);
        const Points points = gridPoints(6, 6, uprightGrid(10 * scale, 12 * scale));
        Result result;
        EXPECT_EQ(
            rfPtToGridMap(points, Params(rxVector<2>(10 * scale, 0), rxVector<2>(0, 12 * scale)),
                          result),
            36);
        expectPositions(result, gridPositions(6, 6));
    }
}

TEST(GridMap, FitThatFailsStoresTheTimeAndLeavesMapAndTransform) {
    // Three points in one place, and a neighbour that leads to the seed but misses its own node.
    const Points points = {{0, 0}, {0, 0}, {0, 0}, {11, 0}};
    Params params = square();
    params.snapSize(0.5);
    const Result before = earlier();
    ptmatch::testing::ByteVector bytes = ptmatch::testing::stored(before);
    const ptmatch::testing::ByteVector never = ptmatch::testing::stored(-1.0);
    std::copy(never.begin(), never.end(), bytes.begin() + 5);
    Result result = ptmatch::testing::loaded<Result>(bytes);
    EXPECT_THROW(rfPtToGridMap(points, params, result), rxLSPointToPointFitter::Errors);
    EXPECT_GE(result.time(), 0.0);
    EXPECT_FALSE(result.valid());
    EXPECT_EQ(result.map(), before.map());
    EXPECT_EQ(result.grid2point(), before.grid2point());
}

TEST(GridMap, PointsTooFarOutForTheirStepsThrow) {
    // Neighbours whose distance still shows, but whose steps no longer make a grid.
    const double far = 0x1p57;  // doubles here are 32 apart
    const Points points = {{far, far}, {far + 32, far}, {far + 64, far}};
    Result result;
    const Params params(rxVector<2>(30, 0), rxVector<2>(0, 15));
    EXPECT_THROW(rfPtToGridMap(points, params, result), rxMathError);
    EXPECT_FALSE(result.valid());
    EXPECT_TRUE(result.map().empty());
}

TEST(GridMap, LackOfMemoryLeavesMapAndTransform) {
    const Points points = gridPoints(6, 6, uprightGrid(10, 10));
    const Result before = earlier();
    Result result = before;
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] { rfPtToGridMap(points, square(), result); },
        [&] {
            EXPECT_FALSE(result.valid());
            EXPECT_EQ(result.map(), before.map());
            EXPECT_EQ(result.grid2point(), before.grid2point());
        });
    EXPECT_GT(failures, 5U);
    EXPECT_TRUE(result.valid());
    EXPECT_EQ(result.map().size(), 36U);
}

TEST(GridMap, EqualCallsGiveEqualBits) {
    Randomness random(9);
    Points points = gridPoints(15, 15, uprightGrid(10, 10));
    for (rxVector<2>& p : points) p = p + random.within(1);
    Result first;
    Result second = earlier();
    rfPtToGridMap(points, square(), first);
    rfPtToGridMap(points, square(), second);
    EXPECT_EQ(first.map(), second.map());
    EXPECT_EQ(first.grid2point(), second.grid2point());
}

}  // namespace
