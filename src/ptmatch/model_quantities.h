#pragma once

#include <limits>
#include <span>

#include "foundation/rectangle.h"
#include "foundation/vector.h"

namespace ptmatch::detail {

/// True when no coordinate is infinite or not a number.
bool allFinite(std::span<const rxVector<2>> points);

/// Distances inside a point set that say how fine a search grid has to be.
struct NeighbourDistances {
    /// Smallest distance from a point to its nearest neighbour. Points with an exact double are
    /// left out; infinite when that leaves none.
    double smallestNearest = std::numeric_limits<double>::infinity();
    /// Largest distance between two points, 0 when all coincide.
    double largestFarthest = 0.0;
};

/// Cost quadratic in the number of points.
NeighbourDistances neighbourDistances(std::span<const rxVector<2>> points);

/// A quarter of the smallest distance between neighbours, so that they fall into different cells,
/// but not so fine that the largest distance would take more than 4096 cells.
double defaultGridSize(const NeighbourDistances& distances);

/// Where a point set lies and how far it reaches.
struct PointExtent {
    rxRectangle<double> bounds;  ///< the bounding box
    rxVector<2> center;          ///< its centre
    double radius = 0.0;         ///< largest distance from the centre to a point
};

/// @param points  at least one. Cost linear.
PointExtent pointExtent(std::span<const rxVector<2>> points);

}  // namespace ptmatch::detail
