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

/// leastSquaredDistance of a box and each of a leaf's points.
inline std::array<double, PointLeaf::kLanes> leastSquaredDistances(const TightBox& box,
                                                                   const PointLeaf& leaf) {
    std::array<double, PointLeaf::kLanes> least;
    for (std::size_t i = 0; i < PointLeaf::kLanes; ++i) {
        const double x = leaf.x[i];
        const double y = leaf.y[i];
        const double right = x - box.maxX;
        const double left = box.minX - x;
        const double above = y - box.maxY;
        const double below = box.minY - y;
        double dx = right > left ? right : left;
        double dy = above > below ? above : below;
        dx = dx > 0.0 ? dx : 0.0;
        dy = dy > 0.0 ? dy : 0.0;
        least[i] = dx * dx + dy * dy;
    }
    return least;
}

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
    const TightBox& leafBox(std::size_t leaf) const { return leafBoxes_[leaf]; }

    /// Calls visit(leaf) for all leaves in order, except those inside a box for which
    /// mayMatter(box) is false.
    template <class MayMatter, class Visit>
    void visitLeaves(MayMatter&& mayMatter, Visit&& visit) const {
        std::size_t k = 0;
        while (k < nodes_.size()) {
            const Node& node = nodes_[k];
            if (!mayMatter(node.box)) {
                k = node.end;
                continue;
            }
            if (node.isLeaf) visit(node.firstLeaf);
            ++k;
        }
    }

  private:
    static constexpr std::size_t kChildren = 4;

    /// A box; those inside it follow up to `end`.
    struct Node {
        TightBox box;
        std::size_t end = 0;
        std::size_t firstLeaf = 0;
        bool isLeaf = false;
    };

    void addLeaves(std::span<const rxVector<2>> sorted);
    void addNode(std::size_t firstLeaf, std::size_t width);

    std::vector<PointLeaf> leaves_;
    std::vector<TightBox> leafBoxes_;
    std::vector<Node> nodes_;  // each before those inside it
};

}  // namespace ptmatch::detail
