#include "ptmatch/ptgdmap/map_setup.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ptmatch::detail {
namespace {

constexpr double kDefaultSnapRatio = 0.2;
constexpr double kLeastDirTolDeg = 1.5;

/// Whether the rounding of the two products alone could account for their difference. True when
/// either step is null.
bool isParallel(const WorkingSteps& steps) {
    constexpr double kEps = std::numeric_limits<double>::epsilon();
    const double xy = steps.xv.x() * steps.yv.y();
    const double yx = steps.yv.x() * steps.xv.y();
    return std::abs(xy - yx) <= 8.0 * kEps * (std::abs(xy) + std::abs(yx));
}

bool spansGrid(const WorkingSteps& steps, bool staggered) {
    if (steps.xv.isNull() && steps.yv.isNull()) return false;
    // One step makes a single row. The diagonals of a staggered grid need both: with one step
    // missing they are parallel, and one of them is null only if the caller's two are parallel.
    const bool isRow = steps.xv.isNull() || steps.yv.isNull();
    if (isRow && !staggered) return true;
    return !isParallel(steps);
}

/// The angle that the snap distance takes up, seen along a step from its other end.
double snapAngleDeg(double snap, const rxVector<2>& step) {
    if (step.isNull()) return 0.0;
    return rxDegree(rxRadian(std::atan2(snap, step.len()))).toDouble();
}

double directionTolerance(double snap, const WorkingSteps& steps) {
    double alongX = snapAngleDeg(snap, steps.xv);
    double alongY = snapAngleDeg(snap, steps.yv);
    if (alongX == 0.0) alongX = alongY;
    if (alongY == 0.0) alongY = alongX;
    return std::max(std::min(alongX, alongY), kLeastDirTolDeg);
}

rxRange effectiveSizeTol(const rxRange& given) {
    return given.range() == rxRangeDefs::Empty ? rxRange(0.8, 1.2) : given;
}

rxAngleRange effectiveAngleTol(const rxAngleRange& given) {
    if (given.range() != rxRangeDefs::Empty) return given;
    return rxAngleRange(rxDegree(-20.0), rxDegree(20.0));
}

}  // namespace

WorkingSteps workingSteps(const rxPtToGridMapRunParams& params) {
    if (!params.staggered()) return {params.xv(), params.yv()};
    return {params.xv() + params.yv(), params.yv() - params.xv()};
}

std::optional<MapSetup> mapSetup(const rxPtToGridMapRunParams& params) {
    const WorkingSteps steps = workingSteps(params);
    if (!spansGrid(steps, params.staggered())) return std::nullopt;

    MapSetup setup;
    setup.xv = steps.xv;
    setup.yv = steps.yv;
    setup.bothSteps = !steps.xv.isNull() && !steps.yv.isNull();
    setup.xLength = steps.xv.isNull() ? steps.yv.len() : steps.xv.len();
    setup.yLength = steps.yv.isNull() ? steps.xv.len() : steps.yv.len();
    setup.cellSize = std::max(setup.xLength, setup.yLength);
    setup.snap = params.snapSize() > 0.0
                     ? params.snapSize()
                     : kDefaultSnapRatio * std::min(setup.xLength, setup.yLength);
    setup.sizeTol = effectiveSizeTol(params.sizeTol());
    setup.angleTol = effectiveAngleTol(params.angleTol());
    setup.axes.x = steps.xv.isNull() ? 0.0 : directionDeg(steps.xv);
    setup.axes.y = steps.yv.isNull() ? 0.0 : directionDeg(steps.yv);
    setup.dirTolDeg = directionTolerance(setup.snap, steps);
    return setup;
}

double directionDeg(const rxVector<2>& v) {
    const double degrees = rxDegree(v.angle()).toDouble();
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

}  // namespace ptmatch::detail
