#include "reference/reference_accumulator.h"

#include <cstddef>

namespace ptmatch::reference {

void Accumulator::resize(long unknowns) {
    rhs.assign(static_cast<std::size_t>(unknowns), 0.0);
    normal = zeroMatrix(unknowns, unknowns);
}

void Accumulator::update(const std::vector<double>& x, double y) {
    for (std::size_t i = 0; i < rhs.size(); ++i) {
        for (std::size_t j = 0; j < rhs.size(); ++j) normal[i][j] += x[i] * x[j];
        rhs[i] += x[i] * y;
    }
}

std::vector<double> Accumulator::fit() const {
    Matrix a = normal;
    std::vector<double> b = rhs;
    std::vector<long> index(rhs.size());
    decompose(a, index);
    substitute(a, index, b);
    return b;
}

void Accumulator::reset() {
    resize(static_cast<long>(rhs.size()));
}

}  // namespace ptmatch::reference
