#pragma once

#include <string>

#include "vote_report.h"

namespace ptmatch::tool {

/// The votes alone as a PNG file, one little square for each, lighter for higher ones; a white ring
/// around the highest vote, green ones around the poses. Where there are more translations than
/// pixels, a pixel is the highest of several. The first row is at the top.
std::string votePng(const VoteReport& report);

/// The same as an SVG picture, with axes, a scale of the colours, figures and a legend.
std::string voteSvg(const VoteReport& report, const MatchReport& match);

}  // namespace ptmatch::tool
