#include "ptmatch/tm.h"

#include <cmath>

#include "foundation/geometry_archive.h"

namespace {

constexpr long kVersion = 1100;
constexpr int kVersionCheckLine = 154;

constexpr int kFewestFreedoms = 3;
constexpr int kMostFreedoms = 6;

/// The richest model that the pairs determine. What stops it from having the richer ones is of no
/// interest to the caller, so any exception of theirs is dropped; that of the poorest is the
/// answer.
rxXform<2> fitRichest(const rxLSPointToPointFitter& fitter) {
    for (int dof = kMostFreedoms; dof > kFewestFreedoms; --dof) {
        try {
            return fitter.fit(dof);
        } catch (...) {
            continue;
        }
    }
    return fitter.fit(kFewestFreedoms);
}

/// The direction from the image of the origin to that of the unit vector at this angle.
rxRadian mappedAngle(const rxXform<2>& xform, rxRadian angle) {
    const rxVector<2> origin = xform * rxVector<2>(0.0, 0.0);
    const rxVector<2> tip =
        xform * rxVector<2>(std::cos(angle.toDouble()), std::sin(angle.toDouble()));
    return (tip - origin).angle();
}

}  // namespace

// Other static objects may use it while they are being built, in whatever order the files come.
constinit rx2PtMatchTm rx2PtMatchTm::I;

rx2PtMatchTm::rx2PtMatchTm(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b,
                           int dof) {
    fit(a, b, dof);
}

rx2PtMatchTm::rx2PtMatchTm(const rxXform<2>& a2b) {
    adopt_(a2b);
}

void rx2PtMatchTm::update(const rxVector<2>& a, const rxVector<2>& b) {
    fitter_.update(b, a);  // the fitter maps the second point of a pair onto the first
}

void rx2PtMatchTm::update(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) {
    if (a.size() != b.size()) throw BadArgs();
    for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void rx2PtMatchTm::fit(int dof) {
    adopt_(dof < kFewestFreedoms ? fitRichest(fitter_) : fitter_.fit(dof));
}

void rx2PtMatchTm::fit(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b, int dof) {
    identity();
    update(a, b);
    fit(dof);
}

void rx2PtMatchTm::reset() {
    fitter_.reset();
}

void rx2PtMatchTm::identity() {
    *this = rx2PtMatchTm();
}

void rx2PtMatchTm::translate(const rxVector<2>& v) {
    rxXform<2> moved = a2bXform_;
    moved.trans(a2bXform_ * v);
    adopt_(moved);
}

// These assign a whole new object, which drops the pairs: they belong to the transform as it was.
void rx2PtMatchTm::rotate(rxRadian angle) {
    *this = rx2PtMatchTm(concat_(rxXform<2>(rxVector<2>(), angle, angle, 1.0, 1.0), a2bXform_));
}

void rx2PtMatchTm::scale(const rxVector<2>& factors) {
    const rxXform<2> scaling(rxVector<2>(), rxRadian(0.0), rxRadian(0.0), factors.x(), factors.y());
    *this = rx2PtMatchTm(concat_(scaling, a2bXform_));
}

void rx2PtMatchTm::scale(double factor) {
    scale(rxVector<2>(factor, factor));
}

void rx2PtMatchTm::append(const rx2PtMatchTm& t) {
    *this = rx2PtMatchTm(concat_(a2bXform_, t.a2bXform_));
}

void rx2PtMatchTm::concat(const rx2PtMatchTm& t) {
    *this = rx2PtMatchTm(concat_(t.a2bXform_, a2bXform_));
}

rxRadian rx2PtMatchTm::a2b(rxRadian angle) const {
    return mappedAngle(a2bXform_, angle);
}

rxRadian rx2PtMatchTm::b2a(rxRadian angle) const {
    return mappedAngle(b2aXform_, angle);
}

rxXform<2> rx2PtMatchTm::concat_(const rxXform<2>& first, const rxXform<2>& second) {
    const rxMatrix<2>& f = first.matrix();
    const rxMatrix<2>& g = second.matrix();
    const auto element = [&](long r, long c) {
        return g.element(r, 0) * f.element(0, c) + g.element(r, 1) * f.element(1, c);
    };
    rxXform<2> both;
    both.matrix(rxMatrix<2>(element(0, 0), element(0, 1), element(1, 0), element(1, 1)));
    both.trans(second * first.trans());
    return both;
}

void rx2PtMatchTm::set_(double a, double b, double c, double d, double e, double f) {
    a2bXform_.matrix(rxMatrix<2>(a, b, d, e));
    a2bXform_.trans(rxVector<2>(c, f));
}

void rx2PtMatchTm::sync_() {
    b2aXform_ = a2bXform_.inverse();
}

void rx2PtMatchTm::adopt_(const rxXform<2>& a2b) {
    const rxXform<2> b2a = a2b.inverse();  // may throw, so it comes before the first change
    a2bXform_ = a2b;
    b2aXform_ = b2a;
}

rxArchive& operator||(rxArchive& ar, rx2PtMatchTm& tm) {
    long version = kVersion;
    ar || version;
    if (version != kVersion) throw rxArchive::UnknownVersion("ptmatch/tm", kVersionCheckLine);

    rxXform<2> a2b = tm.a2bXform_;
    rxXform<2> b2a = tm.b2aXform_;
    ar || a2b || b2a;
    tm.a2bXform_ = a2b;  // both or none
    tm.b2aXform_ = b2a;
    return ar;
}
