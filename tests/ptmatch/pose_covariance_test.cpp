#include "ptmatch/pose_covariance.h"

#include <gtest/gtest.h>

#include <cmath>

#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "ptmatch/addition_world.h"

namespace {

using namespace ptmatch::testing;
using Defs = rxPointMatcherDefs;

constexpr int kTrials = 4000;
// The standard deviation of an estimated variance is sqrt(2 / kTrials) = 2.2 % of it: four of them.
constexpr double kFour = 0.09;

// Sums of squares and products of what is off.
struct Moments {
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    void add(double x, double y) {
        xx += x * x / kTrials;
        xy += x * y / kTrials;
        yy += y * y / kTrials;
    }
};

class PoseCovariance : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Models, PoseCovariance, testing::Values(3, 4, 6));

TEST_P(PoseCovariance, IsThatOfFitsToManyDisplacedCopies) {
    const int dof = GetParam();
    // About 30 degrees; long and narrow, off the origin.
    const Points model = {{100, 50}, {117, 52}, {131, 51}, {108, 55}, {125, 48}, {140, 53}};
    rxXform<2> pose = poseAt(20, -7, 30, dof == 4 ? 1.7 : 1.0);
    if (dof == 6) pose = rxXform<2>(rxMatrix<2>(1.2, -0.6, 0.3, 0.9), {20, -7});
    const double sigma = 0.05;
    const Points exact = mapped(pose, model);
    const rxPoseCovariance expected = rfPoseCovariance(pose, model, exact, dof, sigma);
    EXPECT_EQ(expected.sigma, sigma);

    Randoms random(11);
    const Points places = {expected.centre, {100, 50}, {0, 0}, {140, 70}};
    std::vector<Moments> moments(places.size());
    Moments angleAndScale;
    double estimated = 0.0;
    for (int trial = 0; trial < kTrials; ++trial) {
        const Points data = random.shaken(exact, sigma);
        const rxXform<2> fitted = rxLSPointToPointFitter(data, model).fit(dof);
        for (std::size_t i = 0; i < places.size(); ++i) {
            const rxVector<2> off = fitted * places[i] - pose * places[i];
            moments[i].add(off.x(), off.y());
        }
        angleAndScale.add(fitted.xRot().toDouble() - pose.xRot().toDouble(),
                          std::log(fitted.xScale() / pose.xScale()));
        const double s = rfPoseCovariance(fitted, model, data, dof).sigma;
        estimated += s * s / kTrials;
    }
    for (std::size_t i = 0; i < places.size(); ++i) {
        SCOPED_TRACE(i);
        const rxPoseCovariance::Position at = expected.positionAt(places[i]);
        EXPECT_NEAR(moments[i].xx, at.xx, kFour * at.xx);
        EXPECT_NEAR(moments[i].yy, at.yy, kFour * at.yy);
        EXPECT_NEAR(moments[i].xy, at.xy, kFour * std::sqrt(at.xx * at.yy));
        EXPECT_EQ(at.rms(), std::sqrt(at.xx + at.yy));
    }
    const double angle2 = expected.rotationSigma * expected.rotationSigma;
    const double scale2 = expected.scaleSigma * expected.scaleSigma;
    EXPECT_NEAR(angleAndScale.xx, angle2, kFour * angle2);
    EXPECT_NEAR(angleAndScale.yy, scale2, kFour * scale2 + 1e-28);
    EXPECT_NEAR(estimated, sigma * sigma, kFour * sigma * sigma);
}

TEST_P(PoseCovariance, GrowsWithTheDistanceFromTheCentre) {
    const rxPoseCovariance covariance =
        rfPoseCovariance(rxXform<2>(), tenPoints(), tenPoints(), GetParam(), 1.0);
    EXPECT_NEAR(covariance.positionAt(covariance.centre).rms(), std::sqrt(2.0 / 10.0), 1e-12);
    double last = 0.0;
    for (const double far : {0.0, 10.0, 100.0, 1000.0}) {
        const double rms = covariance.positionAt(covariance.centre + rxVector<2>(far, far)).rms();
        EXPECT_GT(rms, last);
        last = rms;
    }
}

