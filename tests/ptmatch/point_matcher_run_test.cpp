#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "foundation/attention.h"
#include "foundation/geometry_archive.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/pose_check.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/search_grid.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/assertion_recorder.h"

namespace {

using ptmatch::testing::AllocationMeter;
using ptmatch::testing::AssertionRecorder;
using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;
using Points = std::vector<rxVector<2>>;
using Weights = std::vector<long>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTimeBefore = 1e6;  // seconds; no run of these tests takes as long

// Ten points without symmetry, at least 4 apart: the default grid size is 1 or a little more.
const Points kModel = {{0, 0},  {17, 3},  {31, 1},  {8, 12},  {25, 14},
                       {2, 23}, {14, 27}, {33, 22}, {21, 36}, {36, 39}};

Points mapped(const rxXform<2>& xform, const Points& points) {
    Points images;
    for (const rxVector<2>& p : points) images.push_back(xform * p);
    return images;
}

rxXform<2> pose(double x, double y, double degrees = 0.0, double scale = 1.0) {
    return {rxVector<2>(x, y), rxDegree(degrees), rxDegree(degrees), scale, scale};
}

Points& operator+=(Points& points, const Points& more) {
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

Points firstOf(const Points& points, std::size_t count) {
    return {points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count)};
}

rxPointMatcher trained(const Points& model) {
    rxPointMatcher matcher;
    matcher.train(model, Defs::eAutoDetect);
    return matcher;
}

// Holds no result and a time that shows whether a run sets it.
rxPointMatcherResultSet setWithTime() {
    const ByteVector record =
        joined({stored(200009UL), stored(kTimeBefore), stored(std::vector<long>())});
    return loaded<rxPointMatcherResultSet>(record);
}

// Holds a result, to show that a run empties it.
rxPointMatcherResultSet setWithResult() {
    rxPointMatcherResultSet found;
    trained(kModel).run(kModel, rxPointMatcherRunParams(), found);
    EXPECT_THAT(found.results(), SizeIs(1));
    return found;
}

void expectSameResults(const rxPointMatcherResultSet& a, const rxPointMatcherResultSet& b) {
    ASSERT_EQ(a.results().size(), b.results().size());
    for (std::size_t i = 0; i < a.results().size(); ++i) {
        EXPECT_EQ(stored(a.results()[i]), stored(b.results()[i]));
    }
}

// Expects BadParams with one line of text that names the cause, and an emptied result set.
void expectRefused(const rxPointMatcher& matcher, const Points& data,
                   const rxPointMatcherRunParams& params, const std::string& cause) {
    rxPointMatcherResultSet found = setWithResult();
    try {
        matcher.run(data, params, found);
        ADD_FAILURE() << "not refused; expected a complaint about " << cause;
    } catch (const Defs::BadParams& error) {
        const std::string message = error.what();
        EXPECT_THAT(message, HasSubstr(cause));
        EXPECT_EQ(message.find('\n'), message.size() - 1) << message;
    }
    EXPECT_THAT(found.results(), IsEmpty());
}

// ---- who may run

TEST(PointMatcherRun, UntrainedMatcherThrowsAndEmptiesTheResultSet) {
    rxPointMatcherResultSet found = setWithResult();
    EXPECT_THAT([&] { rxPointMatcher().run(kModel, rxPointMatcherRunParams(), found); },
                ::testing::ThrowsMessage<Defs::NotTrained>("rxPointMatcher tool is not trained\n"));
    EXPECT_THAT(found.results(), IsEmpty());
}

TEST(PointMatcherRun, ExhaustiveModeThatLostItsModelThrowsNotTrained) {
    rxPointMatcher matcher;
    matcher.train(kModel, Defs::eExhaustiveMode);
    matcher = rxPointMatcher();
    ASSERT_EQ(matcher.trainMode(), Defs::eExhaustiveMode);
    rxPointMatcherResultSet found = setWithResult();
    EXPECT_THAT([&] { matcher.run(kModel, rxPointMatcherRunParams(), found); },
                ::testing::ThrowsMessage<Defs::NotTrained>("rxPointMatcher tool is not trained\n"));
    EXPECT_THAT(found.results(), IsEmpty());
}

// ---- data that cannot reach the coverage

TEST(PointMatcherRun, TooFewDataForTheCoverageEndTheRunWithoutATime) {
    rxPointMatcherResultSet found = setWithTime();
    trained(kModel).run(firstOf(kModel, 4), rxPointMatcherRunParams(0.5), found);
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_EQ(found.time(), kTimeBefore);
}

TEST(PointMatcherRun, JustEnoughDataForTheCoverageAreSearched) {
    rxPointMatcherResultSet found = setWithTime();
    trained(kModel).run(firstOf(kModel, 5), rxPointMatcherRunParams(0.5), found);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 0.5);
    EXPECT_LT(found.time(), kTimeBefore);
}

