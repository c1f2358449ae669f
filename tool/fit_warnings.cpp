#include "fit_warnings.h"

#include <cmath>
#include <cstddef>
#include <optional>

#include "matrix_parts.h"
#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

// Points that fill their plane to less than this are called nearly on a line.
constexpr double kNearlyFlat = 0.2;

// Sides of which one is larger by this factor are of different units, if the fit is bad, too.
constexpr double kOtherSize = 1.5;

std::string growthText(double growth) {
    return growth <= kLargestGrowth ? "up to " + significantText(growth, 2) + " times"
                                    : "without bound";
}

std::string regionText(std::size_t dimensions) {
    return dimensions == 2 ? "circle" : "sphere";
}

// Why errors grow, as far as the spread of the points tells: a clause to go before a semicolon.
std::string arrangementText(const FitReport& report, const PointSpread& spread,
                            const std::string& name) {
    const std::string degeneracy = degeneracyOf(spread, kNearlyFlat, "nearly");
    const bool isLine = spread.thinness() <= kNearlyFlat;
    const std::string share =
        significantText(100.0 * (isLine ? spread.thinness() : spread.flatness()), 2);
    if (!degeneracy.empty()) {
        return "the points " + name + " " + degeneracy + " (" + share + " % as wide as long); ";
    }
    if (report.model == FitModel::kPerspective) {
        return "too many of the points " + name + " lie nearly on one line; ";
    }
    return "the transform rests on too few of the points " + name + "; ";
}

std::optional<FitWarning> horizon(const FitReport& report) {
    if (!report.strength.isTorn && !report.strengthBack.isTorn) return std::nullopt;
    return FitWarning{"horizon",
                      std::string("the horizon of the fitted transform runs through the points ") +
                          (report.strength.isTorn ? "a" : "b") +
                          ": no camera sees them so; some pairs are probably wrong"};
}

// True when the best affine transform makes a mirror image: it has the sign of the covariance of
// the two sides.
bool areMirrored(const FitReport& report) {
    const std::size_t d = report.traits().dimensions;
    HomogeneousMatrix covariance(d + 1, std::vector<double>(d + 1, 0.0));
    for (std::size_t i = 0; i < report.pairs.size(); ++i) {
        for (std::size_t r = 0; r < d; ++r) {
            const double b = (report.pairs.b[i][r] - report.spreadB.mean[r]) / report.spreadB.reach;
            for (std::size_t c = 0; c < d; ++c) {
                const double a =
                    (report.pairs.a[i][c] - report.spreadA.mean[c]) / report.spreadA.reach;
                covariance[r][c] += b * a;
            }
        }
    }
    return isMirroring(covariance);
}

std::optional<FitWarning> largeResiduals(const FitReport& report) {
    const double spread = report.spreadB.rms();
    if (report.fitted.residual.rms <= kLargeResidual * spread) return std::nullopt;
    std::string message = "the residuals are as large as the spread of the points b (" +
                          significantText(report.fitted.residual.rms, 4) + " and " +
                          significantText(spread, 4) + "): do the pairs belong together?";
    if (report.model == FitModel::kRigid || report.model == FitModel::kRigid3D) {
        const double ratio = spread / report.spreadA.rms();
        if (ratio < 1.0 / kOtherSize || ratio > kOtherSize) {
            message += " The points b reach " + significantText(ratio, 3) +
                       " times as far as the points a, and " + report.traits().name +
                       " does not scale.";
        }
    }
    if (report.traits().isSimilarity && areMirrored(report)) {
        message += std::string(" One side is more like the mirror image of the other, which ") +
                   report.traits().name + " does not make: does an axis run the other way round?";
    }
    return FitWarning{"large_residuals", message};
}

std::optional<FitWarning> fewestPairs(const FitReport& report) {
    const FitModelTraits& traits = report.traits();
    if (report.pairs.size() > traits.fewestPairs) return std::nullopt;
    const std::string begin =
        countedText(report.pairs.size(), "pair") + " are the fewest for " + traits.name + ": ";
    return FitWarning{"fewest_pairs",
                      begin + (report.estimatedError()
                                   ? "the residuals show only a part of their errors"
                                   : "it meets them exactly, whatever their errors are, and the "
                                     "residuals say nothing")};
}

std::optional<FitWarning> weakGeometry(const FitReport& report) {
    const FitStrength& strength = report.strength;
    if (strength.isTorn || strength.errorGrowth <= kWeakGrowth) return std::nullopt;
    return FitWarning{"weak_geometry",
                      std::string("the pairs barely determine ") + report.traits().name + ": " +
                          arrangementText(report, report.spreadA, "a") +
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
                          arrangementText(report, report.spreadB, "b") +
                          "errors of the pairs grow " + growthText(back.errorGrowth) +
                          " within the " + regionText(report.traits().dimensions) +
                          " around the points b"};
}

std::string numberedPair(const FitReport& report, std::size_t pair) {
    return std::to_string(pair + 1) + " (line " + std::to_string(report.pairs.lines[pair]) + ")";
}

std::optional<FitWarning> decisivePairs(const FitReport& report) {
    constexpr std::size_t kMostNamed = 4;
    if (report.pairs.size() <= report.traits().fewestPairs) return std::nullopt;
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
            (count == 1 ? " decides a part of the transform alone: its residual shows "
                          "less than "
                        : " decide a part of the transform alone: their residuals "
                          "show less than ") +
            share + " % of " + (count == 1 ? "its error" : "their errors")};
}

}  // namespace

std::vector<FitWarning> warningsFor(const FitReport& report) {
    std::vector<FitWarning> warnings;
    for (const auto& find :
         {horizon, largeResiduals, weakGeometry, weakInverse, fewestPairs, decisivePairs}) {
        if (const auto warning = find(report)) warnings.push_back(*warning);
    }
    return warnings;
}

}  // namespace ptmatch::tool
