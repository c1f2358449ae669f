#include "ptmatch/certainty.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "ptmatch/addition_world.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;

rxPointMatcherRunParams several(double minCoverage) {
    rxPointMatcherRunParams params(minCoverage);
    params.maxNumResults(10);
    return params;
}

TEST(Certainty, ResidualsAreTheDistancesOfThePairs) {
    Randoms random(3);
    const Points data = random.shaken(mapped(poseAt(50, 50, 5), tenPoints()), 0.2);
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxPointMatcherResultSet found = foundIn(data, matcher);
    const rxCertainty sure = rfCertainty(matcher, data, {}, found, 0);
    ASSERT_THAT(sure.residuals, SizeIs(10));
    double sum = 0.0;
    for (std::size_t k = 0; k < 10; ++k) {
        const rxVector<2> off = found.results()[0].modelToDataXform() * sure.pairs.model[k];
        EXPECT_EQ(sure.residuals[k], (off - sure.pairs.data[k]).len());
        sum += sure.residuals[k] * sure.residuals[k];
    }
    EXPECT_NEAR(std::sqrt(sum / 10.0), found.results()[0].fitError(), 1e-12);
}

TEST(Certainty, TheTruePositionLiesWithinTheStatedErrorAsOftenAsItShould) {
    // The distance from the true image, squared and over the mean of its square, is that of a sum
    // of two squares of normal numbers: the mean is 1, and 1 - 1 / e = 63 % are below 1.
    constexpr int kTrials = 400;
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxXform<2> pose = poseAt(50, 50, 5);
    const rxVector<2> hole(60, 10);
    rxCertaintySettings settings;
    settings.pointSigma = 0.1;
    Randoms random(17);
    double mean = 0.0;
    int numBelow = 0;
    for (int trial = 0; trial < kTrials; ++trial) {
        const Points data = random.shaken(mapped(pose, tenPoints()), settings.pointSigma);
        const rxPointMatcherResultSet found = foundIn(data, matcher);
        ASSERT_EQ(found.results().at(0).coverage(), 1.0);
        const rxCertainty sure = rfCertainty(matcher, data, {}, found, 0, settings);
        ASSERT_TRUE(sure.covariance.has_value());
        const rxXform<2>& x = found.results()[0].modelToDataXform();
        const double ratio =
            (x * hole - pose * hole).len() / sure.covariance->positionAt(hole).rms();
        mean += ratio * ratio / kTrials;
        numBelow += ratio < 1.0 ? 1 : 0;
    }
    EXPECT_NEAR(mean, 1.0, 4.0 / std::sqrt(kTrials));
    EXPECT_NEAR(numBelow / static_cast<double>(kTrials), 1.0 - std::exp(-1.0), 4.0 * 0.024);
}

// What clutter alone yields is rarely told to be no accident: at most as often as the probability.
TEST(Certainty, ClutterIsTakenForAMatchAsRarelyAsItSays) {
    constexpr int kScenes = 150;
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    rxPointMatcherRunParams params(0.3);
    params.scaleUncertainty(rxRange(-0.05, 0.05));
    int numBelowTenth = 0;
    int numBelowHundredth = 0;
    for (unsigned seed = 1; seed <= kScenes; ++seed) {
        const Points data = Randoms(seed).uniformPoints(60, 120.0);
        const rxPointMatcherResultSet found = foundIn(data, matcher, params);
        if (found.results().empty()) continue;
        const rxCertainty sure = rfCertainty(matcher, data, params, found, 0);
        for (const double chance :
             {sure.clutterProbability().value(), sure.closeClutterProbability().value()}) {
            numBelowTenth += chance < 0.1 ? 1 : 0;
            numBelowHundredth += chance < 0.01 ? 1 : 0;
        }
    }
    // The expected numbers, twice, and three standard deviations.
    EXPECT_LE(numBelowTenth, 2 * (15 + 11));
    EXPECT_LE(numBelowHundredth, 2 * (1 + 4));
}

