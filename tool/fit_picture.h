#pragma once

#include <string>

#include "fit_report.h"
#include "picture_page.h"

namespace ptmatch::tool {

/// The residuals of a fit in the plane as an SVG picture.
///
/// To the left lie the points b, and rings where the transform takes their partners a; a line leads
/// from each ring towards its point, drawn longer by a round factor where residuals are too small
/// to be seen. The pair with the largest residual is marked. To the right stand the figures and the
/// legend. Each point carries its pair, line and residual as a hint for the pointer.
std::string fitPicture(const FitReport& report, const PictureStyle& style);

}  // namespace ptmatch::tool
