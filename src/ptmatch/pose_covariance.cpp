#include "ptmatch/pose_covariance.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/exception.h"
#include "ptmatch/point_matcher_defs.h"

namespace {

using BadParams = rxPointMatcherDefs::BadParams;
using Points = std::span<const rxVector<2>>;
using Matrix4 = std::array<std::array<double, 4>, 4>;

constexpr int kRigid = 3;
constexpr int kSimilarity = 4;
constexpr int kAffine = 6;

/// The sums of products of points about their mean.
struct Spread {
    rxVector<2> mean;
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
};

Spread spreadOf(Points points) {
    const auto count = static_cast<double>(points.size());
    double x = 0.0;
    double y = 0.0;
    for (const rxVector<2>& p : points) {
        x += p.x();
        y += p.y();
    }
    Spread spread{rxVector<2>(x / count, y / count)};
    for (const rxVector<2>& p : points) {
        const rxVector<2> w = p - spread.mean;
        spread.xx += w.x() * w.x();
        spread.xy += w.x() * w.y();
        spread.yy += w.y() * w.y();
    }
    return spread;
}

double estimatedVariance(const rxXform<2>& dataFromModel, Points model, Points data, int dof) {
    const double freedom = 2.0 * static_cast<double>(model.size()) - dof;
    if (freedom <= 0.0) return std::numeric_limits<double>::infinity();
    double sum = 0.0;
    for (std::size_t i = 0; i < model.size(); ++i) {
        const rxVector<2> residual = dataFromModel * model[i] - data[i];
        sum += residual.x() * residual.x() + residual.y() * residual.y();
    }
    if (!std::isfinite(sum)) throw rxMathError("the residuals are beyond the range of squares\n");
    return sum / freedom;
}

/// Covariance of (M00, M01, M10, M11) for moves of the matrix along one direction of parameters.
void addDirection(const std::array<double, 4>& direction, double variance, Matrix4& covariance) {
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t k = 0; k < 4; ++k) {
            // A factor of 0 keeps an infinite variance out.
            if (direction[i] == 0.0 || direction[k] == 0.0) continue;
            covariance[i][k] += direction[i] * direction[k] * variance;
        }
    }
}

Matrix4 matrixCovariance(const rxMatrix<2>& m, const Spread& spread, int dof, double variance) {
    Matrix4 covariance{};
    const double squares = spread.xx + spread.yy;
    if (dof == kAffine) {
        const double determinant = spread.xx * spread.yy - spread.xy * spread.xy;
        const std::array<double, 3> inverse = {spread.yy / determinant, -spread.xy / determinant,
                                               spread.xx / determinant};
        for (std::size_t row = 0; row < 4; row += 2) {
            covariance[row][row] = variance * inverse[0];
            // Of an infinite variance, too, elements that do not depend on each other have none.
            covariance[row][row + 1] = covariance[row + 1][row] =
                inverse[1] == 0.0 ? 0.0 : variance * inverse[1];
            covariance[row + 1][row + 1] = variance * inverse[2];
        }
    } else if (dof == kSimilarity) {
        addDirection({1.0, 0.0, 0.0, 1.0}, variance / squares, covariance);
        addDirection({0.0, -1.0, 1.0, 0.0}, variance / squares, covariance);
    } else {
        // The derivative of the matrix by the rotation, of a scale that was 1 or is held.
        const double scale2 = m.element(0, 0) * m.element(0, 0) + m.element(1, 0) * m.element(1, 0);
        addDirection({-m.element(1, 0), -m.element(1, 1), m.element(0, 0), m.element(0, 1)},
                     variance / (scale2 * squares), covariance);
    }
    return covariance;
}

/// Standard deviation of a M00 + b M10.
double sigmaAlong(double a, double b, const Matrix4& covariance) {
    double sum = 0.0;
    // Written out without a term for a factor of 0, whose covariance may be infinite.
    if (a != 0.0) sum += a * a * covariance[0][0];
    if (b != 0.0) sum += b * b * covariance[2][2];
    if (a != 0.0 && b != 0.0) sum += 2.0 * a * b * covariance[0][2];
    return std::sqrt(std::max(sum, 0.0));
}

