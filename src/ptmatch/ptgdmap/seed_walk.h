#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "ptmatch/ptgdmap/map_setup.h"
#include "ptmatch/ptgdmap/point_buckets.h"

namespace ptmatch::detail {

/// Tells which links point along an axis of the grid, in its positive direction.
class AxisTest {
  public:
    /// @param axes  the axes of the grid as it was found; that of a null step plays no part.
    AxisTest(const MapSetup& setup, const AxisDirections& axes);

    bool isAlongAxis(double angleDeg) const {
        return (hasX_ && isAlong(angleDeg, axes_.x)) || (hasY_ && isAlong(angleDeg, axes_.y));
    }

  private:
    bool isAlong(double angleDeg, double axisDeg) const {
        // One turn up at most. An axis below 0 degrees thus accepts a little more to one side, and
        // that is meant to be so: what is a seed depends on it.
        double off = angleDeg - axisDeg;
        if (off < 0.0) off += 360.0;
        return off <= tolerance_ || off >= upperTolerance_;
    }

    AxisDirections axes_;
    double tolerance_;
    double upperTolerance_;
    bool hasX_;
    bool hasY_;
};

/// Walks along the links that point along an axis, depth first, from each node that no walk has
/// reached before, and marks the links it goes along as used.
/// @param nodes  none visited yet.
/// @return the node, the first such, whose walk reached most others; nothing when none did.
/// Memory grows with the longest walk; there is no recursion.
std::optional<std::int32_t> findSeed(std::span<PointNode> nodes, const AxisTest& test);

}  // namespace ptmatch::detail
