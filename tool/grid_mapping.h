#pragma once

#include <string>

#include "grid_map_report.h"
#include "grid_views.h"
#include "ptmatch/ptgdmap.h"

namespace ptmatch::tool {

/// Places the data of `report` on the grid that its steps and tolerances describe, and fills in
/// time, positions, transform and what is set aside. Asks for the grid in each of its views and
/// keeps the answer with most connected points, of equal ones that of the least rotation.
/// @throws InputError  the mapping refuses the points or the parameters.
void mapToGrid(GridMapReport& report);

/// The positions that one view gives the data of `report`, on the steps of that view.
/// @throws InputError  as mapToGrid.
rxPtToGridMapResult mappedInView(const GridMapReport& report, const GridView& view);

/// Three tenths of the shortest distance of neighbours: what the grid commands snap by when the
/// user does not say it. The mapping by itself takes two tenths and leaves out more of an oblique
/// plate; what three tenths let in of clutter is set aside afterwards.
double defaultSnap(const GridSteps& steps, bool staggered);

/// What the options of the tolerances are called; the commands differ in it.
struct ToleranceNames {
    std::string size = "--size-tol";
    std::string angle = "--angle-tol";
};

/// Why probably nothing was placed, as a note of one line.
std::string whyNothingPlaced(const GridMapReport& report, const ToleranceNames& names = {});

}  // namespace ptmatch::tool