TEST(PointMatcherRun, LargestWeightsBoundTheCoverageOfFewData) {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {10, 0}, {0, 7}, {9, 8}}, {-5, 1, 10, 1}, Defs::eAutoDetect);
    const Points data = {{0, 0}, {5, 5}};  // reach 11 of 12 at the most
    rxPointMatcherResultSet found = setWithTime();
    matcher.run(data, rxPointMatcherRunParams(0.92), found);
    EXPECT_EQ(found.time(), kTimeBefore);
    matcher.run(data, rxPointMatcherRunParams(0.91), found);
    EXPECT_LT(found.time(), kTimeBefore);
}

TEST(PointMatcherRun, NegativeWeightsDoNotLowerTheBoundOfTheCoverage) {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {10, 0}, {0, 7}, {9, 8}}, {-5, 1, 10, -5}, Defs::eAutoDetect);
    rxPointMatcherResultSet found = setWithTime();
    matcher.run({{0, 0}, {5, 5}, {40, 40}}, rxPointMatcherRunParams(1.0), found);
    EXPECT_LT(found.time(), kTimeBefore) << "two positive weights are the whole of the model";
}

TEST(PointMatcherRun, EmptyDataGiveNoResultAndATime) {
    for (const Defs::Mode mode : {Defs::eAutoDetect, Defs::eExhaustiveMode}) {
        rxPointMatcher matcher;
        matcher.train(kModel, mode);
        rxPointMatcherResultSet found = setWithTime();
        matcher.run({}, rxPointMatcherRunParams(0.0), found);
        EXPECT_THAT(found.results(), IsEmpty());
        EXPECT_LT(found.time(), kTimeBefore);
    }
}

// ---- what a result says

TEST(PointMatcherRun, ResultTellsPoseMapCoverageErrorAndMode) {
    const rxXform<2> truth = pose(120, -40, 12);
    Points data = {{500, 500}};
    data += mapped(truth, firstOf(kModel, 8));
    rxPointMatcherResultSet found;
    trained(kModel).run(data, rxPointMatcherRunParams(), found);
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxPointMatcherResult& result = found.results()[0];
    EXPECT_EQ(result.runMode(), Defs::ePointToPoint);
    EXPECT_THAT(result.modelToDataMap(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, -1, -1));
    EXPECT_EQ(result.coverage(), 8 * (1.0 / 10));
    EXPECT_LT(result.fitError(), 1e-12);  // a few roundings of coordinates of about 100
    for (const rxVector<2>& m : kModel) {
        EXPECT_LT((result.modelToDataXform() * m - truth * m).len(), 1e-12);
    }
}

TEST(PointMatcherRun, CoverageIsTheMatchedShareOfThePositiveWeight) {
    Weights weights(kModel.size(), 3);
    weights[0] = -2;
    rxPointMatcher matcher;
    matcher.train(kModel, weights, Defs::eAutoDetect);
    rxPointMatcherResultSet found;
    matcher.run(firstOf(kModel, 9), rxPointMatcherRunParams(0.4), found);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), (8 * 3 - 2) * (1.0 / 27));
}

