#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// The smallest box around some points.
struct TightBox {
    double minX = std::numeric_limits<double>::infinity();
    double maxX = -std::numeric_limits<double>::infinity();
    double minY = std::numeric_limits<double>::infinity();
    double maxY = -std::numeric_limits<double>::infinity();

    void add(const TightBox& other) {
        minX = std::min(minX, other.minX);
        maxX = std::max(maxX, other.maxX);
        minY = std::min(minY, other.minY);
        maxY = std::max(maxY, other.maxY);
    }
    void add(const rxVector<2>& p) { add(TightBox{p.x(), p.x(), p.y(), p.y()}); }
};

// The two bounds below hold for squared distances as they are computed, dx * dx + dy * dy, and not
// only for the true ones: a box's sides are coordinates of points, and differences, products and
// sums round monotonically. A point of a and one of b with a.maxX <= b.minX, say, have a dx that
// rounds to no less than b.minX - a.maxX does, and so on to the sum. Neither overflow nor underflow
// makes an exception, so that no margin is needed.

/// No two points of a and b have a smaller squared distance.
inline double leastSquaredDistance(const TightBox& a, const TightBox& b) {
    const double dx = std::max(0.0, std::max(b.minX - a.maxX, a.minX - b.maxX));
    const double dy = std::max(0.0, std::max(b.minY - a.maxY, a.minY - b.maxY));
    return dx * dx + dy * dy;
}

/// No two points of a and b have a larger squared distance.
inline double greatestSquaredDistance(const TightBox& a, const TightBox& b) {
    const double dx = std::max(b.maxX - a.minX, a.maxX - b.minX);
    const double dy = std::max(b.maxY - a.minY, a.maxY - b.minY);
    return dx * dx + dy * dy;
}

/// A few points that lie together. Lanes behind the last point repeat it, so that loops over all
/// lanes need no end of their own.
struct PointLeaf {
    static constexpr std::size_t kLanes = 8;

    std::array<double, kLanes> x;
    std::array<double, kLanes> y;
    std::size_t size = 0;
};

/// Points in leaves of up to eight, and boxes around four leaves, around four of those, and so on.
///
/// The order of the leaves follows a cell grid along a Z-shaped curve; crowded cells have a grid of
/// their own inside. Time and memory depend on the number of points, wherever they lie. The order
/// decides only how much a search can leave out, never what it finds.
class BoxTree {
  public:
    /// @param points  finite, at least one.
    explicit BoxTree(std::span<const rxVector<2>> points);

    std::span<const PointLeaf> leaves() const { return leaves_; }
    const TightBox& leafBox(std::size_t leaf) const { return levels_.front()[leaf]; }
    const TightBox& rootBox() const { return levels_.back().front(); }

    /// Calls visit(leaf) for all leaves in order, except those inside a box for which
    /// mayMatter(box) is false.
    template <class MayMatter, class Visit>
    void visitLeaves(MayMatter&& mayMatter, Visit&& visit) const {
        descend(levels_.size() - 1, 0, mayMatter, visit);
    }

  private:
    static constexpr std::size_t kChildren = 4;

    void addLeaves(std::span<const rxVector<2>> sorted);
    void addLevels();

    template <class MayMatter, class Visit>
    void descend(std::size_t level, std::size_t index, MayMatter& mayMatter, Visit& visit) const {
        if (!mayMatter(levels_[level][index])) return;
        if (level == 0) {
            visit(index);
            return;
        }
        const std::size_t end = std::min((index + 1) * kChildren, levels_[level - 1].size());
        for (std::size_t child = index * kChildren; child < end; ++child) {
            descend(level - 1, child, mayMatter, visit);
        }
    }

    std::vector<PointLeaf> leaves_;
    std::vector<std::vector<TightBox>> levels_;  // of the leaves first, the single root last
};

}  // namespace ptmatch::detail
