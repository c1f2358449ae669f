#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "foundation/attention.h"
#include "foundation/fitter.h"
#include "ptmatch/ppmatch.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/pattern_pictures.h"

namespace {

using ptmatch::testing::dotsOf;
using ptmatch::testing::gridOf;
using ptmatch::testing::GridParts;
using ptmatch::testing::imageOf;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::mapOf;
using ptmatch::testing::Picture;
using ptmatch::testing::positionsOf;
using ptmatch::testing::stored;
using ptmatch::testing::trainedOn;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
using Defs = rxPointMatcherDefs;
using Map = std::vector<long>;
using Pair = rxPair<long>;
using Pairs = std::vector<Pair>;
using Params = rxPointMatcherRunParams;
using Points = std::vector<rxVector<2>>;
using ResultSet = rxPointMatcherResultSet;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTimeBefore = 1e6;  // seconds; no run of these tests takes as long

// Seven points without symmetry; no two share a side.
const Picture kPattern = {
    "#...#", "..#..", "#....", "...#.", ".#..#",
};
const rxXform<2> kSteps = gridOf({20, 0}, {0, 20});

rxXform<2> pose(double x, double y, double degrees = 0.0) {
    return {rxVector<2>(x, y), rxDegree(degrees), rxDegree(degrees), 1.0, 1.0};
}

Points mapped(const rxXform<2>& xform, Points points) {
    for (rxVector<2>& p : points) p = xform * p;
    return points;
}

Points& operator+=(Points& points, const Points& more) {
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

Params wanting(double minCoverage, long maxNumResults = 1) {
    Params params(minCoverage);
    params.maxNumResults(maxNumResults);
    return params;
}

ResultSet runOn(const rxPointMatcher& matcher, const Points& data, const Params& params) {
    ResultSet found;
    matcher.run(data, params, found);
    return found;
}

ResultSet setWithTime() {
    return loaded<ResultSet>(
        joined({stored(200009UL), stored(kTimeBefore), stored(std::vector<long>())}));
}

GridParts patternParts() {
    return GridParts::of(trainedOn(imageOf(kPattern, kSteps)));
}

/// The transform of data[k] onto positions[k] and back, as a result of so many degrees of freedom
/// has it.
rxXform<2> fitted(const Points& data, const Pairs& positions, int dof) {
    rxLSPointToPointFitter fitter;
    for (std::size_t k = 0; k < data.size(); ++k) fitter.update(data[k], positions[k]);
    return fitter.fit(dof);
}

// ---- what a result says

TEST(PointToPointGridMatching, TellsWhichDataPointLiesAtEachPosition) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    Points data = {{500, 500}};
    data += mapped(pose(70, -30, 9), dotsOf(kPattern, kSteps));
    const ResultSet found = runOn(matcher, data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxPointMatcherResult& result = found.results()[0];
    EXPECT_EQ(result.runMode(), Defs::ePointToGrid);
    EXPECT_EQ(mapOf(result, matcher.pattern()),
              Map({1,  -1, -1, -1, 2,  -1, -1, 3,  -1, -1, 4,  -1, -1,
                   -1, -1, -1, -1, -1, 5,  -1, -1, 6,  -1, -1, 7}));
    EXPECT_EQ(result.coverage(), 1.0);
    EXPECT_THAT([&] { (void)result.modelToDataMap(); },
                ThrowsMessage<Defs::NotRun>(HasSubstr("was not run in mode")));
}

TEST(PointToPointGridMatching, MissingDotsLowerTheCoverage) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    Points data = dotsOf(kPattern, kSteps);
    data.erase(data.begin() + 1);
    const ResultSet found = runOn(matcher, data, wanting(0.8));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 6.0 / 7.0);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(4, 0)), -1);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(2, 1)), 1);
}

TEST(PointToPointGridMatching, ManyPairsOfNeighboursAreSearchedAsPointsToo) {
    const Picture pairs = {"##.##.##", "........", ".##.##.#", "........", "##....##"};
    const rxPointMatcher matcher = trainedOn(imageOf(pairs, kSteps));
    const ResultSet found =
        runOn(matcher, mapped(pose(10, 20, 5), dotsOf(pairs, kSteps)), wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 1.0);
}

