#include "ptmatch/run_cost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "foundation/attention.h"
#include "ptmatch/addition_world.h"
#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using Defs = rxPointMatcherDefs;

// The lattice points that a search goes through.
std::int64_t countedPoints(const Points& points, const rxPointMatcherRunParams& params,
                           double gridSize) {
    rx_PointMatcherModel model;
    model.train(points);
    ptmatch::detail::CoarseStore store(model.totalWeight(), 1);
    std::int64_t count = 0;
    ptmatch::detail::voteOverLattice(
        model, params, gridSize, 2,
        [&](double, double, long, ptmatch::detail::CoarseStore&) { ++count; }, store);
    return count;
}

TEST(RunCost, CountsTheLatticePointsThatTheSearchGoesThrough) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    for (unsigned seed = 1; seed <= 200; ++seed) {
        SCOPED_TRACE(seed);
        Randoms random(seed);
        rxPointMatcherRunParams params;
        const double low = random.uniform(-200, 100);
        params.rotationUncertainty(
            rxAngleRange(rxDegree(low), rxDegree(low + random.uniform(0, 100))));
        const double smallest = random.uniform(-0.5, 0.2);
        params.scaleUncertainty(rxRange(smallest, smallest + random.uniform(0, 0.4)));
        params.autoGridSize(false);
        params.gridSize(random.uniform(0.2, 4.0));
        const rxRunCost cost = rfRunCost(matcher, tenPoints(), params);
        EXPECT_EQ(cost.numLatticePoints, countedPoints(tenPoints(), params, params.gridSize()));
        EXPECT_GE(cost.numLatticePoints, cost.numScales);
    }
}

TEST(RunCost, ASinglePoseIsOneLatticePoint) {
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange(rxDegree(0), rxDegree(0)));
    params.xTranslationUncertainty(rxRange(0, 0));
    params.yTranslationUncertainty(rxRange(0, 0));
    const rxRunCost cost = rfRunCost(trainedOnPoints(tenPoints()), tenPoints(), params);
    EXPECT_EQ(cost.numScales, 1);
    EXPECT_EQ(cost.numLatticePoints, 1);
    EXPECT_EQ(cost.numTranslations, 1);
    EXPECT_EQ(cost.work, 10.0);
    EXPECT_TRUE(cost.isInterruptible);
}

TEST(RunCost, IsTheProductOfLatticeTranslationsAndModel) {
    rxPointMatcherRunParams params;
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.autoGridSize(false);
    params.gridSize(1.0);
    params.autoCaptureRange(false);
    params.captureRange(2.5);
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxRunCost cost = rfRunCost(matcher, tenPoints(), params);
    EXPECT_EQ(cost.mode, Defs::ePointToPoint);
    EXPECT_EQ(cost.gridSize, 1.0);
    EXPECT_EQ(cost.captureRange, 2.5);
    EXPECT_EQ(cost.work, static_cast<double>(cost.numLatticePoints) *
                             static_cast<double>(cost.numTranslations) * 10.0);
    EXPECT_GT(cost.imageBytes, 0.0);
}

TEST(RunCost, HalfTheGridSizeIsSixteenTimesTheWork) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    rxPointMatcherRunParams params;
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.autoGridSize(false);
    params.gridSize(0.1);
    const double work = rfRunCost(matcher, tenPoints(), params).work;
    params.gridSize(0.05);
    // Steps of half the size in two translations, rotation and scale; the margins stay.
    EXPECT_NEAR(rfRunCost(matcher, tenPoints(), params).work / work, 16.0, 1.0);
}

TEST(RunCost, TellsTheAutomaticSizes) {
    const rxRunCost cost = rfRunCost(trainedOnPoints(tenPoints()), tenPoints(), {});
    rx_PointMatcherModel model;
    model.train(tenPoints());
    EXPECT_EQ(cost.gridSize, model.defaultGridSize());
    EXPECT_EQ(cost.captureRange, cost.gridSize);
}

TEST(RunCost, OfARunThatDoesNotSearchIsNothing) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const Points tooFew(tenPoints().begin(), tenPoints().begin() + 3);
    const rxRunCost cost = rfRunCost(matcher, tooFew, rxPointMatcherRunParams(0.9));
    EXPECT_EQ(cost.numLatticePoints, 0);
    EXPECT_EQ(cost.work, 0.0);
    EXPECT_GT(cost.gridSize, 0.0);
}

TEST(RunCost, OfAnExhaustiveRunIsTheNumberOfAssignments) {
    const Points model = {{0, 0}, {10, 0}, {3, 7}};
    const rxPointMatcher matcher = trainedOnPoints(model, Defs::eExhaustiveMode);
    // Of two pairs 3 times 2, of three 6; with a fourth data point 3 times 12 and 24.
    EXPECT_EQ(rfRunCost(matcher, model, {}).work, 3 * 6 + 6);
    Points data = model;
    data.emplace_back(20, 20);
    const rxRunCost cost = rfRunCost(matcher, data, {});
    EXPECT_EQ(cost.work, 3 * 12 + 24);
    EXPECT_FALSE(cost.isInterruptible);
    EXPECT_EQ(cost.numLatticePoints, 0);
}

TEST(RunCost, OfGridModeKnowsSparsePatternsOnly) {
    const rxPointMatcher dense = trainedOn(imageOf({"####", "####", "####"}));
    const Points dots = dotsOf({"####", "####", "####"}, gridOf({1, 0}, {0, 1}));
    EXPECT_FALSE(rfRunCost(dense, dots, {}).isInterruptible);
    EXPECT_EQ(rfRunCost(dense, dots, {}).work, 0.0);
    const rxPointMatcher sparse = trainedOn(imageOf({"#...#", ".....", "..#..", "#...."}));
    const Points few = dotsOf({"#...#", ".....", "..#..", "#...."}, gridOf({1, 0}, {0, 1}));
    EXPECT_TRUE(rfRunCost(sparse, few, {}).isInterruptible);
    EXPECT_GT(rfRunCost(sparse, few, {}).work, 0.0);
}

TEST(RunCost, RefusesWhatTheRunRefuses) {
    EXPECT_THROW(rfRunCost(rxPointMatcher(), tenPoints(), {}), Defs::NotTrained);
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    EXPECT_THROW(rfRunCost(matcher, {{NAN, 0}}, {}), Defs::BadParams);
    rxPointMatcherRunParams tooFine;
    tooFine.autoGridSize(false);
    tooFine.gridSize(1e-9);
    EXPECT_THROW(rfRunCost(matcher, tenPoints(), tooFine), Defs::BadParams);
}

}  // namespace
