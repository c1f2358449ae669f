#include "ptmatch/vote_estimates.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "ptmatch/chance.h"

namespace {

using ptmatch::detail::binomialTail;
using ptmatch::detail::VoteEstimates;
using ptmatch::detail::VoteWeights;

VoteWeights weightsOf(std::vector<std::int16_t> scaled) {
    VoteWeights weights;
    weights.scaled = std::move(scaled);
    return weights;
}

TEST(VoteEstimates, WindowsSeeAsManyBlocksOfMarksAsReachIntoThem) {
    const VoteEstimates estimates(0.3, 20, {});
    EXPECT_NEAR(estimates.densitySeen(1, 1), 0.3, 1e-12);
    EXPECT_NEAR(estimates.densitySeen(4, 1), 1.0 - 0.7 * 0.7, 1e-12);
    EXPECT_NEAR(estimates.densitySeen(1, 4), 1.0 - 0.7 * 0.7, 1e-12);
    EXPECT_LT(VoteEstimates(1.0, 20, {}).densitySeen(1, 1), 1.0);
}

TEST(VoteEstimates, SurvivalIsThatOfAsManyChances) {
    const VoteEstimates estimates(0.3, 20, {});
    EXPECT_DOUBLE_EQ(estimates.survival(0.2, 9), binomialTail(20, 0.2, 9));
    EXPECT_EQ(estimates.survival(0.2, 2), 1.0);
    EXPECT_GT(estimates.survival(0.2, 21), 0.0);
    EXPECT_EQ(estimates.viewsPerBlock(), 20.0);
}

TEST(VoteEstimates, WeightedPointsCountByTheirWeightsAboveZero) {
    const VoteEstimates estimates(0.3, 6, weightsOf({3, 3, -5, 3, 0, 3}));
    EXPECT_DOUBLE_EQ(estimates.survival(0.2, 6), binomialTail(4, 0.2, 2));
    EXPECT_EQ(estimates.viewsPerBlock(), 8.0);
    EXPECT_EQ(VoteEstimates(0.3, 3, weightsOf({1, 4, 7})).viewsPerBlock(), 5.0);
}

// One weight above the others makes the sum vary as that of fewer points does.
TEST(VoteEstimates, UnequalWeightsVaryAsFewerPointsOfTheirSumDo) {
    const VoteEstimates estimates(0.3, 3, weightsOf({2, 2, 4}));
    EXPECT_DOUBLE_EQ(estimates.survival(0.1, 6), binomialTail(8.0 / 3.0, 0.1, 2.0));
}

TEST(VoteEstimates, BlocksThatCannotReachTheThresholdEndSooner) {
    const VoteEstimates estimates(0.3, 200, {});
    const double all = estimates.sweep(0.1, 100, 10, 2);
    EXPECT_LT(estimates.sweep(0.1, 100, 10, 150), 0.5 * all);
    EXPECT_LT(estimates.sweep(0.1, 50, 10, 2), 0.6 * all);
    EXPECT_LT(estimates.sweep(0.1, 100, 5, 2), all);
    EXPECT_LT(estimates.sweep(0.1, 100, 10, 201), estimates.sweep(0.1, 100, 10, 150));
}

}  // namespace
