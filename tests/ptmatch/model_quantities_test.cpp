#include "ptmatch/model_quantities.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace {

using ptmatch::detail::allFinite;
using ptmatch::detail::defaultGridSize;
using ptmatch::detail::neighbourDistances;
using ptmatch::detail::NeighbourDistances;
using ptmatch::detail::PointExtent;
using ptmatch::detail::pointExtent;
using Points = std::vector<rxVector<2>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(ModelQuantities, TriangleThreeFourFive) {
    const Points points = {{0, 0}, {4, 0}, {0, 3}};
    const NeighbourDistances distances = neighbourDistances(points);
    EXPECT_EQ(distances.smallestNearest, 3.0);
    EXPECT_EQ(distances.largestFarthest, 5.0);
    EXPECT_EQ(defaultGridSize(distances), 0.75);

    const PointExtent extent = pointExtent(points);
    EXPECT_EQ(extent.bounds, rxRectangle<double>(0, 0, 4, 3));
    EXPECT_EQ(extent.center, rxVector<2>(2, 1.5));
    EXPECT_EQ(extent.radius, 2.5);
}

TEST(ModelQuantities, PointWithADoubleSaysNothingAboutItsOtherNeighbours) {
    // The distance 1 counts from the side of the single point only; once that is doubled too, all
    // that is left is the distance 10 of the last point.
    EXPECT_EQ(neighbourDistances(Points{{0, 0}, {0, 0}, {1, 0}}).smallestNearest, 1.0);
    EXPECT_EQ(neighbourDistances(Points{{0, 0}, {0, 0}, {1, 0}, {1, 0}, {11, 0}}).smallestNearest,
              10.0);
}

TEST(ModelQuantities, EveryPointDoubledGivesAnInfiniteGridSize) {
    const NeighbourDistances distances = neighbourDistances(Points{{0, 0}, {0, 0}, {8, 6}, {8, 6}});
    EXPECT_EQ(distances.smallestNearest, kInfinity);
    EXPECT_EQ(distances.largestFarthest, 10.0);
    EXPECT_EQ(defaultGridSize(distances), kInfinity);
}

TEST(ModelQuantities, CoincidentPointsHaveNoExtent) {
    const Points points(5, rxVector<2>(7, -2));
    const NeighbourDistances distances = neighbourDistances(points);
    EXPECT_EQ(distances.smallestNearest, kInfinity);
    EXPECT_EQ(distances.largestFarthest, 0.0);
    EXPECT_EQ(defaultGridSize(distances), kInfinity);
    EXPECT_EQ(pointExtent(points).bounds, rxRectangle<double>(7, -2, 0, 0));
    EXPECT_EQ(pointExtent(points).center, rxVector<2>(7, -2));
    EXPECT_EQ(pointExtent(points).radius, 0.0);
}

TEST(ModelQuantities, LargestDistanceBoundsTheFinenessOfTheGrid) {
    EXPECT_EQ(defaultGridSize({1.0, 4096.0}), 1.0);
    EXPECT_EQ(defaultGridSize({4.0, 4096.0}), 1.0);
    EXPECT_EQ(defaultGridSize({4.0, 8192.0}), 2.0);
    EXPECT_EQ(defaultGridSize({12.0, 8192.0}), 3.0);
}

TEST(ModelQuantities, DistancesBeyondTheRangeOfSquaresAreLeftOut) {
    // (1e200)^2 is infinite; the close pair still counts.
    const NeighbourDistances distances = neighbourDistances(Points{{0, 0}, {3, 4}, {1e200, 0}});
    EXPECT_EQ(distances.smallestNearest, 5.0);
    EXPECT_EQ(distances.largestFarthest, 0.0);
    EXPECT_EQ(pointExtent(Points{{0, 0}, {3, 4}, {1e200, 0}}).radius, kInfinity);
}

TEST(ModelQuantities, BoundsTakeExtremesFromAnyPoint) {
    const PointExtent extent = pointExtent(Points{{1, 5}, {-3, 6}, {2, -8}, {9, 0}});
    EXPECT_EQ(extent.bounds, rxRectangle<double>(-3, -8, 12, 14));
    EXPECT_EQ(extent.center, rxVector<2>(3, -1));
    EXPECT_EQ(extent.radius, std::sqrt(6.0 * 6.0 + 7.0 * 7.0));  // to (-3, 6)
}

TEST(ModelQuantities, OneCoordinateMakesASetNotFinite) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(allFinite(Points{}));
    EXPECT_TRUE(allFinite(Points{{1e308, -1e308}}));
    EXPECT_FALSE(allFinite(Points{{0, 0}, {kInfinity, 0}}));
    EXPECT_FALSE(allFinite(Points{{0, -kInfinity}, {0, 0}}));
    EXPECT_FALSE(allFinite(Points{{0, 0}, {nan, 0}, {0, 0}}));
}

}  // namespace
