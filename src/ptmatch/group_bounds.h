#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/block_flags.h"
#include "ptmatch/group_reach.h"
#include "ptmatch/mark_bitmap.h"
#include "ptmatch/placed_points.h"
#include "ptmatch/pose_group.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/strip_counter.h"
#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_weights.h"

class rx_PointMatcherModel;

namespace ptmatch::detail {

/// Bounds the votes of all lattice points of a group and all translations of a tile at once.
///
/// The model is placed at the middle of the group. At any lattice point of it a model point lies no
/// more than its reach away (GroupReach), so it brings a mark under one of the tile's translations
/// only if the tile's window, wider by the reach on each side, meets a mark.
/// One thread at a time.
class GroupBounds {
  public:
    /// Grid, model and data pixels must outlive the bounds.
    GroupBounds(const SearchGrid& grid, const rx_PointMatcherModel& model,
                const VoteWeights& weights, const rxPelRect& window,
                std::span<const rxPair<long>> dataPixels);

    /// Distance of each model point from the model's centre, as parts of the largest.
    const std::vector<double>& radius() const { return radius_; }

    /// Whether a group of this size stays within the reach that bounds are made for. Groups of
    /// negative scales may not, whose rotations come in steps of half a turn, nor those of models
    /// enormously far from the origin.
    bool isWithinReach(const PoseGroup& group, const GroupSize& size) const;

    /// Finds what may reach the threshold at any lattice point of a group within reach.
    /// @param shape   an index into kGroupShapes.
    /// @return which blocks of the next smaller tiles; good until the next call.
    /// Cost for n model points: n to be placed, and n / 16 steps or less for each block of tiles;
    /// the drawing of the marks with the first use of a shape (see MarkBitmap), which allocates.
    const BlockFlags& bound(const PoseGroup& group, std::size_t shape, long threshold);

    /// What the marks and flags for tiles take, an index into kTileShapes.
    double bytes(std::size_t tile, const GroupReach& reach) const;

    /// Whether the marks of a shape are drawn already.
    bool isReady(std::size_t shape) const { return marks_[shape] != nullptr; }

  private:
    struct DilatedMarks {
        GroupReach reach;
        MarkBitmap bitmap;
    };

    DilatedMarks& marksFor_(std::size_t shape);
    void place_(const PoseGroup& group, const GroupReach& reach);

    const SearchGrid& grid_;
    const rx_PointMatcherModel& model_;
    rxPelRect window_;
    std::span<const rxPair<long>> dataPixels_;
    std::vector<double> radius_;
    double largestRadius_ = 0.0;  // pixels, at scale 1
    double largestCoordinate_;    // likewise, of what model pixels are reckoned from
    std::vector<rxPair<long>> modelPixels_;
    PlacedPoints points_;
    std::size_t lastShape_ = kNumGroupShapes;  // whose layers the points look at
    StripCounter counter_;
    std::array<std::unique_ptr<DilatedMarks>, kNumGroupShapes> marks_;  // made when first needed
    // By tile, made when first asked for: of all blocks, and of those that are found.
    std::array<std::optional<BlockFlags>, kTileShapes.size()> all_;
    std::array<std::optional<BlockFlags>, kTileShapes.size()> found_;
};

}  // namespace ptmatch::detail
