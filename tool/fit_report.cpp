#include "fit_report.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

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
    const bool lacksForm = refusal.find("eight-parameter") != std::string::npos;
    return refusal + (lacksForm ? "; add a constant to the coordinates of a or b"
                                : "; it takes four pairs of which no three lie on one line");
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
        if (isMatter(degeneracy)) return std::string("the points ") + name + " " + degeneracy;
    }
    return inWordsOfTheUser(report.model, refusal);
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
    const auto all = static_cast<double>(equations());
    const double redundant = all - static_cast<double>(traits().unknowns);
    if (!(redundant > 0.0)) return std::nullopt;
    return fitted.residual.rms * std::sqrt(all / redundant);
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