TEST(PointMatcherRun, FitErrorIsTheUnweightedRootMeanSquareOfThePairs) {
    const Points model = {{0, 0}, {10, 0}, {0, 10}};
    const Points data = {{3, 4}, {10, 1}, {50, 50}};
    EXPECT_EQ(ptmatch::detail::rmsFitError_(data, rxXform<2>(), model, {0, 1, -1}),
              std::sqrt((25.0 + 1.0) / 2.0));
}

TEST(PointMatcherRun, FitErrorWithoutAPairIsZero) {
    EXPECT_EQ(ptmatch::detail::rmsFitError_(kModel, rxXform<2>(), kModel, {-1, -1, -1}), 0.0);
    EXPECT_EQ(ptmatch::detail::rmsFitError_({}, rxXform<2>(), {}, {}), 0.0);
}

// ---- which results, in which order

TEST(PointMatcherRun, EqualCoverageIsOrderedBySmallerFitError) {
    Points data = kModel;
    data[4] = {25.4, 14.3};
    data += mapped(pose(200, 0), kModel);
    rxPointMatcherRunParams params;
    params.maxNumResults(2);
    rxPointMatcherResultSet found;
    trained(kModel).run(data, params, found);
    ASSERT_THAT(found.results(), SizeIs(2));
    EXPECT_EQ(found.results()[0].coverage(), 1.0);
    EXPECT_EQ(found.results()[1].coverage(), 1.0);
    EXPECT_EQ(found.results()[0].modelToDataMap()[0], 10);
    EXPECT_EQ(found.results()[1].modelToDataMap()[0], 0);
    EXPECT_LT(found.results()[0].fitError(), found.results()[1].fitError());
}

TEST(PointMatcherRun, OneResultWantedIsTheOneOfHighestCoverage) {
    Points data;
    for (const std::size_t count : {6U, 8U, 10U, 9U, 7U}) {
        data += mapped(pose(200.0 * static_cast<double>(data.size()), 0), firstOf(kModel, count));
    }
    rxPointMatcherRunParams params;
    params.maxNumResults(5);
    rxPointMatcherResultSet all;
    trained(kModel).run(data, params, all);
    ASSERT_THAT(all.results(), SizeIs(5));
    EXPECT_EQ(all.results()[4].coverage(), 6 * (1.0 / 10));

    params.maxNumResults(1);
    rxPointMatcherResultSet best;
    trained(kModel).run(data, params, best);
    ASSERT_THAT(best.results(), SizeIs(1));
    EXPECT_EQ(best.results()[0].coverage(), 1.0);
    EXPECT_EQ(best.results()[0].modelToDataMap()[0], 14);
}

TEST(PointMatcherRun, CoverageBelowTheMinimumIsNotReturned) {
    const Points data = firstOf(kModel, 6);
    rxPointMatcherResultSet found;
    trained(kModel).run(data, rxPointMatcherRunParams(0.6), found);
    EXPECT_THAT(found.results(), SizeIs(1));
    Points farther = data;
    farther += {{300, 300}, {400, 350}};  // enough data, not enough matches
    trained(kModel).run(farther, rxPointMatcherRunParams(0.61), found);
    EXPECT_THAT(found.results(), IsEmpty());
}

TEST(PointMatcherRun, EachRunReplacesTheResultsOfTheOneBefore) {
    rxPointMatcherResultSet found = setWithResult();
    trained(kModel).run({{0, 0}, {100, 0}, {0, 100}, {300, 0}, {0, 300}, {400, 400}},
                        rxPointMatcherRunParams(), found);
    EXPECT_THAT(found.results(), IsEmpty());
}

