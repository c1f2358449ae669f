// Why a search finds nothing, or not what is expected: each limit is found to be the one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "explain_grid.h"
#include "explain_json.h"
#include "explain_points.h"
#include "explain_table.h"
#include "foundation/angle.h"
#include "tool_runner.h"
#include "watched_search.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using nlohmann::json;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Points = std::vector<rxVector<2>>;

namespace {

// Twelve points in 200 x 200, of which no two lie nearer than 30; no turn or mirror image of them
// looks like them.
Points sampleModel() {
    return {{-100, -90}, {-60, -95}, {10, -80}, {95, -100}, {-85, -30}, {-20, -25},
            {60, -40},   {-95, 55},  {-30, 35}, {40, 20},   {100, 70},  {-10, 100}};
}

// Scatter that is the same everywhere: whole numbers below 2^31 are exact in every step.
class Scatter {
  public:
    double between(double low, double high) {
        state_ = (state_ * 1103515245U + 12345U) % 2147483648U;
        return low + (high - low) * static_cast<double>(state_) / 2147483648.0;
    }

  private:
    std::uint64_t state_ = 20251;
};

struct Scene {
    double rotationDeg = 0.0;
    double scale = 1.0;
    rxVector<2> place{400.0, 300.0};
    /// Points off by up to so much in x and y.
    double jitter = 0.0;
    std::size_t missing = 0;
    bool mirrored = false;
};

// The model in a picture of 800 x 600 with 40 points of clutter.
Points dataOf(const Scene& scene) {
    const rxRadian angle{rxDegree(scene.rotationDeg)};
    const rxXform<2> pose(scene.place, angle, angle, scene.scale, scene.scale);
    Scatter scatter;
    Points data;
    const Points model = sampleModel();
    for (std::size_t i = scene.missing; i < model.size(); ++i) {
        const rxVector<2> point =
            pose * (scene.mirrored ? rxVector<2>(model[i].x(), -model[i].y()) : model[i]);
        data.emplace_back(point.x() + scatter.between(-scene.jitter, scene.jitter),
                          point.y() + scatter.between(-scene.jitter, scene.jitter));
    }
    for (int i = 0; i < 40; ++i) {
        const double x = scatter.between(0.0, 800.0);
        data.emplace_back(x, scatter.between(0.0, 600.0));
    }
    return data;
}

// Of a model in a table, which may have weights.
ExplainReport explainedOf(const PointTable& model, const RunOptions& run, const Points& data,
                          std::optional<ExpectedPose> expected = {}, bool exhaustive = false,
                          double timeLimit = 60.0) {
    PointQuestion question;
    question.model.table = model;
    question.model.matcher = trainedOnPoints(
        question.model.table,
        exhaustive ? rxPointMatcherDefs::eExhaustiveMode : rxPointMatcherDefs::eAutoDetect, "m");
    question.run = run;
    question.exhaustive = exhaustive;
    question.expected = expected;
    question.timeLimit = timeLimit;
    ExplainReport report;
    report.timeLimit = timeLimit;
    report.match.modelFile = "m";
    report.match.params = runParams(run);
    report.match.exhaustive = exhaustive;
    report.match.model = question.model.table;
    report.match.data.points = data;
    explainPoints(question, report);
    return report;
}

ExplainReport explained(const RunOptions& run, const Points& data,
                        std::optional<ExpectedPose> expected = {}, bool exhaustive = false,
                        double timeLimit = 60.0) {
    PointTable model;
    model.points = sampleModel();
    if (exhaustive) model.points.resize(4);
    return explainedOf(model, run, data, expected, exhaustive, timeLimit);
}

const Rerun& rerunOf(const ExplainReport& report, Limit limit) {
    for (const Rerun& rerun : report.reruns) {
        if (rerun.limit == limit) return rerun;
    }
    ADD_FAILURE() << "no rerun of " << nameOf(limit);
    return report.reruns.front();
}

std::vector<std::string> breachTexts(const Rerun& rerun) {
    std::vector<std::string> texts;
    for (const Breach& breach : rerun.breaches) texts.push_back(breach.text);
    return texts;
}

// A run that clutter does not satisfy.
RunOptions strictRun() {
    RunOptions run;
    run.minCoverage = 0.75;
    return run;
}

// The options of a run as the suggestion changes them.
RunOptions followed(RunOptions run, const Suggestion& suggestion) {
    for (const OptionValue& option : suggestion.options) {
        if (option.option == "--rotation") run.rotationDeg = parseInterval(option.value);
        if (option.option == "--scale") run.scale = parseInterval(option.value);
        if (option.option == "--x-translation") run.xTranslation = parseInterval(option.value);
        if (option.option == "--y-translation") run.yTranslation = parseInterval(option.value);
        if (option.option == "--min-coverage") run.minCoverage = parseFinite(option.value);
        if (option.option == "--capture-range") run.captureRange = parseFinite(option.value);
        if (option.option == "--grid-size") run.gridSize = parseFinite(option.value);
        if (option.option == "--max-results") run.maxResults = parseCount(option.value);
    }
    return run;
}

// The run finds nothing, the limit alone is to blame, and following the suggestion finds the model
// where it is.
ExplainReport expectCulprit(const RunOptions& run, const Scene& scene, Limit limit) {
    ExplainReport report = explained(run, dataOf(scene));
    EXPECT_FALSE(report.hasFound());
    EXPECT_TRUE(rerunOf(report, limit).isFound());
    EXPECT_TRUE(report.chosen && report.reruns[*report.chosen].limit == limit)
        << explainTable(report);
    const ExplainReport again = explained(followed(run, report.suggestion), dataOf(scene));
    EXPECT_TRUE(again.hasFound()) << report.suggestion.text;
    if (again.hasFound()) {
        EXPECT_LT((again.match.poses.front().dataFromModel.trans() - scene.place).len(), 5.0);
    }
    return report;
}

}  // namespace

