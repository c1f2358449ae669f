#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "foundation/image.h"
#include "foundation/vector.h"
#include "ptmatch/score_buckets.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/vote_weights.h"

class rx_PointMatcherModel;

namespace ptmatch::detail {

/// A pose that the vote found: a point of the (translation, scale, rotation) lattice.
struct CoarseCandidate {
    rxPair<long> translation;  ///< pixels, relative to the model centre's pixel at the start pose
    double scale = 1.0;
    double rotationDegrees = 0.0;
};

/// Scored by votes.
using CoarseStore = ScoreBuckets<CoarseCandidate>;

/// Finds the best translations at one scale and rotation, for all translations of the window at
/// once. Serves the first vote over the lattice and the second one at fitted scales and rotations.
class TranslationSearch {
  public:
    /// Draws the marks and allocates the vote image. The arguments must outlive the search.
    TranslationSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                      const VoteWeights& weights, const rxPelRect& window);

    /// Votes, and offers the peaks at or above the threshold to the store in raster order.
    /// A store of capacity 1 and images under 2 pixels are offered every vote at or above it.
    /// Cost O(model points x window), no allocation but the store's.
    void offerPeaks(double scale, double rotationDegrees, long threshold, CoarseStore& store);

  private:
    const SearchGrid& grid_;
    const rx_PointMatcherModel& model_;
    const VoteWeights& weights_;
    rxPelRect window_;
    rxPelBuffer<unsigned char> marks_;
    std::variant<rxPelBuffer<short>, rxPelBuffer<std::int32_t>> votes_;
    std::vector<rxPair<long>> modelPixels_;
};

/// Threshold of a vote whose candidates go to a store: a full store only takes what beats its
/// lowest score.
long voteThreshold(const CoarseStore& store, long whileRoomIsLeft);

/// Pixels of the model points at a coarse candidate's pose, translation included.
void candidatePixels(const SearchGrid& grid, const rx_PointMatcherModel& model,
                     const CoarseCandidate& candidate, std::vector<rxPair<long>>& pixels);

}  // namespace ptmatch::detail
