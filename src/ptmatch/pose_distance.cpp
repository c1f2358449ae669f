#include "ptmatch/pose_distance.h"

#include <cmath>

namespace ptmatch::detail {

double poseDistance(const rxXform<2>& a, const rxXform<2>& b, std::span<const rxVector<2>> points) {
    if (points.empty()) return 0.0;
    double sum = 0.0;
    for (const rxVector<2>& p : points) {
        const rxVector<2> apart = a * p - b * p;
        sum += apart.x() * apart.x() + apart.y() * apart.y();
    }
    return std::sqrt(sum / static_cast<double>(points.size()));
}

}  // namespace ptmatch::detail
