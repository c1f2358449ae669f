#pragma once

#include <optional>
#include <string>
#include <vector>

#include "grid_match_report.h"
#include "match_report.h"
#include "ptmatch/why_not.h"

namespace ptmatch::tool {

/// What can keep a search from a pose.
enum class Limit {
    kCoverage,
    kRotation,
    kScale,
    kTranslation,
    kCaptureRange,
    kGridSize,
    /// Grid patterns: the distance of a point from its position.
    kSnap,
    /// Grid patterns: the steps that were given.
    kSteps,
    /// The number of results that are reported.
    kCount,
    /// The model as seen from the other side.
    kMirror,
    /// Several of them together.
    kAll
};

/// "rotation", "capture range": what texts call a limit.
std::string nameOf(Limit limit);
/// "rotation", "capture_range": what JSON calls it.
std::string keyOf(Limit limit);

/// An option as it stands on a command line; without a value, it is to be left out.
struct OptionValue {
    std::string option;
    std::string value;
};

/// "--rotation -15,43 --min-coverage 0.4", "without --xv"
std::string optionText(const std::vector<OptionValue>& options);

/// A limit of the run that a pose does not keep, and how: "rotation 37.2 deg is outside -15 to 15".
struct Breach {
    Limit limit = Limit::kRotation;
    std::string text;
};

/// A search with a limit relaxed, or what is looked for at an expected pose.
struct Rerun {
    enum class Outcome {
        kFound,
        /// The pose that the run itself finds first.
        kSame,
        kNothing,
        /// The time limit passed, or would have: the remark tells.
        kNotFinished,
        /// The matcher refuses the relaxed limit: the remark tells why.
        kRefused,
        /// The run itself has no such limit.
        kNotLimited
    };

    Limit limit = Limit::kAll;
    /// What was asked for instead of the options of the run.
    std::vector<OptionValue> options;
    Outcome outcome = Outcome::kNotLimited;
    std::string remark;
    double seconds = 0.0;
    /// The best pose, when there is one: the first for points, the second for a grid pattern.
    std::optional<FoundPose> pose;
    /// Which of the results of that search the pose is, from 1.
    std::size_t rank = 1;
    std::optional<GridPlacement> placement;
    /// Limits of the run that exclude it.
    std::vector<Breach> breaches;
    /// How many poses as good as this clutter would offer (decimal logarithm), when known.
    std::optional<double> log10FalseAlarms;

    bool isFound() const { return outcome == Outcome::kFound || outcome == Outcome::kSame; }
};

/// "found", "same", "nothing", "not finished", "refused", "not limited"
std::string outcomeText(Rerun::Outcome outcome);

/// The last line of the answer.
struct Suggestion {
    /// Empty: there is none.
    std::vector<OptionValue> options;
    std::string text;
};

/// The answer to: why is nothing, or not the right thing, found?
struct ExplainReport {
    /// A grid pattern is looked for, not points.
    bool isGrid = false;
    /// The run as it was asked for; of points or of a grid pattern.
    MatchReport match;
    GridMatchReport gridMatch;

    /// What the run of points says of itself; absent when that took too long.
    std::optional<rxWhyNot> why;
    /// Why nothing was found, for a grid pattern.
    std::string gridRemark;

    std::vector<Rerun> reruns;
    /// What there is at the pose that was expected.
    std::optional<Rerun> expected;
    Suggestion suggestion;
    /// Seconds that a rerun may take.
    double timeLimit = 0.0;

    bool hasFound() const { return !(isGrid ? gridMatch.placements.empty() : match.poses.empty()); }
    /// The best pose of the reruns, for the picture: the one the suggestion is about. An index into
    /// reruns.
    std::optional<std::size_t> chosen;
};

}  // namespace ptmatch::tool
