#include "ptmatch/why_not.h"

#include <gtest/gtest.h>

#include "ptmatch/addition_world.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using Defs = rxPointMatcherDefs;
using Why = rxWhyNotDefs;

TEST(WhyNot, SaysNothingOfAMatchButItsSizes) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxWhyNot why = rfWhyNot(matcher, tenPoints(), {});
    EXPECT_EQ(why.reason, Why::eFound);
    EXPECT_EQ(why.numReturned, 1);
    EXPECT_EQ(why.bestCoverage, 1.0);
    EXPECT_FALSE(why.isWidened);
    EXPECT_GT(why.cost.gridSize, 0.0);
    EXPECT_GT(why.cost.numLatticePoints, 0);
}

// On scenes with and without a match, the tally of the run's own search is that of the run.
TEST(WhyNot, ReturnsAsManyAsTheRun) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    int numEmpty = 0;
    for (unsigned seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(seed);
        Randoms random(seed);
        rxPointMatcherRunParams params(random.uniform(0.4, 0.9));
        params.maxNumResults(1 + static_cast<long>(random.uniform(0, 5)));
        Points data = random.uniformPoints(30, 100);
        if (seed % 2 == 0) {
            Points match = mapped(poseAt(20, 30, random.uniform(-20, 20)), tenPoints());
            match.resize(5 + seed % 5);
            data += match;
        }
        const rxPointMatcherResultSet found = foundIn(data, matcher, params);
        const rxWhyNot why = rfWhyNot(matcher, data, params);
        EXPECT_EQ(why.numReturned, static_cast<long>(found.results().size()));
        EXPECT_EQ(why.reason == Why::eFound, !found.results().empty());
        if (found.results().empty()) {
            ++numEmpty;
            EXPECT_TRUE(why.isWidened);
        } else {
            EXPECT_GE(why.bestCoverage, found.results()[0].coverage());
        }
    }
    EXPECT_GT(numEmpty, 5);
    EXPECT_LT(numEmpty, 55);
}

// Where weights below zero take from a candidate all that the others give, it is one all the same.
TEST(WhyNot, ReturnsAsManyAsTheRunWithThoseThatCountForNothing) {
    int numWorthless = 0;
    for (unsigned seed = 1; seed <= 150; ++seed) {
        SCOPED_TRACE(seed);
        Randoms random(seed);
        const Points model = random.uniformPoints(7, 30);
        std::vector<long> weights = {1, 1};
        while (weights.size() < model.size()) {
            weights.push_back(static_cast<long>(random.uniform(-4, 5)));
        }
        Points data = random.uniformPoints(3, 30);
        for (const rxVector<2>& p : model) {
            if (random.uniform(0, 1) < 0.6) data.push_back(p);
        }
        rxPointMatcher matcher;
        matcher.train(model, weights, rxPointMatcherDefs::eAutoDetect);
        rxPointMatcherRunParams params(0.0);
        params.rotationUncertainty(rxAngleRange(rxDegree(-3), rxDegree(3)));
        params.maxNumResults(100);
        const rxPointMatcherResultSet found = foundIn(data, matcher, params);
        for (const rxPointMatcherResult& result : found.results()) {
            if (result.coverage() == 0.0) ++numWorthless;
        }
        EXPECT_EQ(rfWhyNot(matcher, data, params).numReturned,
                  static_cast<long>(found.results().size()));
    }
    EXPECT_GT(numWorthless, 3);
}

TEST(WhyNot, TheCoverageIsTooLow) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(100, 50, 5), tenPoints());
    data.resize(6);
    data += mapped(poseAt(400, 400), {{0, 0}, {11, 0}, {0, 23}, {57, 31}});
    const rxWhyNot why = rfWhyNot(matcher, data, rxPointMatcherRunParams(0.8));
    EXPECT_EQ(why.reason, Why::eCoverage);
    EXPECT_NEAR(why.bestCoverage, 0.6, 1e-12);
    EXPECT_EQ(why.numReturned, 0);
    EXPECT_GE(why.numBelowCoverage, 1);
    ASSERT_TRUE(why.nearestMiss.has_value());
    EXPECT_TRUE(why.nearestMiss->isBelowCoverage);
    EXPECT_FALSE(why.nearestMiss->isOutsideRotation);
    EXPECT_LT((why.nearestMiss->modelToDataXform * rxVector<2>() - rxVector<2>(100, 50)).len(),
              0.5);
}

