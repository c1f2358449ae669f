#include "ptmatch/group_planner.h"

#include <algorithm>
#include <atomic>
#include <span>
#include <utility>
#include <vector>

#include "ptmatch/chance.h"
#include "ptmatch/search_grid.h"

namespace ptmatch::detail {
namespace {

// Finding the pixel of a model point and its place in the order of rows, in points counted for a
// block; and drawing a word of marks.
constexpr double kPlaceOverhead = 8.0;
constexpr double kDrawOverhead = 3.0;
// Nothing that takes much longer than this may come between two polls.
constexpr double kMostDrawing = 3e7;
// A decision holds for so many groups, first for a few and then for more, unless the threshold
// rises by this factor.
constexpr int kFirstLookups = 4;
constexpr int kMostLookups = 64;
constexpr double kNewThreshold = 1.1;
// A shape whose marks are still to be drawn has to be the cheaper by this factor.
constexpr double kFirstUse = 1.3;
// Another one than the last, because the numbers of survivors scatter.
constexpr double kChange = 1.15;
// Groups have to be the cheaper by this factor, for all that the estimates leave out.
constexpr double kGain = 1.05;

std::atomic<int> forcedShape{kPlannedGroups};

// Number of points in each layer.
std::vector<double> pointsOfLayers(const GroupReach& reach) {
    std::vector<double> numPoints(reach.ofLayer.size());
    for (const std::size_t layer : reach.layerOf) numPoints[layer] += 1.0;
    return numPoints;
}

double meanDensity(const VoteEstimates& estimates, const TileShape& tile, const GroupReach& reach,
                   std::span<const double> numPoints) {
    double sum = 0.0;
    for (std::size_t layer = 0; layer < numPoints.size(); ++layer) {
        const double wider = 2.0 * static_cast<double>(reach.ofLayer[layer]);
        sum += numPoints[layer] * estimates.densitySeen(static_cast<double>(tile.columns()) + wider,
                                                        static_cast<double>(tile.rows()) + wider);
    }
    return sum / static_cast<double>(reach.layerOf.size());
}

// Words to be changed.
double drawingCost(const TileShape& tile, const GroupReach& reach, const SearchGrid& grid) {
    double wordsPerPoint = 0.0;
    for (const long r : reach.ofLayer) {
        wordsPerPoint += static_cast<double>(tile.columns() * (tile.rows() + 2 * r + 2));
    }
    const double pixels = static_cast<double>(grid.width) * static_cast<double>(grid.height);
    return kDrawOverhead * (wordsPerPoint * static_cast<double>(grid.data.size()) +
                            pixels / 64.0 * static_cast<double>(reach.ofLayer.size()));
}

}  // namespace

GroupPlanner::GroupPlanner(const VotePlanner& planner, const GroupBounds& bounds,
                           const SearchGrid& grid, const rxPelRect& window,
                           const TileSet& affordable, double numLatticePoints, double bytes)
    : planner_(planner),
      bounds_(bounds),
      width_(window.width() + 1),
      height_(window.height() + 1),
      placingCost_(kPlaceOverhead * static_cast<double>(bounds.radius().size())),
      numLatticePoints_(numLatticePoints),
      bytes_(bytes),
      lookups_(kFirstLookups) {
    for (std::size_t size = 0; size < kGroupSizes.size(); ++size) {
        const GroupReach reach(kGroupSizes[size], bounds.radius());
        const std::vector<double> numPoints = pointsOfLayers(reach);
        for (std::size_t i = size * kGroupTiles.size(); i < (size + 1) * kGroupTiles.size(); ++i) {
            Choice& choice = choices_[i];
            const std::size_t tile = kGroupShapes[i].tile;
            choice.isAllowed = affordable[tile];
            if (!choice.isAllowed) continue;
            choice.extent = TileExtent(kTileShapes[tile], width_, height_);
            choice.density = meanDensity(planner.estimates(), kTileShapes[tile], reach, numPoints);
            choice.drawingCost = drawingCost(kTileShapes[tile], reach, grid);
            choice.isAllowed = choice.drawingCost <= kMostDrawing;
            choice.bytes = bounds.bytes(tile, reach);
        }
    }
}

double GroupPlanner::blocksOfNext_(const GroupShape& shape) const {
    const TileShape& next = kTileShapes[kTileShapes[shape.tile].next];
    return static_cast<double>(TileExtent(next, width_, height_).blocks());
}

double GroupPlanner::bytesLeft_() const {
    double left = bytes_;
    for (std::size_t i = 0; i < kNumGroupShapes; ++i) {
        if (bounds_.isReady(i)) left -= choices_[i].bytes;
    }
    return left;
}

// Exact below the limit, and at least the limit otherwise.
double GroupPlanner::costPerPoint_(std::size_t i, long threshold, double limit) const {
    const GroupShape& shape = kGroupShapes[i];
    const TileShape& tile = kTileShapes[shape.tile];
    const Choice& choice = choices_[i];
    const VoteEstimates& estimates = planner_.estimates();
    const double ofGroup =
        placingCost_ + estimates.sweep(choice.density, static_cast<double>(choice.extent.blocks()),
                                       static_cast<double>(choice.extent.strips), threshold);
    const double drawing =
        bounds_.isReady(i) ? 0.0 : choice.drawingCost / std::max(1.0, numLatticePoints_);
    const double known = ofGroup / shape.size.count() + drawing;
    if (known >= limit) return known;
    const double survival =
        choice.record.correction() * estimates.survival(choice.density, threshold);
    const double blocks = blocksOfNext_(shape) * anyOf(survival, tilesPerBlockOfNext(tile));
    const double tiles = static_cast<double>(width_) * static_cast<double>(height_) /
                         static_cast<double>(tile.columns() * tile.rows());
    const double isLeft = anyOf(survival, tiles);
    if (isLeft <= 0.0) return known;
    if (known + isLeft * placingCost_ >= limit) return known + isLeft * placingCost_;
    return known + isLeft * (placingCost_ + planner_.costOf(tile.next, blocks / isLeft, threshold));
}

void GroupPlanner::decide_(long threshold, int fewest, int most) {
    for (std::size_t i = 0; i < kNumGroupShapes; ++i) {
        choices_[i].record.correct(blocksOfNext_(kGroupShapes[i]),
                                   tilesPerBlockOfNext(kTileShapes[kGroupShapes[i].tile]));
    }
    double lowest = (placingCost_ + planner_.lowestCost(threshold)) / kGain;
    const double bytesLeft = bytesLeft_();
    const std::optional<std::size_t> before = std::exchange(decision_, std::nullopt);
    for (std::size_t i = 0; i < kNumGroupShapes; ++i) {
        const GroupSize& size = kGroupShapes[i].size;
        const Choice& choice = choices_[i];
        if (!choice.isAllowed || size.numScales < fewest || size.numScales > most) continue;
        const bool isNew = !bounds_.isReady(i);
        if (isNew && choice.bytes > bytesLeft) continue;
        const double factor = isNew ? kFirstUse : before == i ? 1.0 : kChange;
        const double cost = factor * costPerPoint_(i, threshold, lowest / factor);
        if (cost >= lowest) continue;
        lowest = cost;
        decision_ = i;
    }
}

std::optional<std::size_t> GroupPlanner::shapeFor(long threshold, int fewest, int most) {
    const int forced = forcedGroupShape();
    if (forced == kNoGroups) return std::nullopt;
    if (forced == kEveryShapeInTurn) return nextInTurn_(fewest, most);
    if (forced >= 0) {
        const auto shape = static_cast<std::size_t>(forced);
        const int scales = kGroupShapes[shape].size.numScales;
        if (scales < fewest || scales > most) return std::nullopt;
        return shape;
    }
    const bool isOther = fewest != fewest_ || most != most_;
    const bool isHigher =
        static_cast<double>(threshold) > kNewThreshold * static_cast<double>(threshold_);
    if (isOther || isHigher || lookupsLeft_-- == 0) {
        decide_(threshold, fewest, most);
        threshold_ = threshold;
        fewest_ = fewest;
        most_ = most;
        lookupsLeft_ = lookups_;
        lookups_ = std::min(2 * lookups_, kMostLookups);
    }
    return decision_;
}

std::optional<std::size_t> GroupPlanner::nextInTurn_(int fewest, int most) {
    for (std::size_t tries = 0; tries < kNumGroupShapes; ++tries) {
        turn_ = (turn_ + 7) % (kNumGroupShapes + 1);
        if (turn_ == kNumGroupShapes) break;
        const int scales = kGroupShapes[turn_].size.numScales;
        if (scales >= fewest && scales <= most) return turn_;
    }
    return std::nullopt;
}

void GroupPlanner::learn(std::size_t shape, long threshold, long numBlocks) {
    Choice& choice = choices_[shape];
    choice.record.note(planner_.estimates().survival(choice.density, threshold), numBlocks);
    numLatticePoints_ -= kGroupShapes[shape].size.count();
}

void forceGroupShape(int shape) {
    forcedShape.store(shape, std::memory_order_relaxed);
}

int forcedGroupShape() {
    return forcedShape.load(std::memory_order_relaxed);
}

}  // namespace ptmatch::detail
