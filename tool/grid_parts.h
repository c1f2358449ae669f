#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::tool {

/// The position of a point on a grid, or none.
using GridPosition = std::optional<rxPair<long>>;

/// What a placed point is to its grid.
enum class PlacedAs {
    kNothing,  ///< it has no position
    kNode,     ///< it belongs to the largest connected part
    kDouble,   ///< another point lies nearer to the same position of that part
    kStray     ///< it is not connected with that part
};

/// Tells clutter from the grid. A position within the snap distance is no evidence: far from the
/// plate, clutter meets one by chance every few points. But such positions have few neighbours.
/// Two positions are connected when they are next to each other, also across a corner (of a
/// staggered grid: diagonally, or two apart in a row or column).
/// @param points     one for each of `positions`
/// @param staggered  positions have an even sum
std::vector<PlacedAs> partsOf(const std::vector<rxVector<2>>& points,
                              const std::vector<GridPosition>& positions, bool staggered);

/// The least-squares transform from positions to points: affine, or a similarity when they lie in
/// one line. Nothing when the pairs do not determine one.
std::optional<rxXform<2>> fitToPositions(const std::vector<rxVector<2>>& points,
                                         const std::vector<GridPosition>& positions);

/// The number of points without a position that lie within a fifth of a step of where two placed
/// neighbours, taken one step on, point.
std::size_t pointsThatGoOn(const std::vector<rxVector<2>>& points,
                           const std::vector<GridPosition>& positions, bool staggered);

}  // namespace ptmatch::tool
