#pragma once

#include <optional>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/vector.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::detail {

/// The steps of the grid that is searched. A staggered grid is searched as the ordinary grid of its
/// diagonals: xv + yv and yv - xv of the caller's steps.
struct WorkingSteps {
    rxVector<2> xv;
    rxVector<2> yv;
};

WorkingSteps workingSteps(const rxPtToGridMapRunParams& params);

/// Directions of the two axes, in degrees. That of a null step is 0 before the rotation.
struct AxisDirections {
    double x = 0.0;
    double y = 0.0;
};

/// What one mapping searches for: the parameters with every default applied.
struct MapSetup {
    rxVector<2> xv;  ///< working steps; at most one is null, and they are not parallel
    rxVector<2> yv;
    double xLength = 0.0;  ///< of the working steps; for a null one, the other's
    double yLength = 0.0;
    double cellSize = 0.0;   ///< the longer of the two: the side of a bucket
    double snap = 0.0;       ///< largest distance of a point from its node
    rxRange sizeTol;         ///< not empty
    rxAngleRange angleTol;   ///< not empty
    AxisDirections axes;     ///< of the steps as given, in [0, 360]
    double dirTolDeg = 0.0;  ///< how far the direction of a link may stray from an axis
    bool bothSteps = false;  ///< neither working step is null

    /// Of the fits of the grid to its points: any affine map where both steps are known, else a
    /// similarity.
    int dof() const { return bothSteps ? 6 : 4; }
};

/// @return nothing when the steps span no grid: both null, parallel to within rounding, or a
///     staggered grid of which only one is known.
std::optional<MapSetup> mapSetup(const rxPtToGridMapRunParams& params);

/// The direction of a vector in degrees, atan2 turned into the whole turn from 0 up. A direction
/// less than half a rounding step below 0 gives 360 itself.
double directionDeg(const rxVector<2>& v);

}  // namespace ptmatch::detail
