#include "ptmatch/vote_weights.h"

#include <gtest/gtest.h>

#include "foundation/assertion.h"

namespace {

using ptmatch::detail::makeVoteWeights;
using ptmatch::detail::VoteWeights;

std::optional<VoteWeights> unweighted(std::size_t numPoints, double minCoverage) {
    return makeVoteWeights(numPoints, {}, minCoverage);
}

std::optional<VoteWeights> weighted(const std::vector<long>& weights, double minCoverage) {
    return makeVoteWeights(weights.size(), weights, minCoverage);
}

int reportedLine = 0;

TEST(VoteWeights, UnweightedMinimumIsTruncatedAndAtLeastTwo) {
    EXPECT_EQ(unweighted(10, 0.39)->minimumScore, 3);
    EXPECT_EQ(unweighted(10, 0.1)->minimumScore, 2);
    EXPECT_EQ(unweighted(10, 0.0)->minimumScore, 2);
    EXPECT_FALSE(unweighted(10, 0.5)->isWeighted());
}

TEST(VoteWeights, SmallWeightsStayAsTheyAre) {
    const auto votes = weighted({5, 0, -3, 32762}, 0.5);
    ASSERT_TRUE(votes);
    EXPECT_EQ(votes->scaled, (std::vector<std::int16_t>{5, 0, -3, 32762}));
    EXPECT_EQ(votes->minimumScore, 16383);  // half of 32767, truncated
    EXPECT_TRUE(votes->fitsShort);
}

TEST(VoteWeights, PositiveSumAbove32767IsScaledTo16384) {
    const auto votes = weighted({32767, 1, -32768}, 1.0);
    ASSERT_TRUE(votes);
    // 16384 / 32768 = 0.5; halves are rounded away from zero
    EXPECT_EQ(votes->scaled, (std::vector<std::int16_t>{16384, 1, -16384}));
    EXPECT_EQ(votes->minimumScore, 16385);
}

TEST(VoteWeights, NegativeMagnitudeFrom32768IsScaledToo) {
    EXPECT_EQ(weighted({5, 5, -32767}, 1.0)->scaled[2], -32767);
    const auto votes = weighted({5, 5, -32768}, 1.0);
    ASSERT_TRUE(votes);
    EXPECT_EQ(votes->scaled, (std::vector<std::int16_t>{3, 3, -16384}));
}

TEST(VoteWeights, ExtremeWeightsFitSixteenBits) {
    const auto votes = weighted({2147483646, 1, -2147483648L}, 1.0);
    ASSERT_TRUE(votes);
    EXPECT_EQ(votes->scaled, (std::vector<std::int16_t>{16384, 0, -16384}));
}

TEST(VoteWeights, PositiveWeightsThatVanishAreReportedAndGiveNothing) {
    reportedLine = 0;
    const rxAssertionHook before = rfSetAssertionHook([](int line) { reportedLine = line; });
    const auto votes = weighted({1, 1, -1000000}, 0.5);
    rfSetAssertionHook(before);
    EXPECT_FALSE(votes);
    EXPECT_NE(reportedLine, 0);
}

TEST(VoteWeights, From32768UnweightedPointsVotesAreWide) {
    EXPECT_TRUE(unweighted(32767, 0.5)->fitsShort);
    EXPECT_FALSE(unweighted(32768, 0.5)->fitsShort);
}

TEST(VoteWeights, RoundingUpManyWeightsPastSixteenBitsAsksForWideVotes) {
    // 32768 weights of 2: each scales to 16384 / 65536 * 2 = 0.5, which rounds to 1.
    const auto votes = weighted(std::vector<long>(32768, 2), 0.5);
    ASSERT_TRUE(votes);
    EXPECT_EQ(votes->scaled.front(), 1);
    EXPECT_FALSE(votes->fitsShort);
    EXPECT_EQ(votes->minimumScore, 16384);
}

}  // namespace
