#include "explain_points.h"

#include <utility>

#include "foundation/attention.h"
#include "input_error.h"
#include "number_text.h"
#include "point_explainer.h"
#include "progress_watch.h"
#include "ptmatch/run_cost.h"
#include "search_deadline.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

bool isSubset(const Interval& inner, const Interval& outer) {
    return outer.isFull || (!inner.isFull && inner.low >= outer.low && inner.high <= outer.high);
}

bool coversTurn(const Interval& rotationDeg) {
    constexpr double kTurn = 360.0;
    return rotationDeg.isFull || rotationDeg.high - rotationDeg.low >= kTurn;
}

}  // namespace

// A size that can be read and written, not below the exact one by more than a thousandth.
double roundedSize(double size) {
    constexpr int kDigits = 4;
    return parseNumber(significantText(size, kDigits)).value_or(size);
}

std::vector<RelaxedRun> PointExplainer::scaleSteps_() const {
    std::vector<RelaxedRun> steps;
    for (const Interval& scales : {kNearScales, kFarScales}) {
        if (isSubset(scales, question_.run.scale)) continue;
        steps.push_back(asAsked_().scale(united(question_.run.scale, scales)));
    }
    return steps;
}

std::vector<RelaxedRun> PointExplainer::captureSteps_() const {
    const double size = frame_.captureRange > 0.0 ? frame_.captureRange
                                                  : frame_.gridSize * question_.run.startScale;
    std::vector<double> ranges;
    for (const double factor : kSizeFactors) ranges.push_back(factor * size);
    // The automatic range is a number of model units, which may be far from those of the data.
    const double inDataUnits = frame_.gridSize * question_.run.startScale;
    if (inDataUnits > 2.0 * frame_.captureRange) ranges.insert(ranges.begin(), inDataUnits);
    std::vector<RelaxedRun> steps;
    steps.reserve(ranges.size());
    for (const double range : ranges) steps.push_back(asAsked_().captureRange(roundedSize(range)));
    return steps;
}

// The automatic one, and coarser ones; a finer one could take hours.
std::vector<RelaxedRun> PointExplainer::gridSteps_() const {
    std::vector<RelaxedRun> steps;
    if (question_.run.gridSize) {
        RunOptions automatic = question_.run;
        automatic.gridSize.reset();
        const double size =
            rfRunCost(*question_.model.matcher, data_().points, runParams(automatic)).gridSize;
        if (size > 0.0 && size != frame_.gridSize)
            steps.push_back(asAsked_().gridSize(roundedSize(size)));
    }
    for (const double factor : kSizeFactors) {
        steps.push_back(asAsked_().gridSize(roundedSize(factor * frame_.gridSize)));
    }
    return steps;
}

RelaxedRun PointExplainer::allPoses_(const Interval& scale) const {
    RelaxedRun all = asAsked_();
    if (!question_.exhaustive && question_.run.minCoverage > 0.0) all.minCoverage(0.0);
    if (!coversTurn(question_.run.rotationDeg)) all.rotation(Interval::full());
    if (!isSubset(scale, question_.run.scale)) all.scale(united(question_.run.scale, scale));
    if (!question_.run.xTranslation.isFull) all.xTranslation(Interval::full());
    if (!question_.run.yTranslation.isFull) all.yTranslation(Interval::full());
    return all;
}

void PointExplainer::runAsAsked_() {
    const rxPointMatcherRunParams& params = report_.match.params;
    const rxPointMatcher& matcher = *question_.model.matcher;
    try {
        const rxRunCost cost = rfRunCost(matcher, data_().points, params);
        asAskedWork_ = cost.work;
        frame_.gridSize = cost.gridSize;
        frame_.captureRange = cost.captureRange;
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(std::string(trimmed(error.what())));
    }
    const rxPointMatcherResultSet found = watchedSearch(matcher, data_(), params);
    report_.match.seconds = found.time();
    report_.match.poses = foundPoses(found);
    if (!found.results().empty()) {
        asAskedFalseAlarms_ = log10FalseAlarms(matcher, data_().points, params, found, 0);
    }
}

void PointExplainer::askRun_() {
    if (question_.exhaustive && 3.0 * report_.match.seconds > question_.timeLimit) return;
    const ProgressWatch watch(elapsedText);
    const SearchDeadline deadline(question_.timeLimit);
    try {
        report_.why = rfWhyNot(*question_.model.matcher, data_().points, report_.match.params);
    } catch (const rxAttention::Interrupted&) {
        // Without it, the reruns still tell.
    }
}