TEST(WhyNot, EvenWhatTheSearchNeverKeptIsFoundWithoutMinimumCoverage) {
    // 4 of 10, less than half of the minimum: the run has no candidate at all there.
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(100, 50, 5), tenPoints());
    data.resize(4);
    for (int i = 0; i < 6; ++i) data.emplace_back(500 + 60 * i, 900 - 17 * i * i);
    const rxWhyNot why = rfWhyNot(matcher, data, rxPointMatcherRunParams(1.0));
    EXPECT_EQ(why.reason, Why::eCoverage);
    EXPECT_TRUE(why.isWidened);
    EXPECT_NEAR(why.bestCoverage, 0.4, 1e-12);
}

TEST(WhyNot, AWiderSearchKeepsMoreThanTheOneResultThatIsWanted) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(100, 50, 5), tenPoints());
    data.resize(5);
    Points second = mapped(poseAt(500, 300), tenPoints());
    second.resize(4);
    data += second;
    data.emplace_back(900, 900);
    const rxPointMatcherRunParams params(1.0);
    ASSERT_EQ(params.maxNumResults(), 1);
    const rxWhyNot why = rfWhyNot(matcher, data, params);
    ASSERT_TRUE(why.isWidened);
    EXPECT_GE(why.numCandidates, 16);
}

TEST(WhyNot, TheRotationIsOutside) {
    // The lattice reaches beyond the range by less than a step: the match is found, and dropped.
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    rxPointMatcherRunParams params(0.9);
    params.rotationUncertainty(rxAngleRange(rxDegree(-15), rxDegree(4.5)));
    const rxWhyNot why = rfWhyNot(matcher, mapped(poseAt(100, 50, 5), tenPoints()), params);
    EXPECT_EQ(why.reason, Why::ePose);
    ASSERT_TRUE(why.nearestMiss.has_value());
    EXPECT_TRUE(why.nearestMiss->isOutsideRotation);
    EXPECT_FALSE(why.nearestMiss->isBelowCoverage);
    EXPECT_EQ(why.nearestMiss->coverage, 1.0);
    EXPECT_GE(why.numOutsideRotation, 1);
}

TEST(WhyNot, MoreAreAllowedThanWanted) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(10, 10), tenPoints());
    data += mapped(poseAt(90, 10), tenPoints());
    const rxWhyNot why = rfWhyNot(matcher, data, rxPointMatcherRunParams(0.9));
    EXPECT_EQ(why.reason, Why::eFound);
    EXPECT_EQ(why.numReturned, 1);
    EXPECT_EQ(why.numBeyondCount, 1);
    EXPECT_TRUE(why.nearestMiss.value().isBeyondCount);
}

TEST(WhyNot, TooFewDataAndNoneAtAll) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const Points five(tenPoints().begin(), tenPoints().begin() + 5);
    const rxWhyNot few = rfWhyNot(matcher, five, rxPointMatcherRunParams(0.9));
    EXPECT_EQ(few.reason, Why::eTooFewData);
    EXPECT_EQ(few.bestCoverage, 0.5);
    EXPECT_EQ(rfWhyNot(matcher, {}, rxPointMatcherRunParams(0.9)).reason, Why::eTooFewData);
    EXPECT_EQ(rfWhyNot(matcher, {}, rxPointMatcherRunParams(0.0)).reason, Why::eNothingToSearch);
    rxPointMatcherRunParams away;
    away.xTranslationUncertainty(rxRange(5000, 5001));
    EXPECT_EQ(rfWhyNot(matcher, tenPoints(), away).reason, Why::eNothingToSearch);
}