TEST(Explain, RotationIsFoundToBeTheCulprit) {
    const ExplainReport report =
        expectCulprit(strictRun(), {.rotationDeg = 37.25}, Limit::kRotation);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kRotation)),
                ElementsAre("rotation 37.25 deg is outside -15 to 15"));
    EXPECT_EQ(report.suggestion.text, "--rotation -15,43 finds a pose: 12 of 12 points match");
    EXPECT_EQ(rerunOf(report, Limit::kTranslation).outcome, Rerun::Outcome::kNotLimited);
    ASSERT_TRUE(report.why);
    EXPECT_LT(report.why->bestCoverage, 0.75);
    // The other way round, and against an expected pose.
    RunOptions turned = strictRun();
    turned.startRotationDeg = 170.0;
    const ExplainReport other = expectCulprit(turned, {.rotationDeg = -145.0}, Limit::kRotation);
    EXPECT_THAT(breachTexts(rerunOf(other, Limit::kRotation)),
                ElementsAre("rotation 45 deg from the expected one is outside -15 to 15"));
}

TEST(Explain, ScaleIsFoundToBeTheCulprit) {
    const ExplainReport report = expectCulprit(strictRun(), {.scale = 1.3}, Limit::kScale);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kScale)), ElementsAre("scale 1.3 is not 1"));
    EXPECT_THAT(report.suggestion.text, StartsWith("--scale 0,0.32 finds a pose: 12 of 12"));
    // Beyond a fifth, with a start scale.
    RunOptions run = strictRun();
    run.startScale = 2.0;
    run.scale = {-0.05, 0.05};
    const ExplainReport far = expectCulprit(run, {.scale = 1.2}, Limit::kScale);
    EXPECT_THAT(breachTexts(rerunOf(far, Limit::kScale)),
                ElementsAre(AllOf(StartsWith("scale 1.2"), EndsWith(" is outside 1.9 to 2.1"))));
}

TEST(Explain, TranslationIsFoundToBeTheCulprit) {
    RunOptions run = strictRun();
    run.xTranslation = {0.0, 320.0};
    run.yTranslation = {250.0, 350.0};
    const ExplainReport report = expectCulprit(run, {}, Limit::kTranslation);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kTranslation)),
                ElementsAre("x translation 400 is outside 0 to 320"));
    EXPECT_THAT(report.suggestion.text, StartsWith("--x-translation 0,430 finds a pose"));
}

TEST(Explain, CoverageIsFoundToBeTheCulprit) {
    RunOptions run;
    run.minCoverage = 0.9;
    const ExplainReport report = expectCulprit(run, {.missing = 3}, Limit::kCoverage);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kCoverage)),
                ElementsAre("coverage 75.0 % is below 90.0 %"));
    EXPECT_EQ(report.suggestion.text, "--min-coverage 0.75 finds a pose: 9 of 12 points match");
    ASSERT_TRUE(report.why);
    EXPECT_GE(report.why->bestCoverage, 0.75);
}