void PointExplainer::relaxEach_() {
    const RunOptions& run = question_.run;
    const std::string unused = "not used by --exhaustive";
    auto& reruns = report_.reruns;
    if (question_.exhaustive) {
        reruns.push_back(notLimited_(Limit::kCoverage, unused));
    } else if (run.minCoverage == 0.0) {
        reruns.push_back(notLimited_(Limit::kCoverage, "0 already"));
    } else {
        reruns.push_back(attempt_(Limit::kCoverage, asAsked_().minCoverage(0.0)));
    }
    reruns.push_back(coversTurn(run.rotationDeg)
                         ? notLimited_(Limit::kRotation, "full already")
                         : attempt_(Limit::kRotation, asAsked_().rotation(Interval::full())));
    const std::vector<RelaxedRun> scales = scaleSteps_();
    reruns.push_back(scales.empty() ? notLimited_(Limit::kScale, "half to double already")
                                    : firstThatFinds_(Limit::kScale, scales));
    RelaxedRun anywhere = asAsked_();
    if (!run.xTranslation.isFull) anywhere.xTranslation(Interval::full());
    if (!run.yTranslation.isFull) anywhere.yTranslation(Interval::full());
    reruns.push_back(anywhere.options().empty() ? notLimited_(Limit::kTranslation, "full already")
                                                : attempt_(Limit::kTranslation, anywhere));
    if (frame_.gridSize > 0.0) {
        reruns.push_back(firstThatFinds_(Limit::kCaptureRange, captureSteps_()));
        reruns.push_back(firstThatFinds_(Limit::kGridSize, gridSteps_()));
    } else {
        const std::string remark = question_.exhaustive ? unused : "nothing was searched";
        reruns.push_back(notLimited_(Limit::kCaptureRange, remark));
        reruns.push_back(notLimited_(Limit::kGridSize, remark));
    }
}

// Poses are taken in the order of their votes; one that has fewer is not looked at, whatever its
// coverage.
void PointExplainer::askForMore_() {
    auto& reruns = report_.reruns;
    if (question_.exhaustive) {
        reruns.push_back(notLimited_(Limit::kCount, "--exhaustive looks at all poses"));
        return;
    }
    std::vector<RelaxedRun> steps;
    for (const long count : {kMoreResults, kManyResults}) {
        if (count > question_.run.maxResults) steps.push_back(asAsked_().maxResults(count));
    }
    reruns.push_back(steps.empty() ? notLimited_(Limit::kCount, "200 already")
                                   : firstThatFinds_(Limit::kCount, steps));
}

void PointExplainer::relaxAll_() {
    std::vector<RelaxedRun> steps = {allPoses_(kNearScales), allPoses_(kFarScales)};
    if (frame_.gridSize > 0.0) {
        // An automatic capture range grows with the grid size.
        steps.push_back(
            allPoses_(kNearScales).captureRange(roundedSize(2.0 * frame_.captureRange)));
        steps.push_back(allPoses_(kNearScales).gridSize(roundedSize(2.0 * frame_.gridSize)));
    }
    report_.reruns.push_back(firstThatFinds_(Limit::kAll, steps));
}

// A drawing with y upwards and a picture with y downwards are mirror images of each other.
void PointExplainer::mirror_() {
    if (question_.exhaustive) return;
    PointTable mirrored = question_.model.table;
    for (rxVector<2>& point : mirrored.points) point = rxVector<2>(point.x(), -point.y());
    const auto matcher =
        trainedOnPoints(mirrored, rxPointMatcherDefs::eAutoDetect, report_.match.modelFile);
    RelaxedRun turned = asAsked_().rotation(Interval::full());
    turned.xTranslation(Interval::full()).yTranslation(Interval::full());
    Rerun rerun = attempt_(Limit::kMirror, turned, *matcher);
    rerun.breaches.clear();
    if (!isTrusted_(rerun)) return;
    rerun.breaches = {{Limit::kMirror, "the model is seen from its other side, with -y for y"}};
    report_.reruns.push_back(std::move(rerun));
}

void PointExplainer::explain() {
    runAsAsked_();
    askRun_();
    relaxEach_();
    askForMore_();
    if (!hasCredible_()) relaxAll_();
    if (!hasCredible_() && !refusedByForbidden_()) mirror_();
    suggest_();
    if (question_.expected) {
        examineExpected_();
        suggestForExpected_();
    }
}

void explainPoints(const PointQuestion& question, ExplainReport& report) {
    PointExplainer(question, report).explain();
}

}  // namespace ptmatch::tool
