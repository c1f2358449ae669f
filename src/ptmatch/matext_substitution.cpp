#include <algorithm>
#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "ptmatch/matext.h"

namespace {

// Rows whose sums are taken at the same time: while one waits for its last subtraction, the others
// go on.
constexpr std::size_t kRows = 8;

// Whether the exchanges go down the rows, as those of a matrix without a column of zeros do.
bool goDown(std::span<const long> index) {
    for (std::size_t i = 0; i < index.size(); ++i) {
        if (static_cast<std::size_t>(index[i]) < i) return false;
    }
    return true;
}

// L y = P b as it is written down: each exchange just before the row it brings is solved. After an
// exchange with a row above, the solutions themselves change places.
void solveLowerPlainly(const double* a, std::span<const long> index, std::span<double> b) {
    const std::size_t n = b.size();
    std::size_t first = n;
    for (std::size_t i = 0; i < n; ++i) {
        const auto row = static_cast<std::size_t>(index[i]);
        double sum = b[row];
        b[row] = b[i];
        if (first < n) {
            for (std::size_t k = first; k < i; ++k) sum -= a[i * n + k] * b[k];
        } else if (sum != 0.0) {
            first = i;
        }
        b[i] = sum;
    }
}

// The same for exchanges that go down: they touch nothing that is solved, so all of them can be
// made first, and then several rows be solved at once. Every sum still takes its products one by
// one, in ascending order.
void solveLower(const double* a, std::span<const long> index, std::span<double> b) {
    const std::size_t n = b.size();
    for (std::size_t i = 0; i < n; ++i) std::swap(b[i], b[static_cast<std::size_t>(index[i])]);
    const auto nonZero = std::ranges::find_if(b, [](double value) { return value != 0.0; });
    const auto first = static_cast<std::size_t>(nonZero - b.begin());
    std::size_t i = first + 1;
    for (; i + kRows <= n; i += kRows) {
        std::array<double, kRows> sums{};
        std::copy_n(b.begin() + static_cast<std::ptrdiff_t>(i), kRows, sums.begin());
        for (std::size_t k = first; k < i; ++k) {
            for (std::size_t r = 0; r < kRows; ++r) sums[r] -= a[(i + r) * n + k] * b[k];
        }
        for (std::size_t r = 0; r < kRows; ++r) {
            for (std::size_t k = 0; k < r; ++k) sums[r] -= a[(i + r) * n + i + k] * sums[k];
            b[i + r] = sums[r];
        }
    }
    for (; i < n; ++i) {
        double sum = b[i];
        for (std::size_t k = first; k < i; ++k) sum -= a[i * n + k] * b[k];
        b[i] = sum;
    }
}

// U x = y. Each sum begins with the unknown that was found last: nothing can be done in advance.
void solveUpper(const double* a, std::span<double> b) {
    const std::size_t n = b.size();
    for (std::size_t i = n; i > 0;) {
        --i;
        double sum = b[i];
        for (std::size_t k = i + 1; k < n; ++k) sum -= a[i * n + k] * b[k];
        b[i] = sum / a[i * n + i];
    }
}

}  // namespace

void rxMatrixExt::lubksb(std::span<const long> index, std::span<double> b) const {
    if (rows_ != cols_) throw NotSquareMatrix();
    const auto n = static_cast<std::size_t>(rows_);
    if (index.size() < n || b.size() < n) {
        throw std::out_of_range(
            "rxMatrixExt::lubksb: the index or the right-hand side is shorter than the matrix");
    }
    index = index.first(n);
    b = b.first(n);
    if (!std::ranges::all_of(index, [this](long row) { return row >= 0 && row < rows_; })) {
        throw std::out_of_range("rxMatrixExt::lubksb: the index does not hold numbers of rows");
    }
    if (goDown(index)) {
        solveLower(data_.data(), index, b);
    } else {
        solveLowerPlainly(data_.data(), index, b);
    }
    solveUpper(data_.data(), b);
}
