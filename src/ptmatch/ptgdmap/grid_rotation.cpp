#include "ptmatch/ptgdmap/grid_rotation.h"

#include <cmath>

namespace ptmatch::detail {
namespace {

constexpr long kTurn = 360;

long wholeDegrees(double directionDeg) {
    return static_cast<long>(std::trunc(directionDeg + 0.5));
}

/// Into 0 to 359, by whole turns.
std::size_t wrapped(long degrees) {
    return static_cast<std::size_t>((degrees % kTurn + kTurn) % kTurn);
}

/// As `wrapped`, but everything negative counts as 0. Along y, rotations that would need a wrap
/// upwards are not told apart, on purpose.
std::size_t wrappedFromAbove(long degrees) {
    return degrees < 0 ? 0 : static_cast<std::size_t>(degrees % kTurn);
}

double turnedWithinOneTurn(double directionDeg) {
    while (directionDeg >= 360.0) directionDeg -= 360.0;
    while (directionDeg <= -360.0) directionDeg += 360.0;
    return directionDeg;
}

}  // namespace

SmoothedHistogram smoothed(const DirectionHistogram& histogram) {
    constexpr std::array<std::int64_t, 7> kKernel = {1, 2, 4, 8, 4, 2, 1};
    constexpr std::size_t kReach = 3;
    SmoothedHistogram sums{};
    for (std::size_t k = 0; k < sums.size(); ++k) {
        for (std::size_t j = 0; j < kKernel.size(); ++j) {
            sums[k] += kKernel[j] * histogram[(k + j + sums.size() - kReach) % sums.size()];
        }
    }
    return sums;
}

std::optional<DegreeRange> rotationsToTry(const rxAngleRange& angleTol) {
    if (angleTol.range() == rxRangeDefs::Full) return DegreeRange{-kTurn / 2, kTurn / 2};
    if (angleTol.start().toDouble() > angleTol.end().toDouble()) return std::nullopt;
    DegreeRange range{
        static_cast<long>(std::floor(rxDegree(angleTol.start()).toDouble())),
        static_cast<long>(std::ceil(rxDegree(angleTol.end()).toDouble())),
    };
    while (range.high - range.low < 2) {
        --range.low;
        ++range.high;
    }
    return range;
}

RotationScore::RotationScore(const DirectionHistogram& histogram, const MapSetup& setup)
    : smoothed_(smoothed(histogram)),
      hasX_(!setup.xv.isNull()),
      hasY_(!setup.yv.isNull()),
      xDeg_(wholeDegrees(setup.axes.x)),
      yDeg_(wholeDegrees(setup.axes.y)) {}

std::int64_t RotationScore::operator()(long rotationDeg) const {
    std::int64_t score = 0;
    if (hasX_) score += smoothed_[wrapped(rotationDeg + xDeg_)];
    if (hasY_) score += smoothed_[wrappedFromAbove(rotationDeg + yDeg_)];
    return score;
}

double gridRotationDeg(const RotationScore& score, const DegreeRange& range) {
    long best = range.low + 1;
    std::int64_t peak = score(best);
    for (long degrees = best + 1; degrees < range.high - 1; ++degrees) {
        const std::int64_t candidate = score(degrees);
        if (candidate > peak) {
            best = degrees;
            peak = candidate;
        }
    }
    const std::int64_t left = score(best - 1);
    const std::int64_t right = score(best + 1);
    const auto rotation = static_cast<double>(best);
    if (left >= peak || right >= peak) return rotation;
    // Twice the offset of the parabola through the three. Its denominator is positive: both
    // neighbours are below the peak.
    return rotation +
           static_cast<double>(right - left) / static_cast<double>(2 * peak - left - right);
}

AxisDirections turned(const AxisDirections& axes, double rotationDeg) {
    return {turnedWithinOneTurn(axes.x + rotationDeg), turnedWithinOneTurn(axes.y + rotationDeg)};
}

}  // namespace ptmatch::detail
