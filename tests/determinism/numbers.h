#pragma once

#include <cstdint>
#include <vector>

#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::determinism {

using Points = std::vector<rxVector<2>>;

/// Random numbers that are the same everywhere: whole numbers come from a linear congruence, and
/// what is made of them needs no function but the four operations, each rounded once.
class Numbers {
  public:
    explicit Numbers(std::uint64_t seed) : state_(seed * 0x9e37'79b9'7f4a'7c15 + 1) {
        (void)bits();
    }

    std::uint64_t bits() {
        state_ = state_ * 6'364'136'223'846'793'005U + 1'442'695'040'888'963'407U;
        const std::uint64_t mixed = (state_ ^ (state_ >> 29U)) * 0xbf58'476d'1ce4'e5b9;
        return mixed ^ (mixed >> 32U);
    }
    /// From low to high, both included.
    long integer(long low, long high) {
        return low + static_cast<long>(bits() % static_cast<std::uint64_t>(high - low + 1));
    }
    bool oneOf(long many) { return integer(1, many) == 1; }
    /// From low to below high.
    double real(double low, double high) {
        return low + (high - low) * (static_cast<double>(bits() >> 11U) / 9'007'199'254'740'992.0);
    }
    rxVector<2> point(double reach) {
        const double x = real(-reach, reach);
        return {x, real(-reach, reach)};
    }
    rxVector<3> spacePoint(double reach) {
        const double x = real(-reach, reach);
        const double y = real(-reach, reach);
        return {x, y, real(-reach, reach)};
    }
    Points points(long count, double reach) {
        Points all;
        for (long i = 0; i < count; ++i) all.push_back(point(reach));
        return all;
    }

  private:
    std::uint64_t state_;
};

/// Turns by twice the angle whose tangent is halfTangent, without a trigonometric function.
inline rxXform<2> turned(double halfTangent, double scale, const rxVector<2>& shift) {
    const double square = halfTangent * halfTangent;
    const double c = scale * ((1.0 - square) / (1.0 + square));
    const double s = scale * (2.0 * halfTangent / (1.0 + square));
    return {rxMatrix<2>(c, -s, s, c), shift};
}

/// Turned so that halfTangent lies within (-turn, turn), scaled by a factor from low to high,
/// shifted by up to reach. The arguments of one call are drawn in no order that compilers agree on:
/// here they are drawn one by one, as everywhere in these programs.
inline rxXform<2> anyPose(Numbers& numbers, double turn, double low, double high, double reach) {
    const double halfTangent = numbers.real(-turn, turn);
    const double scale = numbers.real(low, high);
    return turned(halfTangent, scale, numbers.point(reach));
}

}  // namespace ptmatch::determinism
