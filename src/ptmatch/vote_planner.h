#pragma once

#include <array>
#include <cstddef>

#include "ptmatch/survival_record.h"
#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_estimates.h"
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

    /// The cost of searching so many blocks of a shape, in points counted for a block.
    double costOf(std::size_t shape, double blocks, long threshold) const;

    /// The cost of a lattice point, searched in the best way.
    double lowestCost(long threshold) const;

    /// What it was built on.
    const VoteEstimates& estimates() const { return estimates_; }

  private:
    struct Level {
        std::size_t shape = 0;
        TileExtent extent;
        bool isAllowed = false;
        bool wasChosen = false;
        double density = 0.0;   // of the marks that a tile of this shape sees
        SurvivalRecord record;  // of the lattice points that began with this shape or came to it
    };

    double blocksLeft_(const Level& level, double blocks, long threshold) const;
    double cost_(const Level& level, long threshold) const;
    void decide_(long threshold);

    VoteEstimates estimates_;
    std::array<Level, kTileShapes.size()> levels_;
    std::size_t shape_ = 0;  // the last decision
    long threshold_ = -1;    // which it was made for
    long lookupsLeft_ = 0;   // until it is thought over
};

/// For tests: all planners choose this shape from now on, an index into kTileShapes; -1 gives the
/// choice back to them.
void forceTileShape(int shape);

}  // namespace ptmatch::detail
