#pragma once

#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// The door of a run: refuses arguments that could only give a wrong answer.
/// @throws rxPointMatcherDefs::BadParams  a data point or the start pose is not finite, the start
///         pose is singular, a parameter breaks the rule of its setter (a loaded record was never
///         checked) or is not a number.   Cost O(data).
void checkRunArguments(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params);

/// Refuses points to search for whose extent, squared, is 0 or infinite, in the model or where the
/// start pose takes them: no search finds them. Points in one place are accepted.
/// @throws rxPointMatcherDefs::BadParams   Cost O(model).
void checkSearchable(const rx_PointMatcherModel& model, const rxXform<2>& startPose);

/// Says, after a search by votes that found nothing, that the extent is so near to those of
/// `checkSearchable` that sums and shares of squares leave the range of double: it may be why.
/// @throws rxPointMatcherDefs::BadParams   Cost O(model).
void checkNothingFound(const rx_PointMatcherModel& model, const rxXform<2>& startPose);

}  // namespace ptmatch::detail
