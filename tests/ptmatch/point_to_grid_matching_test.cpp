#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <vector>

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
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
using Defs = rxPointMatcherDefs;
using Pair = rxPair<long>;
using Points = std::vector<rxVector<2>>;
using Params = rxPointMatcherRunParams;
using ResultSet = rxPointMatcherResultSet;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTimeBefore = 1e6;  // seconds; no run of these tests takes as long

// No two rows or columns alike, and unlike itself under every shift.
const Picture kPlate = {
    "######.",
    "#.#####",
    "###.###",
    "####.##",
};
const rxXform<2> kSteps = gridOf({25, 0}, {0, 25});

Params tolerant(double minCoverage = 0.9, long maxNumResults = 1) {
    Params params(minCoverage);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.maxNumResults(maxNumResults);
    return params;
}

ResultSet runOn(const rxPointMatcher& matcher, const Points& data, const Params& params) {
    ResultSet found;
    matcher.run(data, params, found);
    return found;
}

Points& operator+=(Points& points, const Points& more) {
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

/// Deterministic displacements of up to the given size along each axis.
Points shaken(Points points, double size) {
    unsigned state = 12345;
    const auto next = [&state] {
        state = state * 1664525U + 1013904223U;
        return static_cast<double>(state >> 8U) / static_cast<double>(1U << 24U) * 2.0 - 1.0;
    };
    for (rxVector<2>& p : points) {
        const double dx = size * next();
        p = p + rxVector<2>(dx, size * next());
    }
    return points;
}

/// The indices of the dots of a picture at their positions, first for the first dot.
std::vector<long> indicesOf(const Picture& picture, long first = 0) {
    std::vector<long> map;
    for (const std::string& row : picture) {
        for (const char c : row) map.push_back(c == '#' ? first++ : -1);
    }
    return map;
}

ResultSet setWithTime() {
    return loaded<ResultSet>(
        joined({stored(200009UL), stored(kTimeBefore), stored(std::vector<long>())}));
}

// ---- what a result says

TEST(PointToGridMatching, TellsWhichDataPointLiesAtEachPosition) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const Points data = shaken(dotsOf(kPlate, gridOf({25, 3}, {-3, 25}, {400, 300})), 1.0);
    const ResultSet found = runOn(matcher, data, tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxPointMatcherResult& result = found.results()[0];
    EXPECT_EQ(result.runMode(), Defs::ePointToGrid);
    EXPECT_EQ(mapOf(result, matcher.pattern()), indicesOf(kPlate));
    EXPECT_EQ(result.coverage(), 1.0);
    EXPECT_THAT([&] { (void)result.modelToDataMap(); },
                ThrowsMessage<Defs::NotRun>(HasSubstr("was not run in mode")));
}

TEST(PointToGridMatching, PoseTakesModelCoordinatesToData) {
    const rxXform<2> model = gridOf({20, 1}, {-2, 22}, {7, 9});
    const rxXform<2> pose(rxVector<2>(400, 300), rxDegree(8), rxDegree(9), 1.05, 0.98);
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, model));
    const ResultSet found = runOn(matcher, dotsOf(kPlate, pose * model), tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    for (const rxVector<2>& p : dotsOf(kPlate, model)) {
        const rxVector<2> error = found.results()[0].modelToDataXform() * p - pose * p;
        EXPECT_LT(error.len(), 1e-10);  // some roundings of coordinates of a few hundred
    }
}

TEST(PointToGridMatching, MissingDotsLowerTheCoverageAndHaveNoIndex) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data.erase(data.begin() + 8);
    data.erase(data.begin() + 3);
    const ResultSet found = runOn(matcher, data, tolerant(0.9));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 22.0 / 24.0);
    const std::vector<long> map = mapOf(found.results()[0], matcher.pattern());
    EXPECT_EQ(std::ranges::count(map, -1), 28 - 22);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(3, 0)), -1);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(4, 0)), 3);
    EXPECT_THAT(runOn(matcher, data, tolerant(0.96)).results(), IsEmpty());
}

TEST(PointToGridMatching, LimitMinimumCoverageIsRoundedDownToWholePoints) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data.resize(22);
    const ResultSet found = runOn(matcher, data, tolerant(22.9 / 24.0));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 22.0 / 24.0);
    EXPECT_THAT(runOn(matcher, data, tolerant(23.1 / 24.0)).results(), IsEmpty());
}