void checkArguments(Points model, Points data, int dof, double sigma) {
    if (model.size() != data.size()) throw BadParams("the sequences of a pair differ in length\n");
    if (dof != kRigid && dof != kSimilarity && dof != kAffine) {
        throw BadParams("a pose has a covariance for 3, 4 or 6 degrees of freedom\n");
    }
    // Its square is what is worked with.
    if (!(sigma == 0.0 || (sigma >= 1e-150 && sigma <= 1e150))) {
        throw BadParams("the sigma of the data points must be 0 or between 1e-150 and 1e150\n");
    }
    if (model.empty()) throw rxMathError("no pairs: the pose has no covariance\n");
}

void checkSpread(const Spread& spread, int dof) {
    const double squares = spread.xx + spread.yy;
    const double determinant = spread.xx * spread.yy - spread.xy * spread.xy;
    constexpr double kEps = std::numeric_limits<double>::epsilon();
    const bool isKnown =
        dof == kAffine ? determinant > 16.0 * kEps * squares * squares : squares > 0.0;
    if (!isKnown || !std::isfinite(squares) || !std::isfinite(1.0 / squares)) {
        throw rxMathError("the model points of the pairs do not determine the pose\n");
    }
}

}  // namespace

double rxPoseCovariance::Position::rms() const {
    return std::sqrt(xx + yy);
}

rxPoseCovariance::Position rxPoseCovariance::positionAt(const rxVector<2>& p) const {
    // Infinite is only the variance of similarities and affine poses, whose x and y are
    // independent; the terms below would cancel to not-a-numbers.
    if (!std::isfinite(sigma)) return {sigma, 0.0, sigma};
    const rxVector<2> w = p - centre;
    const std::array<double, 2> u = {w.x(), w.y()};
    const auto block = [&](std::size_t row, std::size_t column) {
        double sum = 0.0;
        for (std::size_t i = 0; i < 2; ++i) {
            for (std::size_t k = 0; k < 2; ++k) {
                if (u[i] == 0.0 || u[k] == 0.0) continue;
                sum += u[i] * u[k] * matrixCovariance[2 * row + i][2 * column + k];
            }
        }
        return sum;
    };
    return {block(0, 0) + centreVariance, block(0, 1), block(1, 1) + centreVariance};
}

rxPoseCovariance rfPoseCovariance(const rxXform<2>& dataFromModel,
                                  std::span<const rxVector<2>> model,
                                  std::span<const rxVector<2>> data, int dof, double sigma) {
    checkArguments(model, data, dof, sigma);
    const Spread spread = spreadOf(model);
    checkSpread(spread, dof);
    const rxMatrix<2>& m = dataFromModel.matrix();
    const double scale2 = m.element(0, 0) * m.element(0, 0) + m.element(1, 0) * m.element(1, 0);
    if (!(scale2 > 0.0) || !std::isfinite(scale2)) {
        throw rxMathError("the pose has no rotation: it takes the x axis to a point\n");
    }
    const double variance =
        sigma > 0.0 ? sigma * sigma : estimatedVariance(dataFromModel, model, data, dof);

    rxPoseCovariance covariance;
    covariance.sigma = std::sqrt(variance);
    covariance.centre = spread.mean;
    covariance.centreVariance = variance / static_cast<double>(model.size());
    covariance.matrixCovariance = matrixCovariance(m, spread, dof, variance);
    // Gradients of atan2(M10, M00) and of the logarithm of sqrt(M00^2 + M10^2).
    const double c = m.element(0, 0) / scale2;
    const double s = m.element(1, 0) / scale2;
    covariance.rotationSigma = sigmaAlong(-s, c, covariance.matrixCovariance);
    covariance.scaleSigma = dof == kRigid ? 0.0 : sigmaAlong(c, s, covariance.matrixCovariance);
    return covariance;
}
