#include "grid_match_json.h"

#include "grid_json.h"

namespace ptmatch::tool {
namespace {

Json placementJson(const GridPlacement& placement) {
    return {
        {"xform", orNullJson(placement.dataFromPattern, xformJson)},
        {"coverage", placement.coverage},
        {"rms_error", placement.rmsError},
        {"matched", placement.matched()},
        {"reaches_beyond", orNullJson(placement.reachesBeyond, [](long steps) { return steps; })},
        {"map", placement.map}};
}

}  // namespace

Json patternJson(const GridMatchReport& report) {
    const GridPattern& pattern = report.pattern;
    Json positions = Json::array();
    for (const rxPair<long>& position : pattern.positions) {
        positions.push_back(positionJson(position));
    }
    return {{"file", report.patternFile},
            {"corner", positionJson(pattern.corner)},
            {"width", pattern.width},
            {"height", pattern.height},
            {"staggered", pattern.isStaggered()},
            {"sparse", pattern.isSparse()},
            {"positions", positions}};
}

Json gridParametersJson(const GridMatchReport& report) {
    return {
        {"steps", stepsJson(report.choice)},   {"rotation_deg", intervalJson(report.rotationDeg)},
        {"scale", intervalJson(report.scale)}, {"snap", orAutoJson(report.snap)},
        {"min_coverage", report.minCoverage},  {"max_results", report.maxResults}};
}

Json placementsJson(const GridMatchReport& report) {
    Json json = Json::array();
    for (const GridPlacement& placement : report.placements) {
        json.push_back(placementJson(placement));
    }
    return json;
}

std::string gridMatchJson(const GridMatchReport& report) {
    const Json json = {{"pattern", patternJson(report)},
                       {"data", {{"file", report.dataFile}, {"points", report.data.points.size()}}},
                       {"parameters", gridParametersJson(report)},
                       {"time_s", report.seconds},
                       {"results", placementsJson(report)}};
    return jsonText(json);
}

}  // namespace ptmatch::tool