TEST(PointToGridMatching, PositionsCountTheOffsetOfTheTrainingImageIn) {
    const rxPointMatcher matcher =
        trainedOn(imageOf({".......", "..#####", "..##.##", "..#####"}, kSteps, Pair(100, -50)));
    const Points data = dotsOf({"#####", "##.##", "#####"}, gridOf({25, 0}, {0, 25}, {60, 70}));
    const ResultSet found = runOn(matcher, data, tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxPointMatcherResult& result = found.results()[0];
    EXPECT_EQ(result.gridToDataMap(Pair(102, -49)), 0);
    EXPECT_EQ(result.gridToDataMap(Pair(104, -48)), -1);
    EXPECT_EQ(result.gridToDataMap(Pair(106, -47)), 13);
    EXPECT_THROW(result.gridToDataMap(Pair(101, -49)), rx_PelBuffer::Errors);
    EXPECT_THROW(result.gridToDataMap(Pair(107, -47)), rx_PelBuffer::Errors);
    // The transform of the image applies to positions with their offset.
    const rxVector<2> first = result.modelToDataXform() * (kSteps * rxVector<2>(102, -49));
    EXPECT_LT((first - data[0]).len(), 1e-9);  // extrapolated by a hundred steps
}

TEST(PointToGridMatching, StaggeredPatternIsFound) {
    const Picture board = {"#.#.#.#", ".#.#.#.", "#.#...#", ".#.#.#."};
    const rxPointMatcher matcher = trainedOn(imageOf(board, gridOf({12, 0}, {0, 12})));
    const Points data = shaken(dotsOf(board, gridOf({12, 1}, {-1, 12}, {33, 44})), 0.5);
    const ResultSet found = runOn(matcher, data, tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(mapOf(found.results()[0], matcher.pattern()), indicesOf(board));
}

TEST(PointToGridMatching, ErrorIsTheMeanSquareInThePlaneOfThePattern) {
    const rxPointMatcher matcher =
        trainedOn(imageOf(kPlate, rxXform<2>(), Pair(5, 6)));  // model coordinates = positions
    const Points data = shaken(dotsOf(kPlate, gridOf({1, 0}, {0, 1}, {3, 4})), 0.05);
    const ResultSet found = runOn(matcher, data, tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxXform<2> modelFromData = found.results()[0].modelToDataXform().inverse();
    double sum = 0.0;
    const std::vector<Pair> positions = positionsOf(kPlate);
    for (std::size_t k = 0; k < data.size(); ++k) {
        const rxVector<2> d = modelFromData * data[k] - rxVector<2>(positions[k] + Pair(5, 6));
        sum += d.x() * d.x() + d.y() * d.y();
    }
    EXPECT_EQ(found.results()[0].fitError(), sum / 24);
    EXPECT_GT(found.results()[0].fitError(), 1e-4);
    EXPECT_LT(found.results()[0].fitError(), 2 * 0.05 * 0.05);
}

TEST(PointToGridMatching, LimitErrorIsNoDistanceUnderAnotherTransformThanTheIdentity) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const ResultSet found = runOn(matcher, dotsOf(kPlate, kSteps), tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    double sum = 0.0;  // each position (x, y) lies at (25 x, 25 y) in model coordinates
    for (const Pair& p : positionsOf(kPlate)) {
        sum += 24.0 * 24.0 * static_cast<double>(p.x() * p.x() + p.y() * p.y());
    }
    EXPECT_NEAR(found.results()[0].fitError(), sum / 24, 1e-9 * sum);
    EXPECT_GT(found.results()[0].fitError(), 1000.0);
}

// ---- rows and columns

TEST(PointToGridMatching, PatternOfOneRowIsFittedWithASimilarity) {
    const Picture row = {"####.#######.##"};
    const rxPointMatcher square = trainedOn(imageOf(row, gridOf({20, 0}, {0, 20})));
    const Points data = shaken(dotsOf(row, gridOf({20, 4}, {-4, 20}, {50, 60})), 0.5);
    const ResultSet found = runOn(square, data, tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(mapOf(found.results()[0], square.pattern()), indicesOf(row));
    const rxMatrix<2> matrix = found.results()[0].modelToDataXform().matrix();
    EXPECT_NEAR(matrix.element(0, 0), matrix.element(1, 1), 1e-14);
    EXPECT_NEAR(matrix.element(0, 1), -matrix.element(1, 0), 1e-14);
}

TEST(PointToGridMatching, PatternOfOneRowUsesNoStepBetweenRows) {
    // One of 1e-200 would be refused, and with one of 7 the mapping would snap to 1.4 only.
    const Picture row = {"####.#######.##"};
    Points data = dotsOf(row, gridOf({20, 0}, {0, 7}, {50, 60}));
    data[6] = data[6] + rxVector<2>(0, 2.0);
    for (const double rowStep : {1e-200, 7.0}) {
        const rxPointMatcher matcher = trainedOn(imageOf(row, gridOf({20, 0}, {0, rowStep})));
        const ResultSet found = runOn(matcher, data, tolerant());
        ASSERT_THAT(found.results(), SizeIs(1));
        EXPECT_EQ(mapOf(found.results()[0], matcher.pattern()), indicesOf(row));
    }
}

TEST(PointToGridMatching, PatternOfOneColumnUsesNoStepBetweenColumns) {
    const Picture column = {"#", "#", "#", "#", ".", "#", "#", "#", "#", "#", ".", "#", "#"};
    Points data = dotsOf(column, gridOf({7, 0}, {-3, 20}, {50, 60}));
    data[6] = data[6] + rxVector<2>(2.0, 0);
    for (const double columnStep : {1e-200, 7.0}) {
        const rxPointMatcher matcher = trainedOn(imageOf(column, gridOf({columnStep, 0}, {0, 20})));
        const ResultSet found = runOn(matcher, data, tolerant());
        ASSERT_THAT(found.results(), SizeIs(1));
        EXPECT_EQ(mapOf(found.results()[0], matcher.pattern()), indicesOf(column));
    }
}

TEST(PointToGridMatching, MatchedPointsOfOneRowAreFittedWithASimilarityInAPlateAsWell) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, gridOf({25, 0}, {0, 20})));
    const Points data = shaken(dotsOf({"######"}, gridOf({25, 0}, {0, 20})), 0.5);
    const ResultSet found = runOn(matcher, data, tolerant(0.2));
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxMatrix<2> grid = (found.results()[0].modelToDataXform() * gridOf({25, 0}, {0, 20}))
                                 .matrix();  // positions to data
    EXPECT_NEAR(grid.element(0, 0), grid.element(1, 1), 1e-12);
    EXPECT_NEAR(grid.element(0, 1), -grid.element(1, 0), 1e-12);
}

// ---- order and number of results

TEST(PointToGridMatching, EqualCoverageIsOrderedBySmallerFitError) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, rxXform<2>()));
    for (const bool isNoisyFirst : {true, false}) {
        Points left = dotsOf(kPlate, gridOf({1, 0}, {0, 1}));
        Points right = dotsOf(kPlate, gridOf({1, 0}, {0, 1}, {7, 0}));
        (isNoisyFirst ? left : right) = shaken(isNoisyFirst ? left : right, 0.03);
        Points data = left;
        data += right;
        const ResultSet found = runOn(matcher, data, tolerant(1.0, 2));
        ASSERT_THAT(found.results(), SizeIs(2));
        EXPECT_EQ(found.results()[0].coverage(), 1.0);
        EXPECT_EQ(found.results()[1].coverage(), 1.0);
        EXPECT_LT(found.results()[0].fitError(), found.results()[1].fitError());
        EXPECT_EQ(found.results()[0].gridToDataMap(Pair(0, 0)), isNoisyFirst ? 24 : 0);
        EXPECT_EQ(found.results()[1].gridToDataMap(Pair(0, 0)), isNoisyFirst ? 0 : 24);
    }
}

