#include "ptmatch/vote_estimates.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "ptmatch/chance.h"

namespace ptmatch::detail {
namespace {

// What else a block costs, in points counted: the call, finding the points, comparing.
constexpr double kBlockOverhead = 20.0;
// Collecting a point for a strip, likewise; and for the shape before that.
constexpr double kViewOverhead = 0.75;
constexpr double kPrepareOverhead = 2.0;

}  // namespace

VoteEstimates::VoteEstimates(double density, std::size_t numPoints, const VoteWeights& weights)
    : logOfFree_(std::log1p(-std::min(density, 0.999))) {
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

// A block of marks is 3 x 3 pixels; seen by windows of u x v pixels, u + 2 by v + 2.
double VoteEstimates::densitySeen(double columns, double rows) const {
    return -std::expm1((columns + 2.0) * (rows + 2.0) / 9.0 * logOfFree_);
}

double VoteEstimates::survival(double density, long threshold) const {
    constexpr double kLeast = 1e-60;
    return std::max(
        kLeast, binomialTail(numPoints_, density, static_cast<double>(threshold) / pointWeight_));
}

// A block ends when so many of the points counted missed that the rest cannot reach the threshold:
// k points miss k (1 - p) times on average, and the luckiest of a block's cells some deviations
// less.
double VoteEstimates::viewsCounted_(double density, long threshold) const {
    constexpr double kLuckiest = 3.5;  // standard deviations; 1 of 4,000, and a block has 512 cells
    const double missed = 1.0 - density;
    const double allowed = numPoints_ - static_cast<double>(threshold) / pointWeight_;
    if (allowed <= 0.0) return 0.0;
    const double luck = kLuckiest * std::sqrt(density * missed);
    const double root = (luck + std::sqrt(luck * luck + 4.0 * missed * allowed)) / (2.0 * missed);
    return viewsPerBlock_ * std::min(1.0, root * root / numPoints_);
}

double VoteEstimates::sweep(double density, double blocks, double strips, long threshold) const {
    return blocks * (viewsCounted_(density, threshold) + kBlockOverhead) +
           std::min(blocks, strips) * viewsPerBlock_ * kViewOverhead +
           viewsPerBlock_ * kPrepareOverhead;
}

}  // namespace ptmatch::detail
