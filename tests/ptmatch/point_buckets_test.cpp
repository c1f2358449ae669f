#include "ptmatch/ptgdmap/point_buckets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::Bucket;
using ptmatch::detail::BucketSweep;
using ptmatch::detail::PointBuckets;
using ptmatch::detail::PointNode;
using ::testing::ElementsAre;
using Cell = std::tuple<std::int32_t, std::int32_t>;
using Points = std::vector<rxVector<2>>;

std::vector<Cell> cellsOf(const PointBuckets& buckets) {
    std::vector<Cell> cells;
    for (const Bucket& b : buckets.buckets()) cells.emplace_back(b.bx, b.by);
    return cells;
}

std::vector<std::int32_t> inputOrder(const PointBuckets& buckets) {
    std::vector<std::int32_t> indices;
    for (const PointNode& node : buckets.nodes()) indices.push_back(node.index);
    return indices;
}

TEST(PointBuckets, NoPointsMakeNoBuckets) {
    const PointBuckets buckets(Points(), 10);
    EXPECT_TRUE(buckets.buckets().empty());
    EXPECT_TRUE(buckets.nodes().empty());
}

TEST(PointBuckets, CellsAreCentredOnWholeStepsFromTheLowerCorner) {
    const PointBuckets buckets(
        Points{{100, 200}, {104.9, 200}, {105, 200}, {114.9, 200}, {115, 200}}, 10);
    EXPECT_THAT(cellsOf(buckets), ElementsAre(Cell(0, 0), Cell(1, 0), Cell(2, 0)));
    EXPECT_EQ(buckets.buckets()[0].end, 2);
    EXPECT_EQ(buckets.buckets()[1].end, 4);
}

TEST(PointBuckets, StandRowByRowAndKeepOnlyCellsWithPoints) {
    const PointBuckets buckets(Points{{40, 0}, {0, 30}, {10, 0}, {30, 30}, {20, 10}}, 10);
    EXPECT_THAT(cellsOf(buckets),
                ElementsAre(Cell(1, 0), Cell(4, 0), Cell(2, 1), Cell(0, 3), Cell(3, 3)));
    EXPECT_THAT(inputOrder(buckets), ElementsAre(2, 0, 4, 1, 3));
}

TEST(PointBuckets, NodesOfABucketStandInReverseInputOrder) {
    const PointBuckets buckets(Points{{0, 0}, {30, 0}, {1, 1}, {31, 0}, {2, 0}, {0, 0}}, 10);
    EXPECT_THAT(inputOrder(buckets), ElementsAre(5, 4, 2, 0, 3, 1));
    EXPECT_EQ(buckets.nodes()[1].point, rxVector<2>(2, 0));
}

TEST(PointBuckets, NodesStartUnlinkedAndUnvisited) {
    const PointBuckets buckets(Points{{0, 0}, {10, 0}}, 10);
    for (const PointNode& node : buckets.nodes()) {
        EXPECT_EQ(node.numLinks, 0);
        EXPECT_TRUE(node.ownLinks().empty());
        EXPECT_FALSE(node.visited);
    }
}

TEST(PointBuckets, DistancesAreMultipliedByTheReciprocalOfTheCell) {
    // 73.5 / 49 is one and a half, which rounds up; times the reciprocal it is a little less.
    const PointBuckets buckets(Points{{0, 0}, {73.5, 0}}, 49);
    EXPECT_THAT(cellsOf(buckets), ElementsAre(Cell(0, 0), Cell(1, 0)));
}

TEST(PointBuckets, CellsBeyondTheLastAreTheLast) {
    const double reach = 10.0 * PointBuckets::kLastCell;
    const PointBuckets buckets(
        Points{{0, 0}, {reach - 20, 0}, {reach, 0}, {2 * reach, 1e300}, {1.7e308, 1.7e308}}, 10);
    EXPECT_THAT(cellsOf(buckets), ElementsAre(Cell(0, 0), Cell(2147483644, 0), Cell(2147483646, 0),
                                              Cell(2147483646, 2147483646)));
    EXPECT_THAT(inputOrder(buckets), ElementsAre(0, 1, 2, 4, 3));
}

TEST(PointBuckets, ExtentBeyondTheRangeOfDoubleIsBearable) {
    const PointBuckets buckets(Points{{-1.7e308, 0}, {1.7e308, 0}}, 1e-150);
    EXPECT_THAT(cellsOf(buckets), ElementsAre(Cell(0, 0), Cell(2147483646, 0)));
}

TEST(PointBuckets, BucketOfANodeIsTheOneThatHoldsIt) {
    ptmatch::testing::Randomness random(2);
    Points points;
    for (int k = 0; k < 500; ++k) points.push_back(random.within(60));
    const PointBuckets buckets(points, 10);
    for (std::int32_t node = 0; node < 500; ++node) {
        const Bucket& b = buckets.buckets()[static_cast<std::size_t>(buckets.bucketOf(node))];
        EXPECT_LE(b.begin, node);
        EXPECT_LT(node, b.end);
    }
}

std::int32_t findCell(const std::vector<Bucket>& buckets, std::int64_t bx, std::int64_t by) {
    for (std::size_t b = 0; b < buckets.size(); ++b) {
        if (buckets[b].bx == bx && buckets[b].by == by) return static_cast<std::int32_t>(b);
    }
    return -1;
}

void expectSurroundings(const PointBuckets& points) {
    const std::vector<Bucket>& buckets = points.buckets();
    BucketSweep sweep(buckets);
    for (const Bucket& b : buckets) {
        const std::int64_t x = b.bx;
        const std::int64_t y = b.by;
        EXPECT_THAT(sweep.next(),
                    ElementsAre(findCell(buckets, x, y), findCell(buckets, x + 1, y),
                                findCell(buckets, x + 1, y + 1), findCell(buckets, x + 1, y - 1),
                                findCell(buckets, x, y + 1), findCell(buckets, x - 1, y),
                                findCell(buckets, x - 1, y + 1), findCell(buckets, x - 1, y - 1),
                                findCell(buckets, x, y - 1)))
            << "around (" << x << ", " << y << ")";
    }
}

TEST(BucketSweep, FindsTheNineCellsInTheOrderOfTheSearch) {
    expectSurroundings(PointBuckets(
        ptmatch::testing::gridPoints(5, 4, ptmatch::testing::uprightGrid(10, 10)), 10));
}

TEST(BucketSweep, FindsTheCellsThatThereAreInSparseWorlds) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        ptmatch::testing::Randomness random(seed);
        const long count = 2 + random.below(60);
        Points points;
        for (long k = 0; k < count; ++k) points.push_back(random.within(50));
        expectSurroundings(PointBuckets(points, 10));
    }
}

TEST(BucketSweep, HasNoNeighboursAcrossTheEndsOfRows) {
    // The last cell of a row and the first of the next but one row are no neighbours.
    const double last = 10.0 * PointBuckets::kLastCell;
    expectSurroundings(PointBuckets(
        Points{{0, 0}, {last, 0}, {0, 10}, {last, 10}, {last, last}, {0, last}, {last - 10, last}},
        10));
}

}  // namespace
