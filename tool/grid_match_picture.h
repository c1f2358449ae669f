#pragma once

#include <string>

#include "grid_match_report.h"
#include "picture_page.h"

namespace ptmatch::tool {

/// The best placement of `report` as an SVG picture; without one, the data points alone.
///
/// To the left lie the data points in their own coordinates, with the grid of the pattern over
/// them: its columns and rows, rings for positions that have a data point, crosses for those that
/// have none. To the right stand the figures, the legend and the pattern as it was given. Each
/// point carries its index, coordinates and position as a hint for the pointer.
std::string gridMatchPicture(const GridMatchReport& report, const PictureStyle& style);

}  // namespace ptmatch::tool
