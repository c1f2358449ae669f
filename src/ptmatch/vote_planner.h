#pragma once

#include <array>
#include <cstddef>

#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_weights.h"

namespace ptmatch::detail {

/// Decides how the translations of a lattice point are searched: one by one, or by tiles, of which
/// only those are looked into whose bound reaches the threshold. Any choice gives the same votes.
///
/// The cost of a choice is the number of blocks times the points to be counted in each. How many
/// tiles will survive is estimated as if every point met a mark by chance (a binomial tail), and
/// corrected by the numbers of tiles that did survive. Work is counted, never timed, so that one
/// build with one mathematical library always does the same search in the same way.
class VotePlanner {
  public:
    /// @param width, height  of the window.
    /// @param density        part of the pixels that are marked.
    /// @param affordable     the shapes to choose from; with each the one that follows it.
    VotePlanner(long width, long height, double density, std::size_t numPoints,
                const VoteWeights& weights, const TileSet& affordable);

    /// The shape of the tiles to begin with, an index into kTileShapes; 0 is the search without
    /// tiles.
    std::size_t shapeFor(long threshold);

    /// Tells how many blocks of the next shape held survivors of tiles of this shape.
    void learn(std::size_t shape, long threshold, long numBlocks);

  private:
    struct Level {
        std::size_t shape = 0;
        TileExtent extent;
        bool isAllowed = false;
        bool wasChosen = false;
        double density = 0.0;     // of the marks that a tile of this shape sees
        double correction = 1.0;  // survivors found, as a multiple of the estimate
        // Since the last decision: sums over the lattice points that began with or came to it.
        double numUses = 0.0;
        double estimates = 0.0;
        double blocksFound = 0.0;
    };

    double estimate_(const Level& level, long threshold) const;
    double blocksLeft_(const Level& level, long threshold) const;
    double viewsCounted_(const Level& level, long threshold) const;
    double sweepCost_(const Level& level, double blocks, long threshold) const;
    double cost_(const Level& level, long threshold) const;
    void decide_(long threshold);
    void correct_(Level& level);

    std::array<Level, kTileShapes.size()> levels_;
    double viewsPerBlock_ = 0.0;
    double numPoints_ = 0.0;    // of equal weight that vary as much as the model's
    double pointWeight_ = 1.0;  // of one of them
    std::size_t shape_ = 0;     // the last decision
    long threshold_ = -1;       // which it was made for
    long lookupsLeft_ = 0;      // until it is thought over
};

/// For tests: all planners choose this shape from now on, an index into kTileShapes; -1 gives the
/// choice back to them.
void forceTileShape(int shape);

}  // namespace ptmatch::detail
