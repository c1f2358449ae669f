#include "ptmatch/perspective_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "foundation/exception.h"
#include "ptmatch/balanced_adjugate.h"
#include "ptmatch/jacobi_svd.h"
#include "ptmatch/point_frame.h"
#include "ptmatch/row_reducer.h"

using ptmatch::detail::BalancedAdjugate;
using ptmatch::detail::coordinates;
using ptmatch::detail::JacobiSvd;
using ptmatch::detail::PointFrame;
using ptmatch::detail::RowReducer;

namespace {

/// By rows; (x, y, 1) goes to a multiple of (x', y', 1).
using Homography = ptmatch::detail::SquareArray<3>;

Homography product(const Homography& second, const Homography& first) {
    Homography both;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            both[r][c] = second[r][0] * first[0][c] + second[r][1] * first[1][c] +
                         second[r][2] * first[2][c];
        }
    }
    return both;
}

Homography homographyOf(const rx2PTm::Params& p) {
    return {{{p[0], p[1], p[2]}, {p[3], p[4], p[5]}, {p[6], p[7], 1.0}}};
}

bool areFinite(const rx2PTm::Params& p) {
    return std::all_of(p.begin(), p.end(), [](double v) { return std::isfinite(v); });
}

/// The homography divided by its last element.
rx2PTm::Params paramsOf(const Homography& h, const char* without) {
    rx2PTm::Params p;
    for (std::size_t k = 0; k < p.size(); ++k) p[k] = h[k / 3][k % 3] / h[2][2];
    if (!areFinite(p)) throw rxMathError(without);  // also when the divisor was 0
    return p;
}

struct Equations {
    PointFrame<2> a;
    PointFrame<2> b;
    JacobiSvd<9> svd;

    /// What rounding of the coordinates can have made of a smallest but one singular value of 0,
    /// relative to the largest one: 9 elements a row, of sums of products of two coordinates.
    double noise() const { return 4.0 * (a.noise + b.noise); }
    bool areOpen() const { return !(svd.sigma[7] > noise() * svd.sigma[0]); }
};

Equations equationsOf(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) {
    if (a.size() != b.size()) throw rx2PTm::BadArgs();
    if (a.size() < 4) throw rxMathError("a perspective transform needs at least 4 pairs\n");
    const PointFrame<2> aFrame = ptmatch::detail::pointFrame(a, "a");
    const PointFrame<2> bFrame = ptmatch::detail::pointFrame(b, "b");
    RowReducer<9> reducer;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto [x, y] = aFrame.inFrame(coordinates(a[i]));
        const auto [u, v] = bFrame.inFrame(coordinates(b[i]));
        reducer.add({x, y, 1.0, 0.0, 0.0, 0.0, -u * x, -u * y, -u});
        reducer.add({0.0, 0.0, 0.0, x, y, 1.0, -v * x, -v * y, -v});
    }
    return {aFrame, bFrame, ptmatch::detail::jacobiSvd(reducer.triangle())};
}

/// Whether errors of an eps in each of the parameters move no image of the points by more than a
/// thousandth of the mean distance of the images from their mean.
bool parametersHold(const rx2PTm::Params& p, std::span<const rxVector<2>> points,
                    const PointFrame<2>& ofImages) {
    constexpr double kEps = std::numeric_limits<double>::epsilon();
    const double most = 1e-3 * std::sqrt(2.0) / ofImages.scale;
    return std::all_of(points.begin(), points.end(), [&](const rxVector<2>& point) {
        const auto [x, y] = coordinates(point);
        const double w = p[6] * x + p[7] * y + 1.0;
        const double wTerms = std::abs(p[6] * x) + std::abs(p[7] * y) + 1.0;
        const auto isHeld = [&, x = x, y = y](double px, double py, double p0) {
            const double image = (px * x + py * y + p0) / w;
            const double terms = std::abs(px * x) + std::abs(py * y) + std::abs(p0);
            // Not so, either, when w is 0 or one of these not a number.
            return kEps * (terms + std::abs(image) * wTerms) / std::abs(w) <= most;
        };
        return isHeld(p[0], p[1], p[2]) && isHeld(p[3], p[4], p[5]);
    });
}

