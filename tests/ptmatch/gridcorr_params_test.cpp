#include <gtest/gtest.h>

#include <type_traits>

#include "ptmatch/gridcorr.h"

namespace {

using Defs = rx_PointToGridCorresponderDefs;
using TrainParams = rx_PointToGridCorresponderTrainParams;
using RunParams = rx_PointToGridCorresponderRunParams;
using Result = rx_PointToGridCorresponderResult;
using ResultSet = rx_PointToGridCorresponderResultSet;

TEST(GridCorresponderTrainParams, DefaultsAreAPlainGridAndBorderPoints) {
    const TrainParams params;
    EXPECT_FALSE(params.staggered());
    EXPECT_EQ(params.featureType(), Defs::eBorderPoints);
}

TEST(GridCorresponderTrainParams, TakeStaggeredThenTheFeatureType) {
    EXPECT_TRUE(TrainParams(true).staggered());
    EXPECT_EQ(TrainParams(true).featureType(), Defs::eBorderPoints);
    const TrainParams params(true, Defs::eAllPoints);
    EXPECT_TRUE(params.staggered());
    EXPECT_EQ(params.featureType(), Defs::eAllPoints);
    static_assert(!std::is_convertible_v<bool, TrainParams>);
}

TEST(GridCorresponderTrainParams, EachSetterSetsItsFieldAlone) {
    TrainParams params;
    params.staggered(true);
    EXPECT_TRUE(params.staggered());
    EXPECT_EQ(params.featureType(), Defs::eBorderPoints);
    params.featureType(Defs::eWideBorderPoints);
    EXPECT_TRUE(params.staggered());
    EXPECT_EQ(params.featureType(), Defs::eWideBorderPoints);
    params.staggered(false);
    EXPECT_FALSE(params.staggered());
}

TEST(GridCorresponderTrainParams, CopiesTakeBothFields) {
    const TrainParams params(true, Defs::eWideBorderPoints);
    const TrainParams copy(params);
    TrainParams assigned;
    assigned = params;
    for (const TrainParams& other : {copy, assigned}) {
        EXPECT_TRUE(other.staggered());
        EXPECT_EQ(other.featureType(), Defs::eWideBorderPoints);
    }
}

TEST(GridCorresponderRunParams, DefaultsAreHalfOfTheProbesAndOneResult) {
    const RunParams params;
    EXPECT_EQ(params.accept(), 0.5);
    EXPECT_EQ(params.confusion(), 1.0);
    EXPECT_EQ(params.maxNumResults(), 1);
}

TEST(GridCorresponderRunParams, TakeAcceptThenConfusionThenTheNumberOfResults) {
    const RunParams params(0.25, 0.75, 9);
    EXPECT_EQ(params.accept(), 0.25);
    EXPECT_EQ(params.confusion(), 0.75);
    EXPECT_EQ(params.maxNumResults(), 9);
    EXPECT_EQ(RunParams(0.25).confusion(), 1.0);
    EXPECT_EQ(RunParams(0.25, 0.75).maxNumResults(), 1);
}

TEST(GridCorresponderRunParams, EachSetterSetsItsFieldAloneAndChecksNothing) {
    RunParams params;
    params.accept(-7.0);
    params.confusion(1e300);
    params.maxNumResults(-3);
    EXPECT_EQ(params.accept(), -7.0);
    EXPECT_EQ(params.confusion(), 1e300);
    EXPECT_EQ(params.maxNumResults(), -3);
    const RunParams copy(params);
    RunParams assigned(0.1, 0.2, 3);
    assigned = params;
    for (const RunParams& other : {copy, assigned}) {
        EXPECT_EQ(other.accept(), -7.0);
        EXPECT_EQ(other.confusion(), 1e300);
        EXPECT_EQ(other.maxNumResults(), -3);
    }
}

TEST(GridCorresponderResult, DefaultIsNothingFound) {
    const Result result;
    EXPECT_FALSE(result.found());
    EXPECT_EQ(result.score(), 0.0);
    EXPECT_EQ(result.position(), rxPair<long>(0, 0));
    const ResultSet set;
    EXPECT_EQ(set.time(), 0.0);
    EXPECT_TRUE(set.results().empty());
}

}  // namespace
