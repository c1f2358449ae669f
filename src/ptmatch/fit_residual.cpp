#include "ptmatch/fit_residual.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "ptmatch/point_frame.h"

using ptmatch::detail::coordinates;

namespace {

/// Over the distances times 2^-exponent.
struct Sums {
    double squares = 0.0;
    double largestSquare = -1.0;
    double largestDifference = 0.0;  // of coordinates; without those that are not numbers
    std::size_t worst = 0;
};

template <class Tm, class Point>
Sums sumsOf(const Tm& tm, std::span<const Point> a, std::span<const Point> b, int exponent) {
    Sums sums;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto image = coordinates(tm.a2b(a[i]));
        const auto expected = coordinates(b[i]);
        double square = 0.0;
        for (std::size_t k = 0; k < image.size(); ++k) {
            double difference = image[k] - expected[k];
            sums.largestDifference = std::max(sums.largestDifference, std::abs(difference));
            if (exponent != 0) difference = std::scalbn(difference, -exponent);
            square += difference * difference;
        }
        sums.squares += square;
        // Nothing follows the first one that is not a number.
        if (square > sums.largestSquare ||
            (std::isnan(square) && !std::isnan(sums.largestSquare))) {
            sums.largestSquare = square;
            sums.worst = i;
        }
    }
    return sums;
}

template <class Tm, class Point>
rxFitResidual residualOf(const Tm& tm, std::span<const Point> a, std::span<const Point> b) {
    if (a.size() != b.size()) throw typename Tm::BadArgs();
    if (a.empty()) return {};

    int exponent = 0;
    Sums sums = sumsOf(tm, a, b, exponent);
    // Squares of very small or very large distances have left the range of double.
    if (sums.squares < 1e-280 || std::isinf(sums.squares)) {
        if (sums.largestDifference > 0.0 && std::isfinite(sums.largestDifference)) {
            (void)std::frexp(sums.largestDifference, &exponent);
            sums = sumsOf(tm, a, b, exponent);
        }
    }
    const double meanSquare = sums.squares / static_cast<double>(a.size());
    return {std::scalbn(std::sqrt(meanSquare), exponent),
            std::scalbn(std::sqrt(sums.largestSquare), exponent), sums.worst};
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
