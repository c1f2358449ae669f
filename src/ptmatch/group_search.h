#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "ptmatch/block_flags.h"
#include "ptmatch/group_bounds.h"
#include "ptmatch/group_planner.h"
#include "ptmatch/translation_search.h"

class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// The first vote with bounds shared by neighbouring scales and rotations: what a group of lattice
/// points cannot reach is not looked at in any of them. Offers the same candidates in the same
/// order as a TranslationSearch that is asked at every lattice point.
///
/// Scales are taken in bands. Within a band, groups are intervals of rotations; each is bounded
/// when its first lattice point comes, at the lowest scale of the band as a rule, and what the
/// bound left is kept for the scales that follow.
///
///      rotation ->
///      +-----------+-----------+-----------+
///      | .    .    |.    .    .|    .    . |  band of three scales: the rotations of each
///      |   .    .  |  .    .   | .    .    |  have a step of their own
///      |  .    .   | .    .    |.    .    .|
///      +-----------+-----------+-----------+
///
/// One thread at a time.
class GroupSearch {
  public:
    /// What the groups of a band may leave, 4 MiB; groups after that are searched whole.
    static constexpr std::size_t kMaxBlocksKept = std::size_t{1} << 20;

    /// All of them must outlive the search.
    GroupSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                const rxPointMatcherRunParams& params, const VoteWeights& weights,
                const rxPelRect& window, TranslationSearch& translations,
                std::size_t maxBlocksKept = kMaxBlocksKept);

    /// As TranslationSearch::offerPeaks. The lattice points must come in the order of the lattice,
    /// and thresholds must not fall.
    /// Allocates what a shape needs with its first use, and for the longest list of groups so far.
    /// Cost: a few steps for a lattice point that its group ruled out; for the others what
    /// TranslationSearch::offerPeaks() takes, for the blocks that are left alone; and
    /// GroupBounds::bound() once for each group.
    void offerPeaks(double scale, double rotationDegrees, long threshold, CoarseStore& store);

    /// Lattice points so far from which no candidate could come.
    long numSkipped() const { return numSkipped_; }

  private:
    enum class Outcome { Hopeless, SomeBlocks, Open };

    struct Group {
        double highDegrees;  // the last rotation that belongs to it
        Outcome outcome;
        std::size_t shape;  // of the tiles in its blocks
        std::size_t begin;  // in blocks_
        std::size_t end;
    };

    void makePlanner_(long threshold);
    void enterScale_(double scale, long threshold);
    void beginBand_(double scale, long threshold);
    const Group& groupOf_(double degrees, long threshold);
    void addGroup_(double degrees, long threshold);
    Group boundedGroup_(std::size_t shape, double lowDegrees, long threshold);

    const SearchGrid& grid_;
    const rx_PointMatcherModel& model_;
    const rxPointMatcherRunParams& params_;
    const VoteWeights& weights_;
    rxPelRect window_;
    TranslationSearch& translations_;
    Lattice scales_;
    double numLatticePoints_;
    std::optional<GroupBounds> bounds_;    // both made with the first lattice point, where groups
    std::optional<GroupPlanner> planner_;  // can be worth their plan

    std::optional<double> scale_;  // of the last lattice point
    // The band: its scales, where its rotations begin, and their step at the highest scale.
    int numScales_ = 0;
    double lowScale_ = 0.0;
    double highScale_ = 0.0;
    double firstDegrees_ = 0.0;
    double rotationStep_ = 0.0;
    bool hasRoom_ = true;         // for more blocks
    std::vector<Group> groups_;   // of the band, ascending; of a band of one scale the last one
    std::size_t groupIndex_ = 0;  // of the last lattice point
    std::vector<std::uint32_t> blocks_;
    std::size_t maxBlocksKept_;
    long numSkipped_ = 0;
};

}  // namespace ptmatch::detail
