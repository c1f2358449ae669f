#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

#include "foundation/fitter.h"
#include "foundation/geometry_archive.h"
#include "hardening/edge_world.h"
#include "ptmatch/certainty.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/pose_covariance.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

namespace ptmatch::testing {

namespace {

rxAngleRange degrees(double start, double end) {
    return {rxDegree(start), rxDegree(end)};
}

// Ranges ---------------------------------------------------------------------------------------

struct RangeCase {
    const char* name;
    rxRange x = rxRange::FullRange();
    rxRange y = rxRange::FullRange();
    rxRange scale = rxRange(-0.1, 0.1);
    rxAngleRange rotation = degrees(-15, 15);
    bool findsVoted = false;
    bool findsExhaustively = false;
};

const std::vector<RangeCase>& rangeCases() {
    const rxRange full = rxRange::FullRange();
    const rxRange near(-0.1, 0.1);
    const rxAngleRange little = degrees(-15, 15);
    static const std::vector<RangeCase> cases = {
        {"as they are", full, full, near, little, true, true},
        {"x reversed", rxRange(100, -100), full, near, little, false, false},
        {"y reversed", full, rxRange(50, -50), near, little, false, false},
        {"x of all doubles", rxRange(-1.7e308, 1.7e308), full, near, little, true, true},
        {"x infinite", rxRange(-kEdgeInfinity, kEdgeInfinity), full, near, little, true, true},
        {"x of denormals", rxRange(-kDenormal, kDenormal), full, near, little, false, false},
        {"x reversed at infinity", rxRange(kEdgeInfinity, -kEdgeInfinity), full, near, little,
         false, false},
        {"y beyond the data", full, rxRange(1e300, 1e301), near, little, false, false},
        {"rotation reversed", full, full, near, degrees(15, -15), false, false},
        {"rotation a turn further", full, full, near, degrees(345, 375), true, true},
        {"rotation a turn back", full, full, near, degrees(-375, -345), true, true},
        {"rotation ten turns further", full, full, near, degrees(3585, 3615), true, true},
        {"rotation over two turns", full, full, near, degrees(-360, 360), true, true},
        {"rotation a turn from 0", full, full, near, degrees(0, 360), true, true},
        {"rotation on the other side", full, full, near, degrees(170, 190), false, false},
        {"rotation full", full, full, near, rxAngleRange::FullRange(), true, true},
        {"rotation of very many turns", full, full, near, degrees(1e300, 1e300), false, false},
        {"rotation of 0", full, full, near, degrees(0, 0), false, false},
        {"rotation of minus 0", full, full, near, degrees(-0.0, -0.0), false, false},
        {"rotation of denormals", full, full, near, degrees(-kDenormal, kDenormal), false, false},
        {"scale reversed", full, full, rxRange(0.1, -0.1), little, true, false},
        {"scale of minus 0", full, full, rxRange(-0.0, 0.0), little, true, true},
        {"scale of a denormal", full, full, rxRange(0.0, kDenormal), little, true, false},
        {"scale from the smallest", full, full, rxRange(-0.9, 0.05), little, true, true},
        {"scale far above", full, full, rxRange(20, 20), little, false, false},
    };
    return cases;
}

TEST(EdgeRanges, EachFindsWhatThePlainReferenceFinds) {
    for (const RangeCase& ranges : rangeCases()) {
        for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
            SCOPED_TRACE(scene.name + ": " + ranges.name);
            scene.params.xTranslationUncertainty(ranges.x);
            scene.params.yTranslationUncertainty(ranges.y);
            scene.params.scaleUncertainty(ranges.scale);
            scene.params.rotationUncertainty(ranges.rotation);
            rxPointMatcherResultSet found;
            expectAsReference(scene.matcher(), {}, scene.data, scene.params, found);
            const bool isExhaustive = scene.name == "exhaustive";
            const bool isFound =
                !found.results().empty() && found.results().front().coverage() == 1.0;
            EXPECT_EQ(isFound, isExhaustive ? ranges.findsExhaustively : ranges.findsVoted);
        }
    }
}

struct RefusedRange {
    rxRange scale;
    rxAngleRange rotation;
};

TEST(EdgeRanges, ThoseThatAskForTooManyPosesAreRefusedByVotes) {
    const rxAngleRange little = degrees(-15, 15);
    const std::vector<RefusedRange> refused = {
        {rxRange(0.0, 1e300), little},
        {rxRange(0.0, kEdgeInfinity), little},
        {rxRange(1e300, 1e300), little},
        {rxRange(0.0, 0.0), degrees(0, 1e300)},
        {rxRange(0.0, 0.0), degrees(-kEdgeInfinity, kEdgeInfinity)},
        {rxRange(1e300, -0.5), little},
        {rxRange(0.0, 0.0), degrees(1e300, -1e300)},
    };
    for (const RefusedRange& ranges : refused) {
        SCOPED_TRACE(::testing::Message() << ranges.scale.start() << " to " << ranges.scale.end()
                                          << ", " << rxDegree(ranges.rotation.start()).toDouble()
                                          << " to " << rxDegree(ranges.rotation.end()).toDouble());
        for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
            scene.params.scaleUncertainty(ranges.scale);
            scene.params.rotationUncertainty(ranges.rotation);
            rxPointMatcherResultSet found;
            if (scene.name == "exhaustive") {
                expectAsReference(scene.matcher(), {}, scene.data, scene.params, found);
                continue;
            }
            const std::string expected =
                "the uncertainty ranges are too wide for this gridSize: more than 2^31 pairs of "
                "scale and rotation would have to be tried";
            EXPECT_EQ(saidBy([&] { scene.matcher().run(scene.data, scene.params, found); }),
                      expected);
            EXPECT_EQ(saidBy([&] { rfRunCost(scene.matcher(), scene.data, scene.params); }),
                      expected);
        }
    }
}

