#include "point_explainer.h"

#include <algorithm>
#include <utility>

#include "input_error.h"
#include "number_text.h"
#include "ptmatch/certainty.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

using Outcome = Rerun::Outcome;

// Below this a pose is no accident: one in a hundred scenes of clutter has as good a one.
constexpr double kCredible = -2.0;
// So many results are compared where the coverage does not tell them from accidents.
constexpr long kCompared = 16;

std::string secondsText(double seconds) {
    return significantText(seconds, 3) + " s";
}

}  // namespace

bool isCredible(const std::optional<double>& log10FalseAlarms) {
    return log10FalseAlarms && *log10FalseAlarms <= kCredible;
}

std::optional<double> log10FalseAlarms(const rxPointMatcher& matcher,
                                       const std::vector<rxVector<2>>& data,
                                       const rxPointMatcherRunParams& params,
                                       const rxPointMatcherResultSet& found, std::size_t index) {
    const rxCertainty certainty = rfCertainty(matcher, data, params, found, index);
    return certainty.log10CloseFalseAlarms ? certainty.log10CloseFalseAlarms
                                           : certainty.log10FalseAlarms;
}

// A search that never looks for interruption takes as much longer as its work is more.
bool PointExplainer::wouldTakeTooLong_(const rxPointMatcher& matcher,
                                       const rxPointMatcherRunParams& params, Rerun& rerun) const {
    const rxRunCost cost = rfRunCost(matcher, data_().points, params);
    if (cost.isInterruptible || !(asAskedWork_ > 0.0)) return false;
    const double predicted = report_.match.seconds * cost.work / asAskedWork_;
    if (predicted <= question_.timeLimit) return false;
    rerun.outcome = Outcome::kNotFinished;
    rerun.remark = "would take about " + secondsText(predicted) + ", longer than --time-limit " +
                   shortText(question_.timeLimit);
    return true;
}

void PointExplainer::takeBest_(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params,
                               const rxPointMatcherResultSet& found, Rerun& rerun) const {
    const auto& results = found.results();
    rerun.outcome = results.empty() ? Outcome::kNothing : Outcome::kFound;
    for (std::size_t i = 0; i < results.size(); ++i) {
        const auto chance = log10FalseAlarms(matcher, data_().points, params, found, i);
        if (i > 0 && !(chance.value_or(0.0) < rerun.log10FalseAlarms.value_or(0.0))) continue;
        rerun.log10FalseAlarms = chance;
        rerun.pose = foundPose(results[i]);
        // Where the coverage tells poses apart, the first is the best.
        if (params.minCoverage() > 0.0) return;
    }
}

bool PointExplainer::isAsFound_(const FoundPose& pose) const {
    return report_.hasFound() &&
           arePlacedAlike(report_.match.poses.front().dataFromModel, pose.dataFromModel, frame_);
}

Rerun PointExplainer::attempt_(Limit limit, const RelaxedRun& relaxed,
                               const rxPointMatcher& matcher) const {
    Rerun rerun;
    rerun.limit = limit;
    rerun.options = relaxed.options();
    RunOptions run = relaxed.run();
    if (run.minCoverage == 0.0) run.maxResults = std::max(run.maxResults, kCompared);
    try {
        const rxPointMatcherRunParams params = runParams(run);
        if (wouldTakeTooLong_(matcher, params, rerun)) return rerun;
        const rxPointMatcherResultSet found =
            watchedSearch(matcher, data_(), params, nameOf(limit) + ": ", question_.timeLimit);
        rerun.seconds = found.time();
        takeBest_(matcher, params, found, rerun);
    } catch (const rxDeadlinePassed&) {
        rerun.outcome = Outcome::kNotFinished;
        rerun.remark = "took longer than --time-limit " + shortText(question_.timeLimit);
    } catch (const InputError& error) {
        rerun.outcome = Outcome::kRefused;
        rerun.remark = error.what();
    } catch (const rxPointMatcherDefs::Errors& error) {
        rerun.outcome = Outcome::kRefused;
        rerun.remark = std::string(trimmed(error.what()));
    }
    if (!rerun.pose) return rerun;
    rerun.breaches = breachesOf(*rerun.pose, frame_);
    if (isAsFound_(*rerun.pose)) {
        rerun.outcome = Outcome::kSame;
        rerun.breaches.clear();
        return rerun;
    }
    // A search without minimum coverage comes upon more poses, also on some that have the coverage
    // and lie beside what the other limits look at.
    const bool isByWayOfCoverage =
        limit == Limit::kCoverage && rerun.pose->coverage >= question_.run.minCoverage;
    if (isByWayOfCoverage && !rerun.breaches.empty()) return rerun;
    // A limit that was not relaxed has let the pose pass, whatever its fit came to.
    std::erase_if(rerun.breaches,
                  [&](const Breach& breach) { return !relaxed.changes(breach.limit); });
    // A size breaks nothing that can be seen in the pose; nor does a scale between two of those
    // that are tried.
    for (const Limit size : {Limit::kCaptureRange, Limit::kGridSize, Limit::kScale}) {
        if (size == Limit::kScale ? limit != size || !rerun.breaches.empty()
                                  : !relaxed.changes(size)) {
            continue;
        }
        rerun.breaches.push_back(
            breachOf(size, *rerun.pose, relaxed, frame_, model_(), data_().points));
    }
    return rerun;
}

// The first that finds a pose that is no accident, or else the one whose pose is the least so.
Rerun PointExplainer::firstThatFinds_(Limit limit, const std::vector<RelaxedRun>& steps) const {
    std::optional<Rerun> best;
    for (const RelaxedRun& step : steps) {
        Rerun rerun = attempt_(limit, step);
        if (rerun.isFound() && isCredible(rerun.log10FalseAlarms)) return rerun;
        const bool isBetter = !best || !best->isFound() ||
                              (rerun.isFound() && rerun.log10FalseAlarms.value_or(0.0) <
                                                      best->log10FalseAlarms.value_or(0.0));
        if (isBetter) best = std::move(rerun);
    }
    return best.value_or(notLimited_(limit, {}));
}

Rerun PointExplainer::notLimited_(Limit limit, const std::string& remark) {
    Rerun rerun;
    rerun.limit = limit;
    rerun.remark = remark;
    return rerun;
}

}  // namespace ptmatch::tool
