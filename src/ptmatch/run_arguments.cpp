#include "ptmatch/run_arguments.h"

#include <cmath>
#include <string>

#include "foundation/exception.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_run_params.h"

namespace ptmatch::detail {
namespace {

using BadParams = rxPointMatcherDefs::BadParams;

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

}  // namespace ptmatch::detail
