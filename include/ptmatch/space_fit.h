#pragma once

#include <span>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/space_tm.h"

/// Rigid, similarity and affine transforms of space, fitted about the means of the points.
///
/// `rx3PtMatchTm` fits all twelve parameters by normal equations about the origin, which costs
/// digits when the points lie far from it, and cannot hold a scale or forbid shear. The functions
/// here return the same plain `rx3PtMatchTm`:
///
///     const rx3PtMatchTm robotFromCamera = rfFitRigid3D(seen, touched);
///
/// A transform from here holds no pairs. Exact pairs are met to a few eps of the largest
/// coordinate, whatever the offset: within 5 of (1e6, 1e6, 1e6), to 7e-10, and the elements of a
/// rotation to 2e-11 (the worst of 200 sets; the coordinates there are multiples of 1e-10).
///
/// All fits are least squares in space b over the pairs (a[i], b[i]), and throw
///     rx3PtMatchTm::BadArgs: the sequences differ in length;
///     rxMathError: too few pairs; pairs that leave the transform open, as far as the rounding of
///         the coordinates (8 eps of the largest) lets that be told; a coordinate not finite or
///         beyond 1e150.
/// Cost linear in the number of pairs; they allocate nothing but the object and messages.

/// The rotation and translation, without reflection (the closed form of Umeyama, "Least-squares
/// estimation of transformation parameters between two point patterns", 1991, Eqs. 38-43).
/// @param a, b  at least three pairs, neither side on one line. Sides of which one is about the
///     mirror image of the other and has no main direction leave the rotation open.
/// Points nearly on a line: their distance from it must be above some 1e-7 of their extent.
PTMATCH_EXPORT rx3PtMatchTm rfFitRigid3D(std::span<const rxVector<3>> a,
                                         std::span<const rxVector<3>> b);

/// The same with one scale, which is positive.
PTMATCH_EXPORT rx3PtMatchTm rfFitSimilarity3D(std::span<const rxVector<3>> a,
                                              std::span<const rxVector<3>> b);

/// All twelve parameters, as `rx3PtMatchTm::fit`, but in coordinates about the means and without
/// squaring the condition.
/// @param a  at least four points, not in one plane.   @param b  not in one plane.
PTMATCH_EXPORT rx3PtMatchTm rfFitAffine3D(std::span<const rxVector<3>> a,
                                          std::span<const rxVector<3>> b);

/// The transform of these twelve parameters, and its inverse by cofactors, each of them rounded
/// once. It is as good as that by elimination, and notices a matrix that is singular but for
/// rounding.
/// @throws rxMathError: the matrix is singular, to within rounding of its elements; a parameter or
///     an element of the inverse is not finite.
PTMATCH_EXPORT rx3PtMatchTm rfExactSpaceTransform(const rx3PtMatchTm::Params& a2b);