TEST(Explain, CaptureRangeIsFoundToBeTheCulprit) {
    RunOptions run;
    run.captureRange = 1.0;
    const ExplainReport report = expectCulprit(run, {.jitter = 3.0}, Limit::kCaptureRange);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kCaptureRange)),
                ElementsAre(HasSubstr("lie within the capture range of 1")));
    EXPECT_THAT(report.suggestion.text, StartsWith("--capture-range "));
}

TEST(Explain, CaptureRangeInUnitsOfTheModelIsFoundToBeTheCulprit) {
    // A drawing of which one unit is 12 of the data: the automatic range is far too small.
    Points model = sampleModel();
    RunOptions run = strictRun();
    run.startScale = 12.0;
    PointQuestion question;
    for (rxVector<2>& point : model) point = rxVector<2>(point.x() / 12.0, point.y() / 12.0);
    question.model.table.points = model;
    question.model.matcher =
        trainedOnPoints(question.model.table, rxPointMatcherDefs::eAutoDetect, "m");
    question.run = run;
    question.timeLimit = 60.0;
    ExplainReport report;
    report.match.params = runParams(run);
    report.match.model = question.model.table;
    report.match.data.points = dataOf({.jitter = 3.0});
    explainPoints(question, report);
    EXPECT_FALSE(report.hasFound());
    ASSERT_TRUE(report.chosen);
    EXPECT_EQ(report.reruns[*report.chosen].limit, Limit::kCaptureRange);
}

TEST(Explain, GridSizeIsFoundToBeTheCulprit) {
    RunOptions run;
    run.minCoverage = 0.9;
    run.gridSize = 1.0;
    run.captureRange = 14.0;
    const ExplainReport report = expectCulprit(run, {.jitter = 9.0}, Limit::kGridSize);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kGridSize)),
                ElementsAre(StartsWith("a grid size of 1 is too fine for points that lie off by")));
}

TEST(Explain, TwoLimitsTogetherAreNamedByTheLastSearch) {
    const Scene scene{.rotationDeg = -40.0, .scale = 1.3};
    const ExplainReport report = expectCulprit(strictRun(), scene, Limit::kAll);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kAll)),
                ElementsAre("rotation -40 deg is outside -15 to 15", "scale 1.3 is not 1"));
    EXPECT_EQ(report.suggestion.text,
              "--rotation -45,15 --scale 0,0.32 finds a pose: 12 of 12 points match");
}

TEST(Explain, AMirroredModelIsSeen) {
    const ExplainReport report =
        explained(strictRun(), dataOf({.rotationDeg = 120.0, .mirrored = true}));
    EXPECT_FALSE(report.hasFound());
    EXPECT_TRUE(rerunOf(report, Limit::kMirror).isFound());
    EXPECT_THAT(report.suggestion.text, StartsWith("write -y for y in one of the tables; then "));
    EXPECT_FALSE(report.chosen);  // nothing to draw
}

TEST(Explain, NothingIsSuggestedWhereThereIsNothing) {
    Points clutter = dataOf({});
    clutter.erase(clutter.begin(), clutter.begin() + 12);
    const ExplainReport report = explained({}, clutter);
    EXPECT_FALSE(report.hasFound());
    EXPECT_EQ(report.reruns.back().limit, Limit::kAll);
    EXPECT_FALSE(report.chosen) << explainTable(report);
    EXPECT_THAT(report.suggestion.options, IsEmpty());
    EXPECT_THAT(report.suggestion.text, StartsWith("none; no limit brings out more than clutter"));
    EXPECT_THAT(explained({}, Points(clutter.begin(), clutter.begin() + 4)).suggestion.text,
                StartsWith("none; the data hold fewer points than the coverage asks for"));
}

TEST(Explain, WhatTheRunFindsIsLeftAlone) {
    const ExplainReport report = explained({}, dataOf({.rotationDeg = 5.0}));
    EXPECT_TRUE(report.hasFound());
    EXPECT_EQ(rerunOf(report, Limit::kRotation).outcome, Rerun::Outcome::kSame);
    EXPECT_EQ(rerunOf(report, Limit::kCoverage).outcome, Rerun::Outcome::kSame);
    EXPECT_FALSE(report.chosen);
    EXPECT_EQ(report.suggestion.text, "none; no other limit finds a clearly better pose");
}

