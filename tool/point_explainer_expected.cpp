#include "point_explainer.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "number_text.h"
#include "ptmatch/run_watch.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

// `value` in the middle, with bounds that can be read.
Interval windowAround(double value, double away) {
    const double perUnit = std::pow(10.0, std::ceil(1.0 - std::log10(away)));
    return {std::floor((value - away) * perUnit) / perUnit,
            std::ceil((value + away) * perUnit) / perUnit};
}

}  // namespace

// Searches the surroundings of the pose with the sizes of the run, and then with larger ones.
void PointExplainer::examineExpected_() {
    const ExpectedPose& wanted = *question_.expected;
    const RunOptions& run = question_.run;
    const rxXform<2> back = report_.match.params.startPose().inverse();
    const rxVector<2> shift = back * wanted.centre - frame_.centre;
    constexpr double kShareOfModel = 0.2;
    constexpr double kTurnDeg = 10.0;
    constexpr double kScaleShare = 0.1;
    const double away = std::max(kShareOfModel * frame_.radius, 2.0 * frame_.gridSize);
    const auto around = [&](double value) { return windowAround(value, away); };
    RelaxedRun there = asAsked_().minCoverage(0.0);
    there.xTranslation(around(shift.x())).yTranslation(around(shift.y()));
    if (wanted.rotationDeg) {
        const double turn = *wanted.rotationDeg - run.startRotationDeg;
        there.rotation(windowAround(turn, kTurnDeg));
    } else {
        there.rotation(Interval::full());
    }
    if (wanted.scale) {
        const double share = *wanted.scale / run.startScale;
        there.scale(windowAround(share - 1.0, kScaleShare * share));
    } else {
        there.scale(united(run.scale, kFarScales));
    }
    std::vector<RelaxedRun> steps = {there};
    for (const double factor : kSizeFactors) {
        steps.push_back(RelaxedRun(there).captureRange(roundedSize(factor * frame_.captureRange)));
    }
    steps.push_back(RelaxedRun(there).gridSize(roundedSize(2.0 * frame_.gridSize)));
    report_.expected = firstThatFinds_(Limit::kAll, steps);
}

void PointExplainer::suggestForExpected_() {
    Rerun& expected = *report_.expected;
    report_.chosen.reset();
    if (!expected.pose) {
        report_.suggestion = {{}, "none; at the expected pose no two points match"};
        return;
    }
    const bool isClutter = expected.pose->coverage < question_.run.minCoverage &&
                           !isCredible(expected.log10FalseAlarms);
    if (isClutter) {
        report_.suggestion = {{},
                              "none; at the expected pose " + pairsText(*expected.pose) +
                                  " match, no more than clutter offers"};
        return;
    }
    if (!expected.breaches.empty()) {
        report_.suggestion = suggestionFor_(expected, "the expected pose");
        return;
    }
    // Nothing forbids it: it ranks behind others, or the votes of others hide it.
    constexpr long kLookedThrough = 1000;
    RunOptions run = question_.run;
    run.maxResults = std::max(run.maxResults, kLookedThrough);
    std::optional<std::size_t> rank;
    try {
        const auto found = watchedSearch(*question_.model.matcher, data_(), runParams(run),
                                         "rank: ", question_.timeLimit);
        for (std::size_t i = 0; i < found.results().size() && !rank; ++i) {
            if (arePlacedAlike(found.results()[i].modelToDataXform(), expected.pose->dataFromModel,
                               frame_)) {
                rank = i + 1;
            }
        }
    } catch (const rxDeadlinePassed&) {
        // As if it were not among them.
    }
    if (rank && std::cmp_less_equal(*rank, question_.run.maxResults)) {
        report_.suggestion = {{},
                              "none; the expected pose is found, at rank " + std::to_string(*rank)};
    } else if (rank) {
        const auto& best = report_.match.poses.front();
        expected.breaches = {{Limit::kCount, "it ranks at " + std::to_string(*rank) +
                                                 ", the first covers " +
                                                 fixedText(100.0 * best.coverage, 1) + " %"}};
        const RelaxedRun more = asAsked_().maxResults(static_cast<long>(*rank));
        report_.suggestion = {more.options(), optionText(more.options()) +
                                                  " shows the expected pose, too: " +
                                                  pairsText(*expected.pose) + " match"};
    } else {
        expected.breaches = {
            {Limit::kCount, "it is allowed, but other poses have more votes on the way"}};
        report_.suggestion = suggestionFor_(expected, "the expected pose");
    }
}

}  // namespace ptmatch::tool
