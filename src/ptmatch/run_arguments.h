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

/// Refuses points to search for whose distances, squared, leave the range of double, in the model
/// or where the start pose takes them: taken for points in one place or for infinitely far ones,
/// they would not be found where they are.
/// @throws rxPointMatcherDefs::BadParams
void checkModelExtent(const rx_PointMatcherModel& model, const rxXform<2>& startPose);

}  // namespace ptmatch::detail