TEST(PointToGridMatching, HigherCoverageComesFirst) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    for (const bool isFirstComplete : {true, false}) {
        Points left = dotsOf(kPlate, kSteps);
        Points right = dotsOf(kPlate, gridOf({25, 0}, {0, 25}, {175, 0}));
        (isFirstComplete ? right : left).resize(23);
        Points data = left;
        data += right;
        const ResultSet found = runOn(matcher, data, tolerant(0.95, 10));
        ASSERT_THAT(found.results(), SizeIs(2));
        EXPECT_EQ(found.results()[0].coverage(), 1.0);
        EXPECT_EQ(found.results()[1].coverage(), 23.0 / 24.0);
        EXPECT_EQ(found.results()[0].gridToDataMap(Pair(0, 0)), isFirstComplete ? 0 : 23);
    }
}

TEST(PointToGridMatching, ResultsAreAtMostAsManyAsWanted) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data;
    for (int i = 0; i < 4; ++i) data += dotsOf(kPlate, gridOf({25, 0}, {0, 25}, {175.0 * i, 0}));
    for (const long wanted : {1L, 2L, 3L, 4L, 2147483647L}) {
        EXPECT_THAT(runOn(matcher, data, tolerant(0.95, wanted)).results(),
                    SizeIs(static_cast<std::size_t>(std::min(wanted, 4L))));
    }
}

