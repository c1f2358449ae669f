#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// Where points lie and how far they spread: (p - centroid) * scale takes them to mean 0 and a mean
/// distance of sqrt(D) from it, so that coordinates are about 1 (Hartley, "In defense of the
/// eight-point algorithm", 1997, section 5).
template <std::size_t D>
struct PointFrame {
    std::array<double, D> centroid{};
    double scale = 1.0;
    /// What several roundings of the coordinates, as they are given, come to in the frame; the
    /// coordinates in the frame count as good to that.
    double noise = 0.0;

    std::array<double, D> inFrame(const std::array<double, D>& p) const {
        std::array<double, D> q;
        for (std::size_t k = 0; k < D; ++k) q[k] = (p[k] - centroid[k]) * scale;
        return q;
    }
};

inline std::array<double, 2> coordinates(const rxVector<2>& p) {
    return {p.x(), p.y()};
}

inline std::array<double, 3> coordinates(const rxVector<3>& p) {
    return {p.x(), p.y(), p.z()};
}

/// @param points  at least one.   @param side  names them in the message.
/// @throws rxMathError: a coordinate is not finite or beyond 1e150, or all points lie in one place.
PointFrame<2> pointFrame(std::span<const rxVector<2>> points, const char* side);
PointFrame<3> pointFrame(std::span<const rxVector<3>> points, const char* side);

}  // namespace ptmatch::detail
