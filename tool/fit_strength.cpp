#include "fit_strength.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

#include "point_spread.h"
#include "ptmatch/least_squares.h"

namespace ptmatch::tool {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kMostUnknowns = 12;

// How the unknowns move one coordinate of an image.
using Gradient = std::array<double, kMostUnknowns>;

// What a gradient is written in: the points about their mean in units of their reach, and of a
// perspective transform the images likewise, and the denominator relative to that at the mean. A
// change of these units mixes the unknowns and changes nothing else.
class Equations {
  public:
    Equations(const FitModelTraits& traits, std::span<const Coordinates> points,
              const HomogeneousMatrix& matrix)
        : traits_(traits), matrix_(matrix), from_(spreadOf(points, traits.dimensions)) {
        if (traits.model != FitModel::kPerspective) return;
        std::vector<Coordinates> images;
        images.reserve(points.size());
        for (const Coordinates& p : points) images.push_back(mapped(matrix, p));
        to_ = spreadOf(images, traits.dimensions);
        meanDenominator_ = denominatorAt(matrix, from_.mean);
    }

    const PointSpread& from() const { return from_; }
    double denominator(const Coordinates& point) const {
        return traits_.model == FitModel::kPerspective
                   ? denominatorAt(matrix_, point) / meanDenominator_
                   : 1.0;
    }

    // Whether a point lies where the errors of a perspective transform are looked at: before the
    // horizon, and its image no farther out than those of the points.
    bool isNearPoints(const Coordinates& point) const {
        if (traits_.model != FitModel::kPerspective) return true;
        if (!(denominator(point) > 0.0)) return false;
        const Coordinates image = mapped(matrix_, point);
        return std::hypot(image[0] - to_.mean[0], image[1] - to_.mean[1]) <= to_.reach;
    }

    // One gradient for each coordinate of the image.
    std::array<Gradient, 3> gradientsAt(const Coordinates& point) const {
        Coordinates x{};
        for (std::size_t k = 0; k < traits_.dimensions; ++k) {
            x[k] = (point[k] - from_.mean[k]) / from_.reach;
        }
        if (traits_.model == FitModel::kPerspective) return ofPerspective(point, x);
        return traits_.isSimilarity ? ofSimilarity(x) : ofAffine(x);
    }

  private:
    // Translation, rotation, and a scale if it is free. That the images are turned and scaled
    // against the points does not matter to the sum of squares.
    std::array<Gradient, 3> ofSimilarity(const Coordinates& x) const {
        std::array<Gradient, 3> g{};
        const std::size_t d = traits_.dimensions;
        for (std::size_t k = 0; k < d; ++k) g[k][k] = 1.0;
        if (d == 2) {
            g[0][2] = -x[1];
            g[1][2] = x[0];
        } else {
            g[1][3] = -x[2];
            g[2][3] = x[1];
            g[0][4] = x[2];
            g[2][4] = -x[0];
            g[0][5] = -x[1];
            g[1][5] = x[0];
        }
        const bool isRigid = traits_.unknowns == d * (d + 1) / 2;
        for (std::size_t k = 0; k < d && !isRigid; ++k) g[k][traits_.unknowns - 1] = x[k];
        return g;
    }

    std::array<Gradient, 3> ofAffine(const Coordinates& x) const {
        std::array<Gradient, 3> g{};
        const std::size_t d = traits_.dimensions;
        for (std::size_t k = 0; k < d; ++k) {
            for (std::size_t j = 0; j < d; ++j) g[k][k * (d + 1) + j] = x[j];
            g[k][k * (d + 1) + d] = 1.0;
        }
        return g;
    }

    std::array<Gradient, 3> ofPerspective(const Coordinates& point, const Coordinates& x) const {
        std::array<Gradient, 3> g{};
        const Coordinates image = mapped(matrix_, point);
        const double w = denominator(point);
        for (std::size_t k = 0; k < 2; ++k) {
            const double u = (image[k] - to_.mean[k]) / to_.reach;
            g[k][3 * k] = x[0] / w;
            g[k][3 * k + 1] = x[1] / w;
            g[k][3 * k + 2] = 1.0 / w;
            g[k][6] = -u * x[0] / w;
            g[k][7] = -u * x[1] / w;
        }
        return g;
    }