TEST(PointToGridMatching, CoverageCountsAPositionOnceWhenTwoDataPointsLieThere) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data.push_back(data[5] + rxVector<2>(1.0, 0.0));
    const ResultSet found = runOn(matcher, data, tolerant());
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 1.0);
    EXPECT_EQ(found.results()[0].gridToDataMap(Pair(5, 0)), 24) << "the later one";
}

TEST(PointToGridMatching, DataPointsBesideThePatternAreNoPartOfIt) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const Picture wider = {"..######..", "###.#####.", "..###.####", "#.####.##."};
    const Points data = dotsOf(wider, kSteps);
    const ResultSet found = runOn(matcher, data, tolerant(1.0));
    ASSERT_THAT(found.results(), SizeIs(1));
    const std::vector<long> map = mapOf(found.results()[0], matcher.pattern());
    for (std::size_t i = 0; i < map.size(); ++i) {
        const Pair p(static_cast<long>(i % 7), static_cast<long>(i / 7));
        if (map[i] < 0) continue;
        EXPECT_EQ(data[static_cast<std::size_t>(map[i])], kSteps * (rxVector<2>(p + Pair(2, 0))));
    }
    EXPECT_EQ(std::ranges::count(map, -1), 4);
}

TEST(PointToGridMatching, PlacementThatDeterminesNoFitHasTheIdentityForIt) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data.push_back(kSteps * rxVector<2>(20, 20));  // alone, wherever the pattern covers it
    const ResultSet found = runOn(matcher, data, tolerant(0.05, 1000));
    int numSingle = 0;
    for (const rxPointMatcherResult& result : found.results()) {
        if (result.coverage() != 1.0 / 24.0) continue;
        ++numSingle;
        EXPECT_EQ(result.modelToDataXform(), kSteps.inverse());
    }
    EXPECT_GT(numSingle, 0);
    EXPECT_EQ(found.results().at(0).coverage(), 1.0);
}

// ---- what a run uses of its parameters

TEST(PointToGridMatching, CaptureRangeInUseIsTheSnapDistance) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data[9] = data[9] + rxVector<2>(4.0, 5.0);  // 6.4 off; 5 is what the mapping chooses
    Params params = tolerant(0.9);
    const auto coverage = [&] { return runOn(matcher, data, params).results().at(0).coverage(); };
    EXPECT_EQ(coverage(), 23.0 / 24.0);
    params.captureRange(7.0);  // not in use yet
    EXPECT_EQ(coverage(), 23.0 / 24.0);
    params.autoCaptureRange(false);
    EXPECT_EQ(coverage(), 1.0);
    params.captureRange(0.0);
    EXPECT_EQ(coverage(), 23.0 / 24.0) << "0 is automatic as well";
    params.captureRange(6.0);
    EXPECT_EQ(coverage(), 23.0 / 24.0);
}

TEST(PointToGridMatching, RotationUncertaintyBoundsTheRotationOfTheGrid) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const rxXform<2> turned(rxVector<2>(300, 300), rxDegree(40), rxDegree(40), 1, 1);
    const Points data = dotsOf(kPlate, turned * kSteps);
    Params params = tolerant();
    const auto isFound = [&](double lowest, double highest) {
        params.rotationUncertainty(rxAngleRange(rxDegree(lowest), rxDegree(highest), false));
        const ResultSet found = runOn(matcher, data, params);
        return !found.results().empty() &&
               mapOf(found.results()[0], matcher.pattern()) == indicesOf(kPlate);
    };
    EXPECT_TRUE(isFound(20, 60));
    EXPECT_FALSE(isFound(-15, 15));
}

TEST(PointToGridMatching, LimitDefaultScaleUncertaintyAcceptsExactDistancesOnly) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const Points exact = dotsOf(kPlate, gridOf({25, 0}, {0, 25}, {100, 200}));
    EXPECT_THAT(runOn(matcher, exact, Params(0.9)).results(), SizeIs(1));
    const Points measured = shaken(exact, 0.01);
    EXPECT_THAT(runOn(matcher, measured, Params(0.9)).results(), IsEmpty());
    EXPECT_THAT(runOn(matcher, measured, tolerant()).results(), SizeIs(1));
}

