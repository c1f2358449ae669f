#include "explain_grid.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "foundation/attention.h"
#include "grid_mapping.h"
#include "grid_matching.h"
#include "input_error.h"
#include "number_text.h"
#include "plane_vectors.h"
#include "progress_watch.h"
#include "relaxed_run.h"
#include "search_deadline.h"

namespace ptmatch::tool {
namespace {

using Outcome = Rerun::Outcome;

// A search with other limits, and the words for these.
struct GridVariant {
    GridMatchSetup setup;
    std::optional<double> snap;
    std::vector<OptionValue> options;

    GridVariant& minCoverage(double value) {
        setup.report.minCoverage = value;
        return note("--min-coverage", shortText(value));
    }
    GridVariant& rotation(const Interval& value) {
        setup.report.rotationDeg = value;
        return note("--rotation", intervalText(value));
    }
    GridVariant& scale(const Interval& value) {
        setup.report.scale = value;
        return note("--scale", intervalText(value));
    }
    GridVariant& distance(double value) {
        snap = value;
        return note("--snap", shortText(value));
    }
    GridVariant& steps(const GridSteps& value) {
        setup.steps = {value.xv, value.yv};
        const auto text = [](const rxVector<2>& step) {
            return shortText(step.x()) + "," + shortText(step.y());
        };
        note("--xv", text(value.xv));
        return note("--yv", text(value.yv));
    }

  private:
    GridVariant& note(const char* option, const std::string& value) {
        options.push_back({option, value});
        return *this;
    }
};

double angleDeg(const rxVector<2>& a, const rxVector<2>& b) {
    constexpr double kHalfTurn = 180.0;
    return std::atan2(cross(a, b), a.x() * b.x() + a.y() * b.y()) * kHalfTurn / std::numbers::pi;
}

class GridExplainer {
  public:
    GridExplainer(const GridQuestion& question, ExplainReport& report)
        : question_(question), report_(report) {}

    void explain();

  private:
    GridMatchReport& run_() { return report_.gridMatch; }
    const GridMatchReport& run_() const { return report_.gridMatch; }
    GridVariant asAsked_() const { return {question_.setup, question_.snap, {}}; }

    void relaxEach_();
    void relaxAll_();
    void suggest_();

    Rerun attempt_(Limit limit, const GridVariant& variant) const;
    std::vector<Breach> breachesOf_(const GridPlacement& placement,
                                    const GridVariant& variant) const;
    double lowestCoverage_() const;
    bool asksForNone_() const;
    std::vector<double> distances_() const;
    std::optional<GridSteps> otherSteps_() const;
    bool isTrusted_(const Rerun& rerun) const;
    std::optional<std::size_t> bestRerun_() const;
    GridVariant keeping_(const Rerun& rerun) const;

