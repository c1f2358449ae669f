#include "ptmatch/grid_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/pattern_pictures.h"

namespace {

using ptmatch::detail::countGridPoints;
using ptmatch::detail::gridPointsOf;
using ptmatch::detail::isSparsePattern;
using ptmatch::detail::isStaggeredPattern;
using ptmatch::testing::imageOf;
using ptmatch::testing::Picture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Pair = rxPair<long>;

bool isStaggered(const Picture& picture) {
    return isStaggeredPattern(imageOf(picture));
}

/// Sparse as the pattern that it is: staggered or not.
bool isSparse(const Picture& picture) {
    return isSparsePattern(imageOf(picture), isStaggered(picture));
}

TEST(GridPattern, PointsAreThePixelsThatAreNotZero) {
    rxPelBuffer<unsigned char> image = imageOf({"#.#", "..#"});
    image.put(0, 0, 255);
    image.put(2, 1, 2);
    EXPECT_EQ(countGridPoints(image), 3);
    EXPECT_THAT(gridPointsOf(image), ElementsAre(Pair(0, 0), Pair(2, 0), Pair(2, 1)));
}

TEST(GridPattern, PositionsLeaveTheOffsetOut) {
    EXPECT_THAT(gridPointsOf(imageOf({".#", "##"}, rxXform<2>(), Pair(100, -50))),
                ElementsAre(Pair(1, 0), Pair(0, 1), Pair(1, 1)));
}

TEST(GridPattern, OnlyTheWindowCounts) {
    rxPelBuffer<unsigned char> image = imageOf({"####", "#.#.", "####"});
    image.window(1, 1, 2, 1, false);
    EXPECT_EQ(countGridPoints(image), 1);
    EXPECT_THAT(gridPointsOf(image), ElementsAre(Pair(1, 0)));
    EXPECT_TRUE(isStaggeredPattern(image));  // its neighbours are outside
}

TEST(GridPattern, EmptyImageHasNoPoint) {
    EXPECT_EQ(countGridPoints(rxPelBuffer<unsigned char>()), 0);
    EXPECT_THAT(gridPointsOf(rxPelBuffer<unsigned char>(0, 5, 32)), IsEmpty());
    EXPECT_EQ(countGridPoints(imageOf({"...", "..."})), 0);
}

TEST(GridPattern, CheckerboardIsStaggered) {
    EXPECT_TRUE(isStaggered({"#.#.", ".#.#", "#.#."}));
    EXPECT_TRUE(isStaggered({".#.#", "....", ".#.#"}));
}

TEST(GridPattern, OnePairThatSharesASideMakesItPlain) {
    EXPECT_FALSE(isStaggered({"#.#.", ".#.#", "#.##"}));
    EXPECT_FALSE(isStaggered({"#.#.", ".#.#", "#..#"}));
    EXPECT_FALSE(isStaggered({"##..", ".#.#", "#.#."}));
}

TEST(GridPattern, RowsDoNotTouchAroundTheEdge) {
    EXPECT_TRUE(isStaggered({"..#", "...", "#.."}));
    EXPECT_TRUE(isStaggered({"..#", "#.."}));
}

TEST(GridPattern, NinePointsAreSparseAndTenAreNot) {
    EXPECT_TRUE(isSparse({"###", "###", "###"}));
    EXPECT_FALSE(isSparse({"#####", "#####"}));
}

TEST(GridPattern, ManyPointsOfOneNeighbourEachAreSparse) {
    EXPECT_TRUE(isSparse({"##.##.##.##", "...........", "##.##.##.##"}));
    EXPECT_FALSE(isSparse({"##.##.##.##", "...........", "##.##.##.##", "#.........."}));
    EXPECT_TRUE(isSparse({"#.#.#.#.#.#", "...........", "#.#.#.#.#.#"}));
}

TEST(GridPattern, OnePointOfTwoNeighboursIsEnough) {
    EXPECT_FALSE(isSparse({"##.##.##.###", "............", "##.##.##.##."}));
    EXPECT_FALSE(isSparse({"##.##.##.##.", ".........#..", "##.##.##.#.."}));
}

TEST(GridPattern, NeighboursOfAStaggeredPatternAreDiagonal) {
    EXPECT_FALSE(isSparse({"#.#.#.#", ".#.#.#.", "#.#.#.#"}));
    EXPECT_TRUE(isSparsePattern(imageOf({"#.#.#.#", ".#.#.#.", "#.#.#.#"}), false));
    EXPECT_TRUE(isSparse({"#..#..#..#..#", ".#..#..#..#..", ".............", "#..#..#..#..#"}));
}

}  // namespace
