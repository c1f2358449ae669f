#pragma once

#include <optional>
#include <string>
#include <vector>

#include "explain_points.h"
#include "explain_report.h"
#include "pose_limits.h"
#include "relaxed_run.h"

namespace ptmatch::tool {

/// Explains one search of points: the run as asked, what further runs with relaxed limits find, and
/// which limit to change. For explainPoints alone.
class PointExplainer {
  public:
    PointExplainer(const PointQuestion& question, ExplainReport& report)
        : question_(question),
          report_(report),
          frame_(runFrame(question.run, question.exhaustive, question.model.table.points)) {}

    void explain();

  private:
    /// A run that returns a pose, and where.
    struct Ranked {
        RelaxedRun run;
        std::size_t rank = 1;
    };

    const PointTable& data_() const { return report_.match.data; }
    const std::vector<rxVector<2>>& model_() const { return question_.model.table.points; }
    RelaxedRun asAsked_() const { return RelaxedRun(question_.run); }
    /// Where the coverage does not tell poses from accidents, so many are looked at that clutter
    /// can; the option says so.
    static RelaxedRun compared_(RelaxedRun relaxed);

    void runAsAsked_();
    void askRun_();
    void relaxEach_();
    void relaxAll_();
    void askForMore_();
    void mirror_();
    void examineExpected_();
    void suggest_();
    void suggestForExpected_();
    void suggestAllowed_();

    Rerun attempt_(Limit limit, const RelaxedRun& relaxed, const rxPointMatcher& matcher) const;
    Rerun attempt_(Limit limit, const RelaxedRun& relaxed) const {
        return attempt_(limit, relaxed, *question_.model.matcher);
    }
    bool wouldTakeTooLong_(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params,
                           Rerun& rerun) const;
    std::optional<Ranked> fewestResults_(const RelaxedRun& relaxed, bool isCountToBlame,
                                         const FoundPose& pose) const;
    std::optional<std::size_t> rankIn_(const rxPointMatcherRunParams& params, const FoundPose& pose,
                                       double timeLimit) const;
    void takeBest_(const rxPointMatcher& matcher, const rxPointMatcherRunParams& params,
                   const rxPointMatcherResultSet& found, Rerun& rerun) const;
    void blame_(const RelaxedRun& relaxed, Rerun& rerun) const;
    Rerun firstThatFinds_(Limit limit, const std::vector<RelaxedRun>& steps) const;
    bool isAsFound_(const FoundPose& pose) const;
    bool coversClearlyMore_(const FoundPose& pose) const;
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
    std::string pairsText_(const FoundPose& pose) const;
    std::string forbiddenText_(const FoundPose& pose) const;
    bool isRefusedByForbidden_(const Rerun& rerun) const;
    const Rerun* refusedByForbidden_() const;

    const PointQuestion& question_;
    ExplainReport& report_;
    RunFrame frame_;
    double asAskedWork_ = 0.0;
    std::optional<double> asAskedFalseAlarms_;
};

/// Scales to try: a fifth either way, and then half to double.
inline constexpr Interval kNearScales{-0.2, 0.2};
inline constexpr Interval kFarScales{-0.5, 1.0};
/// Sizes to try, times that of the run.
inline constexpr double kSizeFactors[] = {2.0, 4.0, 8.0};
/// Numbers of results to ask for where one does not bring the pose out.
inline constexpr long kMoreResults = 20;
inline constexpr long kManyResults = 200;
/// What is said of a pose that breaks no limit.
inline constexpr const char* kHidden =
    "it is allowed, but others have more votes; a larger --max-results looks at more of them";

/// Whether a pose is no accident: less than one in a hundred scenes of clutter has as good a one.
bool isCredible(const std::optional<double>& log10FalseAlarms);

/// How often clutter offers as good a result; the smaller, the less it is an accident.
std::optional<double> log10FalseAlarms(const rxPointMatcher& matcher,
                                       const std::vector<rxVector<2>>& data,
                                       const rxPointMatcherRunParams& params,
                                       const rxPointMatcherResultSet& found, std::size_t index);

/// A size that can be read and written, not off the exact one by more than a thousandth.
double roundedSize(double size);

}  // namespace ptmatch::tool