    const FitModelTraits& traits_;
    const HomogeneousMatrix& matrix_;
    PointSpread from_;
    PointSpread to_;
    double meanDenominator_ = 1.0;
};

// The inverse of the normal matrix; without rows when it has none.
rxMatrixExt cofactors(const Equations& equations, std::span<const Coordinates> points,
                      const FitModelTraits& traits) {
    const auto size = static_cast<long>(traits.unknowns);
    rxMatrixExt normal(size, size);
    for (const Coordinates& p : points) {
        const std::array<Gradient, 3> gradients = equations.gradientsAt(p);
        for (std::size_t k = 0; k < traits.dimensions; ++k) {
            for (long r = 0; r < size; ++r) {
                double* const row = normal.pointToRow(r);
                const double factor = gradients[k][static_cast<std::size_t>(r)];
                for (long c = 0; c < size; ++c) {
                    row[c] += factor * gradients[k][static_cast<std::size_t>(c)];
                }
            }
        }
    }
    rxMatrixExt inverse(size, size);
    for (long c = 0; c < size; ++c) {
        std::vector<double> unit(traits.unknowns, 0.0);
        unit[static_cast<std::size_t>(c)] = 1.0;
        const rxLeastSquaresSolution solution = rfSolveLeastSquares(normal, unit);
        if (!solution.isDetermined()) return {};
        for (long r = 0; r < size; ++r) {
            inverse.element(r, c, solution.x[static_cast<std::size_t>(r)]);
        }
    }
    return inverse;
}

// How the errors of the coordinates of an image spread and hang together, for pairs with errors of
// variance 1.
rxMatrixExt covariance(const std::array<Gradient, 3>& gradients, const rxMatrixExt& inverse,
                       const FitModelTraits& traits) {
    const auto dimensions = static_cast<long>(traits.dimensions);
    rxMatrixExt result(dimensions, dimensions);
    for (std::size_t k = 0; k < traits.dimensions; ++k) {
        std::array<double, kMostUnknowns> product{};
        for (std::size_t r = 0; r < traits.unknowns; ++r) {
            const double* const row = inverse.pointToRow(static_cast<long>(r));
            for (std::size_t c = 0; c < traits.unknowns; ++c)
                product[r] += row[c] * gradients[k][c];
        }
        for (std::size_t j = 0; j < traits.dimensions; ++j) {
            double sum = 0.0;
            for (std::size_t r = 0; r < traits.unknowns; ++r) sum += gradients[j][r] * product[r];
            result.element(static_cast<long>(j), static_cast<long>(k), sum);
        }
    }
    return result;
}

double meanVariance(const rxMatrixExt& covariance) {
    double sum = 0.0;
    for (long k = 0; k < covariance.rows(); ++k) sum += covariance.pointToRow(k)[k];
    return sum / static_cast<double>(covariance.rows());
}

// Of the variances along all directions. A mean over them would hide that a pair alone holds one.
double largestVariance(const rxMatrixExt& covariance) {
    for (long r = 0; r < covariance.rows(); ++r) {
        for (long c = 0; c < covariance.cols(); ++c) {
            if (!std::isfinite(covariance.pointToRow(r)[c])) return kInfinity;
        }
    }
    return rfSingularValues(covariance).front();
}

// Directions less than 8 degrees from any other one, in space 15.
std::vector<Coordinates> directions(std::size_t dimensions) {
    constexpr int kAround = 24;
    constexpr double kStep = 2.0 * std::numbers::pi / kAround;
    std::vector<Coordinates> result;
    for (int latitude = 0; latitude <= (dimensions == 2 ? 0 : kAround / 4); ++latitude) {
        const double height = std::sin(kStep * latitude);
        const double radius = std::cos(kStep * latitude);
        for (int k = 0; k < kAround; ++k) {
            const double angle = kStep * k;
            // The lower half of a sphere would repeat the upper one: errors grow alike both ways.
            result.push_back({radius * std::cos(angle), radius * std::sin(angle),
                              dimensions == 2 ? 0.0 : height});
        }
    }
    return result;
}

// The point of the rim in this direction, or the last one towards it that is near the points: the
// set of these is convex and holds the mean.
Coordinates rimPoint(const Equations& equations, const Coordinates& direction) {
    const PointSpread& from = equations.from();
    const auto at = [&](double share) {
        Coordinates p{};
        for (std::size_t k = 0; k < 3; ++k) {
            p[k] = from.mean[k] + share * from.reach * direction[k];
        }
        return p;
    };
    if (equations.isNearPoints(at(1.0))) return at(1.0);
    constexpr int kHalvings = 40;
    double near = 0.0;
    double far = 1.0;
    for (int k = 0; k < kHalvings; ++k) {
        const double middle = 0.5 * (near + far);
        (equations.isNearPoints(at(middle)) ? near : far) = middle;
    }
    return at(near);
}

}  // namespace

FitStrength strengthOf(const FitModelTraits& traits, std::span<const Coordinates> points,
                       const HomogeneousMatrix& matrix) {
    const Equations equations(traits, points, matrix);
    double smallest = kInfinity;
    for (const Coordinates& p : points) smallest = std::min(smallest, equations.denominator(p));
    FitStrength strength{kInfinity, std::vector<double>(points.size(), 1.0), !(smallest > 0.0)};
    if (strength.isTorn) return strength;
    const rxMatrixExt inverse = cofactors(equations, points, traits);
    if (inverse.isBound() == 0) return strength;

    for (std::size_t i = 0; i < points.size(); ++i) {
        const double leverage =
            largestVariance(covariance(equations.gradientsAt(points[i]), inverse, traits));
        strength.leverages[i] = std::clamp(leverage, 0.0, 1.0);
    }
    double largest = 0.0;
    for (const Coordinates& direction : directions(traits.dimensions)) {
        const Coordinates p = rimPoint(equations, direction);
        const double variance = meanVariance(covariance(equations.gradientsAt(p), inverse, traits));
        // Negative: an inverse that rounding has spoilt.
        if (!(variance >= 0.0)) return strength;
        largest = std::max(largest, variance);
    }
    strength.errorGrowth = std::sqrt(largest);
    return strength;
}

}  // namespace ptmatch::tool