TEST(PointToPointGridMatching, ErrorIsThatOfThePointSearch) {
    const GridParts parts = patternParts();
    Points data = dotsOf(kPattern, kSteps);
    data[2] = data[2] + rxVector<2>(0.5, -0.3);
    const ResultSet points = runOn(parts.gridMatcher, data, wanting(0.9));
    const ResultSet grid = runOn(parts.matcher(), data, wanting(0.9));
    ASSERT_THAT(points.results(), SizeIs(1));
    ASSERT_THAT(grid.results(), SizeIs(1));
    EXPECT_EQ(grid.results()[0].fitError(), points.results()[0].fitError());
    EXPECT_GT(grid.results()[0].fitError(), 0.1);
}

TEST(PointToPointGridMatching, LimitTransformGoesFromPositionsNotFromModelCoordinates) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    const Points data = mapped(pose(70, -30, 9), dotsOf(kPattern, kSteps));
    const ResultSet found = runOn(matcher, data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].modelToDataXform(), fitted(data, positionsOf(kPattern), 6));
    EXPECT_NEAR(found.results()[0].modelToDataXform().xScale(), 20.0, 1e-12);
}

TEST(PointToPointGridMatching, PositionsOfTheTransformCountTheOffsetIn) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps, Pair(30, -40)));
    const Points data = mapped(pose(7, 8), dotsOf(kPattern, kSteps));
    const ResultSet found = runOn(matcher, data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    Pairs positions = positionsOf(kPattern);
    for (Pair& position : positions) position = position + Pair(30, -40);
    EXPECT_EQ(found.results()[0].modelToDataXform(), fitted(data, positions, 6));
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(34, -40)), 1);
    EXPECT_THROW(found.results()[0].gridToDataMap(Pair(4, 0)), rx_PelBuffer::Errors);
}

// ---- similarity and affine fits

TEST(PointToPointGridMatching, OneRowIsFittedWithASimilarity) {
    const Picture row = {"#..#....#.#"};
    Points data = dotsOf(row, kSteps);
    data[1] = data[1] + rxVector<2>(0.3, 0.4);
    const ResultSet found = runOn(trainedOn(imageOf(row, kSteps)), data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].modelToDataXform(), fitted(data, positionsOf(row), 4));
}

/// The dots of a picture, the last of them a little displaced, so that the fits of 4 and of 6
/// degrees of freedom differ.
Points displaced(const Picture& picture) {
    Points data = dotsOf(picture, kSteps);
    data.back() = data.back() + rxVector<2>(0.2, 0.6);
    return data;
}

TEST(PointToPointGridMatching, PositionLessThanAQuarterStepOffTheRowKeepsTheSimilarity) {
    const Picture nearly = {"....#", "##..."};  // (1, 1) is 1 / sqrt(17) = 0.243 off
    const Points data = displaced(nearly);
    const ResultSet found = runOn(trainedOn(imageOf(nearly, kSteps)), data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    ASSERT_EQ(found.results()[0].coverage(), 1.0);
    EXPECT_EQ(found.results()[0].modelToDataXform(), fitted(data, positionsOf(nearly), 4));
}

TEST(PointToPointGridMatching, PositionFartherOffTheRowTakesTheAffineTransform) {
    const Picture off = {"...#", ".#..", "#..."};  // (0, 2) after (1, 1): 1 / sqrt(5) = 0.447 off
    const Points data = displaced(off);
    const ResultSet found = runOn(trainedOn(imageOf(off, kSteps)), data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    ASSERT_EQ(found.results()[0].coverage(), 1.0);
    EXPECT_EQ(found.results()[0].modelToDataXform(), fitted(data, positionsOf(off), 6));
    EXPECT_NE(fitted(data, positionsOf(off), 6), fitted(data, positionsOf(off), 4));
}

// ---- positions that are not those of the pattern's points

TEST(PointToPointGridMatching, LimitEmptyMarginOfTheTrainingImageShiftsThePositions) {
    Picture wide = {"......"};
    for (const std::string& row : kPattern) wide.push_back("." + row);
    const rxPointMatcher matcher = trainedOn(imageOf(wide, kSteps));
    const Points data = dotsOf(wide, kSteps);
    const ResultSet found = runOn(matcher, data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    // The pattern begins at (1, 1), and a step of the margin is added to that once more.
    EXPECT_EQ(matcher.pattern().offset(), Pair(1, 1));
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(1, 1)), -1);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(2, 2)), 0);
    // (4, 0), (1, 4) and (4, 4) of the pattern are shifted out of it.
    EXPECT_EQ(found.results()[0].coverage(), 4.0 / 7.0);
    // Cropped to its points, the image gives what its user expects.
    rxPelBuffer<unsigned char> cropped = imageOf(wide, kSteps);
    cropped.window(1, 1, 5, 5, false);
    const ResultSet expected = runOn(trainedOn(cropped), data, wanting(0.9));
    ASSERT_THAT(expected.results(), SizeIs(1));
    EXPECT_EQ(expected.results()[0].gridToDataMap(Pair(1, 1)), 0);
    EXPECT_EQ(expected.results()[0].coverage(), 1.0);
}

