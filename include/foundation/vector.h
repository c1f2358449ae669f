#pragma once

#include <cmath>

#include "foundation/angle.h"
#include "foundation/export.h"

/// Two numbers, x then y; rxPair<long> is every integer grid or pixel position.
template <class T>
class PTMATCH_EXPORT rxPair {
  public:
    /// (0, 0).
    constexpr rxPair() = default;
    /// (x, y).
    constexpr rxPair(T x, T y) : x_(x), y_(y) {}

    /// The first number; the column of a grid or pixel position.
    constexpr T x() const { return x_; }
    /// The second number; the row of a grid or pixel position.
    constexpr T y() const { return y_; }

    /// The sums of x and of y, computed in T.
    friend constexpr rxPair operator+(rxPair a, rxPair b) {
        return rxPair(a.x_ + b.x_, a.y_ + b.y_);
    }
    /// The differences of x and of y, computed in T.
    friend constexpr rxPair operator-(rxPair a, rxPair b) {
        return rxPair(a.x_ - b.x_, a.y_ - b.y_);
    }
    /// Equal x and equal y.
    friend constexpr bool operator==(rxPair, rxPair) = default;

  private:
    T x_ = T();
    T y_ = T();
};

/// A point or a displacement of N coordinates: in the plane, N = 2, or in space, N = 3.
template <int N>
class rxVector;

/// A point or a displacement in the plane.
template <>
class PTMATCH_EXPORT rxVector<2> {
  public:
    /// (0, 0).
    constexpr rxVector() = default;
    /// (x, y).
    constexpr rxVector(double x, double y) : x_(x), y_(y) {}
    /// Exact for every pair of 32-bit integers, therefore implicit.
    constexpr rxVector(rxPair<long> p)
        : x_(static_cast<double>(p.x())), y_(static_cast<double>(p.y())) {}

    /// The x coordinate.
    constexpr double x() const { return x_; }
    /// The y coordinate.
    constexpr double y() const { return y_; }
    /// Sets the x coordinate.
    constexpr void x(double value) { x_ = value; }
    /// Sets the y coordinate.
    constexpr void y(double value) { y_ = value; }

    /// sqrt(x^2 + y^2); infinite when a square leaves the range of double.
    double len() const { return std::sqrt(x_ * x_ + y_ * y_); }
    /// The direction, atan2(y, x), in [-pi, pi]; 0 for (0, 0).
    rxRadian angle() const { return rxRadian(std::atan2(y_, x_)); }
    /// True when both coordinates are exactly 0 (of either sign).
    constexpr bool isNull() const { return x_ == 0.0 && y_ == 0.0; }
    /// False when a coordinate is not-a-number or infinite.
    bool isFinite() const { return std::isfinite(x_) && std::isfinite(y_); }

    /// The sum, coordinate by coordinate.
    friend constexpr rxVector operator+(const rxVector& a, const rxVector& b) {
        return rxVector(a.x_ + b.x_, a.y_ + b.y_);
    }
    /// The difference, coordinate by coordinate.
    friend constexpr rxVector operator-(const rxVector& a, const rxVector& b) {
        return rxVector(a.x_ - b.x_, a.y_ - b.y_);
    }
    /// Exact comparison of both coordinates; a vector with a not-a-number equals nothing.
    friend constexpr bool operator==(const rxVector&, const rxVector&) = default;

  private:
    double x_ = 0.0;
    double y_ = 0.0;
};

/// A point in space.
template <>
class PTMATCH_EXPORT rxVector<3> {
  public:
    /// (0, 0, 0).
    constexpr rxVector() = default;
    /// (x, y, z).
    constexpr rxVector(double x, double y, double z) : x_(x), y_(y), z_(z) {}

    /// The x coordinate.
    constexpr double x() const { return x_; }
    /// The y coordinate.
    constexpr double y() const { return y_; }
    /// The z coordinate.
    constexpr double z() const { return z_; }
    /// Sets the x coordinate.
    constexpr void x(double value) { x_ = value; }
    /// Sets the y coordinate.
    constexpr void y(double value) { y_ = value; }
    /// Sets the z coordinate.
    constexpr void z(double value) { z_ = value; }

    /// Exact comparison of all coordinates; a vector with a not-a-number equals nothing.
    friend constexpr bool operator==(const rxVector&, const rxVector&) = default;

  private:
    double x_ = 0.0;
    double y_ = 0.0;
    double z_ = 0.0;
};
