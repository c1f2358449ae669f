#include <algorithm>
#include <cmath>

#include "archive_text.h"
#include "grid_json.h"
#include "json_parts.h"
#include "match_report.h"
#include "result_json.h"

namespace ptmatch::tool {
namespace {

Json pointsJson(const std::vector<rxVector<2>>& points) {
    Json json = Json::array();
    for (const rxVector<2>& point : points) json.push_back(vectorJson(point));
    return json;
}

Json positionsJson(const std::vector<rxPair<long>>& positions) {
    Json json = Json::array();
    for (const rxPair<long>& position : positions) json.push_back(positionJson(position));
    return json;
}

Json contentJson(const MatcherContent& matcher) {
    Json json = Json::object();
    if (matcher.model) {
        const ModelFigures figures = figuresOf(*matcher.model);
        const double gridSize = matcher.defaultGridSize.value_or(0.0);
        json["points"] = pointsJson(matcher.model->points);
        json["weights"] = matcher.model->weights.empty() ? Json() : Json(matcher.model->weights);
        json["total_weight"] = figures.totalWeight;
        json["low"] = vectorJson(figures.low);
        json["high"] = vectorJson(figures.high);
        json["grid_size"] = std::isfinite(gridSize) ? Json(gridSize) : Json();
    }
    if (matcher.grid) {
        const GridPattern& pattern = matcher.grid->pattern;
        json["corner"] = positionJson(pattern.corner);
        json["width"] = pattern.width;
        json["height"] = pattern.height;
        json["staggered"] = pattern.isStaggered();
        json["sparse"] = pattern.isSparse();
        json["positions"] = positionsJson(pattern.positions);
        json["xv"] = orNullJson(matcher.grid->steps.xv, vectorJson);
        json["yv"] = orNullJson(matcher.grid->steps.yv, vectorJson);
    }
    if (!matcher.fault.empty()) json["fault"] = matcher.fault;
    return json;
}

Json contentJson(const rxPointMatcherRunParams& params) {
    return {{"parameters", runParamsJson(params)}};
}

Json contentJson(const rxPointMatcherResultSet& set) {
    return {{"time_s", set.time()}, {"results", posesJson(foundPoses(set))}};
}

Json contentJson(const rxPointMatcherResult& result) {
    return {{"results", posesJson({foundPose(result)})}};
}

Json contentJson(const rxPtToGridMapRunParams& params) {
    return {
        {"xv", vectorJson(params.xv())},           {"yv", vectorJson(params.yv())},
        {"staggered", params.staggered()},         {"snap", params.snapSize()},
        {"size_tol", rangeJson(params.sizeTol())}, {"angle_tol_deg", rangeJson(params.angleTol())}};
}

Json contentJson(const rxPtToGridMapResult& result) {
    Json map = Json::array();
    for (const rxPair<long>& position : result.map()) {
        const bool isPlaced = position.x() != rxPtToGridMapResult::kUnassigned;
        map.push_back(isPlaced ? positionJson(position) : Json());
    }
    return {{"time_s", result.time()},
            {"valid", result.valid()},
            {"xform", xformJson(result.grid2point())},
            {"map", map}};
}

}  // namespace

std::string archiveJson(const ArchiveContent& content) {
    Json records = Json::array();
    for (const ArchiveRecord& record : content.records) {
        Json json = {{"kind", record.kind()}, {"offset", record.offset}, {"bytes", record.size}};
        json.update(
            std::visit([](const auto& value) { return contentJson(value); }, record.content));
        records.push_back(json);
    }
    return jsonText({{"file", content.file}, {"bytes", content.bytes}, {"records", records}});
}

}  // namespace ptmatch::tool
