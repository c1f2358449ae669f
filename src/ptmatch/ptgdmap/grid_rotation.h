#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "foundation/range.h"
#include "ptmatch/ptgdmap/map_setup.h"
#include "ptmatch/ptgdmap/neighbour_links.h"

namespace ptmatch::detail {

/// The histogram, smoothed around the circle with the weights 1 2 4 8 4 2 1.
using SmoothedHistogram = std::array<std::int64_t, 360>;
SmoothedHistogram smoothed(const DirectionHistogram& histogram);

/// Whole degrees of rotation, both ends included.
struct DegreeRange {
    long low = 0;
    long high = 0;
};

/// The whole degrees that hold the range: the start rounded down, the end up, -180 to 180 for a
/// full range. Fewer than three, which is what the search for a peak needs, are widened by one on
/// either side.
/// @param angleTol  not empty, its bounds within a million degrees.
/// @return nothing for a range whose start lies above its end: it holds no rotation.
std::optional<DegreeRange> rotationsToTry(const rxAngleRange& angleTol);

/// How many links (smoothed) point along the axes when the grid is turned by whole degrees.
class RotationScore {
  public:
    RotationScore(const DirectionHistogram& histogram, const MapSetup& setup);

    std::int64_t operator()(long rotationDeg) const;

  private:
    SmoothedHistogram smoothed_;
    bool hasX_;
    bool hasY_;
    long xDeg_;
    long yDeg_;
};

/// The rotation of the grid in degrees: the whole degree with the most links along the axes, the
/// smallest such, moved by the asymmetry of its neighbours. The first of the degrees to try and
/// (unless there are but three) the last two are never chosen.
double gridRotationDeg(const RotationScore& score, const DegreeRange& range);

/// The axes after a rotation, by whole turns brought to between -360 and 360 degrees. An axis that
/// the rotation makes negative stays negative, deliberately: such an axis takes in links
/// farther off to one side.
AxisDirections turned(const AxisDirections& axes, double rotationDeg);

}  // namespace ptmatch::detail
