#include "ptmatch/score_buckets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include "ptmatch/literal_score_store.h"
#include "ptmatch/pose_score_store.h"
#include "support/allocation_meter.h"
#include "support/assertion_recorder.h"

namespace {

using ptmatch::detail::PoseCandidate;
using ptmatch::detail::rx_PoseScoreStore;
using ptmatch::detail::ScoreBuckets;
using ptmatch::testing::AllocationMeter;
using ptmatch::testing::AssertionRecorder;
using ptmatch::testing::LiteralScoreStore;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Store = ScoreBuckets<int>;

std::vector<std::pair<long, int>> contents(Store& store) {
    std::vector<std::pair<long, int>> found;
    int entry = 0;
    for (long score = store.first(entry); score >= 0; score = store.next(entry)) {
        found.emplace_back(score, entry);
    }
    return found;
}

TEST(ScoreBuckets, EvictsTheLaterOfTwoLowestEntries) {
    Store store(10, 3);
    EXPECT_TRUE(store.add(5, 1));
    EXPECT_TRUE(store.add(7, 2));
    EXPECT_FALSE(store.isFull());
    EXPECT_TRUE(store.add(5, 3));
    EXPECT_TRUE(store.isFull());
    EXPECT_TRUE(store.add(6, 4));
    EXPECT_THAT(contents(store), ElementsAre(Pair(7, 2), Pair(6, 4), Pair(5, 1)));
}

TEST(ScoreBuckets, TieWithTheLowestScoreIsRefused) {
    Store store(10, 2);
    store.add(4, 1);
    store.add(9, 2);
    EXPECT_FALSE(store.add(4, 3));
    EXPECT_TRUE(store.add(5, 4));
    EXPECT_EQ(store.lowestScore(), 5);
    EXPECT_EQ(store.highestScore(), 9);
    EXPECT_THAT(contents(store), ElementsAre(Pair(9, 2), Pair(5, 4)));
}

TEST(ScoreBuckets, LowMarkStopsAtTheNewScoreBelowTheNextOne) {
    Store store(100, 2);
    store.add(4, 1);
    store.add(90, 2);
    EXPECT_TRUE(store.add(20, 3));
    EXPECT_EQ(store.lowestScore(), 20);
    EXPECT_TRUE(store.add(95, 4));
    EXPECT_EQ(store.lowestScore(), 90);
    EXPECT_EQ(store.highestScore(), 95);
}

TEST(ScoreBuckets, ScoreAboveTheMaximumIsReportedAndRefused) {
    const AssertionRecorder recorder;
    Store store(10, 2);
    EXPECT_FALSE(store.add(-1, 1));
    EXPECT_THAT(recorder.codes(), IsEmpty());
    EXPECT_FALSE(store.add(11, 1));
    EXPECT_THAT(recorder.codes(), ElementsAre(420));
    EXPECT_EQ(store.numResults(), 0);
    EXPECT_TRUE(store.add(10, 1));
    EXPECT_FALSE(store.add(LONG_MAX, 2));
    EXPECT_THAT(recorder.codes(), ElementsAre(420, 420));
}

TEST(ScoreBuckets, EmptyStoreAndEndOfIterationGiveMinusOneAndLeaveTheEntry) {
    Store store(10, 2);
    int entry = -7;
    EXPECT_EQ(store.first(entry), -1);
    EXPECT_EQ(store.next(entry), -1);
    EXPECT_EQ(store.lowestScore(), -1);
    EXPECT_EQ(store.highestScore(), -1);
    EXPECT_EQ(store.current(), nullptr);

    store.add(4, 1);
    EXPECT_EQ(store.next(entry), -1) << "no iteration was begun";
    EXPECT_EQ(entry, -7);
    EXPECT_EQ(store.first(entry), 4);
    EXPECT_EQ(entry, 1);
    entry = -7;
    EXPECT_EQ(store.next(entry), -1);
    EXPECT_EQ(store.next(entry), -1);
    EXPECT_EQ(entry, -7);
}

TEST(ScoreBuckets, CapacityOfOneFollowsTheBestScoreAcrossAnyGap) {
    Store store(2000000000, 1);
    for (const long score : {0L, 1L, 500L, 2000000000L}) {
        EXPECT_TRUE(store.add(score, 1));
        EXPECT_FALSE(store.add(score, 2));
        EXPECT_EQ(store.lowestScore(), score);
        EXPECT_EQ(store.highestScore(), score);
        EXPECT_THAT(contents(store), ElementsAre(Pair(score, 1)));
    }
}

TEST(ScoreBuckets, DimensionsBelowOneAreReportedAndStoreNothing) {
    for (const auto& [maxScore, capacity] :
         {std::pair(0L, 5L), {5L, 0L}, {-1L, -1L}, {LONG_MIN, 1L}, {1L, LONG_MIN}}) {
        const AssertionRecorder recorder;
        Store store(maxScore, capacity);
        EXPECT_THAT(recorder.codes(), ElementsAre(12)) << maxScore << ' ' << capacity;
        EXPECT_FALSE(store.add(0, 1));
        EXPECT_FALSE(store.add(1, 1));
        EXPECT_FALSE(store.add(-1, 1));
        EXPECT_THAT(contents(store), IsEmpty());
        EXPECT_EQ(store.numResults(), 0);
    }
}

TEST(ScoreBuckets, MemoryFollowsWhatIsHeld) {
    const AllocationMeter meter;
    Store store(2147483647, 2147483647);
    for (int i = 0; i < 1000; ++i) EXPECT_TRUE(store.add(2000000L * (i % 100), i));
    EXPECT_EQ(store.numResults(), 1000);
    EXPECT_EQ(store.highestScore(), 99L * 2000000);
    EXPECT_LE(meter.largest(), 256U) << "a bucket of 10 entries, or a node of the map";
}

TEST(ScoreBuckets, CurrentIsTheEntryOfTheIterationWithoutACopy) {
    rx_PoseScoreStore store(10, 2);
    store.add(3, PoseCandidate{3, {}, {}, {0, -1, 2}});
    store.add(5, PoseCandidate{5, {}, {}, {1, 2, 3}});
    ASSERT_EQ(store.first(), 5);
    EXPECT_THAT(store.current()->map, ElementsAre(1, 2, 3));
    ASSERT_EQ(store.next(), 3);
    EXPECT_THAT(store.current()->map, ElementsAre(0, -1, 2));
    EXPECT_EQ(store.next(), -1);
    EXPECT_THAT(store.current()->map, ElementsAre(0, -1, 2));
}

TEST(ScoreBuckets, AcceptedEntryEndsTheIteration) {
    Store store(10, 2);
    store.add(3, 1);
    store.add(5, 2);
    ASSERT_EQ(store.first(), 5);
    EXPECT_FALSE(store.add(3, 3));
    EXPECT_EQ(store.next(), 3) << "a refused entry disturbs nothing";
    EXPECT_TRUE(store.add(4, 4));
    EXPECT_EQ(store.current(), nullptr);
    EXPECT_EQ(store.next(), -1);
    EXPECT_EQ(store.first(), 5);
}

TEST(ScoreBuckets, AnyOfVisitsEveryEntryInOrderAndStopsAtAHit) {
    Store store(10, 4);
    store.add(3, 1);
    store.add(8, 2);
    store.add(3, 3);
    std::vector<int> asked;
    const auto ask = [&](int wanted) {
        asked.clear();
        return std::as_const(store).anyOf([&](int entry) {
            asked.push_back(entry);
            return entry == wanted;
        });
    };
    EXPECT_FALSE(ask(99));
    EXPECT_THAT(asked, ElementsAre(2, 3, 1));
    EXPECT_TRUE(ask(3));
    EXPECT_THAT(asked, ElementsAre(2, 3));
}

// Fails to move while `failing` is set, as an entry does that runs out of memory.
struct Fragile {
    explicit Fragile(int v) : value(v) {}
    Fragile(const Fragile& other) : value(other.value) {
        if (failing) throw std::runtime_error("no memory");
    }
    Fragile& operator=(const Fragile&) = default;
    ~Fragile() = default;
    int value;
    static inline bool failing = false;
};

TEST(ScoreBuckets, FailureToTakeAnEntryLeavesTheStore) {
    ScoreBuckets<Fragile> store(10, 2);
    store.add(3, Fragile(1));
    store.add(5, Fragile(2));
    for (const long score : {4L, 5L}) {
        Fragile::failing = true;
        EXPECT_THROW(store.add(score, Fragile(3)), std::runtime_error);
        Fragile::failing = false;
        EXPECT_EQ(store.numResults(), 2);
        EXPECT_EQ(store.lowestScore(), 3);
        ASSERT_EQ(store.first(), 5);
        EXPECT_EQ(store.current()->value, 2);
        ASSERT_EQ(store.next(), 3);
        EXPECT_EQ(store.current()->value, 1);
        EXPECT_EQ(store.next(), -1);
    }
}

// Every answer and every iteration of random sequences, against the plain rules.
TEST(ScoreBuckets, AgreesWithThePlainRules) {
    constexpr unsigned kSeed = 6302;
    RecordProperty("seed", static_cast<int>(kSeed));
    const AssertionRecorder recorder;
    std::mt19937 random(kSeed);
    const auto draw = [&](long low, long high) {
        return std::uniform_int_distribution<long>(low, high)(random);
    };
    for (int sequence = 0; sequence < 5000; ++sequence) {
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", sequence " << sequence);
        const long maxScore = draw(1, 30);
        const long capacity = draw(1, 8);
        Store store(maxScore, capacity);
        LiteralScoreStore<int> plain(LiteralScoreStore<int>::Marks::kCandidates, maxScore,
                                     capacity);
        const int numAdds = static_cast<int>(draw(0, 40));
        for (int i = 0; i < numAdds; ++i) {
            const long score = draw(-1, maxScore + 1);
            ASSERT_EQ(store.add(score, i), plain.add(score, i));
            ASSERT_EQ(store.numResults(), plain.numResults());
            ASSERT_EQ(store.isFull(), plain.numResults() == capacity);
            ASSERT_EQ(store.highestScore(), plain.highestScore());
            ASSERT_EQ(store.lowestScore(), plain.lowestScore());
            if (draw(0, 9) != 0) continue;
            // A whole iteration or the beginning of one, and past its end.
            int entry = -1;
            int expected = -1;
            ASSERT_EQ(store.first(entry), plain.first(expected));
            for (long step = draw(0, capacity + 2); step > 0; --step) {
                ASSERT_EQ(entry, expected);
                ASSERT_EQ(store.next(entry), plain.next(expected));
            }
            ASSERT_EQ(entry, expected);
        }
        int entry = -1;
        int expected = -1;
        long score = store.first(entry);
        ASSERT_EQ(score, plain.first(expected));
        while (score >= 0) {
            ASSERT_EQ(entry, expected);
            score = store.next(entry);
            ASSERT_EQ(score, plain.next(expected));
        }
    }
}

}  // namespace
