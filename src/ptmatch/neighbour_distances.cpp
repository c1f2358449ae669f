#include "ptmatch/neighbour_distances.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "ptmatch/box_tree.h"

namespace ptmatch::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Up to here the comparison of all pairs is done before a tree would have been built.
constexpr std::size_t kMostComparedPairwise = 96;

using LaneValues = std::array<double, PointLeaf::kLanes>;

double squaredDistance(double ax, double ay, double bx, double by) {
    const double dx = ax - bx;
    const double dy = ay - by;
    return dx * dx + dy * dy;
}

LaneValues squaredDistances(const PointLeaf& leaf, double x, double y) {
    LaneValues squared;
    for (std::size_t i = 0; i < PointLeaf::kLanes; ++i) {
        squared[i] = squaredDistance(leaf.x[i], leaf.y[i], x, y);
    }
    return squared;
}

/// Squares of the distances asked for; their roots are taken last, as a root keeps the order.
struct SquaredDistances {
    double smallestNearest = kInfinity;
    double largestFarthest = 0.0;

    // A nearest distance of 0 silences the point altogether: its next neighbour is not asked.
    void addNearest(double squared) {
        if (squared != 0.0) smallestNearest = std::min(smallestNearest, squared);
    }
    // As does an infinite farthest one.
    void addFarthest(double squared) {
        if (squared != kInfinity) largestFarthest = std::max(largestFarthest, squared);
    }
};

/// Each point in turn with all others side by side, which leaves the loop to vectors.
SquaredDistances comparePairwise(std::span<const rxVector<2>> points) {
    using Values = std::array<double, kMostComparedPairwise>;
    const std::size_t size = points.size();
    Values x;
    Values y;
    Values nearest;
    Values farthest;
    for (std::size_t j = 0; j < size; ++j) {
        x[j] = points[j].x();
        y[j] = points[j].y();
        nearest[j] = kInfinity;
        farthest[j] = 0.0;
    }
    for (std::size_t i = 0; i < size; ++i) {
        const double ownX = x[i];
        const double ownY = y[i];
        const double ownNearest = nearest[i];  // its distance to itself does not count
        for (std::size_t j = 0; j < size; ++j) {
            const double squared = squaredDistance(x[j], y[j], ownX, ownY);
            nearest[j] = squared < nearest[j] ? squared : nearest[j];
            farthest[j] = squared > farthest[j] ? squared : farthest[j];
        }
        nearest[i] = ownNearest;
    }
    SquaredDistances distances;
    for (std::size_t j = 0; j < size; ++j) {
        distances.addNearest(nearest[j]);
        distances.addFarthest(farthest[j]);
    }
    return distances;
}

/// The nearest neighbours of the points of one leaf.
class NearestToLeaf {
  public:
    NearestToLeaf(const BoxTree& tree, std::size_t leaf)
        : tree_(tree), own_(leaf), leaf_(tree.leaves()[leaf]) {
        nearest_.fill(kInfinity);
    }

    /// Exact where below `limit` (or 0); elsewhere not below it.
    std::span<const double> find(double limit) {
        compareInside();
        updateReach(limit);
        tree_.visitLeaves(
            [&](const TightBox& box) {
                return leastSquaredDistance(tree_.leafBox(own_), box) < reach_;
            },
            [&](std::size_t other) {
                if (other == own_) return;
                compareWith(tree_.leaves()[other]);
                updateReach(limit);
            });
        return std::span(nearest_).first(leaf_.size);
    }

  private:
    void compareInside() {
        for (std::size_t j = 0; j < leaf_.size; ++j) {
            LaneValues squared = squaredDistances(leaf_, leaf_.x[j], leaf_.y[j]);
            squared[j] = kInfinity;
            takeNearer(squared);
        }
    }

    void compareWith(const PointLeaf& other) {
        const LaneValues least = leastSquaredDistances(tree_.leafBox(own_), other);
        for (std::size_t j = 0; j < other.size; ++j) {
            if (least[j] < reach_) takeNearer(squaredDistances(leaf_, other.x[j], other.y[j]));
        }
    }