TEST(Explain, ABetterPoseBeyondALimitIsTold) {
    // A part of the model stands upright, all of it turned.
    Points data = dataOf({.rotationDeg = 60.0, .place = {600.0, 400.0}});
    for (std::size_t i = 0; i < 9; ++i) {
        data.push_back(sampleModel()[i] + rxVector<2>(200.0, 200.0));
    }
    const ExplainReport report = explained({}, data);
    ASSERT_TRUE(report.hasFound());
    EXPECT_EQ(report.match.poses.front().matched(), 9U);
    ASSERT_TRUE(report.chosen);
    EXPECT_EQ(report.suggestion.text,
              "--rotation -15,65 finds a better pose: 12 of 12 points match");
}

TEST(Explain, WhatClutterOffersIsToldFromTheModel) {
    // Half of the model is found by accident, while the model itself breaks two limits.
    const ExplainReport report = explained({}, dataOf({.rotationDeg = -40.0, .scale = 1.15}));
    ASSERT_TRUE(report.hasFound());
    ASSERT_TRUE(report.chosen) << explainTable(report);
    EXPECT_THAT(report.suggestion.text,
                AllOf(StartsWith("--rotation -45,15 --scale 0,0.1"),
                      EndsWith(" finds a better pose: 12 of 12 points match")));
    Points clutter = dataOf({});
    clutter.erase(clutter.begin(), clutter.begin() + 12);
    RunOptions low;
    low.minCoverage = 0.3;
    EXPECT_EQ(explained(low, clutter).suggestion.text,
              "none; no other limit finds a clearly better pose, but clutter alone may do as well "
              "as this one");
}

TEST(Explain, AnExpectedPoseIsToldWhatExcludesIt) {
    const Scene scene{.rotationDeg = 30.0, .missing = 4};
    RunOptions run;
    run.minCoverage = 0.8;
    const rxVector<2> centre = scene.place;  // that of the model is near its origin
    const ExplainReport report = explained(run, dataOf(scene), ExpectedPose{centre, 30.0, 1.0});
    ASSERT_TRUE(report.expected && report.expected->pose);
    EXPECT_THAT(breachTexts(*report.expected), ElementsAre("coverage 66.7 % is below 80.0 %",
                                                           "rotation 30 deg is outside -15 to 15"));
    EXPECT_EQ(
        report.suggestion.text,
        "--min-coverage 0.66 --rotation -15,35 finds the expected pose: 8 of 12 points match");
    const ExplainReport elsewhere =
        explained(run, dataOf(scene), ExpectedPose{{150.0, 450.0}, 0.0, 1.0});
    EXPECT_THAT(elsewhere.suggestion.text, AllOf(StartsWith("none; at the expected pose "),
                                                 EndsWith("no more than clutter offers")));
}

TEST(Explain, AnExpectedPoseIsToldItsRank) {
    Points data = dataOf({.place = {600.0, 400.0}});
    for (std::size_t i = 0; i < 9; ++i) {
        data.push_back(sampleModel()[i] + rxVector<2>(200.0, 200.0));
    }
    const ExplainReport second = explained({}, data, ExpectedPose{{200.0, 200.0}, {}, {}});
    ASSERT_TRUE(second.expected && second.expected->pose);
    EXPECT_THAT(breachTexts(*second.expected),
                ElementsAre("it ranks at 2, the first covers 100.0 %"));
    EXPECT_EQ(second.suggestion.text,
              "--max-results 2 shows the expected pose, too: 9 of 12 points match");
    const ExplainReport first = explained({}, data, ExpectedPose{{600.0, 400.0}, 0.0, {}});
    EXPECT_EQ(first.suggestion.text, "none; the expected pose is found, at rank 1");
    EXPECT_EQ(first.expected->outcome, Rerun::Outcome::kSame);
}

TEST(Explain, ExhaustiveRunsAreExplainedByTheirOwnLimits) {
    Points data = dataOf({.rotationDeg = 50.0});
    data.resize(6);
    const ExplainReport report = explained({}, data, {}, true);
    EXPECT_EQ(rerunOf(report, Limit::kCoverage).outcome, Rerun::Outcome::kNotLimited);
    EXPECT_EQ(rerunOf(report, Limit::kGridSize).remark, "not used by --exhaustive");
    EXPECT_EQ(rerunOf(report, Limit::kRotation).outcome, Rerun::Outcome::kFound);
}

