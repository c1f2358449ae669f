#include <cmath>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "reference/reference_run.h"

namespace ptmatch::reference {
namespace {

/// Turns to the next assignment, the first slot fastest; false when all have been seen.
/// A slot goes through -1 (unassigned), 0, 1, ... up to the last partner.
bool advance(std::vector<long>& assignment, long partners) {
    for (long& slot : assignment) {
        ++slot;
        if (slot < partners) return true;
        slot = -1;
    }
    return false;
}

bool hasClash(const std::vector<long>& assignment, std::size_t partners) {
    std::vector<bool> isUsed(partners, false);
    for (const long partner : assignment) {
        if (partner < 0) continue;
        if (isUsed[static_cast<std::size_t>(partner)]) return true;
        isUsed[static_cast<std::size_t>(partner)] = true;
    }
    return false;
}

std::optional<rxXform<2>> fitAssignment(const Points& a, const Points& b,
                                        const std::vector<long>& assignment, int dof) {
    Points first;
    Points second;
    for (std::size_t i = 0; i < assignment.size(); ++i) {
        if (assignment[i] < 0) continue;
        first.push_back(a[i]);
        second.push_back(b[static_cast<std::size_t>(assignment[i])]);
    }
    if (first.size() < 2) return std::nullopt;
    try {
        const rxXform<2> fitted = rxLSPointToPointFitter(first, second).fit(dof);
        if (fitted.isSingular()) return std::nullopt;
        return fitted;
    } catch (const rxLSPointToPointFitter::Errors&) {
        return std::nullopt;
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

bool liesInRanges(const rxXform<2>& dataFromModel, const rxPointMatcherRunParams& params) {
    const rxXform<2> d = dataFromModel * params.startPose().inverse();
    return params.xTranslationUncertainty().isWithin(d.trans().x()) &&
           params.yTranslationUncertainty().isWithin(d.trans().y()) &&
           isWithinForgiving(params.rotationUncertainty(), d.xRot()) &&
           isWithinForgiving(params.scaleUncertainty(), d.xScale() - 1.0);
}

/// Each model point in turn takes the nearest data point that is free and within the capture range.
std::optional<Result> captureAll(const Model& model, const Points& data,
                                 const rxXform<2>& dataFromModel, double captureRange) {
    Result result;
    result.runMode = rxPointMatcherDefs::eExhaustiveMode;
    result.modelToDataXform = dataFromModel;
    result.modelToDataMap.assign(model.points.size(), -1);
    std::vector<bool> isTaken(data.size(), false);
    long count = 0;
    double sum = 0.0;
    for (std::size_t i = 0; i < model.points.size(); ++i) {
        const rxVector<2> placed = dataFromModel * model.points[i];
        double best = captureRange * captureRange;
        long bestIndex = -1;
        for (std::size_t j = 0; j < data.size(); ++j) {
            if (isTaken[j]) continue;
            const double squared = squaredDistance(placed, data[j]);
            if (squared < best) {
                best = squared;
                bestIndex = static_cast<long>(j);
            }
        }
        if (bestIndex == -1) continue;
        const long weight = model.isWeighted() ? model.weights[i] : 1;
        count += weight;
        sum += best * static_cast<double>(weight);
        result.modelToDataMap[i] = bestIndex;
        isTaken[static_cast<std::size_t>(bestIndex)] = true;
    }
    if (count < 2 || !(sum >= 0.0)) return std::nullopt;
    result.coverage = static_cast<double>(count) * 1.0 / static_cast<double>(model.totalWeight);
    result.fitError = std::sqrt(sum / static_cast<double>(count));
    return result;
}

}  // namespace

RunReport runExhaustively(const Model& model, const Points& data,
                          const rxPointMatcherRunParams& params) {
    RunReport report;
    report.isTimed = true;
    const bool modelIsA = data.size() >= model.points.size();
    const Points& a = modelIsA ? model.points : data;
    const Points& b = modelIsA ? data : model.points;
    if (a.empty()) return report;
    const double captureRange = resolvedCaptureRange(params, resolvedGridSize(model, params));
    const int dof = params.scaleUncertainty() == rxRange(0.0, 0.0) ? 3 : 4;

    std::vector<long> assignment(a.size(), -1);
    assignment[0] = -2;
    while (advance(assignment, static_cast<long>(b.size()))) {
        if (hasClash(assignment, b.size())) continue;
        const auto aFromB = fitAssignment(a, b, assignment, dof);
        if (!aFromB) continue;
        const rxXform<2> dataFromModel = modelIsA ? aFromB->inverse() : *aFromB;
        if (!liesInRanges(dataFromModel, params)) continue;
        auto result = captureAll(model, data, dataFromModel, captureRange);
        if (!result) continue;
        report.results.push_back(*std::move(result));
        sortResults(report.results);
        if (report.results.size() >= static_cast<std::size_t>(params.maxNumResults())) {
            report.results.resize(static_cast<std::size_t>(params.maxNumResults()));
        }
    }
    return report;
}

}  // namespace ptmatch::reference
