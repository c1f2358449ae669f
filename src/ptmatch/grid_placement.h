#pragma once

#include <span>
#include <vector>

#include "foundation/fitter.h"
#include "foundation/image.h"
#include "foundation/vector.h"
#include "foundation/xform.h"
#include "ptmatch/collinearity.h"

namespace ptmatch::detail {

/// A placement of a grid pattern in the data while it is put together, one data point after the
/// other: which data point lies at which position, and the transform that they determine.
class GridPlacement {
  public:
    /// Of a pattern of this size and offset; no data point is placed yet.
    explicit GridPlacement(const rx_PelBuffer& pattern);

    /// Places a data point at a position of the pattern, which counts the offset in. A second
    /// point at a position takes the place of the first in the map, and both count in the fit, but
    /// the position is covered once.
    /// @throws rx_PelBuffer::Errors: the position is outside the pattern.
    void put(const rxPair<long>& position, long dataIndex, const rxVector<2>& dataPoint);

    /// Per position the index of its data point, -1 without one.
    const rxPelBuffer<long>& map() const { return map_; }

    /// The number of positions that have a data point.
    long numCovered() const { return numCovered_; }

    /// The least-squares transform from positions to data points: a similarity when the positions
    /// lie on one line, else affine. The identity when the points do not determine it.
    rxXform<2> dataFromGrid() const;

  private:
    rxPelBuffer<long> map_;
    long numCovered_ = 0;
    Collinearity collinearity_;
    rxLSPointToPointFitter fitter_;
};

/// The share of the pattern's points that have a data point.
double coverageOf(const GridPlacement& placement, long numGridPoints);

/// The mean, over the positions of the map that have a data point, of the squared distance between
/// the position as it stands and the data point taken back to model coordinates; 0 without any.
/// Positions and model coordinates are compared although only an identity between them makes
/// this a distance: deliberate. Infinite when a distance is beyond the range of double.
double meanSquaredGridError(const rxPelBuffer<long>& map, std::span<const rxVector<2>> data,
                            const rxXform<2>& modelFromData);

}  // namespace ptmatch::detail
