#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ptmatch::detail {

/// What one model point adds to a vote, and the vote that a candidate must reach.
struct VoteWeights {
    std::vector<std::int16_t> scaled;  ///< one per model point; empty for an unweighted model
    long minimumScore = 2;             ///< in units of the scaled weights
    bool fitsShort = true;             ///< no vote can leave the 16-bit integers

    /// Width of a vote where each translation has one of its own: decides about the grid sizes that
    /// are refused (checkImageMemory), not about how votes are counted.
    long bytesPerVote() const { return fitsShort ? 2 : 4; }
    bool isWeighted() const { return !scaled.empty(); }
};

/// The weights of a model as the vote uses them. Weights whose sums leave 16 bits are scaled down
/// to a total magnitude of about 16384 and rounded, halves away from zero.
/// @param numPoints    points of the model.
/// @param weights      one per point, or empty for an unweighted model.
/// @param minCoverage  share of the total weight, in [0, 1].
/// @return nothing when the positive weights scale to less than 2 in all: no vote could tell a
///         candidate from noise (reported to the assertion hook).
std::optional<VoteWeights> makeVoteWeights(std::size_t numPoints, std::span<const long> weights,
                                           double minCoverage);

}  // namespace ptmatch::detail
