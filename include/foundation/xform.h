#pragma once

#include <cmath>

#include "foundation/angle.h"
#include "foundation/export.h"
#include "foundation/vector.h"

/// An N x N matrix; only N = 2 is defined.
template <int N>
class rxMatrix;

/// A 2x2 matrix of doubles. Every sum of products is evaluated from the left, as written below.
template <>
class PTMATCH_EXPORT rxMatrix<2> {
  public:
    /// The identity.
    constexpr rxMatrix() = default;
    /// The elements in row-major order.
    constexpr rxMatrix(double e00, double e01, double e10, double e11)
        : e00_(e00), e01_(e01), e10_(e10), e11_(e11) {}

    /// One element; row and col are 0 or 1 (any other number is read as 1).
    constexpr double element(long row, long col) const {
        if (row == 0) return col == 0 ? e00_ : e01_;
        return col == 0 ? e10_ : e11_;
    }

    /// False when an element is not-a-number or infinite.
    bool isFinite() const {
        return std::isfinite(e00_) && std::isfinite(e01_) && std::isfinite(e10_) &&
               std::isfinite(e11_);
    }

    /// e00 e11 - e01 e10, each product rounded.
    constexpr double determinant() const { return e00_ * e11_ - e01_ * e10_; }

    /// The product with a column: (e00 x + e01 y, e10 x + e11 y).
    friend constexpr rxVector<2> operator*(const rxMatrix& a, const rxVector<2>& v) {
        return rxVector<2>(a.e00_ * v.x() + a.e01_ * v.y(), a.e10_ * v.x() + a.e11_ * v.y());
    }
    /// The product of two matrices.
    friend constexpr rxMatrix operator*(const rxMatrix& a, const rxMatrix& b) {
        return rxMatrix(a.e00_ * b.e00_ + a.e01_ * b.e10_, a.e00_ * b.e01_ + a.e01_ * b.e11_,
                        a.e10_ * b.e00_ + a.e11_ * b.e10_, a.e10_ * b.e01_ + a.e11_ * b.e11_);
    }
    /// Exact comparison of all elements.
    friend constexpr bool operator==(const rxMatrix&, const rxMatrix&) = default;

  private:
    double e00_ = 1.0;
    double e01_ = 0.0;
    double e10_ = 0.0;
    double e11_ = 1.0;
};

/// A transform of N coordinates; only that of the plane, N = 2, is defined.
template <int N>
class rxXform;

/// A linear transform of the plane followed by a translation: p goes to M p + t.
///
///     const rxXform<2> sceneFromModel(rxVector<2>(10, 20), rxDegree(30), rxDegree(30), 1.0, 1.0);
///     const rxVector<2> inScene = sceneFromModel * inModel;
///
/// Laws: (A * B) * p = A * (B * p) and X.inverse() * X = I, up to rounding.
template <>
class PTMATCH_EXPORT rxXform<2> {
  public:
    /// The identity, a constant: usable while other static objects are still being built.
    static const rxXform I;

    /// The identity.
    constexpr rxXform() = default;
    /// The transform of this matrix and this translation, which may be any.
    constexpr rxXform(const rxMatrix<2>& matrix, const rxVector<2>& trans)
        : matrix_(matrix), trans_(trans) {}
    /// Takes the unit x axis to a vector of length xScale at the angle xRot, the unit y axis to one
    /// of length yScale at yRot + 90 degrees:
    ///     M = [ xScale cos xRot   -yScale sin yRot ]
    ///         [ xScale sin xRot    yScale cos yRot ]
    rxXform(const rxVector<2>& trans, rxRadian xRot, rxRadian yRot, double xScale, double yScale);

    /// M v + t, as (M00 x + M01 y) + tx and (M10 x + M11 y) + ty.
    constexpr rxVector<2> operator*(const rxVector<2>& v) const { return matrix_ * v + trans_; }
    /// The transform that applies other first: matrix A.M B.M, translation A.M B.t + A.t.
    constexpr rxXform operator*(const rxXform& other) const {
        return rxXform(matrix_ * other.matrix_, matrix_ * other.trans_ + trans_);
    }

    /// M^-1 and -(M^-1 t).
    /// @throws rxMathError: the transform is singular, or its inverse is not finite.
    rxXform inverse() const;
    /// True when the determinant, as a double, is zero or not finite: also for a finite matrix
    /// whose determinant leaves the range of double, and for a matrix with an element that is not
    /// finite.
    bool isSingular() const {
        const double determinant = matrix_.determinant();
        return determinant == 0.0 || !std::isfinite(determinant);
    }

    /// False when a matrix element or the translation is not-a-number or infinite.
    bool isFinite() const { return matrix_.isFinite() && trans_.isFinite(); }

    /// The length of the image of the unit x axis, sqrt(M00^2 + M10^2).
    double xScale() const;
    /// The angle of the image of the unit x axis, atan2(M10, M00), in [-pi, pi].
    rxRadian xRot() const;
    /// The same as xRot(), for transforms of every form.
    rxRadian rotation() const { return xRot(); }

    /// The translation t, which is the image of the origin.
    constexpr const rxVector<2>& trans() const { return trans_; }
    /// Sets the translation; the matrix stays.
    constexpr void trans(const rxVector<2>& trans) { trans_ = trans; }
    /// The matrix M.
    constexpr const rxMatrix<2>& matrix() const { return matrix_; }
    /// Sets the matrix; the translation stays.
    constexpr void matrix(const rxMatrix<2>& matrix) { matrix_ = matrix; }

    /// Exact equality of the matrix elements and of the translation.
    friend constexpr bool operator==(const rxXform&, const rxXform&) = default;

  private:
    rxMatrix<2> matrix_;
    rxVector<2> trans_;
};

inline constexpr rxXform<2> rxXform<2>::I{};
