#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "ptmatch/row_reducer.h"

namespace ptmatch::detail {

/// The singular value decomposition A = U diag(sigma) V^T of a small square matrix.
template <std::size_t N>
struct JacobiSvd {
    std::array<double, N> sigma;  ///< the singular values, largest first
    SquareArray<N> u;             ///< [k] column k of U times sigma[k]
    SquareArray<N> v;             ///< [k] column k of V
};

/// By one-sided rotations (Hestenes, "Inversion of matrices by biorthogonalization and related
/// results", 1958): columns of A are turned in pairs until all are orthogonal. Small singular
/// values come out good to the rounding of A.
/// @param a  by rows, finite, far from the ends of the range of double.
template <std::size_t N>
JacobiSvd<N> jacobiSvd(const SquareArray<N>& a) {
    constexpr int kMostSweeps = 40;  // some 6 are needed; the bound is for the peace of mind
    // Of unit vectors; a dot product of N terms is not known better than that.
    constexpr double kOrthogonal = N * std::numeric_limits<double>::epsilon();

    JacobiSvd<N> svd{};
    for (std::size_t r = 0; r < N; ++r) {
        for (std::size_t c = 0; c < N; ++c) svd.u[c][r] = a[r][c];
        svd.v[r][r] = 1.0;
    }
    const auto dot = [&](std::size_t p, std::size_t q) {
        double sum = 0.0;
        for (std::size_t k = 0; k < N; ++k) sum += svd.u[p][k] * svd.u[q][k];
        return sum;
    };
    const auto rotate = [](std::array<double, N>& p, std::array<double, N>& q, double c, double s) {
        for (std::size_t k = 0; k < N; ++k) {
            const double old = p[k];
            p[k] = c * old - s * q[k];
            q[k] = s * old + c * q[k];
        }
    };

    bool rotated = true;
    for (int sweep = 0; rotated && sweep < kMostSweeps; ++sweep) {
        rotated = false;
        for (std::size_t p = 0; p + 1 < N; ++p) {
            for (std::size_t q = p + 1; q < N; ++q) {
                const double pp = dot(p, p);
                const double qq = dot(q, q);
                const double pq = dot(p, q);
                if (std::abs(pq) <= kOrthogonal * std::sqrt(pp * qq)) continue;
                rotated = true;
                // The smaller of the two rotations that make the columns orthogonal.
                const double zeta = (qq - pp) / (2.0 * pq);
                const double t =
                    std::copysign(1.0, zeta) / (std::abs(zeta) + std::sqrt(1.0 + zeta * zeta));
                const double c = 1.0 / std::sqrt(1.0 + t * t);
                rotate(svd.u[p], svd.u[q], c, c * t);
                rotate(svd.v[p], svd.v[q], c, c * t);
            }
        }
    }

    for (std::size_t k = 0; k < N; ++k) svd.sigma[k] = std::sqrt(dot(k, k));
    for (std::size_t k = 0; k < N; ++k) {
        const auto largest = static_cast<std::size_t>(
            std::max_element(svd.sigma.begin() + static_cast<std::ptrdiff_t>(k), svd.sigma.end()) -
            svd.sigma.begin());
        std::swap(svd.sigma[k], svd.sigma[largest]);
        std::swap(svd.u[k], svd.u[largest]);
        std::swap(svd.v[k], svd.v[largest]);
    }
    return svd;
}

}  // namespace ptmatch::detail
