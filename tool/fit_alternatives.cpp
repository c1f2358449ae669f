#include "fit_alternatives.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/exception.h"
#include "matrix_parts.h"

namespace ptmatch::tool {
namespace {

std::optional<FittedTransform> fitIfPossible(FitModel model, const PairTable& pairs) {
    if (pairs.size() < traitsOf(model).fewestPairs) return std::nullopt;
    try {
        return fitTransform(model, pairs);
    } catch (const rxException&) {
        return std::nullopt;
    }
}

FitModel similarityOf(const FitModelTraits& traits) {
    return traits.dimensions == 2 ? FitModel::kSimilarity : FitModel::kSimilarity3D;
}

bool isRedundantEnough(const FitModelTraits& traits, std::size_t pairs) {
    return traits.dimensions * pairs >= traits.unknowns + kEnoughRedundancy;
}

// Errors below this are rounding, whose sizes mean nothing.
double roundingOf(const FitReport& report) {
    constexpr double kShare = 1e-12;
    double largest = 0.0;
    for (const Coordinates& p : report.pairs.b) {
        for (const double v : p) largest = std::max(largest, std::abs(v));
    }
    return kShare * largest;
}

double lengthOf(const Coordinates& d) {
    return std::hypot(d[0], d[1], d[2]);
}

PairTable without(PairTable pairs, std::size_t pair) {
    const auto at = static_cast<std::ptrdiff_t>(pair);
    pairs.a.erase(pairs.a.begin() + at);
    pairs.b.erase(pairs.b.begin() + at);
    pairs.lines.erase(pairs.lines.begin() + at);
    return pairs;
}

// The root of the share of the square of its error that a pair shows.
double shownShare(const FitReport& report, std::size_t pair) {
    return std::sqrt(1.0 - report.strength.leverages[pair]);
}

// The pair whose residual is the largest for what the fit shows of its error.
std::size_t largestForItsLeverage(const FitReport& report) {
    std::size_t best = report.fitted.residual.worst;
    double largest = 0.0;
    for (std::size_t i = 0; i < report.pairs.size(); ++i) {
        if (!(shownShare(report, i) > 0.0)) continue;
        const double size = lengthOf(report.residualOf(i)) / shownShare(report, i);
        if (!(size > largest)) continue;
        largest = size;
        best = i;
    }
    return best;
}

// How far the pair is off what the others say, and how much that is in errors of the others.
std::optional<std::pair<OutstandingPair, double>> measured(const FitReport& report,
                                                           std::size_t pair) {
    const PairTable others = without(report.pairs, pair);
    const auto fitted = fitIfPossible(report.model, others);
    if (!fitted) return std::nullopt;
    const auto error = errorOfPairs(report.traits(), others.size(), fitted->residual.rms);
    if (!error) return std::nullopt;
    const Coordinates image = mapped(fitted->bFromA, report.pairs.a[pair]);
    Coordinates d{};
    for (std::size_t k = 0; k < d.size(); ++k) d[k] = report.pairs.b[pair][k] - image[k];
    const double distance = lengthOf(d);
    const double factor =
        distance * shownShare(report, pair) / std::max(*error, roundingOf(report));
    return std::pair(OutstandingPair{pair, distance, *error}, factor);
}

}  // namespace

std::optional<OutstandingPair> outstandingPair(const FitReport& report) {
    if (!isRedundantEnough(report.traits(), report.pairs.size() - 1)) return std::nullopt;
    std::optional<OutstandingPair> found;
    double largest = kOutstandingFactor;
    for (const std::size_t pair : {report.fitted.residual.worst, largestForItsLeverage(report)}) {
        const auto candidate = measured(report, pair);
        if (!candidate || !(candidate->second > largest)) continue;
        found = candidate->first;
        largest = candidate->second;
    }
    return found;
}

std::optional<double> explainedByMirroring(const FitReport& report) {
    const FitModel model = similarityOf(report.traits());
    PairTable mirrored = report.pairs;
    for (Coordinates& p : mirrored.b) p[0] = -p[0];
    const auto fitted = fitIfPossible(model, mirrored);
    if (!fitted) return std::nullopt;
    const auto direct = fitIfPossible(model, report.pairs);
    const double left = direct ? direct->residual.rms : report.fitted.residual.rms;
    if (!(fitted->residual.rms < kMirroredShare * left)) return std::nullopt;
    return fitted->residual.rms;
}

std::optional<OtherScale> betterWithScale(const FitReport& report) {
    if (report.model != FitModel::kRigid && report.model != FitModel::kRigid3D) {
        return std::nullopt;
    }
    const FitModel model = similarityOf(report.traits());
    if (!isRedundantEnough(traitsOf(model), report.pairs.size())) return std::nullopt;
    const auto rigidError = report.estimatedError();
    if (!rigidError || *rigidError <= roundingOf(report)) return std::nullopt;
    const auto fitted = fitIfPossible(model, report.pairs);
    if (!fitted) return std::nullopt;
    const auto error = errorOfPairs(traitsOf(model), report.pairs.size(), fitted->residual.rms);
    if (!error || !(*error < 0.5 * *rigidError)) return std::nullopt;
    // Among pairs that do not belong together, a small scale leaves the least.
    if (!(*error < 0.5 * report.spreadB.rms())) return std::nullopt;
    return OtherScale{model, rotationAndScaleOf(fitted->bFromA).scale, *error};
}

}  // namespace ptmatch::tool
