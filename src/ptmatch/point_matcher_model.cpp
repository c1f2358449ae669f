#include "ptmatch/point_matcher_model.h"

#include <algorithm>
#include <cmath>

#include "foundation/assertion.h"
#include "ptmatch/model_quantities.h"

void rx_PointMatcherModel::train(const std::vector<rxVector<2>>& points) {
    train(points, {}, static_cast<long>(points.size()));
}

void rx_PointMatcherModel::train(const std::vector<rxVector<2>>& points,
                                 const std::vector<long>& weights, long totalWeight) {
    rx_PointMatcherModel trained;
    trained.modelPoints_ = points;
    trained.weights_ = weights;
    trained.totalWeight_ = totalWeight;
    trained.defaultGridSize_ =
        ptmatch::detail::defaultGridSize(ptmatch::detail::neighbourDistances(points));
    trained.deriveExtent_();
    trained.trained_ = true;
    *this = std::move(trained);
}

void rx_PointMatcherModel::deriveExtent_() {
    const ptmatch::detail::PointExtent extent = ptmatch::detail::pointExtent(modelPoints_);
    modelBounds_ = extent.bounds;
    modelCenter_ = extent.center;
    modelRadius_ = extent.radius;
}

double rx_PointMatcherModel::scaleStep_(double gridSize) const {
    const double step = gridSize > 0.0 ? gridSize : defaultGridSize_;
    return 1.5 * step / modelRadius_;
}

double rx_PointMatcherModel::rotationStep_(double scale, double gridSize) const {
    // This number, short of pi, decides which angles a search visits; changing it changes results.
    constexpr double kPiOfRotationStep = 3.1415926;
    const double step = gridSize > 0.0 ? gridSize : defaultGridSize_;
    const double degrees = std::atan2(2 * step, modelRadius_ * scale) * 180.0 / kPiOfRotationStep;
    return degrees < 0.0 ? degrees + 360.0 : degrees;
}

long rx_PointMatcherModel::matchedWeight(const std::vector<long>& modelToDataMap) const {
    if (!isWeighted()) rfReportAssertion(__LINE__);
    const std::size_t count = std::min(weights_.size(), modelToDataMap.size());
    long sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (modelToDataMap[i] >= 0) sum += weights_[i];
    }
    return sum;
}
