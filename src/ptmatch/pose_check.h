#pragma once

#include <span>
#include <vector>

#include "foundation/range.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// How far beyond an end of an uncertainty range a fitted rotation (radians) or relative scale may
/// lie. A fit reproduces an exact pose to a few units in the last place only; without this a range
/// of a single value, such as the default scale uncertainty, would lose poses to rounding.
inline constexpr double kLimitTolerance = 1e-9;

/// isWithin of the range, made wider by kLimitTolerance at either end.
bool isWithinLimits(const rxRange& range, double value);
bool isWithinLimits(const rxAngleRange& range, const rxRadian& angle);

/// True when a pose, seen from the start pose, may be returned: not singular and its rotation
/// within a rotation uncertainty that is not full.
bool checkPose_(const rxXform<2>& pose, const rxPointMatcherRunParams& params);

/// Root of the mean squared distance between the mapped model points and their data points;
/// unmatched model points (negative entries) and weights play no part. 0.0 without any pair.
double rmsFitError_(std::span<const rxVector<2>> data, const rxXform<2>& modelToData,
                    std::span<const rxVector<2>> model, const std::vector<long>& map);

}  // namespace ptmatch::detail
