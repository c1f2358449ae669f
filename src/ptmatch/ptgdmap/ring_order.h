#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ptmatch/ptgdmap/point_buckets.h"

namespace ptmatch::detail {

/// A bucket, and the square ring of cells around a centre on which it lies.
struct RingBucket {
    std::int32_t bucket = 0;
    std::int32_t ring = 0;  ///< 0 for the centre itself
};

/// All buckets in the order in which the rings around a centre run through them: the centre, then
/// ring by ring from the inside. With y counted upwards a ring starts at its lower left corner and
/// runs along the lower side to the right, up the right side, along the upper side to the left, and
/// down the left side; each side has the corner at its start and not the one at its end.
/// @param centre  index of the bucket in the middle.
/// Cost: linear in the number of buckets, however far out the rings lie.
std::vector<RingBucket> ringOrder(std::span<const Bucket> buckets, std::int32_t centre);

}  // namespace ptmatch::detail
