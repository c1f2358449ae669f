#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "ptmatch/hypotenuse.h"

namespace ptmatch::detail {

/// The scalar product of n elements: four sums side by side, of a fixed order, that do not wait for
/// one another.
inline double dot(const double* a, const double* b, std::size_t n) {
    std::array<double, 4> sums{};
    std::size_t k = 0;
    for (; k + 4 <= n; k += 4) {
        for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += a[k + lane] * b[k + lane];
    }
    for (; k < n; ++k) sums[0] += a[k] * b[k];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

/// Turns two rows of `width` elements by one angle so that their first `n` elements become
/// orthogonal.   @return whether they had to be turned.
inline bool makeOrthogonal(double* p, double* q, std::size_t n, std::size_t width) {
    const double pp = dot(p, p, n);
    const double qq = dot(q, q, n);
    const double pq = dot(p, q, n);
    if (pp == 0.0 || qq == 0.0) return false;
    // The products of n elements are good for this much and no more.
    const double tolerance =
        std::numeric_limits<double>::epsilon() * std::sqrt(static_cast<double>(n));
    if (!(std::abs(pq) > tolerance * std::sqrt(pp) * std::sqrt(qq))) return false;
    // The smaller of the two rotations that make the rows orthogonal.
    const double zeta = (qq - pp) / (2.0 * pq);
    const double tangent = std::copysign(1.0, zeta) / (std::abs(zeta) + hypotenuse(1.0, zeta));
    const double cosine = 1.0 / std::sqrt(1.0 + tangent * tangent);
    const double sine = cosine * tangent;
    for (std::size_t k = 0; k < width; ++k) {
        const double old = p[k];
        p[k] = cosine * old - sine * q[k];
        q[k] = sine * old + cosine * q[k];
    }
    return true;
}

/// One-sided Jacobi (Hestenes, "Inversion of matrices by biorthogonalization and related results",
/// 1958): turns pairs of rows until the first `n` elements of every two are orthogonal. Their
/// lengths are then the singular values, small ones good to the rounding of the elements.
/// @param rows  numRows times `width` elements, finite, whose squares are far from the ends of the
///     range of double. What follows the first n of a row is turned along.
inline void makeRowsOrthogonal(double* rows, std::size_t numRows, std::size_t n,
                               std::size_t width) {
    constexpr int kMostSweeps = 60;  // 64 rows that nearly repeat take 16
    bool isOrthogonal = false;
    for (int sweep = 0; sweep < kMostSweeps && !isOrthogonal; ++sweep) {
        isOrthogonal = true;
        for (std::size_t p = 0; p + 1 < numRows; ++p) {
            for (std::size_t q = p + 1; q < numRows; ++q) {
                if (makeOrthogonal(rows + p * width, rows + q * width, n, width)) {
                    isOrthogonal = false;
                }
            }
        }
    }
}

}  // namespace ptmatch::detail
