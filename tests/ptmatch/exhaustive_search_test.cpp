#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <limits>
#include <string>
#include <vector>

#include "foundation/fitter.h"
#include "ptmatch/ppmatch.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

// The exhaustive search as a run shows it.
namespace {

using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;
using Points = std::vector<rxVector<2>>;
using Results = std::vector<rxPointMatcherResult>;

constexpr double kTimeBefore = 1e6;  // seconds; no run of these tests takes as long
constexpr double kRounding = 1e-12;  // some roundings of coordinates of about 10
const Points kTriangle = {{0, 0}, {7, 1}, {2, 10}};
const Points kQuad = {{0, 0}, {7, 1}, {2, 10}, {11, 8}};

rxPointMatcherRunParams paramsFor(double captureRange, long maxNumResults = 1) {
    rxPointMatcherRunParams params;
    params.autoCaptureRange(false);
    params.captureRange(captureRange);
    params.maxNumResults(maxNumResults);
    return params;
}

rxPointMatcherResultSet runOn(const Points& model, const std::vector<long>& weights,
                              const Points& data, const rxPointMatcherRunParams& params) {
    rxPointMatcher matcher;
    if (weights.empty()) {
        matcher.train(model, Defs::eExhaustiveMode);
    } else {
        matcher.train(model, weights, Defs::eExhaustiveMode);
    }
    rxPointMatcherResultSet found = loaded<rxPointMatcherResultSet>(
        joined({stored(200009UL), stored(kTimeBefore), stored(std::vector<long>())}));
    matcher.run(data, params, found);
    EXPECT_LT(found.time(), kTimeBefore) << "the time is set whatever is found";
    return found;
}

Results resultsOf(const Points& model, const Points& data, const rxPointMatcherRunParams& params) {
    return runOn(model, {}, data, params).results();
}

double distance(const rxXform<2>& a, const rxXform<2>& b) {
    double largest = 0.0;
    for (const rxVector<2>& p : kQuad) largest = std::max(largest, (a * p - b * p).len());
    return largest;
}

bool holdsPose(const Results& results, const rxXform<2>& pose) {
    return std::any_of(results.begin(), results.end(), [&](const rxPointMatcherResult& result) {
        return distance(result.modelToDataXform(), pose) < kRounding;
    });
}

TEST(ExhaustiveRun, ResultTellsItsModePoseMapAndCoverage) {
    const rxXform<2> truth(rxVector<2>(5, -3), rxDegree(10), rxDegree(10), 1.0, 1.0);
    const Points data = {truth * kQuad[2], {90, 90}, truth * kQuad[0], truth * kQuad[1]};
    const Results results = resultsOf(kQuad, data, paramsFor(0.1));
    ASSERT_THAT(results, SizeIs(1));
    EXPECT_EQ(results[0].runMode(), Defs::eExhaustiveMode);
    EXPECT_THAT(results[0].modelToDataMap(), ElementsAre(2, 3, 0, -1));
    EXPECT_EQ(results[0].coverage(), 0.75);
    EXPECT_LT(distance(results[0].modelToDataXform(), truth), kRounding);
}

TEST(ExhaustiveRun, OnePointNeverMakesAPair) {
    EXPECT_THAT(resultsOf(kTriangle, {{0, 0}}, paramsFor(5.0)), IsEmpty());
}

TEST(ExhaustiveRun, EmptyDataGiveNothing) {
    EXPECT_THAT(resultsOf(kTriangle, {}, paramsFor(5.0)), IsEmpty());
}

TEST(ExhaustiveRun, MinimumCoverageIsNotAsked) {
    rxPointMatcherRunParams params = paramsFor(0.1);
    params.minCoverage(1.0);
    const Results results = resultsOf(kQuad, {kQuad[0], kQuad[3]}, params);
    ASSERT_THAT(results, SizeIs(1));
    EXPECT_EQ(results[0].coverage(), 0.5);
}

// The smaller set is fitted to the larger one, and with a free scale the two directions of a noisy
// fit differ: which of them the pose comes from tells which set was taken as the smaller.
TEST(ExhaustiveRun, EqualSizesFitTheModelToTheData) {
    const Points data = {{0.3, 0}, {7, 1.4}, {2.2, 9.7}};
    rxPointMatcherRunParams params = paramsFor(2.0, 1000);
    params.scaleUncertainty(rxRange(-0.5, 0.5));
    const Results results = resultsOf(kTriangle, data, params);
    const rxXform<2> modelFromData = rxLSPointToPointFitter(kTriangle, data).fit(4);
    const rxXform<2> dataFromModel = rxLSPointToPointFitter(data, kTriangle).fit(4);
    ASSERT_GT(distance(modelFromData.inverse(), dataFromModel), 1e-3);
    EXPECT_TRUE(holdsPose(results, modelFromData.inverse()));
    EXPECT_FALSE(holdsPose(results, dataFromModel));
}

TEST(ExhaustiveRun, FewerDataFitTheDataToTheModel) {
    const Points data = {{0.3, 0}, {7, 1.4}, {2.2, 9.7}};
    rxPointMatcherRunParams params = paramsFor(2.0, 1000);
    params.scaleUncertainty(rxRange(-0.5, 0.5));
    const Results results = resultsOf(kQuad, data, params);
    const rxXform<2> modelFromData = rxLSPointToPointFitter(kTriangle, data).fit(4);
    const rxXform<2> dataFromModel = rxLSPointToPointFitter(data, kTriangle).fit(4);
    EXPECT_TRUE(holdsPose(results, dataFromModel));
    EXPECT_FALSE(holdsPose(results, modelFromData.inverse()));
}

Points scaled(const Points& points, double scale) {
    Points images;
    for (const rxVector<2>& p : points) images.emplace_back(p.x() * scale, p.y() * scale);
    return images;
}

TEST(ExhaustiveRun, ScaleRangeOfExactlyZeroFitsRigidly) {
    const Results results = resultsOf(kTriangle, scaled(kTriangle, 1.02), paramsFor(1.0, 100));
    ASSERT_FALSE(results.empty());
    for (const rxPointMatcherResult& result : results) {
        EXPECT_NEAR(result.modelToDataXform().xScale(), 1.0, kRounding);
    }
    EXPECT_EQ(results[0].coverage(), 1.0);
}

TEST(ExhaustiveRun, AnyOtherScaleRangeFitsTheScaleEvenIfItHoldsZero) {
    rxPointMatcherRunParams params = paramsFor(1.0, 100);
    params.rotationUncertainty(rxAngleRange(rxDegree(-1), rxDegree(1)));
    params.scaleUncertainty(rxRange(-0.001, 0.001));
    EXPECT_THAT(resultsOf(kTriangle, scaled(kTriangle, 1.02), params), IsEmpty())
        << "a rigid fit would lie within the range";
    params.scaleUncertainty(rxRange(0.0, 0.021));
    const Results results = resultsOf(kTriangle, scaled(kTriangle, 1.02), params);
    ASSERT_FALSE(results.empty());
    EXPECT_NEAR(results[0].modelToDataXform().xScale(), 1.02, kRounding);
}

TEST(ExhaustiveRun, EndOfTheScaleRangeForgivesABillionth) {
    rxPointMatcherRunParams params = paramsFor(0.1);
    params.scaleUncertainty(rxRange(0.0, 0.25 - 0.5e-9));
    EXPECT_THAT(resultsOf(kTriangle, scaled(kTriangle, 1.25), params), SizeIs(1));
    params.scaleUncertainty(rxRange(0.0, 0.25 - 2e-9));
    EXPECT_THAT(resultsOf(kTriangle, scaled(kTriangle, 1.25), params), IsEmpty());
}

TEST(ExhaustiveRun, RangesHoldForThePoseComposedAfterTheInverseStartPose) {
    const rxXform<2> quarterTurn(rxVector<2>(100, 0), rxDegree(90), rxDegree(90), 1.0, 1.0);
    Points data;
    for (const rxVector<2>& p : kTriangle) data.push_back(quarterTurn * p + rxVector<2>(0, 4));
    rxPointMatcherRunParams params = paramsFor(0.1);
    params.startPose(quarterTurn);
    // pose * inverse(start) is the shift by (0, 4); inverse(start) * pose would be one by (4, 0).
    params.xTranslationUncertainty(rxRange(-0.5, 0.5));
    params.yTranslationUncertainty(rxRange(3.5, 4.5));
    EXPECT_THAT(resultsOf(kTriangle, data, params), SizeIs(1));
    params.yTranslationUncertainty(rxRange(-0.5, 0.5));
    params.xTranslationUncertainty(rxRange(3.5, 4.5));
    EXPECT_THAT(resultsOf(kTriangle, data, params), IsEmpty());
}

// The pose of the first two pairs is the identity; under it the third point lies at exactly 1.
TEST(ExhaustiveRun, PointAtExactlyTheCaptureRangeIsNotCaptured) {
    const Points model = {{-4, 0}, {4, 0}, {0, 32}};
    const Points data = {{-4, 0}, {4, 0}, {0, 33}};
    const auto capturedByIdentity = [&](double range) {
        std::vector<long> map;
        for (const rxPointMatcherResult& result : resultsOf(model, data, paramsFor(range, 1000))) {
            if (result.modelToDataXform() == rxXform<2>()) map = result.modelToDataMap();
        }
        return map;
    };
    EXPECT_THAT(capturedByIdentity(1.0), ElementsAre(0, 1, -1));
    EXPECT_THAT(capturedByIdentity(std::nextafter(1.0, 2.0)), ElementsAre(0, 1, 2));
}

TEST(ExhaustiveRun, EarlierModelPointKeepsADataPointThatALaterOneIsNearerTo) {
    // Under the identity, model points 2 and 3 both reach data point 2; point 3 lies on it.
    const Points model = {{0, 0}, {16, 0}, {8, 20}, {8, 21}};
    const Points data = {{0, 0}, {16, 0}, {8, 21}};
    std::vector<long> map;
    for (const rxPointMatcherResult& result : resultsOf(model, data, paramsFor(1.5, 1000))) {
        if (result.modelToDataXform() == rxXform<2>()) map = result.modelToDataMap();
    }
    EXPECT_THAT(map, ElementsAre(0, 1, 2, -1));
}

TEST(ExhaustiveRun, LowerDataIndexWinsATie) {
    const Points model = {{0, 0}, {16, 0}, {8, 20}};
    const Points data = {{0, 0}, {16, 0}, {9, 20}, {7, 20}};
    std::vector<long> map;
    for (const rxPointMatcherResult& result : resultsOf(model, data, paramsFor(1.5, 1000))) {
        if (result.modelToDataXform() == rxXform<2>()) map = result.modelToDataMap();
    }
    EXPECT_THAT(map, ElementsAre(0, 1, 2));
}

TEST(ExhaustiveRun, CapturedWeightOfOneIsTooLittle) {
    const rxPointMatcherRunParams params = paramsFor(0.01, 100);
    EXPECT_THAT(runOn(kTriangle, {2, 1, -2}, kTriangle, params).results(), IsEmpty());
    const Results results = runOn(kTriangle, {2, 2, -2}, kTriangle, params).results();
    ASSERT_FALSE(results.empty());
    EXPECT_EQ(results[0].coverage(), 0.5);
}

TEST(ExhaustiveRun, FitErrorIsWeighted) {
    const Points model = {{-4, 0}, {4, 0}, {0, 32}};
    const Points data = {{-4, 0}, {4, 0}, {0, 32.5}};
    const rxPointMatcherResultSet found = runOn(model, {3, 2, 5}, data, paramsFor(1.0, 1000));
    for (const rxPointMatcherResult& result : found.results()) {
        if (result.modelToDataXform() != rxXform<2>()) continue;
        EXPECT_EQ(result.fitError(), std::sqrt(5 * 0.25 / 10));  // 0.5 off, with half the weight
        return;
    }
    FAIL() << "the pose of the first two pairs is among the results";
}

TEST(ExhaustiveRun, PosesThatRepeatAreAllKept) {
    const Results results = resultsOf(kTriangle, kTriangle, paramsFor(0.01, 100));
    // Three assignments of two pairs, that of all three; and the one that swaps its two nearest
    // points, which pull to either side alike and leave the pose where it is.
    EXPECT_THAT(results, SizeIs(5));
    for (const rxPointMatcherResult& result : results) {
        EXPECT_THAT(result.modelToDataMap(), ElementsAre(0, 1, 2));
        EXPECT_LT(distance(result.modelToDataXform(), rxXform<2>()), kRounding);
    }
}

TEST(ExhaustiveRun, ResultsAreTheBestOfAllInOrder) {
    const Points data = {{0.3, 0}, {7, 1.4}, {2.2, 9.7}, {12, 8}, {3, 3}};
    const Results all = resultsOf(kQuad, data, paramsFor(1.5, 100000));
    ASSERT_GT(all.size(), 10U);
    for (std::size_t i = 1; i < all.size(); ++i) {
        EXPECT_TRUE(all[i - 1].coverage() > all[i].coverage() ||
                    (all[i - 1].coverage() == all[i].coverage() &&
                     all[i - 1].fitError() <= all[i].fitError()));
    }
    for (const std::size_t wanted : {1U, 2U, 7U}) {
        const Results best = resultsOf(kQuad, data, paramsFor(1.5, static_cast<long>(wanted)));
        ASSERT_THAT(best, SizeIs(wanted));
        for (std::size_t i = 0; i < wanted; ++i) EXPECT_EQ(stored(best[i]), stored(all[i]));
    }
}

// Two copies of the model, A and B, in exact coordinates: every assignment within one copy gives
// coverage 1 and no error; so do two that swap the third point with another, which leaves the fit
// where it is. The first slot of the assignment turns fastest, so that the last one decides the
// order: without the third point A, B; with a partner for it five of A, then five of B.
TEST(ExhaustiveRun, CompleteTiesComeInTheOrderOfTheAssignments) {
    const Points model = {{-8, 0}, {8, 0}, {0, -9}};
    Points data = model;
    for (const rxVector<2>& p : model) data.push_back(p + rxVector<2>(64, 0));
    std::string copies;
    for (const rxPointMatcherResult& result : resultsOf(model, data, paramsFor(0.25, 1000))) {
        ASSERT_EQ(result.coverage(), 1.0);
        ASSERT_EQ(result.fitError(), 0.0);
        copies += result.modelToDataMap()[0] == 0 ? 'A' : 'B';
    }
    EXPECT_EQ(copies, "ABAAAAABBBBB");
}

// A search of such sets never ends but for the smallest; what it keeps of their pairs is bounded,
// so that it does not fill the memory first.
TEST(ExhaustiveSearch, SetsOfManyPairsTakeMemoryLinearInThem) {
    rxPointMatcher matcher;
    constexpr std::size_t kNumModel = 2'000'000;
    Points model;
    model.reserve(kNumModel);
    for (std::size_t i = 0; i < kNumModel; ++i) {
        model.emplace_back(static_cast<double>(i % 1500), static_cast<double>(i / 1500));
    }
    matcher.train(model, Defs::eExhaustiveMode);
    rxPointMatcherResultSet results;
    const ptmatch::testing::AllocationMeter meter;
    matcher.run({{3.0, 4.0}}, paramsFor(1.0), results);
    EXPECT_THAT(results.results(), IsEmpty());
    EXPECT_LT(meter.largest(), 40 * kNumModel);
}

// Nothing bounds the time of a search of such sets, and the alarm ends it; overflowing the stack
// would end it otherwise.
TEST(ExhaustiveSearch, DeepSearchGoesOnWithoutEndInsteadOfCrashing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto searchForASecond = [] {
        constexpr std::size_t kNumPoints = 100'000;
        Points points;
        points.reserve(kNumPoints);
        for (std::size_t i = 0; i < kNumPoints; ++i) {
            points.emplace_back(static_cast<double>(i % 300), static_cast<double>(i / 300));
        }
        rxPointMatcher matcher;
        matcher.train(points, Defs::eExhaustiveMode);
        rxPointMatcherResultSet results;
        alarm(1);
        matcher.run(points, paramsFor(1.0), results);
    };
    EXPECT_EXIT(searchForASecond(), ::testing::KilledBySignal(SIGALRM), "");
}

}  // namespace
