#pragma once

#include <string>

#include "match_report.h"
#include "picture_page.h"

namespace ptmatch::tool {

/// The best pose of `report` as an SVG picture; without a pose, the data points alone.
///
/// To the left lie the data points in their own coordinates, with the model points placed among
/// them, the outline of the model and a line from each placed model point to its data point. These
/// lines show errors, which are usually too small to be seen, so they may be drawn longer by a
/// round factor; the legend tells it. To the right stand the figures, the legend and the model as
/// it was given. Each point carries its index and coordinates as a hint for the pointer.
///
/// `style.yAxis` tells how both coordinate systems are drawn: kDown for pictures, kUp for drawings.
std::string matchPicture(const MatchReport& report, const PictureStyle& style);

}  // namespace ptmatch::tool
