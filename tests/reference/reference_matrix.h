#pragma once

#include <vector>

namespace ptmatch::reference {

/// Rows of equal length.
using Matrix = std::vector<std::vector<double>>;

struct NotSquareMatrix {};
struct SingularMatrix {};

/// The matrix with zeros alone.
[[nodiscard]] Matrix zeroMatrix(long rows, long cols);

/// Crout's LU decomposition in place. The pivot of a column is the first of the largest candidates,
/// each measured against the largest element that its row had at the start; a column without a
/// candidate above 0 keeps the pivot row of the column before. index takes the pivot rows.
/// @throws NotSquareMatrix, SingularMatrix (a row of zeros): before anything is changed.
void decompose(Matrix& a, std::vector<long>& index);

/// Replaces b by the solution x of A x = b, for the decomposition of A and its pivot rows.
/// @throws NotSquareMatrix
void substitute(const Matrix& a, const std::vector<long>& index, std::vector<double>& b);

/// Gauss-Jordan elimination: a becomes its inverse, b the solution X of A X = b. The pivot is the
/// last of the largest elements that are left, in the order of rows.
/// @throws SingularMatrix: a pivot is 0, or a column was chosen twice (as not-a-numbers cause it);
///     both matrices are left as far as they came.
void eliminate(Matrix& a, Matrix& b);

}  // namespace ptmatch::reference
