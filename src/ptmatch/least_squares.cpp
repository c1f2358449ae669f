#include "ptmatch/least_squares.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

#include "foundation/exception.h"
#include "ptmatch/householder.h"
#include "ptmatch/hypotenuse.h"
#include "ptmatch/jacobi_rotations.h"

using ptmatch::detail::dot;
using ptmatch::detail::hypotenuse;
using ptmatch::detail::makeRowsOrthogonal;
using ptmatch::detail::reflectColumn;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
// Squares of anything smaller, against one, vanish from the norms.
constexpr double kSmallestRatio = 1e-150;

bool areFinite(std::span<const double> values) {
    return std::ranges::all_of(values, [](double value) { return std::isfinite(value); });
}

std::span<const double> elementsOf(const rxMatrixExt& a) {
    if (a.isBound() == 0) return {};
    return {a.pointToRow(0),
            static_cast<std::size_t>(a.rows()) * static_cast<std::size_t>(a.cols())};
}

// The power of two that brings the largest magnitude into [0.5, 1); 0 for zeros alone.
int exponentOfLargest(std::span<const double> values) {
    double largest = 0.0;
    for (const double value : values) largest = std::max(largest, std::abs(value));
    int exponent = 0;
    (void)std::frexp(largest, &exponent);
    return exponent;
}

// [A b], scaled by powers of two, row by row; then [R Q^T b] with the columns of A exchanged; then
// [S U^T V^T Q^T b], whose rows are orthogonal but for the last column.
class RankRevealing {
  public:
    RankRevealing(const rxMatrixExt& a, std::span<const double> b)
        : m_(static_cast<std::size_t>(a.rows())),
          n_(static_cast<std::size_t>(a.cols())),
          numRows_(std::min(m_, n_)),
          exponentOfA_(exponentOfLargest(elementsOf(a))),
          exponentOfB_(exponentOfLargest(b)),
          work_(m_ * (n_ + 1)),
          columns_(n_),
          sums_(n_ + 1) {
        const std::span<const double> elements = elementsOf(a);
        for (std::size_t i = 0; i < m_; ++i) {
            for (std::size_t j = 0; j < n_; ++j) {
                row(i)[j] = std::scalbn(elements[i * n_ + j], -exponentOfA_);
            }
            row(i)[n_] = std::scalbn(b[i], -exponentOfB_);
        }
        std::iota(columns_.begin(), columns_.end(), std::size_t{0});
        makeTriangular();
        for (std::size_t i = numRows_; i < m_; ++i) {
            residualNorm_ = hypotenuse(residualNorm_, row(i)[n_]);
        }
        makeRowsOrthogonal(work_.data(), numRows_, n_, n_ + 1);
        for (std::size_t i = 0; i < numRows_; ++i) {
            values_.push_back(std::sqrt(dot(row(i), row(i), n_)));
        }
    }

    std::vector<double> singularValues() const {
        std::vector<double> values = values_;
        std::ranges::sort(values, std::greater<>());
        for (double& value : values) value = std::scalbn(value, exponentOfA_);
        return values;
    }

    rxLeastSquaresSolution solution(double relativeTolerance) const {
        rxLeastSquaresSolution solution;
        solution.x.assign(n_, 0.0);
        solution.numEquations = static_cast<long>(m_);
        const double largest = values_.empty() ? 0.0 : *std::ranges::max_element(values_);
        double residualNorm = residualNorm_;
        for (std::size_t i = 0; i < numRows_; ++i) {
            const double value = values_[i];
            const double component = row(i)[n_];
            if (!(value > relativeTolerance * largest)) {
                residualNorm = hypotenuse(residualNorm, component);
                continue;
            }
            ++solution.rank;
            const double weight = component / value / value;
            for (std::size_t j = 0; j < n_; ++j) solution.x[columns_[j]] += weight * row(i)[j];
        }
        for (double& x : solution.x) x = std::scalbn(x, exponentOfB_ - exponentOfA_);
        solution.residualNorm = std::scalbn(residualNorm, exponentOfB_);
        solution.condition = condition();
        return solution;
    }

  private:
    double* row(std::size_t i) { return work_.data() + i * (n_ + 1); }
    const double* row(std::size_t i) const { return work_.data() + i * (n_ + 1); }

