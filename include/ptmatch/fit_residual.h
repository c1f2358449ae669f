#pragma once

#include <cstddef>
#include <span>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/tm.h"

/// How far a transform takes points from where they should be.
struct PTMATCH_EXPORT rxFitResidual {
    double rms = 0.0;       ///< root of the mean square of the distances
    double largest = 0.0;   ///< largest distance
    std::size_t worst = 0;  ///< index of the first pair with it

    /// Exact comparison of all members.
    friend bool operator==(const rxFitResidual&, const rxFitResidual&) = default;
};

/// The distances |a2b(a[i]) - b[i]| of the pairs, in units of b. All 0 without pairs; a distance
/// that is not a number makes `rms` and `largest` not a number and is the worst. Distances of any
/// size are told, small ones relative to the largest; one beyond the range of double is infinite.
/// @throws rx2PtMatchTm::BadArgs, rx2PTm::BadArgs or rx3PtMatchTm::BadArgs: the sequences differ in
///     length.
/// No allocation.
PTMATCH_EXPORT rxFitResidual rfFitResidual(const rx2PtMatchTm& tm, std::span<const rxVector<2>> a,
                                           std::span<const rxVector<2>> b);
/// The same of a perspective transform; a pair where its w is 0 makes the residual infinite or not
/// a number.
PTMATCH_EXPORT rxFitResidual rfFitResidual(const rx2PTm& tm, std::span<const rxVector<2>> a,
                                           std::span<const rxVector<2>> b);
/// The same of a transform of space.
PTMATCH_EXPORT rxFitResidual rfFitResidual(const rx3PtMatchTm& tm, std::span<const rxVector<3>> a,
                                           std::span<const rxVector<3>> b);
