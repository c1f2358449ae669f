#include "point_explainer.h"

#include <algorithm>

#include "number_text.h"

namespace ptmatch::tool {

std::string pairsText(const FoundPose& pose) {
    return std::to_string(pose.matched()) + " of " + std::to_string(pose.map.size()) + " points";
}

// Whether a pose is worth a change of options. Clutter reaches any coverage within a range that is
// wide enough; and without the coverage or with all limits relaxed only what is no accident counts.
bool PointExplainer::isTrusted_(const Rerun& rerun) const {
    if (!rerun.pose) return false;
    // What another limit is to blame for is told by the search that relaxes that one.
    const auto isOther = [&](const Breach& breach) { return breach.limit != Limit::kCoverage; };
    if (rerun.limit == Limit::kCoverage && std::ranges::any_of(rerun.breaches, isOther)) {
        return false;
    }
    if (isCredible(rerun.log10FalseAlarms)) return true;
    const bool isSize = rerun.limit == Limit::kCaptureRange || rerun.limit == Limit::kGridSize;
    if (isSize) return rerun.log10FalseAlarms.value_or(0.0) < 0.0;
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
    constexpr double kClearlyMore = 0.05;
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < report_.reruns.size(); ++i) {
        const Rerun& rerun = report_.reruns[i];
        if (!isTrusted_(rerun)) continue;
        const double chance = rerun.log10FalseAlarms.value_or(0.0);
        if (report_.hasFound()) {
            const bool isBetter =
                chance < asAskedFalseAlarms_.value_or(0.0) - kClearlyLess &&
                rerun.pose->coverage > report_.match.poses.front().coverage + kClearlyMore;
            if (rerun.outcome == Rerun::Outcome::kSame || !isBetter) continue;
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
    const RelaxedRun narrow = keeping_(rerun);
    if (!narrow.options().empty()) {
        const Rerun check = attempt_(rerun.limit, narrow);
        const bool isThere = check.pose && arePlacedAlike(check.pose->dataFromModel,
                                                          rerun.pose->dataFromModel, frame_);
        if (isThere) suggestion.options = narrow.options();
    }
    suggestion.text = optionText(suggestion.options) + " finds " + pose + ": " +
                      pairsText(*rerun.pose) + " match";
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
                                  optionText(best.options) + " finds " + pairsText(*best.pose);
        report_.chosen.reset();
        return;
    }
    report_.suggestion = suggestionFor_(best, report_.hasFound() ? "a better pose" : "a pose");
}

}  // namespace ptmatch::tool