TEST(EdgeRanges, OfPlatesHoldWhatTheyHoldOrAreRefused) {
    struct PlateCase {
        rxAngleRange rotation;
        rxRange scale;
        std::size_t numFound;
        const char* said;
    };
    const rxRange fifth(-0.2, 0.2);
    const std::vector<PlateCase> cases = {
        {degrees(-15, 15), fifth, 1, ""},
        {degrees(345, 375), fifth, 1, ""},
        {degrees(-735, -705), fifth, 1, ""},
        {degrees(320, 400), fifth, 1, ""},
        {degrees(15, -15), fifth, 0, ""},
        {degrees(-1e6, -1e6 + 1), fifth, 0, ""},
        {degrees(-15, 1.1e6), fifth, 0,
         "grid mapping: angleTol bounds must be within a million degrees"},
        {degrees(-15, kEdgeInfinity), fifth, 0,
         "grid mapping: angleTol bounds must be within a million degrees"},
        {degrees(-15, 15), rxRange(0.2, -0.2), 0, ""},
        {degrees(-15, 15), rxRange(-0.2, 1e300), 1, ""},
        {degrees(-15, 15), rxRange(-0.2, kEdgeInfinity), 1, ""},
        {degrees(-15, 15), rxRange(-0.0, kDenormal), 0, ""},
    };
    for (const PlateCase& plateCase : cases) {
        SCOPED_TRACE(::testing::Message()
                     << rxDegree(plateCase.rotation.start()).toDouble() << " to "
                     << rxDegree(plateCase.rotation.end()).toDouble() << ", scale "
                     << plateCase.scale.start() << " to " << plateCase.scale.end());
        auto params = EdgePlate::params();
        params.rotationUncertainty(plateCase.rotation);
        params.scaleUncertainty(plateCase.scale);
        rxPointMatcherResultSet found;
        const std::string said =
            saidBy([&] { densePlate().matcher().run(densePlate().data(), params, found); });
        EXPECT_EQ(said, plateCase.said);
        EXPECT_EQ(found.results().size(), plateCase.numFound);
    }
}

// Sizes of grid cells and captures --------------------------------------------------------------

