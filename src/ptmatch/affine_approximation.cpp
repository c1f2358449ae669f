#include "ptmatch/affine_approximation.h"

#include <algorithm>
#include <array>

#include "foundation/exception.h"

namespace {

constexpr int kPointsPerSide = 6;

/// Whether w has one sign over the rectangle. It is linear, so its extremes are at the corners.
bool liesOnOneSideOfHorizon(const rx2PTm::Params& p, const rxRectangle<double>& area) {
    const rxVector<2> ul = area.ul();
    const rxVector<2> lr = area.lr();
    const auto w = [&](double x, double y) { return p[6] * x + p[7] * y + 1.0; };
    const std::array corners = {w(ul.x(), ul.y()), w(lr.x(), ul.y()), w(lr.x(), lr.y()),
                                w(ul.x(), lr.y())};
    return std::all_of(corners.begin(), corners.end(), [](double v) { return v > 0.0; }) ||
           std::all_of(corners.begin(), corners.end(), [](double v) { return v < 0.0; });
}

}  // namespace

rx2PtMatchTm rfAffineApproximation(const rx2PTm& tm, const rxRectangle<double>& area) {
    if (!liesOnOneSideOfHorizon(tm.a2bParams(), area)) {
        throw rxMathError("the perspective transform takes points of the rectangle to infinity\n");
    }
    const auto at = [](double start, double extent, int k) {
        return start + extent * k / (kPointsPerSide - 1);
    };
    rx2PtMatchTm affine;
    for (int j = 0; j < kPointsPerSide; ++j) {
        for (int i = 0; i < kPointsPerSide; ++i) {
            const rxVector<2> point(at(area.x(), area.width(), i), at(area.y(), area.height(), j));
            affine.update(point, tm.a2b(point));
        }
    }
    affine.fit(6);
    return affine;
}
