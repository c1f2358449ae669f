#include "grid_match_search.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "grid_mapping.h"
#include "grid_matching.h"
#include "input_error.h"
#include "number_text.h"

namespace ptmatch::tool {
namespace {

void require(bool isAllowed, const std::string& option, const std::string& rule, double found) {
    if (!isAllowed) throw InputError(option + ": " + rule + ", found " + shortText(found));
}

void checkBounds(const GridMatchOptions& options) {
    constexpr double kMostDegrees = 1000.0;
    const double snap = options.snap.value_or(0.0);
    require(snap >= 0.0, "--snap", "must not be negative", snap);
    require(options.minCoverage >= 0.0 && options.minCoverage <= 1.0, "--min-coverage",
            "must be from 0 to 1", options.minCoverage);
    if (options.scale.isFull) throw InputError("--scale: expected LO,HI, found \"full\"");
    require(options.scale.low >= -0.9, "--scale", "LO must be at least -0.9", options.scale.low);
    const Interval& angles = options.rotationDeg;
    if (!angles.isFull && std::max(std::abs(angles.low), std::abs(angles.high)) > kMostDegrees) {
        throw InputError("--rotation: must be within -1000 to 1000 degrees");
    }
}

// Steps given as options stand for those that were trained.
StepOptions stepsToUse(const StepOptions& given, const StepOptions& trained) {
    return given.xv || given.yv ? given : trained;
}

GridMatchReport commonReport(const GridMatchOptions& options, PatternSource source) {
    GridMatchReport report;
    report.patternFile = options.patternFile;
    report.rotationDeg = options.rotationDeg;
    report.scale = options.scale;
    report.minCoverage = options.minCoverage;
    report.maxResults = options.maxResults;
    report.pattern = std::move(source.pattern);
    return report;
}

}  // namespace

GridMatchSetup readGridMatch(const GridMatchOptions& options) {
    checkBounds(options);
    PatternSource source = readPatternSource(options.patternFile);
    requireEnoughPositions(source.pattern, options.patternFile);
    const StepOptions steps = stepsToUse(options.steps, source.steps);
    return {steps, commonReport(options, std::move(source))};
}

void searchPattern(const std::optional<double>& snap, const StepOptions& steps,
                   GridMatchReport& report, TrainedViews& trained) {
    const bool staggered = report.pattern.isStaggered();
    report.choice = chooseSteps(squared(steps), report.data.points, staggered, report.dataFile);
    report.choice.steps = squared(report.choice.steps);
    report.snap.reset();
    if (snap) {
        if (*snap > 0.0) report.snap = snap;
    } else if (!report.pattern.isSparse()) {
        report.snap = defaultSnap(report.choice.steps, staggered);
    }
    matchPattern(report, trained);
}

void searchPattern(const std::optional<double>& snap, const StepOptions& steps,
                   GridMatchReport& report) {
    TrainedViews trained;
    searchPattern(snap, steps, report, trained);
}

}  // namespace ptmatch::tool