TEST(Explain, SearchesThatTakeTooLongAreNamed) {
    // No time at all: every search that looks at the clock ends, and the answer says so.
    const ExplainReport report = explained({}, dataOf({.rotationDeg = 37.0}), {}, false, 1e-9);
    EXPECT_FALSE(report.why);
    EXPECT_EQ(rerunOf(report, Limit::kRotation).outcome, Rerun::Outcome::kNotFinished);
    EXPECT_THAT(rerunOf(report, Limit::kRotation).remark,
                StartsWith("took longer than --time-limit 1e-09"));
    EXPECT_THAT(report.suggestion.text, StartsWith("--time-limit with more seconds"));
}

TEST(Explain, AnExpectedPoseThatWasNotLookedForIsNotDenied) {
    const Scene scene{.rotationDeg = 30.0};
    const ExplainReport late =
        explained(strictRun(), dataOf(scene), ExpectedPose{scene.place, 30.0, 1.0}, false, 1e-9);
    EXPECT_EQ(late.suggestion.text,
              "--time-limit with more seconds; the search at the expected pose did not end");
    const ExplainReport tiny =
        explained(strictRun(), dataOf(scene), ExpectedPose{scene.place, 30.0, 0.05});
    EXPECT_THAT(tiny.suggestion.text,
                StartsWith("none; the search at the expected pose is refused: --scale: LO must"));
    // A tenth below it would be refused; what is left of the range is looked at.
    const ExplainReport small =
        explained(strictRun(), dataOf(scene), ExpectedPose{scene.place, 30.0, 0.105});
    EXPECT_NE(small.expected->outcome, Rerun::Outcome::kRefused);
}

TEST(Explain, APointWhereNothingMayBeIsNamed) {
    // A plate with a mark, turned over.
    PointTable plate;
    plate.points = {{-40, -20}, {-15, -20}, {15, -20}, {40, -20}, {-40, 20}, {-15, 20},
                    {15, 20},   {40, 20},   {22, 6},   {-22, 6},  {-22, -6}, {22, -6}};
    plate.weights = {1, 1, 1, 1, 1, 1, 1, 1, 1, -4, -4, -4};
    Points over(plate.points.begin(), plate.points.begin() + 8);
    over.emplace_back(-22.0, 6.0);
    RunOptions run;
    run.minCoverage = 0.7;
    const ExplainReport report = explainedOf(plate, run, over);
    EXPECT_FALSE(report.chosen);
    EXPECT_EQ(report.suggestion.text,
              "none; at the best pose a point lies where nothing may be: "
              "on model point -22,6 of weight -4");
    EXPECT_EQ(explainedOf(plate, run, over, ExpectedPose{{0.0, 0.0}, 0.0, 1.0}).suggestion.text,
              "none; at the expected pose a point lies where nothing may be: on model point -22,6 "
              "of weight -4");
    // They are no points to be matched either.
    Points seen(plate.points.begin() + 1, plate.points.begin() + 9);
    run.minCoverage = 0.95;
    EXPECT_EQ(explainedOf(plate, run, seen).suggestion.text,
              "--min-coverage 0.88 finds a pose: 8 of 9 points match");
}

TEST(Explain, ASizeThatGivesTheSamePoseMorePointsIsTold) {
    const PointTable model = readPoints(PTMATCH_DATA_DIR "/versa64/model.csv");
    const Points data = readPoints(PTMATCH_DATA_DIR "/versa64/data.csv").points;
    RunOptions run;
    run.startScale = 11.8;
    const ExplainReport report = explainedOf(model, run, data);
    ASSERT_TRUE(report.hasFound());
    EXPECT_EQ(report.match.poses.front().matched(), 44U);
    EXPECT_EQ(rerunOf(report, Limit::kCaptureRange).outcome, Rerun::Outcome::kSame);
    EXPECT_THAT(report.suggestion.text,
                EndsWith(" finds this pose with more points: 65 of 66 points match"));
    const ExplainReport again = explainedOf(model, followed(run, report.suggestion), data);
    EXPECT_EQ(again.match.poses.front().matched(), 65U);
    EXPECT_EQ(again.suggestion.text, "none; no other limit finds a clearly better pose");
}

