#include "ptmatch/why_not.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "ptmatch/exhaustive_search.h"
#include "ptmatch/image_search.h"
#include "ptmatch/matcher_access.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/pose_check.h"
#include "ptmatch/pose_score_store.h"
#include "ptmatch/result_map.h"
#include "ptmatch/search_params.h"
#include "ptmatch/search_plan.h"

namespace {

using namespace ptmatch::detail;  // NOLINT: joins pieces that live there
using Points = std::vector<rxVector<2>>;

bool isExcluded(const rxNearestMiss& candidate) {
    return candidate.isBelowCoverage || candidate.isOutsideTranslation ||
           candidate.isOutsideRotation || candidate.isOutsideScale || candidate.isSingular;
}

bool isBetterMiss(const rxNearestMiss& a, const rxNearestMiss& b) {
    if (a.coverage != b.coverage) return a.coverage > b.coverage;
    return a.fitError < b.fitError;
}

/// Enters the candidates, in any order, in place of those that were there.
/// @param maxNumResults  allowed ones that are returned. 0: the search is a wider one than that of
///     a run that returns nothing.
void tally(std::vector<rxNearestMiss> candidates, long maxNumResults, rxWhyNot& why) {
    std::ranges::stable_sort(candidates, isBetterMiss);
    rxWhyNot counted;
    counted.cost = why.cost;
    counted.numCandidates = static_cast<long>(candidates.size());
    for (rxNearestMiss& candidate : candidates) {
        counted.bestCoverage = std::max(counted.bestCoverage, candidate.coverage);
        const bool isAllowed = !isExcluded(candidate);
        candidate.isBeyondCount = isAllowed && counted.numReturned >= maxNumResults;
        counted.numBelowCoverage += candidate.isBelowCoverage ? 1 : 0;
        counted.numOutsideTranslation += candidate.isOutsideTranslation ? 1 : 0;
        counted.numOutsideRotation += candidate.isOutsideRotation ? 1 : 0;
        counted.numOutsideScale += candidate.isOutsideScale ? 1 : 0;
        counted.numSingular += candidate.isSingular ? 1 : 0;
        counted.numBeyondCount += candidate.isBeyondCount ? 1 : 0;
        if (isAllowed && !candidate.isBeyondCount) {
            ++counted.numReturned;
        } else if (!counted.nearestMiss) {
            counted.nearestMiss = candidate;
        }
    }
    // Of none that is wanted, none is too many.
    if (maxNumResults == 0) {
        counted.numBeyondCount = 0;
        if (counted.nearestMiss) counted.nearestMiss->isBeyondCount = false;
    }
    why = counted;
}

/// How many candidates of a wider search the run returns: none where it finds nothing, also of
/// those that would be allowed.
long wantedOfWider(std::size_t numReturned, const rxPointMatcherRunParams& params) {
    return numReturned == 0 ? 0 : params.maxNumResults();
}

/// What is to be said when nothing is returned; also of candidates of a wider search.
rxWhyNotDefs::Reason reasonOf(const rxWhyNot& why) {
    if (why.numReturned > 0) return rxWhyNotDefs::eFound;
    if (!why.nearestMiss) return rxWhyNotDefs::eNoCandidate;
    if (!isExcluded(*why.nearestMiss)) return rxWhyNotDefs::eMissed;
    return why.nearestMiss->isBelowCoverage ? rxWhyNotDefs::eCoverage : rxWhyNotDefs::ePose;
}

// ---- search by votes

/// All candidates of the search, as the run judges them.
/// @param searched  the parameters of the search, which may ask for less than those of the run.
std::vector<rxNearestMiss> votedCandidates(const Points& data, const SearchPlan& plan,
                                           const rxPointMatcherRunParams& searched) {
    const rx_PointMatcherModel& model = *plan.model;
    rx_PoseScoreStore store(model.totalWeight(), searched.maxNumResults());
    searchByImage_(data, model, searched, store);

    const double totalWeight = static_cast<double>(model.totalWeight());
    const double invTotal = model.totalWeight() == 0 ? 0.0 : 1.0 / totalWeight;
    const double minScore = plan.params.minCoverage() * totalWeight;
    const rxXform<2> startInverse = plan.params.startPose().inverse();
    std::vector<rxNearestMiss> candidates;
    for (long score = store.first(); score >= 0; score = store.next()) {
        const PoseCandidate& found = *store.current();
        const rxXform<2> pose = startInverse * found.modelToData;
        rxNearestMiss candidate;
        candidate.modelToDataXform = found.modelToData;
        candidate.coverage = static_cast<double>(score) * invTotal;
        candidate.fitError = rmsFitError_(data, found.modelToData, model.points(), found.map);
        candidate.isBelowCoverage = !(static_cast<double>(score) >= minScore);
        candidate.isSingular = pose.isSingular();
        candidate.isOutsideRotation = !candidate.isSingular && !checkPose_(pose, plan.params);
        candidates.push_back(candidate);
    }
    return candidates;
}

/// The parameters of a search that keeps what the run's search leaves out for want of coverage.
rxPointMatcherRunParams widened(const rxPointMatcherRunParams& params) {
    constexpr long kFewestWanted = 16;
    rxPointMatcherRunParams wide(params);
    wide.minCoverage(0.0);
    wide.maxNumResults(std::max(kFewestWanted, params.maxNumResults()));
    return wide;
}

void explainVotes(const rxPointMatcher& matcher, const Points& data,
                  const rxPointMatcherRunParams& params, const SearchPlan& plan, rxWhyNot& why) {
    const std::size_t numModel = plan.model->points().size();
    const long wanted = plan.params.maxNumResults();
    if (plan.isSearched) {
        tally(votedCandidates(data, plan, searchParams(plan.params, numModel, data.size())), wanted,
              why);
        why.reason = reasonOf(why);
        if (why.reason == rxWhyNotDefs::eFound) return;
    }
    const bool canReach = canReachCoverage(data.size(), *plan.model, plan.params.minCoverage());
    const rxPointMatcherRunParams wide = widened(plan.params);
    if (planSearch(matcher, data, widened(params))->isSearched) {
        tally(votedCandidates(data, plan, searchParams(wide, numModel, data.size())),
              wantedOfWider(0, plan.params), why);
        why.isWidened = true;
        why.reason = reasonOf(why);
    } else {
        why.reason = rxWhyNotDefs::eNothingToSearch;
    }
    if (!canReach) why.reason = rxWhyNotDefs::eTooFewData;
}

// ---- exhaustive search

void explainAssignments(const Points& data, const rx_PointMatcherModel& model,
                        const rxPointMatcherRunParams& params, rxWhyNot& why) {
    constexpr long kFewestWanted = 1000;
    rxPointMatcherRunParams wide(params);
    wide.maxNumResults(std::max(kFewestWanted, params.maxNumResults()));
    wide.xTranslationUncertainty(rxRange::FullRange());
    wide.yTranslationUncertainty(rxRange::FullRange());
    wide.rotationUncertainty(rxAngleRange::FullRange());
    if (params.scaleUncertainty() != rxRange(0.0, 0.0)) {
        wide.scaleUncertainty(rxRange(-0.9, 1e150));
    }
    const rxXform<2> inverseStart = params.startPose().inverse();
    std::vector<rxNearestMiss> candidates;
    for (const RankedPose& ranked : searchExhaustively(data, model, wide)) {
        const rxXform<2> change = ranked.modelToData * inverseStart;
        rxNearestMiss candidate;
        candidate.modelToDataXform = ranked.modelToData;
        candidate.coverage = ranked.coverage;
        candidate.fitError = ranked.fitError;
        candidate.isOutsideTranslation =
            !params.xTranslationUncertainty().isWithin(change.trans().x()) ||
            !params.yTranslationUncertainty().isWithin(change.trans().y());
        candidate.isOutsideRotation = !isWithinLimits(params.rotationUncertainty(), change.xRot());
        candidate.isOutsideScale =
            !isWithinLimits(params.scaleUncertainty(), change.xScale() - 1.0);
        candidates.push_back(candidate);
    }
    const std::size_t numReturned = searchExhaustively(data, model, params).size();
    tally(std::move(candidates), wantedOfWider(numReturned, params), why);
    why.numReturned = static_cast<long>(numReturned);
    why.isWidened = true;
    why.reason = reasonOf(why);
    if (data.empty()) why.reason = rxWhyNotDefs::eNothingToSearch;
}

// ---- placements on a grid

void explainPlacements(const rxPointMatcher& matcher, const Points& data,
                       const rxPointMatcherRunParams& params, rxWhyNot& why) {
    constexpr long kFewestWanted = 1000;
    const double numPoints = static_cast<double>(trainedPoints(matcher).size());
    rxPointMatcherRunParams wide(params);
    wide.maxNumResults(std::max(kFewestWanted, params.maxNumResults()));
    // Rounded down to whole points, this is one.
    wide.minCoverage(1.5 / numPoints);
    rxPointMatcherResultSet returned;
    matcher.run(data, params, returned);
    rxPointMatcherResultSet found;
    matcher.run(data, wide, found);
    // A coverage that comes to no point finds nothing.
    const double fewest = std::floor(params.minCoverage() * numPoints);
    std::vector<rxNearestMiss> candidates;
    for (const rxPointMatcherResult& result : found.results()) {
        rxNearestMiss candidate;
        candidate.modelToDataXform = result.modelToDataXform();
        candidate.coverage = result.coverage();
        candidate.fitError = result.fitError();
        candidate.isBelowCoverage = fewest < 1.0 || result.coverage() * numPoints < fewest - 0.5;
        candidates.push_back(candidate);
    }
    const std::size_t numReturned = returned.results().size();
    tally(std::move(candidates), wantedOfWider(numReturned, params), why);
    why.numReturned = static_cast<long>(numReturned);
    why.isWidened = true;
    why.reason = reasonOf(why);
    if (data.empty()) why.reason = rxWhyNotDefs::eNothingToSearch;
}

}  // namespace

rxWhyNot rfWhyNot(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                  const rxPointMatcherRunParams& params) {
    rxWhyNot why;
    why.cost = rfRunCost(matcher, data, params);  // and the door of the run
    if (const auto plan = planSearch(matcher, data, params)) {
        explainVotes(matcher, data, params, *plan, why);
    } else if (why.cost.mode == rxPointMatcherDefs::eExhaustiveMode) {
        explainAssignments(data, *MatcherAccess::pointModel(matcher), params, why);
    } else {
        explainPlacements(matcher, data, params, why);
    }
    return why;
}
