#include "ptmatch/grid_placement.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "support/pattern_pictures.h"

namespace {

using ptmatch::detail::coverageOf;
using ptmatch::detail::GridPlacement;
using ptmatch::detail::meanSquaredGridError;
using ptmatch::testing::imageOf;
using Pair = rxPair<long>;
using Points = std::vector<rxVector<2>>;

struct Put {
    Pair position;
    rxVector<2> point;
};

GridPlacement placed(const std::vector<Put>& puts) {
    GridPlacement placement(rxPelBuffer<unsigned char>(20, 20, 32));
    long index = 0;
    for (const Put& put : puts) placement.put(put.position, index++, put.point);
    return placement;
}

rxXform<2> fitted(const std::vector<Put>& puts, int dof) {
    rxLSPointToPointFitter fitter;
    for (const Put& put : puts) fitter.update(put.point, put.position);
    return fitter.fit(dof);
}

TEST(GridPlacement, BeginsAsAnEmptyMapOfThePattern) {
    const GridPlacement placement(imageOf({"#.#", "..#"}, rxXform<2>(), Pair(7, -4)));
    EXPECT_EQ(placement.map().size(), Pair(3, 2));
    EXPECT_EQ(placement.map().offset(), Pair(7, -4));
    for (long y = -4; y < -2; ++y) {
        for (long x = 7; x < 10; ++x) EXPECT_EQ(placement.map().get(x, y), -1);
    }
    EXPECT_EQ(placement.numCovered(), 0);
    EXPECT_EQ(coverageOf(placement, 3), 0.0);
}

TEST(GridPlacement, PositionsCountTheOffsetIn) {
    GridPlacement placement(imageOf({"#.#", "..#"}, rxXform<2>(), Pair(7, -4)));
    placement.put(Pair(9, -3), 5, rxVector<2>(1, 2));
    EXPECT_EQ(placement.map().get(9, -3), 5);
    EXPECT_THROW(placement.put(Pair(2, 1), 6, rxVector<2>()), rx_PelBuffer::Errors);
}

TEST(GridPlacement, LaterPointReplacesTheIndexAndCoversNothingNew) {
    const GridPlacement placement =
        placed({{{0, 0}, {0, 0}}, {{1, 0}, {10, 0}}, {{1, 0}, {12, 0}}, {{0, 1}, {0, 10}}});
    EXPECT_EQ(placement.map().get(1, 0), 2);
    EXPECT_EQ(placement.numCovered(), 3);
    EXPECT_EQ(coverageOf(placement, 4), 0.75);
}

TEST(GridPlacement, BothPointsOfAPositionTakePartInTheFit) {
    const std::vector<Put> puts = {
        {{0, 0}, {0, 0}}, {{1, 0}, {10, 0}}, {{1, 0}, {12, 0}}, {{0, 1}, {0, 10}}};
    EXPECT_EQ(placed(puts).dataFromGrid(), fitted(puts, 6));
    const rxVector<2> mean = placed(puts).dataFromGrid() * rxVector<2>(1, 0);
    EXPECT_NEAR(mean.x(), 11.0, 1e-14);
}

TEST(GridPlacement, OneRowIsFittedWithASimilarity) {
    const std::vector<Put> row = {{{0, 3}, {1, 2}}, {{1, 3}, {11, 3}}, {{7, 3}, {70, 0}}};
    EXPECT_EQ(placed(row).dataFromGrid(), fitted(row, 4));
}

TEST(GridPlacement, AnythingElseIsFittedWithAnAffineTransform) {
    const std::vector<Put> corner = {{{0, 3}, {1, 2}}, {{1, 3}, {11, 3}}, {{1, 4}, {15, 20}}};
    EXPECT_EQ(placed(corner).dataFromGrid(), fitted(corner, 6));
    EXPECT_NE(fitted(corner, 6), fitted(corner, 4));
}

TEST(GridPlacement, PositionLessThanAQuarterStepOffTheLineKeepsTheSimilarity) {
    // 1 / sqrt(17) = 0.243 of a step from the line of the first two; 1 / sqrt(13) = 0.277.
    const std::vector<Put> nearly = {{{4, 0}, {40, 0}}, {{0, 1}, {0, 10}}, {{1, 1}, {11, 13}}};
    EXPECT_EQ(placed(nearly).dataFromGrid(), fitted(nearly, 4));
    const std::vector<Put> off = {{{3, 0}, {30, 0}}, {{0, 2}, {0, 20}}, {{1, 1}, {11, 13}}};
    EXPECT_EQ(placed(off).dataFromGrid(), fitted(off, 6));
    EXPECT_NE(fitted(off, 6), fitted(off, 4));
    EXPECT_NE(fitted(nearly, 6), fitted(nearly, 4));
}

TEST(GridPlacement, PointsThatDetermineNoTransformLeaveTheIdentity) {
    EXPECT_EQ(placed({}).dataFromGrid(), rxXform<2>());
    EXPECT_EQ(placed({{{3, 4}, {50, 60}}}).dataFromGrid(), rxXform<2>());
    EXPECT_EQ(placed({{{3, 4}, {50, 60}}, {{3, 4}, {51, 60}}}).dataFromGrid(), rxXform<2>());
    EXPECT_EQ(placed({{{3, 4}, {50, 60}}, {{4, 4}, {50, 60}}}).dataFromGrid(), rxXform<2>());
}

TEST(GridPlacement, SingularTransformThatThePointsDetermineIsTheirs) {
    const rxVector<2> p(50, 60);
    const rxXform<2> fit = placed({{{3, 4}, p}, {{4, 4}, p}, {{3, 5}, p}}).dataFromGrid();
    EXPECT_TRUE(fit.isSingular());
    EXPECT_LT((fit * rxVector<2>(7, 7) - p).len(), 1e-12);
}

TEST(GridPlacement, ErrorIsTheMeanSquaredDistanceFromPositionsWithTheirOffset) {
    rxPelBuffer<long> map(2, 2, 32);
    map.offset(Pair(10, 20));
    map.put(10, 20, 1);
    map.put(11, 20, -1);
    map.put(10, 21, -1);
    map.put(11, 21, 0);
    const Points data = {{11 + 3, 21 + 4}, {10, 20 - 1}, {1e9, 1e9}};
    EXPECT_EQ(meanSquaredGridError(map, data, rxXform<2>()), (1.0 + 25.0) / 2);
    // Model coordinates are compared with positions whatever the transform between the two.
    const rxXform<2> twice(rxMatrix<2>(2, 0, 0, 2), rxVector<2>(1, 0));
    const double first = (21.0 - 10.0) * (21.0 - 10.0) + (38.0 - 20.0) * (38.0 - 20.0);
    const double second = (29.0 - 11.0) * (29.0 - 11.0) + (50.0 - 21.0) * (50.0 - 21.0);
    EXPECT_EQ(meanSquaredGridError(map, data, twice), (first + second) / 2);
}

TEST(GridPlacement, ErrorOfAnEmptyMapIsZero) {
    rxPelBuffer<long> map(1, 1, 32);
    map.put(0, 0, -1);
    EXPECT_EQ(meanSquaredGridError(map, Points{}, rxXform<2>()), 0.0);
}

TEST(GridPlacement, ErrorBeyondTheRangeOfDoubleIsInfiniteAndNotANumber) {
    rxPelBuffer<long> map(1, 1, 32);
    map.put(0, 0, 0);
    const rxXform<2> huge(rxMatrix<2>(1e300, -1e300, 0, 1), rxVector<2>());
    EXPECT_EQ(meanSquaredGridError(map, Points{{1e200, 1e200}}, huge),
              std::numeric_limits<double>::infinity());
}

}  // namespace
