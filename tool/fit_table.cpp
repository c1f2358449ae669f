#include "fit_table.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <vector>

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

// Where the points go when the elements of the matrix are printed with this many digits.
double largestShift(const HomogeneousMatrix& matrix, const std::vector<Coordinates>& points,
                    int digits) {
    HomogeneousMatrix printed = matrix;
    for (std::vector<double>& row : printed) {
        for (double& element : row) {
            element = parseNumber(significantText(element, digits)).value_or(element);
        }
    }
    double largest = 0.0;
    for (const Coordinates& p : points) {
        const Coordinates exact = mapped(matrix, p);
        const Coordinates shifted = mapped(printed, p);
        const double shift =
            std::hypot(shifted[0] - exact[0], shifted[1] - exact[1], shifted[2] - exact[2]);
        largest = std::isnan(shift) ? shift : std::max(largest, shift);
    }
    return largest;
}

// The fewest digits, but not fewer than other parameters have, with which the matrix maps the
// points as well as it fits them. The translation of a map far from the origin needs more than
// others, and so does a matrix that is to cancel it.
int matrixDigits(const HomogeneousMatrix& matrix, const std::vector<Coordinates>& points,
                 const std::vector<Coordinates>& partners) {
    constexpr double kShareOfResidual = 1e-3;
    constexpr double kRounding = 1e-13;
    constexpr int kAllDigits = 17;
    double squares = 0.0;
    double farthest = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Coordinates image = mapped(matrix, points[i]);
        const double length = std::hypot(partners[i][0] - image[0], partners[i][1] - image[1],
                                         partners[i][2] - image[2]);
        squares = std::hypot(squares, length);
        farthest = std::max(farthest, std::hypot(image[0], image[1], image[2]));
    }
    const double rms = squares / std::sqrt(static_cast<double>(points.size()));
    const double tolerance = std::max(kShareOfResidual * rms, kRounding * farthest);
    for (int digits = kParameterDigits; digits < kAllDigits; ++digits) {
        if (largestShift(matrix, points, digits) <= tolerance) return digits;
    }
    return kAllDigits;
}

// The last row of transforms that are not perspective says nothing.
void appendMatrix(std::vector<TableRow>& rows, const std::string& name,
                  const HomogeneousMatrix& matrix, int digits, bool isPerspective) {
    for (std::size_t r = 0; r + (isPerspective ? 0 : 1) < matrix.size(); ++r) {
        TableRow row = {r == 0 ? name : ""};
        for (const double element : matrix[r]) row.push_back(significantText(element, digits));
        rows.push_back(row);
    }
}

std::string matrixTable(const FitReport& report) {
    const bool isPerspective = report.model == FitModel::kPerspective;
    std::vector<TableRow> rows;
    const auto& [a, b] = std::tie(report.pairs.a, report.pairs.b);
    const FittedTransform& fitted = report.fitted;
    appendMatrix(rows, kThere, fitted.bFromA, matrixDigits(fitted.bFromA, a, b), isPerspective);
    appendMatrix(rows, kBack, fitted.aFromB, matrixDigits(fitted.aFromB, b, a), isPerspective);
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
