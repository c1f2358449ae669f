#include "ptmatch/vote_planner.h"

#include <gtest/gtest.h>

namespace {

using namespace ptmatch::detail;

constexpr TileSet kAllTiles{true, true, true, true, true, true};

VotePlanner planner(long side, double density, std::size_t numPoints,
                    const TileSet& affordable = kAllTiles) {
    VoteWeights weights;
    return {side, side, density, numPoints, weights, affordable};
}

TEST(VotePlanner, SmallWindowIsSearchedWithoutTiles) {
    EXPECT_EQ(planner(50, 0.05, 12).shapeFor(8), 0U);
}

// The search without tiles is what a plan has to be better than.
TEST(VotePlanner, WindowThatIsSmallForTilesAloneIsPlanned) {
    EXPECT_NE(planner(100, 0.001, 20).shapeFor(15), 0U);
}

TEST(VotePlanner, SparseMarksAndAHighThresholdAskForLargeTiles) {
    VotePlanner plan = planner(2400, 0.003, 300);
    EXPECT_GE(kTileShapes[plan.shapeFor(100)].columns(), 8);
}

TEST(VotePlanner, TilesThatDoNotFitInMemoryAreNotChosen) {
    for (const TileSet& affordable :
         {TileSet{true}, TileSet{true, true}, TileSet{true, false, true},
          TileSet{true, true, true, true}}) {
        VotePlanner plan = planner(2400, 0.003, 300, affordable);
        EXPECT_TRUE(affordable[plan.shapeFor(100)]) << plan.shapeFor(100);
    }
}

TEST(VotePlanner, DenseMarksAreSearchedWithoutTiles) {
    EXPECT_EQ(planner(300, 0.7, 300).shapeFor(200), 0U);
}

TEST(VotePlanner, ThresholdThatEveryTileReachesAsksForNone) {
    EXPECT_EQ(planner(800, 0.2, 100).shapeFor(2), 0U);
}

TEST(VotePlanner, TilesThatKeepSurvivingAreGivenUp) {
    VotePlanner plan = planner(800, 0.01, 100);
    const std::size_t first = plan.shapeFor(40);
    ASSERT_NE(first, 0U);
    for (int i = 0; i < 200; ++i) {
        const std::size_t shape = plan.shapeFor(40);
        for (std::size_t s = shape; s > 0; s = kTileShapes[s].next) {
            const TileExtent next(kTileShapes[kTileShapes[s].next], 800, 800);
            plan.learn(s, 40, next.blocks());
        }
    }
    EXPECT_EQ(plan.shapeFor(40), 0U);
}

TEST(VotePlanner, SameHistoryGivesTheSameChoice) {
    VotePlanner a = planner(700, 0.02, 150);
    VotePlanner b = planner(700, 0.02, 150);
    for (long i = 0; i < 300; ++i) {
        const long threshold = 30 + i / 7;
        const std::size_t shape = a.shapeFor(threshold);
        ASSERT_EQ(shape, b.shapeFor(threshold));
        if (shape == 0) continue;
        a.learn(shape, threshold, i % 11);
        b.learn(shape, threshold, i % 11);
    }
}

}  // namespace
