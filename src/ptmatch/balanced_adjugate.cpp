#include "ptmatch/balanced_adjugate.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/two_word.h"

namespace ptmatch::detail {
namespace {

constexpr double kRounding = 8.0 * std::numeric_limits<double>::epsilon();

/// The power of two that brings the magnitude into [0.5, 1); 0 for 0.
int exponentOf(double magnitude) {
    int exponent = 0;
    (void)std::frexp(magnitude, &exponent);
    return exponent;
}

double largestOfRow(const SquareArray<3>& m, std::size_t r) {
    return std::max({std::abs(m[r][0]), std::abs(m[r][1]), std::abs(m[r][2])});
}

double largestOfColumn(const SquareArray<3>& m, std::size_t c) {
    return std::max({std::abs(m[0][c]), std::abs(m[1][c]), std::abs(m[2][c])});
}

/// First the rows, then the columns; those that grow by it have their largest element in a row
/// whose own largest one stands elsewhere, so that no element becomes larger than 1.
SquareArray<3> balanced(SquareArray<3> m, BalancedAdjugate& scaling) {
    for (std::size_t r = 0; r < 3; ++r) {
        scaling.rowExponent[r] = exponentOf(largestOfRow(m, r));
        for (double& element : m[r]) element = std::scalbn(element, -scaling.rowExponent[r]);
    }
    for (std::size_t c = 0; c < 3; ++c) {
        scaling.columnExponent[c] = exponentOf(largestOfColumn(m, c));
        for (auto& row : m) row[c] = std::scalbn(row[c], -scaling.columnExponent[c]);
    }
    return m;
}

TwoWord product(double a, double b) {
    return twoProduct(SplitDouble(a), SplitDouble(b));
}

}  // namespace

BalancedAdjugate balancedAdjugate(const SquareArray<3>& a) {
    BalancedAdjugate result;
    for (const auto& row : a) {
        for (const double element : row) {
            if (!std::isfinite(element)) return result;
        }
    }
    const SquareArray<3> b = balanced(a, result);

    // det(B + E) for |E| <= d |B|, element by element, is det(B) to within d times the sum of
    // |B[r][c] cofactor(r, c)| plus d^2 times the permanent of |B|, but for small factors and a
    // term in d^3. The expansion along one row would not do: the cofactors vanish together with the
    // determinant when the two other rows are parallel.
    TwoWord determinant;
    double firstOrder = 0.0;
    double permanent = 0.0;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            // Taking the rows and columns after this one in turn makes the signs come right.
            const auto& next = b[(r + 1) % 3];
            const auto& last = b[(r + 2) % 3];
            const std::size_t c1 = (c + 1) % 3;
            const std::size_t c2 = (c + 2) % 3;
            const TwoWord cofactor = product(next[c1], last[c2]) - product(next[c2], last[c1]);
            result.elements[c][r] = cofactor.toDouble();
            firstOrder += std::abs(b[r][c] * cofactor.toDouble());
            if (r != 0) continue;
            determinant = determinant + cofactor * b[r][c];
            permanent +=
                std::abs(b[r][c]) * (std::abs(next[c1] * last[c2]) + std::abs(next[c2] * last[c1]));
        }
    }
    result.determinant = determinant.toDouble();
    result.isSingular = !(std::abs(result.determinant) >
                          kRounding * firstOrder + kRounding * kRounding * permanent);
    return result;
}

}  // namespace ptmatch::detail
