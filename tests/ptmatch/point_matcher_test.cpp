#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "foundation/geometry_archive.h"
#include "foundation/memory_archive.h"
#include "ptmatch/ppmatch.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"

namespace {

using ptmatch::testing::stored;
using Defs = rxPointMatcherDefs;
using Points = std::vector<rxVector<2>>;
using Weights = std::vector<long>;

const Points kTriangle = {{0, 0}, {4, 0}, {0, 3}};
const Points kSquare = {{0, 0}, {2, 0}, {2, 2}, {0, 2}};

template <class Call>
void expectNotTrained(Call&& call, const char* message) {
    EXPECT_THAT(std::forward<Call>(call),
                ::testing::ThrowsMessage<Defs::NotTrained>(::testing::StrEq(message)));
}

void expectModelQueriesThrow(const rxPointMatcher& matcher) {
    const char* const message = "rxPointMatcher tool is not trained in mode ePointToPoint\n";
    expectNotTrained([&] { (void)matcher.modelPoints(); }, message);
    expectNotTrained([&] { (void)matcher.weights(); }, message);
}

rxPointMatcher trained(const Points& points, const Weights& weights) {
    rxPointMatcher matcher;
    matcher.train(points, weights, Defs::eAutoDetect);
    return matcher;
}

TEST(PointMatcher, NewOneIsUntrained) {
    const rxPointMatcher matcher;
    EXPECT_FALSE(matcher.isTrained());
    expectNotTrained([&] { matcher.trainMode(); }, "rxPointMatcher tool is not trained\n");
    expectModelQueriesThrow(matcher);
}

TEST(PointMatcher, AutoDetectReportsPointToPoint) {
    rxPointMatcher matcher;
    matcher.train(kSquare, Defs::eAutoDetect);
    EXPECT_TRUE(matcher.isTrained());
    EXPECT_EQ(matcher.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(matcher.modelPoints(), kSquare);
}

TEST(PointMatcher, WeightsAreOnesAfterTrainingWithoutWeights) {
    rxPointMatcher matcher;
    matcher.train(kSquare, Defs::eAutoDetect);
    EXPECT_EQ(matcher.weights(), Weights({1, 1, 1, 1}));
    EXPECT_EQ(trained(kSquare, {3, -1, 0, 2}).weights(), Weights({3, -1, 0, 2}));
}

TEST(PointMatcher, ExhaustiveModeAnswersForPointsButNotForWeights) {
    rxPointMatcher matcher;
    matcher.train(kSquare, {1, 2, 3, 4}, Defs::eExhaustiveMode);
    EXPECT_EQ(matcher.trainMode(), Defs::eExhaustiveMode);
    EXPECT_EQ(matcher.modelPoints(), kSquare);
    expectNotTrained([&] { (void)matcher.weights(); },
                     "rxPointMatcher tool is not trained in mode ePointToPoint\n");
}

TEST(PointMatcher, CopyOwnsItsModel) {
    rxPointMatcher source = trained(kTriangle, {5, 1, -3});
    const rxPointMatcher copy(source);
    EXPECT_EQ(stored(copy), stored(source));
    EXPECT_NE(&copy.modelPoints(), &source.modelPoints());
    source.train(kSquare, Defs::eAutoDetect);
    EXPECT_EQ(copy.modelPoints(), kTriangle);
    EXPECT_EQ(copy.weights(), Weights({5, 1, -3}));
}

TEST(PointMatcher, CopyHasTheModeOfANewMatcher) {
    rxPointMatcher source;
    source.train(kTriangle, Defs::eExhaustiveMode);
    const rxPointMatcher copy(source);
    EXPECT_EQ(copy.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(copy.weights(), Weights({1, 1, 1}));

    const rxPointMatcher copyOfUntrained{rxPointMatcher()};
    EXPECT_FALSE(copyOfUntrained.isTrained());
}

TEST(PointMatcher, AssignmentReplacesTheModelAndKeepsTheMode) {
    rxPointMatcher exhaustive;
    exhaustive.train(kSquare, Defs::eExhaustiveMode);
    rxPointMatcher voting = trained(kTriangle, {5, 1, -3});

    exhaustive = voting;
    EXPECT_EQ(exhaustive.trainMode(), Defs::eExhaustiveMode);
    EXPECT_EQ(exhaustive.modelPoints(), kTriangle);
    EXPECT_NE(&exhaustive.modelPoints(), &voting.modelPoints());

    exhaustive.train(kSquare, Defs::eExhaustiveMode);
    voting = exhaustive;
    EXPECT_EQ(voting.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(voting.modelPoints(), kSquare);
    EXPECT_EQ(voting.weights(), Weights({1, 1, 1, 1}));
}

TEST(PointMatcher, SelfAssignmentChangesNothing) {
    rxPointMatcher matcher = trained(kTriangle, {5, 1, -3});
    const std::vector<unsigned char> before = stored(matcher);
    const rxPointMatcher& same = matcher;
    matcher = same;
    EXPECT_EQ(stored(matcher), before);
    EXPECT_EQ(matcher.trainMode(), Defs::ePointToPoint);
}

TEST(PointMatcher, AssigningAnUntrainedOneTakesTheModel) {
    rxPointMatcher matcher = trained(kTriangle, {5, 1, -3});
    matcher = rxPointMatcher();
    EXPECT_FALSE(matcher.isTrained());
    expectModelQueriesThrow(matcher);
}

TEST(PointMatcher, ExhaustiveOneWithoutModelCallsItselfTrainedAndThrows) {
    rxPointMatcher matcher;
    matcher.train(kTriangle, Defs::eExhaustiveMode);
    matcher = rxPointMatcher();
    EXPECT_TRUE(matcher.isTrained());
    EXPECT_EQ(matcher.trainMode(), Defs::eExhaustiveMode);
    expectModelQueriesThrow(matcher);
}

/// A matcher that owns all that a matcher can: a model and a nested matcher with its positions.
rxPointMatcher withNestedMatcher() {
    const std::vector<rxPair<long>> positions = {{0, 0}, {1, 0}, {0, 1}};
    const std::vector<unsigned char> bytes = ptmatch::testing::joined(
        {stored(200009UL, 0L, 0L, 1L), stored(trained(kTriangle, {1, 1, 1})),
         stored(rxXform<2>(), 3L, positions)});
    rxPointMatcher matcher = trained(kTriangle, {5, 1, -3});
    rxMemoryLoadArchive ar(bytes);
    ar || matcher;
    return matcher;
}

TEST(PointMatcher, AssignmentThatRunsOutOfMemoryChangesNothing) {
    const rxPointMatcher source = withNestedMatcher();
    rxPointMatcher target = trained(kSquare, {1, 2, 3, 4});
    const std::vector<unsigned char> before = stored(target);
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] { target = source; }, [&] { EXPECT_EQ(stored(target), before); });
    EXPECT_GE(failures, 7U);  // two models with points and weights each, nested matcher, positions
    EXPECT_EQ(stored(target), stored(source));
}

TEST(PointMatcher, LoadThatRunsOutOfMemoryChangesNothing) {
    const std::vector<unsigned char> bytes = stored(withNestedMatcher());
    rxPointMatcher target = trained(kSquare, {1, 2, 3, 4});
    const std::vector<unsigned char> before = stored(target);
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] {
            rxMemoryLoadArchive ar(bytes);
            ar || target;
        },
        [&] { EXPECT_EQ(stored(target), before); });
    EXPECT_GE(failures, 7U);
    EXPECT_EQ(stored(target), bytes);
}

TEST(PointMatcher, TrainingThatRunsOutOfMemoryLeavesItUntrained) {
    rxPointMatcher matcher;
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] {
            matcher.train(kTriangle, {5, 1, -3}, Defs::eExhaustiveMode);
        },
        [&] {
            EXPECT_FALSE(matcher.isTrained());
            matcher = trained(kSquare, {1, 2, 3, 4});
        });
    EXPECT_GE(failures, 3U);  // the model, its points, its weights
    EXPECT_EQ(matcher.modelPoints(), kTriangle);
}

}  // namespace
