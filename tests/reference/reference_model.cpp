#include "reference/reference_model.h"

#include <cmath>
#include <limits>

namespace ptmatch::reference {
namespace {

double defaultGridSizeOf(const Points& points) {
    const double infinity = std::numeric_limits<double>::infinity();
    double smallestNearest = infinity;
    double largestFarthest = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        double nearest = infinity;
        double farthest = 0.0;
        for (std::size_t j = 0; j < points.size(); ++j) {
            if (j == i) continue;
            const double squared = squaredDistance(points[j], points[i]);
            if (squared < nearest) nearest = squared;
            if (squared > farthest) farthest = squared;
        }
        // A point with a twin says nothing about the spacing, not even through its other
        // neighbours.
        if (nearest != 0.0 && nearest != infinity) {
            if (std::sqrt(nearest) < smallestNearest) smallestNearest = std::sqrt(nearest);
        }
        if (farthest != 0.0 && farthest != infinity) {
            if (std::sqrt(farthest) > largestFarthest) largestFarthest = std::sqrt(farthest);
        }
    }
    const double fromSpacing = smallestNearest / 4.0;
    const double fromExtent = largestFarthest / 4096.0;
    return fromSpacing >= fromExtent ? fromSpacing : fromExtent;
}

rxVector<2> centreOf(const Points& points) {
    double minX = points[0].x();
    double maxX = points[0].x();
    double minY = points[0].y();
    double maxY = points[0].y();
    for (const rxVector<2>& p : points) {
        if (p.x() < minX) minX = p.x();
        if (p.x() > maxX) maxX = p.x();
        if (p.y() < minY) minY = p.y();
        if (p.y() > maxY) maxY = p.y();
    }
    return {(maxX + minX) / 2.0, (maxY + minY) / 2.0};
}

double radiusOf(const Points& points, const rxVector<2>& centre) {
    double largest = 0.0;
    for (const rxVector<2>& p : points) {
        const double squared = squaredDistance(p, centre);
        if (squared > largest) largest = squared;
    }
    return largest > 0.0 ? std::sqrt(largest) : 0.0;
}

}  // namespace

double squaredDistance(const rxVector<2>& a, const rxVector<2>& b) {
    const double dx = a.x() - b.x();
    const double dy = a.y() - b.y();
    return dx * dx + dy * dy;
}

Model trainModel(const Points& points, const std::vector<long>& weights) {
    Model model;
    model.points = points;
    model.weights = weights;
    model.defaultGridSize = defaultGridSizeOf(points);
    model.centre = centreOf(points);
    model.radius = radiusOf(points, model.centre);
    model.totalWeight = model.size();
    if (model.isWeighted()) {
        model.totalWeight = 0;
        for (const long weight : weights) {
            if (weight > 0) model.totalWeight += weight;
        }
    }
    return model;
}

double scaleStep_(const Model& model, double gridSize) {
    const double s = gridSize > 0.0 ? gridSize : model.defaultGridSize;
    return 1.5 * s / model.radius;
}

double rotationStep_(const Model& model, double scale, double gridSize) {
    const double s = gridSize > 0.0 ? gridSize : model.defaultGridSize;
    double step = std::atan2(2.0 * s, model.radius * scale) * 180.0 / 3.1415926;
    if (step < 0.0) step += 360.0;
    return step;
}

long matchedWeight(const Model& model, const std::vector<long>& modelToData) {
    long sum = 0;
    for (std::size_t i = 0; i < modelToData.size(); ++i) {
        if (modelToData[i] >= 0) sum += model.isWeighted() ? model.weights[i] : 1;
    }
    return sum;
}

double rmsFitError(const Points& data, const rxXform<2>& dataFromModel, const Points& modelPoints,
                   const std::vector<long>& modelToData) {
    double sum = 0.0;
    long count = 0;
    for (std::size_t i = 0; i < modelToData.size(); ++i) {
        if (modelToData[i] < 0) continue;
        const rxVector<2> placed = dataFromModel * modelPoints[i];
        sum += squaredDistance(placed, data[static_cast<std::size_t>(modelToData[i])]);
        ++count;
    }
    return count > 0 ? std::sqrt(sum / static_cast<double>(count)) : 0.0;
}

}  // namespace ptmatch::reference