TEST(EdgeLengths, CaptureRangesOfAllSizesAreThoseOfThePlainReference) {
    for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
        scene.params.autoCaptureRange(false);
        for (const double range :
             {0.0, -0.0, kDenormal, 1e-300, 1e-160, 1e-3, 1e3, 1e154, 1e300, kEdgeInfinity}) {
            SCOPED_TRACE(::testing::Message() << scene.name << ", capture range " << range);
            scene.params.captureRange(range);
            rxPointMatcherResultSet found;
            expectAsReference(scene.matcher(), {}, scene.data, scene.params, found);
            // A pose of two pairs may fit them to within rounding.
            EXPECT_EQ(found.results().empty(), range < (scene.name == "votes" ? 1e-2 : 1e-150));
        }
    }
}

TEST(EdgeLengths, GridSizesOfAllSizesFindNothingOrAreRefused) {
    EdgeScene scene = votedScene();
    scene.params.autoGridSize(false);
    const std::string tooSmall =
        "gridSize is too small for the extent of the data: the search image would not fit in "
        "memory";
    const std::string tooMany =
        "the uncertainty ranges are too wide for this gridSize: more than 2^31 pairs of scale and "
        "rotation would have to be tried";
    for (const double size : {kDenormal, 1e-300, 1e-9}) {
        scene.params.gridSize(size);
        EXPECT_EQ(saidBy([&] { foundIn(scene.data, scene.matcher(), scene.params); }), tooMany);
    }
    // One scale and one rotation: only the image is too large.
    scene.params.scaleUncertainty(rxRange(0.0, 0.0));
    scene.params.rotationUncertainty(degrees(8, 8));
    for (const double size : {1e-300, 1e-9, 1e-4}) {
        scene.params.gridSize(size);
        const std::string said =
            saidBy([&] { foundIn(scene.data, scene.matcher(), scene.params); });
        EXPECT_TRUE(said == tooSmall || said == tooMany) << size << ": " << said;
    }
    for (const double size : {1e3, 1e9, 1e150, 1e300, kEdgeInfinity}) {
        SCOPED_TRACE(size);
        scene.params.gridSize(size);
        rxPointMatcherResultSet found;
        expectAsReference(scene.matcher(), {}, scene.data, scene.params, found);
        EXPECT_TRUE(found.results().empty());
        const AllocationMeter meter;
        scene.matcher().run(scene.data, scene.params, found);
        EXPECT_LT(meter.total(), 1U << 20U);
    }
}

// Integers ---------------------------------------------------------------------------------------

TEST(EdgeIntegers, NumberOfResultsTakesThe32BitsThatAreLeftOfIt) {
    for (const long count : {kLongMin, kLongMin + 1, -1L, 0L}) {
        rxPointMatcherRunParams params;
        EXPECT_EQ(saidBy([&] { params.maxNumResults(count); }), "maxNumResults must be >= 1");
        EXPECT_EQ(params.maxNumResults(), 1);
    }
    for (const long count : {1L, 65535L, 65536L, kLongMax - 1, kLongMax}) {
        rxPointMatcherRunParams params;
        params.maxNumResults(count);
        EXPECT_EQ(loaded<rxPointMatcherRunParams>(stored(params)).maxNumResults(), count);
        const rx_PointToGridCorresponderRunParams grid(0.5, 1.0, count);
        EXPECT_EQ(loaded<rx_PointToGridCorresponderRunParams>(stored(grid)).maxNumResults(), count);
    }
    for (const long count : {kLongMin, -1L, 0L}) {
        const rx_PointToGridCorresponderRunParams grid(0.5, 1.0, count);
        EXPECT_EQ(loaded<rx_PointToGridCorresponderRunParams>(stored(grid)).maxNumResults(), count);
    }
    for (const long count : {kLongMin - 1, kLongMax + 1}) {
        const rx_PointToGridCorresponderRunParams grid(0.5, 1.0, count);
        EXPECT_THROW(stored(grid), rxArchive::Errors) << count;
    }
}

