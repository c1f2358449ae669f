#include "ptmatch/score_hashing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <random>
#include <type_traits>
#include <vector>

#include "ptmatch/literal_score_store.h"
#include "support/allocation_meter.h"
#include "support/assertion_recorder.h"

namespace {

using ptmatch::testing::AllocationMeter;
using ptmatch::testing::AssertionRecorder;
using ptmatch::testing::LiteralScoreStore;
using testing::ElementsAre;
using testing::IsEmpty;

rxPair<long> at(long x, long y = 0) {
    return {x, y};
}

struct Scored {
    long score;
    long x;
    bool operator==(const Scored&) const = default;
};

std::vector<Scored> contents(rxScoreHashing& store) {
    std::vector<Scored> found;
    rxPair<long> position(0, 0);
    for (long score = store.first(position); score >= 0; score = store.next(position)) {
        found.push_back({score, position.x()});
    }
    return found;
}

TEST(ScoreHashing, EvictsTheLaterOfTwoLowestPositions) {
    rxScoreHashing store(10, 3);
    EXPECT_TRUE(store.add(5, at(1)));
    EXPECT_TRUE(store.add(7, at(2)));
    EXPECT_TRUE(store.add(5, at(3)));
    EXPECT_TRUE(store.add(6, at(4)));
    EXPECT_THAT(contents(store), ElementsAre(Scored{7, 2}, Scored{6, 4}, Scored{5, 1}));
}

TEST(ScoreHashing, TieWithTheLowestScoreIsRefused) {
    rxScoreHashing store(10, 2);
    store.add(4, at(1));
    store.add(9, at(2));
    EXPECT_FALSE(store.add(4, at(3)));
    EXPECT_THAT(contents(store), ElementsAre(Scored{9, 2}, Scored{4, 1}));
    EXPECT_TRUE(store.add(5, at(4)));
    EXPECT_EQ(store.lowestScore(), 5);
    EXPECT_EQ(store.highestScore(), 9);
    EXPECT_THAT(contents(store), ElementsAre(Scored{9, 2}, Scored{5, 4}));
}

TEST(ScoreHashing, ScoresOutOfRangeAreRefusedAndChangeNothing) {
    const AssertionRecorder recorder;
    rxScoreHashing store(10, 2);
    store.add(3, at(1));
    EXPECT_FALSE(store.add(-1, at(2)));
    EXPECT_FALSE(store.add(store.maxScore() + 1, at(3)));
    EXPECT_FALSE(store.add(LONG_MIN, at(4)));
    EXPECT_FALSE(store.add(LONG_MAX, at(5)));
    EXPECT_EQ(store.numResults(), 1);
    EXPECT_EQ(store.lowestScore(), 3);
    EXPECT_EQ(store.highestScore(), 3);
    EXPECT_THAT(contents(store), ElementsAre(Scored{3, 1}));
    EXPECT_THAT(recorder.codes(), IsEmpty());
}

TEST(ScoreHashing, BothEndsOfTheScoreRangeAreAccepted) {
    rxScoreHashing store(10, 2);
    EXPECT_TRUE(store.add(0, at(1)));
    EXPECT_TRUE(store.add(10, at(2)));
    EXPECT_THAT(contents(store), ElementsAre(Scored{10, 2}, Scored{0, 1}));
}

TEST(ScoreHashing, EmptyStoreAndEndOfIterationGiveMinusOneAndLeaveThePosition) {
    rxScoreHashing store(10, 2);
    rxPair<long> position = at(-5, -6);
    EXPECT_EQ(store.first(position), -1);
    EXPECT_EQ(store.next(position), -1);
    EXPECT_EQ(position, at(-5, -6));
    EXPECT_EQ(store.highestScore(), -1);
    EXPECT_EQ(store.lowestScore(), -1);

    store.add(4, at(1, 2));
    EXPECT_EQ(store.next(position), -1) << "no iteration was begun";
    EXPECT_EQ(store.first(position), 4);
    EXPECT_EQ(position, at(1, 2));
    position = at(-5, -6);
    EXPECT_EQ(store.next(position), -1);
    EXPECT_EQ(store.next(position), -1);
    EXPECT_EQ(position, at(-5, -6));
}

TEST(ScoreHashing, SameDimensionsOnlyClear) {
    rxScoreHashing store(10, 2);
    store.add(4, at(1));
    store.max(10, 2);
    EXPECT_EQ(store.numResults(), 0);
    EXPECT_EQ(store.lowestScore(), -1);
    EXPECT_EQ(store.highestScore(), -1);
    EXPECT_THAT(contents(store), IsEmpty());
    EXPECT_TRUE(store.add(10, at(2)));
    EXPECT_THAT(contents(store), ElementsAre(Scored{10, 2}));
}

TEST(ScoreHashing, NewDimensionsTakeEffectAndClear) {
    rxScoreHashing store(10, 2);
    store.add(4, at(1));
    store.max(20, 2);
    EXPECT_EQ(store.maxScore(), 20);
    EXPECT_EQ(store.numResults(), 0);
    EXPECT_THAT(contents(store), IsEmpty());
    EXPECT_TRUE(store.add(20, at(2)));

    store.max(20, 3);
    EXPECT_EQ(store.maxResults(), 3);
    EXPECT_EQ(store.numResults(), 0);
    for (long x = 0; x < 3; ++x) EXPECT_TRUE(store.add(1, at(x)));
    EXPECT_FALSE(store.add(1, at(3)));

    store.max(5, 1);
    EXPECT_FALSE(store.add(6, at(1)));
    EXPECT_TRUE(store.add(5, at(1)));
    EXPECT_THAT(contents(store), ElementsAre(Scored{5, 1}));
}

TEST(ScoreHashing, DefaultStoreKeepsOnePositionOfScoresToThousand) {
    rxScoreHashing store;
    EXPECT_EQ(store.maxScore(), 1000);
    EXPECT_EQ(store.maxResults(), 1);
    EXPECT_FALSE(store.add(1001, at(9)));
    EXPECT_TRUE(store.add(3, at(1)));
    EXPECT_TRUE(store.add(4, at(2)));
    EXPECT_THAT(contents(store), ElementsAre(Scored{4, 2}));
}

// The walk of the low mark has no list to stop at here: both marks go to the new score.
TEST(ScoreHashing, CapacityOfOneFollowsTheBestScoreAcrossAnyGap) {
    rxScoreHashing store(1000, 1);
    for (const long score : {3L, 4L, 500L, 1000L}) {
        EXPECT_TRUE(store.add(score, at(score)));
        EXPECT_FALSE(store.add(score, at(-1)));
        EXPECT_EQ(store.lowestScore(), score);
        EXPECT_EQ(store.highestScore(), score);
        EXPECT_THAT(contents(store), ElementsAre(Scored{score, score}));
    }
}

TEST(ScoreHashing, ClearKeepsTheDimensions) {
    rxScoreHashing store(10, 2);
    store.add(4, at(1));
    store.add(4, at(2));
    store.clear();
    EXPECT_EQ(store.numResults(), 0);
    EXPECT_EQ(store.maxScore(), 10);
    EXPECT_EQ(store.maxResults(), 2);
    rxPair<long> position = at(0);
    EXPECT_EQ(store.first(position), -1);
    EXPECT_EQ(store.next(position), -1);
}

TEST(ScoreHashing, DimensionsBelowOneAreReportedAndKept) {
    const AssertionRecorder recorder;
    rxScoreHashing store(5, 0);
    EXPECT_THAT(recorder.codes(), ElementsAre(12, 45));
    store.max(0, 3);
    EXPECT_THAT(recorder.codes(), ElementsAre(12, 45, 45));
    EXPECT_EQ(store.maxScore(), 0);
    EXPECT_EQ(store.maxResults(), 3);
    store.max(1, 1);
    EXPECT_THAT(recorder.codes(), ElementsAre(12, 45, 45));
}

TEST(ScoreHashing, DimensionsBelowOneNeverFault) {
    const AssertionRecorder recorder;
    for (const long maxScore : {LONG_MIN, -2L, -1L, 0L, 4L}) {
        for (const long maxResults : {LONG_MIN, -1L, 0L, 1L}) {
            rxScoreHashing store(maxScore, maxResults);
            const bool holdsZero = maxScore >= 0 && maxResults >= 1;
            for (int round = 0; round < 2; ++round) {
                EXPECT_EQ(store.add(0, at(7)), holdsZero) << maxScore << ' ' << maxResults;
                EXPECT_FALSE(store.add(0, at(8)));
                EXPECT_FALSE(store.add(-1, at(8)));
                EXPECT_FALSE(store.add(5, at(8)));
                EXPECT_EQ(contents(store).size(), holdsZero ? 1U : 0U);
                store.max(maxScore, maxResults);
            }
        }
    }
}

TEST(ScoreHashing, DimensionsBeyond32BitsAreBadAllocAndLeaveTheStore) {
    rxScoreHashing store(10, 2);
    store.add(4, at(1));
    for (const long huge : {2147483648L, LONG_MAX}) {
        EXPECT_THROW(store.max(huge, 2), std::bad_alloc);
        EXPECT_THROW(store.max(10, huge), std::bad_alloc);
        EXPECT_THROW(rxScoreHashing(huge, 1), std::bad_alloc);
    }
    EXPECT_EQ(store.maxScore(), 10);
    EXPECT_EQ(store.maxResults(), 2);
    EXPECT_THAT(contents(store), ElementsAre(Scored{4, 1}));
}

TEST(ScoreHashing, OnlyNewDimensionsAllocate) {
    rxScoreHashing store(100, 10);
    {
        const AllocationMeter meter;
        for (long i = 0; i < 200; ++i) store.add(i % 101, at(i));
        rxPair<long> position;
        EXPECT_EQ(store.first(position), 100);
        while (store.next(position) >= 0) continue;
        store.clear();
        store.max(100, 10);
        EXPECT_EQ(meter.largest(), 0U);
    }
    const AllocationMeter meter;
    store.max(200, 10);
    EXPECT_EQ(meter.largest(), 201 * sizeof(void*));
}

TEST(ScoreHashing, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<rxScoreHashing>);
    EXPECT_FALSE(std::is_copy_assignable_v<rxScoreHashing>);
}

