#include "ptmatch/group_bounds.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "ptmatch/search_task.h"
#include "ptmatch/translation_search.h"

// What holds at every lattice point of a group, asked of lattice points anywhere in it.
namespace {

using namespace ptmatch::detail;
using ptmatch::reference::Random;
using ptmatch::testing::PreparedTask;
using ptmatch::testing::randomTask;
using ptmatch::testing::Task;

/// A task with the bounds for its groups.
struct Bounded {
    PreparedTask prepared;
    TranslationSearch search;
    GroupBounds bounds;

    Bounded(const Task& task, double minCoverage)
        : prepared(task, minCoverage),
          search(prepared.grid, prepared.model, prepared.weights, prepared.window),
          bounds(prepared.grid, prepared.model, prepared.weights, prepared.window,
                 search.dataPixels()) {}
};

/// A group as large as its size allows, somewhere.
PoseGroup randomGroup(Random& random, const PreparedTask& prepared, const GroupSize& size) {
    const double lowScale = random.uniform(0.7, 1.2);
    const double highScale = lowScale + (size.numScales - 1) * prepared.model.scaleStep_(1.0);
    const double lowDegrees = random.uniform(-180.0, 180.0);
    const double step = prepared.model.rotationStep_(highScale, 1.0);
    return {lowScale, highScale, lowDegrees, lowDegrees + size.rotationSteps() * step};
}

double within(Random& random, double low, double high) {
    return random.chance(0.4) ? random.pick<double>({low, high}) : random.uniform(low, high);
}

TEST(GroupReach, NoPixelLiesFartherFromTheMiddleOfItsGroup) {
    long farthest = 0;
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        Random random(seed);
        const Task task = randomTask(random, random.uniform(40.0, 700.0), 60.0);
        Bounded bounded(task, 0.3);
        const PreparedTask& prepared = bounded.prepared;
        GroupBounds& bounds = bounded.bounds;
        for (const GroupSize& size : kGroupSizes) {
            const PoseGroup group = randomGroup(random, prepared, size);
            ASSERT_TRUE(bounds.isWithinReach(group, size));
            const GroupReach reach(size, bounds.radius());
            std::vector<rxPair<long>> middle;
            modelPixels(prepared.grid, prepared.model, group.scale(), group.degrees(), middle);
            std::vector<rxPair<long>> pixels;
            for (int k = 0; k < 12; ++k) {
                modelPixels(prepared.grid, prepared.model,
                            within(random, group.lowScale, group.highScale),
                            within(random, group.lowDegrees, group.highDegrees), pixels);
                for (std::size_t i = 0; i < pixels.size(); ++i) {
                    const long off = std::max<long>(std::labs(pixels[i].x() - middle[i].x()),
                                                    std::labs(pixels[i].y() - middle[i].y()));
                    const long allowed = reach.ofLayer[reach.layerOf[i]];
                    ASSERT_LE(off, allowed);
                    farthest = std::max(farthest, allowed - off == 0 ? off : 0L);
                }
            }
        }
    }
    EXPECT_GE(farthest, 5) << "reaches are wider than need be";
}

TEST(GroupReach, PointsNearTheCentreHaveALayerOfLessReach) {
    const GroupReach reach({9, 7}, {0.0, 0.45, 0.7, 1.0});
    EXPECT_EQ(reach.ofLayer.size(), 4U);
    EXPECT_EQ(reach.layerOf[0], 0U);
    EXPECT_LT(reach.layerOf[1], reach.layerOf[2]);
    EXPECT_EQ(reach.layerOf[3], 3U);
    EXPECT_TRUE(std::is_sorted(reach.ofLayer.begin(), reach.ofLayer.end()));
}

// Counted point by point.
long voteOf(const PreparedTask& prepared, std::span<const rxPair<long>> dataPixels,
            const std::vector<rxPair<long>>& modelPixels, const rxPair<long>& translation) {
    long vote = 0;
    for (const rxPair<long>& m : modelPixels) {
        const rxPair<long> at = m + translation;
        const bool isInside = at.x() >= 0 && at.y() >= 0 && at.x() < prepared.grid.width &&
                              at.y() < prepared.grid.height;
        vote += isInside && std::any_of(dataPixels.begin(), dataPixels.end(),
                                        [&](const rxPair<long>& d) {
                                            return std::labs(d.x() - at.x()) <= 1 &&
                                                   std::labs(d.y() - at.y()) <= 1;
                                        })
                    ? 1
                    : 0;
    }
    return vote;
}

TEST(GroupBounds, NoVoteReachesTheThresholdOutsideTheBlocksThatAreLeft) {
    long numReaching = 0;
    long numLeftOut = 0;
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
        Random random(seed);
        const Task task = randomTask(random, 50.0, 40.0);
        Bounded bounded(task, 0.3);
        const PreparedTask& prepared = bounded.prepared;
        GroupBounds& bounds = bounded.bounds;
        const long width = prepared.window.width() + 1;
        const long height = prepared.window.height() + 1;
        for (std::size_t shape = 0; shape < kNumGroupShapes; shape += 1 + shape % 3) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", group shape " << shape);
            const PoseGroup group = randomGroup(random, prepared, kGroupShapes[shape].size);
            const long threshold = random.integer(2, std::ssize(task.model) / 2);
            const BlockFlags& flags = bounds.bound(group, shape, threshold);
            const TileShape& tile = kTileShapes[kTileShapes[kGroupShapes[shape].tile].next];
            const TileExtent extent(tile, width, height);
            ASSERT_EQ(flags.extent().blocks(), extent.blocks());
            std::vector<std::uint32_t> blocks;
            flags.appendTo(blocks);
            numLeftOut += extent.blocks() - std::ssize(blocks);
            const std::set<std::uint32_t> left(blocks.begin(), blocks.end());
            std::vector<rxPair<long>> pixels;
            modelPixels(prepared.grid, prepared.model,
                        within(random, group.lowScale, group.highScale),
                        within(random, group.lowDegrees, group.highDegrees), pixels);
            for (int k = 0; k < 300; ++k) {
                const rxPair<long> shift(random.integer(0, width - 1),
                                         random.integer(0, height - 1));
                if (voteOf(prepared, bounded.search.dataPixels(), pixels,
                           prepared.window.ul() + shift) < threshold) {
                    continue;
                }
                ++numReaching;
                const long strip = shift.x() / (64 * tile.columns());
                const long band = shift.y() / (kBlockRows * tile.rows());
                EXPECT_TRUE(left.contains(static_cast<std::uint32_t>(strip * extent.bands + band)));
            }
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(numReaching, 1000);
    EXPECT_GT(numLeftOut, 100);
}

