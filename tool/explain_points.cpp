#include "explain_points.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "foundation/attention.h"
#include "input_error.h"
#include "number_text.h"
#include "pose_limits.h"
#include "progress_watch.h"
#include "ptmatch/certainty.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "relaxed_run.h"
#include "search_deadline.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

using Outcome = Rerun::Outcome;

// Below this a pose is no accident: one in a hundred scenes of clutter has as good a one.
constexpr double kCredible = -2.0;
// So many results are compared where the coverage does not tell them from accidents.
constexpr long kCompared = 16;
// Scales to try: a fifth either way, and then half to double.
constexpr Interval kNearScales{-0.2, 0.2};
constexpr Interval kFarScales{-0.5, 1.0};
// Times a size.
constexpr double kFactors[] = {2.0, 4.0, 8.0};

bool isSubset(const Interval& inner, const Interval& outer) {
    return outer.isFull || (!inner.isFull && inner.low >= outer.low && inner.high <= outer.high);
}

bool coversTurn(const Interval& rotationDeg) {
    constexpr double kTurn = 360.0;
    return rotationDeg.isFull || rotationDeg.high - rotationDeg.low >= kTurn;
}

// A size that can be read and written, not below the exact one by more than a thousandth.
double rounded(double size) {
    constexpr int kDigits = 4;
    return parseNumber(significantText(size, kDigits)).value_or(size);
}

std::string secondsText(double seconds) {
    return significantText(seconds, 3) + " s";
}

// `value` in the middle, with bounds that can be read.
Interval windowAround(double value, double away) {
    const double perUnit = std::pow(10.0, std::ceil(1.0 - std::log10(away)));
    return {std::floor((value - away) * perUnit) / perUnit,
            std::ceil((value + away) * perUnit) / perUnit};
}

class PointExplainer {
  public:
    PointExplainer(const PointQuestion& question, ExplainReport& report)
        : question_(question),
          report_(report),
          frame_(runFrame(question.run, question.exhaustive, question.model.table.points)) {}

    void explain();

  private:
    const PointTable& data_() const { return report_.match.data; }
    const std::vector<rxVector<2>>& model_() const { return question_.model.table.points; }
    RelaxedRun asAsked_() const { return RelaxedRun(question_.run); }

    void runAsAsked_();
    void askRun_();
    void relaxEach_();
    void relaxAll_();
    void mirror_();
    void examineExpected_();
    void suggest_();
    void suggestForExpected_();

    Rerun attempt_(Limit limit, const RelaxedRun& relaxed, const rxPointMatcher& matcher) const;
    Rerun attempt_(Limit limit, const RelaxedRun& relaxed) const {
        return attempt_(limit, relaxed, *question_.model.matcher);
    }
    bool wouldTakeTooLong_(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params,
                           Rerun& rerun) const;
    void takeBest_(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params,
                   const rxPointMatcherResultSet& found, Rerun& rerun) const;
    Rerun firstThatFinds_(Limit limit, const std::vector<RelaxedRun>& steps) const;
    bool isAsFound_(const FoundPose& pose) const;
    static Rerun notLimited_(Limit limit, const std::string& remark);

    std::vector<RelaxedRun> scaleSteps_() const;
    std::vector<RelaxedRun> captureSteps_() const;
    std::vector<RelaxedRun> gridSteps_() const;
    RelaxedRun allPoses_(const Interval& scale) const;

    bool isTrusted_(const Rerun& rerun) const;
    bool hasCredible_() const;
    std::optional<std::size_t> bestRerun_() const;
    Suggestion suggestionFor_(const Rerun& rerun, const std::string& pose) const;
    RelaxedRun keeping_(const Rerun& rerun) const;
    std::string whatIsMissing_() const;

    const PointQuestion& question_;
    ExplainReport& report_;
    RunFrame frame_;
    double asAskedWork_ = 0.0;
    std::optional<double> asAskedFalseAlarms_;
};

bool isCredible(const std::optional<double>& log10FalseAlarms) {
    return log10FalseAlarms && *log10FalseAlarms <= kCredible;
}

std::string pairsText(const FoundPose& pose) {
    return std::to_string(pose.matched()) + " of " + std::to_string(pose.map.size()) + " points";
}

// ---- searches

std::optional<double> falseAlarms(const rxPointMatcher& matcher,
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
        const auto chance = falseAlarms(matcher, data_().points, params, found, i);
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

// ---- what is relaxed

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
    for (const double factor : kFactors) ranges.push_back(factor * size);
    // The automatic range is a number of model units, which may be far from those of the data.
    const double inDataUnits = frame_.gridSize * question_.run.startScale;
    if (inDataUnits > 2.0 * frame_.captureRange) ranges.insert(ranges.begin(), inDataUnits);
    std::vector<RelaxedRun> steps;
    steps.reserve(ranges.size());
    for (const double range : ranges) steps.push_back(asAsked_().captureRange(rounded(range)));
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
            steps.push_back(asAsked_().gridSize(rounded(size)));
    }
    for (const double factor : kFactors) {
        steps.push_back(asAsked_().gridSize(rounded(factor * frame_.gridSize)));
    }
    return steps;
}

RelaxedRun PointExplainer::allPoses_(const Interval& scale) const {
    RelaxedRun all = asAsked_();
    if (!question_.exhaustive) all.minCoverage(0.0);
    if (!coversTurn(question_.run.rotationDeg)) all.rotation(Interval::full());
    if (!isSubset(scale, question_.run.scale)) all.scale(united(question_.run.scale, scale));
    if (!question_.run.xTranslation.isFull) all.xTranslation(Interval::full());
    if (!question_.run.yTranslation.isFull) all.yTranslation(Interval::full());
    return all;
}

// ---- the answer

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
        asAskedFalseAlarms_ = falseAlarms(matcher, data_().points, params, found, 0);
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

void PointExplainer::relaxAll_() {
    std::vector<RelaxedRun> steps = {allPoses_(kNearScales), allPoses_(kFarScales)};
    if (frame_.gridSize > 0.0) {
        // An automatic capture range grows with the grid size.
        steps.push_back(allPoses_(kNearScales).captureRange(rounded(2.0 * frame_.captureRange)));
        steps.push_back(allPoses_(kNearScales).gridSize(rounded(2.0 * frame_.gridSize)));
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
    if (!hasCredible_()) relaxAll_();
    if (!hasCredible_()) mirror_();
    suggest_();
    if (question_.expected) {
        examineExpected_();
        suggestForExpected_();
    }
}

// ---- which limit to change

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
            if (rerun.outcome == Outcome::kSame || !isBetter) continue;
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
    const bool hasUnfinished = std::ranges::any_of(
        report_.reruns, [](const Rerun& rerun) { return rerun.outcome == Outcome::kNotFinished; });
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

// ---- an expected pose

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
    for (const double factor : kFactors) {
        steps.push_back(RelaxedRun(there).captureRange(rounded(factor * frame_.captureRange)));
    }
    steps.push_back(RelaxedRun(there).gridSize(rounded(2.0 * frame_.gridSize)));
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

}  // namespace

void explainPoints(const PointQuestion& question, ExplainReport& report) {
    PointExplainer(question, report).explain();
}

}  // namespace ptmatch::tool
