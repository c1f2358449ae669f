#include "ptmatch/pose_check.h"

#include <cmath>

#include "foundation/angle.h"
#include "ptmatch/point_matcher_run_params.h"

namespace ptmatch::detail {

bool isWithinLimits(const rxRange& range, double value) {
    // Made wider, an empty range whose start lies just above its end would hold something.
    if (range.range() != rxRangeDefs::Normal || range.start() > range.end()) {
        return range.isWithin(value);
    }
    return rxRange(range.start() - kLimitTolerance, range.end() + kLimitTolerance).isWithin(value);
}

bool isWithinLimits(const rxAngleRange& range, const rxRadian& angle) {
    const bool isReversed = range.start().toDouble() > range.end().toDouble();
    if (range.range() != rxRangeDefs::Normal || isReversed) return range.isWithin(angle);
    return rxAngleRange(rxRadian(range.start().toDouble() - kLimitTolerance),
                        rxRadian(range.end().toDouble() + kLimitTolerance), false)
        .isWithin(angle);
}

bool checkPose_(const rxXform<2>& pose, const rxPointMatcherRunParams& params) {
    if (pose.isSingular()) return false;
    const rxAngleRange rotation = params.rotationUncertainty();
    return rotation.range() == rxRangeDefs::Full || isWithinLimits(rotation, pose.rotation());
}

double rmsFitError_(std::span<const rxVector<2>> data, const rxXform<2>& modelToData,
                    std::span<const rxVector<2>> model, const std::vector<long>& map) {
    double sum = 0.0;
    long count = 0;
    for (std::size_t i = 0; i < map.size(); ++i) {
        if (map[i] < 0) continue;
        const rxVector<2> residual =
            modelToData * model[i] - data[static_cast<std::size_t>(map[i])];
        sum += residual.x() * residual.x() + residual.y() * residual.y();
        ++count;
    }
    return count > 0 ? std::sqrt(sum / static_cast<double>(count)) : 0.0;
}

}  // namespace ptmatch::detail
