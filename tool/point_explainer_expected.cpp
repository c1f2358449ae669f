#include "point_explainer.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "number_text.h"

namespace ptmatch::tool {
namespace {

// `value` in the middle, with bounds that can be read.
Interval windowAround(double value, double away) {
    const double perUnit = std::pow(10.0, std::ceil(1.0 - std::log10(away)));
    return {std::floor((value - away) * perUnit) / perUnit,
            std::ceil((value + away) * perUnit) / perUnit};
}

// What to say when no search came upon a pose there.
std::string whyNotExpected(const Rerun& expected) {
    if (expected.outcome == Rerun::Outcome::kNotFinished) {
        return "--time-limit with more seconds; the search at the expected pose did not end";
    }
    if (expected.outcome == Rerun::Outcome::kRefused) {
        return "none; the search at the expected pose is refused: " + expected.remark;
    }
    return "none; at the expected pose no two points match";
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
    constexpr double kLowestScale = -0.9;
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
        Interval scale = windowAround(share - 1.0, kScaleShare * share);
        // No run takes lower ones; a pose below is refused with what can be had.
        if (scale.high > kLowestScale) scale.low = std::max(scale.low, kLowestScale);
        there.scale(scale);
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
    const Rerun& expected = *report_.expected;
    const auto isEnlarged = [](const Breach& breach) {
        return breach.limit == Limit::kCaptureRange || breach.limit == Limit::kGridSize;
    };
    const auto isAllowed = [](const Breach& breach) { return breach.limit == Limit::kCount; };
    report_.chosen.reset();
    if (!expected.pose) {
        report_.suggestion = {{}, whyNotExpected(expected)};
        return;
    }
    // Clutter has any coverage within a range that is wide enough.
    const bool isByChance = expected.pose->coverage < question_.run.minCoverage ||
                            std::ranges::any_of(expected.breaches, isEnlarged);
    if (isByChance && !isCredible(expected.log10FalseAlarms)) {
        report_.suggestion = {{},
                              "none; at the expected pose " + pairsText_(*expected.pose) +
                                  " match, no more than clutter offers"};
    } else if (isRefusedByForbidden_(expected)) {
        report_.suggestion = {{}, "none; at the expected pose " + forbiddenText_(*expected.pose)};
    } else if (std::ranges::all_of(expected.breaches, isAllowed)) {
        suggestAllowed_();
    } else {
        report_.suggestion = suggestionFor_(expected, "the expected pose");
    }
}

// Nothing forbids the expected pose: it ranks behind others, or the votes of others hide it.
void PointExplainer::suggestAllowed_() {
    Rerun& expected = *report_.expected;
    const FoundPose& pose = *expected.pose;
    expected.breaches.clear();
    const auto& found = report_.match.poses;
    const auto same = std::ranges::find_if(found, [&](const FoundPose& other) {
        return arePlacedAlike(other.dataFromModel, pose.dataFromModel, frame_);
    });
    if (same != found.end()) {
        report_.suggestion = {{},
                              "none; the expected pose is found, at rank " +
                                  std::to_string(same - found.begin() + 1)};
        return;
    }
    const auto fewest = fewestResults_(asAsked_(), true, pose);
    if (fewest && report_.hasFound()) {
        expected.breaches = {
            {Limit::kCount, "it ranks at " + std::to_string(fewest->rank) + ", the first covers " +
                                fixedText(100.0 * found.front().coverage, 1) + " %"}};
        report_.suggestion = {fewest->run.options(),
                              optionText(fewest->run.options()) +
                                  " shows the expected pose, too: " + pairsText_(pose) + " match"};
        return;
    }
    expected.breaches = {{Limit::kCount, kHidden}};
    report_.suggestion = suggestionFor_(expected, "the expected pose");
}

}  // namespace ptmatch::tool
