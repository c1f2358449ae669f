#pragma once

#include <iosfwd>

#include "option_text.h"

namespace ptmatch::tool {

/// Says which scales --scale tries when the expected one is not among them: changes are easily
/// taken for factors.
/// @param scale  finite, or full
void noteScaleElsewhere(const Interval& scale, std::ostream& notes);

}  // namespace ptmatch::tool
