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

std::vector<FoundPose> foundPoses(const rxPointMatcherResultSet& results) {
    std::vector<FoundPose> poses;
    poses.reserve(results.results().size());
    for (const rxPointMatcherResult& result : results.results()) {
        poses.push_back({result.modelToDataXform(), result.modelToDataMap(), result.coverage(),
                         result.fitError()});
    }
    return poses;
}

}  // namespace ptmatch::tool
