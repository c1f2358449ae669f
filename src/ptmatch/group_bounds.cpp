#include "ptmatch/group_bounds.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ptmatch/point_matcher_model.h"
#include "ptmatch/tile_bounds.h"
#include "ptmatch/vote_kernel_choice.h"

namespace ptmatch::detail {
namespace {

// Coordinates up to this, in pixels, come with errors below 1e-5, a hundredth of the margin of a
// reach.
constexpr double kMaxCoordinate = 1e9;

// Groups may be larger than their shape by so much: lattice values are rounded.
constexpr double kSlack = 1e-4;

// Model points are turned and scaled about the centre by a transform of their own coordinates, of
// which the centre's share cancels: its size, not the result's, decides about rounding. In pixels,
// at scale 1.
double largestCoordinate(const SearchGrid& grid, const rx_PointMatcherModel& model) {
    const rxVector<2> centre = model.center();
    const rxVector<2> shift = grid.imageFromModel.trans();
    return (std::abs(centre.x()) + std::abs(centre.y()) + model.radius()) / grid.gridSize +
           std::abs(shift.x()) + std::abs(shift.y());
}

}  // namespace

GroupBounds::GroupBounds(const SearchGrid& grid, const rx_PointMatcherModel& model,
                         const VoteWeights& weights, const rxPelRect& window,
                         std::span<const rxPair<long>> dataPixels)
    : grid_(grid),
      model_(model),
      window_(window),
      dataPixels_(dataPixels),
      largestCoordinate_(largestCoordinate(grid, model)),
      points_(model.points().size(), weights.scaled),
      counter_(voteKernel()) {
    const rxVector<2> centre = model.center();
    double largest = 0.0;
    radius_.reserve(model.points().size());
    for (const rxVector<2>& m : model.points()) {
        radius_.push_back(std::hypot(m.x() - centre.x(), m.y() - centre.y()));
        largest = std::max(largest, radius_.back());
    }
    for (double& r : radius_) r = largest > 0.0 ? r / largest : 0.0;
    largestRadius_ = largest / grid.gridSize;
}

// |s e^ia - s0|^2 = (s - s0)^2 + 2 s s0 (1 - cos a) <= (s - s0)^2 + s s0 a^2.
bool GroupBounds::isWithinReach(const PoseGroup& group, const GroupSize& size) const {
    constexpr double kRadiansPerDegree = 0.017453292519943295;
    const double scales = (group.highScale - group.lowScale) / 2.0;
    const double angles = (group.highDegrees - group.lowDegrees) / 2.0 * kRadiansPerDegree;
    const double largestScale = std::max(std::abs(group.lowScale), std::abs(group.highScale));
    const double squared =
        scales * scales + largestScale * std::abs(group.scale()) * angles * angles;
    return std::max(1.0, largestScale) * largestCoordinate_ < kMaxCoordinate &&
           largestRadius_ * std::sqrt(squared) <= size.displacement() + kSlack;
}

GroupBounds::DilatedMarks& GroupBounds::marksFor_(std::size_t shape) {
    std::unique_ptr<DilatedMarks>& marks = marks_[shape];
    if (!marks) {
        const GroupShape& group = kGroupShapes[shape];
        GroupReach reach(group.size, radius_);
        MarkBitmap bitmap(kTileShapes[group.tile], grid_.width, grid_.height, dataPixels_,
                          reach.ofLayer);
        marks = std::make_unique<DilatedMarks>(DilatedMarks{std::move(reach), std::move(bitmap)});
    }
    return *marks;
}

double GroupBounds::bytes(std::size_t tile, const GroupReach& reach) const {
    const TileShape& shape = kTileShapes[tile];
    const long width = window_.width() + 1;
    const long height = window_.height() + 1;
    return MarkBitmap::maxBytes(shape, grid_.width, grid_.height, reach.ofLayer) +
           BlockFlags::bytes(TileExtent(shape, width, height)) +
           BlockFlags::bytes(TileExtent(kTileShapes[shape.next], width, height));
}

const BlockFlags& GroupBounds::bound(const PoseGroup& group, std::size_t shape, long threshold) {
    DilatedMarks& marks = marksFor_(shape);
    if (shape != lastShape_) points_.setLayers(marks.reach.layerOf);
    lastShape_ = shape;
    place_(group, marks.reach);
    const std::size_t tile = kGroupShapes[shape].tile;
    const long width = window_.width() + 1;
    const long height = window_.height() + 1;
    std::optional<BlockFlags>& all = all_[tile];
    if (!all) {
        all.emplace(TileExtent(kTileShapes[tile], width, height));
        all->setAll();
    }
    const std::size_t next = kTileShapes[tile].next;
    std::optional<BlockFlags>& found = found_[next];
    if (!found) found.emplace(TileExtent(kTileShapes[next], width, height));
    counter_.prepare(marks.bitmap, points_.positive());
    boundTiles(kTileShapes[tile], *all, threshold, counter_, *found);
    marks.bitmap.addUse(counter_.takeNumViews());
    return *found;
}

// A window that is wider by the reach on each side begins that much farther up and to the left.
void GroupBounds::place_(const PoseGroup& group, const GroupReach& reach) {
    modelPixels(grid_, model_, group.scale(), group.degrees(), modelPixels_);
    for (std::size_t i = 0; i < modelPixels_.size(); ++i) {
        const long r = reach.ofLayer[reach.layerOf[i]];
        modelPixels_[i] = {modelPixels_[i].x() - r, modelPixels_[i].y() - r};
    }
    points_.place(modelPixels_, window_.ul());
}

}  // namespace ptmatch::detail
