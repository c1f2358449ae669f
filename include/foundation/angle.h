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
    constexpr rxRadian() = default;
    constexpr explicit rxRadian(double radians) : radians_(radians) {}
    constexpr rxRadian(rxDegree degrees);

    constexpr double toDouble() const { return radians_; }

    constexpr rxRadian operator/(double divisor) const { return rxRadian(radians_ / divisor); }

    friend constexpr bool operator==(rxRadian, rxRadian) = default;

  private:
    double radians_ = 0.0;
};

/// An angle in degrees, kept as given.
class PTMATCH_EXPORT rxDegree {
  public:
    constexpr rxDegree() = default;
    constexpr explicit rxDegree(double degrees) : degrees_(degrees) {}
    constexpr rxDegree(rxRadian radians)
        : degrees_(radians.toDouble() * 180.0 / std::numbers::pi) {}

    constexpr double toDouble() const { return degrees_; }

    friend constexpr bool operator==(rxDegree, rxDegree) = default;

  private:
    double degrees_ = 0.0;
};

constexpr rxRadian::rxRadian(rxDegree degrees)
    : radians_(degrees.toDouble() * std::numbers::pi / 180.0) {}
