#pragma once

#include <span>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// The smallest squared distance from a point to its nearest neighbour, with the bits of comparing
/// all points with all others. Points whose nearest squared distance is 0, as they have an exact
/// double or by underflow, are left out as such, not as neighbours of others; infinite when that
/// leaves none.
///
/// The points are sorted along a slanted direction, and each is compared with those that follow it
/// by no more than the smallest distance so far.
///
/// @param points  finite, at least one. Cost n log n to sort and, for points spread evenly, n^1.5
/// small steps to compare; n^2 at worst, where most lie across the direction within the smallest
/// distance, or all squares overflow.
double smallestNearestSquared(std::span<const rxVector<2>> points);

}  // namespace ptmatch::detail