/// Coordinates far from the origin can be good, and the equations in their frames too, and yet the
/// eight parameters, which refer to the origins, not hold the transform.
void requireThatParametersHold(const rx2PTm::Params& p, std::span<const rxVector<2>> points,
                               const PointFrame<2>& ofImages) {
    if (!parametersHold(p, points, ofImages)) {
        throw rxMathError(
            "the points lie too far from the origin for the eight parameters of a perspective "
            "transform: move the origins\n");
    }
}

Homography toFrame(const PointFrame<2>& f) {
    return {{{f.scale, 0.0, -f.scale * f.centroid[0]},
             {0.0, f.scale, -f.scale * f.centroid[1]},
             {0.0, 0.0, 1.0}}};
}

/// Times the scale.
Homography fromFrame(const PointFrame<2>& f) {
    return {{{1.0, 0.0, f.scale * f.centroid[0]},
             {0.0, 1.0, f.scale * f.centroid[1]},
             {0.0, 0.0, f.scale}}};
}

}  // namespace

rx2PTm rfExactPerspective(const rx2PTm::Params& a2b) {
    const BalancedAdjugate adjugate = ptmatch::detail::balancedAdjugate(homographyOf(a2b));
    if (adjugate.isSingular) {
        throw rxMathError("a perspective transform is singular or not finite\n");
    }
    rx2PTm exact;
    exact.a2bParams_ = a2b;
    for (std::size_t k = 0; k < a2b.size(); ++k) {
        const std::size_t r = k / 3;
        const std::size_t c = k % 3;
        exact.b2aParams_[k] = std::scalbn(adjugate.elements[r][c] / adjugate.elements[2][2],
                                          adjugate.exponent(r, c) - adjugate.exponent(2, 2));
    }
    if (!areFinite(exact.b2aParams_)) {
        throw rxMathError(
            "the inverse of a perspective transform has no eight-parameter form: it takes the "
            "origin to infinity\n");
    }
    return exact;
}

rx2PTm rfConcatPerspective(const rx2PTm& first, const rx2PTm& second) {
    const Homography both =
        product(homographyOf(second.a2bParams()), homographyOf(first.a2bParams()));
    return rfExactPerspective(
        paramsOf(both,
                 "two perspective transforms together have no eight-parameter form: they take "
                 "the origin to infinity\n"));
}

rx2PTm rfFitPerspectiveNormalized(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) {
    const Equations equations = equationsOf(a, b);
    if (equations.areOpen()) {
        throw rxMathError("the pairs leave the perspective transform open\n");
    }
    const std::array<double, 9>& h = equations.svd.v[8];
    const Homography inFrames = {{{h[0], h[1], h[2]}, {h[3], h[4], h[5]}, {h[6], h[7], h[8]}}};
    // The elements, of unit length together, are known no better than the coordinates times the
    // condition of the equations: a row of zeros comes out as a row of such errors.
    const double error = equations.noise() * equations.svd.sigma[0] / equations.svd.sigma[7];
    const std::array<double, 3> sigma = ptmatch::detail::jacobiSvd(inFrames).sigma;
    if (!(sigma[2] > error * sigma[0])) {
        throw rxMathError("the pairs determine a singular perspective transform\n");
    }
    const Homography inPlanes =
        product(fromFrame(equations.b), product(inFrames, toFrame(equations.a)));
    const rx2PTm::Params params =
        paramsOf(inPlanes,
                 "the pairs determine a perspective transform without eight-parameter "
                 "form: it takes the origin to infinity\n");
    requireThatParametersHold(params, a, equations.b);
    const rx2PTm tm = rfExactPerspective(params);
    requireThatParametersHold(tm.b2aParams(), b, equations.a);
    return tm;
}

double rfPerspectiveConditioning(std::span<const rxVector<2>> a, std::span<const rxVector<2>> b) {
    const Equations equations = equationsOf(a, b);
    if (equations.areOpen()) return std::numeric_limits<double>::infinity();
    return equations.svd.sigma[0] / equations.svd.sigma[7];
}
