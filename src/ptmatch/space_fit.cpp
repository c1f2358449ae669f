#include "ptmatch/space_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "foundation/exception.h"
#include "ptmatch/balanced_adjugate.h"
#include "ptmatch/difference_of_products.h"
#include "ptmatch/jacobi_svd.h"
#include "ptmatch/point_frame.h"
#include "ptmatch/row_reducer.h"

using ptmatch::detail::BalancedAdjugate;
using ptmatch::detail::coordinates;
using ptmatch::detail::differenceOfProducts;
using ptmatch::detail::JacobiSvd;
using ptmatch::detail::PointFrame;
using ptmatch::detail::RowReducer;

namespace {

using Matrix = ptmatch::detail::SquareArray<3>;  // by rows
using Column = std::array<double, 3>;

struct Frames {
    PointFrame<3> a;
    PointFrame<3> b;
};

Frames framesOf(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b,
                std::size_t fewest) {
    if (a.size() != b.size()) throw rx3PtMatchTm::BadArgs();
    if (a.size() < fewest) {
        throw rxMathError("the transform of space needs at least " + std::to_string(fewest) +
                          " pairs\n");
    }
    return {ptmatch::detail::pointFrame(a, "a"), ptmatch::detail::pointFrame(b, "b")};
}

/// The transform with this matrix that takes the mean of a to the mean of b.
rx3PtMatchTm throughMeans(const Matrix& m, const Frames& frames) {
    rx3PtMatchTm::Params p;
    for (std::size_t r = 0; r < 3; ++r) {
        std::copy_n(m[r].begin(), 3, p.begin() + static_cast<std::ptrdiff_t>(4 * r));
        p[4 * r + 3] = frames.b.centroid[r] -
                       (m[r][0] * frames.a.centroid[0] + m[r][1] * frames.a.centroid[1] +
                        m[r][2] * frames.a.centroid[2]);
    }
    return rfExactSpaceTransform(p);
}

Column cross(const Column& p, const Column& q) {
    return {differenceOfProducts(p[1], q[2], p[2], q[1]),
            differenceOfProducts(p[2], q[0], p[0], q[2]),
            differenceOfProducts(p[0], q[1], p[1], q[0])};
}

Matrix product(const Matrix& m, const Matrix& n) {
    Matrix result{};
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            result[r][c] = m[r][0] * n[0][c] + m[r][1] * n[1][c] + m[r][2] * n[2][c];
        }
    }
    return result;
}

Matrix transposed(const Matrix& m) {
    return {
        {{m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]}, {m[0][2], m[1][2], m[2][2]}}};
}

Column unit(const Column& v, double length) {
    return {v[0] / length, v[1] / length, v[2] / length};
}

/// What the rounding of the coordinates of so many points, and of the reflections that triangulate
/// them, can make of a singular value of 0, relative to the largest one.
double noiseOfTriangle(const PointFrame<3>& frame, std::size_t numPoints) {
    constexpr double kEps = std::numeric_limits<double>::epsilon();
    return frame.noise + kEps * std::sqrt(static_cast<double>(numPoints));
}

/// The directions in which one side extends most and second most, and a third one that makes them a
/// right-handed system; with the lengths of the columns of coordinates along the first two.
struct Axes {
    Matrix directions;  // [k] direction k
    std::array<double, 2> lengths;

    Column along(const Column& p) const {
        Column q;
        for (std::size_t k = 0; k < 3; ++k) {
            q[k] = directions[k][0] * p[0] + directions[k][1] * p[1] + directions[k][2] * p[2];
        }
        return q;
    }
};

Axes axesOf(std::span<const rxVector<3>> points, const PointFrame<3>& frame) {
    RowReducer<3> reducer;
    for (const rxVector<3>& point : points) reducer.add(frame.inFrame(coordinates(point)));
    const JacobiSvd<3> svd = ptmatch::detail::jacobiSvd(reducer.triangle());
    if (!(svd.sigma[1] > noiseOfTriangle(frame, points.size()) * svd.sigma[0])) {
        throw rxMathError("the points lie on one line\n");
    }
    return {{svd.v[0], svd.v[1], cross(svd.v[0], svd.v[1])}, {svd.sigma[0], svd.sigma[1]}};
}