namespace {

const std::string kNeedleModel = PTMATCH_DATA_DIR "/demo_pick/model.csv";
const std::string kNeedleData = PTMATCH_DATA_DIR "/demo_pick/data.csv";
const std::string kPattern = PTMATCH_DATA_DIR "/dots_staggered/pattern.txt";
const std::string kDots = PTMATCH_DATA_DIR "/dots_staggered/data.csv";

// The data of the card without the partners of some of its points, moved by `shift`.
Points withoutDots(std::size_t count, const rxVector<2>& shift = {0.0, 0.0}) {
    const PointTable model = readPoints(kNeedleModel);
    const PointTable data = readPoints(kNeedleData);
    const auto matcher = trainedOnPoints(model, rxPointMatcherDefs::eAutoDetect, "m");
    const auto found = foundPoses(watchedSearch(*matcher, data, runParams(RunOptions())));
    std::vector<bool> isHidden(data.points.size());
    for (std::size_t i = 0; i < count; ++i) {
        isHidden[static_cast<std::size_t>(found.at(0).map[i * 7 % 30])] = true;
    }
    Points left;
    for (std::size_t k = 0; k < data.points.size(); ++k) {
        if (!isHidden[k]) left.push_back(data.points[k] + shift);
    }
    return left;
}

ExplainReport explainedGrid(const std::string& rotation, const std::string& scale, double snap,
                            double minCoverage, const StepOptions& steps = {}) {
    GridMatchOptions options;
    options.patternFile = kPattern;
    if (!rotation.empty()) options.rotationDeg = parseInterval(rotation);
    if (!scale.empty()) options.scale = parseInterval(scale);
    if (snap > 0.0) options.snap = snap;
    options.minCoverage = minCoverage;
    options.steps = steps;
    GridMatchSetup setup = readGridMatch(options);
    setup.report.dataFile = kDots;
    setup.report.data = readPoints(kDots);
    ExplainReport report;
    report.isGrid = true;
    explainGrid({setup, options.snap, 60.0}, report);
    return report;
}

Limit culpritOf(const ExplainReport& report) {
    EXPECT_FALSE(report.hasFound());
    EXPECT_NE(report.gridRemark, "");
    if (report.chosen) return report.reruns[*report.chosen].limit;
    ADD_FAILURE() << explainTable(report);
    return Limit::kCount;
}

}  // namespace

TEST(Explain, APoseThatVotesOfOthersHideIsBroughtOutByMoreResults) {
    const PointTable model = readPoints(kNeedleModel);
    const Points data = withoutDots(12);
    RunOptions run;
    run.rotationDeg = Interval::full();
    const ExplainReport report = explainedOf(model, run, data);
    EXPECT_FALSE(report.hasFound());
    ASSERT_TRUE(report.chosen) << explainTable(report);
    EXPECT_EQ(report.reruns[*report.chosen].limit, Limit::kCount);
    EXPECT_EQ(report.suggestion.text, "--max-results 5 finds a pose: 18 of 30 points match");
    EXPECT_EQ(optionText(rerunOf(report, Limit::kCoverage).options),
              "--min-coverage 0 --max-results 20");
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kCoverage)),
                ElementsAre(StartsWith("it is allowed, but others have more votes")));
    // Where it is expected, the run is not said to find it.
    const ExpectedPose truth{{539.0, 341.0}, -5.0, {}};
    EXPECT_EQ(explainedOf(model, run, data, truth).suggestion.text,
              "--max-results 5 finds the expected pose: 18 of 30 points match");
    run = followed(run, report.suggestion);
    const ExplainReport again = explainedOf(model, run, data, truth);
    EXPECT_EQ(again.suggestion.text, "none; the expected pose is found, at rank 1");
    // Larger sizes find partners anywhere.
    const ExpectedPose wrong{{539.0, 341.0}, 175.0, {}};
    EXPECT_THAT(
        explainedOf(model, run, data, wrong).suggestion.text,
        AllOf(StartsWith("none; at the expected pose "), EndsWith("no more than clutter offers")));
}

