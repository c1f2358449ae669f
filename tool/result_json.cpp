#include "result_json.h"

namespace ptmatch::tool {
namespace {

Json sizeJson(bool isAuto, double size) {
    if (isAuto) return "auto";
    return size;
}

Json paramsJson(const MatchReport& report) {
    Json json = {{"exhaustive", report.exhaustive}};
    json.update(runParamsJson(report.params));
    return json;
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

}  // namespace

Json modelJson(const std::string& file, const PointTable& table) {
    return {{"file", file}, {"points", table.points.size()}, {"weighted", !table.weights.empty()}};
}

Json runParamsJson(const rxPointMatcherRunParams& params) {
    return {{"min_coverage", params.minCoverage()},
            {"start_pose", xformJson(params.startPose())},
            {"rotation_deg", rangeJson(params.rotationUncertainty())},
            {"scale", rangeJson(params.scaleUncertainty())},
            {"x_translation", rangeJson(params.xTranslationUncertainty())},
            {"y_translation", rangeJson(params.yTranslationUncertainty())},
            {"grid_size", sizeJson(params.autoGridSize(), params.gridSize())},
            {"capture_range", sizeJson(params.autoCaptureRange(), params.captureRange())},
            {"max_results", params.maxNumResults()}};
}

Json posesJson(const std::vector<FoundPose>& poses) {
    Json json = Json::array();
    for (const FoundPose& pose : poses) json.push_back(poseJson(pose));
    return json;
}

Json matchJson(const MatchReport& report) {
    return {{"model", modelJson(report.modelFile, report.model)},
            {"data", {{"file", report.dataFile}, {"points", report.data.points.size()}}},
            {"parameters", paramsJson(report)},
            {"time_s", report.seconds},
            {"results", posesJson(report.poses)}};
}

std::string resultJson(const MatchReport& report) {
    return jsonText(matchJson(report));
}

}  // namespace ptmatch::tool