TEST(PointMatcherRun, RotationIsMeasuredFromTheStartPose) {
    const Points data = mapped(pose(50, 60, 30), kModel);
    rxPointMatcherRunParams params;  // 15 degrees to either side
    rxPointMatcherResultSet found;
    trained(kModel).run(data, params, found);
    EXPECT_THAT(found.results(), IsEmpty());
    params.startPose(pose(0, 0, 20));
    trained(kModel).run(data, params, found);
    EXPECT_THAT(found.results(), SizeIs(1));
    params.startPose(pose(0, 0, 50));
    trained(kModel).run(data, params, found);
    EXPECT_THAT(found.results(), IsEmpty());
}

// The lattice reaches a step beyond the range, and the fit turns on from there; the check does not.
TEST(PointMatcherRun, RotationJustOutsideTheRangeIsNotReturned) {
    rxPointMatcherRunParams params;
    rxPointMatcherResultSet found;
    trained(kModel).run(mapped(pose(0, 0, 15.01), kModel), params, found);
    EXPECT_THAT(found.results(), IsEmpty());
    trained(kModel).run(mapped(pose(0, 0, 15.0), kModel), params, found);
    EXPECT_THAT(found.results(), SizeIs(1)) << "the end itself, but for rounding";
}

TEST(PoseCheck, SingularPoseIsRefusedWhateverTheRange) {
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());
    EXPECT_FALSE(ptmatch::detail::checkPose_(pose(0, 0, 0, 0.0), params));
    EXPECT_TRUE(ptmatch::detail::checkPose_(pose(0, 0, 0, 0.5), params));
}

TEST(PoseCheck, OnlyTheRotationIsComparedWithItsRange) {
    rxPointMatcherRunParams params;
    params.xTranslationUncertainty(rxRange(-1, 1));
    EXPECT_TRUE(ptmatch::detail::checkPose_(pose(500, 500, 14.9, 3.0), params));
    EXPECT_FALSE(ptmatch::detail::checkPose_(pose(0, 0, 15.1), params));
    params.rotationUncertainty(rxAngleRange::FullRange());
    EXPECT_TRUE(ptmatch::detail::checkPose_(pose(0, 0, 165), params));
}

TEST(PoseCheck, EndsOfTheRangeForgiveABillionthOfARadian) {
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange(rxRadian(-0.1), rxRadian(0.1)));
    const auto turned = [](double radians) {
        return rxXform<2>(rxVector<2>(0, 0), rxRadian(radians), rxRadian(radians), 1.0, 1.0);
    };
    EXPECT_TRUE(ptmatch::detail::checkPose_(turned(0.1 + 0.9e-9), params));
    EXPECT_FALSE(ptmatch::detail::checkPose_(turned(0.1 + 1.1e-9), params));
    EXPECT_TRUE(ptmatch::detail::checkPose_(turned(-0.1 - 0.9e-9), params));
    EXPECT_FALSE(ptmatch::detail::checkPose_(turned(-0.1 - 1.1e-9), params));
}

// ---- arguments that are refused

TEST(PointMatcherRun, DataThatAreNotFiniteAreRefused) {
    for (const Defs::Mode mode : {Defs::eAutoDetect, Defs::eExhaustiveMode}) {
        rxPointMatcher matcher;
        matcher.train(firstOf(kModel, 4), mode);
        for (const double bad : {kNan, kInfinity, -kInfinity}) {
            Points data = firstOf(kModel, 4);
            data[2] = {1.0, bad};
            expectRefused(matcher, data, rxPointMatcherRunParams(), "data point 2");
            data[2] = {bad, 1.0};
            expectRefused(matcher, data, rxPointMatcherRunParams(), "data point 2");
        }
    }
}

TEST(PointMatcherRun, DataAreCheckedBeforeTheirNumber) {
    expectRefused(trained(kModel), {{kNan, 0.0}}, rxPointMatcherRunParams(1.0), "data point 0");
}

