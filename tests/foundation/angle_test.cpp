#include "foundation/angle.h"

#include <gtest/gtest.h>

#include <numbers>
#include <type_traits>

namespace {

TEST(Radian, KeepsTheNumberAsGiven) {
    EXPECT_EQ(rxRadian().toDouble(), 0.0);
    EXPECT_EQ(rxRadian(0.75).toDouble(), 0.75);
    EXPECT_EQ(rxRadian(-100.0).toDouble(), -100.0) << "nothing wraps it into one turn";
}

TEST(Radian, ConvertsDegrees) {
    EXPECT_EQ(rxRadian(rxDegree(180.0)).toDouble(), std::numbers::pi);
    EXPECT_EQ(rxRadian(rxDegree(-90.0)).toDouble(), -std::numbers::pi / 2.0);
    EXPECT_EQ(rxRadian(rxDegree(720.0)).toDouble(), 4.0 * std::numbers::pi);
    EXPECT_EQ(rxRadian(rxDegree(1.0)).toDouble(), std::numbers::pi / 180.0);
}

TEST(Radian, DividesByANumber) {
    EXPECT_EQ((rxRadian(1.5) / 2.0).toDouble(), 0.75);
}

TEST(Radian, EqualsTheSameNumberOnly) {
    EXPECT_EQ(rxRadian(0.5), rxRadian(0.5));
    EXPECT_NE(rxRadian(0.5), rxRadian(0.5 + 2.0 * std::numbers::pi));
}

TEST(Degree, KeepsTheNumberAsGiven) {
    EXPECT_EQ(rxDegree().toDouble(), 0.0);
    EXPECT_EQ(rxDegree(370.0).toDouble(), 370.0);
}

TEST(Degree, ConvertsRadians) {
    EXPECT_EQ(rxDegree(rxRadian(std::numbers::pi)).toDouble(), 180.0);
    EXPECT_EQ(rxDegree(rxRadian(-std::numbers::pi / 2.0)).toDouble(), -90.0);
}

TEST(Degree, PassesForRadiansWithoutAWord) {
    const auto radians = [](rxRadian angle) { return angle.toDouble(); };
    EXPECT_EQ(radians(rxDegree(180.0)), std::numbers::pi);
}

TEST(Angles, TakeNoNumberWithoutItsUnit) {
    EXPECT_FALSE((std::is_convertible_v<double, rxRadian>));
    EXPECT_FALSE((std::is_convertible_v<double, rxDegree>));
    EXPECT_TRUE((std::is_convertible_v<rxDegree, rxRadian>));
    EXPECT_TRUE((std::is_convertible_v<rxRadian, rxDegree>));
}

}  // namespace
