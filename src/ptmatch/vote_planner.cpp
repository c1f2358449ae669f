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
// Another shape has to be cheaper than the last one by this factor: it needs a bitmap of its own.
constexpr double kClearGain = 0.75;
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
                         const VoteWeights& weights) {
    const double logOfFree = std::log1p(-std::min(density, 0.999));
    for (std::size_t i = 0; i < kTileShapes.size(); ++i) {
        const TileShape& tile = kTileShapes[i];
        levels_[i].shape = i;
        levels_[i].extent = TileExtent(tile, width, height);
        levels_[i].isAllowed = width >= kMinColumns * tile.columns() || tile.columns() == 1;
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

double VotePlanner::survival_(const Level& level, long threshold) const {
    return level.correction *
           binomialTail(numPoints_, level.density, static_cast<double>(threshold) / pointWeight_);
}

double VotePlanner::blocksLeft_(const Level& level, long threshold) const {
    const TileShape& tile = kTileShapes[level.shape];
    return static_cast<double>(levels_[tile.next].extent.blocks()) *
           anyOf(survival_(level, threshold), tilesPerBlockOfNext(tile));
}

double VotePlanner::cost_(const Level& level, long threshold) const {
    const double perBlock = viewsPerBlock_ + kBlockOverhead;
    const double perStrip = viewsPerBlock_ * kViewOverhead;
    double cost = static_cast<double>(level.extent.blocks()) * perBlock +
                  static_cast<double>(level.extent.strips) * perStrip;
    for (const Level* at = &level; at->shape > 0; at = &levels_[kTileShapes[at->shape].next]) {
        // Blocks that are left over share the strips, or stand alone in them.
        const double blocks = blocksLeft_(*at, threshold);
        const Level& next = levels_[kTileShapes[at->shape].next];
        cost += viewsPerBlock_ * kPrepareOverhead + blocks * perBlock +
                std::min(blocks, static_cast<double>(next.extent.strips)) * perStrip;
    }
    return cost;
}

void VotePlanner::correct_(Level& level) {
    // A quarter of a block stands for none, which is no ratio.
    const double ratio = std::max(level.blocksFound, 0.25) / std::max(level.blocksExpected, 0.25);
    level.correction = std::clamp(level.correction * ratio, 1e-4, 1e4);
    level.blocksExpected = level.blocksFound = 0.0;
}

void VotePlanner::decide_(long threshold) {
    for (Level& level : levels_) correct_(level);
    double lowest = kClearGain * cost_(levels_[shape_], threshold);
    for (const Level& level : levels_) {
        const double cost = cost_(level, threshold);
        if (level.isAllowed && cost < lowest) {
            lowest = cost;
            shape_ = level.shape;
        }
    }
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
    level.blocksExpected += blocksLeft_(level, threshold);
    level.blocksFound += static_cast<double>(numBlocks);
}

void forceTileShape(int shape) {
    forcedShape.store(shape, std::memory_order_relaxed);
}

}  // namespace ptmatch::detail
