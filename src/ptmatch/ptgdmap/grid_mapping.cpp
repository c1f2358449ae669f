#include "ptmatch/ptgdmap/grid_mapping.h"

#include <optional>
#include <utility>

#include "foundation/timer.h"
#include "ptmatch/ptgdmap/distance_bands.h"
#include "ptmatch/ptgdmap/grid_rotation.h"
#include "ptmatch/ptgdmap/grid_to_point.h"
#include "ptmatch/ptgdmap/local_model.h"
#include "ptmatch/ptgdmap/map_arguments.h"
#include "ptmatch/ptgdmap/map_setup.h"
#include "ptmatch/ptgdmap/neighbour_links.h"
#include "ptmatch/ptgdmap/point_buckets.h"
#include "ptmatch/ptgdmap/ring_growth.h"
#include "ptmatch/ptgdmap/seed_walk.h"

namespace ptmatch::detail {

/// Stores the time into the result however the mapping ends, by an exception too.
class GridMapping::TimeKeeper {
  public:
    TimeKeeper(rxPtToGridMapResult& result, const rxTimer& timer)
        : result_(result), timer_(timer) {}
    ~TimeKeeper() { result_.time_ = timer_.sec(); }
    TimeKeeper(const TimeKeeper&) = delete;
    TimeKeeper& operator=(const TimeKeeper&) = delete;

  private:
    rxPtToGridMapResult& result_;
    const rxTimer& timer_;
};

long GridMapping::run() {
    const rxTimer timer(true);
    checkMapArguments(points_, params_);
    const TimeKeeper timeKeeper(result_, timer);
    result_.valid_ = false;
    return map();
}

long GridMapping::map() {
    constexpr long kFewestForValid = 3;
    const std::optional<MapSetup> setup = mapSetup(params_);
    if (!setup) return 0;
    const std::optional<DegreeRange> rotations = rotationsToTry(setup->angleTol);
    if (!rotations) return 0;

    // 1. Which points are neighbours, and in which directions do they lie?
    PointBuckets points(points_, setup->cellSize);
    const DistanceBands bands(setup->xLength, setup->yLength, setup->sizeTol);
    const DirectionHistogram directions = linkNeighbours(points, bands).histogram;

    // 2. How is the grid turned, and where is it well connected?
    const double rotationDeg = gridRotationDeg(RotationScore(directions, *setup), *rotations);
    const AxisTest axisTest(*setup, turned(setup->axes, rotationDeg));
    const std::optional<std::int32_t> seed = findSeed(points.nodes(), axisTest);
    if (!seed) return 0;

    // 3. Grow the grid from there: once to refine the model, once to assign positions with it. The
    // second time starts at the seed again, even where another node became the origin.
    const LocalModelMaker maker(*setup, rotationDeg);
    LocalModel model = bestLocalModel(maker, points.nodes(), *seed);
    std::vector<rxPair<long>> positions(points_.size(), unassignedPosition());
    RingGrowth growth(points, *setup, model.estimator);
    growth.refineAround(model.node);
    const long count = growth.assignAround(*seed, positions);

    // 4. Fit the grid to all its points at once. The result changes only after that has succeeded.
    const bool isValid = count >= kFewestForValid;
    if (isValid) {
        if (params_.staggered()) undoDiagonals(positions);
        const bool bothSteps = !params_.xv().isNull() && !params_.yv().isNull();
        result_.grid2point_ = fitGridToPoint(points_, positions, bothSteps);
    }
    result_.map_ = std::move(positions);
    result_.valid_ = isValid;
    return count;
}

}  // namespace ptmatch::detail

rxPtToGridMapResult& rxPtToGridMapResult::operator=(const rxPtToGridMapResult& other) {
    return *this = rxPtToGridMapResult(other);
}

long rfPtToGridMap(const std::vector<rxVector<2>>& points, const rxPtToGridMapRunParams& params,
                   rxPtToGridMapResult& result) {
    return ptmatch::detail::GridMapping(points, params, result).run();
}
