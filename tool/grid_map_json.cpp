#include "grid_map_json.h"

#include <cstddef>

#include "grid_json.h"

namespace ptmatch::tool {
namespace {

Json parametersJson(const GridMapReport& report) {
    return {{"steps", stepsJson(report.choice)},
            {"staggered", report.staggered},
            {"snap", report.snap},
            {"size_tol", intervalJson(report.sizeTolerance)},
            {"angle_tol_deg", intervalJson(report.angleToleranceDeg)},
            {"keep_all", report.keepsAll}};
}

Json missingJson(const std::vector<rxPair<long>>& missing) {
    Json json = Json::array();
    for (const rxPair<long>& position : missing) json.push_back(positionJson(position));
    return json;
}

Json gridJson(const GridMapReport& report, const GridMapFigures& figures) {
    const auto same = [](double value) { return value; };
    return {{"found", report.dataFromGrid.has_value()},
            {"xform", orNullJson(report.dataFromGrid, xformJson)},
            {"placed", figures.placed},
            {"nodes", figures.nodes},
            {"strays", report.strays},
            {"doubles", report.doubles},
            {"goes_on", figures.goesOn},
            {"low", figures.bounds ? positionJson(figures.bounds->low) : Json()},
            {"high", figures.bounds ? positionJson(figures.bounds->high) : Json()},
            {"missing", orNullJson(figures.missing, missingJson)},
            {"rms_error", orNullJson(figures.rmsError, same)},
            {"max_error", orNullJson(figures.largestError, same)}};
}

}  // namespace

std::string gridMapJson(const GridMapReport& report) {
    Json map = Json::array();
    for (const GridPosition& position : report.positions) {
        map.push_back(orNullJson(position, positionJson));
    }
    const Json json = {{"data", {{"file", report.dataFile}, {"points", report.data.points.size()}}},
                       {"parameters", parametersJson(report)},
                       {"time_s", report.seconds},
                       {"grid", gridJson(report, figuresOf(report))},
                       {"map", map}};
    return jsonText(json);
}

}  // namespace ptmatch::tool
