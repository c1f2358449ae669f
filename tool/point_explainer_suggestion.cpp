#include "point_explainer.h"

#include <algorithm>

#include "number_text.h"

namespace ptmatch::tool {

// Points that nothing may lie on, or that do not count, are none to be matched.
std::string PointExplainer::pairsText_(const FoundPose& pose) const {
    const std::vector<long>& weights = question_.model.table.weights;
    std::size_t matched = 0;
    std::size_t all = 0;
    for (std::size_t i = 0; i < pose.map.size(); ++i) {
        if (i < weights.size() && weights[i] <= 0) continue;
        ++all;
        if (pose.map[i] >= 0) ++matched;
    }
    return std::to_string(matched) + " of " + std::to_string(all) + " points";
}

// Names the first model point of negative weight that has a partner; empty when none has.
std::string PointExplainer::forbiddenText_(const FoundPose& pose) const {
    const std::vector<long>& weights = question_.model.table.weights;
    for (std::size_t i = 0; i < std::min(pose.map.size(), weights.size()); ++i) {
        if (weights[i] >= 0 || pose.map[i] < 0) continue;
        const rxVector<2>& point = model_()[i];
        return "a point lies where nothing may be: on model point " + shortText(point.x()) + "," +
               shortText(point.y()) + " of weight " + std::to_string(weights[i]);
    }
    return {};
}

// Whether the coverage is too low because a point lies where none may.
bool PointExplainer::isRefusedByForbidden_(const Rerun& rerun) const {
    return rerun.pose && rerun.pose->coverage < question_.run.minCoverage &&
           !forbiddenText_(*rerun.pose).empty();
}

const Rerun* PointExplainer::refusedByForbidden_() const {
    for (const Rerun& rerun : report_.reruns) {
        if (isRefusedByForbidden_(rerun) && isCredible(rerun.log10FalseAlarms)) return &rerun;
    }
    return nullptr;
}

// Whether a pose is worth a change of options. Clutter reaches any coverage within a range that is
// wide enough; and without the coverage or with all limits relaxed only what is no accident counts.
bool PointExplainer::isTrusted_(const Rerun& rerun) const {
    if (!rerun.pose || isRefusedByForbidden_(rerun)) return false;
    // What another limit is to blame for is told by the search that relaxes that one.
    const auto isOther = [&](const Breach& breach) { return breach.limit != rerun.limit; };
    const bool isOnTheWay = rerun.limit == Limit::kCoverage || rerun.limit == Limit::kCount;
    if (isOnTheWay && std::ranges::any_of(rerun.breaches, isOther)) return false;
    if (isCredible(rerun.log10FalseAlarms)) return true;
    const bool isMore = rerun.limit == Limit::kCaptureRange || rerun.limit == Limit::kGridSize ||
                        rerun.limit == Limit::kCount;
    if (isMore) return rerun.log10FalseAlarms.value_or(0.0) < 0.0;
    if (rerun.limit == Limit::kMirror || rerun.limit == Limit::kAll) return false;
    return question_.exhaustive || rerun.pose->coverage >= question_.run.minCoverage;
}

bool PointExplainer::hasCredible_() const {
    if (isCredible(asAskedFalseAlarms_)) return true;
    const auto best = bestRerun_();
    return best && isCredible(report_.reruns[*best].log10FalseAlarms);
}

std::optional<std::size_t> PointExplainer::bestRerun_() const {
    constexpr double kClearlyLess = 2.0;
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < report_.reruns.size(); ++i) {
        const Rerun& rerun = report_.reruns[i];
        if (!isTrusted_(rerun)) continue;
        const double chance = rerun.log10FalseAlarms.value_or(0.0);
        if (report_.hasFound()) {
            const bool isBetter = chance < asAskedFalseAlarms_.value_or(0.0) - kClearlyLess &&
                                  coversClearlyMore_(*rerun.pose);
            // The same pose counts where a size gives it more partners; that is its breach then.
            const bool isNoOther = rerun.outcome == Rerun::Outcome::kSame && rerun.breaches.empty();
            if (isNoOther || !isBetter) continue;
        }
        if (!best || chance < report_.reruns[*best].log10FalseAlarms.value_or(0.0)) best = i;
    }
    return best;
}

