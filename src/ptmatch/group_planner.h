#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "ptmatch/group_bounds.h"
#include "ptmatch/pose_group.h"
#include "ptmatch/survival_record.h"
#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_planner.h"

namespace ptmatch::detail {

/// Decides which neighbouring lattice points are bounded together, if any are. Like VotePlanner it
/// compares counts of work, estimated from the density of the marks and corrected by what survived,
/// and any choice gives the same votes. One thread at a time.
class GroupPlanner {
  public:
    /// @param planner           plans the lattice points that groups leave.
    /// @param bounds            makes the bounds; asked what exists and what it takes.
    /// @param numLatticePoints  of the whole search.
    /// @param bytes             memory for all marks and flags of groups.
    GroupPlanner(const VotePlanner& planner, const GroupBounds& bounds, const SearchGrid& grid,
                 const rxPelRect& window, const TileSet& affordable, double numLatticePoints,
                 double bytes);

    /// The shape of the next group, an index into kGroupShapes; none when lattice points are
    /// searched with less work one by one.
    /// @param fewest, most  scales that the group may have.
    /// Cost: some steps for each shape where a decision is due, every fourth group at first and
    /// every 64th later.
    std::optional<std::size_t> shapeFor(long threshold, int fewest, int most);

    /// Tells how many blocks of the next smaller tiles a group left.
    void learn(std::size_t shape, long threshold, long numBlocks);

  private:
    // At most translations of a wide window part of the model lies beside the data, so fewer tiles
    // survive than if all points could meet marks. A shape has to be tried to know.
    static constexpr double kFirstCorrection = 0.1;

    struct Choice {
        TileExtent extent;
        bool isAllowed = false;
        double density = 0.0;      // of the marks that a tile sees, on average over the points
        double drawingCost = 0.0;  // of the marks
        double bytes = 0.0;
        SurvivalRecord record{kFirstCorrection};
    };

    double costPerPoint_(std::size_t shape, long threshold, double limit) const;
    void decide_(long threshold, int fewest, int most);
    double blocksOfNext_(const GroupShape& shape) const;
    double bytesLeft_() const;
    std::optional<std::size_t> nextInTurn_(int fewest, int most);

    const VotePlanner& planner_;
    const GroupBounds& bounds_;
    long width_;
    long height_;
    std::array<Choice, kNumGroupShapes> choices_;
    double placingCost_;  // of the model at a lattice point
    double numLatticePoints_;
    double bytes_;

    std::optional<std::size_t> decision_;
    long threshold_ = -1;  // which it was made for, and the scales
    int fewest_ = 0;
    int most_ = 0;
    int lookups_;           // after the next decision
    int lookupsLeft_ = 0;   // until it is thought over
    std::size_t turn_ = 0;  // for tests
};

/// For tests: all planners choose this shape from now on where a group may have its scales, an
/// index into kGroupShapes. kNoGroups forbids groups, kEveryShapeInTurn takes another one with each
/// question (and now and then none), kPlannedGroups gives the choice back.
inline constexpr int kPlannedGroups = -1;
inline constexpr int kNoGroups = -2;
inline constexpr int kEveryShapeInTurn = -3;
void forceGroupShape(int shape);
int forcedGroupShape();

}  // namespace ptmatch::detail
