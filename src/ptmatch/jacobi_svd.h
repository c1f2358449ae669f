#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "ptmatch/jacobi_rotations.h"
#include "ptmatch/row_reducer.h"

namespace ptmatch::detail {

/// The singular value decomposition A = U diag(sigma) V^T of a small square matrix.
template <std::size_t N>
struct JacobiSvd {
    std::array<double, N> sigma;  ///< the singular values, largest first
    SquareArray<N> u;             ///< [k] column k of U times sigma[k]
    SquareArray<N> v;             ///< [k] column k of V
};

/// By one-sided rotations: columns of A are turned in pairs until all are orthogonal. Small
/// singular values come out good to the rounding of A.
/// @param a  by rows, finite, far from the ends of the range of double.
template <std::size_t N>
JacobiSvd<N> jacobiSvd(const SquareArray<N>& a) {
    // Column k of A, which becomes that of U diag(sigma), and column k of V.
    constexpr std::size_t kWidth = 2 * N;
    std::array<double, N * kWidth> columns{};
    for (std::size_t k = 0; k < N; ++k) {
        for (std::size_t r = 0; r < N; ++r) columns[k * kWidth + r] = a[r][k];
        columns[k * kWidth + N + k] = 1.0;
    }
    makeRowsOrthogonal(columns.data(), N, N, kWidth);

    JacobiSvd<N> svd;
    for (std::size_t k = 0; k < N; ++k) {
        const double* const column = columns.data() + k * kWidth;
        svd.sigma[k] = std::sqrt(dot(column, column, N));
        std::copy_n(column, N, svd.u[k].begin());
        std::copy_n(column + N, N, svd.v[k].begin());
    }
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
