#include <algorithm>
#include <utility>
#include <vector>

#include "foundation/timer.h"
#include "ptmatch/exhaustive_search.h"
#include "ptmatch/image_search.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/pose_check.h"
#include "ptmatch/pose_score_store.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ranked_pose.h"
#include "ptmatch/run_arguments.h"
#include "ptmatch/search_params.h"

namespace {

using namespace ptmatch::detail;  // NOLINT: the run joins the pieces that live there

// The store's candidates that may be returned, best score first.
std::vector<RankedPose> acceptedPoses(const std::vector<rxVector<2>>& data,
                                      const rx_PointMatcherModel& model,
                                      const rxPointMatcherRunParams& params,
                                      rx_PoseScoreStore& store) {
    const double totalWeight = static_cast<double>(model.totalWeight());
    const double invTotal = model.totalWeight() == 0 ? 0.0 : 1.0 / totalWeight;
    const double minScore = params.minCoverage() * totalWeight;
    const rxXform<2> startInverse = params.startPose().inverse();
    std::vector<RankedPose> accepted;
    // The -1 behind the last entry is below every minimum.
    for (long score = store.first(); static_cast<double>(score) >= minScore; score = store.next()) {
        const PoseCandidate& candidate = *store.current();
        if (!checkPose_(startInverse * candidate.modelToData, params)) continue;
        const double fitError =
            rmsFitError_(data, candidate.modelToData, model.points(), candidate.map);
        accepted.push_back({candidate.modelToData, candidate.map,
                            static_cast<double>(score) * invTotal, fitError});
    }
    return accepted;
}

}  // namespace

void rxPointMatcher::run(const std::vector<rxVector<2>>& data,
                         const rxPointMatcherRunParams& params,
                         rxPointMatcherResultSet& resultSet) const {
    resultSet.getResults_().clear();
    const rxPointMatcherDefs::Mode mode = trainMode();
    if (mode == rxPointMatcherDefs::ePointToGrid) {
        requireRunnableGrid_();
    } else if (trainedModel_() == nullptr) {
        // An assignment can leave the exhaustive mode behind without a model to search with.
        throw rxPointMatcherDefs::NotTrained("rxPointMatcher tool is not trained\n");
    }
    checkRunArguments(data, params);
    switch (mode) {
        case rxPointMatcherDefs::ePointToGrid:
            return runPtToGrid_(data, params, resultSet);
        case rxPointMatcherDefs::eExhaustiveMode:
            return runExhaustive_(data, params, resultSet);
        default:
            return runPointToPoint_(data, params, resultSet);
    }
}

void rxPointMatcher::runPointToPoint_(const std::vector<rxVector<2>>& data,
                                      const rxPointMatcherRunParams& params,
                                      rxPointMatcherResultSet& resultSet) const {
    if (!canReachCoverage(data.size(), *model_, params.minCoverage())) return;
    checkSearchable(*model_, params.startPose());
    rxTimer timer(false);
    timer.start();
    const rxPointMatcherRunParams search =
        searchParams(params, model_->points().size(), data.size());
    rx_PoseScoreStore store(model_->totalWeight(), search.maxNumResults());
    searchByImage_(data, *model_, search, store);

    std::vector<RankedPose> accepted = acceptedPoses(data, *model_, params, store);
    std::stable_sort(accepted.begin(), accepted.end(), isBetter);
    if (static_cast<long>(accepted.size()) > params.maxNumResults()) {
        accepted.resize(static_cast<std::size_t>(params.maxNumResults()));
    }
    if (accepted.empty()) checkNothingFound(*model_, params.startPose());
    setResults_(std::move(accepted), rxPointMatcherDefs::ePointToPoint, timer, resultSet);
}

void rxPointMatcher::runExhaustive_(const std::vector<rxVector<2>>& data,
                                    const rxPointMatcherRunParams& params,
                                    rxPointMatcherResultSet& resultSet) const {
    rxTimer timer(false);
    timer.start();
    std::vector<RankedPose> ranked = searchExhaustively(data, *model_, params);
    setResults_(std::move(ranked), rxPointMatcherDefs::eExhaustiveMode, timer, resultSet);
}

void rxPointMatcher::setResults_(std::vector<RankedPose> ranked, rxPointMatcherDefs::Mode mode,
                                 const rxTimer& timer, rxPointMatcherResultSet& resultSet) {
    std::vector<rxPointMatcherResult> results(ranked.size());
    for (std::size_t i = 0; i < ranked.size(); ++i) {
        results[i].runMode_ = mode;
        results[i].setModelToDataXform_(ranked[i].modelToData);
        results[i].setModelToDataMap_(std::move(ranked[i].map));
        results[i].setCoverage_(ranked[i].coverage);
        results[i].setFitError_(ranked[i].fitError);
    }
    resultSet.setTime_(timer.sec());
    resultSet.getResults_() = std::move(results);
}
