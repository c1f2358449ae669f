#pragma once

#include <vector>

#include "ptmatch/gridcorr.h"

namespace ptmatch::detail {

/// The probes of a pattern, in raster order.
///
/// All points: each pixel that is set has to be there. Border points: each pixel that is set and
/// lies on the border of the image or has an empty neighbour has to be there, and each empty
/// neighbour of those has to stay empty. Wide border points: both with the four pixels next to
/// them.
///
/// @param pattern  0 and 1; the offset plays no part.
/// Cost O(pixels).
std::vector<rx_PointToGridCorresponder::ProbePt> probesOf(
    const rxPelBuffer_const<unsigned char>& pattern,
    const rx_PointToGridCorresponderTrainParams& params);

}  // namespace ptmatch::detail
