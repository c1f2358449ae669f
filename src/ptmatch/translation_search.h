#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
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
    /// Draws the marks and takes the working memory, which checkImageMemory() has to have allowed.
    /// Model and grid must outlive the search. Weights for another number of points than the
    /// model's are reported to the assertion hook; such a search offers nothing.
    /// @throws rxPointMatcherDefs::BadParams  see voteKernel().
    TranslationSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                      const VoteWeights& weights, const rxPelRect& window);

    /// Votes, and offers the peaks at or above the threshold to the store in raster order.
    /// A store of capacity 1 and images under 2 pixels are offered every vote at or above it.
    /// Peaks that a full store would refuse need not be offered. Votes at the threshold but below
    /// what the store has come to ask for may be offered though they are no peaks; it refuses them.
    /// @param threshold  above 0.
    /// Cost for n model points (a weighted one counts once for each binary digit of its weight): n
    /// for a pixel and a place in the order of rows; n for each strip of 64 translations, to be
    /// picked; n / 16 steps or less for each block of 64 x kBlockRows translations, of which those
    /// at the right and lower edge may be nearly empty. Bounds over tiles add as much again for
    /// fewer, larger blocks and spare some of these; the planner expects a gain but cannot promise
    /// it. Then some steps for each vote that reaches the threshold.
    /// Allocates for the store; otherwise what it needs for the first time (lists of the points in
    /// the first call, marks and flags of a tile size) and, once, copies of the marks.
    void offerPeaks(double scale, double rotationDegrees, long threshold, CoarseStore& store);

    /// The same, when it is known that only the translations of some blocks can reach the
    /// threshold.
    /// @param shape   of the tiles that the blocks consist of, an index into kTileShapes.
    /// @param blocks  as BlockFlags numbers them.
    void offerPeaksWithin(std::size_t shape, std::span<const std::uint32_t> blocks, double scale,
                          double rotationDegrees, long threshold, CoarseStore& store);

    /// False when the weights are not the model's.
    bool canVote() const { return canVote_; }

    /// Pixels of the data points, in their order.
    std::span<const rxPair<long>> dataPixels() const { return dataPixels_; }

    const VotePlanner& planner() const { return planner_; }

  private:
    MarkBitmap& bitmap_(std::size_t shape);
    BlockFlags& flags_(std::size_t shape);
    void place_(double scale, double rotationDegrees);
    void descend_(std::size_t shape, long threshold);
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
    bool canVote_;
};

/// Threshold of a vote whose candidates go to a store: a full store only takes what beats its
/// lowest score.
long voteThreshold(const CoarseStore& store, long whileRoomIsLeft);

/// Pixels of the model points at a coarse candidate's pose, translation included.
void candidatePixels(const SearchGrid& grid, const rx_PointMatcherModel& model,
                     const CoarseCandidate& candidate, std::vector<rxPair<long>>& pixels);

}  // namespace ptmatch::detail
