#include "foundation/range.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace {

constexpr double kFullTurn = 2.0 * std::numbers::pi;

}  // namespace

rxRange::rxRange(double start, double end) : start_(start), end_(end), kind_(rxRangeDefs::Normal) {}

rxRange rxRange::FullRange() {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    rxRange full(-kInfinity, kInfinity);
    full.kind_ = rxRangeDefs::Full;
    return full;
}

rxRange rxRange::fromKind(rxRangeDefs::Range kind, double start, double end) {
    if (kind == rxRangeDefs::Normal) return rxRange(start, end);
    return kind == rxRangeDefs::Full ? FullRange() : rxRange();
}

bool rxRange::isWithin(double v) const {
    if (kind_ != rxRangeDefs::Normal) return kind_ == rxRangeDefs::Full;
    return start_ <= v && v <= end_;
}

rxAngleRange::rxAngleRange(rxRadian start, rxRadian end, bool /*reserved*/)
    : start_(start), end_(end), kind_(rxRangeDefs::Normal) {}

rxAngleRange rxAngleRange::FullRange() {
    rxAngleRange full(rxRadian(-std::numbers::pi), rxRadian(std::numbers::pi));
    full.kind_ = rxRangeDefs::Full;
    return full;
}

rxAngleRange rxAngleRange::fromKind(rxRangeDefs::Range kind, rxRadian start, rxRadian end) {
    if (kind == rxRangeDefs::Normal) return rxAngleRange(start, end);
    return kind == rxRangeDefs::Full ? FullRange() : rxAngleRange();
}

bool rxAngleRange::isWithin(rxRadian angle) const {
    if (kind_ != rxRangeDefs::Normal) return kind_ == rxRangeDefs::Full;

    const double start = start_.toDouble();
    const double end = end_.toDouble();
    const double a = angle.toDouble();
    if (!(start <= end)) return false;
    // The plain comparison comes first: it is exact at the limits, the one below only nearly.
    if (start <= a && a <= end) return true;
    // The middle of an enormous range may be infinite, so this is decided before it is used.
    if (length().toDouble() >= kFullTurn) return std::isfinite(a);
    const double fromMiddle = std::remainder(a - middle().toDouble(), kFullTurn);
    return std::abs(fromMiddle) <= length().toDouble() / 2.0;
}
