#include "ptmatch/ptgdmap/map_arguments.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "foundation/angle.h"
#include "ptmatch/ptgdmap/map_setup.h"

namespace ptmatch::detail {
namespace {

[[noreturn]] void refuse(const std::string& message) {
    throw rxPointMatcherDefs::BadParams("grid mapping: " + message + "\n");
}

void checkStep(const rxVector<2>& step, const char* name) {
    if (!step.isFinite()) refuse(std::string(name) + " must be finite");
    if (step.isNull()) return;
    const double length = step.len();
    if (length < kShortestStep || length > kLongestStep) {
        refuse(std::string(name) + " must be null or between 1e-150 and 1e150 long");
    }
}

void checkSizeTol(const rxRange& sizeTol) {
    if (std::isnan(sizeTol.start()) || std::isnan(sizeTol.end())) {
        refuse("sizeTol bounds must be numbers");
    }
}

void checkAngleTol(const rxAngleRange& angleTol) {
    for (const rxRadian bound : {angleTol.start(), angleTol.end()}) {
        // Refuses a not-a-number, too.
        if (!(std::abs(rxDegree(bound).toDouble()) <= kMostDegrees)) {
            refuse("angleTol bounds must be within a million degrees");
        }
    }
}

}  // namespace

void checkMapArguments(std::span<const rxVector<2>> points, const rxPtToGridMapRunParams& params) {
    checkStep(params.xv(), "xv");
    checkStep(params.yv(), "yv");
    if (params.staggered()) {
        const WorkingSteps diagonals = workingSteps(params);
        checkStep(diagonals.xv, "xv + yv of a staggered grid");
        checkStep(diagonals.yv, "yv - xv of a staggered grid");
    }
    if (!std::isfinite(params.snapSize())) refuse("snapSize must be finite");
    checkSizeTol(params.sizeTol());
    checkAngleTol(params.angleTol());
    if (points.size() > std::numeric_limits<std::int32_t>::max()) {
        refuse("no more than 2147483647 points");
    }
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (!points[k].isFinite()) refuse("point " + std::to_string(k) + " is not finite");
    }
}

}  // namespace ptmatch::detail
