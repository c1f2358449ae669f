#include "fit_warnings.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

#include "fit_alternatives.h"
#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

// Sides of which one is larger by this factor are of different units, if the fit is bad, too.
constexpr double kOtherSize = 1.5;

std::string growthText(double growth) {
    return growth <= kLargestGrowth ? "up to " + significantText(growth, 2) + " times"
                                    : "without bound";
}

std::string regionText(std::size_t dimensions) {
    return dimensions == 2 ? "circle" : "sphere";
}

std::string numberedPair(const FitReport& report, std::size_t pair) {
    return std::to_string(pair + 1) + " (line " + std::to_string(report.pairs.lines[pair]) + ")";
}

std::string widthText(double share) {
    return significantText(100.0 * share, 2) + " % as wide as long";
}

// The pair without which all points are nearly on one line, as far as the one with the largest
// leverage is it: a clause as below, or nothing.
std::string allButOneText(const FitReport& report, std::vector<Coordinates> points,
                          const FitStrength& strength, const std::string& name) {
    const auto& leverages = strength.leverages;
    const auto pair = std::max_element(leverages.begin(), leverages.end()) - leverages.begin();
    points.erase(points.begin() + pair);
    const PointSpread others = spreadOf(points, report.traits().dimensions);
    if (others.thinness() > kNearlyFlat) return {};
    return "all points " + name + " but that of pair " +
           numberedPair(report, static_cast<std::size_t>(pair)) + " lie nearly on one line (" +
           widthText(others.thinness()) + "); ";
}

// Why errors grow, as far as the spread of the points tells: a clause to go before a semicolon.
std::string arrangementText(const FitReport& report, const std::vector<Coordinates>& points,
                            const FitStrength& strength, const std::string& name) {
    const PointSpread spread = spreadOf(points, report.traits().dimensions);
    const std::string degeneracy = degeneracyOf(spread, kNearlyFlat, "nearly");
    const bool isLine = spread.thinness() <= kNearlyFlat;
    if (!degeneracy.empty()) {
        return "the points " + name + " " + degeneracy + " (" +
               widthText(isLine ? spread.thinness() : spread.flatness()) + "); ";
    }
    if (report.model == FitModel::kPerspective) {
        std::string allButOne = allButOneText(report, points, strength, name);
        if (!allButOne.empty()) return allButOne;
    }
    return "too few of the pairs fix some part of it; ";
}

std::optional<FitWarning> horizon(const FitReport& report) {
    if (!report.strength.isTorn && !report.strengthBack.isTorn) return std::nullopt;
    return FitWarning{"horizon",
                      std::string("the horizon of the fitted transform runs through the points ") +
                          (report.strength.isTorn ? "a" : "b") +
                          ": no camera sees them so; some pairs are probably wrong"};
}

std::optional<FitWarning> largeResiduals(const FitReport& report) {
    const double spread = report.spreadB.rms();
    const double rms = report.fitted.residual.rms;
    if (rms <= kLargeResidual * spread) return std::nullopt;
    std::string message = "the residuals are large for the spread of the points b (" +
                          significantText(rms, 4) + " against " + significantText(spread, 4) +
                          "): do the pairs belong together?";
    const bool isRigid = report.model == FitModel::kRigid || report.model == FitModel::kRigid3D;
    const double ratio = spread / report.spreadA.rms();
    if (isRigid && (ratio < 1.0 / kOtherSize || ratio > kOtherSize)) {
        message += " The points b reach " + significantText(ratio, 3) +
                   " times as far as the points a, and " + report.traits().name +
                   " does not scale.";
    }
    if (report.traits().isSimilarity) {
        if (const auto mirrored = explainedByMirroring(report)) {
            message += " One side is like the mirror image of the other, which ";
            message += report.traits().name;
            message += " does not make (mirrored, a similarity leaves " +
                       significantText(*mirrored, 2) + "): does an axis run the other way round?";
        }
    }
    return FitWarning{"large_residuals", message};
}

std::optional<FitWarning> otherScale(const FitReport& report) {
    const auto better = betterWithScale(report);
    if (!better) return std::nullopt;
    const std::string name = traitsOf(better->model).name;
    return FitWarning{"other_scale", name + ", of scale " + significantText(better->scale, 6) +
                                         ", leaves far less: the error of a pair is " +
                                         significantText(better->error, 4) + " instead of " +
                                         significantText(*report.estimatedError(), 4)};
}

