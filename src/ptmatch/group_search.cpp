#include "ptmatch/group_search.h"

#include <algorithm>
#include <array>
#include <limits>

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

// What the groups of a band may keep, 4 MiB; later groups are searched whole.
constexpr std::size_t kMaxBlocksKept = std::size_t{1} << 20;

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
                         const rxPelRect& window, TranslationSearch& translations)
    : grid_(grid),
      model_(model),
      params_(params),
      weights_(weights),
      window_(window),
      translations_(translations),
      scales_(scaleLattice(params.scaleUncertainty(), model, grid.gridSize)),
      numLatticePoints_(latticePoints(scales_, model, params, grid.gridSize)) {}

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
            translations_.offerPeaksWithin(group.blocks, scale, rotationDegrees, threshold, store);
            return;
        case Outcome::Open:
            translations_.offerPeaks(scale, rotationDegrees, threshold, store);
            return;
    }
}

void GroupSearch::enterScale_(double scale, long threshold) {
    if (!scale_) makePlanner_(threshold);
    scale_ = scale;
    group_ = 0;
    const bool isInBand = numScales_ > 0 && scale <= highScale_;
    if (planner_ && !isInBand) beginBand_(scale, threshold);
}

void GroupSearch::makePlanner_(long threshold) {
    const int forced = forcedGroupShape();
    if (forced == kNoGroups) return;
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
    numGroups_ = 0;
    numBlocksKept_ = 0;
}

const GroupSearch::Group& GroupSearch::groupOf_(double degrees, long threshold) {
    for (;; ++group_) {
        if (group_ == numGroups_) {
            const double gapless = group_ == 0 ? firstDegrees_ : groups_[group_ - 1].highDegrees;
            addGroup_(numScales_ == 1 ? degrees : gapless, threshold);
        }
        if (degrees <= groups_[group_].highDegrees) return groups_[group_];
    }
}

void GroupSearch::addGroup_(double lowDegrees, long threshold) {
    if (numGroups_ == groups_.size()) groups_.emplace_back();
    Group& group = groups_[numGroups_++];
    group.outcome = Outcome::Open;
    group.highDegrees = lowDegrees + kOpenRotations * rotationStep_;
    const std::optional<std::size_t> shape = planner_->shapeFor(threshold, numScales_, numScales_);
    if (!shape) return;
    const GroupSize& size = kGroupShapes[*shape].size;
    const PoseGroup poses{lowScale_, highScale_, lowDegrees,
                          lowDegrees + (size.rotationSteps() + kRoundingOfSteps) * rotationStep_};
    if (!bounds_->holds(poses, size)) return;
    group.highDegrees = poses.highDegrees;
    const bool areAllLeft = bounds_->bound(poses, *shape, threshold, group.blocks);
    const std::size_t numBlocks = group.blocks.indices.size();
    planner_->learn(*shape, threshold, numBlocks);
    if (numBlocks == 0) {
        group.outcome = Outcome::Hopeless;
    } else if (!areAllLeft && numBlocksKept_ + numBlocks <= kMaxBlocksKept) {
        group.outcome = Outcome::SomeBlocks;
        numBlocksKept_ += numBlocks;
    }
}

}  // namespace ptmatch::detail