TEST(PointToPointGridMatching, MatchWithoutAnyPositionHasNoCoverageAndTheIdentity) {
    Picture far;
    for (const std::string& row : kPattern) far.push_back("....." + row);
    const rxPointMatcher matcher = trainedOn(imageOf(far, kSteps));
    const ResultSet found = runOn(matcher, dotsOf(far, kSteps), wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 0.0);
    EXPECT_EQ(found.results()[0].modelToDataXform(), rxXform<2>());
    EXPECT_THAT(mapOf(found.results()[0], matcher.pattern()), Each(-1));
}

TEST(PointToPointGridMatching, PositionsOutsideTheSizeAreIgnoredBeforeTheOffsetIsAdded) {
    GridParts parts = GridParts::of(trainedOn(imageOf(kPattern, kSteps, Pair(3, 3))));
    const Points data = dotsOf(kPattern, kSteps);
    // With the offset, all of the first four lie within the pattern; without it, none does.
    parts.gridPositions = {{-1, 0}, {0, -1}, {5, 0}, {0, 5}, {3, 3}, {1, 4}, {4, 4}};
    const ResultSet found = runOn(parts.matcher(), data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 3.0 / 7.0);
    const Map map = mapOf(found.results()[0], parts.corresponder.pattern());
    EXPECT_EQ(std::ranges::count(map, -1), 22);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(6, 6)), 4);
}

TEST(PointToPointGridMatching, TwoModelPointsOnOnePositionCountOnceAndTheLaterIndexStays) {
    GridParts parts = patternParts();
    parts.gridPositions[3] = parts.gridPositions[1];
    const Points data = dotsOf(kPattern, kSteps);
    const ResultSet found = runOn(parts.matcher(), data, wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 6.0 / 7.0);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(4, 0)), 3);
    EXPECT_EQ(found.results()[0].modelToDataXform(), fitted(data, parts.gridPositions, 6))
        << "both pairs take part in the fit";
}

TEST(PointToPointGridMatching, MatchOnOnePositionOnlyHasTheIdentity) {
    GridParts parts = patternParts();
    std::ranges::fill(parts.gridPositions, Pair(2, 2));
    const ResultSet found = runOn(parts.matcher(), dotsOf(kPattern, kSteps), wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 1.0 / 7.0);
    EXPECT_EQ(found.results()[0].modelToDataXform(), rxXform<2>());
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(2, 2)), 6);
}

// ---- order and number of results

/// Five occurrences, each with one point less than the one before it.
Points occurrences() {
    Points data;
    for (int missing = 0; missing < 5; ++missing) {
        Points one = mapped(pose(300.0 * missing, 0), dotsOf(kPattern, kSteps));
        one.resize(one.size() - static_cast<std::size_t>(missing));
        data += one;
    }
    return data;
}

TEST(PointToPointGridMatching, ResultsAreThoseOfThePointSearchAndNoMoreThanWanted) {
    const GridParts parts = patternParts();
    const Points data = occurrences();
    for (const long wanted : {1L, 2L, 4L}) {
        const Params params = wanting(0.4, wanted);
        const ResultSet points = runOn(parts.gridMatcher, data, params);
        const ResultSet grid = runOn(parts.matcher(), data, params);
        ASSERT_THAT(grid.results(), SizeIs(static_cast<std::size_t>(wanted)));
        ASSERT_EQ(points.results().size(), grid.results().size());
        for (std::size_t r = 0; r < grid.results().size(); ++r) {
            const Map& map = points.results()[r].modelToDataMap();
            for (std::size_t i = 0; i < map.size(); ++i) {
                EXPECT_EQ(grid.results()[r].gridToDataMap(parts.gridPositions[i]), map[i]);
            }
        }
    }
}