TEST(Certainty, AMatchInClutterIsNoAccident) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        Randoms random(seed);
        Points data = random.shaken(mapped(poseAt(50, 50, 5), tenPoints()), 0.1);
        data += random.uniformPoints(40, 120.0);
        const rxPointMatcherResultSet found = foundIn(data, matcher);
        const rxCertainty sure = rfCertainty(matcher, data, {}, found, 0);
        EXPECT_LT(sure.log10CloseFalseAlarms.value(), -3.0);
        EXPECT_LT(sure.closeClutterProbability().value(), 1e-3);
    }
}

// The search looks at one translation; the fit after it moves on from there, and clutter would,
// too.
TEST(Certainty, AResultBesideTheTranslationsCountsWithThem) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(0.6, 0), tenPoints());
    data += Randoms(4).uniformPoints(40, 60.0);
    rxPointMatcherRunParams params;
    params.xTranslationUncertainty(rxRange(0, 0));
    params.yTranslationUncertainty(rxRange(0, 0));
    const rxPointMatcherResultSet found = foundIn(data, matcher, params);
    ASSERT_EQ(found.results().at(0).coverage(), 1.0);
    const double beside = rfCertainty(matcher, data, params, found, 0).log10FalseAlarms.value();
    rxPointMatcherRunParams wider(params);
    wider.xTranslationUncertainty(rxRange(0, 0.6));
    EXPECT_NEAR(beside, rfCertainty(matcher, data, wider, found, 0).log10FalseAlarms.value(), 1e-9);
    wider.xTranslationUncertainty(rxRange(-0.6, 0.6));
    EXPECT_LT(beside, rfCertainty(matcher, data, wider, found, 0).log10FalseAlarms.value());
}

TEST(Certainty, ChanceIsTheSameInAWorldTurnedByAQuarter) {
    Points data = Randoms(5).uniformPoints(40, 100.0);
    for (rxVector<2>& p : data) p = {3.0 * p.x(), p.y()};
    data += mapped(poseAt(120, 40), tenPoints());
    const rxXform<2> quarter(rxMatrix<2>(0, -1, 1, 0), rxVector<2>());
    std::vector<double> chances;
    for (const rxXform<2>& turn : {rxXform<2>(), quarter}) {
        const rxPointMatcher matcher = trainedOnPoints(mapped(turn, tenPoints()));
        const Points turned = mapped(turn, data);
        const rxPointMatcherResultSet found = foundIn(turned, matcher);
        ASSERT_EQ(found.results().at(0).coverage(), 1.0);
        chances.push_back(rfCertainty(matcher, turned, {}, found, 0).log10FalseAlarms.value());
    }
    EXPECT_NEAR(chances[0], chances[1], 1e-6);
}

TEST(Certainty, TheMarginIsThatToTheNextDifferentPose) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(10, 10), tenPoints());
    Points second = mapped(poseAt(90, 10, 4), tenPoints());
    second.resize(8);
    data += second;
    const rxPointMatcherRunParams params = several(0.5);
    const rxPointMatcherResultSet found = foundIn(data, matcher, params);
    const rxCertainty sure = rfCertainty(matcher, data, params, found, 0);
    ASSERT_TRUE(sure.nextPose.has_value());
    EXPECT_NEAR(sure.nextPose->coverageMargin, 0.2, 1e-12);
    EXPECT_NEAR(sure.nextPose->poseDistance, 80.0, 2.0);
    // The other way round it is negative.
    const rxCertainty other = rfCertainty(matcher, data, params, found, sure.nextPose->index);
    EXPECT_EQ(other.nextPose->index, 0U);
    EXPECT_NEAR(other.nextPose->coverageMargin, -0.2, 1e-12);
    // Nothing is as far away as that.
    rxCertaintySettings settings;
    settings.minPoseDistance = 1000.0;
    EXPECT_FALSE(rfCertainty(matcher, data, params, found, 0, settings).nextPose.has_value());
}