// With no vote to spare, a bound that looks a pixel beside the marks loses the pose.
TEST(GroupBounds, PoseThatNeedsEveryPointIsNeverLost) {
    Random random(7);
    const auto points = ptmatch::reference::spreadPoints(random, 20, 60.0, 2.0);
    std::vector<rxVector<2>> model;
    for (const rxVector<2>& p : points) model.push_back(p + rxVector<2>(20.0, 20.0));
    for (int round = 0; round < 60; ++round) {
        for (std::size_t shape = 0; shape < kNumGroupShapes; ++shape) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", group shape " << shape);
            Task any;
            any.model = model;
            any.data = model;
            const PreparedTask trained(any, 1.0);
            PoseGroup group = randomGroup(random, trained, kGroupShapes[shape].size);
            const double scale = within(random, group.lowScale, group.highScale);
            const double degrees = within(random, group.lowDegrees, group.highDegrees);
            const Task task = ptmatch::testing::plantedAt(random, model, scale, degrees);
            Bounded bounded(task, 1.0);
            const PreparedTask& prepared = bounded.prepared;
            GroupBounds& bounds = bounded.bounds;
            ASSERT_TRUE(bounds.isWithinReach(group, kGroupShapes[shape].size));
            const BlockFlags& flags = bounds.bound(group, shape, std::ssize(model));
            const TileShape& tile = kTileShapes[kTileShapes[kGroupShapes[shape].tile].next];
            const rxPair<long> shift =
                ptmatch::testing::plantedTranslation() - prepared.window.ul();
            const long strip = shift.x() / (64 * tile.columns());
            const long band = shift.y() / (kBlockRows * tile.rows());
            ASSERT_EQ(flags.nextInStrip(strip, band, band + 1), band);
        }
    }
}

TEST(GroupBounds, TurnedOverModelsAreWithinReachLikeOthers) {
    Random random(8);
    const Task task = randomTask(random, 80.0, 60.0);
    Bounded bounded(task, 0.3);
    GroupBounds& bounds = bounded.bounds;
    int numWithin = 0;
    for (double degrees = 0.25; degrees < 30.0; degrees += 0.25) {
        const bool isWithin = bounds.isWithinReach({1.0, 1.0, 0.0, degrees}, {1, 3});
        EXPECT_EQ(bounds.isWithinReach({-1.0, -1.0, 0.0, degrees}, {1, 3}), isWithin) << degrees;
        numWithin += isWithin ? 1 : 0;
    }
    EXPECT_GT(numWithin, 3);
    EXPECT_LT(numWithin, 100);
}

TEST(GroupBounds, GroupLargerThanItsSizeIsNotWithinReach) {
    Random random(5);
    const Task task = randomTask(random, 100.0, 60.0);
    Bounded bounded(task, 0.3);
    const PreparedTask& prepared = bounded.prepared;
    GroupBounds& bounds = bounded.bounds;
    const PoseGroup group = randomGroup(random, prepared, {3, 3});
    EXPECT_TRUE(bounds.isWithinReach(group, {3, 3}));
    EXPECT_FALSE(bounds.isWithinReach(group, {3, 2}));
    EXPECT_FALSE(bounds.isWithinReach(group, {2, 2}));
}

// A centre far from the origin cancels in the transform that places the model, but its rounding
// grows with the scale.
TEST(GroupBounds, LargeScalesOfAModelFarFromTheOriginAreNotWithinReach) {
    Random random(6);
    Task task = randomTask(random, 60.0, 60.0);
    for (rxVector<2>& m : task.model) m = m + rxVector<2>(5e8, 3e8);
    for (rxVector<2>& d : task.data) d = d + rxVector<2>(5e8, 3e8);
    Bounded bounded(task, 0.3);
    GroupBounds& bounds = bounded.bounds;
    EXPECT_FALSE(bounds.isWithinReach({1e7, 1e7, 0.0, 1e-9}, {1, 2}));
    const Bounded nearer(randomTask(random, 60.0, 60.0), 0.3);
    EXPECT_TRUE(nearer.bounds.isWithinReach({1e6, 1e6, 0.0, 1e-9}, {1, 2}));
    EXPECT_FALSE(nearer.bounds.isWithinReach({1e9, 1e9, 0.0, 1e-12}, {1, 2}));
}

TEST(GroupReach, LayersThatNoPointLooksAtAreLeftOut) {
    const GroupReach reach({9, 7}, {1.0, 1.0, 1.0});
    EXPECT_EQ(reach.ofLayer.size(), 1U);
    EXPECT_EQ(reach.layerOf, (std::vector<std::size_t>{0, 0, 0}));
}

}  // namespace
