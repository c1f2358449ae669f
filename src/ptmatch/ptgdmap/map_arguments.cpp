#include "ptmatch/ptgdmap/map_arguments.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "foundation/angle.h"
#include "ptmatch/ptgdmap/map_setup.h"

namespace ptmatch::detail {
namespace {

void require(bool accepted, const std::string& message) {
    if (!accepted) throw rxPointMatcherDefs::BadParams("grid mapping: " + message + "\n");
}

void checkStep(const rxVector<2>& step, const char* name) {
    require(step.isFinite(), std::string(name) + " must be finite");
    if (step.isNull()) return;
    const double length = step.len();
    require(length >= kShortestStep && length <= kLongestStep,
            std::string(name) + " must be null or between 1e-150 and 1e150 long");
}

void checkSizeTol(const rxRange& sizeTol) {
    require(!std::isnan(sizeTol.start()) && !std::isnan(sizeTol.end()),
            "sizeTol bounds must be numbers");
}

void checkAngleTol(const rxAngleRange& angleTol) {
    for (const rxRadian bound : {angleTol.start(), angleTol.end()}) {
        // False for a not-a-number, too.
        require(std::abs(rxDegree(bound).toDouble()) <= kMostDegrees,
                "angleTol bounds must be within a million degrees");
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
    require(std::isfinite(params.snapSize()), "snapSize must be finite");
    checkSizeTol(params.sizeTol());
    checkAngleTol(params.angleTol());
    require(points.size() <= std::numeric_limits<std::int32_t>::max(),
            "no more than 2147483647 points");
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (!points[k].isFinite()) require(false, "point " + std::to_string(k) + " is not finite");
    }
}

}  // namespace ptmatch::detail
