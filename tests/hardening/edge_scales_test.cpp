#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "foundation/fitter.h"
#include "hardening/edge_world.h"
#include "ptmatch/certainty.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"

// The unit of length is the caller's: a scene in other units has the results in other units, from
// 1e-150 to 1e150 to the last bit where the units are a power of two apart. Beyond, runs say so.
namespace ptmatch::testing {

namespace {

// The patterns are 39 to 150 units large: 2^491 units are below 1e150, 2^-502 above 1e-150.
const std::vector<int>& exponentsWithin() {
    static const std::vector<int> exponents = {-502, -501, -400, -271, -140, -53, -24, -1, 0,
                                               1,    7,    31,   52,   127,  300, 490, 491};
    return exponents;
}

const std::vector<double>& unitsBeyond() {
    static const std::vector<double> units = {1e-300, 1e-200, 1e-162, 1e-154, 1e-153,
                                              1e150,  1e153,  1e160,  1e200,  1e300};
    return units;
}

constexpr const char* kTooFarApart =
    "the points to search for must be between 1e-150 and 1e150 apart: the larger side of their "
    "bounds";

TEST(EdgeScales, PowersOfTwoScaleTheResultsOfPointsExactly) {
    for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
        SCOPED_TRACE(scene.name);
        const auto base = foundIn(scene.data, scene.matcher(), scene.params);
        ASSERT_FALSE(base.results().empty());
        ASSERT_EQ(base.results().front().coverage(), 1.0);
        for (const int exponent : exponentsWithin()) {
            SCOPED_TRACE(::testing::Message() << "2^" << exponent);
            const double unit = std::ldexp(1.0, exponent);
            const auto matcher = trainedOnPoints(scaledBy(unit, scene.model), scene.mode);
            expectScaledResults(foundIn(scaledBy(unit, scene.data), matcher, scene.params), base,
                                {1.0, unit, unit});
        }
    }
}

TEST(EdgeScales, PowersOfTwoScaleTheResultsOfPlatesExactly) {
    for (const EdgePlate& plate : {densePlate(), sparsePlate()}) {
        SCOPED_TRACE(plate.name);
        const bool isSparse = plate.name == "sparse";
        const auto base = foundIn(plate.data(), plate.matcher(), EdgePlate::params());
        ASSERT_EQ(base.results().size(), 1U);
        ASSERT_EQ(base.results().front().coverage(), 1.0);
        for (const int exponent : exponentsWithin()) {
            SCOPED_TRACE(::testing::Message() << "2^" << exponent);
            const double unit = std::ldexp(1.0, exponent);
            const auto found =
                foundIn(scaledBy(unit, plate.data()), plate.matcher(unit), EdgePlate::params());
            // From model coordinates of a dense plate, from positions of a sparse one. The error of
            // a dense one is no distance under a transform other than the identity: it has no
            // factor.
            const auto factors =
                isSparse ? UnitFactors{unit, unit, unit} : UnitFactors{1.0, unit, std::nullopt};
            expectScaledResults(found, base, factors);
            ASSERT_EQ(found.results().size(), 1U);
            EXPECT_TRUE(std::isfinite(found.results()[0].fitError()));
        }
    }
}

TEST(EdgeScales, PowersOfTenFindTheSamePoints) {
    for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
        SCOPED_TRACE(scene.name);
        const auto base = foundIn(scene.data, scene.matcher(), scene.params);
        const rxXform<2> pose = base.results().front().modelToDataXform();
        for (const double unit : {1e-150, 1e-75, 1e-9, 1e-3, 10.0, 1e6, 1e80, 1e148}) {
            SCOPED_TRACE(unit);
            const auto matcher = trainedOnPoints(scaledBy(unit, scene.model), scene.mode);
            const auto found = foundIn(scaledBy(unit, scene.data), matcher, scene.params);
            ASSERT_FALSE(found.results().empty());
            const auto& best = found.results().front();
            EXPECT_EQ(best.coverage(), 1.0);
            EXPECT_EQ(best.modelToDataMap(), base.results().front().modelToDataMap());
            EXPECT_NEAR(best.fitError() / unit, base.results().front().fitError(), 1e-12);
            const std::vector<double> expected = numbersOf(pose);
            const std::vector<double> actual = numbersOf(best.modelToDataXform(), 1.0, 1.0 / unit);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                EXPECT_NEAR(actual[i], expected[i], 1e-12 * (1.0 + std::abs(expected[i])));
            }
        }
    }
}