    const GridQuestion& question_;
    ExplainReport& report_;
    std::optional<GridSteps> proposed_;
};

constexpr Interval kFarScales{-0.5, 1.0};

Rerun notLimited(Limit limit, const std::string& remark) {
    Rerun rerun;
    rerun.limit = limit;
    rerun.remark = remark;
    return rerun;
}

// One position of the pattern; of a sparse pattern, which is searched by votes, any coverage.
double GridExplainer::lowestCoverage_() const {
    if (run_().pattern.isSparse()) return 0.0;
    return 1.5 / static_cast<double>(run_().pattern.positions.size());
}

// A search for a pattern that is not sparse finds nothing without a coverage to reach.
bool GridExplainer::asksForNone_() const {
    const auto size = static_cast<double>(run_().pattern.positions.size());
    return !run_().pattern.isSparse() && run_().minCoverage * size < 1.0;
}

// Up to where the surroundings of neighbouring positions meet.
std::vector<double> GridExplainer::distances_() const {
    constexpr double kLargestShare = 0.45;
    const double usual = defaultSnap(run_().choice.steps, run_().pattern.isStaggered());
    const double link = shortestLinkOf(run_().choice.steps, run_().pattern.isStaggered());
    const double now = run_().snap.value_or(0.0);
    std::vector<double> distances;
    for (const double distance : {usual, kLargestShare * link}) {
        if (distance > now)
            distances.push_back(parseNumber(significantText(distance, 4)).value_or(distance));
    }
    return distances;
}

std::optional<GridSteps> GridExplainer::otherSteps_() const {
    if (run_().choice.proposal) return std::nullopt;
    try {
        return chooseSteps({}, run_().data.points, run_().pattern.isStaggered(), run_().dataFile)
            .steps;
    } catch (const InputError&) {
        return std::nullopt;  // no grid is seen
    }
}

std::vector<Breach> GridExplainer::breachesOf_(const GridPlacement& placement,
                                               const GridVariant& variant) const {
    constexpr double kPercent = 100.0;
    std::vector<Breach> breaches;
    if (asksForNone_()) {
        breaches.push_back(
            {Limit::kCoverage, "a minimum coverage of " + shortText(run_().minCoverage) +
                                   " finds nothing: less than one position is no placement"});
    }
    if (placement.coverage < run_().minCoverage) {
        breaches.push_back(
            {Limit::kCoverage, "coverage " + fixedText(kPercent * placement.coverage, 1) +
                                   " % is below " + fixedText(kPercent * run_().minCoverage, 1) +
                                   " %"});
    }
    if (variant.setup.steps.xv != question_.setup.steps.xv) {
        breaches.push_back({Limit::kSteps, "the steps " + stepsText(run_().choice.steps) +
                                               " are not those that the points show"});
    }
    if (variant.snap != question_.snap) {
        breaches.push_back({Limit::kSnap, "its points lie off their positions by more than " +
                                              (run_().snap ? significantText(*run_().snap, 4)
                                                           : std::string("the matcher allows"))});
    }
    const bool hasOwnSteps = variant.setup.steps.xv == question_.setup.steps.xv;
    if (!placement.dataFromPattern || !hasOwnSteps) return breaches;
    const GridSteps seen = stepsOf(*placement.dataFromPattern);
    const Interval& turns = run_().rotationDeg;
    const double turn = turnNearest(angleDeg(run_().choice.steps.xv, seen.xv), turns);
    if (!turns.isFull && (turn < turns.low || turn > turns.high)) {
        breaches.push_back(
            {Limit::kRotation, "rotation " + outsideText(turn, turns.low, turns.high, " deg")});
    }
    const double size = seen.xv.len() / run_().choice.steps.xv.len();
    const Interval& sizes = run_().scale;
    if (size < 1.0 + sizes.low || size > 1.0 + sizes.high) {
        breaches.push_back(
            {Limit::kScale, "scale " + outsideText(size, 1.0 + sizes.low, 1.0 + sizes.high)});
    }
    return breaches;
}

Rerun GridExplainer::attempt_(Limit limit, const GridVariant& variant) const {
    Rerun rerun;
    rerun.limit = limit;
    rerun.options = variant.options;
    GridMatchReport found = variant.setup.report;
    try {
        const ProgressWatch watch(
            [&](double seconds) { return nameOf(limit) + ": " + elapsedText(seconds); });
        const SearchDeadline deadline(question_.timeLimit);
        searchPattern(variant.snap, variant.setup.steps, found);
    } catch (const rxAttention::Interrupted&) {
        rerun.outcome = Outcome::kNotFinished;
        rerun.remark = "took longer than --time-limit " + shortText(question_.timeLimit);
        return rerun;
    } catch (const InputError& error) {
        rerun.outcome = Outcome::kRefused;
        rerun.remark = error.what();
        return rerun;
    }
    rerun.seconds = found.seconds;
    rerun.outcome = found.placements.empty() ? Outcome::kNothing : Outcome::kFound;
    if (found.placements.empty()) return rerun;
    rerun.placement = std::move(found.placements.front());
    if (report_.hasFound() && rerun.placement->map == run_().placements.front().map) {
        rerun.outcome = Outcome::kSame;
        return rerun;
    }
    rerun.breaches = breachesOf_(*rerun.placement, variant);
    if (limit != Limit::kAll) {
        // A limit that was not relaxed has let the placement pass, whatever its fit came to.
        std::erase_if(rerun.breaches, [&](const Breach& breach) { return breach.limit != limit; });
    }
    if (rerun.breaches.empty()) {
        // The tolerances hold between neighbours; the fitted grid may lie within.
        rerun.breaches.push_back(
            {limit,
             limit == Limit::kAll
                 ? "neighbours on it lie outside the rotation or scale that is allowed"
                 : "neighbours on it lie outside the " + nameOf(limit) + " that is allowed"});
    }
    return rerun;
}

void GridExplainer::relaxEach_() {
    constexpr double kTurn = 360.0;
    auto& reruns = report_.reruns;
    const double lowest = lowestCoverage_();
    reruns.push_back(run_().minCoverage <= lowest && !asksForNone_()
                         ? notLimited(Limit::kCoverage, "a single position already")
                         : attempt_(Limit::kCoverage, asAsked_().minCoverage(lowest)));
    const Interval& turns = run_().rotationDeg;
    reruns.push_back(turns.isFull || turns.high - turns.low >= kTurn
                         ? notLimited(Limit::kRotation, "full already")
                         : attempt_(Limit::kRotation, asAsked_().rotation(Interval::full())));
    const Interval& sizes = run_().scale;
    reruns.push_back(sizes.low <= kFarScales.low && sizes.high >= kFarScales.high
                         ? notLimited(Limit::kScale, "half to double already")
                         : attempt_(Limit::kScale, asAsked_().scale(united(sizes, kFarScales))));
    const std::vector<double> distances = distances_();
    Rerun distance = notLimited(Limit::kSnap, "0.45 of the distance of neighbours already");
    for (const double value : distances) {
        distance = attempt_(Limit::kSnap, asAsked_().distance(value));
        if (distance.isFound()) break;
    }
    reruns.push_back(std::move(distance));
    if (proposed_) {
        reruns.push_back(attempt_(Limit::kSteps, asAsked_().steps(*proposed_)));
    } else {
        reruns.push_back(notLimited(Limit::kSteps, run_().choice.proposal
                                                       ? "proposed from the data already"
                                                       : "no grid is seen to propose others"));
    }
}

void GridExplainer::relaxAll_() {
    GridVariant all = asAsked_();
    all.minCoverage(lowestCoverage_());
    all.rotation(Interval::full());
    all.scale(united(run_().scale, kFarScales));
    report_.reruns.push_back(attempt_(Limit::kAll, all));
    if (isTrusted_(report_.reruns.back())) return;
    const std::vector<double> distances = distances_();
    if (!distances.empty()) all.distance(distances.back());
    if (proposed_) all.steps(*proposed_);
    if (distances.empty() && !proposed_) return;
    Rerun wider = attempt_(Limit::kAll, all);
    if (wider.isFound()) report_.reruns.back() = std::move(wider);
}

bool GridExplainer::isTrusted_(const Rerun& rerun) const {
    constexpr double kLeastShare = 0.25;
    constexpr std::size_t kFewestPositions = 6;
    if (!rerun.placement) return false;
    if (!asksForNone_() && rerun.placement->coverage >= run_().minCoverage) return true;
    return rerun.placement->coverage >= kLeastShare &&
           rerun.placement->matched() >= kFewestPositions;
}

std::optional<std::size_t> GridExplainer::bestRerun_() const {
    constexpr double kClearlyMore = 0.05;
    double most = report_.hasFound() ? run_().placements.front().coverage + kClearlyMore : 0.0;
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < report_.reruns.size(); ++i) {
        const Rerun& rerun = report_.reruns[i];
        if (!isTrusted_(rerun) || rerun.placement->coverage <= most) continue;
        best = i;
        most = rerun.placement->coverage;
    }
    return best;
}

// The options of the run, widened by no more than it takes.
GridVariant GridExplainer::keeping_(const Rerun& rerun) const {
    constexpr double kPercent = 100.0;
    constexpr double kUsualCoverage = 0.5;
    constexpr double kMarginDeg = 5.0;
    constexpr double kMargin = 0.05;
    constexpr double kTurn = 360.0;
    GridVariant narrow = asAsked_();
    const GridPlacement& placement = *rerun.placement;
    for (const Breach& breach : rerun.breaches) {
        if (breach.limit == Limit::kCoverage) {
            const double coverage = std::floor(kPercent * placement.coverage + 1e-9) / kPercent;
            narrow.minCoverage(asksForNone_() ? std::min(coverage, kUsualCoverage) : coverage);
        }
        if (!placement.dataFromPattern) continue;
        const GridSteps seen = stepsOf(*placement.dataFromPattern);
        if (breach.limit == Limit::kRotation) {
            const double turn =
                turnNearest(angleDeg(run_().choice.steps.xv, seen.xv), run_().rotationDeg);
            const Interval turns = including(run_().rotationDeg, turn, kMarginDeg, 1.0);
            narrow.rotation(turns.high - turns.low < kTurn ? turns : Interval::full());
        }
        if (breach.limit == Limit::kScale) {
            const double size = seen.xv.len() / run_().choice.steps.xv.len() - 1.0;
            narrow.scale(including(run_().scale, size, kMargin, kPercent));
        }
    }
    for (const OptionValue& option : rerun.options) {
        if (option.option == "--snap") narrow.distance(parseNumber(option.value).value_or(0.0));
    }
    const bool hasOtherSteps = std::ranges::any_of(
        rerun.options, [](const OptionValue& option) { return option.option == "--xv"; });
    if (hasOtherSteps && proposed_) narrow.steps(*proposed_);
    return narrow;
}

void GridExplainer::suggest_() {
    report_.chosen = bestRerun_();
    if (!report_.chosen) {
        report_.suggestion.text =
            report_.hasFound() ? "none; no other limit finds a clearly better placement"
                               : "none; no limit brings out the pattern: check the steps, and "
                                 "whether the pattern is in these data";
        return;
    }
    const Rerun& best = report_.reruns[*report_.chosen];
    report_.suggestion.options = best.options;
    const GridVariant narrow = keeping_(best);
    if (!narrow.options.empty()) {
        const Rerun check = attempt_(best.limit, narrow);
        if (check.placement && check.placement->map == best.placement->map) {
            report_.suggestion.options = narrow.options;
        }
    }
    report_.suggestion.text = optionText(report_.suggestion.options) + " finds a " +
                              (report_.hasFound() ? "better " : "") +
                              "placement: " + matchedText(*best.placement, " of ") +
                              " positions match";
}

void GridExplainer::explain() {
    run_() = question_.setup.report;
    {
        const ProgressWatch watch(elapsedText);
        searchPattern(question_.snap, question_.setup.steps, run_());
    }
    if (!report_.hasFound()) report_.gridRemark = whyNothingMatched(run_());
    proposed_ = otherSteps_();
    relaxEach_();
    constexpr double kNearlyWhole = 0.9;
    const auto best = bestRerun_();
    const bool hasGood = best && report_.reruns[*best].placement->coverage >= kNearlyWhole;
    if (!report_.hasFound() && !hasGood) relaxAll_();
    suggest_();
}

}  // namespace

void explainGrid(const GridQuestion& question, ExplainReport& report) {
    GridExplainer(question, report).explain();
}

}  // namespace ptmatch::tool
