#include "ptmatch/matched_pairs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ptmatch/addition_world.h"
#include "ptmatch/result_map.h"
#include "support/archive_bytes.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;

TEST(MatchedPairs, ListTheMatchedModelPointsWithTheirDataPoints) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    Points data = mapped(poseAt(100, 50, 5), tenPoints());
    data.erase(data.begin() + 3);
    std::swap(data[0], data[1]);
    const rxPointMatcherResultSet found = foundIn(data, matcher);
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxMatchedPairs pairs = rfMatchedPairs(matcher, data, found.results()[0]);
    EXPECT_THAT(pairs.modelIndices, ElementsAre(0, 1, 2, 4, 5, 6, 7, 8, 9));
    EXPECT_THAT(pairs.dataIndices, ElementsAre(1, 0, 2, 3, 4, 5, 6, 7, 8));
    ASSERT_THAT(pairs.model, SizeIs(9));
    ASSERT_THAT(pairs.data, SizeIs(9));
    EXPECT_EQ(pairs.model[3], tenPoints()[4]);
    EXPECT_EQ(pairs.data[3], data[3]);
}

// The pose of a result takes the model side of its pairs onto the data side, whatever the mode.
void expectPairsUnderThePose(const rxPointMatcher& matcher, const Points& data,
                             const rxPointMatcherRunParams& params, std::size_t numPairs) {
    const rxPointMatcherResultSet found = foundIn(data, matcher, params);
    ASSERT_THAT(found.results(), SizeIs(1));
    const rxMatchedPairs pairs = rfMatchedPairs(matcher, data, found.results()[0]);
    ASSERT_THAT(pairs.model, SizeIs(numPairs));
    for (std::size_t k = 0; k < numPairs; ++k) {
        const rxVector<2> image = found.results()[0].modelToDataXform() * pairs.model[k];
        EXPECT_LT((image - pairs.data[k]).len(), 1e-9) << k;
    }
}

TEST(MatchedPairs, OfExhaustiveResultsAreThoseOfItsMap) {
    const Points model = {{0, 0}, {10, 0}, {3, 7}, {12, 9}};
    expectPairsUnderThePose(trainedOnPoints(model, Defs::eExhaustiveMode),
                            mapped(poseAt(20, 30, 4), model), {}, 4);
}

TEST(MatchedPairs, OfADensePatternStartFromModelCoordinates) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxXform<2> steps = gridOf({25, 0}, {0, 25}, {7, 9});
    rxPointMatcherRunParams params(0.9);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    const rxPointMatcher matcher = trainedOn(imageOf(plate, steps, {3, 2}));
    const Points dots = dotsOf(plate, gridOf({25, 1}, {-1, 25}, {300, 200}));
    expectPairsUnderThePose(matcher, dots, params, dots.size());
    const rxPointMatcherResultSet found = foundIn(dots, matcher, params);
    const rxMatchedPairs pairs = rfMatchedPairs(matcher, dots, found.results()[0]);
    EXPECT_EQ(pairs.modelIndices[6], 7);  // the second row begins with its pixel 7
    EXPECT_EQ(pairs.model[0], steps * rxVector<2>(3, 2));
}

TEST(TrainedPoints, OfADensePatternAreItsOccupiedPositions) {
    const Picture plate = {"######.", "#.#####", "###.###", "####.##"};
    const rxPointMatcher matcher = trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25})));
    EXPECT_THAT(ptmatch::detail::trainedPoints(matcher),
                ::testing::Pointwise(::testing::Eq(), dotsOf(plate, gridOf({25, 0}, {0, 25}))));
}

TEST(MatchedPairs, OfASparsePatternStartFromPositions) {
    const Picture sparse = {"#...#", ".....", "..#..", "#...."};
    const rxXform<2> steps = gridOf({25, 0}, {0, 25});
    const rxPointMatcher matcher = trainedOn(imageOf(sparse, steps));
    expectPairsUnderThePose(matcher, dotsOf(sparse, gridOf({25, 0}, {0, 25}, {300, 200})), {}, 4);
}

TEST(MatchedPairs, RefuseAResultOfAnotherMatcherOrOtherData) {
    const rxPointMatcher matcher = trainedOnPoints(tenPoints());
    const Points data = mapped(poseAt(100, 50, 5), tenPoints());
    const rxPointMatcherResult result = foundIn(data, matcher).results().at(0);
    EXPECT_THROW(rfMatchedPairs(matcher, Points(data.begin(), data.begin() + 9), result),
                 Defs::BadParams);
    const rxPointMatcher other = trainedOnPoints({{0, 0}, {1, 0}, {0, 3}});
    EXPECT_THROW(rfMatchedPairs(other, data, result), Defs::BadParams);
    const rxPointMatcher grid = trainedOn(imageOf({"####", "####", "####"}));
    EXPECT_THROW(rfMatchedPairs(grid, data, result), Defs::BadParams);
    EXPECT_THROW(rfMatchedPairs(rxPointMatcher(), data, result), Defs::NotTrained);

    // Recorded with no mode that there is.
    ByteVector bytes = stored(result);
    constexpr std::size_t kPlaceOfMode = 4;  // after the version
    ASSERT_EQ(bytes.at(kPlaceOfMode), Defs::ePointToPoint);
    bytes[kPlaceOfMode] = 9;
    EXPECT_THROW(rfMatchedPairs(matcher, data, loaded<rxPointMatcherResult>(bytes)),
                 Defs::BadParams);
}

TEST(MatchedPairs, OfAnEmptyResultOfADensePatternAreRefused) {
    const rxPointMatcher matcher = trainedOn(imageOf({"####", "####", "####"}));
    EXPECT_THROW(rfMatchedPairs(matcher, {}, rxPointMatcherResult()), Defs::BadParams);
}

}  // namespace
