#pragma once

#include <numbers>

#include "foundation/export.h"

class rxDegree;

/// An angle in radians, kept as given: nothing wraps it into one turn.
///
/// A plain number becomes an angle only when its unit is written down, as in rxRadian(0.5); between
/// the two units the conversion is implicit, so a function that takes radians accepts degrees.
class PTMATCH_EXPORT rxRadian {
  public:
    /// The angle 0.
    constexpr rxRadian() = default;
    /// An angle of so many radians.
    constexpr explicit rxRadian(double radians) : radians_(radians) {}
    /// The same angle: degrees times pi / 180, in this order.
    constexpr rxRadian(rxDegree degrees);

    /// The angle in radians.
    constexpr double toDouble() const { return radians_; }

    /// The angle divided by a number.
    constexpr rxRadian operator/(double divisor) const { return rxRadian(radians_ / divisor); }

    /// Equal numbers of radians, exactly: angles a full turn apart differ.
    friend constexpr bool operator==(rxRadian, rxRadian) = default;

  private:
    double radians_ = 0.0;
};

/// An angle in degrees, kept as given.
class PTMATCH_EXPORT rxDegree {
  public:
    /// The angle 0.
    constexpr rxDegree() = default;
    /// An angle of so many degrees.
    constexpr explicit rxDegree(double degrees) : degrees_(degrees) {}
    /// The same angle: radians times 180 / pi, in this order.
    constexpr rxDegree(rxRadian radians)
        : degrees_(radians.toDouble() * 180.0 / std::numbers::pi) {}

    /// The angle in degrees.
    constexpr double toDouble() const { return degrees_; }

    /// Equal numbers of degrees, exactly.
    friend constexpr bool operator==(rxDegree, rxDegree) = default;

  private:
    double degrees_ = 0.0;
};

constexpr rxRadian::rxRadian(rxDegree degrees)
    : radians_(degrees.toDouble() * std::numbers::pi / 180.0) {}
