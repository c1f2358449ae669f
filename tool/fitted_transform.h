#pragma once

#include <vector>

#include "fit_model.h"
#include "pair_table.h"
#include "ptmatch/fit_residual.h"

namespace ptmatch::tool {

/// A transform as a matrix, row by row: (p, 1) goes to a multiple of (p', 1). 3 x 3 for the plane,
/// 4 x 4 for space; the last element is 1, and but for perspective the last row is that of the
/// identity.
using HomogeneousMatrix = std::vector<std::vector<double>>;

/// A transform fitted to pairs, least squares in b (of a perspective one each pair is weighted by
/// its w).
struct FittedTransform {
    HomogeneousMatrix bFromA;
    HomogeneousMatrix aFromB;
    /// Where it takes the points a.
    std::vector<Coordinates> images;
    /// Distances of these from the points b.
    rxFitResidual residual;
};

/// @throws rxException  the pairs do not determine the transform.
FittedTransform fitTransform(FitModel model, const PairTable& pairs);

/// The image of a point; infinite or not a number where its denominator is 0.
Coordinates mapped(const HomogeneousMatrix& matrix, const Coordinates& point);

/// What the image of a point is divided by: 1 of all transforms but perspective ones.
double denominatorAt(const HomogeneousMatrix& matrix, const Coordinates& point);

}  // namespace ptmatch::tool
