#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace ptmatch::detail {

/// Reflects rows of `width` elements so that column `column` of all but the head becomes 0
/// (Householder; Golub and Van Loan, "Matrix computations", 5.1.3). What lies left of the column
/// must be 0 already, or not matter, and stays.
/// @param head  the row whose element takes the length of the column.
/// @param tail  numTail rows, one behind the other.   @param sums  room for `width` numbers.
inline void reflectColumn(double* head, double* tail, std::size_t numTail, std::size_t column,
                          std::size_t width, double* sums) {
    double tailSquared = 0.0;
    for (std::size_t i = 0; i < numTail; ++i) {
        tailSquared += tail[i * width + column] * tail[i * width + column];
    }
    if (tailSquared == 0.0) return;
    const double first = head[column];
    const double norm = std::sqrt(first * first + tailSquared);
    const double image = std::copysign(norm, -first);
    const double v0 = first - image;  // no cancellation: the signs differ
    const double tau = 1.0 / (norm * std::abs(v0));

    // The scalar products with all columns at once, so that they are independent of each other.
    for (std::size_t c = column + 1; c < width; ++c) sums[c] = v0 * head[c];
    for (std::size_t i = 0; i < numTail; ++i) {
        const double* const row = tail + i * width;
        const double v = row[column];
        for (std::size_t c = column + 1; c < width; ++c) sums[c] += v * row[c];
    }
    for (std::size_t c = column + 1; c < width; ++c) sums[c] *= tau;
    for (std::size_t c = column + 1; c < width; ++c) head[c] -= v0 * sums[c];
    for (std::size_t i = 0; i < numTail; ++i) {
        double* const row = tail + i * width;
        const double v = row[column];
        for (std::size_t c = column + 1; c < width; ++c) row[c] -= v * sums[c];
        row[column] = 0.0;
    }
    head[column] = image;
}

}  // namespace ptmatch::detail