    double condition() const {
        if (n_ == 0) return 1.0;
        if (m_ < n_) return kInfinity;
        const auto [smallest, largest] = std::ranges::minmax(values_);
        // 0 / 0 of a matrix of zeros is no condition.
        return smallest > kSmallestRatio * largest ? largest / smallest : kInfinity;
    }

    // Householder's reflections, one for each column; the largest column that is left comes first.
    void makeTriangular() {
        for (std::size_t k = 0; k < numRows_; ++k) {
            sumSquaresOfColumns(k);
            const auto largest =
                std::max_element(sums_.begin() + static_cast<std::ptrdiff_t>(k), sums_.end() - 1);
            if (!(std::sqrt(*largest) > kSmallestRatio)) {
                for (std::size_t i = k; i < m_; ++i) std::fill_n(row(i), n_, 0.0);
                return;
            }
            exchangeColumns(k, static_cast<std::size_t>(largest - sums_.begin()));
            reflectColumn(row(k), row(k) + n_ + 1, m_ - k - 1, k, n_ + 1, sums_.data());
        }
    }

    // Sums the squares of each column from row `first` on. It is done anew for each step: to
    // subtract from the sums of the last step loses digits.
    void sumSquaresOfColumns(std::size_t first) {
        std::ranges::fill(sums_, 0.0);
        for (std::size_t i = first; i < m_; ++i) {
            for (std::size_t j = 0; j <= n_; ++j) sums_[j] += row(i)[j] * row(i)[j];
        }
    }

    void exchangeColumns(std::size_t j, std::size_t k) {
        if (j == k) return;
        std::swap(columns_[j], columns_[k]);
        for (std::size_t i = 0; i < m_; ++i) std::swap(row(i)[j], row(i)[k]);
    }

    std::size_t m_;
    std::size_t n_;
    std::size_t numRows_;
    int exponentOfA_;
    int exponentOfB_;
    std::vector<double> work_;
    std::vector<std::size_t> columns_;  // which column of A stands where
    std::vector<double> sums_;          // one for each column
    std::vector<double> values_;        // the singular values, in the order of the rows
    double residualNorm_ = 0.0;
};

void requireFinite(const rxMatrixExt& a, std::span<const double> b, double tolerance) {
    if (!areFinite(elementsOf(a)) || !areFinite(b) || !std::isfinite(tolerance)) {
        throw rxMathError(
            "least squares: a coefficient, a right-hand side or the tolerance is not "
            "a finite number");
    }
}

// A matrix without elements may have any number of rows or columns: what takes memory for each of
// them is not for it.
rxLeastSquaresSolution solutionWithoutElements(const rxMatrixExt& a, std::span<const double> b) {
    constexpr long kMostUnknowns = 46340;
    if (a.cols() > kMostUnknowns) {
        throw std::length_error("least squares: no equations for " + std::to_string(a.cols()) +
                                " unknowns");
    }
    rxLeastSquaresSolution solution;
    solution.x.assign(static_cast<std::size_t>(a.cols()), 0.0);
    solution.condition = a.cols() == 0 ? 1.0 : kInfinity;
    solution.numEquations = a.rows();
    for (const double value : b) solution.residualNorm = hypotenuse(solution.residualNorm, value);
    return solution;
}

double defaultTolerance(long numRows, long numCols) {
    return static_cast<double>(std::max(numRows, numCols)) * kEpsilon;
}

void requireInRange(const rxLeastSquaresSolution& solution) {
    if (!areFinite(solution.x) || !std::isfinite(solution.residualNorm)) {
        throw rxMathError("least squares: the solution is beyond the range of double");
    }
}

}  // namespace

rxLeastSquaresSolution rfSolveLeastSquares(const rxMatrixExt& a, std::span<const double> b,
                                           double relativeTolerance) {
    const auto numEquations = static_cast<std::size_t>(a.rows());
    if (b.size() < numEquations) {
        throw std::out_of_range("least squares: " + std::to_string(b.size()) +
                                " right-hand sides of " + std::to_string(numEquations) +
                                " equations");
    }
    b = b.first(numEquations);
    requireFinite(a, b, relativeTolerance);
    const double tolerance =
        relativeTolerance < 0.0 ? defaultTolerance(a.rows(), a.cols()) : relativeTolerance;
    rxLeastSquaresSolution solution =
        a.isBound() == 0 ? solutionWithoutElements(a, b)
                         : RankRevealing(a, b).solution(std::max(tolerance, kSmallestRatio));
    requireInRange(solution);
    return solution;
}

