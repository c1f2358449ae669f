#pragma once

#include <string>

#include "grid_match_report.h"
#include "text_table.h"

namespace ptmatch::tool {

/// The names of the columns of a placement, and its line.
TableRow placementHead();
TableRow placementRow(std::size_t rank, const GridPlacement& placement);

/// "pattern of 5 x 10 positions, 25 set, staggered", and what follows it.
std::string patternText(const GridPattern& pattern);

/// The placements as an aligned table, one line each, best first, under lines that tell what was
/// searched with which steps. Ends with a line break.
std::string gridMatchTable(const GridMatchReport& report);

}  // namespace ptmatch::tool
