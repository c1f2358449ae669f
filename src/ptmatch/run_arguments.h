#pragma once

#include <vector>

#include "foundation/vector.h"

class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// The door of a run: refuses arguments that could only give a wrong answer.
/// @throws rxPointMatcherDefs::BadParams  a data point or the start pose is not finite, the start
///         pose is singular, a parameter breaks the rule of its setter (a loaded record was never
///         checked) or is not a number.   Cost O(data).
void checkRunArguments(const std::vector<rxVector<2>>& data, const rxPointMatcherRunParams& params);

}  // namespace ptmatch::detail