TEST(EdgeIntegers, MostResultsWantedAreAsManyAsThereAreInMemoryOfThose) {
    constexpr std::size_t kMostBytes = 8U << 20U;
    for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
        SCOPED_TRACE(scene.name);
        const rxPointMatcher matcher = scene.matcher();
        scene.params.maxNumResults(100000);
        const auto all = foundIn(scene.data, matcher, scene.params);
        EXPECT_LT(all.results().size(), 100000U);
        for (const long count : {65535L, 65536L, kLongMax - 1, kLongMax}) {
            SCOPED_TRACE(count);
            scene.params.maxNumResults(count);
            const AllocationMeter meter;
            const auto found = foundIn(scene.data, matcher, scene.params);
            EXPECT_LT(meter.total(), kMostBytes);
            if (count > 100000) expectScaledResults(found, all, {});
        }
    }
    for (const EdgePlate& plate : {densePlate(), sparsePlate()}) {
        SCOPED_TRACE(plate.name);
        const rxPointMatcher matcher = plate.matcher();
        auto params = EdgePlate::params();
        params.maxNumResults(kLongMax);
        const Points data = plate.data();
        const AllocationMeter meter;
        const auto found = foundIn(data, matcher, params);
        EXPECT_LT(meter.total(), kMostBytes);
        EXPECT_FALSE(found.results().empty());
    }
}

TEST(EdgeIntegers, WhyNotOfTheMostResultsTakesTheMemoryOfThose) {
    for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
        SCOPED_TRACE(scene.name);
        scene.params.maxNumResults(kLongMax);
        const rxPointMatcher matcher = scene.matcher();
        const AllocationMeter meter;
        const rxWhyNot why = rfWhyNot(matcher, scene.data, scene.params);
        EXPECT_LT(meter.total(), 32U << 20U);
        EXPECT_EQ(why.reason, rxWhyNotDefs::eFound);
    }
}

TEST(EdgeIntegers, CorresponderTakesAnyNumberOfResults) {
    rx_PointToGridCorresponder tool;
    std::vector<rxPair<long>> positions;
    for (long i = 0; i < 12; ++i) positions.emplace_back(i % 4, i / 4);
    tool.train(positions, rx_PointToGridCorresponderTrainParams(), rxXform<2>::I);
    for (const long count : {kLongMin, -1L, 0L, 1L, 2L, 65536L, kLongMax}) {
        SCOPED_TRACE(count);
        rx_PointToGridCorresponderResultSet found;
        const AllocationMeter meter;
        tool.run(positions, rx_PointToGridCorresponderRunParams(0.5, 1.0, count), found);
        EXPECT_LT(meter.total(), 1U << 20U);
        EXPECT_EQ(found.results().empty(), count < 1);
        if (count == 1) {
            EXPECT_EQ(found.results().front().position(), rxPair<long>(0, 0));
        }
    }
}

TEST(EdgeIntegers, ModesModelsAndFeatureTypesBeyondTheirEnumeratorsDoAsDocumented) {
    const EdgeScene scene = votedScene();
    for (const std::int32_t mode : {std::numeric_limits<std::int32_t>::min(), -1, 4, 65536,
                                    std::numeric_limits<std::int32_t>::max()}) {
        SCOPED_TRACE(mode);
        rxPointMatcher matcher;
        matcher.train(scene.model, static_cast<rxPointMatcherDefs::Mode>(mode));
        EXPECT_EQ(matcher.trainMode(), rxPointMatcherDefs::ePointToPoint);
        const auto found = foundIn(scene.data, matcher, scene.params);
        ASSERT_FALSE(found.results().empty());
        EXPECT_EQ(saidBy([&] {
                      rfRefit(matcher, scene.data, found.results()[0],
                              static_cast<rxRefitDefs::Model>(mode == 4 ? 5 : mode));
                  }).empty(),
                  false);
        if (mode == 4) continue;
        EXPECT_THROW(
            rfPoseCovariance(rxXform<2>::I, scene.model, scene.model, static_cast<int>(mode), 1.0),
            rxPointMatcherDefs::BadParams);
        const rxLSPointToPointFitter fitter(scene.model, scene.model);
        EXPECT_THROW(fitter.fit(mode), rxLSPointToPointFitter::Errors);
    }
    for (const long type : {kLongMin, -1L, 65536L, kLongMax}) {
        const rx_PointToGridCorresponderTrainParams params(
            false, static_cast<rx_PointToGridCorresponderDefs::FeatureType>(
                       static_cast<std::int32_t>(type)));
        EXPECT_EQ(loaded<rx_PointToGridCorresponderTrainParams>(stored(params)).featureType(),
                  params.featureType());
    }
}

