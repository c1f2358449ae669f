#include "ptmatch/point_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "foundation/exception.h"
#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using ptmatch::detail::coordinates;
using ptmatch::detail::PointFrame;
using ptmatch::detail::pointFrame;

TEST(PointFrame, MovesTheMeanToTheOriginAndTheMeanDistanceToTheRootOfTheDimension) {
    TransformWorld world(1);
    const PlanePoints points = world.planePoints({1000, -3000}, 20, 50);
    const PointFrame<2> frame = pointFrame(points, "a");
    double x = 0.0;
    double y = 0.0;
    double distances = 0.0;
    for (const auto& point : points) {
        const auto p = frame.inFrame(coordinates(point));
        x += p[0];
        y += p[1];
        distances += std::hypot(p[0], p[1]);
    }
    EXPECT_NEAR(x / 50, 0.0, 1e-12);
    EXPECT_NEAR(y / 50, 0.0, 1e-12);
    EXPECT_NEAR(distances / 50, std::sqrt(2.0), 64 * kEps);

    const SpacePoints corners = {{1, 1, 1}, {1, -1, -1}, {-1, 1, -1}, {-1, -1, 1}};
    const PointFrame<3> space = pointFrame(corners, "a");
    EXPECT_EQ(space.centroid, (std::array<double, 3>{0, 0, 0}));
    EXPECT_NEAR(space.scale, 1.0, 2 * kEps);
}

TEST(PointFrame, TheMeanOfFarPointsIsGoodToTheirLastDigit) {
    TransformWorld world(2);
    const SpacePoints points = world.spacePoints({1e9, 1e9, 1e9}, 1, 1000);
    double offset = 0.0;
    for (const auto& p : points) offset += p.x() - 1e9;
    const PointFrame<3> frame = pointFrame(points, "a");
    EXPECT_LE(std::abs(frame.centroid[0] - (1e9 + offset / 1000)), 2 * kEps * 1e9);
}

TEST(PointFrame, RefusesPointsInOnePlaceAndCoordinatesBeyondReckoning) {
    const auto messageOf = [](const PlanePoints& points) {
        try {
            (void)pointFrame(points, "b");
        } catch (const rxMathError& error) {
            return error.message();
        }
        return std::string();
    };
    EXPECT_EQ(messageOf({{1, 2}}), "all points b lie in one place\n");
    EXPECT_EQ(messageOf({{1, 2}, {1, 2}}), "all points b lie in one place\n");
    EXPECT_EQ(messageOf({{0.1, 0.7}, {std::nextafter(0.1, 1.0), 0.7}}),
              "all points b lie in one place\n");
    const char* const beyond = "a coordinate of the points b is not finite, or beyond 1e150\n";
    EXPECT_EQ(messageOf({{1, 2}, {kNaN, 2}}), beyond);
    EXPECT_EQ(messageOf({{1, 2}, {1, -kInfinity}}), beyond);
    EXPECT_EQ(messageOf({{1, 2}, {1, 2e150}}), beyond);
    EXPECT_EQ(messageOf({{1, 2}, {1, 1e150}}), "");
    EXPECT_EQ(messageOf({{0, 0}, {1e-140, 0}}), "");
    EXPECT_EQ(messageOf({{0, 0}, {1e-155, 0}}), "all points b lie in one place\n");
}

}  // namespace
