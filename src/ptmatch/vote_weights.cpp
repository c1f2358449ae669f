#include "ptmatch/vote_weights.h"

#include <algorithm>
#include <cmath>

#include "foundation/assertion.h"

namespace ptmatch::detail {
namespace {

// Largest magnitude of a sum that stays within 16-bit votes.
constexpr long kShortLimit = 32767;
// Total magnitude that weights are scaled to when they leave that limit.
constexpr double kScaledTotal = 16384.0;

struct SignedTotals {
    long positive = 0;
    long negative = 0;  // a magnitude
};

template <class Weight>
SignedTotals totals(std::span<const Weight> weights) {
    SignedTotals sum;
    for (const Weight w : weights) {
        if (w >= 1) {
            sum.positive += w;
        } else {
            sum.negative -= w;
        }
    }
    return sum;
}

long minimumScore(double minCoverage, long total) {
    return std::max(2L, static_cast<long>(minCoverage * static_cast<double>(total)));
}

std::vector<std::int16_t> scaleWeights(std::span<const long> weights) {
    const SignedTotals sum = totals<long>(weights);
    double factor = 1.0;
    if (sum.positive > kShortLimit || sum.negative > kShortLimit) {
        factor = kScaledTotal / static_cast<double>(std::max(sum.positive, sum.negative));
    }
    std::vector<std::int16_t> scaled;
    scaled.reserve(weights.size());
    for (const long w : weights) {
        scaled.push_back(static_cast<std::int16_t>(std::round(static_cast<double>(w) * factor)));
    }
    return scaled;
}

}  // namespace

std::optional<VoteWeights> makeVoteWeights(std::size_t numPoints, std::span<const long> weights,
                                           double minCoverage) {
    VoteWeights votes;
    if (weights.empty()) {
        const long total = static_cast<long>(numPoints);
        votes.minimumScore = minimumScore(minCoverage, total);
        votes.fitsShort = total <= kShortLimit;
        return votes;
    }
    votes.scaled = scaleWeights(weights);
    const SignedTotals sum = totals<std::int16_t>(votes.scaled);
    if (sum.positive < 2) {
        rfReportAssertion(__LINE__);
        return std::nullopt;
    }
    votes.minimumScore = minimumScore(minCoverage, sum.positive);
    // Rounding up many small weights can carry the scaled sums past the limit again.
    votes.fitsShort = sum.positive <= kShortLimit && sum.negative <= kShortLimit;
    return votes;
}

}  // namespace ptmatch::detail