TEST(EdgeScales, NearTheEndsRunsAreStillThoseOfThePlainReference) {
    for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
        for (const double unit : {2e-151, 7e-150, 3e-99, 3e99, 1e147, 2e148}) {
            SCOPED_TRACE(::testing::Message() << scene.name << " in units of " << unit);
            const auto matcher = trainedOnPoints(scaledBy(unit, scene.model), scene.mode);
            rxPointMatcherResultSet found;
            expectAsReference(matcher, {}, scaledBy(unit, scene.data), scene.params, found);
            EXPECT_FALSE(found.results().empty());
        }
    }
}

// Taken for points in one place, or infinitely far ones, they would not be found, without a word.
// The exhaustive search passes over assignments that cannot be fitted, these as well.
TEST(EdgeScales, PointsWhoseSquaresLeaveTheRangeAreFoundRightOrRefused) {
    for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
        const auto base = foundIn(scene.data, scene.matcher(), scene.params);
        const bool isExhaustive = scene.mode == rxPointMatcherDefs::eExhaustiveMode;
        const std::string refusal = isExhaustive ? "" : kTooFarApart;
        for (const double unit : unitsBeyond()) {
            SCOPED_TRACE(::testing::Message() << scene.name << " in units of " << unit);
            const auto matcher = trainedOnPoints(scaledBy(unit, scene.model), scene.mode);
            rxPointMatcherResultSet found = base;
            const Points data = scaledBy(unit, scene.data);
            const std::string said = saidBy([&] { matcher.run(data, scene.params, found); });
            const bool isFarBeyond = unit < 1e-160 || unit > 1e155;
            if (isFarBeyond || !said.empty()) {
                EXPECT_EQ(said, refusal);
                EXPECT_TRUE(found.results().empty());
                EXPECT_EQ(saidBy([&] { rfRunWatched(matcher, data, scene.params, found, {}); }),
                          refusal);
            } else if (!isExhaustive || !found.results().empty()) {
                ASSERT_FALSE(found.results().empty());
                EXPECT_EQ(found.results().front().modelToDataMap(),
                          base.results().front().modelToDataMap());
            }
        }
    }
}

TEST(EdgeScales, WithTooFewDataToHoldItNoPatternIsRefused) {
    for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
        for (const double unit : {1e-200, 1e200}) {
            SCOPED_TRACE(::testing::Message() << scene.name << " in units of " << unit);
            const auto matcher = trainedOnPoints(scaledBy(unit, scene.model), scene.mode);
            EXPECT_TRUE(foundIn({}, matcher, scene.params).results().empty());
        }
    }
}

// A transform whose determinant leaves the range counts as singular and finds nothing.
TEST(EdgeScales, PlatesWhoseStepsSquaredLeaveTheRangeAreRefusedOrNotFound) {
    for (const double unit : unitsBeyond()) {
        SCOPED_TRACE(unit);
        rxPointMatcherResultSet found;
        const auto run = [&](const EdgePlate& plate) {
            const rxPointMatcher matcher = plate.matcher(unit);
            const Points data = scaledBy(unit, plate.data());
            return saidBy([&] { matcher.run(data, EdgePlate::params(), found); });
        };
        const bool isJustBeyond = unit == 1e-153 || unit == 1e150;
        const std::string dense = run(densePlate());
        EXPECT_TRUE(found.results().empty());
        if (isJustBeyond || !dense.empty()) {
            EXPECT_EQ(dense, "grid mapping: xv must be null or between 1e-150 and 1e150 long");
        }
        // Found as points: so long as their squares are numbers.
        const std::string sparse = run(sparsePlate());
        if (!sparse.empty()) {
            EXPECT_EQ(sparse, kTooFarApart);
        }
        if (isJustBeyond) {
            ASSERT_EQ(sparse, "");
            ASSERT_FALSE(found.results().empty());
            EXPECT_EQ(found.results().front().coverage(), 1.0);
        }
        if (unit < 1e-160 || unit > 1e155) {
            EXPECT_TRUE(found.results().empty());
        }
    }
}

