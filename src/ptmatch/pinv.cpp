#include "ptmatch/pinv.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

constexpr unsigned long kVersion = 1100;
constexpr int kVersionCheckLine = 75;

}  // namespace

rxPsuedoInverse::rxPsuedoInverse(long n) {
    resize(n);
}

rxPsuedoInverse& rxPsuedoInverse::operator=(const rxPsuedoInverse& other) {
    // Two sequences: with only one of them taken over, their lengths would differ.
    return *this = rxPsuedoInverse(other);
}

rxPsuedoInverse& rxPsuedoInverse::operator=(rxPsuedoInverse&& other) noexcept {
    // Through a third one, so that an accumulator moved to itself loses nothing.
    rxPsuedoInverse moved(std::move(other));
    normal_ = std::move(moved.normal_);
    rhs_.swap(moved.rhs_);
    return *this;
}

void rxPsuedoInverse::resize(long n) {
    rxMatrixExt normal(n, n);
    std::vector<double> rhs(static_cast<std::size_t>(n), 0.0);
    normal_ = std::move(normal);
    rhs_ = std::move(rhs);
}

void rxPsuedoInverse::update(std::span<const double> x, double y) {
    const std::size_t n = rhs_.size();
    if (x.size() < n) {
        throw std::out_of_range("rxPsuedoInverse::update: " + std::to_string(x.size()) +
                                " coefficients for " + std::to_string(n) + " unknowns");
    }
    if (n == 0) return;
    double* row = normal_.pointToRow(0);
    for (std::size_t i = 0; i < n; ++i, row += n) {
        for (std::size_t j = 0; j < n; ++j) row[j] += x[i] * x[j];
    }
    for (std::size_t i = 0; i < n; ++i) rhs_[i] += x[i] * y;
}

std::vector<double> rxPsuedoInverse::fit() const {
    std::vector<double> solution = rhs_;
    rxMatrixExt decomposed = normal_;
    std::vector<long> index(rhs_.size());
    decomposed.ludcmp(index);
    decomposed.lubksb(index, solution);
    return solution;
}

void rxPsuedoInverse::reset() {
    std::ranges::fill(rhs_, 0.0);
    // Sizes that stay need no memory.
    normal_.resize(normal_.rows(), normal_.cols());
}

rxArchive& operator||(rxArchive& ar, rxPsuedoInverse& accumulator) {
    unsigned long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion("ptmatch/pinv", kVersionCheckLine);
    if (ar.isStoring()) return ar || accumulator.normal_ || accumulator.rhs_;

    rxPsuedoInverse loaded;
    ar || loaded.normal_ || loaded.rhs_;
    if (loaded.normal_.rows() != loaded.numUnknowns() ||
        loaded.normal_.cols() != loaded.numUnknowns()) {
        throw rxArchive::Errors("least squares: the normal matrix is not one of the unknowns");
    }
    accumulator = std::move(loaded);
    return ar;
}
