#pragma once

#include <span>
#include <vector>

#include "fit_model.h"
#include "fitted_transform.h"
#include "pair_table.h"

namespace ptmatch::tool {

/// A growth of errors beyond this is not to be told from one without bound: the normal equations of
/// the fit square it.
constexpr double kLargestGrowth = 1e7;

/// How firmly the positions of the pairs hold a fitted transform, whatever their errors: the
/// propagation of errors through the equations of the fit, linearised about it.
struct FitStrength {
    /// When the pairs are off by 1 (root mean square, independent, in units of the side that the
    /// transform leads to), images are off by this much where it is worst within the circle or
    /// sphere about the mean of the points that reaches the farthest of them. About 1 for a few
    /// well-spread points, less for many; infinite when a part of the transform is left open, to
    /// within some 1e-7.
    double errorGrowth = 0.0;
    /// For each pair the share of its error that the fit follows, 0 to 1 (its leverage), along the
    /// direction in which it follows most; the rest shows in its residual.
    std::vector<double> leverages;
    /// The denominator of a perspective transform has different signs at different points: its
    /// horizon runs through the points. The errors then grow without bound.
    bool isTorn = false;
};

/// @param points  what the transform was fitted from; not all in one place
/// @param matrix  the transform from there
/// Of a perspective transform the errors are looked at in that part of the circle whose images lie
/// within the circle about the mean of the images of the points that reaches the farthest of them.
/// So both ways are judged over the same part of the plane: the circle about points that were seen
/// obliquely reaches the horizon easily, far from all of them.
FitStrength strengthOf(const FitModelTraits& traits, std::span<const Coordinates> points,
                       const HomogeneousMatrix& matrix);

}  // namespace ptmatch::tool
