// Promise: decomposition, substitution, elimination of square systems and sums of equations take
// any sizes and numbers that they are made for: they refuse with a documented exception, or give
// what the plain reference gives, to the last bit. Least squares take matrices of any sizes: they
// refuse, or give a finite solution, the residual that they tell, and singular values in their
// order.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <vector>

#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/condition_estimate.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "reference/reference_accumulator.h"
#include "reference/reference_matrix.h"

namespace ptmatch::fuzz::matrices {
namespace {

using reference::Matrix;

constexpr long kMostRows = 12;

rxMatrixExt randomMatrix(FuzzInput& input, long rows, long cols) {
    rxMatrixExt a(rows, cols);
    for (long r = 0; r < rows; ++r) {
        for (long c = 0; c < cols; ++c) a.element(r, c, input.number());
    }
    return a;
}

Matrix plain(const rxMatrixExt& a) {
    Matrix rows = reference::zeroMatrix(a.rows(), a.cols());
    for (long r = 0; r < a.rows(); ++r) rows[static_cast<std::size_t>(r)] = a[r];
    return rows;
}

void compare(const rxMatrixExt& actual, const Matrix& expected, const char* what) {
    for (long r = 0; r < actual.rows(); ++r) {
        for (long c = 0; c < actual.cols(); ++c) {
            promise(isSame(actual.element(r, c),
                           expected[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)]),
                    what);
        }
    }
}

enum class Outcome { eDone, eNotSquare, eSingular };

template <class Call>
Outcome outcomeOf(const Call& call) {
    try {
        call();
        return Outcome::eDone;
    } catch (const rxMatrixExt::NotSquareMatrix&) {
        return Outcome::eNotSquare;
    } catch (const reference::NotSquareMatrix&) {
        return Outcome::eNotSquare;
    } catch (const rxMatrixExt::SingularMatrix&) {
        return Outcome::eSingular;
    } catch (const reference::SingularMatrix&) {
        return Outcome::eSingular;
    }
}

void decomposeAndSubstitute(FuzzInput& input) {
    const long rows = input.integer(0, kMostRows);
    // The reference cannot say how wide a matrix without rows is.
    const long cols = rows > 0 && input.byte() < 16 ? input.integer(0, kMostRows) : rows;
    rxMatrixExt a = randomMatrix(input, rows, cols);
    Matrix b = plain(a);
    const double norm = rfOneNorm(a);
    std::vector<long> index(static_cast<std::size_t>(rows));
    std::vector<long> expectedIndex(static_cast<std::size_t>(rows));
    const Outcome outcome = outcomeOf([&] { a.ludcmp(index); });
    promise(outcome == outcomeOf([&] { reference::decompose(b, expectedIndex); }),
            "decomposes as the reference");
    compare(a, b, "the decomposition of the reference");
    if (outcome != Outcome::eDone) return;
    promise(index == expectedIndex, "the pivot rows of the reference");
    (void)rfConditionEstimate(a, index, norm);
    std::vector<double> x(static_cast<std::size_t>(rows));
    for (double& value : x) value = input.number();
    std::vector<double> expectedX = x;
    a.lubksb(index, x);
    reference::substitute(b, expectedIndex, expectedX);
    for (std::size_t i = 0; i < x.size(); ++i) {
        promise(isSame(x[i], expectedX[i]), "the solution of the reference");
    }
}

void eliminate(FuzzInput& input) {
    const long rows = input.integer(0, kMostRows);
    rxMatrixExt a = randomMatrix(input, rows, rows);
    rxMatrixExt b = randomMatrix(input, rows, input.integer(0, 4));
    Matrix left = plain(a);
    Matrix right = plain(b);
    const Outcome outcome = outcomeOf([&] { a.gaussj(b); });
    promise(outcome == outcomeOf([&] { reference::eliminate(left, right); }),
            "eliminates as the reference");
    compare(a, left, "the inverse of the reference");
    compare(b, right, "the solutions of the reference");
}

void accumulate(FuzzInput& input) {
    const long unknowns = input.integer(0, 8);
    rxPsuedoInverse sums(unknowns);
    reference::Accumulator reference(unknowns);
    rxLeastSquares factor(unknowns);
    std::vector<double> x(static_cast<std::size_t>(unknowns));
    for (long n = input.integer(0, 20); n > 0; --n) {
        for (double& value : x) value = input.number();
        const double y = input.number();
        sums.update(x, y);
        reference.update(x, y);
        factor.update(x, y);
    }
    std::vector<double> fitted;
    std::vector<double> expected;
    const Outcome outcome = outcomeOf([&] { fitted = sums.fit(); });
    promise(outcome == outcomeOf([&] { expected = reference.fit(); }), "fits as the reference");
    promise(fitted.size() == expected.size(), "as many unknowns as the reference");
    for (std::size_t i = 0; i < fitted.size(); ++i) {
        promise(isSame(fitted[i], expected[i]), "the solution of the reference");
    }
    try {
        const rxLeastSquaresSolution best = factor.fit();
        promise(best.rank >= 0 && best.rank <= unknowns, "a rank within the unknowns");
        promise(std::ssize(best.x) == unknowns, "a value for each unknown");
        promise(best.residualNorm >= 0.0, "a residual that is not negative");
        for (const double value : best.x) promise(std::isfinite(value), "a finite solution");
    } catch (const rxMathError&) {
    }
}

/// What the solution leaves of each equation, computed anew. Numbers of moderate size only: others
/// drown in the rounding of the largest.
void checkResidual(const rxMatrixExt& a, const std::vector<double>& b,
                   const rxLeastSquaresSolution& best) {
    double largestOfA = 0.0;
    double largestOfX = 0.0;
    double largestOfB = 0.0;
    double norm = 0.0;
    for (const double value : best.x) largestOfX = std::max(largestOfX, std::abs(value));
    for (long r = 0; r < a.rows(); ++r) {
        double left = b[static_cast<std::size_t>(r)];
        largestOfB = std::max(largestOfB, std::abs(left));
        for (long c = 0; c < a.cols(); ++c) {
            largestOfA = std::max(largestOfA, std::abs(a.element(r, c)));
            left -= a.element(r, c) * best.x[static_cast<std::size_t>(c)];
        }
        norm = std::hypot(norm, left);
    }
    const double scale = largestOfA * largestOfX + largestOfB;
    if (!(scale > 1e-100 && scale < 1e100)) return;
    // Unknowns next to 0 are rounded to multiples of the smallest number there is.
    const double lost = 100.0 * std::numeric_limits<double>::denorm_min() * largestOfA;
    promise(std::abs(norm - best.residualNorm) <= 1e-9 * scale + lost,
            "the residual of the solution");
}

void solve(FuzzInput& input) {
    const long rows = input.integer(0, kMostRows);
    const rxMatrixExt a = randomMatrix(input, rows, input.integer(0, kMostRows));
    std::vector<double> b(static_cast<std::size_t>(rows));
    for (double& value : b) value = input.number();
    try {
        const rxLeastSquaresSolution best = rfSolveLeastSquares(a, b);
        promise(best.rank <= std::min(a.rows(), a.cols()), "a rank within the sizes");
        promise(std::ssize(best.x) == a.cols(), "a value for each unknown");
        promise(best.numEquations == a.rows(), "the equations counted");
        checkResidual(a, b, best);
        for (const double value : best.x) promise(std::isfinite(value), "a finite solution");
        const std::vector<double> values = rfSingularValues(a);
        for (std::size_t i = 1; i < values.size(); ++i) {
            promise(values[i] <= values[i - 1], "singular values in their order");
        }
    } catch (const rxMathError&) {
    }
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    constexpr void (*kWays[])(FuzzInput&) = {decomposeAndSubstitute, eliminate, accumulate, solve};
    kWays[input.byte() % std::size(kWays)](input);
}

}  // namespace ptmatch::fuzz::matrices