TEST(EdgeIntegers, PositionsAndOffsetsAtTheEndsGoThroughEveryRecord) {
    for (const long x : {kLongMin, kLongMin + 1, -1L, 0L, kLongMax - 1, kLongMax}) {
        for (const long y : {kLongMax, 0L, kLongMin}) {
            SCOPED_TRACE(::testing::Message() << x << ", " << y);
            EXPECT_EQ(loaded<rxPair<long>>(stored(rxPair<long>(x, y))), rxPair<long>(x, y));
            // A pattern of three positions at that place, none of them beyond.
            const long right = x > 0 ? x - 2 : x;
            std::vector<rxPair<long>> positions;
            for (long i = 0; i < 3; ++i) positions.emplace_back(right + i, y);
            rx_PointToGridCorresponder tool;
            tool.train(positions, rx_PointToGridCorresponderTrainParams(), rxXform<2>::I);
            const auto again = loaded<rx_PointToGridCorresponder>(stored(tool));
            EXPECT_EQ(again.pattern().offset(), rxPair<long>(right, y));
            rx_PointToGridCorresponderResultSet found;
            again.run(positions, rx_PointToGridCorresponderRunParams(1.0), found);
            ASSERT_EQ(found.results().size(), 1U);
            EXPECT_EQ(found.results()[0].position(), rxPair<long>(0, 0));
            EXPECT_EQ(found.results()[0].score(), 1.0);
        }
    }
}

TEST(EdgeIntegers, ValuesBeyond32BitsAreStoredNowhere) {
    for (const long beyond : {kLongMin - 1, kLongMax + 1, std::numeric_limits<long>::max(),
                              std::numeric_limits<long>::min()}) {
        SCOPED_TRACE(beyond);
        EXPECT_THROW(stored(beyond), rxArchive::Errors);
        EXPECT_THROW(stored(rxPair<long>(beyond, 0)), rxArchive::Errors);
        EXPECT_THROW(stored(rxPair<long>(0, beyond)), rxArchive::Errors);
        EXPECT_THROW(stored(std::vector<long>{1, beyond}), rxArchive::Errors);
        if (beyond < 1) continue;
        rxPointMatcherRunParams params;
        params.maxNumResults(beyond);
        EXPECT_THROW(stored(params), rxArchive::Errors);
        // More than are ever found: as many as there are.
        const EdgeScene scene = votedScene();
        EXPECT_FALSE(foundIn(scene.data, scene.matcher(), params).results().empty());
    }
}

// Weights ----------------------------------------------------------------------------------------

TEST(EdgeWeights, AtTheirLimitsFindWhatThePlainReferenceFinds) {
    struct WeightCase {
        const char* name;
        std::vector<long> first;  // the others are `rest`
        long rest;
    };
    const std::vector<WeightCase> cases = {
        {"all 1", {}, 1},
        {"two of 1 and nothing else", {1, 1}, 0},
        {"the sum is the largest", {kLongMax - 1, 1}, 0},
        {"two of half of the largest", {kLongMax / 2, kLongMax / 2}, 0},
        {"the others count against", {1, 1}, -1},
        {"the others count as much as can be against", {1, 1}, kLongMin},
        {"large ones beside small ones", {kLongMax - 100, 3, 2}, 1},
        {"beside the smallest there is", {kLongMax / 3, kLongMax / 3, kLongMin}, 1},
        {"65,535 each", {}, 65535},
        {"65,536 each", {}, 65536},
        {"as large as their sum allows", {}, kLongMax / 10},
    };
    for (const WeightCase& weightCase : cases) {
        for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
            SCOPED_TRACE(scene.name + ": " + weightCase.name);
            std::vector<long> weights(scene.model.size(), weightCase.rest);
            std::copy(weightCase.first.begin(), weightCase.first.end(), weights.begin());
            rxPointMatcher matcher;
            matcher.train(scene.model, weights, scene.mode);
            rxPointMatcherResultSet found;
            expectAsReference(matcher, weights, scene.data, scene.params, found);
            const auto again = loaded<rxPointMatcher>(stored(matcher));
            EXPECT_EQ(again.weights(), weights);
        }
    }
}