TEST(PoseCovarianceOfFewPairs, IsInfiniteWhenTheFitLeavesNothingToEstimateFrom) {
    const Points two = {{0, 0}, {10, 0}};
    const rxPoseCovariance covariance = rfPoseCovariance(rxXform<2>(), two, two, 4);
    EXPECT_TRUE(std::isinf(covariance.sigma));
    EXPECT_TRUE(std::isinf(covariance.rotationSigma));
    EXPECT_TRUE(std::isinf(covariance.scaleSigma));
    EXPECT_TRUE(std::isinf(covariance.positionAt({3, 3}).rms()));
    const rxPoseCovariance known = rfPoseCovariance(rxXform<2>(), two, two, 4, 0.1);
    EXPECT_NEAR(known.rotationSigma, 0.1 / std::sqrt(50.0), 1e-12);
}

// Infinite, never not-a-number, wherever and however the pattern lies.
TEST(PoseCovarianceOfFewPairs, IsInfiniteEverywhereAndHoldsNoNotANumber) {
    const Points slanted = {{1, 2}, {11, 7}, {4, 9}};
    const Points upright = {{0, 0}, {8, 0}, {4, 9}};
    for (const Points& three : {slanted, upright}) {
        const Points two(three.begin(), three.begin() + 2);
        for (const rxPoseCovariance& covariance :
             {rfPoseCovariance(poseAt(3, 4, 30, 1.5), three, three, 6),
              rfPoseCovariance(poseAt(3, 4, 30, 1.5), two, two, 4)}) {
            for (const rxVector<2>& p : {covariance.centre, rxVector<2>(3, 7), rxVector<2>()}) {
                const rxPoseCovariance::Position at = covariance.positionAt(p);
                EXPECT_TRUE(std::isinf(at.xx));
                EXPECT_EQ(at.xy, 0.0);
                EXPECT_TRUE(std::isinf(at.yy));
            }
            for (const auto& row : covariance.matrixCovariance) {
                for (const double element : row) EXPECT_FALSE(std::isnan(element));
            }
            EXPECT_TRUE(std::isinf(covariance.rotationSigma));
        }
    }
}

TEST(PoseCovarianceOfFewPairs, RefusesWhatHasNoFiniteAnswer) {
    const rxXform<2> toALine(rxMatrix<2>(0, 1, 0, 1), {0, 0});
    EXPECT_THROW(rfPoseCovariance(toALine, tenPoints(), tenPoints(), 6), rxMathError);
    const rxXform<2> noNumber(rxMatrix<2>(NAN, 0, 0, 1), {0, 0});
    EXPECT_THROW(rfPoseCovariance(noNumber, tenPoints(), tenPoints(), 6), rxMathError);
    for (const double far : {1e200, static_cast<double>(INFINITY), static_cast<double>(NAN)}) {
        Points data = tenPoints();
        data[3] = {far, 0};
        EXPECT_THROW(rfPoseCovariance(rxXform<2>(), tenPoints(), data, 4), rxMathError) << far;
        EXPECT_THROW(rfPoseCovariance(rxXform<2>(), data, tenPoints(), 4), rxMathError) << far;
    }
}

TEST(PoseCovarianceOfFewPairs, RefusesPairsThatLeaveThePoseOpen) {
    const Points one = {{3, 3}, {3, 3}};
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), one, one, 4), rxMathError);
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), {}, {}, 4), rxMathError);
    const Points line = {{0, 0}, {1, 2}, {2, 4}, {5, 10}};
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), line, line, 6), rxMathError);
    EXPECT_NO_THROW(rfPoseCovariance(rxXform<2>(), line, line, 4));
}

TEST(PoseCovarianceOfFewPairs, RefusesBadArguments) {
    const Points& points = tenPoints();
    const Points fewer(points.begin(), points.end() - 1);
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), points, fewer, 4), Defs::BadParams);
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), points, points, 5), Defs::BadParams);
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), points, points, 4, -1.0), Defs::BadParams);
    EXPECT_THROW(rfPoseCovariance(rxXform<2>(), points, points, 4, NAN), Defs::BadParams);
}

}  // namespace