// The options of the run, widened by no more than it takes.
RelaxedRun PointExplainer::keeping_(const Rerun& rerun) const {
    RelaxedRun run = asAsked_();
    for (const Breach& breach : rerun.breaches) {
        include(run, breach.limit, *rerun.pose, frame_);
        for (const OptionValue& option : rerun.options) {
            const double value = parseNumber(option.value).value_or(0.0);
            if (breach.limit == Limit::kCaptureRange && option.option == "--capture-range") {
                run.captureRange(value);
            }
            if (breach.limit == Limit::kGridSize && option.option == "--grid-size") {
                run.gridSize(value);
            }
        }
    }
    return run;
}

Suggestion PointExplainer::suggestionFor_(const Rerun& rerun, const std::string& pose) const {
    Suggestion suggestion;
    suggestion.options = rerun.options;
    std::size_t rank = rerun.rank;
    const RelaxedRun narrow = keeping_(rerun);
    const bool isCountToBlame = std::ranges::any_of(
        rerun.breaches, [](const Breach& breach) { return breach.limit == Limit::kCount; });
    if (isCountToBlame || !narrow.options().empty()) {
        if (const auto fewest = fewestResults_(narrow, isCountToBlame, *rerun.pose)) {
            suggestion.options = fewest->run.options();
            rank = fewest->rank;
        }
    }
    suggestion.text = optionText(suggestion.options) + " finds " + pose +
                      (rank > 1 ? " at rank " + std::to_string(rank) : "") + ": " +
                      pairsText_(*rerun.pose) + " match";
    if (rerun.log10FalseAlarms && !isCredible(rerun.log10FalseAlarms)) {
        suggestion.text += ", which clutter alone may do, too";
    }
    return suggestion;
}

std::string PointExplainer::whatIsMissing_() const {
    if (report_.hasFound()) {
        std::string text = "none; no other limit finds a clearly better pose";
        if (asAskedFalseAlarms_.value_or(0.0) < 0.0) return text;
        return text + ", but clutter alone may do as well as this one";
    }
    if (report_.why) {
        if (report_.why->reason == rxWhyNotDefs::eTooFewData) {
            return "none; the data hold fewer points than the coverage asks for";
        }
    }
    if (const Rerun* refused = refusedByForbidden_()) {
        return "none; at the best pose " + forbiddenText_(*refused->pose);
    }
    const bool hasUnfinished = std::ranges::any_of(report_.reruns, [](const Rerun& rerun) {
        return rerun.outcome == Rerun::Outcome::kNotFinished;
    });
    if (hasUnfinished) {
        return "--time-limit with more seconds; some searches did not end, the others find no more "
               "than clutter offers";
    }
    return "none; no limit brings out more than clutter offers: check units and axes of both "
           "tables, and whether the model is in these data";
}

void PointExplainer::suggest_() {
    report_.chosen = bestRerun_();
    if (!report_.chosen) {
        report_.suggestion.text = whatIsMissing_();
        return;
    }
    const Rerun& best = report_.reruns[*report_.chosen];
    if (best.limit == Limit::kMirror) {
        report_.suggestion.text = "write -y for y in one of the tables; then " +
                                  optionText(best.options) + " finds " + pairsText_(*best.pose);
        report_.chosen.reset();
        return;
    }
    const bool isSame = best.outcome == Rerun::Outcome::kSame;
    report_.suggestion = suggestionFor_(best, isSame               ? "this pose with more points"
                                              : report_.hasFound() ? "a better pose"
                                                                   : "a pose");
}

}  // namespace ptmatch::tool
