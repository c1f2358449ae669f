#pragma once

#include <cstdint>
#include <span>

#include "foundation/vector.h"
#include "ptmatch/ptgdmap/map_setup.h"
#include "ptmatch/ptgdmap/point_buckets.h"
#include "ptmatch/tm.h"

namespace ptmatch::detail {

/// The grid as a point and its steps predict it. Plane a of the estimator holds grid positions,
/// plane b points.
struct LocalModel {
    rx2PtMatchTm estimator;  ///< fitted to the node at (0, 0) and to one step along each known axis
    std::int32_t node = 0;   ///< the origin of the grid
};

/// Builds grids at points.
class LocalModelMaker {
  public:
    LocalModelMaker(const MapSetup& setup, double rotationDeg);

    /// The grid with its origin at a point.
    /// @throws rxLSPointToPointFitter::Errors, rxMathError: the steps are lost in the rounding of a
    ///     point so far out.
    rx2PtMatchTm at(const rxVector<2>& origin) const;

  private:
    rxVector<2> xStep_;  // turned by the rotation of the grid
    rxVector<2> yStep_;
    bool hasX_;
    bool hasY_;
    int dof_;
};

/// Mean squared distance of the neighbours that the seed walk reached from here to their nodes;
/// infinity when there are none.
double localResidual(const rx2PtMatchTm& model, const PointNode& node,
                     std::span<const PointNode> nodes);

/// The best of the models at the seed, at the neighbours that its used links lead to, and at those
/// that theirs lead to: the first with the smallest residual, asked depth first in link order.
/// Where no model can be fitted to a neighbour, it is passed over.
/// @throws as `LocalModelMaker::at` for the seed.
LocalModel bestLocalModel(const LocalModelMaker& maker, std::span<const PointNode> nodes,
                          std::int32_t seed);

/// The grid position nearest to a place on the grid: both coordinates to whole numbers, halves
/// upwards.
rxVector<2> nearestNode(const rxVector<2>& onGrid);

}  // namespace ptmatch::detail
