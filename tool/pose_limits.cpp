#include "pose_limits.h"

#include <algorithm>
#include <cmath>

#include "foundation/angle.h"
#include "number_text.h"
#include "plane_vectors.h"

namespace ptmatch::tool {
namespace {

// As far as a fit reproduces an exact pose.
constexpr double kRounding = 1e-9;

bool isInside(double value, const Interval& interval, double tolerance) {
    return interval.isFull ||
           (value >= interval.low - tolerance && value <= interval.high + tolerance);
}

// How far between two scales that are tried a pose may lie.
double scaleTolerance(const RunFrame& frame) {
    if (frame.exhaustive || !(frame.radius > 0.0)) return kRounding;
    return frame.gridSize / frame.radius;
}

double shiftTolerance(const RunFrame& frame) {
    return frame.exhaustive ? 0.0 : frame.gridSize;
}

std::string percentText(double share) {
    constexpr double kPercent = 100.0;
    return fixedText(kPercent * share, 1) + " %";
}

Breach coverageBreach(const FoundPose& pose, const RunFrame& frame) {
    return {Limit::kCoverage, "coverage " + percentText(pose.coverage) + " is below " +
                                  percentText(frame.run.minCoverage)};
}

Breach rotationBreach(const PoseChange& change, const RunFrame& frame) {
    const Interval& allowed = frame.run.rotationDeg;
    const std::string from = frame.run.startRotationDeg == 0.0 ? "" : " from the expected one";
    return {Limit::kRotation, "rotation " + outsideText(turnNearest(change.rotationDeg, allowed),
                                                        allowed.low, allowed.high, " deg" + from)};
}

// Scales are told as the user sees them in the results.
Breach scaleBreach(const FoundPose& pose, const RunFrame& frame) {
    const Interval& allowed = frame.run.scale;
    const double start = frame.run.startScale;
    return {Limit::kScale, "scale " + outsideText(pose.scale(), start * (1.0 + allowed.low),
                                                  start * (1.0 + allowed.high))};
}

Breach shiftBreach(const char* axis, double shift, const Interval& allowed) {
    return {Limit::kTranslation,
            std::string(axis) + " translation " + outsideText(shift, allowed.low, allowed.high)};
}

void addShiftBreaches(const PoseChange& change, const RunFrame& frame, double tolerance,
                      std::vector<Breach>& breaches) {
    if (!isInside(change.shift.x(), frame.run.xTranslation, tolerance)) {
        breaches.push_back(shiftBreach("x", change.shift.x(), frame.run.xTranslation));
    }
    if (!isInside(change.shift.y(), frame.run.yTranslation, tolerance)) {
        breaches.push_back(shiftBreach("y", change.shift.y(), frame.run.yTranslation));
    }
}

Breach captureBreach(const FoundPose& pose, const RunFrame& frame,
                     const std::vector<rxVector<2>>& model, const std::vector<rxVector<2>>& data) {
    std::size_t near = 0;
    for (std::size_t i = 0; i < pose.map.size(); ++i) {
        if (pose.map[i] < 0) continue;
        const rxVector<2>& partner = data[static_cast<std::size_t>(pose.map[i])];
        if ((pose.dataFromModel * model[i] - partner).len() < frame.captureRange) ++near;
    }
    return {Limit::kCaptureRange, "of its " + std::to_string(pose.matched()) + " partners, " +
                                      std::to_string(near) + " lie within the capture range of " +
                                      significantText(frame.captureRange, 4)};
}

Breach gridBreach(const FoundPose& pose, double found, const RunFrame& frame) {
    const std::string size = "a grid size of " + significantText(frame.gridSize, 4);
    if (found < frame.gridSize) {
        return {Limit::kGridSize, size + " is too coarse to tell it from other poses"};
    }
    return {Limit::kGridSize, size + " is too fine for points that lie off by " +
                                  significantText(pose.fitError, 4) + " (root mean square)"};
}

// A bound of a translation: round to the digit below its margin.
double perUnitOf(double margin) {
    if (!(margin > 0.0) || !std::isfinite(margin)) return 1.0;
    return std::pow(10.0, -std::floor(std::log10(margin)));
}

}  // namespace

RunFrame runFrame(const RunOptions& run, bool exhaustive, const std::vector<rxVector<2>>& model) {
    RunFrame frame;
    frame.run = run;
    frame.exhaustive = exhaustive;
    const auto [left, right] =
        std::ranges::minmax(model, {}, [](const rxVector<2>& p) { return p.x(); });
    const auto [top, bottom] =
        std::ranges::minmax(model, {}, [](const rxVector<2>& p) { return p.y(); });
    const rxVector<2> low(left.x(), top.y());
    const rxVector<2> high(right.x(), bottom.y());
    frame.centre = low + scaled(high - low, 0.5);
    frame.radius = 0.5 * (high - low).len();
    return frame;
}

PoseChange changeOf(const rxXform<2>& dataFromModel, const RunFrame& frame) {
    const rxXform<2> back = runParams(frame.run).startPose().inverse();
    PoseChange change;
    const rxXform<2> seen = frame.exhaustive ? dataFromModel * back : back * dataFromModel;
    change.rotationDeg = rxDegree(seen.rotation()).toDouble();
    change.scale = seen.xScale() - 1.0;
    change.shift = frame.exhaustive ? seen.trans() : seen * frame.centre - frame.centre;
    return change;
}

std::vector<Breach> breachesOf(const FoundPose& pose, const RunFrame& frame) {
    const PoseChange change = changeOf(pose.dataFromModel, frame);
    const Interval& turns = frame.run.rotationDeg;
    std::vector<Breach> breaches;
    if (!frame.exhaustive && pose.coverage < frame.run.minCoverage) {
        breaches.push_back(coverageBreach(pose, frame));
    }
    if (!isInside(turnNearest(change.rotationDeg, turns), turns, kRounding)) {
        breaches.push_back(rotationBreach(change, frame));
    }
    if (!isInside(change.scale, frame.run.scale, scaleTolerance(frame))) {
        breaches.push_back(scaleBreach(pose, frame));
    }
    addShiftBreaches(change, frame, shiftTolerance(frame), breaches);
    return breaches;
}

Breach breachOf(Limit limit, const FoundPose& pose, const RelaxedRun& relaxed,
                const RunFrame& frame, const std::vector<rxVector<2>>& model,
                const std::vector<rxVector<2>>& data) {
    switch (limit) {
        case Limit::kCaptureRange:
            return captureBreach(pose, frame, model, data);
        case Limit::kGridSize:
            return gridBreach(pose, relaxed.run().gridSize.value_or(frame.gridSize), frame);
        case Limit::kScale:
            return scaleBreach(pose, frame);
        default:
            break;
    }
    return {limit, "only a search with another limit comes upon it"};
}

void include(RelaxedRun& run, Limit limit, const FoundPose& pose, const RunFrame& frame) {
    constexpr double kPercent = 100.0;
    const PoseChange change = changeOf(pose.dataFromModel, frame);
    if (limit == Limit::kCoverage) {
        run.minCoverage(std::floor(kPercent * pose.coverage + kRounding) / kPercent);
    } else if (limit == Limit::kRotation) {
        constexpr double kMarginDeg = 5.0;
        constexpr double kTurn = 360.0;
        const Interval& allowed = frame.run.rotationDeg;
        const Interval wider =
            including(allowed, turnNearest(change.rotationDeg, allowed), kMarginDeg, 1.0);
        run.rotation(wider.high - wider.low < kTurn ? wider : Interval::full());
    } else if (limit == Limit::kScale) {
        constexpr double kMargin = 0.02;
        constexpr double kLowest = -0.9;
        Interval wider = including(frame.run.scale, change.scale, kMargin, kPercent);
        wider.low = std::max(wider.low, kLowest);
        run.scale(wider);
    } else if (limit == Limit::kTranslation) {
        const double margin = frame.exhaustive ? 2.0 * frame.captureRange : 2.0 * frame.gridSize;
        const double tolerance = shiftTolerance(frame);
        const double perUnit = perUnitOf(margin);
        const Interval& x = frame.run.xTranslation;
        const Interval& y = frame.run.yTranslation;
        if (!isInside(change.shift.x(), x, tolerance)) {
            run.xTranslation(including(x, change.shift.x(), margin, perUnit));
        }
        if (!isInside(change.shift.y(), y, tolerance)) {
            run.yTranslation(including(y, change.shift.y(), margin, perUnit));
        }
    }
}

bool arePlacedAlike(const rxXform<2>& a, const rxXform<2>& b, const RunFrame& frame) {
    constexpr double kShareOfModel = 0.1;
    const double reach = 2.0 * frame.captureRange + kShareOfModel * frame.radius * b.xScale();
    const rxVector<2> aside = frame.centre + rxVector<2>(frame.radius, 0.0);
    return (a * frame.centre - b * frame.centre).len() <= reach &&
           (a * aside - b * aside).len() <= reach;
}

}  // namespace ptmatch::tool
