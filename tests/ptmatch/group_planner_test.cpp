#include "ptmatch/group_planner.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ptmatch/search_memory.h"
#include "ptmatch/search_task.h"
#include "ptmatch/translation_search.h"

namespace {

using namespace ptmatch::detail;
using ptmatch::reference::Random;
using ptmatch::testing::PreparedTask;
using ptmatch::testing::Task;

constexpr double kManyPoints = 20000.0;
constexpr double kEnoughBytes = 1e9;

/// 50 model points, and as many data points as asked for, in an image of 300 x 300.
Task taskOf(long numData) {
    Random random(4);
    Task task;
    task.model = ptmatch::reference::spreadPoints(random, 50, 300.0, 3.0);
    for (long i = 0; i < numData; ++i) {
        task.data.emplace_back(random.uniform(0.0, 300.0), random.uniform(0.0, 300.0));
    }
    return task;
}

struct Planning {
    PreparedTask prepared;
    TranslationSearch search;
    GroupBounds bounds;
    GroupPlanner planner;

    explicit Planning(const Task& task, double numLatticePoints = kManyPoints,
                      double bytesLeft = kEnoughBytes)
        : prepared(task, 0.4),
          search(prepared.grid, prepared.model, prepared.weights, prepared.window),
          bounds(prepared.grid, prepared.model, prepared.weights, prepared.window,
                 search.dataPixels()),
          planner(search.planner(), bounds, prepared.grid, prepared.window,
                  affordableTiles(prepared.grid, prepared.window), numLatticePoints, bytesLeft) {}
};

TEST(GroupPlanner, SparseMarksAndAHighThresholdAskForGroups) {
    Planning plan(taskOf(60));
    const auto shape = plan.planner.shapeFor(20, 1, 13);
    ASSERT_TRUE(shape.has_value());
    EXPECT_GE(kGroupShapes[*shape].size.count(), 6);
}

TEST(GroupPlanner, DenseMarksAreSearchedPointByPoint) {
    Planning plan(taskOf(8000));
    EXPECT_EQ(plan.planner.shapeFor(40, 1, 13), std::nullopt);
}

TEST(GroupPlanner, KeepsToTheScalesThatAGroupMayHave) {
    for (const int scales : {1, 2, 3, 4, 5}) {
        Planning plan(taskOf(60));
        const auto shape = plan.planner.shapeFor(20, scales, scales);
        ASSERT_TRUE(shape.has_value()) << scales;
        EXPECT_EQ(kGroupShapes[*shape].size.numScales, scales);
    }
}

TEST(GroupPlanner, ForcedShapeIsTakenWhereAGroupMayHaveItsScales) {
    Planning plan(taskOf(60));
    for (std::size_t shape = 0; shape < kNumGroupShapes; ++shape) {
        forceGroupShape(static_cast<int>(shape));
        const int scales = kGroupShapes[shape].size.numScales;
        EXPECT_EQ(plan.planner.shapeFor(20, scales, scales), shape);
        EXPECT_EQ(plan.planner.shapeFor(20, scales + 1, scales + 1), std::nullopt);
        EXPECT_EQ(plan.planner.shapeFor(20, scales - 1, scales - 1), std::nullopt);
    }
    forceGroupShape(kPlannedGroups);
}

TEST(GroupPlanner, FewLatticePointsAreNotWorthTheDrawing) {
    Planning plan(taskOf(60), 4.0);
    EXPECT_EQ(plan.planner.shapeFor(20, 1, 2), std::nullopt);
}

TEST(GroupPlanner, MarksThatDoNotFitInMemoryAreNotChosen) {
    Planning plan(taskOf(60), kManyPoints, 1000.0);
    EXPECT_EQ(plan.planner.shapeFor(20, 1, 13), std::nullopt);
}

// Asked twice before anything is drawn, as at the beginning of a band.
TEST(GroupPlanner, MemoryIsTakenByWhatIsDrawnAlone) {
    Planning plan(taskOf(60));
    const auto shape = plan.planner.shapeFor(20, 1, 13);
    ASSERT_TRUE(shape.has_value());
    const GroupShape& chosen = kGroupShapes[*shape];
    const GroupReach reach(chosen.size, plan.bounds.radius());
    Planning tight(taskOf(60), kManyPoints, 1.01 * plan.bounds.bytes(chosen.tile, reach));
    const auto first = tight.planner.shapeFor(20, 1, 13);
    ASSERT_TRUE(first.has_value());
    const int scales = kGroupShapes[*first].size.numScales;
    EXPECT_EQ(tight.planner.shapeFor(20, scales, scales), first);
}

TEST(GroupPlanner, ShapesWhoseTilesKeepSurvivingAreGivenUp) {
    // So many that the drawing pays at the end as well, and is no reason to give up.
    Planning plan(taskOf(60), 1e9);
    for (int i = 0; i < 5000; ++i) {
        const auto shape = plan.planner.shapeFor(20, 1, 13);
        if (!shape) return;
        const TileShape& next = kTileShapes[kTileShapes[kGroupShapes[*shape].tile].next];
        const TileExtent extent(next, plan.prepared.window.width() + 1,
                                plan.prepared.window.height() + 1);
        plan.planner.learn(*shape, 20, extent.blocks());
    }
    ADD_FAILURE() << "still groups";
}

/// How often the planner is asked until it no longer wants a shape whose tiles all survive.
/// @param numBefore  how often it was asked before, when nothing was known about it.
int lookupsUntilGivenUp(int numBefore) {
    Planning plan(taskOf(60), 1e9);
    const auto shape = plan.planner.shapeFor(20, 1, 13);
    for (int i = 1; i < numBefore; ++i) EXPECT_EQ(plan.planner.shapeFor(20, 1, 13), shape);
    if (!shape) return 0;
    const TileShape& next = kTileShapes[kTileShapes[kGroupShapes[*shape].tile].next];
    const TileExtent extent(next, plan.prepared.window.width() + 1,
                            plan.prepared.window.height() + 1);
    for (int i = 0; i < 100; ++i) plan.planner.learn(*shape, 20, extent.blocks());
    int lookups = 1;
    while (plan.planner.shapeFor(20, 1, 13) == shape && lookups < 1000) ++lookups;
    return lookups;
}

TEST(GroupPlanner, DecisionsHoldTwiceAsLongEachTimeUpToALimit) {
    const int first = lookupsUntilGivenUp(1);
    EXPECT_GT(first, 1);
    // Just after the second decision, and the third.
    const int second = lookupsUntilGivenUp(1 + first);
    EXPECT_EQ(second - 1, 2 * (first - 1));
    const int third = lookupsUntilGivenUp(1 + first + second);
    EXPECT_EQ(third - 1, 4 * (first - 1));
    int longest = 0;
    for (int numBefore = 500; numBefore < 600; ++numBefore) {
        longest = std::max(longest, lookupsUntilGivenUp(numBefore));
    }
    EXPECT_EQ(longest - 1, 16 * (first - 1));
}

TEST(GroupPlanner, SameHistoryGivesTheSameChoice) {
    Planning a(taskOf(60));
    Planning b(taskOf(60));
    for (int i = 0; i < 500; ++i) {
        const long threshold = 12 + i / 50;
        const auto shape = a.planner.shapeFor(threshold, 1, 13);
        ASSERT_EQ(b.planner.shapeFor(threshold, 1, 13), shape);
        if (!shape) continue;
        a.planner.learn(*shape, threshold, i % 11);
        b.planner.learn(*shape, threshold, i % 11);
    }
}

}  // namespace
