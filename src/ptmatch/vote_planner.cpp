#include "ptmatch/vote_planner.h"

#include <algorithm>
#include <atomic>

#include "ptmatch/chance.h"

namespace ptmatch::detail {
namespace {

// A shape that was never chosen needs a bitmap first; it has to be the cheaper by this factor.
constexpr double kFirstUse = 1.4;
// Below this many points counted there is nothing to win by a plan.
constexpr double kCheapSweep = 400.0;
// A decision holds for so many lattice points of one threshold.
constexpr long kLookupsPerDecision = 16;
// A tile whose image has fewer columns wastes most of a word.
constexpr long kMinColumns = 24;

std::atomic<int> forcedShape{-1};

}  // namespace

VotePlanner::VotePlanner(long width, long height, double density, std::size_t numPoints,
                         const VoteWeights& weights, const TileSet& affordable)
    : estimates_(density, numPoints, weights) {
    for (std::size_t i = 0; i < kTileShapes.size(); ++i) {
        const TileShape& tile = kTileShapes[i];
        levels_[i].shape = i;
        levels_[i].extent = TileExtent(tile, width, height);
        const bool isWideEnough = width >= kMinColumns * tile.columns() || tile.columns() == 1;
        levels_[i].isAllowed = isWideEnough && affordable[i];
        levels_[i].density = estimates_.densitySeen(static_cast<double>(tile.columns()),
                                                    static_cast<double>(tile.rows()));
    }
}

double VotePlanner::blocksLeft_(const Level& level, double blocks, long threshold) const {
    const TileShape& tile = kTileShapes[level.shape];
    const double survival =
        level.record.correction() * estimates_.survival(level.density, threshold);
    const double share = blocks / static_cast<double>(level.extent.blocks());
    return share * static_cast<double>(levels_[tile.next].extent.blocks()) *
           anyOf(survival, tilesPerBlockOfNext(tile));
}

double VotePlanner::costOf(std::size_t shape, double blocks, long threshold) const {
    double cost = 0.0;
    for (;; shape = kTileShapes[shape].next) {
        const Level& level = levels_[shape];
        cost += estimates_.sweep(level.density, blocks, static_cast<double>(level.extent.strips),
                                 threshold);
        if (shape == 0) return cost;
        blocks = blocksLeft_(level, blocks, threshold);
    }
}

double VotePlanner::cost_(const Level& level, long threshold) const {
    return costOf(level.shape, static_cast<double>(level.extent.blocks()), threshold);
}

double VotePlanner::lowestCost(long threshold) const {
    double lowest = cost_(levels_[0], threshold);
    for (const Level& level : levels_) {
        if (level.isAllowed) lowest = std::min(lowest, cost_(level, threshold));
    }
    return lowest;
}

void VotePlanner::decide_(long threshold) {
    for (Level& level : levels_) {
        const TileShape& tile = kTileShapes[level.shape];
        level.record.correct(static_cast<double>(levels_[tile.next].extent.blocks()),
                             tilesPerBlockOfNext(tile));
    }
    double lowest = cost_(levels_[0], threshold);
    shape_ = 0;
    for (Level& level : levels_) {
        if (!level.isAllowed) continue;
        const double cost = cost_(level, threshold) * (level.wasChosen ? 1.0 : kFirstUse);
        if (cost >= lowest) continue;
        lowest = cost;
        shape_ = level.shape;
    }
    levels_[shape_].wasChosen = true;
    threshold_ = threshold;
    lookupsLeft_ = kLookupsPerDecision;
}

std::size_t VotePlanner::shapeFor(long threshold) {
    const int forced = forcedShape.load(std::memory_order_relaxed);
    if (forced >= 0) return static_cast<std::size_t>(forced);
    if (static_cast<double>(levels_[0].extent.blocks()) * estimates_.viewsPerBlock() < kCheapSweep)
        return 0;
    if (threshold != threshold_ || lookupsLeft_-- == 0) decide_(threshold);
    return shape_;
}

void VotePlanner::learn(std::size_t shape, long threshold, long numBlocks) {
    Level& level = levels_[shape];
    level.record.note(estimates_.survival(level.density, threshold), numBlocks);
}

void forceTileShape(int shape) {
    forcedShape.store(shape, std::memory_order_relaxed);
}

}  // namespace ptmatch::detail