TEST(Explain, AnExpectedPoseRanksBehindOthersThatTheRunDoesNotFindEither) {
    Points two = withoutDots(12);
    for (const rxVector<2>& point : withoutDots(13, {900.0, 700.0})) two.push_back(point);
    RunOptions run;
    run.rotationDeg = Interval::full();
    const ExplainReport report =
        explainedOf(readPoints(kNeedleModel), run, two, ExpectedPose{{1439.0, 1041.0}, -5.0, {}});
    EXPECT_FALSE(report.hasFound());
    EXPECT_EQ(report.suggestion.text,
              "--max-results 100 finds the expected pose at rank 2: 17 of 30 points match");
}

TEST(ExplainGrid, EachLimitIsFoundToBeTheCulprit) {
    const ExplainReport turned = explainedGrid("20,40", "", 0.0, 0.5);
    EXPECT_EQ(culpritOf(turned), Limit::kRotation);
    EXPECT_EQ(turned.suggestion.text,
              "--rotation -5,40 finds a placement: 25 of 25 positions match");
    EXPECT_THAT(breachTexts(rerunOf(turned, Limit::kRotation)),
                ElementsAre(HasSubstr(" deg is outside 20 to 40")));
    const ExplainReport larger = explainedGrid("", "0.3,0.5", 0.0, 0.5);
    EXPECT_EQ(culpritOf(larger), Limit::kScale);
    const ExplainReport nearer = explainedGrid("", "", 0.5, 0.5);
    EXPECT_EQ(culpritOf(nearer), Limit::kSnap);
    EXPECT_EQ(nearer.suggestion.text, "--snap 7.201 finds a placement: 25 of 25 positions match");
    const ExplainReport stepped =
        explainedGrid("", "", 0.0, 0.5, {rxVector<2>(30.0, 3.0), rxVector<2>(-4.0, 16.0)});
    EXPECT_EQ(culpritOf(stepped), Limit::kSteps);
    EXPECT_THAT(stepped.suggestion.text, StartsWith("--xv 17.86,3.11 --yv -3.85,16.38 finds"));
}

TEST(ExplainGrid, TwoLimitsTogetherAreNamedByTheLastSearch) {
    const ExplainReport report = explainedGrid("30,50", "0.3,0.5", 0.0, 0.5);
    EXPECT_EQ(culpritOf(report), Limit::kAll);
    EXPECT_EQ(rerunOf(report, Limit::kAll).placement->matched(), 25U);
    EXPECT_EQ(rerunOf(report, Limit::kAll).breaches.size(), 2U);
}

TEST(ExplainGrid, ACoverageOfZeroIsFoundToBeTheCulprit) {
    const ExplainReport report = explainedGrid("", "", 0.0, 0.0);
    EXPECT_EQ(culpritOf(report), Limit::kCoverage);
    EXPECT_THAT(breachTexts(rerunOf(report, Limit::kCoverage)),
                ElementsAre(StartsWith("a minimum coverage of 0 finds nothing")));
    EXPECT_EQ(report.suggestion.text,
              "--min-coverage 0.5 finds a placement: 25 of 25 positions match");
}

TEST(ExplainGrid, WhatTheRunFindsIsLeftAlone) {
    const ExplainReport report = explainedGrid("", "", 0.0, 0.5);
    EXPECT_TRUE(report.hasFound());
    EXPECT_EQ(report.gridRemark, "");
    EXPECT_EQ(rerunOf(report, Limit::kRotation).outcome, Rerun::Outcome::kSame);
    EXPECT_EQ(report.suggestion.text, "none; no other limit finds a clearly better placement");
}

TEST_F(Tool, ExplainSaysWhyNothingIsFound) {
    const Outcome outcome = run("explain", {"--model", kNeedleModel, "--data", kNeedleData,
                                            "--rotation", "10,20", "--svg", "why.svg"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, StartsWith("30 model points, 286 data points: nothing found ("));
    EXPECT_THAT(outcome.out, HasSubstr("\nrotation: rotation -5.335 deg is outside 10 to 20\n"));
    EXPECT_THAT(outcome.out, EndsWith("\nsuggestion: --rotation -11,20 finds a pose: 30 of 30 "
                                      "points match\n"));
    const std::string svg = readFile(work() / "why.svg");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "data-matched"), 30U);
}