    void takeNearer(const LaneValues& squared) {
        for (std::size_t i = 0; i < PointLeaf::kLanes; ++i) {
            nearest_[i] = squared[i] < nearest_[i] ? squared[i] : nearest_[i];
        }
    }

    /// What is not nearer than this changes nothing. A point's own distance bounds it as well as
    /// the limit does: there is no limit as long as every point has a double.
    void updateReach(double limit) {
        reach_ = 0.0;
        for (std::size_t i = 0; i < leaf_.size; ++i) reach_ = std::max(reach_, nearest_[i]);
        reach_ = std::min(reach_, limit);
    }

    const BoxTree& tree_;
    std::size_t own_;
    const PointLeaf& leaf_;
    LaneValues nearest_;
    double reach_ = kInfinity;
};

double smallestNearestSquared(const BoxTree& tree) {
    SquaredDistances distances;
    for (std::size_t leaf = 0; leaf < tree.leaves().size(); ++leaf) {
        NearestToLeaf search(tree, leaf);
        for (const double nearest : search.find(distances.smallestNearest)) {
            distances.addNearest(nearest);
        }
    }
    return distances.smallestNearest;
}

/// The squared distances from a leaf's points to their farthest points; where not above `limit`,
/// 0 or anything up to it.
LaneValues farthestFromLeaf(const BoxTree& tree, std::size_t own, double limit) {
    const PointLeaf& leaf = tree.leaves()[own];
    LaneValues farthest{};
    tree.visitLeaves(
        [&](const TightBox& box) {
            return greatestSquaredDistance(tree.leafBox(own), box) > limit;
        },
        [&](std::size_t visited) {
            const PointLeaf& other = tree.leaves()[visited];
            for (std::size_t j = 0; j < other.size; ++j) {
                for (std::size_t i = 0; i < PointLeaf::kLanes; ++i) {
                    const double squared =
                        squaredDistance(leaf.x[i], leaf.y[i], other.x[j], other.y[j]);
                    farthest[i] = squared > farthest[i] ? squared : farthest[i];
                }
            }
        });
    return farthest;
}

/// The leaf whose box reaches farthest from a leaf's box.
std::size_t leafFarthestFrom(const BoxTree& tree, std::size_t leaf) {
    std::size_t found = leaf;
    double greatest = 0.0;
    for (std::size_t other = 0; other < tree.leaves().size(); ++other) {
        const double squared = greatestSquaredDistance(tree.leafBox(leaf), tree.leafBox(other));
        if (squared <= greatest) continue;
        greatest = squared;
        found = other;
    }
    return found;
}

double largestFarthestSquared(const BoxTree& tree) {
    SquaredDistances distances;
    const auto search = [&](std::size_t leaf) {
        const LaneValues farthest = farthestFromLeaf(tree, leaf, distances.largestFarthest);
        for (std::size_t i = 0; i < tree.leaves()[leaf].size; ++i) {
            distances.addFarthest(farthest[i]);
        }
    };
    // An end of the set first: most leaves are then seen to be out of the question at once.
    search(leafFarthestFrom(tree, leafFarthestFrom(tree, 0)));
    for (std::size_t leaf = 0; leaf < tree.leaves().size(); ++leaf) search(leaf);
    return distances.largestFarthest;
}

SquaredDistances compareInTree(std::span<const rxVector<2>> points) {
    const BoxTree tree(points);
    return {smallestNearestSquared(tree), largestFarthestSquared(tree)};
}

}  // namespace

NeighbourDistances neighbourDistances(std::span<const rxVector<2>> points) {
    const SquaredDistances squared =
        points.size() <= kMostComparedPairwise ? comparePairwise(points) : compareInTree(points);
    return {std::sqrt(squared.smallestNearest), std::sqrt(squared.largestFarthest)};
}

}  // namespace ptmatch::detail