TEST(PointMatcherRun, StartPoseHasToBeFiniteAndInvertible) {
    for (const Defs::Mode mode : {Defs::eAutoDetect, Defs::eExhaustiveMode}) {
        rxPointMatcher matcher;
        matcher.train(firstOf(kModel, 4), mode);
        rxPointMatcherRunParams params;
        for (const rxXform<2>& bad :
             {pose(0, 0, 0, 0.0), pose(kNan, 0), pose(0, kInfinity), pose(0, 0, 0, kInfinity),
              rxXform<2>(rxMatrix<2>(1, 2, 2, 4), rxVector<2>(0, 0))}) {
            params.startPose(bad);
            expectRefused(matcher, kModel, params, "startPose");
        }
    }
}

TEST(PointMatcherRun, GridSizeTooSmallForTheDataIsRefusedBeforeAnyImage) {
    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    const rxPointMatcher matcher = trained(kModel);
    for (const double gridSize : {1e-3, 1e-9, 1e-300, std::numeric_limits<double>::denorm_min()}) {
        params.gridSize(gridSize);
        expectRefused(matcher, kModel, params, "gridSize");
        const AllocationMeter meter;
        rxPointMatcherResultSet found;
        EXPECT_THROW(matcher.run(kModel, params, found), Defs::BadParams);
        EXPECT_LT(meter.largest(), 4096U) << "at a grid size of " << gridSize;
    }
}

TEST(PointMatcherRun, MoreThanTwoToThe31LatticePointsAreRefused) {
    rxPointMatcherRunParams params;
    const rxPointMatcher matcher = trained(kModel);
    for (const double end : {1e9, 1e15, 1e300, kInfinity}) {
        params.scaleUncertainty(rxRange(0.0, end));
        expectRefused(matcher, kModel, params, "uncertainty");
    }
}

TEST(PointMatcherRun, ModelAbsurdlyFarFromTheDataIsRefused) {
    rxPointMatcherRunParams params;
    params.startPose(pose(1e300, 0));
    expectRefused(trained(kModel), kModel, params, "startPose");
}

// ---- parameters that no setter has seen

struct RecordedParams {
    double minCoverage = 0.5;
    rxXform<2> startPose;
    rxAngleRange rotation = rxAngleRange(rxRadian(-0.2), rxRadian(0.2));
    rxRange x = rxRange::FullRange();
    rxRange y = rxRange::FullRange();
    rxRange scale = rxRange(0.0, 0.0);
    bool autoGridSize = true;
    double gridSize = 0.0;
    bool autoCaptureRange = true;
    double captureRange = 0.0;
    long maxNumResults = 1;

    rxPointMatcherRunParams load() const {
        return loaded<rxPointMatcherRunParams>(
            stored(200009UL, minCoverage, startPose, rotation, x, y, scale, autoGridSize, gridSize,
                   autoCaptureRange, captureRange, maxNumResults));
    }
};

// The defaults with one field that is different.
template <class Value>
RecordedParams recordWith(Value RecordedParams::*field, Value value) {
    RecordedParams record;
    record.*field = value;
    return record;
}

void expectRecordRefused(const RecordedParams& record, const std::string& cause) {
    for (const Defs::Mode mode : {Defs::eAutoDetect, Defs::eExhaustiveMode}) {
        rxPointMatcher matcher;
        matcher.train(firstOf(kModel, 4), mode);
        expectRefused(matcher, firstOf(kModel, 4), record.load(), cause);
    }
}

TEST(PointMatcherRun, RecordedCoverageOutsideTheUnitIntervalIsRefused) {
    for (const double bad : {-0.1, 1.1, kNan, kInfinity}) {
        expectRecordRefused(recordWith(&RecordedParams::minCoverage, bad), "minCoverage");
    }
}

TEST(PointMatcherRun, RecordedNumberOfResultsBelowOneIsRefused) {
    for (const long bad : {0L, -1L, -2147483648L}) {
        expectRecordRefused(recordWith(&RecordedParams::maxNumResults, bad), "maxNumResults");
    }
}

TEST(PointMatcherRun, RecordedEmptyRangesAreRefused) {
    expectRecordRefused(recordWith(&RecordedParams::rotation, rxAngleRange()), "angleUncertainty");
    expectRecordRefused(recordWith(&RecordedParams::x, rxRange()), "xTranslationUncertainty");
    expectRecordRefused(recordWith(&RecordedParams::y, rxRange()), "yTranslationUncertainty");
    expectRecordRefused(recordWith(&RecordedParams::scale, rxRange()), "scaleUncertainty");
}

