#include "ptmatch/space_tm.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "ptmatch/matext.h"

namespace {

constexpr long kVersion = 1100;
constexpr int kVersionCheckLine = 688;

constexpr long kNumUnknowns = 4;

/// Element (r, c) of the parameters as a 4x4 matrix, whose last row is (0, 0, 0, 1).
double homogeneous(const rx3PtMatchTm::Params& p, std::size_t r, std::size_t c) {
    if (r < 3) return p[4 * r + c];
    return c < 3 ? 0.0 : 1.0;
}

/// Gives an accumulator that has no unknowns yet its four.
void provideUnknowns(rxPsuedoInverse& solver) {
    if (solver.numUnknowns() == 0) solver.resize(kNumUnknowns);
}

void requireUnknowns(const rxPsuedoInverse& solver) {
    if (solver.numUnknowns() != kNumUnknowns) {
        throw rxArchive::Errors("transform of space: the equations have " +
                                std::to_string(solver.numUnknowns()) + " unknowns instead of 4");
    }
}

}  // namespace

constinit rx3PtMatchTm rx3PtMatchTm::I{WithoutMemory_()};

rx3PtMatchTm::rx3PtMatchTm()
    : solverX_(kNumUnknowns), solverY_(kNumUnknowns), solverZ_(kNumUnknowns) {}

rx3PtMatchTm::rx3PtMatchTm(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b)
    : rx3PtMatchTm() {
    fit(a, b);
}

rx3PtMatchTm& rx3PtMatchTm::operator=(const rx3PtMatchTm& t) {
    rx3PtMatchTm copy(t);  // copying is all that can fail
    solverX_ = std::move(copy.solverX_);
    solverY_ = std::move(copy.solverY_);
    solverZ_ = std::move(copy.solverZ_);
    a2bParams_ = t.a2bParams_;
    b2aParams_ = t.b2aParams_;
    return *this;
}

void rx3PtMatchTm::update(const rxVector<3>& a, const rxVector<3>& b) {
    provideUnknowns(solverX_);
    provideUnknowns(solverY_);
    provideUnknowns(solverZ_);
    const std::array row{a.x(), a.y(), a.z(), 1.0};
    solverX_.update(row, b.x());
    solverY_.update(row, b.y());
    solverZ_.update(row, b.z());
}

void rx3PtMatchTm::update(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b) {
    if (a.size() != b.size()) throw BadArgs();
    for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void rx3PtMatchTm::fit() {
    Params fitted;
    auto row = fitted.begin();
    for (const rxPsuedoInverse* solver : {&solverX_, &solverY_, &solverZ_}) {
        if (solver->numUnknowns() == 0) throw rxMatrixExt::SingularMatrix();  // there are no pairs
        row = std::copy_n(solver->fit().begin(), kNumUnknowns, row);
    }
    adopt_(fitted);
}

void rx3PtMatchTm::fit(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b) {
    identity();
    update(a, b);
    fit();
}

void rx3PtMatchTm::identity() {
    a2bParams_ = kIdentity_;
    b2aParams_ = kIdentity_;
    solverX_.reset();
    solverY_.reset();
    solverZ_.reset();
}

void rx3PtMatchTm::translate(const rxVector<3>& v) {
    Params shift = kIdentity_;
    shift[3] = v.x();
    shift[7] = v.y();
    shift[11] = v.z();
    Params moved;
    mul_(shift, a2bParams_, moved);
    adopt_(moved);
}

void rx3PtMatchTm::rotateOnX(rxRadian angle) {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    turn_({1.0, 0.0, 0.0,  //
           0.0, c, -s,     //
           0.0, s, c});
}

void rx3PtMatchTm::rotateOnY(rxRadian angle) {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    turn_({c, 0.0, s,      //
           0.0, 1.0, 0.0,  //
           -s, 0.0, c});
}

void rx3PtMatchTm::rotateOnZ(rxRadian angle) {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    turn_({c, -s, 0.0,  //
           s, c, 0.0,   //
           0.0, 0.0, 1.0});
}

void rx3PtMatchTm::scale(const rxVector<3>& factors) {
    turn_({factors.x(), 0.0, 0.0,  //
           0.0, factors.y(), 0.0,  //
           0.0, 0.0, factors.z()});
}

void rx3PtMatchTm::scale(double factor) {
    scale(rxVector<3>(factor, factor, factor));
}

void rx3PtMatchTm::mul_(const Params& first, const Params& second, Params& out) {
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 4; ++c) {
            const auto product = [&](std::size_t k) {
                return homogeneous(second, r, k) * homogeneous(first, k, c);
            };
            out[4 * r + c] = product(0) + product(1) + product(2) + product(3);
        }
    }
}

void rx3PtMatchTm::concat_(const Params& first, const Params& second, Params& out) {
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            const auto product = [&](std::size_t k) {
                return second[4 * r + k] * first[4 * k + c];
            };
            out[4 * r + c] = product(0) + product(1) + product(2);
        }
        out[4 * r + 3] = first[4 * r + 3] + second[4 * r + 3];
    }
}

void rx3PtMatchTm::sync_() {
    // Transposed: which of equally large elements becomes a pivot depends on it, and with that the
    // last bits of the inverse.
    rxMatrixExt transposed(4, 4);
    for (std::size_t r = 0; r < 4; ++r) {
        for (std::size_t c = 0; c < 4; ++c) {
            transposed.element(static_cast<long>(r), static_cast<long>(c),
                               homogeneous(a2bParams_, c, r));
        }
    }
    rxMatrixExt unused(4, 1);  // gaussj asks for a right-hand side
    unused.element(0, 0, 1.0);
    unused.element(3, 0, 1.0);
    transposed.gaussj(unused);
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 4; ++c) {
            b2aParams_[4 * r + c] = transposed.element(static_cast<long>(c), static_cast<long>(r));
        }
    }
}

void rx3PtMatchTm::adopt_(const Params& a2b) {
    const Params before = a2bParams_;
    a2bParams_ = a2b;
    try {
        sync_();
    } catch (const std::bad_alloc&) {
        a2bParams_ = before;  // unlike a singular transform, which stays
        throw;
    }
}

void rx3PtMatchTm::turn_(const std::array<double, 9>& matrix) {
    const auto& m = matrix;
    Params turned;
    concat_(a2bParams_, {m[0], m[1], m[2], 0.0, m[3], m[4], m[5], 0.0, m[6], m[7], m[8], 0.0},
            turned);
    adopt_(turned);
}

rxArchive& operator||(rxArchive& ar, rx3PtMatchTm& tm) {
    long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion("ptmatch/tm", kVersionCheckLine);

    rx3PtMatchTm value;
    if (ar.isStoring()) {
        value = tm;
        provideUnknowns(value.solverX_);
        provideUnknowns(value.solverY_);
        provideUnknowns(value.solverZ_);
    }
    ar || value.solverX_ || value.solverY_ || value.solverZ_;
    for (std::size_t i = 0; i < value.a2bParams_.size(); ++i) {
        ar || value.a2bParams_[i] || value.b2aParams_[i];
    }
    if (ar.isLoading()) {
        requireUnknowns(value.solverX_);
        requireUnknowns(value.solverY_);
        requireUnknowns(value.solverZ_);
        tm = value;
    }
    return ar;
}