std::optional<FitWarning> outlier(const FitReport& report) {
    const auto found = outstandingPair(report);
    if (!found) return std::nullopt;
    std::string message = "pair ";
    message += numberedPair(report, found->pair) + " is " + significantText(found->distance, 4) +
               " off where the others take it, which have errors of " +
               significantText(found->errorOfOthers, 4) + ": is it wrong?";
    return FitWarning{"outlier", message};
}

std::optional<FitWarning> fewestPairs(const FitReport& report) {
    const FitModelTraits& traits = report.traits();
    const std::size_t count = report.distinctPairs();
    if (count > traits.fewestPairs) return std::nullopt;
    const std::string begin = countedText(count, "pair") +
                              (count < report.pairs.size() ? " without the repeated ones" : "") +
                              " are the fewest for " + traits.name + ": ";
    return FitWarning{"fewest_pairs",
                      begin + (traits.dimensions * count > traits.unknowns
                                   ? "the residuals show only a part of their errors"
                                   : "it meets them exactly, whatever their errors are, and the "
                                     "residuals say nothing")};
}

std::optional<FitWarning> weakGeometry(const FitReport& report) {
    const FitStrength& strength = report.strength;
    if (strength.isTorn || strength.errorGrowth <= kWeakGrowth) return std::nullopt;
    return FitWarning{"weak_geometry",
                      std::string("the pairs barely determine ") + report.traits().name + ": " +
                          arrangementText(report, report.pairs.a, strength, "a") +
                          "errors of the pairs grow " + growthText(strength.errorGrowth) +
                          " within the " + regionText(report.traits().dimensions) +
                          " around the points a"};
}

std::optional<FitWarning> weakInverse(const FitReport& report) {
    const FitStrength& back = report.strengthBack;
    if (back.isTorn || back.errorGrowth <= kWeakGrowth) return std::nullopt;
    if (report.strength.errorGrowth > kWeakGrowth) return std::nullopt;  // has been said
    return FitWarning{"weak_inverse",
                      std::string("the pairs barely determine the way back from b to a: ") +
                          arrangementText(report, report.pairs.b, back, "b") +
                          "errors of the pairs grow " + growthText(back.errorGrowth) +
                          " within the " + regionText(report.traits().dimensions) +
                          " around the points b"};
}

std::optional<FitWarning> decisivePairs(const FitReport& report) {
    constexpr std::size_t kMostNamed = 4;
    if (report.distinctPairs() <= report.traits().fewestPairs) return std::nullopt;
    if (!std::isfinite(report.strength.errorGrowth)) return std::nullopt;
    std::string names;
    std::size_t count = 0;
    for (std::size_t i = 0; i < report.pairs.size(); ++i) {
        if (report.strength.leverages[i] <= kDecisiveLeverage) continue;
        if (++count > kMostNamed) continue;
        names += (names.empty() ? "" : ", ") + numberedPair(report, i);
    }
    if (count == 0) return std::nullopt;
    const std::string more =
        count > kMostNamed ? " and " + std::to_string(count - kMostNamed) + " more" : "";
    const std::string share = significantText(100.0 * (1.0 - kDecisiveLeverage), 2);
    return FitWarning{
        "decisive_pairs",
        std::string(count == 1 ? "pair " : "pairs ") + names + more +
            (count == 1 ? " decides a part of the transform alone: in some direction its residual "
                          "shows less than "
                        : " decide a part of the transform alone: in some direction their "
                          "residuals show less than ") +
            share + " % of " + (count == 1 ? "its error" : "their errors")};
}

}  // namespace

std::vector<FitWarning> warningsFor(const FitReport& report) {
    std::vector<FitWarning> warnings;
    for (const auto& find : {horizon, largeResiduals, otherScale, outlier, weakGeometry,
                             weakInverse, fewestPairs, decisivePairs}) {
        if (const auto warning = find(report)) warnings.push_back(*warning);
    }
    return warnings;
}

}  // namespace ptmatch::tool
