#pragma once

#include <span>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// The largest squared distance between two points, with the bits of comparing all points with all
/// others. Points with a neighbour at an infinite squared distance are left out as such, not as
/// neighbours of others; 0 when that leaves none.
///
/// Two points are no farther apart than their distances from the centre add up to. Where many pairs
/// come near that, as on a circle, those are compared that lie on opposite sides of it.
///
/// @param points  finite, at least one. Cost linear as a rule, n log n on a circle; n^2 at worst,
/// where many points are equally far from many others, or squares underflow.
double largestFarthestSquared(std::span<const rxVector<2>> points);

}  // namespace ptmatch::detail
