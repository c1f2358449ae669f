#include "ptmatch/distinct_instances.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "ptmatch/addition_world.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;

rxPointMatcherRunParams many(double minCoverage = 0.6) {
    rxPointMatcherRunParams params(minCoverage);
    params.maxNumResults(200);
    return params;
}

// The number of results that match all of these data points. (They may match a point of clutter
// besides, where a point of the copy is missing.)
long numMatching(long first, long end, const rxPointMatcherResultSet& found,
                 const std::vector<std::size_t>& copies) {
    return std::ranges::count_if(copies, [&](std::size_t i) {
        const std::vector<long>& map = found.results()[i].modelToDataMap();
        return std::ranges::count_if(map, [&](long k) { return k >= first && k < end; }) ==
               end - first;
    });
}

TEST(DistinctInstances, EveryCopyIsReturnedAndNoneTwice) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        Randoms random(seed);
        const std::vector<rxXform<2>> poses = {poseAt(10, 15, -8), poseAt(90, 20, 3),
                                               poseAt(40, 90, 12), poseAt(120, 100, 0)};
        Points data = random.uniformPoints(12, 160);
        std::vector<long> ends = {12};
        for (std::size_t k = 0; k < poses.size(); ++k) {
            Points copy = random.shaken(mapped(poses[k], tenPoints()), 0.1);
            copy.resize(copy.size() - k);  // the last one has 7 of 10 points
            data += copy;
            ends.push_back(static_cast<long>(data.size()));
        }
        const rxPointMatcherResultSet found = foundIn(data, matcher, many());
        const std::vector<std::size_t> copies = rfDistinctInstances(matcher, found);
        EXPECT_THAT(copies, SizeIs(4));
        EXPECT_TRUE(std::ranges::is_sorted(copies));
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(numMatching(ends[k], ends[k + 1], found, copies), 1) << k;
        }
    }
}

TEST(DistinctInstances, APatternWithASymmetryIsOneCopyWhicheverWayItIsSeen) {
    const Points hexagonal = {{10, 0}, {5, 8.7}, {-5, 8.7}, {-10, 0}, {-5, -8.7}, {5, -8.7}};
    const rxPointMatcher matcher = trainedOnPoints(hexagonal);
    rxPointMatcherRunParams params = many(0.9);
    params.rotationUncertainty(rxAngleRange::FullRange());
    Points data = mapped(poseAt(30, 30), hexagonal);
    data += mapped(poseAt(80, 30), hexagonal);
    const rxPointMatcherResultSet found = foundIn(data, matcher, params);
    ASSERT_GE(found.results().size(), 12U);
    EXPECT_THAT(rfDistinctInstances(matcher, found), SizeIs(2));
}

TEST(DistinctInstances, WhatIsPutTogetherFromTwoCopiesIsNoThird) {
    // The right column of one copy and the left one of the next look like a copy without its spot.
    const Points columnsAndSpot = {{0, 0}, {0, 7}, {0, 17}, {30, 0}, {30, 7}, {30, 17}, {12, 4}};
    const rxPointMatcher matcher = trainedOnPoints(columnsAndSpot);
    Points data = columnsAndSpot;
    data += mapped(poseAt(60, 0), columnsAndSpot);
    const rxPointMatcherResultSet found = foundIn(data, matcher, many(0.8));
    ASSERT_THAT(found.results(), SizeIs(3));
    EXPECT_THAT(rfDistinctInstances(matcher, found), ElementsAre(0, 1));
    // It has half of its points in common with each copy, but all of them with both.
    EXPECT_THAT(rfDistinctInstances(matcher, found, {0.5, 0.0}), ElementsAre(0, 1));
    EXPECT_THAT(rfDistinctInstances(matcher, found, {1.0, 0.0}), ElementsAre(0, 1, 2));
}

TEST(DistinctInstances, DistanceTellsTheCopiesOfDoubledData) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(10, 10), tenPoints());
    data += mapped(poseAt(10.3, 10.4), tenPoints());  // 0.5 away
    data += mapped(poseAt(80, 10), tenPoints());
    rxPointMatcherRunParams params = many(0.9);
    params.autoCaptureRange(false);
    params.captureRange(0.4);
    const rxPointMatcherResultSet found = foundIn(data, matcher, params);
    rxDistinctness distinctness;
    distinctness.minPoseDistance = 0.6;
    const std::vector<std::size_t> copies = rfDistinctInstances(matcher, found, distinctness);
    EXPECT_THAT(copies, SizeIs(2));
}

TEST(DistinctInstances, WorkInGridModeToo) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxPointMatcher matcher = trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25})));
    Points dots = dotsOf(plate, gridOf({25, 0}, {0, 25}, {100, 100}));
    dots += dotsOf(plate, gridOf({25, 0}, {0, 25}, {100, 300}));
    rxPointMatcherRunParams params = many(0.5);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    const rxPointMatcherResultSet found = foundIn(dots, matcher, params);
    ASSERT_GT(found.results().size(), 2U);
    const std::vector<std::size_t> copies = rfDistinctInstances(matcher, found);
    EXPECT_THAT(copies, SizeIs(2));
    for (const std::size_t i : copies) EXPECT_EQ(found.results()[i].coverage(), 1.0);
}

TEST(DistinctInstances, OfNothingAreNone) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    EXPECT_THAT(rfDistinctInstances(matcher, rxPointMatcherResultSet()), IsEmpty());
}

TEST(DistinctInstances, RefuseLimitsThatAreNone) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const rxPointMatcherResultSet found;
    for (const auto& [share, distance] :
         {std::pair(-0.1, 0.0), {1.1, 0.0}, {nan, 0.0}, {0.2, -1.0}, {0.2, nan}}) {
        EXPECT_THROW(rfDistinctInstances(matcher, found, {share, distance}), Defs::BadParams);
    }
    EXPECT_THROW(rfDistinctInstances(rxPointMatcher(), found), Defs::NotTrained);
}

TEST(DistinctInstances, RefuseResultsOfAnotherModel) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const rxPointMatcherResultSet found = foundIn(tenPoints(), matcher);
    EXPECT_THROW(rfDistinctInstances(trainedOnPoints({{0, 0}, {1, 0}, {0, 3}}), found),
                 Defs::BadParams);
}

}  // namespace
