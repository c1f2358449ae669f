#include "ptmatch/points_by_x.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>

namespace {

using ptmatch::detail::PointsByX;

// Every point that a computed distance puts below the range is visited, and each point once.
void expectVisitsAllNear(const std::vector<rxVector<2>>& points, const rxVector<2>& place,
                         double range) {
    std::multiset<long> visited;
    PointsByX(points).forEachNear(place, range, [&](long k) { visited.insert(k); });
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double dx = place.x() - points[i].x();
        const double dy = place.y() - points[i].y();
        const auto times = visited.count(static_cast<long>(i));
        EXPECT_LE(times, 1U);
        const bool isNear = dx * dx + dy * dy < range * range;
        EXPECT_TRUE(times == 1 || !isNear) << i;
    }
}

TEST(PointsByX, VisitsAllPointsWithinTheRange) {
    std::mt19937 random(31);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (const double offset : {0.0, 1e6, -1e15, 1e300}) {
        for (int round = 0; round < 100; ++round) {
            std::vector<rxVector<2>> points;
            for (int i = 0; i < 60; ++i) points.emplace_back(offset + unit(random), unit(random));
            expectVisitsAllNear(points, {offset + unit(random), unit(random)}, 0.3);
        }
    }
}

TEST(PointsByX, PointsAtTheVeryEdgeOfTheRangeAreVisited) {
    for (const double range : {0.1, 0.3, 1.0 / 3.0, 7.7e-9, 1e9}) {
        for (const double x : {0.0, 0.1, 5.0, 1e5}) {
            std::vector<rxVector<2>> points;
            for (const double sign : {-1.0, 1.0}) {
                double edge = x + sign * range;
                for (int i = 0; i < 4; ++i) edge = std::nextafter(edge, x);
                for (int i = 0; i < 8; ++i, edge = std::nextafter(edge, sign * 1e300)) {
                    points.emplace_back(edge, 0.0);
                }
            }
            expectVisitsAllNear(points, {x, 0.0}, range);
        }
    }
}

TEST(PointsByX, InfiniteRangeVisitsAll) {
    expectVisitsAllNear({{1, 2}, {-1e308, 0}, {1e308, 0}}, {0, 0},
                        std::numeric_limits<double>::infinity());
}

}  // namespace
