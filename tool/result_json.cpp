#include "result_json.h"

#include <nlohmann/json.hpp>

#include "foundation/angle.h"
#include "foundation/range.h"

namespace ptmatch::tool {
namespace {

using Json = nlohmann::ordered_json;

double degrees(const rxRadian& angle) {
    return rxDegree(angle).toDouble();
}

Json rangeJson(const rxRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    return {range.start(), range.end()};
}

Json rangeJson(const rxAngleRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    return {degrees(range.start()), degrees(range.end())};
}

// [m00, m01, m10, m11, tx, ty]
Json xformJson(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    return {m.element(0, 0), m.element(0, 1),   m.element(1, 0),
            m.element(1, 1), xform.trans().x(), xform.trans().y()};
}

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
            {"translation", {pose.dataFromModel.trans().x(), pose.dataFromModel.trans().y()}},
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
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace ptmatch::tool