TEST(EdgeScales, StartPoseCarriesThePatternThroughAllScales) {
    for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
        SCOPED_TRACE(scene.name);
        const rxPointMatcher matcher = scene.matcher();
        scene.params.autoCaptureRange(false);
        scene.params.captureRange(3.0);
        const auto base = foundIn(scene.data, matcher, scene.params);
        ASSERT_FALSE(base.results().empty());
        scene.params.scaleUncertainty(rxRange(-0.1, 0.1));
        for (const int exponent : exponentsWithin()) {
            SCOPED_TRACE(::testing::Message() << "2^" << exponent);
            const double unit = std::ldexp(1.0, exponent);
            auto params = scene.params;
            params.startPose(scalingBy(unit));
            params.captureRange(3.0 * unit);
            expectScaledResults(foundIn(scaledBy(unit, scene.data), matcher, params), base,
                                {unit, unit, unit});
        }
        for (const double unit : {1e-158, 1e153}) {
            SCOPED_TRACE(unit);
            auto params = scene.params;
            params.startPose(scalingBy(unit));
            rxPointMatcherResultSet found;
            const Points data = scaledBy(unit, scene.data);
            const bool isExhaustive = scene.mode == rxPointMatcherDefs::eExhaustiveMode;
            EXPECT_EQ(saidBy([&] { matcher.run(data, params, found); }),
                      isExhaustive ? ""
                                   : "startPose must take the points to search for to between "
                                     "1e-150 and 1e150 apart");
            EXPECT_TRUE(found.results().empty());
        }
    }
}

TEST(EdgeScales, OneFarDataPointIsRefusedWhereItNeedsAnImageAndElsewhereIgnored) {
    for (const double far : {1e12, 1e149, 1e151, 1e200, 1e300, -1e308}) {
        SCOPED_TRACE(far);
        EdgeScene voted = votedScene();
        voted.data.emplace_back(far, 3.0);
        EXPECT_EQ(saidBy([&] { foundIn(voted.data, voted.matcher(), voted.params); }),
                  "gridSize is too small for the extent of the data: the search image would not "
                  "fit in memory");
        EdgeScene exhaustive = exhaustiveScene();
        const auto base = foundIn(exhaustive.data, exhaustive.matcher(), exhaustive.params);
        exhaustive.data.emplace_back(far, 3.0);
        rxPointMatcherResultSet found;
        expectAsReference(exhaustive.matcher(), {}, exhaustive.data, exhaustive.params, found);
        expectScaledResults(found, base, {});
    }
}

TEST(EdgeScales, DenormalDisplacementsAndSignsOfZeroChangeNothing) {
    constexpr double kDenormal = ptmatch::testing::kDenormal;
    for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
        SCOPED_TRACE(scene.name);
        // Coordinates of 0 in both sets, to be given another sign or a denormal.
        const auto withOrigin = [&](double zero) {
            EdgeScene changed = scene;
            changed.data.back() = rxVector<2>(zero, zero);
            for (rxVector<2>& p : changed.model) {
                if (p.x() == 0.0) p.x(zero);
                if (p.y() == 0.0) p.y(zero);
            }
            return foundIn(changed.data, changed.matcher(), changed.params);
        };
        const auto base = withOrigin(0.0);
        ASSERT_FALSE(base.results().empty());
        for (const double zero : {-0.0, kDenormal, -kDenormal, 1e-310, -1e-300}) {
            SCOPED_TRACE(zero);
            expectScaledResults(withOrigin(zero), base, {});
        }
    }
}

TEST(EdgeScales, GridMapOfAnyUnitHasTheSamePositions) {
    const Points points = densePlate().data();
    rxPtToGridMapResult base;
    ASSERT_EQ(rfPtToGridMap(points, rxPtToGridMapRunParams({25, 0}, {0, 25}), base), 24);
    for (const int exponent : exponentsWithin()) {
        SCOPED_TRACE(::testing::Message() << "2^" << exponent);
        const double unit = std::ldexp(1.0, exponent);
        rxPtToGridMapResult result;
        rfPtToGridMap(scaledBy(unit, points),
                      rxPtToGridMapRunParams({25 * unit, 0}, {0, 25 * unit}), result);
        EXPECT_EQ(result.map(), base.map());
        EXPECT_TRUE(
            sameNumbers(numbersOf(result.grid2point()), numbersOf(base.grid2point(), unit, unit)));
    }
    for (const double unit : unitsBeyond()) {
        rxPtToGridMapResult result;
        EXPECT_EQ(saidBy([&] {
                      rfPtToGridMap(scaledBy(unit, points),
                                    rxPtToGridMapRunParams({25 * unit, 0}, {0, 25 * unit}), result);
                  }),
                  "grid mapping: xv must be null or between 1e-150 and 1e150 long")
            << unit;
        EXPECT_TRUE(result.map().empty());
    }
}

