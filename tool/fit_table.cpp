#include "fit_table.h"

#include <cmath>
#include <cstddef>

#include "fit_warnings.h"
#include "matrix_parts.h"
#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

constexpr int kParameterDigits = 9;
constexpr int kErrorDigits = 4;

constexpr auto kThere = "a to b";
constexpr auto kBack = "b to a";

std::string parameterText(double value) {
    return significantText(value, kParameterDigits);
}

// The last row of transforms that are not perspective says nothing.
void appendMatrix(std::vector<TableRow>& rows, const std::string& name,
                  const HomogeneousMatrix& matrix, bool isPerspective) {
    for (std::size_t r = 0; r + (isPerspective ? 0 : 1) < matrix.size(); ++r) {
        TableRow row = {r == 0 ? name : ""};
        for (const double element : matrix[r]) row.push_back(parameterText(element));
        rows.push_back(row);
    }
}

std::string matrixTable(const FitReport& report) {
    const bool isPerspective = report.model == FitModel::kPerspective;
    std::vector<TableRow> rows;
    appendMatrix(rows, kThere, report.fitted.bFromA, isPerspective);
    appendMatrix(rows, kBack, report.fitted.aFromB, isPerspective);
    return alignedText(rows);
}

TableRow similarityRow(const std::string& name, const HomogeneousMatrix& matrix) {
    const RotationAndScale parts = rotationAndScaleOf(matrix);
    const std::size_t dimensions = matrix.size() - 1;
    TableRow row = {name, parameterText(parts.rotationDeg), parameterText(parts.scale)};
    for (std::size_t k = 0; k < dimensions; ++k) row.push_back(parameterText(matrix[k].back()));
    for (std::size_t k = 0; k < 3 && dimensions == 3; ++k) {
        row.push_back(parts.axis ? parameterText((*parts.axis)[k]) : "-");
    }
    return row;
}

std::string similarityTable(const FitReport& report) {
    TableRow header = {"", "rotation [deg]", "scale", "translation x", "y"};
    if (report.traits().dimensions == 3) header.insert(header.end(), {"z", "axis x", "y", "z"});
    return alignedText({header, similarityRow(kThere, report.fitted.bFromA),
                        similarityRow(kBack, report.fitted.aFromB)});
}

TableRow affineRow(const std::string& name, const HomogeneousMatrix& matrix) {
    const std::vector<double> stretches = stretchesOf(matrix);
    return {name, parameterText(stretches.front()), parameterText(stretches.back()),
            isMirroring(matrix) ? "yes" : "no"};
}

std::string affineTable(const FitReport& report) {
    return alignedText({{"", "largest scale", "smallest scale", "mirror image"},
                        affineRow(kThere, report.fitted.bFromA),
                        affineRow(kBack, report.fitted.aFromB)});
}

std::string growthText(double growth) {
    return growth <= kLargestGrowth ? significantText(growth, 3) : "unbounded";
}

std::string qualityTable(const FitReport& report) {
    const rxFitResidual& residual = report.fitted.residual;
    const std::optional<double> error = report.estimatedError();
    return alignedText(
        {{"residual (RMS)", "largest", "of pair", "in line", "error of a pair", "error growth",
          "back"},
         {significantText(residual.rms, kErrorDigits),
          significantText(residual.largest, kErrorDigits), std::to_string(residual.worst + 1),
          std::to_string(report.pairs.lines[residual.worst]),
          error ? significantText(*error, kErrorDigits) : "?",
          growthText(report.strength.errorGrowth), growthText(report.strengthBack.errorGrowth)}});
}

}  // namespace

std::string fitTable(const FitReport& report) {
    std::string text = std::string(report.traits().name) + " fitted to " +
                       countedText(report.pairs.size(), "pair") + " (" +
                       countedText(report.equations(), "equation") + ", " +
                       countedText(report.traits().unknowns, "unknown") + ")\n\n" +
                       matrixTable(report) + "\n";
    if (report.traits().isSimilarity) {
        text += similarityTable(report) + "\n";
    } else if (report.model != FitModel::kPerspective) {
        text += affineTable(report) + "\n";
    }
    return text + qualityTable(report);
}

std::string residualTable(const FitReport& report) {
    const std::size_t dimensions = report.traits().dimensions;
    TableRow header = {"pair", "line", "dx", "dy"};
    if (dimensions == 3) header.emplace_back("dz");
    header.insert(header.end(), {"distance", "leverage"});
    std::vector<TableRow> rows = {header};
    for (std::size_t i = 0; i < report.pairs.size(); ++i) {
        const Coordinates d = report.residualOf(i);
        TableRow row = {std::to_string(i + 1), std::to_string(report.pairs.lines[i])};
        for (std::size_t k = 0; k < dimensions; ++k) {
            row.push_back(significantText(d[k], kErrorDigits));
        }
        row.push_back(significantText(std::hypot(d[0], d[1], d[2]), kErrorDigits));
        row.push_back(fixedText(report.strength.leverages[i], 3));
        rows.push_back(row);
    }
    return alignedText(rows);
}

}  // namespace ptmatch::tool