TEST(EdgeWeights, BeyondTheirLimitsAreRefusedByName) {
    const Points model = votedScene().model;
    const auto said = [&](std::vector<long> weights, long rest) {
        weights.resize(model.size(), rest);
        return saidBy(
            [&] { rxPointMatcher().train(model, weights, rxPointMatcherDefs::eAutoDetect); });
    };
    const std::string tooFew = "At least two weights must be positve.";
    EXPECT_EQ(said({kLongMax}, 0), tooFew);
    EXPECT_EQ(said({}, 0), tooFew);
    EXPECT_EQ(said({}, kLongMin), tooFew);
    const std::string beyondSum = "The sum of the positive weights must not exceed 2147483647";
    EXPECT_EQ(said({kLongMax, 1}, 0), beyondSum);
    EXPECT_EQ(said({}, kLongMax), beyondSum);
    EXPECT_EQ(said({}, kLongMax / 10 + 1), beyondSum);
    const std::string beyond = "Every weight must be a 32-bit signed integer";
    constexpr long kMost = std::numeric_limits<long>::max();
    EXPECT_EQ(said({kLongMax + 1, 1}, 0), beyond);
    EXPECT_EQ(said({1, 1, kLongMin - 1}, 0), beyond);
    EXPECT_EQ(said({1, 1, std::numeric_limits<long>::min()}, 0), beyond);
    EXPECT_EQ(said({kMost, kMost}, 0), beyond);
}

// Numbers that are none, and what is said of results ---------------------------------------------

TEST(EdgeNumbers, EachParameterThatIsNoNumberIsRefusedInEveryMode) {
    struct Breaker {
        const char* said;
        void (*set)(rxPointMatcherRunParams&);
    };
    const std::vector<Breaker> breakers = {
        {"xTranslationUncertainty bounds must be numbers",
         [](rxPointMatcherRunParams& p) { p.xTranslationUncertainty(rxRange(kEdgeNan, 1)); }},
        {"yTranslationUncertainty bounds must be numbers",
         [](rxPointMatcherRunParams& p) { p.yTranslationUncertainty(rxRange(0, kEdgeNan)); }},
        {"scaleUncertainty bounds must be numbers",
         [](rxPointMatcherRunParams& p) { p.scaleUncertainty(rxRange(0, kEdgeNan)); }},
        {"rotationUncertainty bounds must be numbers",
         [](rxPointMatcherRunParams& p) { p.rotationUncertainty(degrees(kEdgeNan, 1)); }},
        {"startPose must be finite",
         [](rxPointMatcherRunParams& p) { p.startPose(ptmatch::testing::poseAt(kEdgeNan, 0)); }},
        {"startPose must be finite",
         [](rxPointMatcherRunParams& p) {
             p.startPose(ptmatch::testing::poseAt(0, -kEdgeInfinity));
         }},
        {"startPose must not be singular",
         [](rxPointMatcherRunParams& p) { p.startPose(ptmatch::testing::scalingBy(0.0)); }},
    };
    for (const Breaker& breaker : breakers) {
        for (const EdgeScene& scene : {votedScene(), exhaustiveScene()}) {
            auto params = scene.params;
            breaker.set(params);
            EXPECT_EQ(saidBy([&] { foundIn(scene.data, scene.matcher(), params); }), breaker.said)
                << scene.name;
        }
        for (const EdgePlate& plate : {densePlate(), sparsePlate()}) {
            auto params = EdgePlate::params();
            breaker.set(params);
            EXPECT_EQ(saidBy([&] { foundIn(plate.data(), plate.matcher(), params); }), breaker.said)
                << plate.name;
        }
    }
    rxPointMatcherRunParams params;
    for (const double coverage :
         {kEdgeNan, kEdgeInfinity, -kEdgeInfinity, -kDenormal, std::nextafter(1.0, 2.0)}) {
        EXPECT_EQ(saidBy([&] { params.minCoverage(coverage); }),
                  "minCoverage must be in [0.0, 1.0]");
    }
    for (const double coverage : {-0.0, kDenormal, std::nextafter(1.0, 0.0)}) {
        params.minCoverage(coverage);
        EXPECT_EQ(params.minCoverage(), coverage);
    }
}

