#include "ptmatch/neighbour_distances.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "ptmatch/closest_points.h"
#include "ptmatch/farthest_points.h"
#include "ptmatch/squared_distance.h"

namespace ptmatch::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Up to here the comparison of all pairs is done before the points would have been sorted.
constexpr std::size_t kMostComparedPairwise = 80;

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

/// Each point with those after it.
SquaredDistances comparePairwise(std::span<const rxVector<2>> points) {
    using Values = std::array<double, kMostComparedPairwise>;
    const std::size_t size = points.size();
    Values nearest;
    Values farthest;
    for (std::size_t i = 0; i < size; ++i) {
        nearest[i] = kInfinity;
        farthest[i] = 0.0;
    }
    SquaredDistances distances;
    for (std::size_t i = 0; i < size; ++i) {
        const rxVector<2> own = points[i];
        double ownNearest = nearest[i];
        double ownFarthest = farthest[i];
        for (std::size_t j = i + 1; j < size; ++j) {
            const double squared = squaredDistance(points[j], own);
            nearest[j] = squared < nearest[j] ? squared : nearest[j];
            farthest[j] = squared > farthest[j] ? squared : farthest[j];
            ownNearest = squared < ownNearest ? squared : ownNearest;
            ownFarthest = squared > ownFarthest ? squared : ownFarthest;
        }
        distances.addNearest(ownNearest);
        distances.addFarthest(ownFarthest);
    }
    return distances;
}

}  // namespace

NeighbourDistances neighbourDistances(std::span<const rxVector<2>> points) {
    const SquaredDistances squared =
        points.size() <= kMostComparedPairwise
            ? comparePairwise(points)
            : SquaredDistances{smallestNearestSquared(points), largestFarthestSquared(points)};
    return {std::sqrt(squared.smallestNearest), std::sqrt(squared.largestFarthest)};
}

}  // namespace ptmatch::detail
