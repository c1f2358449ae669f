#pragma once

#include <string>

#include "grid_map_report.h"
#include "grid_views.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::tool {

/// Places the data of `report` on the grid that its steps and tolerances describe, and fills in
/// time, positions and transform. Asks for the grid in each of its views and keeps the answer that
/// places most points, of equal ones that of the least rotation.
/// @throws InputError  the mapping refuses the points or the parameters.
void mapToGrid(GridMapReport& report);

/// The positions that one view gives the data of `report`, on the steps of that view.
/// @throws InputError  as mapToGrid.
rxPtToGridMapResult mappedInView(const GridMapReport& report, const GridView& view);

/// Why probably nothing was placed, as a note of one line.
std::string whyNothingPlaced(const GridMapReport& report);

}  // namespace ptmatch::tool
