#include "result_json.h"

#include "json_parts.h"

namespace ptmatch::tool {
namespace {

Json sizeJson(bool isAuto, double size) {
    if (isAuto) return "auto";
    return size;
}

Json paramsJson(const MatchReport& report) {
    const rxPointMatcherRunParams& params = report.params;
    return {{"exhaustive", report.exhaustive},
            {"min_coverage", params.minCoverage()},
            {"start_pose", xformJson(params.startPose())},
            {"rotation_deg", rangeJson(params.rotationUncertainty())},
            {"scale", rangeJson(params.scaleUncertainty())},
            {"x_translation", rangeJson(params.xTranslationUncertainty())},
            {"y_translation", rangeJson(params.yTranslationUncertainty())},
            {"grid_size", sizeJson(params.autoGridSize(), params.gridSize())},
            {"capture_range", sizeJson(params.autoCaptureRange(), params.captureRange())},
            {"max_results", params.maxNumResults()}};
}

Json poseJson(const FoundPose& pose) {
    return {{"rotation_deg", pose.rotationDeg()},
            {"scale", pose.scale()},
            {"translation", vectorJson(pose.dataFromModel.trans())},
            {"xform", xformJson(pose.dataFromModel)},
            {"coverage", pose.coverage},
            {"fit_error", pose.fitError},
            {"matched", pose.matched()},
            {"map", pose.map}};
}

Json tableJson(const std::string& file, const PointTable& table) {
    return {{"file", file}, {"points", table.points.size()}, {"weighted", !table.weights.empty()}};
}

}  // namespace

std::string resultJson(const MatchReport& report) {
    Json results = Json::array();
    for (const FoundPose& pose : report.poses) results.push_back(poseJson(pose));
    const Json json = {{"model", tableJson(report.modelFile, report.model)},
                       {"data", {{"file", report.dataFile}, {"points", report.data.points.size()}}},
                       {"parameters", paramsJson(report)},
                       {"time_s", report.seconds},
                       {"results", results}};
    return jsonText(json);
}

}  // namespace ptmatch::tool
