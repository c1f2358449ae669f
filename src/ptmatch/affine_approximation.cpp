#include "ptmatch/affine_approximation.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "foundation/exception.h"

namespace {

constexpr int kPointsPerSide = 6;

// The fit sums squares of coordinates of both planes, and products of the sums.
constexpr double kLargest = 1e140;

std::array<rxVector<2>, 4> cornersOf(const rxRectangle<double>& area) {
    const rxVector<2> ul = area.ul();
    const rxVector<2> lr = area.lr();
    return {ul, rxVector<2>(lr.x(), ul.y()), lr, rxVector<2>(ul.x(), lr.y())};
}

bool isWithinRange(const rxVector<2>& p) {
    return std::abs(p.x()) <= kLargest && std::abs(p.y()) <= kLargest;
}

bool isFinite(const rx2PTm::Params& p) {
    return std::all_of(p.begin(), p.end(), [](double v) { return std::isfinite(v); });
}

/// Whether w has one sign over the rectangle. It is linear, so its extremes are at the corners.
bool liesOnOneSideOfHorizon(const rx2PTm::Params& p, const std::array<rxVector<2>, 4>& corners) {
    const auto w = [&](const rxVector<2>& v) { return p[6] * v.x() + p[7] * v.y() + 1.0; };
    return std::all_of(corners.begin(), corners.end(), [&](const auto& v) { return w(v) > 0.0; }) ||
           std::all_of(corners.begin(), corners.end(), [&](const auto& v) { return w(v) < 0.0; });
}

void requireFitForApproximation(const rx2PTm& tm, const rxRectangle<double>& area) {
    const std::array<rxVector<2>, 4> corners = cornersOf(area);
    if (!isFinite(tm.a2bParams()) || !std::all_of(corners.begin(), corners.end(), isWithinRange)) {
        throw rxMathError(
            "a parameter is not finite, or a corner of the rectangle not, or beyond 1e140\n");
    }
    if (!liesOnOneSideOfHorizon(tm.a2bParams(), corners)) {
        throw rxMathError("the perspective transform takes points of the rectangle to infinity\n");
    }
    // The images of all its points lie between these.
    if (!std::all_of(corners.begin(), corners.end(),
                     [&](const auto& v) { return isWithinRange(tm.a2b(v)); })) {
        throw rxMathError("the image of a corner of the rectangle is beyond 1e140\n");
    }
}

}  // namespace

rx2PtMatchTm rfAffineApproximation(const rx2PTm& tm, const rxRectangle<double>& area) {
    requireFitForApproximation(tm, area);
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
