#include "ptmatch/ptgdmap/band_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <numbers>
#include <vector>

#include "grid_points.h"

namespace {

using ptmatch::detail::BandSearch;
using ptmatch::detail::Bucket;
using ptmatch::detail::DistanceBands;
using ptmatch::detail::FirstNodes;
using ptmatch::detail::PointBuckets;
using ptmatch::detail::squaredLength;
using ptmatch::testing::Randomness;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Points = std::vector<rxVector<2>>;

const DistanceBands kUsual(10, 10, rxRange(0.8, 1.2));

std::vector<std::int32_t> nodesOf(const FirstNodes& found) {
    return {found.nodes().begin(), found.nodes().end()};
}

TEST(FirstNodes, KeepTheSmallestInOrder) {
    FirstNodes found(3);
    EXPECT_TRUE(found.hasRoomFor(1000));
    for (const std::int32_t node : {8, 3, 9, 5, 4, 7}) found.offer(node);
    EXPECT_THAT(nodesOf(found), ElementsAre(3, 4, 5));
    EXPECT_TRUE(found.isFull());
    EXPECT_TRUE(found.hasRoomFor(4));
    EXPECT_FALSE(found.hasRoomFor(5));
}

TEST(FirstNodes, KeepOneIfOneIsWanted) {
    FirstNodes found(1);
    EXPECT_FALSE(found.isFull());
    for (const std::int32_t node : {2, 6, 1}) found.offer(node);
    EXPECT_THAT(nodesOf(found), ElementsAre(1));
}

/// What reading the bucket's list from its head finds.
std::vector<std::int32_t> readThrough(const PointBuckets& points, const Bucket& bucket,
                                      const DistanceBands& bands, const rxVector<2>& from,
                                      int wanted) {
    std::vector<std::int32_t> found;
    for (std::int32_t node = bucket.begin; node < bucket.end; ++node) {
        const rxVector<2>& point = points.nodes()[static_cast<std::size_t>(node)].point;
        if (bands.holds(squaredLength(point - from))) found.push_back(node);
        if (found.size() == static_cast<std::size_t>(wanted)) break;
    }
    return found;
}

void expectFindsAsByReading(const Points& input, const DistanceBands& bands) {
    const PointBuckets points(input, 10);
    BandSearch search(points, bands);
    for (std::size_t b = 0; b < points.buckets().size(); ++b) {
        for (std::size_t k = 0; k < input.size(); k += 1 + input.size() / 50) {
            for (const int wanted : {1, 2, 3}) {
                const FirstNodes found =
                    search.first(static_cast<std::int32_t>(b), input[k], wanted);
                ASSERT_EQ(nodesOf(found),
                          readThrough(points, points.buckets()[b], bands, input[k], wanted))
                    << "bucket " << b << " from point " << k << ", wanted " << wanted;
            }
        }
    }
}

TEST(BandSearch, FindsWhatReadingTheListFinds) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(seed);
        Randomness random(seed);
        const long count = 20 + random.below(800);
        const double reach = seed % 3 == 0 ? 4 : 20;
        Points points;
        for (long k = 0; k < count; ++k) {
            // Every third point lies on a coarse raster, so that places and distances repeat.
            const rxVector<2> p = random.within(reach);
            const bool onRaster = k % 3 == 0;
            points.push_back(
                onRaster ? rxVector<2>(2 * std::floor(p.x() / 2), 2 * std::floor(p.y() / 2)) : p);
        }
        expectFindsAsByReading(points, kUsual);
        expectFindsAsByReading(points, DistanceBands(2, 6, rxRange(1, 1)));
        expectFindsAsByReading(points, DistanceBands(10, 10, rxRange::FullRange()));
        expectFindsAsByReading(points, DistanceBands(10, 10, rxRange(1.2, 0.8)));
    }
}

TEST(BandSearch, FindsTheFirstOfManyInOnePlace) {
    Points points(1000, rxVector<2>(5, 5));
    points.insert(points.begin() + 500, rxVector<2>(15, 5));
    expectFindsAsByReading(points, kUsual);
    expectFindsAsByReading(points, DistanceBands(10, 10, rxRange::FullRange()));
}

/// Looks that each point costs when the neighbours of all are searched in all buckets.
double workPerPoint(const Points& input, const DistanceBands& bands) {
    const PointBuckets points(input, 10);
    BandSearch search(points, bands);
    for (const rxVector<2>& from : input) {
        for (std::size_t b = 0; b < points.buckets().size(); ++b) {
            search.first(static_cast<std::int32_t>(b), from, 3);
        }
    }
    return static_cast<double>(search.work()) / static_cast<double>(input.size());
}

constexpr long kMany = 20000;

TEST(BandSearch, ManyPointsInOnePlaceCostOneLookEach) {
    const Points points(kMany, rxVector<2>(5, 5));
    EXPECT_EQ(workPerPoint(points, kUsual), 1.0);
}

TEST(BandSearch, ManyPointsAroundOnePlaceCostOneLookEach) {
    Randomness random(5);
    Points points;
    for (long k = 0; k < kMany; ++k) points.push_back(random.within(1));
    EXPECT_EQ(workPerPoint(points, kUsual), 1.0);
}

TEST(BandSearch, PlacesTooCloseForNeighboursCostAFewLooksEach) {
    // Taken in turns, so that any run of the list has points of every place.
    Points points;
    for (long k = 0; k < kMany; ++k) points.push_back(rxVector<2>(k % 2 == 0 ? 0 : 4.9, 0));
    EXPECT_LE(workPerPoint(points, kUsual), 8.0);
}

TEST(BandSearch, FullRangeCostsAFewLooksEach) {
    Randomness random(6);
    Points points;
    for (long k = 0; k < kMany; ++k) points.push_back(random.within(2));
    EXPECT_LE(workPerPoint(points, DistanceBands(10, 10, rxRange::FullRange())), 200.0);
}

TEST(BandSearch, CrowdWithoutNeighboursCostsLessThanItsNumber) {
    // Exact distances, as good as none of which occur: only the boxes that the circle of
    // accepted distances runs through are opened.
    const DistanceBands exact(10, 10, rxRange(1, 1));
    const auto costOf = [&](long count) {
        Randomness random(7);
        Points points;
        for (long k = 0; k < count; ++k) points.push_back(random.within(10));
        return workPerPoint(points, exact);
    };
    const double few = costOf(2000);
    const double many = costOf(8000);
    EXPECT_LE(many, 0.1 * 8000);
    EXPECT_LE(many, 2.5 * few) << "grows like the square root of the number";
}

}  // namespace
