#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::tool {

/// The steps of a grid, from position (i, j) to (i + 1, j) and to (i, j + 1).
struct GridSteps {
    rxVector<2> xv;
    /// Either may be null: the points lie in one row or column along the other.
    rxVector<2> yv;
};

/// The steps between neighbouring points, those that are known: the steps themselves, or of a
/// staggered grid the two diagonals.
std::vector<rxVector<2>> linksOf(const GridSteps& steps, bool staggered);

/// The length of the shortest of them.
double shortestLinkOf(const GridSteps& steps, bool staggered);

/// The images of the unit steps under a transform from positions to points.
GridSteps stepsOf(const rxXform<2>& dataFromGrid);

/// Steps that were read off the points themselves.
struct ProposedSteps {
    GridSteps steps;
    /// At so many of the points that were looked at, the neighbours lie as these steps say.
    std::size_t supporters = 0;
    std::size_t lookedAt = 0;
};

/// Proposes the steps of the grid that most of `points` lie on.
///
/// Around each point (of more than a thousand, around a thousand spread over the list) the two
/// neighbours are sought whose parallelograms the other neighbours fill best; the answer is the
/// mean of the largest family of such pairs that span the same lattice to within a quarter of a
/// step. So clutter, which agrees with nothing, is ignored, gaps do no harm, and where perspective
/// makes the steps change, the largest part of the plate decides.
///
/// A lattice has many pairs of steps. This is the one of the shortest steps, `xv` the nearer to the
/// x axis and pointing to larger x, `yv` to its side where y grows. When `staggered`, the points
/// are taken for the positions with even i + j only, and of the pairs that have them there the
/// steps are nearly perpendicular and, of those, nearly along the axes.
///
/// @return nothing when no lattice is seen: fewer than three points, or no two whose surroundings
/// agree. Not a promise that there is a grid: points at random agree here and there, too.
std::optional<ProposedSteps> proposeSteps(const std::vector<rxVector<2>>& points, bool staggered);

}  // namespace ptmatch::tool