TEST(PointToGridMatching, LimitStartPoseAndTranslationUncertaintiesAreIgnored) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const Points data = dotsOf(kPlate, gridOf({25, 0}, {0, 25}, {400, 300}));
    Params params = tolerant();
    params.startPose(rxXform<2>(rxVector<2>(-1e6, 1e6), rxDegree(90), rxDegree(90), 3, 3));
    params.xTranslationUncertainty(rxRange(-1, 1));
    params.yTranslationUncertainty(rxRange(-1, 1));
    const ResultSet found = runOn(matcher, data, params);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(stored(found.results()[0]), stored(runOn(matcher, data, tolerant()).results().at(0)));
}

TEST(PointToGridMatching, InvalidStartPoseIsRefusedAlthoughItIsIgnored) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Params params = tolerant();
    params.startPose(rxXform<2>(rxVector<2>(), rxDegree(), rxDegree(), 0, 0));
    EXPECT_THAT([&] { runOn(matcher, dotsOf(kPlate, kSteps), params); },
                ThrowsMessage<Defs::BadParams>(StrEq("startPose must not be singular\n")));
}

TEST(PointToGridMatching, LimitPlacementMayOverhangTheDataByTwoStepsOnly) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const auto without = [](std::size_t columns) {
        Picture rest = kPlate;
        for (std::string& row : rest) row.replace(row.size() - columns, columns, columns, '.');
        return dotsOf(rest, kSteps);
    };
    ASSERT_THAT(without(2), SizeIs(17));
    const ResultSet two = runOn(matcher, without(2), tolerant(17.0 / 24.0));
    ASSERT_THAT(two.results(), SizeIs(1));
    EXPECT_EQ(two.results()[0].coverage(), 17.0 / 24.0);
    ASSERT_THAT(without(3), SizeIs(14));
    EXPECT_THAT(runOn(matcher, without(3), tolerant(14.0 / 24.0)).results(), IsEmpty());
}

TEST(PointToGridMatching, LimitStepsToSmallerCoordinatesFindNothing) {
    const rxXform<2> turned = gridOf({-25, 0}, {0, -25});
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, turned));
    EXPECT_THAT(runOn(matcher, dotsOf(kPlate, turned), tolerant()).results(), IsEmpty());
    // The same plate with its steps turned round, that is, with its picture turned by 180 degrees.
    Picture picture = kPlate;
    std::ranges::reverse(picture);
    for (std::string& row : picture) std::ranges::reverse(row);
    EXPECT_THAT(
        runOn(trainedOn(imageOf(picture, kSteps)), dotsOf(kPlate, turned), tolerant()).results(),
        SizeIs(1));
}

// ---- runs without a result, and runs that are refused

TEST(PointToGridMatching, FewerThanThreeMappedPointsGiveNoResultAndATime) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    for (const Points& data : {Points{}, Points{{1, 2}}, Points{{0, 0}, {25, 0}},
                               Points{{0, 0}, {300, 0}, {0, 300}, {300, 300}}}) {
        ResultSet found = setWithTime();
        matcher.run(data, tolerant(0.0), found);
        EXPECT_THAT(found.results(), IsEmpty());
        EXPECT_LT(found.time(), kTimeBefore);
        EXPECT_GE(found.time(), 0.0);
    }
}

TEST(PointToGridMatching, RunReplacesWhatTheSetHeldAndStoresItsTime) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    ResultSet found = setWithTime();
    for (int i = 0; i < 2; ++i) {
        matcher.run(dotsOf(kPlate, kSteps), tolerant(), found);
        EXPECT_THAT(found.results(), SizeIs(1));
        EXPECT_LT(found.time(), kTimeBefore);
        EXPECT_GT(found.time(), 0.0);
    }
}

TEST(PointToGridMatching, TransformThatCannotBeTurnedRoundFindsNothing) {
    for (const rxXform<2>& singular :
         {gridOf({25, 0}, {50, 0}), gridOf({0, 0}, {0, 0}), gridOf({1e-170, 0}, {0, 1e-170}),
          gridOf({1e200, 0}, {0, 1e200}), gridOf({1e-120, 0}, {0, 1e-120}, {1e250, 0})}) {
        const rxPointMatcher matcher = trainedOn(imageOf(kPlate, singular));
        ResultSet found = setWithTime();
        matcher.run(dotsOf(kPlate, kSteps), tolerant(), found);
        EXPECT_THAT(found.results(), IsEmpty());
        EXPECT_LT(found.time(), kTimeBefore);
    }
}

