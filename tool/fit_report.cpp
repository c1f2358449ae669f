#include "fit_report.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "fit_warnings.h"
#include "foundation/exception.h"
#include "input_error.h"
#include "number_text.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

// The message of a refusal. The fits of the plane begin theirs with their degrees of freedom, a
// name of the model for programs; those of perspective leave open what would help.
std::string inWordsOfTheUser(FitModel model, const std::string& refusal) {
    const auto prefix = refusal.find("degrees of freedom: ");
    if (prefix != std::string::npos) {
        std::string reason = refusal.substr(refusal.find(": ", prefix) + 2);
        constexpr std::string_view kSecond = "the second points";
        if (reason.starts_with(kSecond)) reason.replace(0, kSecond.size(), "the points a");
        return reason;
    }
    if (model != FitModel::kPerspective) return refusal;
    if (refusal.find("eight-parameter") != std::string::npos) {
        return refusal + "; add a constant to the coordinates of a or b";
    }
    if (refusal.find("singular") != std::string::npos) {
        return "the pairs do not tell the transform from a singular one, which takes the plane to "
               "a line or a point";
    }
    const bool isOpen = refusal.find("open") != std::string::npos;
    return refusal + (isOpen ? "; it takes four pairs of which no three lie on one line" : "");
}

// All points but one, which is far from them, are to a fit much like one point: a clause to add, or
// nothing.
std::string farPointText(const PairTable& pairs, const std::vector<Coordinates>& points,
                         const std::string& name) {
    constexpr double kClose = 0.01;
    const PointSpread all = spreadOf(points, pairs.dimensions);
    const auto fromMean = [&](const Coordinates& p) {
        return std::hypot(p[0] - all.mean[0], p[1] - all.mean[1], p[2] - all.mean[2]);
    };
    const auto farthest =
        std::max_element(points.begin(), points.end(),
                         [&](const auto& p, const auto& q) { return fromMean(p) < fromMean(q); });
    std::vector<Coordinates> others = points;
    const std::ptrdiff_t pair = farthest - points.begin();
    others.erase(others.begin() + pair);
    const double share = spreadOf(others, pairs.dimensions).reach / all.reach;
    if (!(share <= kClose)) return {};
    return ": all points " + name + " but that of line " +
           std::to_string(pairs.lines[static_cast<std::size_t>(pair)]) +
           " lie close together, within " + significantText(100.0 * share, 2) +
           " % of its distance";
}

// What can be fitted to points that are too few, or too flat, for a model: a clause to add, or
// nothing.
std::string wayOutOf(const std::string& degeneracy, const FitModelTraits& traits) {
    if (degeneracy == "lie on one line" && traits.dimensions == 2) {
        return "; for points on one line, take similarity or rigid";
    }
    if (degeneracy == "lie in one plane") {
        return "; for points in one plane, take similarity3d or rigid3d";
    }
    return {};
}

// What is wrong with pairs that the fit has refused: in words of the points if these say it, else
// in the words of the refusal.
std::string whyRefused(const FitReport& report, const std::string& refusal) {
    constexpr double kRounding = 1e-7;
    // Points in one plane are enough for a rotation in space, on one line for one in the plane.
    const auto isMatter = [&](const std::string& degeneracy) {
        if (degeneracy.empty()) return false;
        if (!report.traits().isSimilarity) return true;
        return report.traits().dimensions == 2 ? degeneracy == "lie in one place"
                                               : degeneracy != "lie in one plane";
    };
    for (const auto& [name, spread] :
         {std::pair("a", report.spreadA), std::pair("b", report.spreadB)}) {
        const std::string degeneracy = degeneracyOf(spread, kRounding);
        if (!isMatter(degeneracy)) continue;
        return std::string("the points ") + name + " " + degeneracy +
               wayOutOf(degeneracy, report.traits());
    }
    std::string reason = inWordsOfTheUser(report.model, refusal);
    if (report.model != FitModel::kPerspective) return reason;
    const std::string far = farPointText(report.pairs, report.pairs.a, "a");
    return reason + (far.empty() ? farPointText(report.pairs, report.pairs.b, "b") : far);
}

