#include "grid_views.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "foundation/angle.h"
#include "plane_vectors.h"

namespace ptmatch::tool {
namespace {

// Wider ranges are cut: within 60 degrees neither a square nor a hexagonal grid looks alike twice.
constexpr double kWidestDeg = 60.0;
// The mapping never chooses the outermost two degrees of a range, so the parts overlap.
constexpr double kOverlapDeg = 3.0;

rxVector<2> rotated(const rxVector<2>& v, double degrees) {
    const double angle = rxRadian(rxDegree(degrees)).toDouble();
    return {std::cos(angle) * v.x() - std::sin(angle) * v.y(),
            std::sin(angle) * v.x() + std::cos(angle) * v.y()};
}

// Points are looked at in stripes as wide as the longer step, stripe by stripe downwards and in
// each to the right. A step that goes down by half a stripe mostly leads to a later one.
bool pointsForward(const rxVector<2>& step, double stripe) {
    if (std::abs(step.y()) >= 0.5 * stripe) return step.y() > 0.0;
    return step.x() >= 0.0;
}

void turn(GridView& view, bool x, bool y) {
    view.turnsX = view.turnsX != x;
    view.turnsY = view.turnsY != y;
    if (x) view.steps.xv = scaled(view.steps.xv, -1.0);
    if (y) view.steps.yv = scaled(view.steps.yv, -1.0);
}

// With a single step the other axis stands to its side, and turns with it.
bool hasSingleStep(const GridSteps& steps) {
    return steps.xv.isNull() || steps.yv.isNull();
}

// The range of a view lies about evenly around its steps, so they stand for all of it.
void turnForward(GridView& view) {
    const auto& [xv, yv] = view.steps;
    const double stripe = std::max(xv.len(), yv.len());
    const bool turnsX = !xv.isNull() && !pointsForward(xv, stripe);
    const bool turnsY = !yv.isNull() && !pointsForward(yv, stripe);
    const bool isSingle = hasSingleStep(view.steps);
    turn(view, turnsX || (isSingle && turnsY), turnsY || (isSingle && turnsX));
}

GridView viewOf(const GridSteps& steps, double lowDeg, double highDeg, double centerDeg) {
    GridView view{steps, lowDeg - centerDeg, highDeg - centerDeg};
    // Untouched when they are not rotated: what the caller wrote is what is asked for.
    if (centerDeg != 0.0) view.steps = {rotated(steps.xv, centerDeg), rotated(steps.yv, centerDeg)};
    turnForward(view);
    return view;
}

}  // namespace

std::vector<GridView> gridViews(const GridSteps& steps, const Interval& rotationDeg) {
    const bool isFull = rotationDeg.isFull || rotationDeg.high - rotationDeg.low >= 360.0;
    const double low = isFull ? -180.0 : rotationDeg.low;
    const double high = isFull ? 180.0 : rotationDeg.high;
    if (high - low <= kWidestDeg) return {viewOf(steps, low, high, 0.5 * (low + high))};

    const auto parts = static_cast<int>(std::ceil((high - low) / kWidestDeg));
    const double width = (high - low) / parts;
    std::vector<double> centers;
    centers.reserve(static_cast<std::size_t>(parts));
    for (int part = 0; part < parts; ++part) {
        // Of a full turn one part lies around no rotation; it ends half a part beyond 180 degrees.
        centers.push_back(low + (isFull ? part + 1.0 : part + 0.5) * width);
    }
    std::stable_sort(centers.begin(), centers.end(),
                     [](double a, double b) { return std::abs(a) < std::abs(b); });
    std::vector<GridView> views;
    for (const double center : centers) {
        const double begin = center - 0.5 * width - kOverlapDeg;
        const double end = center + 0.5 * width + kOverlapDeg;
        views.push_back(viewOf(steps, isFull ? begin : std::max(low, begin),
                               isFull ? end : std::min(high, end), center));
    }
    return views;
}

std::vector<GridView> withOtherSigns(const std::vector<GridView>& views) {
    std::vector<GridView> others;
    for (const GridView& view : views) {
        for (const auto& [x, y] : {std::pair(true, false), {false, true}, {true, true}}) {
            if (x != y && hasSingleStep(view.steps)) continue;
            others.push_back(view);
            turn(others.back(), x, y);
        }
    }
    return others;
}

}  // namespace ptmatch::tool
