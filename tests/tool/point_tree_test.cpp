#include "point_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace ptmatch::tool;

namespace {

double distance(const rxVector<2>& a, const rxVector<2>& b) {
    return (a - b).len();
}

}  // namespace

TEST(PointTree, AgreesWithLookingAtEveryPoint) {
    const unsigned seed = 7;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    // Few different coordinates, so that there are ties and doubles.
    std::uniform_int_distribution<int> coordinate(0, 15);
    for (std::size_t count = 0; count < 60; ++count) {
        std::vector<rxVector<2>> points;
        for (std::size_t k = 0; k < count; ++k) {
            const int x = coordinate(random);
            points.emplace_back(x, coordinate(random));
        }
        const PointTree tree(points);
        for (int trial = 0; trial < 20; ++trial) {
            const int x = coordinate(random);
            const rxVector<2> place(x, coordinate(random));
            std::vector<double> distances;
            for (const rxVector<2>& p : points) {
                if (!(p == place)) distances.push_back(distance(p, place));
            }
            std::sort(distances.begin(), distances.end());
            const auto near = tree.nearest(place, 5);
            ASSERT_EQ(near.size(), std::min<std::size_t>(5, distances.size()));
            for (std::size_t k = 0; k < near.size(); ++k) {
                EXPECT_EQ(distance(near[k], place), distances[k]);
            }
            const auto within = tree.nearestWithin(place + rxVector<2>(0.5, 0), 1.5);
            double least = 1e9;
            for (const rxVector<2>& p : points) {
                least = std::min(least, distance(p, place + rxVector<2>(0.5, 0)));
            }
            ASSERT_EQ(within.has_value(), least <= 1.5);
            if (within) {
                EXPECT_EQ(distance(*within, place + rxVector<2>(0.5, 0)), least);
            }
        }
    }
}

TEST(PointTree, ReachIncludesItsEnd) {
    const PointTree tree({{3, 4}});
    EXPECT_TRUE(tree.nearestWithin({0, 0}, 5).has_value());
    EXPECT_FALSE(tree.nearestWithin({0, 0}, 4.999).has_value());
    EXPECT_TRUE(tree.nearestWithin({3, 4}, 0).has_value());
}

TEST(PointTree, ExtremeCoordinatesAreAnsweredInSomeWay) {
    const PointTree tree({{1e308, -1e308}, {-1e308, 1e308}, {0, 0}, {1, 0}});
    EXPECT_EQ(tree.nearest({0, 0}, 1).front(), rxVector<2>(1, 0));
    EXPECT_EQ(tree.nearest({1e308, -1e308}, 4).size(), 3U);
}
