#pragma once

#include <span>

#include "foundation/vector.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::detail {

/// One mapping, from its arguments to its result: joins the stages, each of which has a file of its
/// own, and is the only one to write into the result.
class GridMapping {
  public:
    /// All three must outlive the mapping.
    GridMapping(std::span<const rxVector<2>> points, const rxPtToGridMapRunParams& params,
                rxPtToGridMapResult& result)
        : points_(points), params_(params), result_(result) {}

    /// @return the number of points that received a position.   @throws as `rfPtToGridMap`.
    long run();

  private:
    class TimeKeeper;

    long map();

    std::span<const rxVector<2>> points_;
    const rxPtToGridMapRunParams& params_;
    rxPtToGridMapResult& result_;
};

}  // namespace ptmatch::detail
