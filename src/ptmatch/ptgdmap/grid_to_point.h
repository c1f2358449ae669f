#pragma once

#include <span>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::detail {

/// The mark of a point without a position.
rxPair<long> unassignedPosition();

/// Turns positions on the diagonals of a staggered grid, (a, b), into positions on its own steps,
/// (a - b, a + b). Points without a position keep their mark.
void undoDiagonals(std::span<rxPair<long>> map);

/// The least-squares transform from grid positions to points.
/// @param map        a position, or the mark of none, for each point.
/// @param bothSteps  both steps of the grid are known: the transform is any affine map, unless the
///     positions lie on one line. Otherwise a similarity.
/// @throws rxLSPointToPointFitter::Errors: the positions are all one, or the points are too large.
rxXform<2> fitGridToPoint(std::span<const rxVector<2>> points, std::span<const rxPair<long>> map,
                          bool bothSteps);

}  // namespace ptmatch::detail
