#pragma once

#include <span>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/space_tm.h"

/// @file
/// Rigid, similarity and affine transforms of space, fitted about the means of the points.
///
/// `rx3PtMatchTm` fits all twelve parameters by normal equations about the origin, which costs
/// digits when the points lie far from it, and cannot hold a scale or forbid shear. The functions
/// here return the same plain `rx3PtMatchTm`:
///
///     const rx3PtMatchTm robotFromCamera = rfFitRigid3D(seen, touched);
///
/// A transform from here holds no pairs. Exact pairs are met to a few eps of the largest
/// coordinate, whatever the offset: within 5 of (1e6, 1e6, 1e6), where coordinates are multiples of
/// 1e-10, to 1e-9. The elements of the matrix, at the worst of 2,000 random sets each, are there
/// good to 1.4e-10 from 4 pairs, to 2e-11 from 12 and to 1e-11 from 33 by `rfFitRigid3D` and
/// `rfFitSimilarity3D`; to 8e-6, 4e-11 and 2e-11 by `rfFitAffine3D`, for 4 points can be nearly in
/// one plane.
///
/// All fits are least squares in space b over the pairs (a[i], b[i]), and throw
///     rx3PtMatchTm::BadArgs: the sequences differ in length;
///     rxMathError: too few pairs; one side on a line, or in a plane, or pairs that leave the
///         transform open otherwise, as far as rounding lets that be told (8 eps of the largest
///         coordinate of a side, and of its extent eps times the root of the number of pairs); a
///         coordinate not finite or beyond 1e150, or a spread below 1e-150.
/// Cost linear in the number of pairs; they allocate nothing but the object and messages.

/// The rotation and translation, without reflection (the closed form of Umeyama, "Least-squares
/// estimation of transformation parameters between two point patterns", 1991, Eqs. 38-43).
/// @param a, b  at least three pairs, neither side on one line. Sides of which one is about the
///     mirror image of the other and has no main direction leave the rotation open.
///
/// Points nearly on a line: how they are turned about it is known to the rounding of the
/// coordinates over their distance from it. Of 12 exact pairs 10 long, the matrix is good to 2e-12
/// at a distance of 1e-4 and to 2e-4 at 1e-12 about the origin; at an offset of 1e6, to 4e-7 at
/// 1e-4 and to 0.004 at 1e-8. From 1e-9 on, they are a line there.
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
/// once, after powers of two have brought rows and columns to a common size: good in any units of
/// the spaces. It notices a matrix that is singular but for rounding.
/// @throws rxMathError: the matrix is singular to within rounding of its elements (changes of up to
///     8 eps of each make it singular); a parameter or an element of the inverse is not finite.
PTMATCH_EXPORT rx3PtMatchTm rfExactSpaceTransform(const rx3PtMatchTm::Params& a2b);
