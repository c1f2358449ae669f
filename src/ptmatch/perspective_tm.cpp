#include "ptmatch/perspective_tm.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace {

constexpr long kVersion = 1100;
constexpr int kVersionCheckLine = 410;

constexpr long kNumUnknowns = 8;

/// Half the sides of the squares whose corners and centre stand for the plane.
constexpr double kChangeSquare = 1.0;
constexpr double kInverseSquare = 5.0;

/// The points at which the affine approximation is taken are those of the square from -5 to 5 with
/// odd coordinates.
constexpr int kAffineSquare = 5;
constexpr int kAffineStep = 2;

std::array<rxVector<2>, 5> cornersAndCentre(double half) {
    return {rxVector<2>(-half, -half), rxVector<2>(half, -half), rxVector<2>(half, half),
            rxVector<2>(-half, half), rxVector<2>(0.0, 0.0)};
}

/// The two equations b w = numerator of a pair, each multiplied out.
void addPair(rxPsuedoInverse& equations, const rxVector<2>& a, const rxVector<2>& b) {
    const double x = a.x();
    const double y = a.y();
    equations.update(std::array{x, y, 1.0, 0.0, 0.0, 0.0, -x * b.x(), -y * b.x()}, b.x());
    equations.update(std::array{0.0, 0.0, 0.0, x, y, 1.0, -x * b.y(), -y * b.y()}, b.y());
}

rx2PTm::Params solve(const rxPsuedoInverse& equations) {
    if (equations.numUnknowns() == 0) throw rxMatrixExt::SingularMatrix();  // there are no pairs
    const std::vector<double> solution = equations.fit();
    rx2PTm::Params params;
    std::copy_n(solution.begin(), params.size(), params.begin());
    return params;
}

}  // namespace

constinit rx2PTm rx2PTm::I{WithoutMemory_()};

rx2PTm::rx2PTm() : solver_(kNumUnknowns) {}

rx2PTm::rx2PTm(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) : rx2PTm() {
    fit(a, b);
}

rx2PTm::rx2PTm(const rx2PtMatchTm& t) : rx2PTm() {
    const rxMatrix<2>& m = t.a2bXform().matrix();
    const rxVector<2>& trans = t.a2bXform().trans();
    adopt_({m.element(0, 0), m.element(0, 1), trans.x(), m.element(1, 0), m.element(1, 1),
            trans.y(), 0.0, 0.0});
}

rx2PTm& rx2PTm::operator=(const rx2PTm& t) {
    solver_ = t.solver_;  // first, as it is all that can fail
    a2bParams_ = t.a2bParams_;
    b2aParams_ = t.b2aParams_;
    return *this;
}

void rx2PTm::update(const rxVector<2>& a, const rxVector<2>& b) {
    if (solver_.numUnknowns() == 0) solver_.resize(kNumUnknowns);
    addPair(solver_, a, b);
}

void rx2PTm::update(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) {
    if (a.size() != b.size()) throw BadArgs();
    for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void rx2PTm::fit() {
    adopt_(solve(solver_));
}

void rx2PTm::fit(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) {
    identity();
    update(a, b);
    fit();
}

void rx2PTm::identity() {
    a2bParams_ = kIdentity_;
    b2aParams_ = kIdentity_;
    solver_.reset();
}

void rx2PTm::rotate(rxRadian angle) {
    rx2PtMatchTm turn;
    turn.rotate(angle);
    prepend_(turn);
}

void rx2PTm::translate(const rxVector<2>& v) {
    rx2PtMatchTm shift;
    shift.translate(v);
    prepend_(shift);
}

void rx2PTm::scale(const rxVector<2>& factors) {
    rx2PtMatchTm scaling;
    scaling.scale(factors);
    prepend_(scaling);
}

rxXform<2> rx2PTm::a2bXform() const {
    return a2bTm().a2bXform();
}

rx2PtMatchTm rx2PTm::a2bTm() const {
    rx2PtMatchTm affine;
    for (int y = -kAffineSquare; y <= kAffineSquare; y += kAffineStep) {
        for (int x = -kAffineSquare; x <= kAffineSquare; x += kAffineStep) {
            const rxVector<2> point(x, y);
            affine.update(point, a2b(point));
        }
    }
    affine.fit(-1);
    return affine;
}

void rx2PTm::sync_() {
    b2aParams_ = sampledInverse_(a2bParams_);
}

rx2PTm::Params rx2PTm::sampledInverse_(const Params& p) {
    rxPsuedoInverse equations(kNumUnknowns);
    for (const rxVector<2>& point : cornersAndCentre(kInverseSquare)) {
        addPair(equations, mapped_(p, point), point);
    }
    return solve(equations);
}

void rx2PTm::adopt_(const Params& a2b) {
    const Params b2a = sampledInverse_(a2b);  // may throw, so it comes before the first change
    a2bParams_ = a2b;
    b2aParams_ = b2a;
}

void rx2PTm::prepend_(const rx2PtMatchTm& r) {
    rxPsuedoInverse equations(kNumUnknowns);  // those of the accumulated pairs stay as they are
    for (const rxVector<2>& point : cornersAndCentre(kChangeSquare)) {
        addPair(equations, point, a2b(r.a2b(point)));
    }
    adopt_(solve(equations));
}

rxArchive& operator||(rxArchive& ar, rx2PTm& tm) {
    long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion("ptmatch/tm", kVersionCheckLine);

    rx2PTm value;
    if (ar.isStoring()) {
        value = tm;
        if (value.solver_.numUnknowns() == 0) value.solver_.resize(kNumUnknowns);
    }
    for (std::size_t i = 0; i < value.a2bParams_.size(); ++i) {
        ar || value.a2bParams_[i] || value.b2aParams_[i];
    }
    ar || value.solver_;
    if (ar.isLoading()) {
        if (value.solver_.numUnknowns() != kNumUnknowns) {
            throw rxArchive::Errors("perspective transform: the equations have " +
                                    std::to_string(value.solver_.numUnknowns()) +
                                    " unknowns instead of 8");
        }
        tm = value;
    }
    return ar;
}
