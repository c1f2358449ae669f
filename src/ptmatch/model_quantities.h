#pragma once

#include <span>

#include "foundation/rectangle.h"
#include "foundation/vector.h"
#include "ptmatch/neighbour_distances.h"

namespace ptmatch::detail {

/// True when no coordinate is infinite or not a number.
bool allFinite(std::span<const rxVector<2>> points);

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
