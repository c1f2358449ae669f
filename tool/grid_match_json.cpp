#include "grid_match_json.h"

#include "grid_json.h"

namespace ptmatch::tool {
namespace {

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

Json parametersJson(const GridMatchReport& report) {
    return {
        {"steps", stepsJson(report.choice)},   {"rotation_deg", intervalJson(report.rotationDeg)},
        {"scale", intervalJson(report.scale)}, {"snap", orAutoJson(report.snap)},
        {"min_coverage", report.minCoverage},  {"max_results", report.maxResults}};
}

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

std::string gridMatchJson(const GridMatchReport& report) {
    Json results = Json::array();
    for (const GridPlacement& placement : report.placements) {
        results.push_back(placementJson(placement));
    }
    const Json json = {{"pattern", patternJson(report)},
                       {"data", {{"file", report.dataFile}, {"points", report.data.points.size()}}},
                       {"parameters", parametersJson(report)},
                       {"time_s", report.seconds},
                       {"results", results}};
    return jsonText(json);
}

}  // namespace ptmatch::tool
