#pragma once

#include "grid_match_report.h"
#include "trained_views.h"

namespace ptmatch::tool {

/// Fewest set positions of a pattern that can be looked for.
constexpr std::size_t kFewestSetPositions = 3;

/// Looks for the pattern of `report` among its data, with its steps and tolerances, and fills in
/// time and placements. The pattern is looked for in each view of the grid, mirrored where the view
/// turns a step, and the placements are taken back to the pattern of the file.
/// @param trained  of this pattern; views that are missing are trained.
/// @throws InputError  the matcher refuses the pattern, the points or the parameters.
void matchPattern(GridMatchReport& report, TrainedViews& trained);

/// Why probably nothing was found, as a note of one line.
std::string whyNothingMatched(const GridMatchReport& report);

}  // namespace ptmatch::tool
