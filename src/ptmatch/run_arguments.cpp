#include "ptmatch/run_arguments.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "foundation/exception.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"

namespace ptmatch::detail {
namespace {

using BadParams = rxPointMatcherDefs::BadParams;

// A margin for sums of squares, and for shares of these lengths, is left at either end.
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

bool canBeSquared(double length) {
    return length >= kSmallestExtent && length <= kLargestExtent;
}

double largestElement(const rxMatrix<2>& matrix) {
    const double inFirstRow =
        std::max(std::abs(matrix.element(0, 0)), std::abs(matrix.element(0, 1)));
    return std::max({inFirstRow, std::abs(matrix.element(1, 0)), std::abs(matrix.element(1, 1))});
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

void checkModelExtent(const rx_PointMatcherModel& model, const rxXform<2>& startPose) {
    const double extent = std::max(model.bounds().width(), model.bounds().height());
    if (extent == 0.0) return;  // nothing to tell a pose by: nothing is found
    if (!canBeSquared(extent)) {
        throw BadParams(
            "the points to search for must be between 1e-150 and 1e150 apart: "
            "the larger side of their bounds\n");
    }
    if (!canBeSquared(extent * largestElement(startPose.matrix()))) {
        throw BadParams(
            "startPose must take the points to search for to between 1e-150 and 1e150 apart\n");
    }
}

}  // namespace ptmatch::detail