TEST_F(Tool, ExplainTellsTheSameAsJson) {
    const Outcome outcome =
        run("explain", {"--model", kNeedleModel, "--data", kNeedleData, "--rotation", "10,20",
                        "--expect", "540,340", "--json"});
    EXPECT_EQ(outcome.exitCode, 1);
    const json found = json::parse(outcome.out);
    EXPECT_THAT(found["run"]["results"], IsEmpty());
    EXPECT_EQ(found["run"]["parameters"]["rotation_deg"].size(), 2U);
    EXPECT_EQ(found["why"]["reason"], "coverage");
    EXPECT_EQ(found["why"]["rejected"]["coverage"], found["why"]["candidates"]);
    EXPECT_GT(found["why"]["lattice_points"], 0);
    const std::vector<std::string> limits = {"coverage",    "rotation",      "scale",
                                             "translation", "capture_range", "grid_size",
                                             "max_results"};
    ASSERT_EQ(found["reruns"].size(), limits.size());
    for (std::size_t i = 0; i < limits.size(); ++i) {
        EXPECT_EQ(found["reruns"][i]["limit"], limits[i]);
    }
    const json& rotation = found["reruns"][1];
    EXPECT_EQ(rotation["options"][0], json({{"option", "--rotation"}, {"value", "full"}}));
    EXPECT_EQ(rotation["outcome"], "found");
    EXPECT_EQ(rotation["result"]["matched"], 30);
    EXPECT_EQ(rotation["excluded_by"][0]["limit"], "rotation");
    EXPECT_LT(rotation["log10_false_alarms"], -10.0);
    EXPECT_EQ(found["reruns"][3]["outcome"], "not limited");
    EXPECT_TRUE(found["reruns"][3]["result"].is_null());
    EXPECT_EQ(found["expected"]["result"]["matched"], 30);
    EXPECT_EQ(found["suggestion"]["options"],
              json::array({{{"option", "--rotation"}, {"value", "-11,20"}}}));
    EXPECT_EQ(found["time_limit_s"], 10.0);
}

TEST_F(Tool, ExplainEndsWithTheCodeOfTheRun) {
    const Outcome points = run("explain", {"--model", kNeedleModel, "--data", kNeedleData});
    EXPECT_EQ(points.exitCode, 0);
    EXPECT_THAT(points.out, HasSubstr(": 1 pose found in "));
    const Outcome grid = run("explain", {"--pattern", kPattern, "--data", kDots, "--json"});
    EXPECT_EQ(grid.exitCode, 0);
    EXPECT_TRUE(json::parse(grid.out)["why"].is_null());
    // --rotation has the default of grid-match with a pattern, and what is given goes there.
    EXPECT_EQ(json::parse(grid.out)["run"]["parameters"]["rotation_deg"], json({-20.0, 20.0}));
    EXPECT_EQ(
        run("explain", {"--pattern", kPattern, "--data", kDots, "--rotation", "20,40"}).exitCode,
        1);
    // A trained matcher answers as its table does.
    EXPECT_EQ(run("train", {"--model", kNeedleModel, "--out", "card.ptm"}).exitCode, 0);
    EXPECT_EQ(run("explain", {"--model", "card.ptm", "--data", kNeedleData}).exitCode, 0);
}

TEST_F(Tool, ExplainRefusesWhatItCannotAnswer) {
    const auto refusal = [&](const std::vector<std::string>& options) {
        return refusalBy("explain", options);
    };
    EXPECT_THAT(refusal({"--data", kDots}),
                StartsWith("ptmatch: --model or --pattern is required"));
    EXPECT_THAT(refusal({"--model", kNeedleModel}), StartsWith("ptmatch: --data is required"));
    EXPECT_THAT(refusal({"--model", kNeedleModel, "--data", kNeedleData, "--snap", "3"}),
                StartsWith("ptmatch: --snap: is not for --model"));
    EXPECT_THAT(refusal({"--pattern", kPattern, "--data", kDots, "--grid-size", "3"}),
                StartsWith("ptmatch: --grid-size: is not for --pattern"));
    EXPECT_THAT(refusal({"--model", kNeedleModel, "--data", kNeedleData, "--expect", "1"}),
                StartsWith("ptmatch: --expect: expected X,Y or X,Y,DEG or X,Y,DEG,SCALE, found"));
    EXPECT_THAT(refusal({"--model", kNeedleModel, "--data", kNeedleData, "--time-limit", "0"}),
                StartsWith("ptmatch: --time-limit: must be greater than 0"));
    EXPECT_EQ(
        refusal({"--model", kNeedleModel, "--data", kNeedleData, "--svg", kNeedleData}),
        "ptmatch: --svg: " + kNeedleData + " is the table of the data; choose another file\n");
}
