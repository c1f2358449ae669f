#include "grid_mapping.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "input_error.h"
#include "number_text.h"
#include "plane_vectors.h"
#include "point_tree.h"

namespace ptmatch::tool {
namespace {

rxPtToGridMapRunParams paramsOf(const GridMapReport& report, const GridView& view) {
    const rxRange sizes = report.sizeTolerance.isFull
                              ? rxRange::FullRange()
                              : rxRange(report.sizeTolerance.low, report.sizeTolerance.high);
    const rxAngleRange angles(rxRadian(rxDegree(view.lowDeg)), rxRadian(rxDegree(view.highDeg)));
    return rxPtToGridMapRunParams(view.steps.xv, view.steps.yv, report.staggered, report.snap,
                                  sizes, angles);
}

bool isPlaced(const rxPair<long>& position) {
    constexpr long kUnassigned = rxPtToGridMapResult::kUnassigned;
    return position != rxPair<long>(kUnassigned, kUnassigned);
}

// The positions of a result on the steps as they were given.
std::vector<GridPosition> turnedPositions(const rxPtToGridMapResult& result, const GridView& view) {
    std::vector<GridPosition> positions(result.map().size());
    for (std::size_t k = 0; k < positions.size(); ++k) {
        if (isPlaced(result.map()[k])) positions[k] = view.turned(result.map()[k]);
    }
    return positions;
}

// Puts a result into the report. The transform is fitted anew without what is set aside; where
// nothing is, it is the one of the mapping.
void adopt(const rxPtToGridMapResult& result, const GridView& view,
           const std::vector<PlacedAs>& parts, GridMapReport& report) {
    report.positions = turnedPositions(result, view);
    report.strays = 0;
    report.doubles = 0;
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (parts[k] == PlacedAs::kStray) ++report.strays;
        if (parts[k] == PlacedAs::kDouble) ++report.doubles;
        if (parts[k] != PlacedAs::kNode && !report.keepsAll) report.positions[k].reset();
    }
    if (report.keepsAll || report.strays + report.doubles == 0) {
        const rxMatrix<2> turn(view.turnsX ? -1 : 1, 0, 0, view.turnsY ? -1 : 1);
        report.dataFromGrid = result.grid2point() * rxXform<2>(turn, {0, 0});
    } else {
        report.dataFromGrid = fitToPositions(report.data.points, report.positions);
    }
}

// Asks in each of the views; the most connected points win.
void ask(const std::vector<GridView>& views, GridMapReport& report) {
    constexpr std::ptrdiff_t kFewest = 3;  // fewer are no grid
    std::ptrdiff_t most = kFewest - 1;
    for (const GridView& view : views) {
        const rxPtToGridMapResult result = mappedInView(report, view);
        report.seconds += result.time();
        if (!result.valid()) continue;
        const std::vector<PlacedAs> parts =
            partsOf(report.data.points, turnedPositions(result, view), report.staggered);
        const auto nodes = std::count(parts.begin(), parts.end(), PlacedAs::kNode);
        if (nodes <= most) continue;
        most = nodes;
        adopt(result, view, parts, report);
    }
}

// Whether some two of the points lie as the tolerances allow: at the distance, and in the
// direction.
struct NeighboursSeen {
    bool atDistance = false;
    bool inDirection = false;
    double medianDistance = 0.0;  // to the nearest neighbour
};

bool isWithin(const Interval& interval, double value) {
    return interval.isFull || (value >= interval.low && value <= interval.high);
}

// Whether `link` is the step turned by an angle that is allowed; either sense will do.
bool isAllowedDirection(const GridMapReport& report, const rxVector<2>& link,
                        const rxVector<2>& step) {
    const double angle =
        rxDegree(rxRadian(std::atan2(cross(step, link), dot(step, link)))).toDouble();
    for (const double turn : {-720.0, -540.0, -360.0, -180.0, 0.0, 180.0, 360.0, 540.0, 720.0}) {
        if (isWithin(report.angleToleranceDeg, angle + turn)) return true;
    }
    return false;
}

NeighboursSeen lookForNeighbours(const GridMapReport& report) {
    constexpr std::size_t kMostLookedAt = 2000;
    constexpr std::size_t kNeighbours = 16;
    const std::vector<rxVector<2>> steps = linksOf(report.choice.steps, report.staggered);
    const std::vector<rxVector<2>>& points = report.data.points;
    const PointTree tree(points);
    const std::size_t looks = std::min(points.size(), kMostLookedAt);
    NeighboursSeen seen;
    std::vector<double> nearest;
    for (std::size_t k = 0; k < looks; ++k) {
        const rxVector<2>& place = points[k * points.size() / looks];
        const std::vector<rxVector<2>> around = tree.nearest(place, kNeighbours);
        if (!around.empty()) nearest.push_back((around.front() - place).len());
        for (const rxVector<2>& neighbour : around) {
            for (const rxVector<2>& step : steps) {
                const rxVector<2> link = neighbour - place;
                if (!isWithin(report.sizeTolerance, link.len() / step.len())) continue;
                seen.atDistance = true;
                if (isAllowedDirection(report, link, step)) seen.inDirection = true;
            }
        }
    }
    if (!nearest.empty()) {
        const auto middle = nearest.begin() + static_cast<std::ptrdiff_t>(nearest.size() / 2);
        std::nth_element(nearest.begin(), middle, nearest.end());
        seen.medianDistance = *middle;
    }
    return seen;
}

}  // namespace

rxPtToGridMapResult mappedInView(const GridMapReport& report, const GridView& view) {
    rxPtToGridMapResult result;
    try {
        rfPtToGridMap(report.data.points, paramsOf(report, view), result);
    } catch (const rxException& error) {
        throw InputError(report.dataFile + ": " + std::string(trimmed(error.what())));
    }
    return result;
}

void mapToGrid(GridMapReport& report) {
    report.positions.assign(report.data.points.size(), std::nullopt);
    report.dataFromGrid.reset();
    report.seconds = 0.0;
    const std::vector<GridView> views = gridViews(report.choice.steps, report.angleToleranceDeg);
    ask(views, report);
    if (!report.dataFromGrid) ask(withOtherSigns(views), report);
    if (!report.dataFromGrid) report.positions.assign(report.data.points.size(), std::nullopt);
    countFromZero(report);
}

double defaultSnap(const GridSteps& steps, bool staggered) {
    constexpr double kShare = 0.3;
    return kShare * shortestLinkOf(steps, staggered);
}

std::string whyNothingPlaced(const GridMapReport& report, const ToleranceNames& names) {
    if (report.data.points.size() < 3) return "a grid needs at least 3 points";
    const Interval& sizes = report.sizeTolerance;
    const NeighboursSeen seen = lookForNeighbours(report);
    if (!seen.atDistance && !sizes.isFull && sizes.low == sizes.high) {
        return names.size +
               " allows one exact distance only; measured points need a range around it";
    }
    if (!seen.atDistance) {
        return "no two neighbours are as far apart as " + names.size +
               " allows around the steps; the nearest neighbour of a point is typically " +
               shortText(seen.medianDistance) + " away";
    }
    if (!seen.inDirection) {
        return "neighbours are as far apart as the steps say, but in directions that " +
               names.angle + " excludes";
    }
    return "neighbours lie as the steps say, but too few fit one grid; a larger --snap allows more "
           "distortion";
}

}  // namespace ptmatch::tool