TEST(PointToGridMatching, ArgumentsAreRefusedBeforeAnyWork) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data[7] = rxVector<2>(0, kNan);
    ResultSet found = setWithTime();
    EXPECT_THAT([&] { matcher.run(data, tolerant(), found); },
                ThrowsMessage<Defs::BadParams>(StrEq("data point 7 is not finite\n")));
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_EQ(found.time(), kTimeBefore);
}

TEST(PointToGridMatching, LoadedTransformThatIsNotFiniteIsRefused) {
    GridParts parts = GridParts::of(trainedOn(imageOf(kPlate, kSteps)));
    parts.gridXform = gridOf({25, 0}, {0, 25}, {kNan, 0});
    ResultSet found = setWithTime();
    EXPECT_THAT(
        [&] { parts.matcher().run(dotsOf(kPlate, kSteps), tolerant(), found); },
        ThrowsMessage<Defs::BadParams>(StrEq("the transform of the grid must be finite\n")));
    EXPECT_EQ(found.time(), kTimeBefore);
}

TEST(PointToGridMatching, StepsThatTheMappingCannotTakeAreRefused) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, gridOf({1e-151, 0}, {0, 1e-151})));
    ResultSet found = setWithTime();
    EXPECT_THROW(matcher.run(dotsOf(kPlate, kSteps), tolerant(), found), Defs::BadParams);
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_EQ(found.time(), 0.0);
}

TEST(PointToGridMatching, PlatesAHundredThousandStepsApartAreFound) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    Points data = dotsOf(kPlate, kSteps);
    data += dotsOf(kPlate, gridOf({25, 0}, {0, 25}, {25e5, 25e5}));
    const ResultSet found = runOn(matcher, data, tolerant(1.0, 3));
    ASSERT_THAT(found.results(), SizeIs(2));
    EXPECT_EQ(found.results()[1].coverage(), 1.0);
}

TEST(PointToGridMatching, RunThatRunsOutOfMemoryLeavesNoResults) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const Points data = dotsOf(kPlate, kSteps);
    Params params = tolerant(0.5, 3);
    ResultSet found;
    const std::size_t failures =
        ptmatch::testing::withEveryAllocationFailing([&] { matcher.run(data, params, found); },
                                                     [&] {
                                                         EXPECT_THAT(found.results(), IsEmpty());
                                                         EXPECT_EQ(found.time(), 0.0);
                                                     });
    EXPECT_GE(failures, 5U);
    const ResultSet undisturbed = runOn(matcher, data, params);
    ASSERT_EQ(found.results().size(), undisturbed.results().size());
    EXPECT_EQ(stored(found.results().at(0)), stored(undisturbed.results().at(0)));
}

// ---- values and threads

TEST(PointToGridMatching, CopyRunsTheSame) {
    rxPointMatcher source = trainedOn(imageOf(kPlate, kSteps));
    const Points data = shaken(dotsOf(kPlate, gridOf({25, 1}, {-1, 25}, {9, 9})), 1.0);
    const ResultSet expected = runOn(source, data, tolerant());
    const rxPointMatcher copy(source);
    source.untrain();
    ASSERT_THAT(expected.results(), SizeIs(1));
    EXPECT_EQ(stored(runOn(copy, data, tolerant()).results().at(0)), stored(expected.results()[0]));
}

TEST(PointToGridMatching, ThreadsMayShareOneTrainedMatcher) {
    const rxPointMatcher matcher = trainedOn(imageOf(kPlate, kSteps));
    const Points data = shaken(dotsOf(kPlate, gridOf({25, 1}, {-1, 25}, {9, 9})), 1.0);
    std::vector<ResultSet> found(4);
    std::vector<std::thread> threads;
    for (ResultSet& set : found) {
        threads.emplace_back([&] { matcher.run(data, tolerant(), set); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const ResultSet& set : found) {
        ASSERT_THAT(set.results(), SizeIs(1));
        EXPECT_EQ(stored(set.results()[0]), stored(found[0].results()[0]));
    }
}

}  // namespace