TEST(EdgeNumbers, DataThatAreNoNumbersAreRefusedInEveryMode) {
    for (const double bad : {kEdgeNan, kEdgeInfinity, -kEdgeInfinity}) {
        for (EdgeScene scene : {votedScene(), exhaustiveScene()}) {
            scene.data[1].y(bad);
            EXPECT_EQ(saidBy([&] { foundIn(scene.data, scene.matcher(), scene.params); }),
                      "data point 1 is not finite");
            scene.model[2].x(bad);
            EXPECT_EQ(saidBy([&] { scene.matcher(); }),
                      "The coordinates of model points must be finite");
        }
        for (const EdgePlate& plate : {densePlate(), sparsePlate()}) {
            Points data = plate.data();
            data[1].x(bad);
            EXPECT_EQ(saidBy([&] { foundIn(data, plate.matcher(), EdgePlate::params()); }),
                      "data point 1 is not finite");
            EXPECT_EQ(saidBy([&] { plate.matcher(bad); }).empty(), false);
        }
    }
}

TEST(EdgeNumbers, ChanceOfClutterIsANumberForScenesOfAnySize) {
    for (const double area : {kDenormal, 1e-300, 1.0, 1e300, 1.7e308}) {
        for (const double range : {kDenormal, 1e-160, 1.0, 1e160, 1.7e308}) {
            for (const double width : {0.0, kDenormal, 1e300, 1.7e308}) {
                for (const double points : {0.0, 1.0, 65536.0, 2147483647.0, 1e300}) {
                    rxClutterScene scene;
                    scene.numDataPoints = points;
                    scene.area = area;
                    scene.captureRange = range;
                    scene.numModelPoints = 10;
                    scene.modelRadius = width;
                    scene.translationWidth = width;
                    scene.translationHeight = width;
                    scene.rotationLength = std::min(width, 1e6);
                    scene.highScale = 1.0 + width;
                    const double chance = rfLog10FalseAlarms(scene, 7);
                    EXPECT_FALSE(std::isnan(chance))
                        << area << ' ' << range << ' ' << width << ' ' << points;
                    EXPECT_LE(rfLog10FalseAlarms(scene, 8), chance);
                    EXPECT_EQ(rfLog10FalseAlarms(scene, 11), -kEdgeInfinity);
                }
            }
        }
    }
}

TEST(EdgeNumbers, SettingsOfACertaintyAtTheirEndsAreTakenOrRefused) {
    const EdgeScene scene = votedScene();
    const rxPointMatcher matcher = scene.matcher();
    const auto found = foundIn(scene.data, matcher, scene.params);
    const auto with = [&](rxCertaintySettings settings) {
        return rfCertainty(matcher, scene.data, scene.params, found, 0, settings);
    };
    for (const double bad : {-kDenormal, -1e300, kEdgeNan, kEdgeInfinity}) {
        EXPECT_THROW(with({bad, 0.0, 0.0}), rxPointMatcherDefs::BadParams);
        EXPECT_THROW(with({0.0, bad, 0.0}), rxPointMatcherDefs::BadParams);
        EXPECT_THROW(with({0.0, 0.0, bad}), rxPointMatcherDefs::BadParams);
    }
    // Their squares are worked with.
    for (const double sigma : {1e-150, 1e-9, 1e150}) {
        EXPECT_EQ(with({sigma, 0.0, 0.0}).covariance->sigma, sigma);
    }
    for (const double sigma : {kDenormal, 1e-151, 1e151, 1e300}) {
        EXPECT_EQ(saidBy([&] {
                      with({sigma, 0.0, 0.0});
                  }),
                  "the sigma of the data points must be 0 or between 1e-150 and 1e150");
    }
    EXPECT_FALSE(with({0.0, 1e300, 0.0}).nextPose);
    const double small = *with({0.0, 0.0, 1e300}).log10FalseAlarms;
    EXPECT_LT(small, -1000.0);
    EXPECT_GT(*with({0.0, 0.0, kDenormal}).log10FalseAlarms, small);
}

}  // namespace

}  // namespace ptmatch::testing
