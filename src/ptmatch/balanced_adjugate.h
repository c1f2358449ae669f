#pragma once

#include <array>
#include <cstddef>

#include "ptmatch/row_reducer.h"

namespace ptmatch::detail {

/// The adjugate that gives the inverse of a 3 x 3 matrix A, and whether there is one.
///
/// It is that of the B with A[r][c] = B[r][c] 2^(rowExponent[r] + columnExponent[c]) of which every
/// row and column has an element of magnitude 0.5 to 1 and none a larger one. Products of elements
/// of B neither overflow nor vanish, in whatever units the rows and columns of A are.
struct BalancedAdjugate {
    SquareArray<3> elements{};  ///< each rounded once, however much of it cancels
    double determinant = 0.0;   ///< of B, good to 2^-100 of its terms
    /// Whether a singular matrix lies within 8 eps of each element of A, as far as the determinant
    /// and its derivatives tell; or a row or column of A is 0, or an element not finite.
    bool isSingular = true;
    std::array<int, 3> rowExponent{};
    std::array<int, 3> columnExponent{};

    /// Element (r, c) of the inverse of A is elements[r][c] / determinant 2^exponent(r, c).
    int exponent(std::size_t r, std::size_t c) const { return -columnExponent[r] - rowExponent[c]; }
};

/// @param a  by rows.   What its rows and columns are multiplied by does not matter for isSingular.
BalancedAdjugate balancedAdjugate(const SquareArray<3>& a);

}  // namespace ptmatch::detail