TEST(PointToPointGridMatching, OrderIsThatOfThePointSearchAlsoWhereTheCoverageSaysOtherwise) {
    GridParts parts = patternParts();
    parts.gridPositions[5] = parts.gridPositions[6] = Pair(100, 100);  // count for the search only
    Points data = dotsOf(kPattern, kSteps);
    data.erase(data.begin());  // 6 of 7 for the search, 4 of 7 positions
    Points other = mapped(pose(300, 0), dotsOf(kPattern, kSteps));
    other.resize(5);  // 5 of 7, all of them positions
    data += other;
    const ResultSet found = runOn(parts.matcher(), data, wanting(0.6, 2));
    ASSERT_THAT(found.results(), SizeIs(2));
    EXPECT_EQ(found.results()[0].coverage(), 4.0 / 7.0);
    EXPECT_EQ(found.results()[1].coverage(), 5.0 / 7.0);
}

// ---- the parameters of the nested run

TEST(PointToPointGridMatching, RunsWithTheParametersOfTheCallerButForStartAndTranslation) {
    const GridParts parts = patternParts();
    Points data = mapped(pose(70, -30, 90), dotsOf(kPattern, gridOf({20.6, 0}, {0, 20.6})));
    data[3] = data[3] + rxVector<2>(2.0, 1.0);
    Params params(0.8, pose(-1e5, 1e5, 170), rxRange(-1, 1), rxRange(-1, 1),
                  rxAngleRange(rxDegree(25), rxDegree(65), false), rxRange(-0.1, 0.1), false, 2.5,
                  false, 3.5, 3);
    Params expected(params);
    // Turned to the middle of the range, by way of degrees.
    const rxDegree middle = params.rotationUncertainty().middle();
    expected.startPose(rxXform<2>(rxVector<2>(), middle, middle, 1.0, 1.0));
    expected.xTranslationUncertainty(rxRange::FullRange());
    expected.yTranslationUncertainty(rxRange::FullRange());
    const ResultSet points = runOn(parts.gridMatcher, data, expected);
    const ResultSet grid = runOn(parts.matcher(), data, params);
    ASSERT_FALSE(points.results().empty());
    ASSERT_EQ(points.results().size(), grid.results().size());
    for (std::size_t r = 0; r < grid.results().size(); ++r) {
        EXPECT_EQ(grid.results()[r].fitError(), points.results()[r].fitError());
        const Map& map = points.results()[r].modelToDataMap();
        for (std::size_t i = 0; i < map.size(); ++i) {
            EXPECT_EQ(grid.results()[r].gridToDataMap(parts.gridPositions[i]), map[i]);
        }
    }
}

TEST(PointToPointGridMatching, LimitMiddleOfTheRotationUncertaintyIsAddedToTheRotation) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    Params params = wanting(0.9);
    params.rotationUncertainty(rxAngleRange(rxDegree(25), rxDegree(65), false));
    const auto isFound = [&](double degrees) {
        const Points data = mapped(pose(70, -30, degrees), dotsOf(kPattern, kSteps));
        return !runOn(matcher, data, params).results().empty();
    };
    EXPECT_FALSE(isFound(40));
    EXPECT_FALSE(isFound(65));
    EXPECT_TRUE(isFound(72));
    EXPECT_TRUE(isFound(108));
    EXPECT_FALSE(isFound(115));
}

TEST(PointToPointGridMatching, LimitStartPoseAndTranslationUncertaintiesAreIgnored) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    const Points data = mapped(pose(70, -30, 9), dotsOf(kPattern, kSteps));
    Params params = wanting(0.9);
    const ResultSet expected = runOn(matcher, data, params);
    params.startPose(pose(1e5, -1e5, 90));
    params.xTranslationUncertainty(rxRange(0, 0));
    params.yTranslationUncertainty(rxRange(0, 0));
    const ResultSet found = runOn(matcher, data, params);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(stored(found.results()[0]), stored(expected.results().at(0)));
}

TEST(PointToPointGridMatching, FullRotationUncertaintyFindsEveryRotation) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    Params params = wanting(0.9);
    params.rotationUncertainty(rxAngleRange::FullRange());
    for (const double degrees : {-170.0, -90.0, 0.0, 45.0, 133.0}) {
        const Points data = mapped(pose(70, -30, degrees), dotsOf(kPattern, kSteps));
        const ResultSet found = runOn(matcher, data, params);
        ASSERT_THAT(found.results(), SizeIs(1));
        EXPECT_EQ(found.results()[0].coverage(), 1.0) << degrees;
    }
}

