#pragma once

#include <span>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::detail {

/// The root mean square, over the points, of the distance between their images under two poses; 0
/// without points.
double poseDistance(const rxXform<2>& a, const rxXform<2>& b, std::span<const rxVector<2>> points);

}  // namespace ptmatch::detail
