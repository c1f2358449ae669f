#include "reference/reference_matrix.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace ptmatch::reference {
namespace {

constexpr double kTinyPivot = 1e-40;

void expectSquare(const Matrix& a) {
    for (const std::vector<double>& row : a) {
        if (row.size() != a.size()) throw NotSquareMatrix();
    }
}

std::vector<double> rowScales(const Matrix& a) {
    std::vector<double> scales;
    for (const std::vector<double>& row : a) {
        double big = 0.0;
        for (const double value : row) {
            if (std::abs(value) > big) big = std::abs(value);
        }
        if (big == 0.0) throw SingularMatrix();
        scales.push_back(1.0 / big);
    }
    return scales;
}

}  // namespace

Matrix zeroMatrix(long rows, long cols) {
    return Matrix(static_cast<std::size_t>(rows),
                  std::vector<double>(static_cast<std::size_t>(cols), 0.0));
}

void decompose(Matrix& a, std::vector<long>& index) {
    expectSquare(a);
    const std::size_t n = a.size();
    std::vector<double> scale = rowScales(a);

    // Outside the loop over the columns: a column without a candidate takes the row of the last.
    std::size_t imax = 0;
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            for (std::size_t k = 0; k < i; ++k) a[i][j] -= a[i][k] * a[k][j];
        }
        double big = 0.0;
        for (std::size_t i = j; i < n; ++i) {
            for (std::size_t k = 0; k < j; ++k) a[i][j] -= a[i][k] * a[k][j];
            if (scale[i] * std::abs(a[i][j]) > big) {
                big = scale[i] * std::abs(a[i][j]);
                imax = i;
            }
        }
        if (imax != j) {
            std::swap(a[imax], a[j]);
            scale[imax] = scale[j];
        }
        index[j] = static_cast<long>(imax);
        if (a[j][j] == 0.0) a[j][j] = kTinyPivot;
        for (std::size_t i = j + 1; i < n; ++i) a[i][j] /= a[j][j];
    }
}

void substitute(const Matrix& a, const std::vector<long>& index, std::vector<double>& b) {
    expectSquare(a);
    const std::size_t n = a.size();

    bool seenNonZero = false;
    std::size_t firstNonZero = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const auto ip = static_cast<std::size_t>(index[i]);
        double sum = b[ip];
        b[ip] = b[i];
        if (seenNonZero) {
            for (std::size_t k = firstNonZero; k < i; ++k) sum -= a[i][k] * b[k];
        } else if (sum != 0.0) {
            seenNonZero = true;
            firstNonZero = i;
        }
        b[i] = sum;
    }
    for (std::size_t i = n; i-- > 0;) {
        double sum = b[i];
        for (std::size_t k = i + 1; k < n; ++k) sum -= a[i][k] * b[k];
        b[i] = sum / a[i][i];
    }
}

void eliminate(Matrix& a, Matrix& b) {
    const std::size_t n = a.size();
    std::vector<std::size_t> pivotColumn(n, 0);
    std::vector<std::size_t> pivotRow(n, 0);
    std::vector<int> uses(n, 0);

    std::size_t irow = 0;
    std::size_t icol = 0;
    for (std::size_t pass = 0; pass < n; ++pass) {
        double big = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (uses[j] == 1) continue;
            for (std::size_t k = 0; k < n; ++k) {
                if (uses[k] >= 2) throw SingularMatrix();
                if (uses[k] == 0 && std::abs(a[j][k]) >= big) {
                    big = std::abs(a[j][k]);
                    irow = j;
                    icol = k;
                }
            }
        }
        ++uses[icol];
        if (irow != icol) {
            std::swap(a[irow], a[icol]);
            std::swap(b[irow], b[icol]);
        }
        pivotRow[pass] = irow;
        pivotColumn[pass] = icol;

        if (a[icol][icol] == 0.0) throw SingularMatrix();
        const double pivotInverse = 1.0 / a[icol][icol];
        a[icol][icol] = 1.0;
        for (double& value : a[icol]) value *= pivotInverse;
        for (double& value : b[icol]) value *= pivotInverse;

        for (std::size_t row = 0; row < n; ++row) {
            if (row == icol) continue;
            const double dum = a[row][icol];
            a[row][icol] = 0.0;
            for (std::size_t k = 0; k < n; ++k) a[row][k] -= a[icol][k] * dum;
            for (std::size_t k = 0; k < b[row].size(); ++k) b[row][k] -= b[icol][k] * dum;
        }
    }

    for (std::size_t pass = n; pass-- > 0;) {
        if (pivotRow[pass] == pivotColumn[pass]) continue;
        for (std::vector<double>& row : a) std::swap(row[pivotRow[pass]], row[pivotColumn[pass]]);
    }
}

}  // namespace ptmatch::reference