TEST(PointMatcherRun, RecordedScaleRangeMustBeBoundedAndStartAboveMinusNineTenths) {
    expectRecordRefused(recordWith(&RecordedParams::scale, rxRange::FullRange()),
                        "scaleUncertainty");
    expectRecordRefused(recordWith(&RecordedParams::scale, rxRange(-0.91, 0.0)),
                        "scaleUncertainty");
}

TEST(PointMatcherRun, RecordedBoundsThatAreNoNumbersAreRefused) {
    expectRecordRefused(
        recordWith(&RecordedParams::rotation, rxAngleRange(rxRadian(kNan), rxRadian(0.1))),
        "ncertainty");
    expectRecordRefused(recordWith(&RecordedParams::x, rxRange(0.0, kNan)),
                        "xTranslationUncertainty");
    expectRecordRefused(recordWith(&RecordedParams::y, rxRange(kNan, 0.0)),
                        "yTranslationUncertainty");
    expectRecordRefused(recordWith(&RecordedParams::scale, rxRange(0.0, kNan)), "scaleUncertainty");
    RecordedParams record = recordWith(&RecordedParams::captureRange, kNan);
    record.autoCaptureRange = false;
    expectRecordRefused(record, "captureRange");
}

TEST(PointMatcherRun, RecordedSizesThatMakeNoSenseAreReadAsAutomatic) {
    rxPointMatcherResultSet expected;
    trained(kModel).run(kModel, RecordedParams().load(), expected);
    ASSERT_THAT(expected.results(), SizeIs(1));
    rxPointMatcherResultSet found;
    for (const double bad : {0.0, -1.0, kNan}) {
        RecordedParams record = recordWith(&RecordedParams::gridSize, bad);
        record.autoGridSize = false;
        trained(kModel).run(kModel, record.load(), found);
        expectSameResults(found, expected);
    }
    RecordedParams record = recordWith(&RecordedParams::captureRange, -1.0);
    record.autoCaptureRange = false;
    trained(kModel).run(kModel, record.load(), found);
    expectSameResults(found, expected);
}

// ---- models without a default grid size

TEST(PointMatcherRun, ModelInOnePlaceFindsNothingAndSetsTheTime) {
    const rxPointMatcher matcher = trained(Points(5, rxVector<2>(3, 4)));
    rxPointMatcherResultSet found = setWithTime();
    matcher.run(kModel, rxPointMatcherRunParams(), found);
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_LT(found.time(), kTimeBefore);

    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    params.gridSize(1.0);
    found = setWithTime();
    matcher.run(kModel, params, found);
    EXPECT_THAT(found.results(), IsEmpty()) << "coincident points determine no pose";
    EXPECT_LT(found.time(), kTimeBefore);
}

TEST(PointMatcherRun, DoubledModelNeedsAGridSizeAndIsThenMatchedByHalf) {
    Points doubled = kModel;
    doubled += kModel;
    const rxPointMatcher matcher = trained(doubled);
    rxPointMatcherResultSet found = setWithTime();
    matcher.run(kModel, rxPointMatcherRunParams(), found);
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_LT(found.time(), kTimeBefore);

    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    params.gridSize(1.0);
    matcher.run(kModel, params, found);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 0.5);
}

// ---- sizes beyond the common

// One pixel per unit and hardly any freedom: what is left is the number of points.
rxPointMatcherRunParams nearlyFixedParams() {
    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    params.gridSize(1.0);
    params.rotationUncertainty(rxAngleRange(rxRadian(-1e-6), rxRadian(1e-6)));
    params.xTranslationUncertainty(rxRange(-2, 2));
    params.yTranslationUncertainty(rxRange(-2, 2));
    return params;
}

