#include "ptmatch/run_arguments.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "foundation/exception.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"

namespace ptmatch::detail {
namespace {

using BadParams = rxPointMatcherDefs::BadParams;

// Between these a margin for sums of squares, and for shares of these lengths, is left at either
// end.
constexpr double kSmallestExtent = 1e-150;
constexpr double kLargestExtent = 1e150;

void checkStartPose(const rxXform<2>& startPose) {
    if (!startPose.isFinite()) throw BadParams("startPose must be finite\n");
    if (startPose.isSingular()) throw BadParams("startPose must not be singular\n");
    try {
        startPose.inverse();
    } catch (const rxMathError&) {
        throw BadParams("startPose must have a finite inverse\n");
    }
}

void checkBounds(const char* name, double start, double end) {
    if (std::isnan(start) || std::isnan(end)) {
        throw BadParams(std::string(name) + " bounds must be numbers\n");
    }
}

// The setters hold the rules. Sizes are left out: a size of 0 may stay behind when its automatic
// switch is turned off, and is then read as "automatic".
void checkSetterRules(const rxPointMatcherRunParams& params) {
    rxPointMatcherRunParams checked;
    checked.minCoverage(params.minCoverage());
    checked.xTranslationUncertainty(params.xTranslationUncertainty());
    checked.yTranslationUncertainty(params.yTranslationUncertainty());
    checked.rotationUncertainty(params.rotationUncertainty());
    checked.scaleUncertainty(params.scaleUncertainty());
    checked.maxNumResults(params.maxNumResults());
}

bool isWellWithin(double length) {
    return length >= kSmallestExtent && length <= kLargestExtent;
}

bool canBeSquared(double length) {
    const double square = length * length;
    return square > 0.0 && std::isfinite(square);
}

/// The larger side of the bounds of the points, seen through the pose.
double extentOf(const std::vector<rxVector<2>>& points, const rxXform<2>& pose) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    rxVector<2> least(kInfinity, kInfinity);
    rxVector<2> most(-kInfinity, -kInfinity);
    for (const rxVector<2>& point : points) {
        const rxVector<2> p = pose * point;
        least = {std::min(least.x(), p.x()), std::min(least.y(), p.y())};
        most = {std::max(most.x(), p.x()), std::max(most.y(), p.y())};
    }
    return std::max(most.x() - least.x(), most.y() - least.y());
}

/// Refuses an extent, in the model or as the start pose sees it, that is not acceptable.
template <class IsAcceptable>
void checkExtent(const rx_PointMatcherModel& model, const rxXform<2>& startPose,
                 IsAcceptable isAcceptable) {
    const double extent = std::max(model.bounds().width(), model.bounds().height());
    if (extent == 0.0) return;  // nothing to tell a pose by
    if (!isAcceptable(extent)) {
        throw BadParams(
            "the points to search for must be between 1e-150 and 1e150 apart: "
            "the larger side of their bounds\n");
    }
    if (!isAcceptable(extentOf(model.points(), startPose))) {
        throw BadParams(
            "startPose must take the points to search for to between 1e-150 and 1e150 apart\n");
    }
}

}  // namespace

void checkRunArguments(const std::vector<rxVector<2>>& data,
                       const rxPointMatcherRunParams& params) {
    checkSetterRules(params);
    checkStartPose(params.startPose());
    const rxRange x = params.xTranslationUncertainty();
    const rxRange y = params.yTranslationUncertainty();
    const rxRange scale = params.scaleUncertainty();
    const rxAngleRange rotation = params.rotationUncertainty();
    checkBounds("xTranslationUncertainty", x.start(), x.end());
    checkBounds("yTranslationUncertainty", y.start(), y.end());
    checkBounds("scaleUncertainty", scale.start(), scale.end());
    checkBounds("rotationUncertainty", rotation.start().toDouble(), rotation.end().toDouble());
    if (!params.autoCaptureRange() && std::isnan(params.captureRange())) {
        throw BadParams("captureRange must be a number\n");
    }
    for (std::size_t k = 0; k < data.size(); ++k) {
        if (!data[k].isFinite()) {
            throw BadParams("data point " + std::to_string(k) + " is not finite\n");
        }
    }
}

void checkSearchable(const rx_PointMatcherModel& model, const rxXform<2>& startPose) {
    checkExtent(model, startPose, canBeSquared);
}

void checkNothingFound(const rx_PointMatcherModel& model, const rxXform<2>& startPose) {
    checkExtent(model, startPose, isWellWithin);
}

}  // namespace ptmatch::detail