TEST(EdgeScales, FitsOfAnyUnitAreTheSameOrRefused) {
    const EdgeScene scene = votedScene();
    const std::size_t numPairs = scene.model.size();
    const auto fitted = [&](int dof, double unit) {
        rxLSPointToPointFitter fitter;
        for (std::size_t i = 0; i < numPairs; ++i) {
            fitter.update(scaledBy(unit, scene.data)[i], scaledBy(unit, scene.model)[i]);
        }
        return fitter.fit(dof);
    };
    for (const int dof : {3, 4, 5, 6}) {
        SCOPED_TRACE(dof);
        const rxXform<2> base = fitted(dof, 1.0);
        for (const int exponent : exponentsWithin()) {
            const double unit = std::ldexp(1.0, exponent);
            EXPECT_TRUE(sameNumbers(numbersOf(fitted(dof, unit)), numbersOf(base, 1.0, unit)))
                << "2^" << exponent;
        }
        for (const double unit : {1e-300, 1e-200, 1e-160, 1e155, 1e200, 1e300}) {
            EXPECT_THROW(fitted(dof, unit), rxLSPointToPointFitter::Errors) << unit;
        }
    }
}

TEST(EdgeScales, WhatIsSaidOfAResultScalesWithIt) {
    const EdgeScene scene = votedScene();
    const rxPointMatcher matcher = scene.matcher();
    const auto found = foundIn(scene.data, matcher, scene.params);
    const rxCertainty base = rfCertainty(matcher, scene.data, scene.params, found, 0);
    ASSERT_TRUE(base.covariance && base.log10FalseAlarms && base.log10CloseFalseAlarms);
    const auto places = rfDistinctInstances(matcher, found);
    const rxRefit refit = rfRefit(matcher, scene.data, found.results()[0], rxRefitDefs::eAffine);
    const rxRunCost cost = rfRunCost(matcher, scene.data, scene.params);
    const auto votePlace = rfBestVotePlace(matcher, scene.data, scene.params);
    ASSERT_TRUE(votePlace);
    for (const int exponent : exponentsWithin()) {
        SCOPED_TRACE(::testing::Message() << "2^" << exponent);
        const double unit = std::ldexp(1.0, exponent);
        const Points data = scaledBy(unit, scene.data);
        const auto scaledMatcher = trainedOnPoints(scaledBy(unit, scene.model));
        const auto scaledFound = foundIn(data, scaledMatcher, scene.params);
        ASSERT_EQ(scaledFound.results().size(), found.results().size());

        const rxCertainty sure = rfCertainty(scaledMatcher, data, scene.params, scaledFound, 0);
        std::vector<double> residuals = base.residuals;
        for (double& residual : residuals) residual *= unit;
        EXPECT_TRUE(sameNumbers(sure.residuals, residuals));
        ASSERT_TRUE(sure.covariance && sure.log10FalseAlarms && sure.log10CloseFalseAlarms);
        EXPECT_EQ(sure.covariance->sigma, unit * base.covariance->sigma);
        EXPECT_EQ(sure.covariance->centreVariance, unit * unit * base.covariance->centreVariance);
        EXPECT_EQ(sure.covariance->rotationSigma, base.covariance->rotationSigma);
        EXPECT_NEAR(*sure.log10FalseAlarms, *base.log10FalseAlarms, 1e-9);
        EXPECT_NEAR(*sure.log10CloseFalseAlarms, *base.log10CloseFalseAlarms, 1e-9);

        EXPECT_EQ(rfDistinctInstances(scaledMatcher, scaledFound), places);
        const rxRefit again =
            rfRefit(scaledMatcher, data, scaledFound.results()[0], rxRefitDefs::eAffine);
        EXPECT_TRUE(sameNumbers(numbersOf(again.dataFromModelXform()),
                                numbersOf(refit.dataFromModelXform(), 1.0, unit)));
        EXPECT_EQ(again.residual.rms, unit * refit.residual.rms);
        const rxRunCost scaledCost = rfRunCost(scaledMatcher, data, scene.params);
        EXPECT_EQ(scaledCost.work, cost.work);
        EXPECT_EQ(scaledCost.gridSize, unit * cost.gridSize);
    }
    for (const int exponent : {-502, 491}) {
        const double unit = std::ldexp(1.0, exponent);
        const Points data = scaledBy(unit, scene.data);
        const auto scaledMatcher = trainedOnPoints(scaledBy(unit, scene.model));
        const auto place = rfBestVotePlace(scaledMatcher, data, scene.params);
        ASSERT_TRUE(place);
        EXPECT_EQ(place->scale, votePlace->scale);
        EXPECT_EQ(place->rotationDegrees, votePlace->rotationDegrees);
        EXPECT_EQ(rfVoteImage(scaledMatcher, data, scene.params, *place).votes,
                  rfVoteImage(matcher, scene.data, scene.params, *place).votes);
        EXPECT_EQ(rfWhyNot(scaledMatcher, data, scene.params).reason, rxWhyNotDefs::eFound);
    }
}

}  // namespace

}  // namespace ptmatch::testing