Points lattice(long columns, long rows) {
    Points points;
    for (long y = 0; y < rows; ++y) {
        for (long x = 0; x < columns; ++x) {
            points.emplace_back(4.0 * static_cast<double>(x), 4.0 * static_cast<double>(y));
        }
    }
    return points;
}

TEST(PointMatcherRun, MoreThan32767ModelPointsAreCounted) {
    const Points points = lattice(182, 181);  // 32942: the vote of all of them leaves 16 bits
    rxPointMatcherResultSet found;
    trained(points).run(points, nearlyFixedParams(), found);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 1.0);
    EXPECT_EQ(found.results()[0].modelToDataMap().back(), 32941);
}

TEST(PointMatcherRun, MoreThan65535DataPointsAreToldApart) {
    Points data = lattice(257, 256);  // 65792, and the model behind them
    const rxXform<2> behind = pose(20, 1040);
    data += mapped(behind, kModel);
    rxPointMatcherRunParams params = nearlyFixedParams();
    params.startPose(behind);
    rxPointMatcherResultSet found;
    trained(kModel).run(data, params, found);
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_THAT(found.results()[0].modelToDataMap(),
                ElementsAre(65792, 65793, 65794, 65795, 65796, 65797, 65798, 65799, 65800, 65801));
}

TEST(PointMatcherRun, HugeWeightsFindWhatSmallOnesFind) {
    const Points data = mapped(pose(30, -20, 5), kModel);
    rxPointMatcher huge;
    huge.train(kModel, Weights(kModel.size(), 200000000), Defs::eAutoDetect);  // 2e9 in all
    rxPointMatcherResultSet found;
    {
        const AllocationMeter meter;
        huge.run(data, rxPointMatcherRunParams(), found);
        EXPECT_LT(meter.total(), 4000000U) << "bytes must not grow with the score range";
    }
    rxPointMatcherResultSet expected;
    trained(kModel).run(data, rxPointMatcherRunParams(), expected);
    ASSERT_THAT(expected.results(), SizeIs(1));
    expectSameResults(found, expected);
}

TEST(PointMatcherRun, ManyResultsWantedTakeTheMemoryOfThoseFound) {
    rxPointMatcherRunParams params;
    for (const long wanted : {100000000L, 2147483647L}) {
        params.maxNumResults(wanted);
        rxPointMatcherResultSet found;
        const AllocationMeter meter;
        trained(kModel).run(kModel, params, found);
        EXPECT_LT(meter.total(), 4000000U) << wanted << " results wanted";
        ASSERT_FALSE(found.results().empty());
        EXPECT_EQ(found.results()[0].coverage(), 1.0);
    }
}

TEST(PointMatcherRun, PositiveWeightsLostBesideNegativeOnesAreReportedAndFindNothing) {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {10, 0}, {0, 7}}, {1, 1, -2000000000}, Defs::eAutoDetect);
    rxPointMatcherResultSet found = setWithTime();
    const AssertionRecorder recorder;
    matcher.run({{0, 0}, {10, 0}, {0, 7}}, rxPointMatcherRunParams(0.0), found);
    EXPECT_THAT(recorder.codes(), SizeIs(1));
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_LT(found.time(), kTimeBefore);
}

// ---- interruption

// Counts the polls of a run and interrupts at a chosen one.
class PollCounter {
  public:
    explicit PollCounter(long interruptAt = -1) : previous_(rxAttention::setHandler(&poll)) {
        count() = 0;
        limit() = interruptAt;
    }
    ~PollCounter() { rxAttention::setHandler(previous_); }
    PollCounter(const PollCounter&) = delete;
    PollCounter& operator=(const PollCounter&) = delete;

    long polls() const { return count(); }

  private:
    static long& count() {
        static long polls = 0;
        return polls;
    }
    static long& limit() {
        static long at = -1;
        return at;
    }
    static bool poll() { return ++count() == limit(); }

    rxAttention::Handler previous_;
};

