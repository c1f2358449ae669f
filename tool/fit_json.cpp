#include "fit_json.h"

#include <cmath>
#include <cstddef>
#include <optional>

#include "json_parts.h"
#include "matrix_parts.h"

namespace ptmatch::tool {
namespace {

// JSON has no infinity.
Json finiteJson(double value) {
    return std::isfinite(value) ? Json(value) : Json();
}

Json growthJson(double growth) {
    return growth <= kLargestGrowth ? Json(growth) : Json();
}

Json coordinatesJson(const Coordinates& coordinates, std::size_t dimensions) {
    Json json = Json::array();
    for (std::size_t k = 0; k < dimensions; ++k) json.push_back(finiteJson(coordinates[k]));
    return json;
}

void addSimilarity(Json& json, const HomogeneousMatrix& matrix) {
    const std::size_t dimensions = matrix.size() - 1;
    const RotationAndScale parts = rotationAndScaleOf(matrix);
    json["rotation_deg"] = parts.rotationDeg;
    if (dimensions == 3) {
        json["axis"] = parts.axis ? coordinatesJson(*parts.axis, dimensions) : Json();
    }
    json["scale"] = parts.scale;
    Coordinates translation{};
    for (std::size_t k = 0; k < dimensions; ++k) translation[k] = matrix[k].back();
    json["translation"] = coordinatesJson(translation, dimensions);
}

Json transformJson(const HomogeneousMatrix& matrix, const FitReport& report) {
    Json json = {{"matrix", matrix}};
    const FitModelTraits& traits = report.traits();
    if (report.model == FitModel::kPerspective) return json;
    if (traits.dimensions == 2) {
        json["xform"] = {matrix[0][0], matrix[0][1], matrix[1][0],
                         matrix[1][1], matrix[0][2], matrix[1][2]};
    }
    if (traits.isSimilarity) {
        addSimilarity(json, matrix);
    } else {
        json["scales"] = stretchesOf(matrix);
        json["mirror_image"] = isMirroring(matrix);
    }
    return json;
}

Json pairJson(const FitReport& report, std::size_t pair) {
    return {{"pair", pair + 1}, {"line", report.pairs.lines[pair]}};
}

Json residualsJson(const FitReport& report) {
    const rxFitResidual& residual = report.fitted.residual;
    const std::optional<double> error = report.estimatedError();
    Json ofPairs = Json::array();
    for (std::size_t i = 0; i < report.pairs.size(); ++i) {
        const Coordinates d = report.residualOf(i);
        Json json = pairJson(report, i);
        json["vector"] = coordinatesJson(d, report.traits().dimensions);
        json["distance"] = finiteJson(std::hypot(d[0], d[1], d[2]));
        json["leverage"] = report.strength.leverages[i];
        ofPairs.push_back(json);
    }
    return {{"rms", finiteJson(residual.rms)},
            {"largest", finiteJson(residual.largest)},
            {"worst", pairJson(report, residual.worst)},
            {"estimated_error", error ? finiteJson(*error) : Json()},
            {"of_pairs", ofPairs}};
}

Json warningsJson(const FitReport& report) {
    Json json = Json::array();
    for (const FitWarning& warning : report.warnings) {
        json.push_back({{"kind", warning.kind}, {"message", warning.message}});
    }
    return json;
}

}  // namespace

std::string fitJson(const FitReport& report) {
    const Json json = {{"pairs", {{"file", report.pairsFile}, {"count", report.pairs.size()}}},
                       {"model", report.traits().name},
                       {"equations", report.equations()},
                       {"unknowns", report.traits().unknowns},
                       {"a_to_b", transformJson(report.fitted.bFromA, report)},
                       {"b_to_a", transformJson(report.fitted.aFromB, report)},
                       {"residuals", residualsJson(report)},
                       {"error_growth",
                        {{"a_to_b", growthJson(report.strength.errorGrowth)},
                         {"b_to_a", growthJson(report.strengthBack.errorGrowth)}}},
                       {"warnings", warningsJson(report)}};
    return jsonText(json);
}

}  // namespace ptmatch::tool
