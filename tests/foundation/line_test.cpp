#include "foundation/line.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();

TEST(Line, DefaultIsTheXAxis) {
    const rxLine line;
    EXPECT_EQ(line.distToPoint(rxVector<2>(17.0, 0.0)), 0.0);
    EXPECT_EQ(line.distToPoint(rxVector<2>(17.0, -2.5)), 2.5);
}

TEST(Line, DistanceIsPerpendicularAndUnsigned) {
    const rxLine line(rxVector<2>(3.0, 4.0), rxVector<2>(1.0, 1.0));
    EXPECT_NEAR(line.distToPoint(rxVector<2>(1.0 - 4.0, 1.0 + 3.0)), 5.0, 8.0 * kEps);
    EXPECT_NEAR(line.distToPoint(rxVector<2>(1.0 + 4.0, 1.0 - 3.0)), 5.0, 8.0 * kEps);
    EXPECT_NEAR(line.distToPoint(rxVector<2>(1.0 + 30.0 - 4.0, 1.0 + 40.0 + 3.0)), 5.0,
                64.0 * kEps);
}

TEST(Line, PointsOnItHaveNoDistance) {
    const rxLine line(rxVector<2>(1.0, 1.0), rxVector<2>(2.0, 3.0));
    EXPECT_EQ(line.distToPoint(rxVector<2>(2.0, 3.0)), 0.0);
    EXPECT_EQ(line.distToPoint(rxVector<2>(-98.0, -97.0)), 0.0);
}

TEST(Line, LengthOfTheDirectionDoesNotMatter) {
    for (double length : {1e-300, 1e-10, 1.0, 1e10, 1e300}) {
        const rxLine line(rxVector<2>(length, -length), rxVector<2>(0.0, 0.0));
        EXPECT_NEAR(line.distToPoint(rxVector<2>(1.0, 1.0)), std::sqrt(2.0), 4.0 * kEps) << length;
    }
}

TEST(Line, NullDirectionMeasuresFromThePoint) {
    const rxLine line(rxVector<2>(), rxVector<2>(1.0, 2.0));
    EXPECT_EQ(line.distToPoint(rxVector<2>(4.0, 6.0)), 5.0);
}

TEST(Line, IsAValue) {
    rxLine line;
    const rxLine steep(rxVector<2>(0.0, 1.0), rxVector<2>(3.0, 0.0));
    line = steep;
    EXPECT_EQ(line.distToPoint(rxVector<2>(1.0, 100.0)), 2.0);
}

}  // namespace