// Beyond this, squares leave the range of double.
void requireModestSize(const PairTable& pairs, const std::string& pairsFile) {
    constexpr double kLargest = 1e150;
    const auto isModest = [](const Coordinates& p) {
        return std::all_of(p.begin(), p.end(), [](double v) { return std::abs(v) <= kLargest; });
    };
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (isModest(pairs.a[i]) && isModest(pairs.b[i])) continue;
        throw InputError(pairsFile + ":" + std::to_string(pairs.lines[i]) +
                         ": coordinates must be within 1e150");
    }
}

void appendNumbers(std::string& text, const Coordinates& numbers, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) text += shortText(numbers[k]) + ",";
}

}  // namespace

Coordinates FitReport::residualOf(std::size_t pair) const {
    Coordinates residual{};
    for (std::size_t k = 0; k < residual.size(); ++k) {
        residual[k] = pairs.b[pair][k] - fitted.images[pair][k];
    }
    return residual;
}

std::optional<double> FitReport::estimatedError() const {
    return errorOfPairs(traits(), pairs.size(), fitted.residual.rms);
}

std::size_t FitReport::distinctPairs() const {
    std::vector<std::pair<Coordinates, Coordinates>> sorted;
    sorted.reserve(pairs.size());
    for (std::size_t i = 0; i < pairs.size(); ++i) sorted.emplace_back(pairs.a[i], pairs.b[i]);
    std::sort(sorted.begin(), sorted.end());
    return static_cast<std::size_t>(std::unique(sorted.begin(), sorted.end()) - sorted.begin());
}

std::optional<double> errorOfPairs(const FitModelTraits& traits, std::size_t pairs,
                                   double rmsResidual) {
    const auto all = static_cast<double>(traits.dimensions * pairs);
    const double redundant = all - static_cast<double>(traits.unknowns);
    if (!(redundant > 0.0)) return std::nullopt;
    return rmsResidual * std::sqrt(all / redundant);
}

FitReport reportOnFit(FitModel model, PairTable pairs, const std::string& pairsFile) {
    const FitModelTraits& traits = traitsOf(model);
    if (pairs.size() < traits.fewestPairs) {
        throw InputError(pairsFile + ": " + traits.name + " needs at least " +
                         countedText(traits.fewestPairs, "pair") + ", found " +
                         std::to_string(pairs.size()));
    }
    requireModestSize(pairs, pairsFile);
    FitReport report;
    report.pairsFile = pairsFile;
    report.model = model;
    report.pairs = std::move(pairs);
    report.spreadA = spreadOf(report.pairs.a, traits.dimensions);
    report.spreadB = spreadOf(report.pairs.b, traits.dimensions);
    try {
        report.fitted = fitTransform(model, report.pairs);
    } catch (const rxException& error) {
        throw InputError(pairsFile + ": " + traits.name + " cannot be fitted: " +
                         whyRefused(report, std::string(trimmed(error.what()))));
    }
    report.strength = strengthOf(traits, report.pairs.a, report.fitted.bFromA);
    report.strengthBack = strengthOf(traits, report.pairs.b, report.fitted.aFromB);
    report.warnings = warningsFor(report);
    return report;
}

std::string fitCsv(const FitReport& report) {
    const std::size_t dimensions = report.traits().dimensions;
    std::string text;
    for (const std::string& name : pairColumns(dimensions)) text += name + ",";
    text += dimensions == 2 ? "dx,dy,distance\n" : "dx,dy,dz,distance\n";
    for (std::size_t i = 0; i < report.pairs.size(); ++i) {
        const Coordinates d = report.residualOf(i);
        appendNumbers(text, report.pairs.a[i], dimensions);
        appendNumbers(text, report.pairs.b[i], dimensions);
        appendNumbers(text, d, dimensions);
        text += shortText(std::hypot(d[0], d[1], d[2])) + "\n";
    }
    return text;
}

}  // namespace ptmatch::tool
