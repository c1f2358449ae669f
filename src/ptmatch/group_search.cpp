#include "ptmatch/group_search.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/search_memory.h"

namespace ptmatch::detail {
namespace {

// Searches of less work, in points counted for a block, have nothing to win by groups.
constexpr double kCheapSearch = 1e6;

// Rotations that are searched one by one before groups are thought of again.
constexpr double kOpenRotations = 16.0;

// Lattice values are added up: a group reaches this part of a step beyond its last one.
constexpr double kRoundingOfSteps = 1e-6;

// Not a whole number of values: this is an estimate.
double latticePoints(const Lattice& scales, const rx_PointMatcherModel& model,
                     const rxPointMatcherRunParams& params, double gridSize) {
    const double middle = scales.low + (scales.high - scales.low) / 2.0;
    const Lattice rotations =
        rotationLattice(params.rotationUncertainty(), model, middle, gridSize);
    const auto numValues = [](const Lattice& lattice) {
        return (lattice.high - lattice.low) / lattice.step + 1.0;
    };
    return numValues(scales) * numValues(rotations);
}

}  // namespace

GroupSearch::GroupSearch(const SearchGrid& grid, const rx_PointMatcherModel& model,
                         const rxPointMatcherRunParams& params, const VoteWeights& weights,
                         const rxPelRect& window, TranslationSearch& translations,
                         std::size_t maxBlocksKept)
    : grid_(grid),
      model_(model),
      params_(params),
      weights_(weights),
      window_(window),
      translations_(translations),
      scales_(scaleLattice(params.scaleUncertainty(), model, grid.gridSize)),
      numLatticePoints_(latticePoints(scales_, model, params, grid.gridSize)),
      maxBlocksKept_(maxBlocksKept) {}

void GroupSearch::offerPeaks(double scale, double rotationDegrees, long threshold,
                             CoarseStore& store) {
    if (scale != scale_) enterScale_(scale, threshold);
    if (!planner_) {
        translations_.offerPeaks(scale, rotationDegrees, threshold, store);
        return;
    }
    const Group& group = groupOf_(rotationDegrees, threshold);
    switch (group.outcome) {
        case Outcome::Hopeless:
            ++numSkipped_;
            return;
        case Outcome::SomeBlocks:
            translations_.offerPeaksWithin(
                group.shape, std::span(blocks_).subspan(group.begin, group.end - group.begin),
                scale, rotationDegrees, threshold, store);
            return;
        case Outcome::Open:
            translations_.offerPeaks(scale, rotationDegrees, threshold, store);
            return;
    }
}

void GroupSearch::enterScale_(double scale, long threshold) {
    if (!scale_) makePlanner_(threshold);
    scale_ = scale;
    groupIndex_ = 0;
    const bool isInBand = numScales_ > 0 && scale <= highScale_;
    if (planner_ && !isInBand) beginBand_(scale, threshold);
}

void GroupSearch::makePlanner_(long threshold) {
    const int forced = forcedGroupShape();
    if (forced == kNoGroups || !translations_.canVote()) return;
    const double cost = numLatticePoints_ * translations_.planner().lowestCost(threshold);
    if (forced == kPlannedGroups && cost < kCheapSearch) return;
    const TileSet affordable = affordableTiles(grid_, window_);
    bounds_.emplace(grid_, model_, weights_, window_, translations_.dataPixels());
    planner_.emplace(translations_.planner(), *bounds_, grid_, window_, affordable,
                     numLatticePoints_,
                     kMaxSearchImageBytes - searchImageBytes(grid_, window_, affordable));
}

// As many scales as the planner's choice for the first group has.
void GroupSearch::beginBand_(double scale, long threshold) {
    constexpr int kMostScales = kGroupSizes.back().numScales;
    std::array<double, kMostScales> scales{};
    int numLeft = 0;
    for (double s = scale; s <= scales_.high && numLeft < kMostScales; s += scales_.step) {
        scales[static_cast<std::size_t>(numLeft++)] = s;
    }
    const std::optional<std::size_t> shape = planner_->shapeFor(threshold, 1, numLeft);
    numScales_ = shape ? kGroupShapes[*shape].size.numScales : 1;
    lowScale_ = scale;
    highScale_ = scales[static_cast<std::size_t>(numScales_ - 1)];
    rotationStep_ = model_.rotationStep_(highScale_, grid_.gridSize);
    firstDegrees_ = std::numeric_limits<double>::infinity();
    for (int i = 0; i < numScales_; ++i) {
        const Lattice rotations =
            rotationLattice(params_.rotationUncertainty(), model_,
                            scales[static_cast<std::size_t>(i)], grid_.gridSize);
        firstDegrees_ = std::min(firstDegrees_, rotations.low);
    }
    groups_.clear();
    blocks_.clear();
    hasRoom_ = true;
}

const GroupSearch::Group& GroupSearch::groupOf_(double degrees, long threshold) {
    const std::size_t numBefore = groups_.size();
    while (groupIndex_ < numBefore && degrees > groups_[groupIndex_].highDegrees) ++groupIndex_;
    if (groupIndex_ < numBefore) return groups_[groupIndex_];
    do {
        addGroup_(degrees, threshold);
    } while (degrees > groups_.back().highDegrees);
    groupIndex_ = groups_.size() - 1;
    return groups_.back();
}

// Groups of several scales follow one another without a gap, because rotations of another scale may
// lie there. Of one scale, a group that was passed is never asked for again.
void GroupSearch::addGroup_(double degrees, long threshold) {
    double lowDegrees = degrees;
    if (numScales_ == 1) {
        groups_.clear();
        blocks_.clear();
    } else {
        lowDegrees = groups_.empty() ? firstDegrees_ : groups_.back().highDegrees;
    }
    Group group{lowDegrees + kOpenRotations * rotationStep_, Outcome::Open, 0, 0, 0};
    if (hasRoom_) {
        const std::optional<std::size_t> shape =
            planner_->shapeFor(threshold, numScales_, numScales_);
        if (shape) group = boundedGroup_(*shape, lowDegrees, threshold);
    }
    const bool hasBlocks = group.outcome == Outcome::SomeBlocks;
    if (!groups_.empty() && !hasBlocks && groups_.back().outcome == group.outcome) {
        groups_.back().highDegrees = group.highDegrees;
    } else {
        groups_.push_back(group);
    }
}

GroupSearch::Group GroupSearch::boundedGroup_(std::size_t shape, double lowDegrees,
                                              long threshold) {
    const GroupSize& size = kGroupShapes[shape].size;
    const PoseGroup poses{lowScale_, highScale_, lowDegrees,
                          lowDegrees + (size.rotationSteps() + kRoundingOfSteps) * rotationStep_};
    Group group{poses.highDegrees, Outcome::Open, 0, 0, 0};
    if (!bounds_->isWithinReach(poses, size)) return group;
    const BlockFlags& left = bounds_->bound(poses, shape, threshold);
    planner_->learn(shape, threshold, left.numFlagged());
    const auto numLeft = static_cast<std::size_t>(left.numFlagged());
    if (numLeft == 0) {
        group.outcome = Outcome::Hopeless;
    } else if (blocks_.size() + numLeft > maxBlocksKept_) {
        hasRoom_ = numScales_ == 1;
    } else if (!left.isFull()) {
        group.outcome = Outcome::SomeBlocks;
        group.shape = kTileShapes[kGroupShapes[shape].tile].next;
        group.begin = blocks_.size();
        left.appendTo(blocks_);
        group.end = blocks_.size();
    }
    return group;
}

}  // namespace ptmatch::detail