TEST(PointToPointGridMatching, ParametersThatSettersRefusePassThrough) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    Params params = wanting(0.9);
    params.autoGridSize(false);  // leaves a grid size of 0 behind, which no setter takes
    ResultSet found = setWithTime();
    EXPECT_THAT(
        [&] { matcher.run(dotsOf(kPattern, kSteps), params, found); },
        ThrowsMessage<Defs::BadParams>(StrEq("if autoGridSize==false, gridSize must be >= 0.0\n")));
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_EQ(found.time(), 0.0);
}

// ---- runs without a result, and runs that end early

TEST(PointToPointGridMatching, TooFewDataGiveNoResultAndATime) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    ResultSet found = setWithTime();
    matcher.run({}, wanting(0.9), found);
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_LT(found.time(), kTimeBefore);
    EXPECT_GT(found.time(), 0.0);
}

TEST(PointToPointGridMatching, TransformThatCannotBeTurnedRoundFindsNothing) {
    for (const rxXform<2>& singular :
         {gridOf({20, 0}, {40, 0}), gridOf({0, 0}, {0, 0}), gridOf({1e-170, 0}, {0, 1e-170})}) {
        const rxPointMatcher matcher = trainedOn(imageOf(kPattern, singular));
        ASSERT_TRUE(GridParts::of(matcher).gridMatcher.isTrained());
        ResultSet found = setWithTime();
        matcher.run(dotsOf(kPattern, singular), wanting(0.5), found);
        EXPECT_THAT(found.results(), IsEmpty());
        EXPECT_LT(found.time(), kTimeBefore);
    }
}

TEST(PointToPointGridMatching, ArgumentsAreRefusedBeforeAnyWork) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    ResultSet found = setWithTime();
    EXPECT_THAT(
        [&] {
            matcher.run({{0, 0}, {kNan, 0}}, wanting(0.9), found);
        },
        ThrowsMessage<Defs::BadParams>(StrEq("data point 1 is not finite\n")));
    EXPECT_EQ(found.time(), kTimeBefore);
    GridParts parts = patternParts();
    parts.gridXform = gridOf({kNan, 0}, {0, 20});
    EXPECT_THAT(
        [&] { parts.matcher().run(dotsOf(kPattern, kSteps), wanting(0.9), found); },
        ThrowsMessage<Defs::BadParams>(StrEq("the transform of the grid must be finite\n")));
    EXPECT_EQ(found.time(), kTimeBefore);
}

TEST(PointToPointGridMatching, RequestedInterruptionEndsTheRunWithoutResults) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPattern, kSteps));
    ResultSet found = runOn(matcher, dotsOf(kPattern, kSteps), wanting(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    rxAttention::request();
    EXPECT_THROW(matcher.run(dotsOf(kPattern, kSteps), wanting(0.9), found),
                 rxAttention::Interrupted);
    rxAttention::clear();
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_EQ(found.time(), 0.0);
}

TEST(PointToPointGridMatching, RunThatRunsOutOfMemoryLeavesNoResults) {
    const rxPointMatcher matcher = trainedOn(imageOf({"##.", "..#"}, kSteps));
    const Points data = dotsOf({"##.", "..#"}, kSteps);
    ResultSet found;
    std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] { matcher.run(data, wanting(0.9), found); },
        [&] {
            EXPECT_THAT(found.results(), IsEmpty());
            EXPECT_EQ(found.time(), 0.0);
        });
    EXPECT_GE(failures, 5U);
    EXPECT_THAT(found.results(), SizeIs(1));
}

TEST(PointToPointGridMatching, CopyRunsTheSame) {
    rxPointMatcher source = trainedOn(imageOf(kPattern, kSteps));
    const Points data = mapped(pose(70, -30, 9), dotsOf(kPattern, kSteps));
    const ResultSet expected = runOn(source, data, wanting(0.9));
    const rxPointMatcher copy(source);  // its nested matcher has another mode than 4
    source.untrain();
    ASSERT_THAT(expected.results(), SizeIs(1));
    EXPECT_EQ(stored(runOn(copy, data, wanting(0.9)).results().at(0)),
              stored(expected.results()[0]));
}

}  // namespace
