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
    return rxPtToGridMapRunParams(view.steps.xv, view.steps.yv, report.staggered,
                                  report.snap.value_or(0.0), sizes, angles);
}

bool isPlaced(const rxPair<long>& position) {
    constexpr long kUnassigned = rxPtToGridMapResult::kUnassigned;
    return position != rxPair<long>(kUnassigned, kUnassigned);
}

long placedIn(const rxPtToGridMapResult& result) {
    return std::count_if(result.map().begin(), result.map().end(), isPlaced);
}

// The result on the steps as they were given, in the report.
void adopt(const rxPtToGridMapResult& result, const GridView& view, GridMapReport& report) {
    report.positions.assign(report.data.points.size(), std::nullopt);
    for (std::size_t k = 0; k < result.map().size(); ++k) {
        if (isPlaced(result.map()[k])) report.positions[k] = view.turned(result.map()[k]);
    }
    const rxMatrix<2> turn(view.turnsX ? -1 : 1, 0, 0, view.turnsY ? -1 : 1);
    report.dataFromGrid = result.grid2point() * rxXform<2>(turn, {0, 0});
}

// Asks in each of the views; the most points placed wins.
void ask(const std::vector<GridView>& views, GridMapReport& report) {
    long most = 0;
    for (const GridView& view : views) {
        const rxPtToGridMapResult result = mappedInView(report, view);
        const long placed = placedIn(result);
        report.seconds += result.time();
        if (!result.valid() || placed <= most) continue;
        most = placed;
        adopt(result, view, report);
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
    std::vector<rxVector<2>> steps;
    const GridSteps& given = report.choice.steps;
    if (report.staggered) {
        steps = {given.xv + given.yv, given.yv - given.xv};
    } else {
        if (!given.xv.isNull()) steps.push_back(given.xv);
        if (!given.yv.isNull()) steps.push_back(given.yv);
    }
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
    countFromZero(report);
}

std::string whyNothingPlaced(const GridMapReport& report) {
    if (report.data.points.size() < 3) return "a grid needs at least 3 points";
    const Interval& sizes = report.sizeTolerance;
    const NeighboursSeen seen = lookForNeighbours(report);
    if (!seen.atDistance) {
        if (!sizes.isFull && sizes.low == sizes.high) {
            return "--size-tol allows one exact distance only; measured points need a range, for "
                   "instance 0.8,1.2";
        }
        return "no two neighbours are as far apart as --size-tol allows around the steps; the "
               "nearest neighbour of a point is typically " +
               shortText(seen.medianDistance) + " away";
    }
    if (!seen.inDirection) {
        return "neighbours are as far apart as the steps say, but in directions that --angle-tol "
               "excludes";
    }
    return "neighbours lie as the steps say, but too few fit one grid; a larger --snap allows more "
           "distortion";
}

}  // namespace ptmatch::tool
