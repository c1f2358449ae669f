#include "ptmatch/space_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "foundation/exception.h"
#include "ptmatch/difference_of_products.h"
#include "ptmatch/jacobi_svd.h"
#include "ptmatch/point_frame.h"
#include "ptmatch/row_reducer.h"

using ptmatch::detail::coordinates;
using ptmatch::detail::differenceOfProducts;
using ptmatch::detail::JacobiSvd;
using ptmatch::detail::PointFrame;
using ptmatch::detail::RowReducer;

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();

using Matrix = ptmatch::detail::SquareArray<3>;  // by rows
using Column = std::array<double, 3>;

struct Frames {
    PointFrame<3> a;
    PointFrame<3> b;

    double noise() const { return a.noise + b.noise; }
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

Column unit(const Column& v, double length) {
    return {v[0] / length, v[1] / length, v[2] / length};
}

struct RotationAndScale {
    Matrix rotation;
    double scale;
};

/// The best rotation between the sides as they are in their frames, and the best scale with it.
///
/// With the covariance of the sides S = U diag(sigma) V^T, the rotation is U diag(1, 1, d) V^T for
/// d = det U det V (Umeyama, Eqs. 40 and 43). Completing the first two columns of U and V to
/// right-handed systems gives the same without asking for signs, and for points in one plane, where
/// the third columns are not determined, too.
RotationAndScale bestRotation(std::span<const rxVector<3>> a, std::span<const rxVector<3>> b,
                              const Frames& frames) {
    const auto n = static_cast<double>(a.size());
    Matrix covariance{};
    double aVariance = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Column p = frames.a.inFrame(coordinates(a[i]));
        const Column q = frames.b.inFrame(coordinates(b[i]));
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t c = 0; c < 3; ++c) covariance[r][c] += q[r] * p[c];
        }
        aVariance += p[0] * p[0] + p[1] * p[1] + p[2] * p[2];
    }
    const JacobiSvd<3> svd = ptmatch::detail::jacobiSvd(covariance);
    const double noise = frames.noise() * svd.sigma[0] + kEps * n;
    if (!(svd.sigma[1] > noise)) throw rxMathError("the points lie on one line\n");

    const Column u0 = unit(svd.u[0], svd.sigma[0]);
    const Column u1 = unit(svd.u[1], svd.sigma[1]);
    const Column u2 = cross(u0, u1);
    const Column v2 = cross(svd.v[0], svd.v[1]);
    RotationAndScale best{};
    double third = 0.0;  // d sigma[2]
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            best.rotation[r][c] = u0[r] * svd.v[0][c] + u1[r] * svd.v[1][c] + u2[r] * v2[c];
            third += u2[r] * covariance[r][c] * v2[c];
        }
    }
    if (!(svd.sigma[1] + third > noise)) throw rxMathError("the pairs leave the rotation open\n");
    best.scale = (svd.sigma[0] + svd.sigma[1] + third) / aVariance;
    return best;
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
    if (!(svd.sigma[2] > frames.a.noise * svd.sigma[0])) {
        throw rxMathError("the points a lie in one plane\n");
    }
    Matrix m;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t k = 3; k-- > 0;) {
            double sum = r[k][3 + row];
            for (std::size_t j = k + 1; j < 3; ++j) sum -= r[k][j] * m[row][j];
            m[row][k] = sum / r[k][k];
        }
    }
    // What the rounding of the coordinates may have made of a singular value of 0.
    const double error = frames.noise() * svd.sigma[0] / svd.sigma[2];
    const std::array<double, 3> sigma = ptmatch::detail::jacobiSvd(m).sigma;
    if (!(sigma[2] > error * sigma[0])) throw rxMathError("the points b lie in one plane\n");
    return throughMeans(scaled(m, frames.a.scale / frames.b.scale), frames);
}

rx3PtMatchTm rfExactSpaceTransform(const rx3PtMatchTm::Params& a2b) {
    const auto m = [&](std::size_t r, std::size_t c) { return a2b[4 * (r % 3) + c % 3]; };
    Matrix adjugate;
    double determinant = 0.0;
    double size = 0.0;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            adjugate[r][c] = differenceOfProducts(m(c + 1, r + 1), m(c + 2, r + 2), m(c + 1, r + 2),
                                                  m(c + 2, r + 1));
        }
        determinant += m(0, r) * adjugate[r][0];
        size += std::abs(m(0, r) * adjugate[r][0]);
    }
    if (!(std::abs(determinant) > 8.0 * kEps * size)) {
        throw rxMathError("a transform of space is singular or not finite\n");
    }

    rx3PtMatchTm exact;
    exact.a2bParams_ = a2b;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            exact.b2aParams_[4 * r + c] = adjugate[r][c] / determinant;
        }
        const double* row = &exact.b2aParams_[4 * r];
        exact.b2aParams_[4 * r + 3] = -(row[0] * a2b[3] + row[1] * a2b[7] + row[2] * a2b[11]);
    }
    const auto finite = [](double v) { return std::isfinite(v); };
    if (!std::all_of(a2b.begin(), a2b.end(), finite) ||
        !std::all_of(exact.b2aParams_.begin(), exact.b2aParams_.end(), finite)) {
        throw rxMathError("a transform of space has no finite inverse\n");
    }
    return exact;
}
