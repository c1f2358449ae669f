#include "ptmatch/ptgdmap/neighbour_links.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <utility>
#include <vector>

#include "grid_points.h"
#include "ptmatch/ptgdmap/map_setup.h"
#include "support/assertion_recorder.h"

namespace {

using ptmatch::detail::Bucket;
using ptmatch::detail::directionDeg;
using ptmatch::detail::DirectionHistogram;
using ptmatch::detail::DistanceBands;
using ptmatch::detail::histogramBin;
using ptmatch::detail::LinkedDirections;
using ptmatch::detail::linkNeighbours;
using ptmatch::detail::NeighbourLink;
using ptmatch::detail::PointBuckets;
using ptmatch::detail::PointNode;
using ptmatch::detail::squaredLength;
using ptmatch::testing::gridPoints;
using ptmatch::testing::Randomness;
using ptmatch::testing::uprightGrid;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Points = std::vector<rxVector<2>>;

const DistanceBands kUsual(10, 10, rxRange(0.8, 1.2));

/// For each point, by its index in the input, those that it is linked to.
using LinkTable = std::vector<std::vector<std::int32_t>>;

LinkTable linksOf(const PointBuckets& points) {
    LinkTable table(points.nodes().size());
    for (const PointNode& node : points.nodes()) {
        for (const NeighbourLink& link : node.ownLinks()) {
            table[static_cast<std::size_t>(node.index)].push_back(
                points.nodes()[static_cast<std::size_t>(link.neighbour)].index);
        }
    }
    return table;
}

struct Linked {
    LinkTable links;
    DirectionHistogram histogram;
};

Linked linked(const Points& input, const DistanceBands& bands = kUsual, double cellSize = 10) {
    PointBuckets points(input, cellSize);
    const LinkedDirections directions = linkNeighbours(points, bands);
    return {linksOf(points), directions.histogram};
}

std::int32_t sumOf(const DirectionHistogram& histogram) {
    return std::accumulate(histogram.begin(), histogram.end(), 0);
}

TEST(NeighbourLinks, PointInsideAGridIsLinkedToItsFourNeighboursInTheOrderOfTheSearch) {
    // 0 1 2
    // 3 4 5
    // 6 7 8   with y counted upwards from the first row
    const Linked result = linked(gridPoints(3, 3, uprightGrid(10, 10)));
    EXPECT_THAT(result.links[4], ElementsAre(5, 7, 3, 1));  // right, above, left, below
    EXPECT_THAT(result.links[0], ElementsAre(1, 3));
    EXPECT_THAT(result.links[8], ElementsAre(7, 5));
    EXPECT_EQ(result.histogram[0], 6);
    EXPECT_EQ(result.histogram[90], 6);
    EXPECT_EQ(result.histogram[180], 6);
    EXPECT_EQ(result.histogram[270], 6);
    EXPECT_EQ(sumOf(result.histogram), 24);
}

TEST(NeighbourLinks, LinksCarryTheDirectionAndAreNotUsedYet) {
    PointBuckets points(Points{{0, 0}, {-6, 8}}, 10);
    linkNeighbours(points, kUsual);
    const PointNode& right = points.nodes()[0];
    ASSERT_EQ(right.index, 0);
    ASSERT_EQ(right.numLinks, 1);
    EXPECT_EQ(right.links[0].angleDeg, directionDeg(rxVector<2>(-6, 8)));
    EXPECT_EQ(points.nodes()[1].links[0].angleDeg, directionDeg(rxVector<2>(6, -8)));
    EXPECT_FALSE(right.links[0].used);
}

// A cell with a point in its lower left corner and four of its neighbours around the upper right
// one, and a fifth neighbour in the next cell. The first point only holds the cells in place.
const Points kCrowdedCell = {{0, 0},   {15.5, 15.5}, {24, 16},  {24.5, 17},
                             {16, 24}, {17, 24.5},   {25.2, 16}};

TEST(NeighbourLinks, BucketIsLeftAtTheThirdLinkAndAnotherOneGivesTheFourth) {
    const Linked result = linked(kCrowdedCell);
    // The list of a cell starts at its latest point: 5, 4, 3, 2, 1. Number 2 is not reached.
    EXPECT_THAT(result.links[1], ElementsAre(5, 4, 3, 6));
}

TEST(NeighbourLinks, LinksAreDirected) {
    const Linked result = linked(kCrowdedCell);
    EXPECT_THAT(result.links[2], ElementsAre(5, 4, 1));  // to number 1, which has none back
}

TEST(NeighbourLinks, OneBucketAloneGivesNoFourthLink) {
    Points points = kCrowdedCell;
    points.pop_back();
    EXPECT_THAT(linked(points).links[1], ElementsAre(5, 4, 3));
}

TEST(NeighbourLinks, ThirdLinkEndsABucketThatBeganWithTwo) {
    // Cell (2, 2) holds the point and two neighbours, the cell to its right two more.
    const Points points = {{0, 0}, {15.5, 15.5}, {24, 16}, {16, 24}, {25.2, 16}, {25.4, 15.5}};
    EXPECT_THAT(linked(points).links[1], ElementsAre(3, 2, 5));
}

TEST(NeighbourLinks, SearchEndsAtTheFourthLink) {
    // Right two, and then one above and one to the left.
    const Points points = {{0, 0}, {20, 20}, {30, 20}, {29, 20}, {20, 30}, {10, 20}, {20, 10}};
    EXPECT_THAT(linked(points).links[1], ElementsAre(3, 2, 4, 5));
}

TEST(NeighbourLinks, BothStepsHaveABandAndBothBoundsBelongToIt) {
    const DistanceBands bands(10, 20, rxRange(0.5, 1.25));
    const Points points = {{0, 0}, {5, 0}, {0, 12.5}, {0, -25}, {-26, 0}};
    EXPECT_THAT(linked(points, bands, 20).links[0], ElementsAre(1, 2, 3));
}

TEST(NeighbourLinks, PointIsItsOwnNeighbourWhenDistanceZeroIsAccepted) {
    const Linked result = linked({{0, 0}}, DistanceBands(10, 10, rxRange::FullRange()));
    EXPECT_THAT(result.links[0], ElementsAre(0));
    EXPECT_EQ(result.histogram[0], 1);
    EXPECT_THAT(linked({{0, 0}, {0, 0}}).links[0], IsEmpty());
}

TEST(NeighbourLinks, DirectionsBelowZeroRoundToTheirNearestDegree) {
    EXPECT_EQ(histogramBin(0.0), 0U);
    EXPECT_EQ(histogramBin(0.49), 0U);
    EXPECT_EQ(histogramBin(0.5), 1U);
    EXPECT_EQ(histogramBin(359.49), 359U);
    EXPECT_EQ(histogramBin(359.5), 0U);
    EXPECT_EQ(histogramBin(360.0), 0U);
    const Linked result = linked({{0, 0}, {10, -0.01}});
    EXPECT_EQ(result.histogram[0], 1);
    EXPECT_EQ(result.histogram[180], 1);
}

TEST(NeighbourLinks, NothingIsReportedToTheAssertionHook) {
    const ptmatch::testing::AssertionRecorder recorder;
    linked(kCrowdedCell);
    linked(gridPoints(5, 5, uprightGrid(1e-3, 1e-3)), DistanceBands(10, 10, rxRange::FullRange()));
    EXPECT_THAT(recorder.codes(), IsEmpty());
}

#ifndef NDEBUG
TEST(NeighbourLinks, DirectionOutsideTheTurnIsReportedInDebugBuilds) {
    const ptmatch::testing::AssertionRecorder recorder;
    histogramBin(360.2);
    EXPECT_EQ(recorder.codes().size(), 1U);
}
#endif

/// The search as plain as it can be said: each pair of points is looked at.
Linked pairwise(const Points& input, const DistanceBands& bands, double cellSize) {
    constexpr std::array<std::pair<int, int>, 9> kCells = {
        {{0, 0}, {1, 0}, {1, 1}, {1, -1}, {0, 1}, {-1, 0}, {-1, 1}, {-1, -1}, {0, -1}}};
    const PointBuckets points(input, cellSize);
    Linked result{LinkTable(input.size()), {}};
    for (const Bucket& home : points.buckets()) {
        for (std::int32_t p = home.begin; p < home.end; ++p) {
            const PointNode& from = points.nodes()[static_cast<std::size_t>(p)];
            std::vector<std::int32_t>& links = result.links[static_cast<std::size_t>(from.index)];
            for (const auto& [dx, dy] : kCells) {
                if (links.size() >= 4) break;
                for (const Bucket& b : points.buckets()) {
                    if (b.bx != home.bx + dx || b.by != home.by + dy) continue;
                    for (std::int32_t q = b.begin; q < b.end; ++q) {
                        const PointNode& to = points.nodes()[static_cast<std::size_t>(q)];
                        const rxVector<2> way = to.point - from.point;
                        if (!bands.holds(squaredLength(way))) continue;
                        ++result.histogram[histogramBin(directionDeg(way))];
                        links.push_back(to.index);
                        if (links.size() >= 3) break;
                    }
                }
            }
        }
    }
    return result;
}

TEST(NeighbourLinks, AreThoseOfLookingAtEveryPair) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        const long count = 2 + random.below(300);
        const double reach = random.between(5, 40);
        Points points;
        for (long k = 0; k < count; ++k) points.push_back(random.within(reach));
        for (const rxRange& range : {rxRange(0.8, 1.2), rxRange(0.1, 0.3), rxRange::FullRange()}) {
            for (const double yLength : {10.0, 2.0}) {
                const DistanceBands bands(10, yLength, range);
                const Linked plain = pairwise(points, bands, 10);
                const Linked quick = linked(points, bands, 10);
                ASSERT_EQ(quick.links, plain.links);
                ASSERT_EQ(quick.histogram, plain.histogram);
            }
        }
    }
}

TEST(NeighbourLinks, GridCostsNineLooksAPointAtMost) {
    PointBuckets points(gridPoints(100, 100, uprightGrid(10, 10)), 10);
    EXPECT_LE(linkNeighbours(points, kUsual).work, 9 * 10000);
}

}  // namespace
