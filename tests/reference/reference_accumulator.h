#pragma once

#include <vector>

#include "reference/reference_matrix.h"

namespace ptmatch::reference {

/// Normal equations of observations x . p = y, with their sums in the open.
struct Accumulator {
    Matrix normal;
    std::vector<double> rhs;

    explicit Accumulator(long unknowns = 0) { resize(unknowns); }

    void resize(long unknowns);
    void update(const std::vector<double>& x, double y);
    /// @throws SingularMatrix: a row of the normal matrix is all zeros.
    [[nodiscard]] std::vector<double> fit() const;
    void reset();
};

}  // namespace ptmatch::reference
