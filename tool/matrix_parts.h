#pragma once

#include <optional>
#include <vector>

#include "fitted_transform.h"

// What a matrix does, in words that people think in.
namespace ptmatch::tool {

/// A rotation with one scale.
struct RotationAndScale {
    /// In the plane from the x axis towards the y axis, above -180 to 180; in space 0 to 180.
    double rotationDeg = 0.0;
    double scale = 1.0;
    /// In space: the unit vector about which the rotation is one from x towards y when z is it.
    /// Absent when the matrix turns nothing, and in the plane.
    std::optional<Coordinates> axis;
};

/// @param matrix  turns, scales by a factor above 0 and moves, but for rounding
RotationAndScale rotationAndScaleOf(const HomogeneousMatrix& matrix);

/// The factors by which an affine transform stretches along its principal directions, the largest
/// first.
std::vector<double> stretchesOf(const HomogeneousMatrix& matrix);

/// True when an affine transform makes a mirror image.
bool isMirroring(const HomogeneousMatrix& matrix);

}  // namespace ptmatch::tool