TEST(PointMatcherRun, RequestedInterruptionEndsTheRunAndHarmsNothing) {
    const rxPointMatcher matcher = trained(kModel);
    rxPointMatcherResultSet before;
    matcher.run(kModel, rxPointMatcherRunParams(), before);
    rxPointMatcherResultSet found = setWithResult();
    const double time = found.time();

    rxAttention::request();
    EXPECT_THROW(matcher.run(kModel, rxPointMatcherRunParams(), found), rxAttention::Interrupted);
    rxAttention::clear();
    EXPECT_THAT(found.results(), IsEmpty());
    EXPECT_EQ(found.time(), time);

    matcher.run(kModel, rxPointMatcherRunParams(), found);
    expectSameResults(found, before);
}

TEST(PointMatcherRun, HandlerInterruptsAtEveryPollOfEveryStage) {
    const rxPointMatcher matcher = trained(kModel);
    rxPointMatcherResultSet before;
    matcher.run(kModel, rxPointMatcherRunParams(), before);
    long numPolls = 0;
    {
        const PollCounter counter;
        rxPointMatcherResultSet found;
        matcher.run(kModel, rxPointMatcherRunParams(), found);
        numPolls = counter.polls();
    }
    for (long at = 1; at <= numPolls; ++at) {
        rxPointMatcherResultSet found;
        {
            const PollCounter counter(at);
            EXPECT_THROW(matcher.run(kModel, rxPointMatcherRunParams(), found),
                         rxAttention::Interrupted);
            EXPECT_EQ(counter.polls(), at);
        }
        EXPECT_THAT(found.results(), IsEmpty());
        matcher.run(kModel, rxPointMatcherRunParams(), found);
        expectSameResults(found, before);
    }
}

// Data farther apart than the model is wide: no five model points ever meet data, no candidate
// comes up, and the polls left are those of the first vote.
TEST(PointMatcherRun, PollsOncePerScaleAndRotation) {
    const Points data = {{0, 0},   {90, 0},   {180, 0},  {0, 90},  {90, 90},
                         {0, 180}, {90, 180}, {180, 90}, {270, 0}, {0, 270}};
    rxPointMatcherRunParams params(1.0);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    const rxPointMatcher matcher = trained(kModel);

    rx_PointMatcherModel model;
    model.train(kModel);
    long numPairs = 0;
    ptmatch::detail::scaleLattice(params.scaleUncertainty(), model, model.defaultGridSize())
        .forEach([&](double scale) {
            ptmatch::detail::rotationLattice(params.rotationUncertainty(), model, scale,
                                             model.defaultGridSize())
                .forEach([&](double) { ++numPairs; });
        });
    ASSERT_GT(numPairs, 50);

    const PollCounter counter;
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    EXPECT_EQ(counter.polls(), numPairs);
    EXPECT_THAT(found.results(), IsEmpty());
}

TEST(PointMatcherRun, PollsNeitherWithoutASearchNorInTheExhaustiveOne) {
    const PollCounter counter(1);
    rxPointMatcherResultSet found;
    trained(kModel).run(firstOf(kModel, 2), rxPointMatcherRunParams(1.0), found);
    rxPointMatcher exhaustive;
    exhaustive.train(firstOf(kModel, 4), Defs::eExhaustiveMode);
    exhaustive.run(firstOf(kModel, 4), rxPointMatcherRunParams(), found);
    EXPECT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(counter.polls(), 0);
}

TEST(PointMatcherRun, ExtractingPointsFromAResultChangesNothing) {
    const rxPointMatcherResultSet found = setWithResult();
    const ByteVector before = stored(found.results()[0]);
    const Points first = {{1, 2}};
    const Points second = {{3, 4}};
    rfExtractPointsFromPointMatcherResults(trained(kModel), kModel, found.results()[0], first,
                                           second);
    EXPECT_EQ(stored(found.results()[0]), before);
    EXPECT_EQ(first, Points({{1, 2}}));
    EXPECT_EQ(second, Points({{3, 4}}));
}

}  // namespace
