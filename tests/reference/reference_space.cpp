#include "reference/reference_space.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "reference/reference_planar.h"

namespace ptmatch::reference {
namespace {

using Params = SpaceTransform::Params;

Matrix homogeneous(const Params& params) {
    Matrix h = zeroMatrix(4, 4);
    std::copy_n(params.begin(), 4, h[0].begin());
    std::copy_n(params.begin() + 4, 4, h[1].begin());
    std::copy_n(params.begin() + 8, 4, h[2].begin());
    h[3][3] = 1.0;
    return h;
}

Params paramsOf(const Matrix& h) {
    Params params{};
    for (std::size_t r = 0; r < 3; ++r) std::copy_n(h[r].begin(), 4, params.begin() + 4 * r);
    return params;
}

Matrix transposed(const Matrix& m) {
    Matrix t = zeroMatrix(4, 4);
    for (std::size_t r = 0; r < 4; ++r) {
        for (std::size_t c = 0; c < 4; ++c) t[c][r] = m[r][c];
    }
    return t;
}

/// First then second, in full.
Params product(const Params& first, const Params& second) {
    const Matrix f = homogeneous(first);
    const Matrix g = homogeneous(second);
    Matrix result = zeroMatrix(4, 4);
    for (std::size_t r = 0; r < 4; ++r) {
        for (std::size_t c = 0; c < 4; ++c) {
            result[r][c] =
                g[r][0] * f[0][c] + g[r][1] * f[1][c] + g[r][2] * f[2][c] + g[r][3] * f[3][c];
        }
    }
    return paramsOf(result);
}

/// First then second for the linear parts; the translations are only added.
Params productOfLinearParts(const Params& first, const Params& second) {
    const Matrix f = homogeneous(first);
    const Matrix g = homogeneous(second);
    Matrix result = zeroMatrix(4, 4);
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            result[r][c] = g[r][0] * f[0][c] + g[r][1] * f[1][c] + g[r][2] * f[2][c];
        }
        result[r][3] = f[r][3] + g[r][3];
    }
    return paramsOf(result);
}

Params linear(double m00, double m01, double m02, double m10, double m11, double m12, double m20,
              double m21, double m22) {
    return {m00, m01, m02, 0.0, m10, m11, m12, 0.0, m20, m21, m22, 0.0};
}

rxVector<3> map(const Params& p, const rxVector<3>& v) {
    return {p[0] * v.x() + p[1] * v.y() + p[2] * v.z() + p[3],
            p[4] * v.x() + p[5] * v.y() + p[6] * v.z() + p[7],
            p[8] * v.x() + p[9] * v.y() + p[10] * v.z() + p[11]};
}

}  // namespace

SpaceTransform::SpaceTransform(const Points& a, const Points& b) {
    fit(a, b);
}

void SpaceTransform::adopt(const Params& a2b) {
    a2bParams = a2b;
    Matrix inverse = transposed(homogeneous(a2b));
    Matrix unused{{1.0}, {0.0}, {0.0}, {1.0}};
    eliminate(inverse, unused);
    b2aParams = paramsOf(transposed(inverse));
}

void SpaceTransform::update(const rxVector<3>& a, const rxVector<3>& b) {
    const std::vector<double> row{a.x(), a.y(), a.z(), 1.0};
    solverX.update(row, b.x());
    solverY.update(row, b.y());
    solverZ.update(row, b.z());
}

void SpaceTransform::update(const Points& a, const Points& b) {
    if (a.size() != b.size()) throw UnequalLists();
    for (std::size_t i = 0; i < a.size(); ++i) update(a[i], b[i]);
}

void SpaceTransform::fit() {
    adopt(paramsOf({solverX.fit(), solverY.fit(), solverZ.fit()}));
}

void SpaceTransform::fit(const Points& a, const Points& b) {
    identity();
    update(a, b);
    fit();
}

void SpaceTransform::identity() {
    *this = SpaceTransform();
}

void SpaceTransform::translate(const rxVector<3>& v) {
    Params translation = kIdentity;
    translation[3] = v.x();
    translation[7] = v.y();
    translation[11] = v.z();
    adopt(product(translation, a2bParams));
}

void SpaceTransform::rotateOnX(rxRadian angle) {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    adopt(productOfLinearParts(a2bParams, linear(1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c)));
}

void SpaceTransform::rotateOnY(rxRadian angle) {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    adopt(productOfLinearParts(a2bParams, linear(c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c)));
}

void SpaceTransform::rotateOnZ(rxRadian angle) {
    const double c = std::cos(angle.toDouble());
    const double s = std::sin(angle.toDouble());
    adopt(productOfLinearParts(a2bParams, linear(c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0)));
}

void SpaceTransform::scale(const rxVector<3>& factors) {
    adopt(productOfLinearParts(
        a2bParams, linear(factors.x(), 0.0, 0.0, 0.0, factors.y(), 0.0, 0.0, 0.0, factors.z())));
}

rxVector<3> SpaceTransform::a2b(const rxVector<3>& p) const {
    return map(a2bParams, p);
}

rxVector<3> SpaceTransform::b2a(const rxVector<3>& p) const {
    return map(b2aParams, p);
}

}  // namespace ptmatch::reference
