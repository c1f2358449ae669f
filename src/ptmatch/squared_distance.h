#pragma once

#include "foundation/vector.h"

namespace ptmatch::detail {

/// The square of the distance of two points, as it is summed everywhere: stages that compare such
/// squares with one another rely on the same bits.
inline double squaredDistance(const rxVector<2>& a, const rxVector<2>& b) {
    const double dx = a.x() - b.x();
    const double dy = a.y() - b.y();
    return dx * dx + dy * dy;
}

}  // namespace ptmatch::detail
