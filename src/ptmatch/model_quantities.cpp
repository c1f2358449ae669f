#include "ptmatch/model_quantities.h"

#include <algorithm>
#include <cmath>

#include "ptmatch/squared_distance.h"

namespace ptmatch::detail {

bool allFinite(std::span<const rxVector<2>> points) {
    return std::ranges::all_of(points, [](const rxVector<2>& point) {
        return std::isfinite(point.x()) && std::isfinite(point.y());
    });
}

double defaultGridSize(const NeighbourDistances& distances) {
    return std::max(distances.smallestNearest / 4, distances.largestFarthest / 4096);
}

PointExtent pointExtent(std::span<const rxVector<2>> points) {
    double minX = points[0].x();
    double maxX = minX;
    double minY = points[0].y();
    double maxY = minY;
    for (const rxVector<2>& point : points.subspan(1)) {
        minX = std::min(minX, point.x());
        maxX = std::max(maxX, point.x());
        minY = std::min(minY, point.y());
        maxY = std::max(maxY, point.y());
    }

    PointExtent extent;
    extent.bounds = rxRectangle<double>(minX, minY, maxX - minX, maxY - minY);
    extent.center = rxVector<2>((maxX + minX) / 2, (minY + maxY) / 2);
    double squaredRadius = 0.0;
    for (const rxVector<2>& point : points) {
        squaredRadius = std::max(squaredRadius, squaredDistance(point, extent.center));
    }
    extent.radius = std::sqrt(squaredRadius);
    return extent;
}

}  // namespace ptmatch::detail
