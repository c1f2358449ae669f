#pragma once

#include <string>

#include "fit_report.h"

namespace ptmatch::tool {

/// The transform both ways, what it does, and what it leaves, as text for people. Ends with a line
/// break.
std::string fitTable(const FitReport& report);

/// A table of the residuals of all pairs. Ends with a line break.
std::string residualTable(const FitReport& report);

}  // namespace ptmatch::tool