/// The sums of products of the coordinates of both sides, and of squares of either.
struct Covariance {
    Matrix sums{};  // [r][c] of coordinate r of b and c of a
    double aSquares = 0.0;
    double bSquares = 0.0;
};

/// @param ofA, ofB  give the coordinates of a point of a and b.
template <class OfA, class OfB>
Covariance covarianceOf(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b,
                        const OfA& ofA, const OfB& ofB) {
    Covariance covariance;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Column p = ofA(coordinates(a[i]));
        const Column q = ofB(coordinates(b[i]));
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t c = 0; c < 3; ++c) covariance.sums[r][c] += q[r] * p[c];
        }
        covariance.aSquares += p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
        covariance.bSquares += q[0] * q[0] + q[1] * q[1] + q[2] * q[2];
    }
    return covariance;
}

struct RotationAndScale {
    Matrix rotation;
    double scale;
};

/// The best rotation for the covariance S = U diag(sigma) V^T, U diag(1, 1, d) V^T for d = det U
/// det V, and the best scale with it (Umeyama, Eqs. 40 to 43). Completing the first two columns of
/// U and V to right-handed systems gives the same without asking for signs, and for points in one
/// plane, where the third columns are not determined, too.
/// @param noise  what rounding can have made of a second singular value of 0.
RotationAndScale rotationOf(const Covariance& covariance, const JacobiSvd<3>& svd, double noise) {
    constexpr const char* kOpen = "the pairs leave the rotation open\n";
    if (!(svd.sigma[1] > noise)) throw rxMathError(kOpen);
    const Column u0 = unit(svd.u[0], svd.sigma[0]);
    const Column u1 = unit(svd.u[1], svd.sigma[1]);
    const Column u2 = cross(u0, u1);
    const Column v2 = cross(svd.v[0], svd.v[1]);
    RotationAndScale best{};
    double third = 0.0;  // d sigma[2]
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            best.rotation[r][c] = u0[r] * svd.v[0][c] + u1[r] * svd.v[1][c] + u2[r] * v2[c];
            third += u2[r] * covariance.sums[r][c] * v2[c];
        }
    }
    if (!(svd.sigma[1] + third > noise)) throw rxMathError(kOpen);
    best.scale = (svd.sigma[0] + svd.sigma[1] + third) / covariance.aSquares;
    return best;
}

/// The best rotation of a thin pattern.
///
/// The covariance is taken along the axes of either side: its elements are then as small as the
/// extents they come from, and the rounding of each is in proportion. Along other axes the products
/// of two small extents, which alone tell how a thin pattern is turned about its length, drown in
/// the rounding of the products of the large ones.
RotationAndScale rotationAlongAxes(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b,
                                   const Frames& frames) {
    const Axes aAxes = axesOf(a, frames.a);
    const Axes bAxes = axesOf(b, frames.b);
    const Covariance covariance = covarianceOf(
        a, b, [&](const Column& p) { return aAxes.along(frames.a.inFrame(p)); },
        [&](const Column& q) { return bAxes.along(frames.b.inFrame(q)); });
    const JacobiSvd<3> svd = ptmatch::detail::jacobiSvd(covariance.sums);
    // The product of the extents across, one of them replaced by the rounding; and the less the
    // extents along have to do with each other, the more of the rounding of theirs.
    const double across = frames.b.noise * aAxes.lengths[1] + frames.a.noise * bAxes.lengths[1];
    const double noise = std::sqrt(static_cast<double>(a.size())) * across *
                         (aAxes.lengths[0] * bAxes.lengths[0] / svd.sigma[0]);
    const RotationAndScale best = rotationOf(covariance, svd, noise);
    return {product(transposed(bAxes.directions), product(best.rotation, aAxes.directions)),
            best.scale};
}

/// The best rotation between the sides as they are in their frames, and the best scale with it.
RotationAndScale bestRotation(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b,
                              const Frames& frames) {
    const Covariance covariance = covarianceOf(
        a, b, [&](const Column& p) { return frames.a.inFrame(p); },
        [&](const Column& q) { return frames.b.inFrame(q); });
    const JacobiSvd<3> svd = ptmatch::detail::jacobiSvd(covariance.sums);
    // Neither side is thinner than this, for the second singular value of the covariance is no more
    // than the second of one side times the first of the other.
    constexpr double kThick = 1.0 / 32.0;
    const double aLength = std::sqrt(covariance.aSquares);
    const double bLength = std::sqrt(covariance.bSquares);
    if (!(svd.sigma[1] > kThick * aLength * bLength)) return rotationAlongAxes(a, b, frames);
    const double noise = std::sqrt(static_cast<double>(a.size())) *
                         (frames.b.noise * aLength + frames.a.noise * bLength);
    return rotationOf(covariance, svd, noise);
}

