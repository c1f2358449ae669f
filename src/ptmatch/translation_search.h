#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/block_flags.h"
#include "ptmatch/mark_bitmap.h"
#include "ptmatch/placed_points.h"
#include "ptmatch/score_buckets.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/strip_counter.h"
#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_planner.h"
#include "ptmatch/vote_rows.h"
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
///
/// The vote of a translation is the number (or the weight) of the model points that it brings onto
/// marks. Votes are counted in blocks of many translations (VoteKernel); whole tiles of
/// translations whose bound stays below the threshold are left out.
class TranslationSearch {
  public:
    /// Draws the marks and takes the working memory. The arguments must outlive the search.
    /// @throws rxPointMatcherDefs::BadParams  see voteKernel().
    TranslationSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                      const VoteWeights& weights, const rxPelRect& window);

    /// Votes, and offers the peaks at or above the threshold to the store in raster order.
    /// A store of capacity 1 and images under 2 pixels are offered every vote at or above it.
    /// Peaks that a full store would refuse need not be offered.
    /// Cost O(model points x window / 512) at most, no allocation but the store's (and, when tiles
    /// of a size are used for the first time, their marks).
    void offerPeaks(double scale, double rotationDegrees, long threshold, CoarseStore& store);

  private:
    MarkBitmap& bitmap_(std::size_t shape);
    BlockFlags& flags_(std::size_t shape);
    void descend_(std::size_t shape, long threshold);
    void boundTiles_(std::size_t shape, long threshold);
    void flagSurvivors_(std::size_t shape, long strip, long band, BlockFlags& next) const;
    void harvest_(double scale, double rotationDegrees, long threshold, CoarseStore& store);
    void countPart_(long firstBand, long endBand, long threshold);
    void enterSurvivors_(long strip, long band, long firstBand, long threshold);

    const SearchGrid& grid_;
    const rx_PointMatcherModel& model_;
    rxPelRect window_;
    long width_;  // translations of the window
    long height_;
    std::vector<rxPair<long>> dataPixels_;
    std::vector<rxPair<long>> modelPixels_;
    // By the index of the tile's shape, made when first asked for.
    std::array<std::optional<MarkBitmap>, kTileShapes.size()> bitmaps_;
    std::array<std::optional<BlockFlags>, kTileShapes.size()> blockFlags_;
    PlacedPoints points_;
    StripCounter counter_;
    StripCounter negativeCounter_;  // of the weights that are subtracted
    long bandsPerPart_;
    VoteRows rows_;
    VotePlanner planner_;
};

/// Threshold of a vote whose candidates go to a store: a full store only takes what beats its
/// lowest score.
long voteThreshold(const CoarseStore& store, long whileRoomIsLeft);

/// Pixels of the model points at a coarse candidate's pose, translation included.
void candidatePixels(const SearchGrid& grid, const rx_PointMatcherModel& model,
                     const CoarseCandidate& candidate, std::vector<rxPair<long>>& pixels);

}  // namespace ptmatch::detail
