#include "ptmatch/collinearity.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

using ptmatch::detail::Collinearity;

bool collinear(std::initializer_list<rxVector<2>> positions) {
    Collinearity collinearity;
    for (const rxVector<2>& position : positions) collinearity.add(position);
    return collinearity.holds();
}

TEST(Collinearity, HoldsForNothingForOnePositionAndForOneRepeated) {
    EXPECT_TRUE(collinear({}));
    EXPECT_TRUE(collinear({{3, 4}}));
    EXPECT_TRUE(collinear({{3, 4}, {3, 4}, {3, 4}}));
}

TEST(Collinearity, HoldsForPositionsOfOneRowOneColumnOneDiagonal) {
    EXPECT_TRUE(collinear({{0, 2}, {5, 2}, {-7, 2}, {1, 2}}));
    EXPECT_TRUE(collinear({{4, 0}, {4, 9}, {4, -3}}));
    EXPECT_TRUE(collinear({{0, 0}, {1, 1}, {7, 7}}));
}

TEST(Collinearity, IsLostAtAQuarterStepAndNotBelow) {
    EXPECT_TRUE(collinear({{0, 0}, {8, 0}, {3, 0.24}}));
    EXPECT_FALSE(collinear({{0, 0}, {8, 0}, {3, 0.25}}));
    EXPECT_FALSE(collinear({{0, 0}, {8, 0}, {3, -0.25}}));
}

TEST(Collinearity, IsMeasuredFromTheFirstTwoPositionsThatDiffer) {
    EXPECT_FALSE(collinear({{0, 0}, {0, 0}, {1, 0}, {0, 1}}));
    // A short first step away from the row: later positions of the row lie off that line.
    EXPECT_FALSE(collinear({{0, 0}, {1, 1}, {2, 0}}));
}

TEST(Collinearity, DoesNotComeBackOnceLost) {
    EXPECT_FALSE(collinear({{0, 0}, {1, 0}, {0, 5}, {2, 0}, {3, 0}}));
}

}  // namespace
