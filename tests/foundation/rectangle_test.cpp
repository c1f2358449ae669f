#include "foundation/rectangle.h"

#include <gtest/gtest.h>

namespace {

TEST(RectangleOfDoubles, DefaultIsEmptyAtTheOrigin) {
    EXPECT_EQ(rxRectangle<double>(), rxRectangle<double>(0.0, 0.0, 0.0, 0.0));
}

TEST(RectangleOfDoubles, IsGivenBySmallestCornerAndExtent) {
    const rxRectangle<double> box(-1.5, 2.0, 4.0, 0.5);
    EXPECT_EQ(box.x(), -1.5);
    EXPECT_EQ(box.y(), 2.0);
    EXPECT_EQ(box.width(), 4.0);
    EXPECT_EQ(box.height(), 0.5);
    EXPECT_EQ(box.ul(), rxVector<2>(-1.5, 2.0));
    EXPECT_EQ(box.lr(), rxVector<2>(2.5, 2.5));
}

TEST(RectangleOfDoubles, EqualityIsExact) {
    const rxRectangle<double> box(1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(box, rxRectangle<double>(1.0, 2.0, 3.0, 4.0));
    EXPECT_NE(box, rxRectangle<double>(0.0, 2.0, 3.0, 4.0));
    EXPECT_NE(box, rxRectangle<double>(1.0, 0.0, 3.0, 4.0));
    EXPECT_NE(box, rxRectangle<double>(1.0, 2.0, 0.0, 4.0));
    EXPECT_NE(box, rxRectangle<double>(1.0, 2.0, 3.0, 0.0));
}

TEST(RectangleOfLongs, ExtentIsTheDifferenceOfItsCorners) {
    const rxRectangle<long> region(rxPair<long>(-2, 3), rxPair<long>(5, 4));
    EXPECT_EQ(region.width(), 7);
    EXPECT_EQ(region.height(), 1);
    EXPECT_EQ(region, rxRectangle<long>(-2, 3, 7, 1));
    EXPECT_EQ(region.ul(), rxPair<long>(-2, 3));
    EXPECT_EQ(region.lr(), rxPair<long>(5, 4));
}

TEST(RectangleOfLongs, DefaultIsEmptyAtTheOrigin) {
    const rxRectangle<long> region;
    EXPECT_EQ(region.ul(), rxPair<long>(0, 0));
    EXPECT_EQ(region.lr(), rxPair<long>(0, 0));
    EXPECT_EQ(region.width(), 0);
    EXPECT_EQ(region.height(), 0);
}

TEST(RectangleOfLongs, CornersInTheWrongOrderGiveANegativeExtent) {
    const rxRectangle<long> region(rxPair<long>(5, 4), rxPair<long>(2, 8));
    EXPECT_EQ(region.width(), -3);
    EXPECT_EQ(region.height(), 4);
}

}  // namespace
