#pragma once

#include <string>

#include "grid_match_report.h"

namespace ptmatch::tool {

/// The placements as an aligned table, one line each, best first, under lines that tell what was
/// searched with which steps. Ends with a line break.
std::string gridMatchTable(const GridMatchReport& report);

}  // namespace ptmatch::tool
