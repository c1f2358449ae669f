#include "reference/reference_run.h"

#include <algorithm>
#include <functional>
#include <limits>

#include "reference/reference_refinement.h"

namespace ptmatch::reference {
namespace {

constexpr double kForgiveness = 1e-9;

/// Whether the coverage asked for is out of reach, whatever the pose.
bool isOutOfReach(const Model& model, const Points& data, double minCoverage) {
    if (!model.isWeighted()) {
        return static_cast<double>(data.size()) < minCoverage * static_cast<double>(model.size());
    }
    if (data.size() > model.points.size()) return false;
    std::vector<long> weights = model.weights;
    std::sort(weights.begin(), weights.end(), std::greater<>());
    long best = 0;
    for (std::size_t i = 0; i < data.size(); ++i) best += std::max(weights[i], 0L);
    return static_cast<double>(best) < minCoverage * static_cast<double>(model.totalWeight);
}

long searchCapacity(const Model& model, const Points& data, long maxNumResults) {
    const long capacity =
        std::min(8 * maxNumResults, static_cast<long>(std::numeric_limits<int>::max()));
    const bool isTiny = model.points.size() < 4 || data.size() < 4;
    return isTiny ? std::max(1000L, capacity) : capacity;
}

bool isAllowed(const rxXform<2>& pose, const rxPointMatcherRunParams& params) {
    return !pose.isSingular() && isWithinForgiving(params.rotationUncertainty(), pose.rotation());
}

}  // namespace

bool isWithinForgiving(const rxRange& range, double value) {
    if (range.range() != rxRangeDefs::Normal) return range.isWithin(value);
    return value >= range.start() - kForgiveness && value <= range.end() + kForgiveness;
}

bool isWithinForgiving(const rxAngleRange& range, rxRadian angle) {
    if (range.range() != rxRangeDefs::Normal) return range.isWithin(angle);
    const rxAngleRange wider(rxRadian(range.start().toDouble() - kForgiveness),
                             rxRadian(range.end().toDouble() + kForgiveness), false);
    return wider.isWithin(angle);
}

void sortResults(std::vector<Result>& results) {
    std::stable_sort(results.begin(), results.end(), [](const Result& a, const Result& b) {
        if (a.coverage != b.coverage) return a.coverage > b.coverage;
        return a.fitError < b.fitError;
    });
}

RunReport run(const Model& model, const Points& data, const rxPointMatcherRunParams& params) {
    RunReport report;
    if (isOutOfReach(model, data, params.minCoverage())) return report;
    report.isTimed = true;
    const bool hasGrid = resolvedGridSize(model, params) < std::numeric_limits<double>::infinity();
    if (data.empty() || !hasGrid) return report;

    const SearchWorld world = prepareSearch(model, data, params, 0.5 * params.minCoverage(),
                                            searchCapacity(model, data, params.maxNumResults()));
    const CoarseList coarse = searchLattice(model, world, params, report.polls);
    const CoarseList revoted = recentre(model, world, coarse, report.polls);
    const PoseList poses = correspond(model, data, world, revoted, report.polls);
    report.coarse = coarse.bestFirst();
    report.revoted = revoted.bestFirst();

    const double invTotal =
        model.totalWeight == 0 ? 0.0 : 1.0 / static_cast<double>(model.totalWeight);
    const double minScore = params.minCoverage() * static_cast<double>(model.totalWeight);
    const rxXform<2> startInverse = params.startPose().inverse();
    for (const auto& [score, pose] : poses.bestFirst()) {
        if (static_cast<double>(score) < minScore) break;
        if (!isAllowed(startInverse * pose.dataFromModel, params)) continue;
        Result result;
        result.modelToDataXform = pose.dataFromModel;
        result.modelToDataMap = pose.modelToData;
        result.coverage = static_cast<double>(score) * invTotal;
        result.fitError = rmsFitError(data, pose.dataFromModel, model.points, pose.modelToData);
        report.results.push_back(result);
    }
    sortResults(report.results);
    if (report.results.size() > static_cast<std::size_t>(params.maxNumResults())) {
        report.results.resize(static_cast<std::size_t>(params.maxNumResults()));
    }
    return report;
}

}  // namespace ptmatch::reference
