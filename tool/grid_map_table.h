#pragma once

#include <string>

#include "grid_map_report.h"

namespace ptmatch::tool {

/// The steps that were asked with and those of the found grid, and what can be counted on it, as
/// text for people. Ends with a line break.
std::string gridMapTable(const GridMapReport& report);

/// "steps proposed from the data, 67 of 403 points agree: --xv ... --yv ..." or "steps as given:
/// ..."
std::string stepsLine(const StepChoice& choice);

}  // namespace ptmatch::tool
