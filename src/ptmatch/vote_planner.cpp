#include "ptmatch/vote_planner.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>

namespace ptmatch::detail {
namespace {

// What else a block costs, in points counted: the call, finding the points, comparing.
constexpr double kBlockOverhead = 12.0;
// Collecting a point for a strip, likewise.
constexpr double kViewOverhead = 0.75;
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

double tilesPerBlockOfNext(long tile) {
    const double ratio = static_cast<double>(tile / nextTile(tile));
    return 64.0 * kBlockRows / (ratio * ratio);
}

std::atomic<long> forcedTile{0};

}  // namespace

VotePlanner::VotePlanner(long width, long height, double density, std::size_t numPoints,
                         const VoteWeights& weights) {
    for (std::size_t i = 0; i < kNumTileSizes; ++i) {
        Level& level = levels_[i];
        level.extent = TileExtent(1L << i, width, height);
        // A block of marks is 3 pixels wide; seen by windows of t pixels, t + 2.
        const double reach = (static_cast<double>(level.extent.tile) + 2.0) / 3.0;
        level.density = -std::expm1(reach * reach * std::log1p(-std::min(density, 0.999)));
        if (width < kMinColumns * level.extent.tile) level.extent.strips = 0;
    }
    levels_[0].extent = TileExtent(1, width, height);
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
    const Level& next = levels_[tileIndex(nextTile(level.extent.tile))];
    return static_cast<double>(next.extent.blocks()) *
           anyOf(survival_(level, threshold), tilesPerBlockOfNext(level.extent.tile));
}

double VotePlanner::cost_(const Level& level, long threshold) const {
    const double perBlock = viewsPerBlock_ + kBlockOverhead;
    const double perStrip = viewsPerBlock_ * kViewOverhead;
    double cost = static_cast<double>(level.extent.blocks()) * perBlock +
                  static_cast<double>(level.extent.strips) * perStrip;
    for (const Level* at = &level; at->extent.tile > 1;
         at = &levels_[tileIndex(nextTile(at->extent.tile))]) {
        // A block that is left over in a wide image mostly stands alone in its strip.
        cost += blocksLeft_(*at, threshold) * (perBlock + perStrip);
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
    tile_ = 1;
    double lowest = cost_(levels_[0], threshold);
    for (const Level& level : levels_) {
        if (level.extent.strips == 0) continue;
        const double cost = cost_(level, threshold);
        if (cost < lowest) {
            lowest = cost;
            tile_ = level.extent.tile;
        }
    }
    threshold_ = threshold;
    lookupsLeft_ = kLookupsPerDecision;
}

long VotePlanner::tileFor(long threshold) {
    if (const long forced = forcedTile.load(std::memory_order_relaxed)) return forced;
    if (static_cast<double>(levels_[0].extent.blocks()) * viewsPerBlock_ < kCheapSweep) return 1;
    if (threshold != threshold_ || lookupsLeft_-- == 0) decide_(threshold);
    return tile_;
}

void VotePlanner::learn(long tile, long threshold, long numBlocks) {
    Level& level = levels_[tileIndex(tile)];
    level.blocksExpected += blocksLeft_(level, threshold);
    level.blocksFound += static_cast<double>(numBlocks);
}

void forceTile(long tile) {
    forcedTile.store(tile, std::memory_order_relaxed);
}

}  // namespace ptmatch::detail
