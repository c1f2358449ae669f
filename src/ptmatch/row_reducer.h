#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "ptmatch/householder.h"

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
        if (numGathered_ == kBlock) fold_();
        std::copy_n(row.begin(), N, gathered_.begin() + numGathered_ * N);
        ++numGathered_;
    }

    /// R; what lies below its diagonal is 0.
    SquareArray<N> triangle() {
        fold_();
        return triangle_;
    }

  private:
    static constexpr std::size_t kBlock = 64;

    // Of the rows of R only the one of the diagonal element takes part: below it R is 0.
    void fold_() {
        std::array<double, N> room;
        for (std::size_t column = 0; column < N; ++column) {
            reflectColumn(triangle_[column].data(), gathered_.data(), numGathered_, column, N,
                          room.data());
        }
        numGathered_ = 0;
    }

    SquareArray<N> triangle_{};
    std::array<double, kBlock * N> gathered_{};
    std::size_t numGathered_ = 0;
};

}  // namespace ptmatch::detail