// Every answer and every iteration of random sequences, against the plain rules.
TEST(ScoreHashing, AgreesWithThePlainRules) {
    constexpr unsigned kSeed = 6301;
    RecordProperty("seed", static_cast<int>(kSeed));
    std::mt19937 random(kSeed);
    const auto draw = [&](long low, long high) {
        return std::uniform_int_distribution<long>(low, high)(random);
    };
    for (int sequence = 0; sequence < 5000; ++sequence) {
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", sequence " << sequence);
        const long maxScore = draw(1, 30);
        const long capacity = draw(1, 8);
        rxScoreHashing store(maxScore, capacity);
        LiteralScoreStore<rxPair<long>> plain(LiteralScoreStore<rxPair<long>>::Marks::kPositions,
                                              maxScore, capacity);
        const long numAdds = draw(0, 40);
        for (long i = 0; i < numAdds; ++i) {
            const long score = draw(-1, maxScore + 1);
            ASSERT_EQ(store.add(score, at(i, score)), plain.add(score, at(i, score)));
            ASSERT_EQ(store.numResults(), plain.numResults());
            ASSERT_EQ(store.highestScore(), plain.highestScore());
            ASSERT_EQ(store.lowestScore(), plain.lowestScore());
            if (draw(0, 9) != 0) continue;
            // A whole iteration or the beginning of one, and past its end.
            rxPair<long> position = at(-1);
            rxPair<long> expected = at(-1);
            ASSERT_EQ(store.first(position), plain.first(expected));
            for (long step = draw(0, capacity + 2); step > 0; --step) {
                ASSERT_EQ(position, expected);
                ASSERT_EQ(store.next(position), plain.next(expected));
            }
            ASSERT_EQ(position, expected);
        }
        if (draw(0, 3) == 0) {
            store.clear();
            plain.clear();
        }
        rxPair<long> position = at(-1);
        rxPair<long> expected = at(-1);
        long score = store.first(position);
        ASSERT_EQ(score, plain.first(expected));
        while (score >= 0) {
            ASSERT_EQ(position, expected);
            score = store.next(position);
            ASSERT_EQ(score, plain.next(expected));
        }
    }
}

}  // namespace
