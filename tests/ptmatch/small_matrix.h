#pragma once

#include <initializer_list>
#include <ostream>
#include <vector>

#include "ptmatch/matext.h"
#include "reference/random_problems.h"
#include "reference/reference_matrix.h"

/// Shown by the expectations of Google Test.
inline std::ostream& operator<<(std::ostream& out, const rxMatrixExt& matrix) {
    for (long r = 0; r < matrix.rows(); ++r) {
        out << (r == 0 ? "[" : ", [");
        for (long c = 0; c < matrix.cols(); ++c)
            out << (c == 0 ? "" : ", ") << matrix.element(r, c);
        out << ']';
    }
    return out;
}

namespace ptmatch::testing {

/// The matrix of these rows, which are equally long.
inline rxMatrixExt matrixOf(std::initializer_list<std::initializer_list<double>> rows) {
    const auto cols = rows.size() == 0 ? 0 : rows.begin()->size();
    rxMatrixExt matrix(static_cast<long>(rows.size()), static_cast<long>(cols));
    long r = 0;
    for (const auto& row : rows) {
        long c = 0;
        for (const double value : row) matrix.element(r, c++, value);
        ++r;
    }
    return matrix;
}

inline rxMatrixExt identityMatrix(long n) {
    rxMatrixExt matrix(n, n);
    for (long i = 0; i < n; ++i) matrix.element(i, i, 1.0);
    return matrix;
}

/// Elements in [-1, 1).
inline rxMatrixExt randomMatrix(reference::Random& random, long rows, long cols) {
    rxMatrixExt matrix(rows, cols);
    for (long r = 0; r < rows; ++r) {
        for (long c = 0; c < cols; ++c) matrix.element(r, c, random.uniform(-1.0, 1.0));
    }
    return matrix;
}

inline std::vector<double> randomVector(reference::Random& random, long n) {
    std::vector<double> values;
    for (long i = 0; i < n; ++i) values.push_back(random.uniform(-1.0, 1.0));
    return values;
}

/// All elements, row after row.
inline std::vector<double> elementsOf(const rxMatrixExt& matrix) {
    std::vector<double> all;
    for (long r = 0; r < matrix.rows(); ++r) {
        for (long c = 0; c < matrix.cols(); ++c) all.push_back(matrix.element(r, c));
    }
    return all;
}

inline reference::Matrix referenceMatrix(const rxMatrixExt& matrix) {
    reference::Matrix result;
    for (long r = 0; r < matrix.rows(); ++r) result.push_back(matrix[r]);
    return result;
}

inline std::vector<double> elementsOf(const reference::Matrix& matrix) {
    std::vector<double> all;
    for (const std::vector<double>& row : matrix) all.insert(all.end(), row.begin(), row.end());
    return all;
}

}  // namespace ptmatch::testing