TEST(WhyNot, OfAnExhaustiveRunNamesTheLimit) {
    const Points model = {{0, 0}, {10, 0}, {3, 7}, {12, 9}};
    const rxPointMatcher matcher = trainedOnPoints(model, Defs::eExhaustiveMode);
    rxPointMatcherRunParams params;
    params.autoCaptureRange(false);
    params.captureRange(0.01);
    EXPECT_EQ(rfWhyNot(matcher, mapped(poseAt(5, 5, 3), model), params).reason, Why::eFound);

    const rxWhyNot turned = rfWhyNot(matcher, mapped(poseAt(100, 50, 40), model), params);
    EXPECT_EQ(turned.reason, Why::ePose);
    EXPECT_GE(turned.numCandidates, 24);  // all four points in any order, and fewer points
    EXPECT_EQ(turned.bestCoverage, 1.0);
    EXPECT_TRUE(turned.nearestMiss.value().isOutsideRotation);
    EXPECT_FALSE(turned.nearestMiss->isOutsideScale);
    EXPECT_EQ(turned.nearestMiss->coverage, 1.0);
    EXPECT_GE(turned.numOutsideRotation, 1);

    params.xTranslationUncertainty(rxRange(-1, 1));
    const rxWhyNot moved = rfWhyNot(matcher, mapped(poseAt(5, 0), model), params);
    EXPECT_TRUE(moved.nearestMiss.value().isOutsideTranslation);
    EXPECT_GE(moved.numOutsideTranslation, 1);

    rxPointMatcherRunParams scaled;
    scaled.scaleUncertainty(rxRange(-0.1, 0.1));
    const rxWhyNot grown = rfWhyNot(matcher, mapped(poseAt(0, 0, 0, 1.5), model), scaled);
    EXPECT_TRUE(grown.nearestMiss.value().isOutsideScale);
    EXPECT_EQ(rfWhyNot(matcher, {}, scaled).reason, Why::eNothingToSearch);
}

TEST(WhyNot, OfGridModeTellsTheCoverageOrThatThereIsNoGrid) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxPointMatcher matcher = trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25})));
    rxPointMatcherRunParams params(0.9);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    Points dots = dotsOf(plate, gridOf({25, 0}, {0, 25}, {100, 100}));
    EXPECT_EQ(rfWhyNot(matcher, dots, params).reason, Why::eFound);
    dots.resize(12);
    const rxWhyNot half = rfWhyNot(matcher, dots, params);
    EXPECT_EQ(half.reason, Why::eCoverage);
    EXPECT_NEAR(half.bestCoverage, 0.5, 0.01);
    EXPECT_EQ(half.numReturned, 0);
    EXPECT_GT(half.numCandidates, params.maxNumResults());
    const Points scattered = {{0, 0}, {400, 31}, {90, 777}};
    EXPECT_EQ(rfWhyNot(matcher, scattered, params).reason, Why::eNoCandidate);
    EXPECT_EQ(rfWhyNot(matcher, {}, params).reason, Why::eNothingToSearch);
}

// A run drops a placement where the first points are missing, as many as may be, although the
// others make up for it: what has the coverage is then missed, not below it.
TEST(WhyNot, OfGridModeTellsAPlacementThatTheRunPassesOver) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxPointMatcher matcher = trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25})));
    rxPointMatcherRunParams params(0.75);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    Points dots = dotsOf(plate, gridOf({25, 0}, {0, 25}, {100, 100}));
    dots.erase(dots.begin(), dots.begin() + 6);  // the first row: 18 of 24 are left
    ASSERT_TRUE(foundIn(dots, matcher, params).results().empty());
    const rxWhyNot why = rfWhyNot(matcher, dots, params);
    EXPECT_EQ(why.reason, Why::eMissed);
    EXPECT_EQ(why.bestCoverage, 0.75);
    EXPECT_EQ(why.numReturned, 0);
    EXPECT_EQ(why.numBeyondCount, 0);
    EXPECT_EQ(why.nearestMiss.value().coverage, 0.75);
    EXPECT_FALSE(why.nearestMiss->isBelowCoverage);
    EXPECT_FALSE(why.nearestMiss->isBeyondCount);
}

TEST(WhyNot, OfASparsePatternIsThatOfItsPoints) {
    const Picture sparse = {"#...#", ".....", "..#..", "#...."};
    const rxPointMatcher matcher = trainedOn(imageOf(sparse, gridOf({25, 0}, {0, 25})));
    Points dots = dotsOf(sparse, gridOf({25, 0}, {0, 25}, {300, 200}));
    EXPECT_EQ(rfWhyNot(matcher, dots, rxPointMatcherRunParams(0.9)).reason, Why::eFound);
    dots.back() = {900, 900};
    const rxWhyNot why = rfWhyNot(matcher, dots, rxPointMatcherRunParams(0.9));
    EXPECT_EQ(why.reason, Why::eCoverage);
    EXPECT_EQ(why.bestCoverage, 0.75);
}

TEST(WhyNot, RefusesWhatTheRunRefuses) {
    EXPECT_THROW(rfWhyNot(rxPointMatcher(), tenPoints(), {}), Defs::NotTrained);
}

}  // namespace