std::vector<double> rfSingularValues(const rxMatrixExt& a) {
    if (a.isBound() == 0) return {};
    const std::vector<double> zeros(static_cast<std::size_t>(a.rows()));
    requireFinite(a, zeros, 0.0);
    return RankRevealing(a, zeros).singularValues();
}

rxLeastSquares::rxLeastSquares(long n) {
    resize(n);
}

rxLeastSquares::rxLeastSquares(rxLeastSquares&& other) noexcept
    : factor_(std::move(other.factor_)),
      row_(std::exchange(other.row_, {})),
      residualNorm_(std::exchange(other.residualNorm_, 0.0)),
      numObservations_(std::exchange(other.numObservations_, 0)) {}

rxLeastSquares& rxLeastSquares::operator=(rxLeastSquares&& other) noexcept {
    // Through a third one, so that an accumulator moved to itself loses nothing.
    rxLeastSquares moved(std::move(other));
    factor_ = std::move(moved.factor_);
    row_.swap(moved.row_);
    residualNorm_ = moved.residualNorm_;
    numObservations_ = moved.numObservations_;
    return *this;
}

rxLeastSquares& rxLeastSquares::operator=(const rxLeastSquares& other) {
    // Two sequences: with only one of them taken over, their lengths would differ.
    return *this = rxLeastSquares(other);
}

void rxLeastSquares::resize(long n) {
    // No number of columns is one more than the largest number, and none such is a size.
    rxMatrixExt factor(n, n < std::numeric_limits<long>::max() ? n + 1 : n);
    std::vector<double> row(static_cast<std::size_t>(n), 0.0);
    factor_ = std::move(factor);
    row_ = std::move(row);
    residualNorm_ = 0.0;
    numObservations_ = 0;
}

void rxLeastSquares::update(std::span<const double> x, double y) {
    const std::size_t n = row_.size();
    if (x.size() < n) {
        throw std::out_of_range("rxLeastSquares::update: " + std::to_string(x.size()) +
                                " coefficients for " + std::to_string(n) + " unknowns");
    }
    std::copy_n(x.begin(), n, row_.begin());
    ++numObservations_;
    for (std::size_t i = 0; i < n; ++i) {
        if (row_[i] == 0.0) continue;
        double* const factor = factor_.pointToRow(static_cast<long>(i));
        const double diagonal = hypotenuse(factor[i], row_[i]);
        const double cosine = factor[i] / diagonal;
        const double sine = row_[i] / diagonal;
        factor[i] = diagonal;
        for (std::size_t j = i + 1; j < n; ++j) {
            const double old = factor[j];
            factor[j] = cosine * old + sine * row_[j];
            row_[j] = cosine * row_[j] - sine * old;
        }
        const double old = factor[n];
        factor[n] = cosine * old + sine * y;
        y = cosine * y - sine * old;
    }
    // What is left over no choice of the unknowns can explain.
    residualNorm_ = hypotenuse(residualNorm_, y);
}

rxLeastSquaresSolution rxLeastSquares::fit(double relativeTolerance) const {
    const long n = numUnknowns();
    rxMatrixExt scaled(n, n);
    std::vector<double> rightHandSide;
    for (long i = 0; i < n; ++i) rightHandSide.push_back(factor_.element(i, n));
    std::vector<int> exponents;
    std::vector<double> column(static_cast<std::size_t>(n));
    for (long j = 0; j < n; ++j) {
        for (long i = 0; i < n; ++i) column[static_cast<std::size_t>(i)] = factor_.element(i, j);
        exponents.push_back(exponentOfLargest(column));
        for (long i = 0; i < n; ++i) {
            scaled.element(i, j, std::scalbn(factor_.element(i, j), -exponents.back()));
        }
    }
    rxLeastSquaresSolution solution = rfSolveLeastSquares(
        scaled, rightHandSide,
        relativeTolerance < 0.0 ? defaultTolerance(n, numObservations_) : relativeTolerance);
    for (std::size_t j = 0; j < solution.x.size(); ++j) {
        solution.x[j] = std::scalbn(solution.x[j], -exponents[j]);
    }
    solution.residualNorm = hypotenuse(solution.residualNorm, residualNorm_);
    solution.numEquations = numObservations_;
    requireInRange(solution);
    return solution;
}

void rxLeastSquares::reset() {
    factor_.resize(factor_.rows(), factor_.cols());
    residualNorm_ = 0.0;
    numObservations_ = 0;
}
