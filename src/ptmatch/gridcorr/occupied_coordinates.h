#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ptmatch::detail {

/// Collects which coordinates of an axis are occupied.
///
/// The rows of a grid bring the same columns again and again; a short memory of what came last
/// drops most of that, so that little is left to be sorted.
class OccupiedCoordinates {
  public:
    OccupiedCoordinates() { recent_.fill(-1); }

    /// @param coordinate  at least 0.
    void add(std::int64_t coordinate) {
        std::int64_t& recent = recent_[static_cast<std::size_t>(coordinate) % recent_.size()];
        if (recent == coordinate) return;
        recent = coordinate;
        coordinates_.push_back(coordinate);
    }

    /// Each coordinate once, in ascending order. Nothing more is to be added then.
    std::vector<std::int64_t> sorted();

  private:
    std::array<std::int64_t, 4096> recent_;
    std::vector<std::int64_t> coordinates_;
};

}  // namespace ptmatch::detail
