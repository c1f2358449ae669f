#include "ptmatch/fit_residual.h"

#include <cmath>

#include "ptmatch/point_frame.h"

using ptmatch::detail::coordinates;

namespace {

template <class Tm, class Point>
rxFitResidual residualOf(const Tm& tm, std::span<const Point> a, std::span<const Point> b) {
    if (a.size() != b.size()) throw typename Tm::BadArgs();
    rxFitResidual residual;
    if (a.empty()) return residual;

    double sum = 0.0;
    double largestSquare = -1.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto image = coordinates(tm.a2b(a[i]));
        const auto expected = coordinates(b[i]);
        double square = 0.0;
        for (std::size_t k = 0; k < image.size(); ++k) {
            square += (image[k] - expected[k]) * (image[k] - expected[k]);
        }
        sum += square;
        // Nothing follows the first one that is not a number.
        if (square > largestSquare || (std::isnan(square) && !std::isnan(largestSquare))) {
            largestSquare = square;
            residual.worst = i;
        }
    }
    residual.rms = std::sqrt(sum / static_cast<double>(a.size()));
    residual.largest = std::sqrt(largestSquare);
    return residual;
}

}  // namespace

rxFitResidual rfFitResidual(const rx2PtMatchTm& tm, std::span<const rxVector<2>> a,
                            std::span<const rxVector<2>> b) {
    return residualOf(tm, a, b);
}

rxFitResidual rfFitResidual(const rx2PTm& tm, std::span<const rxVector<2>> a,
                            std::span<const rxVector<2>> b) {
    return residualOf(tm, a, b);
}

rxFitResidual rfFitResidual(const rx3PtMatchTm& tm, std::span<const rxVector<3>> a,
                            std::span<const rxVector<3>> b) {
    return residualOf(tm, a, b);
}
