#include "ptmatch/gridcorr/placement_store.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "ptmatch/score_hashing.h"
#include "support/allocation_meter.h"

namespace {

using ptmatch::detail::Placement;
using ptmatch::detail::PlacementStore;
using ptmatch::testing::AllocationMeter;

using Entry = std::pair<long, long>;  // score, x

std::vector<Entry> rankedOf(PlacementStore& store) {
    std::vector<Entry> entries;
    for (const Placement& placement : store.ranked()) {
        entries.emplace_back(placement.score, placement.translation.x());
    }
    return entries;
}

void offer(PlacementStore& store, const std::vector<long>& scores) {
    for (std::size_t i = 0; i < scores.size(); ++i) {
        store.offer({scores[i], rxPair<long>(static_cast<long>(i), 0)});
    }
}

TEST(PlacementStore, OfOneKeepsTheFirstOfTheBest) {
    PlacementStore store(10, 1);
    offer(store, {3, 7, 5, 7, 6});
    EXPECT_EQ(rankedOf(store), std::vector<Entry>({{7, 1}}));
}

TEST(PlacementStore, OfMoreListsTheLatestOfEqualScoresFirst) {
    PlacementStore store(10, 9);
    offer(store, {3, 7, 5, 7, 6});
    EXPECT_EQ(rankedOf(store), std::vector<Entry>({{7, 3}, {7, 1}, {6, 4}, {5, 2}, {3, 0}}));
}

TEST(PlacementStore, ThatIsFullKeepsTheEarlierOfEqualScores) {
    PlacementStore store(10, 2);
    offer(store, {5, 5, 5, 6});
    EXPECT_EQ(rankedOf(store), std::vector<Entry>({{6, 3}, {5, 0}}));
}

TEST(PlacementStore, WithoutOffersHoldsNothing) {
    for (const long maxResults : {1L, 2L, 2147483647L}) {
        PlacementStore store(10, maxResults);
        EXPECT_TRUE(store.ranked().empty());
    }
}

TEST(PlacementStore, EqualsAScoreHashingOfItsSize) {
    std::mt19937 random(11);
    for (int round = 0; round < 2000; ++round) {
        const long maxScore = 1 + static_cast<long>(random() % 12);
        const long maxResults = 2 + static_cast<long>(random() % 10);
        PlacementStore store(maxScore, maxResults);
        rxScoreHashing hashing(maxScore, maxResults);
        for (long i = static_cast<long>(random() % 30); i > 0; --i) {
            const long score = 1 + static_cast<long>(random()) % maxScore;
            store.offer({score, rxPair<long>(i, 0)});
            hashing.add(score, rxPair<long>(i, 0));
        }
        std::vector<Entry> expected;
        rxPair<long> position;
        for (long s = hashing.first(position); s >= 1; s = hashing.next(position)) {
            expected.emplace_back(s, position.x());
        }
        ASSERT_EQ(rankedOf(store), expected) << "round " << round;
    }
}

TEST(PlacementStore, ThinnedRunsLeaveTheSameToKeep) {
    std::mt19937 random(12);
    for (const long maxResults : {1L, 2L, 7L, 1000L, 4000L}) {
        std::vector<Placement> run;
        for (long i = 0; i < 9000; ++i) {
            run.push_back({1 + static_cast<long>(random() % 50), rxPair<long>(i % 3000, i / 3000)});
        }
        PlacementStore whole(50, maxResults);
        for (const Placement& placement : run) whole.offer(placement);
        PlacementStore thinned(50, maxResults);
        const std::size_t before = run.size();
        thinned.thinOut(run);
        EXPECT_LT(run.size(), before);
        for (const Placement& placement : run) thinned.offer(placement);
        EXPECT_EQ(rankedOf(thinned), rankedOf(whole)) << maxResults;
    }
}

TEST(PlacementStore, TakesMemoryForWhatIsOfferedAlone) {
    const AllocationMeter meter;
    PlacementStore store(1000, 2147483647);
    offer(store, {5, 5, 1000});
    EXPECT_EQ(store.ranked().size(), 3U);
    EXPECT_LT(meter.total(), 20000U);
}

}  // namespace
