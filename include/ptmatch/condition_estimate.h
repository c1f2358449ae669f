#pragma once

#include <span>

#include "foundation/export.h"
#include "ptmatch/matext.h"

/// An estimate of the condition of a square matrix A, the product of the 1-norms of A and of its
/// inverse, from its decomposition: about how much larger than 2^-52 the relative error of a
/// solution by `lubksb` can be. From 1e15 on nothing of the solution can be trusted.
///
///     const double norm = rfOneNorm(a);
///     a.ludcmp(index);
///     if (rfConditionEstimate(a, index, norm) > 1e12) ...      // and only then solve
///
/// The estimate is a lower bound (but for rounding) and seldom below a third of the condition
/// (Higham, "Accuracy and stability of numerical algorithms", 15.3). `rfSolveLeastSquares` costs
/// more and tells more.
///
/// @param decomposed  A, decomposed by `ludcmp`.
/// @param index       as `ludcmp` has left it.
/// @param oneNorm     rfOneNorm(A) of A as it was before.
/// @return at least 1 but for rounding; 1 for a matrix of 0 x 0; infinity when no pivot was found
///     in some column, or when the inverse is not finite. A pivot of exactly 1e-40, which stands
///     for one of 0 in the decomposition, counts as none: multiply a matrix of elements as small as
///     that by a power of two first, which does not change its condition.
/// @throws rxMatrixExt::NotSquareMatrix; std::out_of_range as `lubksb`.
/// Cost O(n^2), 13 substitutions or fewer; allocates some n doubles.
PTMATCH_EXPORT double rfConditionEstimate(const rxMatrixExt& decomposed,
                                          std::span<const long> index, double oneNorm);

/// The 1-norm of a matrix: the largest sum of magnitudes of a column. 0 for one without elements.
PTMATCH_EXPORT double rfOneNorm(const rxMatrixExt& a);
