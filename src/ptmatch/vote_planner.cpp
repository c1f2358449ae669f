#include "ptmatch/vote_planner.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>

namespace ptmatch::detail {
namespace {

// What else a block costs, in points counted: the call, finding the points, comparing.
constexpr double kBlockOverhead = 20.0;
// Collecting a point for a strip, likewise; and for the shape before that.
constexpr double kViewOverhead = 0.75;
constexpr double kPrepareOverhead = 2.0;
// A shape that was never chosen needs a bitmap first; it has to be the cheaper by this factor.
constexpr double kFirstUse = 1.4;
// Below this many points counted there is nothing to win by a plan.
constexpr double kCheapSweep = 400.0;
// A decision holds for so many lattice points of one threshold.
constexpr long kLookupsPerDecision = 16;
// A tile whose image has fewer columns wastes most of a word.
constexpr long kMinColumns = 24;

// ln n!, by Stirling's series; good to 1e-3 from 1 on, which is plenty for a choice.
double logFactorial(double n) {
    if (n < 1.0) return 0.0;
    return n * std::log(n) - n + 0.5 * std::log(6.283185307179586 * n) + 1.0 / (12.0 * n);
}

// Probability that at least `wanted` of n events happen, each with probability p.
double binomialTail(double n, double p, double wanted) {
    if (wanted <= n * p) return 1.0;
    if (wanted > n) return 0.0;
    double term = std::exp(logFactorial(n) - logFactorial(wanted) - logFactorial(n - wanted) +
                           wanted * std::log(p) + (n - wanted) * std::log1p(-p));
    // From here on the terms fall, at first slowly when `wanted` lies near the mean.
    double tail = 0.0;
    for (double k = wanted; k <= n && term > 1e-3 * tail; k += 1.0) {
        tail += term;
        term *= (n - k) / (k + 1.0) * p / (1.0 - p);
    }
    return std::min(1.0, tail);
}

// Probability that at least one of `count` events of probability p happens.
double anyOf(double p, double count) {
    return p >= 1.0 ? 1.0 : -std::expm1(count * std::log1p(-p));
}

double tilesPerBlockOfNext(const TileShape& tile) {
    const TileShape& part = kTileShapes[tile.next];
    return 64.0 * kBlockRows * static_cast<double>(part.columns() * part.rows()) /
           static_cast<double>(tile.columns() * tile.rows());
}

std::atomic<int> forcedShape{-1};

}  // namespace

VotePlanner::VotePlanner(long width, long height, double density, std::size_t numPoints,
                         const VoteWeights& weights, const TileSet& affordable) {
    const double logOfFree = std::log1p(-std::min(density, 0.999));
    for (std::size_t i = 0; i < kTileShapes.size(); ++i) {
        const TileShape& tile = kTileShapes[i];
        levels_[i].shape = i;
        levels_[i].extent = TileExtent(tile, width, height);
        const bool isWideEnough = width >= kMinColumns * tile.columns() || tile.columns() == 1;
        levels_[i].isAllowed = isWideEnough && affordable[i];
        // A block of marks is 3 x 3 pixels; seen by windows of u x v pixels, u + 2 by v + 2.
        const double area = static_cast<double>((tile.columns() + 2) * (tile.rows() + 2)) / 9.0;
        levels_[i].density = -std::expm1(area * logOfFree);
    }
    double sum = 0.0;
    double squares = 0.0;
    for (const std::int16_t w : weights.scaled) {
        if (w <= 0) continue;
        sum += w;
        squares += static_cast<double>(w) * w;
        viewsPerBlock_ += std::popcount(static_cast<unsigned>(w));
    }
    if (!weights.isWeighted()) {
        sum = squares = viewsPerBlock_ = static_cast<double>(numPoints);
    }
    pointWeight_ = squares / sum;
    numPoints_ = sum / pointWeight_;
}

// The probability that a tile survives, as if every point met a mark by chance; never 0, so that a
// correction can make anything of it.
double VotePlanner::estimate_(const Level& level, long threshold) const {
    constexpr double kLeast = 1e-60;
    return std::max(kLeast, binomialTail(numPoints_, level.density,
                                         static_cast<double>(threshold) / pointWeight_));
}

double VotePlanner::blocksLeft_(const Level& level, long threshold) const {
    const TileShape& tile = kTileShapes[level.shape];
    const double survival = level.correction * estimate_(level, threshold);
    return static_cast<double>(levels_[tile.next].extent.blocks()) *
           anyOf(survival, tilesPerBlockOfNext(tile));
}

// A block ends when so many of the points counted missed that the rest cannot reach the threshold:
// k points miss k (1 - p) times on average, and the luckiest of a block's cells some deviations
// less.
double VotePlanner::viewsCounted_(const Level& level, long threshold) const {
    constexpr double kLuckiest = 3.5;  // standard deviations; 1 of 4,000, and a block has 512 cells
    const double missed = 1.0 - level.density;
    const double allowed = numPoints_ - static_cast<double>(threshold) / pointWeight_;
    if (allowed <= 0.0) return 0.0;
    const double luck = kLuckiest * std::sqrt(level.density * missed);
    const double root = (luck + std::sqrt(luck * luck + 4.0 * missed * allowed)) / (2.0 * missed);
    return viewsPerBlock_ * std::min(1.0, root * root / numPoints_);
}

double VotePlanner::sweepCost_(const Level& level, double blocks, long threshold) const {
    const double strips = std::min(blocks, static_cast<double>(level.extent.strips));
    return blocks * (viewsCounted_(level, threshold) + kBlockOverhead) +
           strips * viewsPerBlock_ * kViewOverhead + viewsPerBlock_ * kPrepareOverhead;
}

double VotePlanner::cost_(const Level& level, long threshold) const {
    double cost = sweepCost_(level, static_cast<double>(level.extent.blocks()), threshold);
    for (const Level* at = &level; at->shape > 0; at = &levels_[kTileShapes[at->shape].next]) {
        cost += sweepCost_(levels_[kTileShapes[at->shape].next], blocksLeft_(*at, threshold),
                           threshold);
    }
    return cost;
}

// Compares what was found with what was estimated. A quarter of a block stands for none, which
// would be no ratio.
void VotePlanner::correct_(Level& level) {
    if (level.numUses == 0.0) return;
    const TileShape& tile = kTileShapes[level.shape];
    const double numBlocks =
        level.numUses * static_cast<double>(levels_[tile.next].extent.blocks());
    const double share = std::clamp(level.blocksFound, 0.25, 0.999 * numBlocks) / numBlocks;
    const double survival = -std::expm1(std::log1p(-share) / tilesPerBlockOfNext(tile));
    level.correction = survival / (level.estimates / level.numUses);
    level.numUses = level.estimates = level.blocksFound = 0.0;
}

void VotePlanner::decide_(long threshold) {
    for (Level& level : levels_) correct_(level);
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
    if (static_cast<double>(levels_[0].extent.blocks()) * viewsPerBlock_ < kCheapSweep) return 0;
    if (threshold != threshold_ || lookupsLeft_-- == 0) decide_(threshold);
    return shape_;
}

void VotePlanner::learn(std::size_t shape, long threshold, long numBlocks) {
    Level& level = levels_[shape];
    level.numUses += 1.0;
    level.estimates += estimate_(level, threshold);
    level.blocksFound += static_cast<double>(numBlocks);
}

void forceTileShape(int shape) {
    forcedShape.store(shape, std::memory_order_relaxed);
}

}  // namespace ptmatch::detail
