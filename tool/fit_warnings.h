#pragma once

#include <vector>

#include "fit_report.h"

namespace ptmatch::tool {

/// From which on the arrangement of the points counts as weak: errors of the pairs grow by this
/// within the circle or sphere around the points.
constexpr double kWeakGrowth = 10.0;

/// A pair of whose error the fit follows more than this share decides a part of it alone.
constexpr double kDecisiveLeverage = 0.95;

/// Residuals larger than this share of the spread of the points b (both root mean square) look like
/// pairs that do not belong together.
constexpr double kLargeResidual = 0.5;

/// Points that fill their plane or space to no more than this share of their length are called
/// nearly on one line or in one plane. Of affine fits, errors do not grow by kWeakGrowth before
/// points are as thin as that, however few they are.
constexpr double kNearlyFlat = 0.1;

/// All that speaks against the fit, the gravest first. What the report itself holds of them is not
/// read.
std::vector<FitWarning> warningsFor(const FitReport& report);

}  // namespace ptmatch::tool
