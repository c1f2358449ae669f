#pragma once

#include <string>

#include "grid_map_report.h"
#include "picture_page.h"

namespace ptmatch::tool {

/// The points of `report` and the grid found among them as an SVG picture; without a grid, the
/// points alone.
///
/// To the left lie the points in their own coordinates: those with a position, those without in
/// another colour, a ring where a position inside the grid has no point. Below them lie the lines
/// of the lattice with its two axes and the numbers of its columns and rows; a line leads from each
/// node towards its point, drawn longer where errors are too small to be seen. To the right stand
/// the figures and the legend. Each point carries its index, coordinates and position as a hint for
/// the pointer.
std::string gridMapPicture(const GridMapReport& report, const PictureStyle& style);

}  // namespace ptmatch::tool
