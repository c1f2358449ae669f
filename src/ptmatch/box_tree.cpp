#include "ptmatch/box_tree.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace ptmatch::detail {
namespace {

using Points = std::vector<rxVector<2>>;

/// A range of the points that still has to be sorted.
struct Range {
    std::size_t begin = 0;
    std::size_t end = 0;
};

TightBox boxAround(std::span<const rxVector<2>> points) {
    TightBox box;
    for (const rxVector<2>& p : points) box.add(p);
    return box;
}

/// The bits of a 16-bit number, moved to the even places.
constexpr std::uint32_t spread(std::uint32_t bits) {
    bits = (bits | (bits << 8U)) & 0x00ff00ffU;
    bits = (bits | (bits << 4U)) & 0x0f0f0f0fU;
    bits = (bits | (bits << 2U)) & 0x33333333U;
    return (bits | (bits << 1U)) & 0x55555555U;
}

/// Square cells that cover a box, numbered along the Z-shaped curve.
class CellGrid {
  public:
    /// Between half as many cells as points and twice as many, as far as the numbers allow.
    CellGrid(const TightBox& box, std::size_t numPoints)
        : halfMinX_(box.minX / 2),
          halfMinY_(box.minY / 2),
          // Halves, as the whole width may leave the range of double.
          halfSide_(std::max(box.maxX / 2 - halfMinX_, box.maxY / 2 - halfMinY_)) {
        while (bits_ < kMostBits && (std::size_t{2} << (2 * bits_)) < numPoints) ++bits_;
    }

    /// Whether two points lie in different cells; then the grid sorts, if only a little.
    bool separates() const { return halfSide_ > 0.0; }
    std::size_t numCells() const { return std::size_t{1} << (2 * bits_); }
    std::uint32_t cellOf(const rxVector<2>& p) const {
        return spread(indexOf(p.x(), halfMinX_)) | (spread(indexOf(p.y(), halfMinY_)) << 1U);
    }

  private:
    static constexpr unsigned kMostBits = 12;

    std::uint32_t indexOf(double coordinate, double halfMin) const {
        const std::uint32_t numIndices = 1U << bits_;
        // A share of the side, which is 1 at the far end even of the tiniest box; a reciprocal of
        // the side would be infinite there.
        const double share = (coordinate / 2 - halfMin) / halfSide_;
        return std::min(static_cast<std::uint32_t>(share * numIndices), numIndices - 1);
    }

    double halfMinX_;
    double halfMinY_;
    double halfSide_;
    unsigned bits_ = 1;
};

/// Sorts points by cell, and the points of crowded cells by the cells of a finer grid. Every grid
/// spans its own points, so that it tells some of them apart: the work ends for all sets.
class CellSorter {
  public:
    explicit CellSorter(Points& points)
        : points_(points), cells_(points.size()), sorted_(points.size()) {}

    void sort() {
        pending_.push_back({0, points_.size()});
        while (!pending_.empty()) {
            const Range range = pending_.back();
            pending_.pop_back();
            sortRange(range);
        }
    }

  private:
    void sortRange(Range range) {
        const auto points = std::span(points_).subspan(range.begin, range.end - range.begin);
        const CellGrid grid(boxAround(points), points.size());
        if (!grid.separates()) return;

        ends_.assign(grid.numCells(), 0);
        for (std::size_t k = 0; k < points.size(); ++k) {
            cells_[k] = grid.cellOf(points[k]);
            ++ends_[cells_[k]];
        }
        std::size_t begin = 0;
        for (std::size_t& end : ends_) {
            const std::size_t count = std::exchange(end, begin);
            if (count > kCrowded)
                pending_.push_back({range.begin + begin, range.begin + begin + count});
            begin += count;
        }
        for (std::size_t k = 0; k < points.size(); ++k) sorted_[ends_[cells_[k]]++] = points[k];
        std::copy_n(sorted_.begin(), points.size(), points.begin());
    }

    // Twice a leaf: finer grids than that gain nothing.
    static constexpr std::size_t kCrowded = 2 * PointLeaf::kLanes;

    Points& points_;
    std::vector<std::uint32_t> cells_;
    Points sorted_;
    std::vector<std::size_t> ends_;
    std::vector<Range> pending_;
};

}  // namespace

BoxTree::BoxTree(std::span<const rxVector<2>> points) {
    Points sorted(points.begin(), points.end());
    CellSorter(sorted).sort();
    addLeaves(sorted);

    std::size_t width = 1;
    while (width < leaves_.size()) width *= kChildren;
    nodes_.reserve(2 * leaves_.size() + 16);
    addNode(0, width);
}

void BoxTree::addLeaves(std::span<const rxVector<2>> sorted) {
    const std::size_t numLeaves = (sorted.size() + PointLeaf::kLanes - 1) / PointLeaf::kLanes;
    leaves_.reserve(numLeaves);
    leafBoxes_.reserve(numLeaves);
    for (std::size_t begin = 0; begin < sorted.size(); begin += PointLeaf::kLanes) {
        const auto points =
            sorted.subspan(begin, std::min(PointLeaf::kLanes, sorted.size() - begin));
        PointLeaf& leaf = leaves_.emplace_back();
        leaf.size = points.size();
        for (std::size_t lane = 0; lane < PointLeaf::kLanes; ++lane) {
            const rxVector<2>& p = points[std::min(lane, points.size() - 1)];
            leaf.x[lane] = p.x();
            leaf.y[lane] = p.y();
        }
        leafBoxes_.push_back(boxAround(points));
    }
}

/// Adds the box around the leaves from firstLeaf on, at most `width` of them, and all inside it.
void BoxTree::addNode(std::size_t firstLeaf, std::size_t width) {
    const std::size_t place = nodes_.size();
    nodes_.push_back({leafBoxes_[firstLeaf], place + 1, firstLeaf, width == 1});
    if (width == 1) return;

    const std::size_t endLeaf = std::min(firstLeaf + width, leaves_.size());
    for (std::size_t leaf = firstLeaf; leaf < endLeaf; leaf += width / kChildren) {
        const std::size_t child = nodes_.size();
        addNode(leaf, width / kChildren);
        nodes_[place].box.add(nodes_[child].box);
    }
    nodes_[place].end = nodes_.size();
}

}  // namespace ptmatch::detail
