#include "picture_frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Point = rxVector<2>;

const PageBox kBox{100, 50, 400, 200};

}  // namespace

TEST(PictureFrame, BothAxesHaveTheSameScale) {
    const PictureFrame frame({{0, 0}, {10, 1000}}, kBox, YAxis::kDown);
    const Point origin = frame.toPage({0, 0});
    EXPECT_NEAR(frame.toPage({1, 0}).x() - origin.x(), frame.scale(), 1e-9);
    EXPECT_NEAR(frame.toPage({0, 1}).y() - origin.y(), frame.scale(), 1e-9);
}

TEST(PictureFrame, PointsLieInsideTheBoxWithAMargin) {
    const std::vector<Point> points = {{-5, 3}, {7, -2}, {100, 40}};
    const PictureFrame frame(points, kBox, YAxis::kDown);
    for (const Point& p : points) {
        const Point page = frame.toPage(p);
        EXPECT_GT(page.x(), kBox.x);
        EXPECT_LT(page.x(), kBox.x + kBox.width);
        EXPECT_GT(page.y(), kBox.y);
        EXPECT_LT(page.y(), kBox.y + kBox.height);
    }
}

TEST(PictureFrame, YRunsDownOrUp) {
    const std::vector<Point> points = {{0, 0}, {1, 1}};
    const PictureFrame down(points, kBox, YAxis::kDown);
    const PictureFrame up(points, kBox, YAxis::kUp);
    EXPECT_GT(down.toPage({0, 1}).y(), down.toPage({0, 0}).y());
    EXPECT_LT(up.toPage({0, 1}).y(), up.toPage({0, 0}).y());
}

TEST(PictureFrame, CloudWithoutExtentLandsInTheMiddle) {
    const PictureFrame frame({{3, 4}, {3, 4}}, kBox, YAxis::kDown);
    EXPECT_EQ(frame.toPage({3, 4}), Point(300, 150));
}

TEST(PictureFrame, ExtremeCoordinatesGiveFinitePlaces) {
    const PictureFrame frame({{-1.7e308, 0}, {1.7e308, 1}}, kBox, YAxis::kDown);
    EXPECT_TRUE(std::isfinite(frame.toPage({1.7e308, 1}).x()));
}

TEST(PictureFrame, TicksAreRoundAndInsideTheBox) {
    const PictureFrame frame({{0, 0}, {100, 0}}, kBox, YAxis::kDown);
    double step = 0.0;
    EXPECT_THAT(frame.xTicks(6, step), ElementsAre(0, 20, 40, 60, 80, 100));
    EXPECT_EQ(step, 20);
}

TEST(PictureFrame, TicksOfATinyCloudFarFromZeroStayFew) {
    const PictureFrame frame({{1e16, 0}, {1e16 + 2, 0}}, kBox, YAxis::kDown);
    double step = 0.0;
    EXPECT_LE(frame.xTicks(8, step).size(), 9U);
}

TEST(AspectOf, IsHeightOverWidthWithinBounds) {
    EXPECT_DOUBLE_EQ(aspectOf({{0, 0}, {10, 5}}, 0.1, 10), 0.5);
    EXPECT_DOUBLE_EQ(aspectOf({{0, 0}, {10, 0}}, 0.3, 3), 0.3);
    EXPECT_DOUBLE_EQ(aspectOf({{0, 0}, {0, 10}}, 0.3, 3), 3.0);
    EXPECT_DOUBLE_EQ(aspectOf({{2, 2}}, 0.3, 3), 1.0);
}

TEST(ConvexHull, KeepsCornersOnly) {
    EXPECT_THAT(convexHull({{0, 0}, {2, 0}, {1, 0}, {2, 2}, {0, 2}, {1, 1}, {0, 0}}),
                ElementsAre(Point(0, 0), Point(2, 0), Point(2, 2), Point(0, 2)));
}

TEST(ConvexHull, HasFewerThanThreeCornersWithoutArea) {
    EXPECT_THAT(convexHull({{0, 0}, {1, 1}, {2, 2}}), SizeIs(2));
    EXPECT_LT(convexHull({{1, 1}, {1, 1}, {1, 1}}).size(), 3U);
    EXPECT_THAT(convexHull({}), IsEmpty());
}
