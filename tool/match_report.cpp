#include "match_report.h"

#include <algorithm>

#include "foundation/angle.h"

namespace ptmatch::tool {

double FoundPose::rotationDeg() const {
    return rxDegree(dataFromModel.rotation()).toDouble();
}

double FoundPose::scale() const {
    return dataFromModel.xScale();
}

std::size_t FoundPose::matched() const {
    return static_cast<std::size_t>(
        std::count_if(map.begin(), map.end(), [](long index) { return index >= 0; }));
}

FoundPose foundPose(const rxPointMatcherResult& result) {
    const bool hasMap = result.runMode() == rxPointMatcherDefs::ePointToPoint ||
                        result.runMode() == rxPointMatcherDefs::eExhaustiveMode;
    return {result.modelToDataXform(), hasMap ? result.modelToDataMap() : std::vector<long>(),
            result.coverage(), result.fitError()};
}

std::vector<FoundPose> foundPoses(const rxPointMatcherResultSet& results) {
    std::vector<FoundPose> poses;
    poses.reserve(results.results().size());
    for (const rxPointMatcherResult& result : results.results()) {
        poses.push_back(foundPose(result));
    }
    return poses;
}

}  // namespace ptmatch::tool
