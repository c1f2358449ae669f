#pragma once

#include <limits>
#include <span>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// Distances inside a point set that say how fine a search grid has to be.
struct NeighbourDistances {
    /// Smallest distance from a point to its nearest neighbour. Points with an exact double are
    /// left out, and so are those whose nearest neighbour's squared distance is 0 by underflow;
    /// infinite when that leaves none.
    double smallestNearest = std::numeric_limits<double>::infinity();
    /// Largest distance between two points. Points with a neighbour at an infinite squared distance
    /// are left out; 0 when that leaves none, or all squares are 0.
    double largestFarthest = 0.0;
};

/// The same bits as from comparing all points with all others: every distance is that of a pair,
/// computed alike, and pairs are left out only where bounds with room for all rounding allow it.
///
/// @param points  finite. Cost n log n and up to n^1.5 quick steps for points spread evenly, along
/// lines, on a circle or in clusters; n^2 at worst (closest_points.h, farthest_points.h).
NeighbourDistances neighbourDistances(std::span<const rxVector<2>> points);

}  // namespace ptmatch::detail
