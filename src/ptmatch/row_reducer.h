#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace ptmatch::detail {

template <std::size_t N>
using SquareArray = std::array<std::array<double, N>, N>;

/// The triangular factor R of a matrix A of N columns whose rows come one at a time: R^T R = A^T A,
/// with the rounding of A instead of that of the squares in A^T A.
///
/// Rows are gathered in blocks, and each full block is folded into R by Householder reflections
/// (Golub and Van Loan, "Matrix computations", 5.2.2). Memory does not depend on the number of
/// rows. The rows should be of similar size, far from the ends of the range of double.
template <std::size_t N>
class RowReducer {
  public:
    void add(const std::array<double, N>& row) {
        if (numRows_ == rows_.size()) fold_();
        rows_[numRows_++] = row;
    }

    /// R; what lies below its diagonal is 0.
    SquareArray<N> triangle() {
        fold_();
        SquareArray<N> r;
        for (std::size_t i = 0; i < N; ++i) r[i] = rows_[i];
        return r;
    }

  private:
    static constexpr std::size_t kBlock = 64;

    void fold_() {
        for (std::size_t column = 0; column < N; ++column) reflect_(column);
        numRows_ = N;
    }

    // Takes the column to a multiple of the unit vector of its diagonal element. Of the first N
    // rows, which hold R, only the one of that element takes part: below it R is 0.
    void reflect_(std::size_t column) {
        std::array<double, N>& diagonal = rows_[column];
        double tailSquared = 0.0;
        for (std::size_t i = N; i < numRows_; ++i)
            tailSquared += rows_[i][column] * rows_[i][column];
        if (tailSquared == 0.0) return;

        const double head = diagonal[column];
        const double norm = std::sqrt(head * head + tailSquared);
        const double reflected = std::copysign(norm, -head);
        const double v0 = head - reflected;  // no cancellation: the signs differ
        const double tau = 1.0 / (norm * std::abs(v0));

        // The dot products of all columns at once, so that they are independent of each other.
        std::array<double, N> dot;
        for (std::size_t c = 0; c < N; ++c) dot[c] = v0 * diagonal[c];
        for (std::size_t i = N; i < numRows_; ++i) {
            const double v = rows_[i][column];
            for (std::size_t c = 0; c < N; ++c) dot[c] += v * rows_[i][c];
        }
        // What lies left of the column is 0 already and stays so.
        for (std::size_t c = 0; c < N; ++c) dot[c] = c > column ? dot[c] * tau : 0.0;
        for (std::size_t c = 0; c < N; ++c) diagonal[c] -= v0 * dot[c];
        for (std::size_t i = N; i < numRows_; ++i) {
            const double v = rows_[i][column];
            for (std::size_t c = 0; c < N; ++c) rows_[i][c] -= v * dot[c];
            rows_[i][column] = 0.0;
        }
        diagonal[column] = reflected;
    }

    // R in the first N rows, gathered rows behind it.
    std::array<std::array<double, N>, N + kBlock> rows_{};
    std::size_t numRows_ = N;
};

}  // namespace ptmatch::detail