Matrix scaled(const Matrix& m, double factor) {
    Matrix result = m;
    for (auto& row : result) {
        for (double& element : row) element *= factor;
    }
    return result;
}

}  // namespace

rx3PtMatchTm rfFitRigid3D(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b) {
    const Frames frames = framesOf(a, b, 3);
    return throughMeans(bestRotation(a, b, frames).rotation, frames);
}

rx3PtMatchTm rfFitSimilarity3D(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b) {
    const Frames frames = framesOf(a, b, 3);
    const RotationAndScale best = bestRotation(a, b, frames);
    return throughMeans(scaled(best.rotation, best.scale * (frames.a.scale / frames.b.scale)),
                        frames);
}

rx3PtMatchTm rfFitAffine3D(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b) {
    const Frames frames = framesOf(a, b, 4);
    RowReducer<6> reducer;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Column p = frames.a.inFrame(coordinates(a[i]));
        const Column q = frames.b.inFrame(coordinates(b[i]));
        reducer.add({p[0], p[1], p[2], q[0], q[1], q[2]});
    }
    // With R = (A B, 0 C), the matrix that leaves least takes A to B.
    const auto r = reducer.triangle();
    const Matrix left = {
        {{r[0][0], r[0][1], r[0][2]}, {0.0, r[1][1], r[1][2]}, {0.0, 0.0, r[2][2]}}};
    const JacobiSvd<3> svd = ptmatch::detail::jacobiSvd(left);
    if (!(svd.sigma[2] > noiseOfTriangle(frames.a, a.size()) * svd.sigma[0])) {
        throw rxMathError("the points a lie in one plane\n");
    }
    // That part of b which a linear transform of a can explain.
    const Matrix right = {
        {{r[0][3], r[0][4], r[0][5]}, {r[1][3], r[1][4], r[1][5]}, {r[2][3], r[2][4], r[2][5]}}};
    const std::array<double, 3> sigma = ptmatch::detail::jacobiSvd(right).sigma;
    if (!(sigma[2] > noiseOfTriangle(frames.b, b.size()) * sigma[0])) {
        throw rxMathError("the points b lie in one plane\n");
    }
    Matrix m;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t k = 3; k > 0;) {
            --k;
            double sum = r[k][3 + row];
            for (std::size_t j = k + 1; j < 3; ++j) sum -= r[k][j] * m[row][j];
            m[row][k] = sum / r[k][k];
        }
    }
    return throughMeans(scaled(m, frames.a.scale / frames.b.scale), frames);
}

rx3PtMatchTm rfExactSpaceTransform(const rx3PtMatchTm::Params& a2b) {
    Matrix m;
    for (std::size_t r = 0; r < 3; ++r) std::copy_n(&a2b[4 * r], 3, m[r].begin());
    const BalancedAdjugate adjugate = ptmatch::detail::balancedAdjugate(m);
    if (adjugate.isSingular) {
        throw rxMathError("a transform of space is singular or not finite\n");
    }

    rx3PtMatchTm exact;
    exact.a2bParams_ = a2b;
    for (std::size_t r = 0; r < 3; ++r) {
        double* const row = &exact.b2aParams_[4 * r];
        for (std::size_t c = 0; c < 3; ++c) {
            row[c] = std::scalbn(adjugate.elements[r][c] / adjugate.determinant,
                                 adjugate.exponent(r, c));
        }
        row[3] = -(row[0] * a2b[3] + row[1] * a2b[7] + row[2] * a2b[11]);
    }
    const auto finite = [](double v) { return std::isfinite(v); };
    if (!std::all_of(a2b.begin(), a2b.end(), finite) ||
        !std::all_of(exact.b2aParams_.begin(), exact.b2aParams_.end(), finite)) {
        throw rxMathError("a transform of space has no finite inverse\n");
    }
    return exact;
}
