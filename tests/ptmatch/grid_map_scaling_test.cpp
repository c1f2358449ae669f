#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "grid_points.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/ptgdmap/distance_bands.h"
#include "ptmatch/ptgdmap/map_setup.h"
#include "ptmatch/ptgdmap/neighbour_links.h"
#include "ptmatch/ptgdmap/point_buckets.h"
#include "support/allocation_meter.h"

// What a mapping costs, counted and not timed: bytes taken from the heap, and points and boxes
// looked at while linking, which is the one stage that compares points with points. The others go
// over points, links and buckets once each.

namespace {

using ptmatch::testing::AllocationMeter;
using ptmatch::testing::gridPoints;
using ptmatch::testing::Randomness;
using ptmatch::testing::uprightGrid;
using Params = rxPtToGridMapRunParams;
using Result = rxPtToGridMapResult;
using Points = std::vector<rxVector<2>>;

// A build without optimisation takes ten times as long; it has to do with fewer points.
#ifdef NDEBUG
constexpr long kSide = 1000;
#else
constexpr long kSide = 250;
#endif
constexpr long kMany = kSide * kSide;

// Nodes with their links 88, map 16, and for a time either 32 to sort them into buckets, or the
// buckets (16), their order (8), and 64 to sort that.
constexpr double kBytesPerPoint = 320;

Params square() {
    return Params(rxVector<2>(10, 0), rxVector<2>(0, 10));
}

struct Measured {
    long count;
    double bytesPerPoint;
    double largestPerPoint;
};

Measured measured(const Points& points, const Params& params, Result& result) {
    const AllocationMeter meter;
    const long count = rfPtToGridMap(points, params, result);
    const auto n = static_cast<double>(points.size());
    return {count, static_cast<double>(meter.total()) / n,
            static_cast<double>(meter.largest()) / n};
}

TEST(GridMapScaling, ManyPointsOnAGridTakeMemoryInProportion) {
    Result result;
    const Measured few =
        measured(gridPoints(kSide / 4, kSide / 4, uprightGrid(10, 10)), square(), result);
    const Measured many = measured(gridPoints(kSide, kSide, uprightGrid(10, 10)), square(), result);
    EXPECT_EQ(many.count, kMany);
    EXPECT_LE(many.bytesPerPoint, kBytesPerPoint);
    EXPECT_LE(many.largestPerPoint, 96);
    EXPECT_LE(many.bytesPerPoint, 1.1 * few.bytesPerPoint);
    for (long k = 0; k < kMany; k += 997) {
        EXPECT_EQ(result.map()[static_cast<std::size_t>(k)] - result.map()[0],
                  rxPair<long>(k % kSide, k / kSide));
    }
}

TEST(GridMapScaling, ShuffledPointsWithNoiseTakeNoMore) {
    Randomness random(1);
    Points points = gridPoints(kSide, kSide, uprightGrid(10, 10));
    for (rxVector<2>& p : points) p = p + random.within(1);
    random.shuffle(points);
    Result result;
    const Measured cost = measured(points, square(), result);
    EXPECT_EQ(cost.count, kMany);
    EXPECT_LE(cost.bytesPerPoint, kBytesPerPoint);
}

TEST(GridMapScaling, ChainOfManyPointsIsMappedWhole) {
    Points points = gridPoints(kMany, 1, uprightGrid(10, 10));
    Result result;
    const Measured forwards = measured(points, Params(rxVector<2>(10, 0)), result);
    EXPECT_EQ(forwards.count, kMany);
    EXPECT_LE(forwards.bytesPerPoint, kBytesPerPoint);
    EXPECT_EQ(result.map().back() - result.map().front(), rxPair<long>(kMany - 1, 0));
    std::reverse(points.begin(), points.end());
    EXPECT_EQ(rfPtToGridMap(points, square(), result), kMany);
    EXPECT_EQ(result.map().front() - result.map().back(), rxPair<long>(kMany - 1, 0));
}

/// A billion steps away. Half a step beside the lattice, so that they belong to no node.
const Points kFarFlung = {{1e10 + 5, 5}, {5, 1e10 + 5}, {1e10 + 5, 1e10 + 5}, {1.5e10 + 5, 1e10}};

TEST(GridMapScaling, FarFlungPointsCostNothingAndChangeNothing) {
    const Points near = gridPoints(40, 40, uprightGrid(10, 10));
    Points all = near;
    all.insert(all.end(), kFarFlung.begin(), kFarFlung.end());
    Result alone;
    const Measured costAlone = measured(near, square(), alone);
    Result together;
    const Measured costTogether = measured(all, square(), together);
    EXPECT_EQ(costTogether.count, costAlone.count);
    EXPECT_LE(costTogether.bytesPerPoint, 1.02 * costAlone.bytesPerPoint);
    EXPECT_EQ(together.grid2point(), alone.grid2point());
    for (std::size_t k = 0; k < near.size(); ++k) EXPECT_EQ(together.map()[k], alone.map()[k]);
    for (std::size_t k = near.size(); k < all.size(); ++k) {
        EXPECT_EQ(together.map()[k].x(), Result::kUnassigned);
    }
}

TEST(GridMapScaling, PointsFlungFarToTheLowerSideOnlyMoveTheOrigin) {
    // The cells count from the lower corner, so their limits shift by less than a cell.
    const Points near = gridPoints(40, 40, uprightGrid(10, 10));
    Points all = near;
    for (const rxVector<2>& p : kFarFlung) all.emplace_back(-p.x(), -p.y());
    Result alone;
    const Measured costAlone = measured(near, square(), alone);
    Result together;
    const Measured costTogether = measured(all, square(), together);
    EXPECT_EQ(costTogether.count, costAlone.count);
    EXPECT_LE(costTogether.bytesPerPoint, 1.02 * costAlone.bytesPerPoint);
    for (std::size_t k = 0; k < near.size(); ++k) {
        EXPECT_EQ(together.map()[k] - together.map()[0], alone.map()[k] - alone.map()[0]);
    }
}

TEST(GridMapScaling, PointsBeyondAllCellsOnTheUpperSideChangeNothing) {
    const Points near = gridPoints(40, 40, uprightGrid(10, 10));
    Points all = near;
    for (const double far : {3e10, 1e15, 1e100, 1e308}) {
        all.emplace_back(far, 5);
        all.emplace_back(5, far);
        all.emplace_back(far, far);
    }
    Result alone;
    rfPtToGridMap(near, square(), alone);
    Result together;
    EXPECT_EQ(rfPtToGridMap(all, square(), together), 1600);
    EXPECT_EQ(together.grid2point(), alone.grid2point());
}

TEST(GridMapScaling, PointsAtBothEndsOfTheNumbersAreBearable) {
    // Seen from the lowest point, all others lie in the last cell, where neighbours on the grid are
    // not told apart any more.
    constexpr double kLargest = std::numeric_limits<double>::max();
    Points points = gridPoints(20, 20, uprightGrid(10, 10));
    for (const double x : {-kLargest, -1e100, 1e100, kLargest}) {
        for (const double y : {-kLargest, 0.0, kLargest}) points.emplace_back(x, y);
    }
    Result result;
    const Measured cost = measured(points, square(), result);
    EXPECT_LE(cost.bytesPerPoint, kBytesPerPoint);
    EXPECT_EQ(cost.count, 0);
    EXPECT_FALSE(result.valid());
}

TEST(GridMapScaling, RingsAroundAFarSeedAreNotWalkedCellByCell) {
    // Two clusters a billion steps apart, and the larger one is the seed's.
    Points points = gridPoints(6, 6, uprightGrid(10, 10));
    const Points far = gridPoints(9, 9, uprightGrid(10, 10, rxVector<2>(1e10, 1e10)));
    points.insert(points.end(), far.begin(), far.end());
    Result result;
    EXPECT_EQ(rfPtToGridMap(points, square(), result), 36 + 81);
    EXPECT_EQ(result.map()[36] - result.map()[0], rxPair<long>(1000000000, 1000000000));
}

double linkingWork(const Points& points, const Params& params) {
    const ptmatch::detail::MapSetup setup =
        ptmatch::detail::mapSetup(params).value_or(ptmatch::detail::MapSetup());
    ptmatch::detail::PointBuckets buckets(points, setup.cellSize);
    const ptmatch::detail::DistanceBands bands(setup.xLength, setup.yLength, setup.sizeTol);
    return static_cast<double>(ptmatch::detail::linkNeighbours(buckets, bands).work) /
           static_cast<double>(points.size());
}

constexpr long kCrowd = 20000;

TEST(GridMapScaling, CrowdInOnePlaceIsLinkedWithAFewLooksEach) {
    Points points(kCrowd, rxVector<2>(5, 5));
    EXPECT_LE(linkingWork(points, square()), 2.0);
    // With neighbours on either side, which see the crowd and are seen by it.
    points.emplace_back(15, 5);
    points.emplace_back(-5, 5);
    EXPECT_LE(linkingWork(points, square()), 10.0);
    Result result;
    const Measured cost = measured(points, square(), result);
    EXPECT_EQ(cost.count, kCrowd + 2);
    EXPECT_LE(cost.bytesPerPoint, kBytesPerPoint);
}

TEST(GridMapScaling, CrowdAllOverACellIsLinkedWithFarFewerLooksThanPairs) {
    Randomness random(2);
    Points points;
    for (long k = 0; k < kCrowd; ++k) points.push_back(random.within(5));
    EXPECT_LE(linkingWork(points, square()), 0.02 * kCrowd);
    Params exact = square();
    exact.sizeTol(rxRange(1, 1));
    EXPECT_LE(linkingWork(points, exact), 0.06 * kCrowd);
}

TEST(GridMapScaling, CrowdsWithFullTolerancesAreLinkedAtOnce) {
    Randomness random(3);
    Points points;
    for (long k = 0; k < kCrowd; ++k) points.push_back(random.within(40));
    Params full = square();
    full.sizeTol(rxRange::FullRange());
    EXPECT_LE(linkingWork(points, full), 200.0);
}

TEST(GridMapScaling, StepHundredTimesTheOtherIsLinkedInProportion) {
    // A cell as wide as the longer step holds a hundred points.
    const Params params(rxVector<2>(1, 0), rxVector<2>(0, 100));
    const auto plate = [](long columns) {
        Randomness random(4);
        Points points = gridPoints(columns, 10, uprightGrid(1, 100));
        for (rxVector<2>& p : points) p = p + random.within(0.05);
        random.shuffle(points);
        return points;
    };
    const double few = linkingWork(plate(kCrowd / 40), params);
    const double many = linkingWork(plate(kCrowd / 10), params);
    EXPECT_LE(many, 200.0);
    EXPECT_LE(many, 1.2 * few);
    Result result;
    EXPECT_EQ(rfPtToGridMap(plate(kCrowd / 10), params, result), kCrowd);
}

}  // namespace
