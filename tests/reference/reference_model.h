#pragma once

#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::reference {

using Points = std::vector<rxVector<2>>;

/// What training derives from the model points. No weights: every point counts one.
struct Model {
    Points points;
    std::vector<long> weights;
    double defaultGridSize = 0.0;
    rxVector<2> centre;
    double radius = 0.0;
    long totalWeight = 0;

    [[nodiscard]] bool isWeighted() const { return !weights.empty(); }
    [[nodiscard]] long size() const { return static_cast<long>(points.size()); }
};

[[nodiscard]] Model trainModel(const Points& points, const std::vector<long>& weights = {});

/// Lattice steps of the pose search; a grid size that is not above 0 stands for the default one.
[[nodiscard]] double scaleStep_(const Model& model, double gridSize);
[[nodiscard]] double rotationStep_(const Model& model, double scale, double gridSize);

/// Sum of the trained weights of the matched points; their number when there are no weights.
[[nodiscard]] long matchedWeight(const Model& model, const std::vector<long>& modelToData);

[[nodiscard]] double squaredDistance(const rxVector<2>& a, const rxVector<2>& b);

/// Root of the mean squared distance between placed model points and their data points.
[[nodiscard]] double rmsFitError(const Points& data, const rxXform<2>& dataFromModel,
                                 const Points& modelPoints, const std::vector<long>& modelToData);

}  // namespace ptmatch::reference
