#pragma once

#include <string>

#include "explain_report.h"

namespace ptmatch::tool {

/// The answer as text: what the run finds, what it says of itself, a table of the searches with
/// relaxed limits, a line for each limit that excludes a pose, and the suggestion in one line.
std::string explainTable(const ExplainReport& report);

}  // namespace ptmatch::tool
