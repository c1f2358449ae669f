#include "ptmatch/best_assignments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ptmatch::detail::BestAssignments;
using ptmatch::detail::isEarlier;
using ptmatch::detail::Partners;
using ptmatch::detail::RankedPose;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

RankedPose poseOf(double coverage, double fitError, long name = 0) {
    return {rxXform<2>(), {name}, coverage, fitError};
}

std::vector<long> namesOf(std::vector<RankedPose> poses) {
    std::vector<long> names;
    for (const RankedPose& pose : poses) names.push_back(pose.map.front());
    return names;
}

TEST(AssignmentOrder, IsThatOfAnOdometerWhoseFirstSlotTurnsFastest) {
    Partners previous(4, -1);
    for (Partners next = previous;;) {
        std::size_t slot = 0;
        while (slot < next.size() && ++next[slot] == 3) next[slot++] = -1;
        if (slot == next.size()) break;
        EXPECT_TRUE(isEarlier(previous, next));
        EXPECT_FALSE(isEarlier(next, previous));
        EXPECT_FALSE(isEarlier(next, next));
        previous = next;
    }
}

TEST(BestAssignments, ComeOutBestFirst) {
    BestAssignments best(10);
    best.offer({0}, poseOf(0.5, 1.0, 1), 1);
    best.offer({1}, poseOf(1.0, 3.0, 2), 2);
    best.offer({2}, poseOf(1.0, 2.0, 3), 2);
    EXPECT_FALSE(best.isFull());
    EXPECT_THAT(namesOf(best.take()), ElementsAre(3, 2, 1));
    EXPECT_THAT(best.take(), IsEmpty());
}

TEST(BestAssignments, FullListLosesItsWorst) {
    BestAssignments best(2);
    best.offer({0}, poseOf(0.5, 1.0, 1), 1);
    best.offer({1}, poseOf(0.75, 3.0, 2), 3);
    ASSERT_TRUE(best.isFull());
    EXPECT_EQ(best.worstCount(), 1);
    best.offer({2}, poseOf(0.25, 0.0, 3), 0);
    EXPECT_EQ(best.worstCount(), 1) << "what is worse than all changes nothing";
    best.offer({3}, poseOf(1.0, 9.0, 4), 4);
    EXPECT_EQ(best.worstCount(), 3);
    EXPECT_THAT(namesOf(best.take()), ElementsAre(4, 2));
}

TEST(BestAssignments, EarlierAssignmentWinsACompleteTieHoweverLateItComes) {
    for (const std::size_t limit : {1U, 2U, 3U}) {
        BestAssignments best(limit);
        best.offer({-1, 2}, poseOf(1.0, 0.5, 3), 2);
        best.offer({2, 0}, poseOf(1.0, 0.5, 1), 2);
        best.offer({0, 1}, poseOf(1.0, 0.5, 2), 2);
        std::vector<long> expected = {1, 2, 3};
        expected.resize(limit);
        EXPECT_EQ(namesOf(best.take()), expected);
    }
}

}  // namespace
