#pragma once

#include <array>
#include <cstdint>

#include "ptmatch/ptgdmap/distance_bands.h"
#include "ptmatch/ptgdmap/point_buckets.h"

namespace ptmatch::detail {

/// How many links point to each whole degree.
using DirectionHistogram = std::array<std::int32_t, 360>;

/// What linking found out, and what it cost.
struct LinkedDirections {
    DirectionHistogram histogram{};
    std::int64_t work = 0;  ///< points and boxes looked at
};

/// Links every point to up to four of the points around it that lie at an accepted distance.
///
/// The buckets around a point are searched in a fixed order, each only while there are fewer than
/// four links and, deliberately, only up to the third link: a fourth one can come from a later
/// bucket alone.
/// @param points  without links so far.
LinkedDirections linkNeighbours(PointBuckets& points, const DistanceBands& bands);

/// The bin of a direction from 0 to 360 degrees, both included: the nearest whole degree, halves
/// upwards, 360 counting as 0.
std::size_t histogramBin(double angleDeg);

}  // namespace ptmatch::detail
