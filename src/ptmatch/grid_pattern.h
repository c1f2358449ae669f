#pragma once

#include <vector>

#include "foundation/image.h"
#include "foundation/vector.h"

namespace ptmatch::detail {

/// What training reads from an image of a grid pattern, whose non-zero pixels are the points. All
/// positions are columns and rows of the view, without its offset.
using PatternImage = rxPelBuffer_const<unsigned char>;

/// The number of points.
long countGridPoints(const PatternImage& image);

/// The points, row by row from the top, each row from the left.
std::vector<rxPair<long>> gridPointsOf(const PatternImage& image);

/// True when no two points share a side, as on the black squares of a checkerboard; also without
/// any point.
bool isStaggeredPattern(const PatternImage& image);

/// True for a pattern with too few neighbours for the mapping onto a grid: fewer than 10 points, or
/// no point with more than one neighbour (of a staggered pattern, a diagonal one).
bool isSparsePattern(const PatternImage& image, bool staggered);

}  // namespace ptmatch::detail
