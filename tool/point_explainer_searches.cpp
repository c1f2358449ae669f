#include "point_explainer.h"

#include <algorithm>
#include <chrono>
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
        rerun.rank = i + 1;
        // Where the coverage tells poses apart, the first is the best.
        if (params.minCoverage() > 0.0) return;
    }
}

bool PointExplainer::isAsFound_(const FoundPose& pose) const {
    return report_.hasFound() &&
           arePlacedAlike(report_.match.poses.front().dataFromModel, pose.dataFromModel, frame_);
}

bool PointExplainer::coversClearlyMore_(const FoundPose& pose) const {
    constexpr double kClearlyMore = 0.05;
    return pose.coverage > report_.match.poses.front().coverage + kClearlyMore;
}

RelaxedRun PointExplainer::compared_(RelaxedRun relaxed) {
    if (relaxed.run().minCoverage > 0.0 || relaxed.run().maxResults >= kMoreResults) return relaxed;
    return relaxed.maxResults(kMoreResults);
}

Rerun PointExplainer::attempt_(Limit limit, const RelaxedRun& asked,
                               const rxPointMatcher& matcher) const {
    const RelaxedRun relaxed = question_.exhaustive ? asked : compared_(asked);
    Rerun rerun;
    rerun.limit = limit;
    rerun.options = relaxed.options();
    try {
        const rxPointMatcherRunParams params = runParams(relaxed.run());
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
    if (rerun.pose) blame_(relaxed, rerun);
    return rerun;
}

// Which limits of the run exclude the pose of a search with others.
void PointExplainer::blame_(const RelaxedRun& relaxed, Rerun& rerun) const {
    const Limit limit = rerun.limit;
    const bool isSize = limit == Limit::kCaptureRange || limit == Limit::kGridSize;
    if (isAsFound_(*rerun.pose)) {
        rerun.outcome = Outcome::kSame;
        // A size decides how many partners a pose has that is found with another one, too.
        if (!isSize || !coversClearlyMore_(*rerun.pose)) return;
    }
    rerun.breaches = breachesOf(*rerun.pose, frame_);
    // A search without minimum coverage or for more results comes upon more poses, also on some
    // that lie beside what the other limits look at.
    const bool isOnTheWay =
        limit == Limit::kCount ||
        (limit == Limit::kCoverage && rerun.pose->coverage >= question_.run.minCoverage);
    if (isOnTheWay && !rerun.breaches.empty()) return;
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
    if (rerun.breaches.empty() && !question_.exhaustive && limit != Limit::kMirror) {
        rerun.breaches.push_back({Limit::kCount, kHidden});
    }
}

// Which result of a run a pose is, if any.
std::optional<std::size_t> PointExplainer::rankIn_(const rxPointMatcherRunParams& params,
                                                   const FoundPose& pose, double timeLimit) const {
    const auto found =
        watchedSearch(*question_.model.matcher, data_(), params, "check: ", timeLimit);
    const auto& results = found.results();
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (arePlacedAlike(results[i].modelToDataXform(), pose.dataFromModel, frame_)) return i + 1;
    }
    return std::nullopt;
}

// The run, with as few results as bring out the pose.
std::optional<PointExplainer::Ranked> PointExplainer::fewestResults_(const RelaxedRun& relaxed,
                                                                     bool isCountToBlame,
                                                                     const FoundPose& pose) const {
    std::vector<RelaxedRun> steps;
    if (!isCountToBlame) steps.push_back(relaxed);
    if (!question_.exhaustive) {
        for (const long count : {2L, 5L, 10L, kMoreResults, 50L, 100L, kManyResults, 500L, 1000L}) {
            if (count <= question_.run.maxResults) continue;
            steps.push_back(RelaxedRun(relaxed).maxResults(count));
        }
    }
    const auto start = std::chrono::steady_clock::now();
    try {
        for (const RelaxedRun& step : steps) {
            const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
            const double left = question_.timeLimit - spent.count();
            if (!(left > 0.0)) break;
            const rxPointMatcherRunParams params = runParams(step.run());
            Rerun unused;
            if (wouldTakeTooLong_(*question_.model.matcher, params, unused)) break;
            const auto rank = rankIn_(params, pose, left);
            if (rank) return Ranked{step, *rank};
        }
    } catch (const rxDeadlinePassed&) {
        // As if it were not among them.
    } catch (const InputError&) {
        // Nor is it with options that are refused.
    } catch (const rxPointMatcherDefs::Errors&) {
        // As above.
    }
    return std::nullopt;
}

// The first that finds a pose that is no accident, or else the one whose pose is the least so.
Rerun PointExplainer::firstThatFinds_(Limit limit, const std::vector<RelaxedRun>& steps) const {
    std::optional<Rerun> best;
    for (const RelaxedRun& step : steps) {
        Rerun rerun = attempt_(limit, step);
        if (rerun.isFound() && isCredible(rerun.log10FalseAlarms)) return rerun;
        // Where a search did not end, nobody knows that there is nothing.
        const bool isBetter =
            !best || (best->isFound() ? rerun.isFound() && rerun.log10FalseAlarms.value_or(0.0) <
                                                               best->log10FalseAlarms.value_or(0.0)
                                      : rerun.isFound() || best->outcome != Outcome::kNotFinished);
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
