#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

/// How well a fitted pose is known, when the data points are displaced at random: each coordinate
/// independently, with the standard deviation `sigma`. The model points count as exact.
struct PTMATCH_EXPORT rxPoseCovariance {
    /// Standard deviation of a coordinate of a data point, data units. Infinite when it was to be
    /// estimated from residuals and the pairs are so few that the fit leaves none.
    double sigma = 0.0;
    /// The mean of the model points of the fit: where the pose is known best.
    rxVector<2> centre;
    /// Variance of each coordinate of the image of `centre`, data units squared; the two are
    /// independent of each other and of the matrix.
    double centreVariance = 0.0;
    /// Covariance of the matrix elements M00, M01, M10, M11 in this order.
    std::array<std::array<double, 4>, 4> matrixCovariance{};
    /// Standard deviation of the rotation (`xRot`), radians.
    double rotationSigma = 0.0;
    /// Standard deviation of the x scale as a share of it; 0 for a rigid pose.
    double scaleSigma = 0.0;

    /// The covariance of the image of a model point, data units squared.
    struct PTMATCH_EXPORT Position {
        double xx = 0.0;  ///< variance of x
        double xy = 0.0;  ///< covariance of x and y
        double yy = 0.0;  ///< variance of y
        /// Root of the mean square of the distance from the true image.
        double rms() const;
    };
    /// At p; at the origin of the model this is the covariance of the translation.
    Position positionAt(const rxVector<2>& p) const;
};

/// The covariance of a pose fitted by least squares to pairs, by first-order propagation: sigma^2
/// (J^T J)^-1 for the derivatives J of the images by the parameters (Hartley and Zisserman,
/// "Multiple view geometry", 5.2, backward propagation; Seber and Wild, "Nonlinear regression",
/// 2.1). About the mean of the model points it falls apart into a translation, of variance
/// sigma^2 / n, and the matrix. With w the model points less their mean and S = sum |w|^2:
///     similarity  variance of M00 = M11 and of M10 = -M01: sigma^2 / S
///     rigid       variance of the rotation: sigma^2 / S
///     affine      covariance of each row of the matrix: sigma^2 (sum w w^T)^-1
/// For similarity and affine, whose images are linear in their parameters, it is exact.
///
/// An addition beside the matcher: no run depends on it.
/// @param dataFromModel  the fitted pose.
/// @param model, data    the pairs it was fitted to, (model[i], data[i]).
/// @param dof    3 rigid, 4 similarity, 6 affine; as it was fitted.
/// @param sigma  as above, if it is known (the accuracy of the detector); 0 estimates it from the
///     residuals, sigma^2 = sum |residual|^2 / (2 n - dof).
/// @throws rxPointMatcherDefs::BadParams  the sequences differ in length; dof is none of these;
///     sigma is neither 0 nor within 1e-150 to 1e150.
/// @throws rxMathError  the pairs do not determine the pose: none; model points in one place, for 6
///     on one line to within rounding; a pose that takes the x axis to a point; or coordinates or
///     residuals that are not finite or beyond the range of squares.
/// Cost linear; no allocation.
PTMATCH_EXPORT rxPoseCovariance rfPoseCovariance(const rxXform<2>& dataFromModel,
                                                 std::span<const rxVector<2>> model,
                                                 std::span<const rxVector<2>> data, int dof,
                                                 double sigma = 0.0);
