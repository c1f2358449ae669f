#pragma once

#include <cmath>
#include <cstddef>
#include <functional>
#include <random>
#include <vector>

#include "fit_model.h"
#include "fitted_transform.h"
#include "pair_table.h"

// Pairs made of known transforms.
namespace ptmatch::tool {

inline const std::vector<FitModel>& allModels() {
    static const std::vector<FitModel> models = {
        FitModel::kRigid,   FitModel::kSimilarity,   FitModel::kAffine,  FitModel::kPerspective,
        FitModel::kRigid3D, FitModel::kSimilarity3D, FitModel::kAffine3D};
    return models;
}

// A transform of the model that has all that the model allows.
inline HomogeneousMatrix sampleTransform(FitModel model) {
    const double c = std::cos(0.7);
    const double s = std::sin(0.7);
    switch (model) {
        case FitModel::kRigid:
            return {{c, -s, 30}, {s, c, -12}, {0, 0, 1}};
        case FitModel::kSimilarity:
            return {{3 * c, -3 * s, 30}, {3 * s, 3 * c, -12}, {0, 0, 1}};
        case FitModel::kAffine:
            return {{2, -0.5, 30}, {0.25, 1.5, -12}, {0, 0, 1}};
        case FitModel::kPerspective:
            return {{2, -0.5, 30}, {0.25, 1.5, -12}, {0.002, -0.003, 1}};
        case FitModel::kRigid3D:
            return {{c, -s, 0, 30}, {s, c, 0, -12}, {0, 0, 1, 5}, {0, 0, 0, 1}};
        case FitModel::kSimilarity3D:
            return {{3 * c, -3 * s, 0, 30}, {3 * s, 3 * c, 0, -12}, {0, 0, 3, 5}, {0, 0, 0, 1}};
        default:
            return {{2, -0.5, 0.1, 30}, {0.25, 1.5, 0.3, -12}, {0.2, -0.1, 1.2, 5}, {0, 0, 0, 1}};
    }
}

// Points spread over the square or cube from 0 to 100, and their exact images.
inline PairTable samplePairs(FitModel model, std::size_t count, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> uniform(0.0, 100.0);
    PairTable pairs;
    pairs.dimensions = traitsOf(model).dimensions;
    const HomogeneousMatrix transform = sampleTransform(model);
    for (std::size_t i = 0; i < count; ++i) {
        Coordinates p{};
        for (std::size_t k = 0; k < pairs.dimensions; ++k) p[k] = uniform(random);
        pairs.a.push_back(p);
        pairs.b.push_back(mapped(transform, p));
        pairs.lines.push_back(i + 2);
    }
    return pairs;
}

// The pairs of points of the plane, with lines that count from 1.
inline PairTable planePairs(const std::vector<Coordinates>& a,
                            const std::function<Coordinates(const Coordinates&)>& toB) {
    PairTable pairs;
    for (std::size_t i = 0; i < a.size(); ++i) {
        pairs.a.push_back(a[i]);
        pairs.b.push_back(toB(a[i]));
        pairs.lines.push_back(i + 1);
    }
    return pairs;
}

}  // namespace ptmatch::tool
