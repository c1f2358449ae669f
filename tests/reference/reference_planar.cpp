#include "reference/reference_planar.h"

#include <cmath>
#include <cstddef>

namespace ptmatch::reference {
namespace {

rxXform<2> firstThenSecond(const rxXform<2>& first, const rxXform<2>& second) {
    const rxMatrix<2>& f = first.matrix();
    const rxMatrix<2>& g = second.matrix();
    const auto element = [&](long r, long c) {
        return g.element(r, 0) * f.element(0, c) + g.element(r, 1) * f.element(1, c);
    };
    const double x = first.trans().x();
    const double y = first.trans().y();
    return {rxMatrix<2>(element(0, 0), element(0, 1), element(1, 0), element(1, 1)),
            rxVector<2>(g.element(0, 0) * x + g.element(0, 1) * y + second.trans().x(),
                        g.element(1, 0) * x + g.element(1, 1) * y + second.trans().y())};
}

rxVector<2> map(const rxXform<2>& xform, const rxVector<2>& p) {
    const rxMatrix<2>& m = xform.matrix();
    return {m.element(0, 0) * p.x() + m.element(0, 1) * p.y() + xform.trans().x(),
            m.element(1, 0) * p.x() + m.element(1, 1) * p.y() + xform.trans().y()};
}

rxRadian map(const rxXform<2>& xform, rxRadian angle) {
    const rxVector<2> from = map(xform, rxVector<2>(0.0, 0.0));
    const rxVector<2> to =
        map(xform, rxVector<2>(std::cos(angle.toDouble()), std::sin(angle.toDouble())));
    return rxRadian(std::atan2(to.y() - from.y(), to.x() - from.x()));
}

rxXform<2> fitRichest(const rxLSPointToPointFitter& fitter) {
    for (int dof = 6; dof > 3; --dof) {
        try {
            return fitter.fit(dof);
        } catch (...) {
        }
    }
    return fitter.fit(3);
}

}  // namespace

PlanarTransform::PlanarTransform(const Points& a, const Points& b, int dof) {
    fit(a, b, dof);
}

PlanarTransform::PlanarTransform(const rxXform<2>& a2b) {
    adopt(a2b);
}

void PlanarTransform::adopt(const rxXform<2>& a2b) {
    b2aXform = a2b.inverse();
    a2bXform = a2b;
}

void PlanarTransform::update(const rxVector<2>& a, const rxVector<2>& b) {
    fitter.update(b, a);
}

void PlanarTransform::update(const Points& a, const Points& b) {
    if (a.size() != b.size()) throw UnequalLists();
    for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void PlanarTransform::fit(int dof) {
    adopt(dof >= 3 ? fitter.fit(dof) : fitRichest(fitter));
}

void PlanarTransform::fit(const Points& a, const Points& b, int dof) {
    identity();
    update(a, b);
    fit(dof);
}

void PlanarTransform::reset() {
    fitter = rxLSPointToPointFitter();
}

void PlanarTransform::identity() {
    *this = PlanarTransform();
}

void PlanarTransform::translate(const rxVector<2>& v) {
    adopt(rxXform<2>(a2bXform.matrix(), map(a2bXform, v)));
}

void PlanarTransform::rotate(rxRadian angle) {
    const rxXform<2> rotation(rxVector<2>(0.0, 0.0), angle, angle, 1.0, 1.0);
    *this = PlanarTransform(firstThenSecond(rotation, a2bXform));
}

void PlanarTransform::scale(const rxVector<2>& factors) {
    const rxXform<2> scaling(rxVector<2>(0.0, 0.0), rxRadian(0.0), rxRadian(0.0), factors.x(),
                             factors.y());
    *this = PlanarTransform(firstThenSecond(scaling, a2bXform));
}

void PlanarTransform::append(const PlanarTransform& t) {
    *this = PlanarTransform(firstThenSecond(a2bXform, t.a2bXform));
}

void PlanarTransform::concat(const PlanarTransform& t) {
    *this = PlanarTransform(firstThenSecond(t.a2bXform, a2bXform));
}

rxVector<2> PlanarTransform::a2b(const rxVector<2>& p) const {
    return map(a2bXform, p);
}

rxVector<2> PlanarTransform::b2a(const rxVector<2>& p) const {
    return map(b2aXform, p);
}

rxRadian PlanarTransform::a2b(rxRadian angle) const {
    return map(a2bXform, angle);
}

rxRadian PlanarTransform::b2a(rxRadian angle) const {
    return map(b2aXform, angle);
}

}  // namespace ptmatch::reference
