#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "ptmatch/matext.h"

void rxMatrixExt::ludcmp(std::span<long> index) {
    if (rows_ != cols_) throw NotSquareMatrix();
    const auto n = static_cast<std::size_t>(rows_);
    if (index.size() < n) throw std::out_of_range("rxMatrixExt::ludcmp: the index is too short");
    double* const a = data_.data();
    std::vector<double> scale(n);
    for (std::size_t i = 0; i < n; ++i) {
        double big = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (std::abs(a[i * n + j]) > big) big = std::abs(a[i * n + j]);
        }
        if (big == 0.0) throw SingularMatrix();
        scale[i] = 1.0 / big;
    }
    std::size_t imax = 0;
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            for (std::size_t k = 0; k < i; ++k) a[i * n + j] -= a[i * n + k] * a[k * n + j];
        }
        double big = 0.0;
        for (std::size_t i = j; i < n; ++i) {
            for (std::size_t k = 0; k < j; ++k) a[i * n + j] -= a[i * n + k] * a[k * n + j];
            const double candidate = scale[i] * std::abs(a[i * n + j]);
            if (candidate > big) {
                big = candidate;
                imax = i;
            }
        }
        if (imax != j) {
            for (std::size_t k = 0; k < n; ++k) std::swap(a[imax * n + k], a[j * n + k]);
            scale[imax] = scale[j];
        }
        index[j] = static_cast<long>(imax);
        if (a[j * n + j] == 0.0) a[j * n + j] = 1e-40;
        for (std::size_t i = j + 1; i < n; ++i) a[i * n + j] /= a[j * n + j];
    }
}

void rxMatrixExt::lubksb(std::span<const long> index, std::span<double> b) const {
    if (rows_ != cols_) throw NotSquareMatrix();
    const auto n = static_cast<std::size_t>(rows_);
    if (index.size() < n || b.size() < n) {
        throw std::out_of_range(
            "rxMatrixExt::lubksb: the index or the right-hand side is too short");
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (index[i] < 0 || index[i] >= rows_) {
            throw std::out_of_range("rxMatrixExt::lubksb: an index is not one of a row");
        }
    }
    const double* const a = data_.data();
    std::size_t firstNonZero = n;
    for (std::size_t i = 0; i < n; ++i) {
        const auto ip = static_cast<std::size_t>(index[i]);
        double sum = b[ip];
        b[ip] = b[i];
        if (firstNonZero < n) {
            for (std::size_t k = firstNonZero; k < i; ++k) sum -= a[i * n + k] * b[k];
        } else if (sum != 0.0) {
            firstNonZero = i;
        }
        b[i] = sum;
    }
    for (std::size_t i = n; i-- > 0;) {
        double sum = b[i];
        for (std::size_t k = i + 1; k < n; ++k) sum -= a[i * n + k] * b[k];
        b[i] = sum / a[i * n + i];
    }
}
