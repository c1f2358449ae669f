#include "grid_views.h"

#include <gtest/gtest.h>

#include <cmath>

#include "plane_vectors.h"

using namespace ptmatch::tool;

namespace {

double directionDeg(const rxVector<2>& v) {
    return std::atan2(v.y(), v.x()) * 180.0 / 3.14159265358979323846;
}

double off(double a, double b) {
    return std::abs(std::remainder(a - b, 360.0));
}

// Whether some view covers a rotation of the steps by the angle, at least two degrees from its
// ends, where the mapping can find it.
bool covers(const std::vector<GridView>& views, const GridSteps& steps, double rotationDeg) {
    for (const GridView& view : views) {
        const rxVector<2> xv = view.turnsX ? scaled(view.steps.xv, -1.0) : view.steps.xv;
        const double turn =
            std::remainder(rotationDeg - (directionDeg(xv) - directionDeg(steps.xv)), 360.0);
        if (turn >= view.lowDeg + 2.0 && turn <= view.highDeg - 2.0) return true;
    }
    return false;
}

}  // namespace

TEST(GridViews, ForwardStepsAndANarrowRangeStayAsTheyAre) {
    const auto views = gridViews({{25, 1}, {-1, 25}}, {-20, 20});
    ASSERT_EQ(views.size(), 1U);
    EXPECT_EQ(views[0].steps.xv, rxVector<2>(25, 1));
    EXPECT_EQ(views[0].steps.yv, rxVector<2>(-1, 25));
    EXPECT_EQ(views[0].lowDeg, -20);
    EXPECT_EQ(views[0].highDeg, 20);
    EXPECT_FALSE(views[0].turnsX || views[0].turnsY);
}

TEST(GridViews, StepsToSmallerCoordinatesAreTurnedAndPositionsTurnedBack) {
    const auto views = gridViews({{-25, 1}, {1, -25}}, {-20, 20});
    ASSERT_EQ(views.size(), 1U);
    EXPECT_EQ(views[0].steps.xv, rxVector<2>(25, -1));
    EXPECT_EQ(views[0].steps.yv, rxVector<2>(-1, 25));
    EXPECT_EQ(views[0].turned({3, -4}), rxPair<long>(-3, 4));
    const auto half = gridViews({{25, 0}, {0, -25}}, {-20, 20});
    EXPECT_EQ(half[0].turned({3, -4}), rxPair<long>(3, 4));
}

TEST(GridViews, ARangeAwayFromZeroIsAskedForAroundItsMiddle) {
    const auto views = gridViews({{25, 0}, {0, 25}}, {170, 190});
    ASSERT_EQ(views.size(), 1U);
    EXPECT_TRUE(views[0].turnsX && views[0].turnsY);
    EXPECT_NEAR(views[0].steps.xv.x(), 25, 1e-12);
    EXPECT_NEAR(views[0].steps.yv.y(), 25, 1e-12);
    EXPECT_EQ(views[0].lowDeg, -10);
    EXPECT_EQ(views[0].highDeg, 10);
}

TEST(GridViews, AStepUpwardsIsTurnedOnceItGoesHalfAStripe) {
    EXPECT_FALSE(gridViews({{20, -9}, {9, 20}}, {-5, 5})[0].turnsX);
    EXPECT_TRUE(gridViews({{15, -16}, {16, 15}}, {-5, 5})[0].turnsX);
}

TEST(GridViews, OneStepAloneTurnsBothAxes) {
    const auto views = gridViews({{-25, 0}, {}}, {-20, 20});
    EXPECT_EQ(views[0].turned({3, 4}), rxPair<long>(-3, -4));
    EXPECT_TRUE(views[0].steps.yv.isNull());
    EXPECT_EQ(withOtherSigns(views).size(), 1U);
    EXPECT_FALSE(gridViews({{}, {0, 25}}, {-20, 20})[0].turnsY);
}

TEST(GridViews, WideRangesAreCutAndFullyCovered) {
    const GridSteps steps{{25, 3}, {-2, 30}};
    const auto full = gridViews(steps, Interval::full());
    EXPECT_EQ(full.size(), 6U);
    EXPECT_EQ(full[0].steps.xv, steps.xv);  // the least rotation comes first
    for (int degrees = -180; degrees < 180; ++degrees) {
        EXPECT_TRUE(covers(full, steps, degrees)) << degrees;
    }
    const auto wide = gridViews(steps, {-100, 50});
    EXPECT_EQ(wide.size(), 3U);
    for (int degrees = -98; degrees <= 48; ++degrees) {
        EXPECT_TRUE(covers(wide, steps, degrees)) << degrees;
    }
    // What the user excluded stays excluded.
    EXPECT_FALSE(covers(wide, steps, -99));
    EXPECT_FALSE(covers(wide, steps, 49));
}

TEST(GridViews, EveryViewPointsForward) {
    for (int degrees = 0; degrees < 360; degrees += 5) {
        const double angle = degrees * 3.14159265358979323846 / 180.0;
        const GridSteps steps{{20 * std::cos(angle), 20 * std::sin(angle)},
                              {-20 * std::sin(angle), 20 * std::cos(angle)}};
        for (const GridView& view : gridViews(steps, Interval::full())) {
            for (const rxVector<2>& step : {view.steps.xv, view.steps.yv}) {
                const double direction = directionDeg(step);
                EXPECT_TRUE(direction > -30.01 && direction < 150.01) << degrees;
            }
            // Without the turn a view is a rotation of what was given: the axes stay a quarter
            // turn apart.
            const double right = off(directionDeg(view.steps.yv) - directionDeg(view.steps.xv), 90);
            EXPECT_LT(std::min(right, off(right, 180)), 1e-9);
        }
    }
}

TEST(GridViews, TheOtherSignsAreTheThreeRemainingOnes) {
    const auto others = withOtherSigns(gridViews({{-25, 0}, {0, 25}}, {-20, 20}));
    ASSERT_EQ(others.size(), 3U);
    EXPECT_EQ(others[0].steps.xv, rxVector<2>(-25, 0));
    EXPECT_FALSE(others[0].turnsX);
    EXPECT_TRUE(others[1].turnsX && others[1].turnsY);
    EXPECT_EQ(others[2].turned({1, 1}), rxPair<long>(1, -1));
}
