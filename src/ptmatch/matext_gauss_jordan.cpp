#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include "ptmatch/matext.h"

void rxMatrixExt::gaussj(rxMatrixExt& b) {
    if (&b == this) {
        throw std::invalid_argument(
            "rxMatrixExt::gaussj: the right-hand side is the matrix itself");
    }
    if (cols_ < rows_ || (b.cols_ > 0 && b.rows_ < rows_)) {
        throw std::out_of_range(
            "rxMatrixExt::gaussj: needs as many columns and as many rows of "
            "the right-hand side as the matrix has rows");
    }
    const auto n = static_cast<std::size_t>(rows_);
    const auto width = static_cast<std::size_t>(cols_);
    const auto m = static_cast<std::size_t>(b.cols_);
    double* const a = data_.data();
    double* const x = b.data_.data();
    std::vector<std::size_t> pivotColumn(n);
    std::vector<std::size_t> pivotRow(n);
    std::vector<int> uses(n);
    std::size_t irow = 0;
    std::size_t icol = 0;
    for (std::size_t pass = 0; pass < n; ++pass) {
        double big = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (uses[j] == 1) continue;
            for (std::size_t k = 0; k < n; ++k) {
                if (uses[k] == 0) {
                    if (std::abs(a[j * width + k]) >= big) {
                        big = std::abs(a[j * width + k]);
                        irow = j;
                        icol = k;
                    }
                } else if (uses[k] >= 2) {
                    throw SingularMatrix();
                }
            }
        }
        ++uses[icol];
        if (irow != icol) {
            for (std::size_t k = 0; k < width; ++k) {
                std::swap(a[irow * width + k], a[icol * width + k]);
            }
            for (std::size_t k = 0; k < m; ++k) std::swap(x[irow * m + k], x[icol * m + k]);
        }
        pivotRow[pass] = irow;
        pivotColumn[pass] = icol;
        if (a[icol * width + icol] == 0.0) throw SingularMatrix();
        const double pivotInverse = 1.0 / a[icol * width + icol];
        a[icol * width + icol] = 1.0;
        for (std::size_t k = 0; k < width; ++k) a[icol * width + k] *= pivotInverse;
        for (std::size_t k = 0; k < m; ++k) x[icol * m + k] *= pivotInverse;
        for (std::size_t row = 0; row < n; ++row) {
            if (row == icol) continue;
            const double factor = a[row * width + icol];
            a[row * width + icol] = 0.0;
            for (std::size_t k = 0; k < n; ++k) a[row * width + k] -= a[icol * width + k] * factor;
            for (std::size_t k = 0; k < m; ++k) x[row * m + k] -= x[icol * m + k] * factor;
        }
    }
    for (std::size_t pass = n; pass-- > 0;) {
        if (pivotRow[pass] == pivotColumn[pass]) continue;
        for (std::size_t k = 0; k < n; ++k) {
            std::swap(a[k * width + pivotRow[pass]], a[k * width + pivotColumn[pass]]);
        }
    }
}
