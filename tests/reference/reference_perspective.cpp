#include "reference/reference_perspective.h"

#include <algorithm>
#include <cstddef>

namespace ptmatch::reference {
namespace {

rxVector<2> map(const Perspective::Params& p, const rxVector<2>& v) {
    const double w = p[6] * v.x() + p[7] * v.y() + 1.0;
    return {(p[0] * v.x() + p[1] * v.y() + p[2]) / w, (p[3] * v.x() + p[4] * v.y() + p[5]) / w};
}

Perspective::Params paramsOf(const std::vector<double>& solution) {
    Perspective::Params params{};
    std::copy_n(solution.begin(), params.size(), params.begin());
    return params;
}

/// The corners of the square from -half to half, counterclockwise from the lower left, and its
/// middle.
Perspective::Points sampleSquare(double half) {
    return {{-half, -half}, {half, -half}, {half, half}, {-half, half}, {0.0, 0.0}};
}

}  // namespace

Perspective::Perspective(const Points& a, const Points& b) {
    fit(a, b);
}

Perspective::Perspective(const PlanarTransform& t) {
    const rxMatrix<2>& m = t.a2bXform.matrix();
    const rxVector<2>& shift = t.a2bXform.trans();
    adopt({m.element(0, 0), m.element(0, 1), shift.x(), m.element(1, 0), m.element(1, 1), shift.y(),
           0.0, 0.0});
}

void Perspective::adopt(const Params& a2b) {
    Perspective inverse;
    for (const rxVector<2>& point : sampleSquare(5.0)) inverse.update(map(a2b, point), point);
    b2aParams = paramsOf(inverse.solver.fit());
    a2bParams = a2b;
}

void Perspective::update(const rxVector<2>& a, const rxVector<2>& b) {
    solver.update({a.x(), a.y(), 1.0, 0.0, 0.0, 0.0, -a.x() * b.x(), -a.y() * b.x()}, b.x());
    solver.update({0.0, 0.0, 0.0, a.x(), a.y(), 1.0, -a.x() * b.y(), -a.y() * b.y()}, b.y());
}

void Perspective::update(const Points& a, const Points& b) {
    if (a.size() != b.size()) throw UnequalLists();
    for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void Perspective::fit() {
    adopt(paramsOf(solver.fit()));
}

void Perspective::fit(const Points& a, const Points& b) {
    identity();
    update(a, b);
    fit();
}

void Perspective::identity() {
    *this = Perspective();
}

void Perspective::changeBy(const PlanarTransform& change) {
    const Points points = sampleSquare(1.0);
    Points images;
    for (const rxVector<2>& point : points) images.push_back(a2b(change.a2b(point)));
    const Perspective changed(points, images);
    adopt(changed.a2bParams);
}

void Perspective::rotate(rxRadian angle) {
    PlanarTransform change;
    change.rotate(angle);
    changeBy(change);
}

void Perspective::translate(const rxVector<2>& v) {
    PlanarTransform change;
    change.translate(v);
    changeBy(change);
}

void Perspective::scale(const rxVector<2>& factors) {
    PlanarTransform change;
    change.scale(factors);
    changeBy(change);
}

rxVector<2> Perspective::a2b(const rxVector<2>& p) const {
    return map(a2bParams, p);
}

rxVector<2> Perspective::b2a(const rxVector<2>& p) const {
    return map(b2aParams, p);
}

PlanarTransform Perspective::a2bTm() const {
    PlanarTransform approximation;
    constexpr std::array<double, 6> kSteps{-5.0, -3.0, -1.0, 1.0, 3.0, 5.0};
    for (const double y : kSteps) {
        for (const double x : kSteps) {
            approximation.update(rxVector<2>(x, y), a2b(rxVector<2>(x, y)));
        }
    }
    approximation.fit(-1);
    return approximation;
}

}  // namespace ptmatch::reference
