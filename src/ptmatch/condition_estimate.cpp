#include "ptmatch/condition_estimate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace {

constexpr int kMaxSteps = 5;
// What `ludcmp` writes in the place of a pivot of 0.
constexpr double kNoPivot = 1e-40;

double sumOfMagnitudes(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) sum += std::abs(value);
    return sum;
}

// A^T x = b for A = P^T L U: U^T y = b, L^T z = y, x = P^T z. Row by row, as the matrix lies.
void solveTransposed(const rxMatrixExt& decomposed, std::span<const long> index,
                     std::vector<double>& b) {
    const std::size_t n = b.size();
    for (std::size_t i = 0; i < n; ++i) {
        const double* const row = decomposed.pointToRow(static_cast<long>(i));
        b[i] /= row[i];
        for (std::size_t k = i + 1; k < n; ++k) b[k] -= row[k] * b[i];
    }
    for (std::size_t i = n; i > 0;) {
        --i;
        const double* const row = decomposed.pointToRow(static_cast<long>(i));
        for (std::size_t k = 0; k < i; ++k) b[k] -= row[k] * b[i];
    }
    for (std::size_t i = n; i > 0;) {
        --i;
        std::swap(b[i], b[static_cast<std::size_t>(index[i])]);
    }
}

// A lower bound of the 1-norm of the inverse: climbs from corner to corner of the unit ball of the
// 1-norm along the gradient (Higham, algorithm 15.4, with his second start, whose alternating signs
// no usual matrix is blind to).
double inverseNormEstimate(const rxMatrixExt& decomposed, std::span<const long> index,
                           std::size_t n) {
    std::vector<double> x(n, 1.0 / static_cast<double>(n));
    decomposed.lubksb(index, x);
    double estimate = sumOfMagnitudes(x);
    std::size_t lastCorner = n;
    for (int step = 0; step < kMaxSteps && std::isfinite(estimate); ++step) {
        std::vector<double> gradient(n);
        std::ranges::transform(x, gradient.begin(), [](double v) { return v < 0.0 ? -1.0 : 1.0; });
        solveTransposed(decomposed, index, gradient);
        const auto steepest = std::ranges::max_element(
            gradient, [](double a, double b) { return std::abs(a) < std::abs(b); });
        const auto corner = static_cast<std::size_t>(steepest - gradient.begin());
        if (corner == lastCorner) break;
        lastCorner = corner;
        std::ranges::fill(x, 0.0);
        x[corner] = 1.0;
        decomposed.lubksb(index, x);
        const double next = sumOfMagnitudes(x);
        if (next <= estimate) break;
        estimate = next;
    }
    for (std::size_t i = 0; i < n; ++i) {
        const double part = n > 1 ? static_cast<double>(i) / static_cast<double>(n - 1) : 0.0;
        x[i] = (i % 2 == 0 ? 1.0 : -1.0) * (1.0 + part);
    }
    decomposed.lubksb(index, x);
    return std::max(estimate, 2.0 * sumOfMagnitudes(x) / (3.0 * static_cast<double>(n)));
}

}  // namespace

double rfConditionEstimate(const rxMatrixExt& decomposed, std::span<const long> index,
                           double oneNorm) {
    const auto n = static_cast<std::size_t>(decomposed.rows());
    // Checks matrix and index.
    std::vector<double> probe(n);
    decomposed.lubksb(index, probe);
    if (n == 0) return 1.0;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    // A column without pivot has the substitute, or, exchanged with a row above, leaves factors
    // that are not those of any matrix.
    for (std::size_t i = 0; i < n; ++i) {
        if (static_cast<std::size_t>(index[i]) < i) return kInfinity;
        if (decomposed.pointToRow(static_cast<long>(i))[i] == kNoPivot) return kInfinity;
    }
    const double condition = oneNorm * inverseNormEstimate(decomposed, index, n);
    if (!std::isfinite(condition)) return kInfinity;
    return condition;
}

double rfOneNorm(const rxMatrixExt& a) {
    // A matrix without elements can have very many columns.
    if (a.isBound() == 0) return 0.0;
    std::vector<double> sums(static_cast<std::size_t>(a.cols()), 0.0);
    for (long r = 0; r < a.rows(); ++r) {
        const double* const row = a.pointToRow(r);
        for (std::size_t c = 0; c < sums.size(); ++c) sums[c] += std::abs(row[c]);
    }
    return *std::ranges::max_element(sums);
}