TEST(Certainty, TheDistanceOfPosesIsInUnitsOfTheDataHoweverSmallItIs) {
    const rxXform<2> small = poseAt(0, 0, 0, 0.01);
    const rxPointMatcher matcher = trainedOnPoints(mapped(small, tenPoints()));
    Points data = mapped(small * poseAt(10, 10), tenPoints());
    data += mapped(small * poseAt(90, 10), tenPoints());
    const rxPointMatcherRunParams params = several(0.5);
    const rxPointMatcherResultSet found = foundIn(data, matcher, params);
    rxCertaintySettings settings;
    settings.minPoseDistance = 0.7;
    const rxCertainty within = rfCertainty(matcher, data, params, found, 0, settings);
    ASSERT_TRUE(within.nextPose.has_value());
    EXPECT_NEAR(within.nextPose->poseDistance, 0.8, 1e-9);
    settings.minPoseDistance = 0.9;
    EXPECT_FALSE(rfCertainty(matcher, data, params, found, 0, settings).nextPose.has_value());
}

TEST(Certainty, APatternThatLooksTheSameAfterATurnIsAmbiguous) {
    const Points square = {{0, 0}, {20, 0}, {20, 20}, {0, 20}};
    const rxPointMatcher matcher = trainedOnPoints(square);
    rxPointMatcherRunParams params = several(0.9);
    params.rotationUncertainty(rxAngleRange::FullRange());
    const rxPointMatcherResultSet found = foundIn(square, matcher, params);
    const rxCertainty sure = rfCertainty(matcher, square, params, found, 0);
    ASSERT_TRUE(sure.nextPose.has_value());
    EXPECT_EQ(sure.nextPose->coverageMargin, 0.0);
}

TEST(Certainty, InGridModeTellsAllButChance) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxPointMatcher matcher = trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25})));
    rxPointMatcherRunParams params = several(0.5);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    Randoms random(5);
    const Points dots = random.shaken(dotsOf(plate, gridOf({25, 0}, {0, 25}, {300, 200})), 0.1);
    const rxPointMatcherResultSet found = foundIn(dots, matcher, params);
    const rxCertainty sure = rfCertainty(matcher, dots, params, found, 0);
    EXPECT_THAT(sure.residuals, SizeIs(dots.size()));
    ASSERT_TRUE(sure.covariance.has_value());
    EXPECT_NEAR(sure.covariance->sigma, 0.1, 0.05);
    ASSERT_TRUE(sure.nextPose.has_value());
    EXPECT_GT(sure.nextPose->coverageMargin, 0.0);
    EXPECT_FALSE(sure.log10FalseAlarms.has_value());
    EXPECT_FALSE(sure.clutterProbability().has_value());
}

TEST(Certainty, OfAnExhaustiveRunWithoutScaleIsThatOfARigidFit) {
    const Points model = {{0, 0}, {10, 0}, {3, 7}, {12, 9}};
    const rxPointMatcher matcher = trainedOnPoints(model, Defs::eExhaustiveMode);
    rxPointMatcherRunParams params;
    const Points data = Randoms(9).shaken(mapped(poseAt(20, 30, 4), model), 0.05);
    EXPECT_EQ(rfCertainty(matcher, data, params, foundIn(data, matcher, params), 0)
                  .covariance.value()
                  .scaleSigma,
              0.0);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    EXPECT_GT(rfCertainty(matcher, data, params, foundIn(data, matcher, params), 0)
                  .covariance.value()
                  .scaleSigma,
              0.0);
}

TEST(Certainty, RefusesWhatIsNotThere) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxPointMatcherResultSet found = foundIn(tenPoints(), matcher);
    EXPECT_THROW(rfCertainty(matcher, tenPoints(), {}, found, 1), std::out_of_range);
    EXPECT_THROW(rfCertainty(rxPointMatcher(), tenPoints(), {}, found, 0), Defs::NotTrained);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const rxCertaintySettings& bad :
         {rxCertaintySettings{-1, 0, 0}, rxCertaintySettings{0, nan, 0},
          rxCertaintySettings{0, 0, -1}}) {
        EXPECT_THROW(rfCertainty(matcher, tenPoints(), {}, found, 0, bad), Defs::BadParams);
    }
}

}  // namespace
