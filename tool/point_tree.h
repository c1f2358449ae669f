#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::tool {

/// Answers who is near among points of the plane, however they are spread: a k-d tree, balanced
/// whatever the points (also far-flung ones, or all in one place). Building costs O(n log n).
/// Ties of distance go to any of the points, the same one every time.
class PointTree {
  public:
    /// @param points  finite
    explicit PointTree(std::vector<rxVector<2>> points);

    /// In an order of the tree's own.
    const std::vector<rxVector<2>>& points() const { return points_; }

    /// The up to `count` points nearest to `place`, nearest first, without those in the very place.
    std::vector<rxVector<2>> nearest(const rxVector<2>& place, std::size_t count) const;

    /// The point nearest to `place` and not farther than `reach`.
    std::optional<rxVector<2>> nearestWithin(const rxVector<2>& place, double reach) const;

  private:
    struct Part {
        std::size_t begin = 0;
        std::size_t end = 0;
        bool splitsX = true;
    };
    template <typename Visit>
    void search(const Part& part, const rxVector<2>& place, const double& reach2,
                Visit visit) const;
    void arrange(const Part& part);

    // The middle point of each part divides it: the points before it lie on the lower side.
    std::vector<rxVector<2>> points_;
};

}  // namespace ptmatch::tool
