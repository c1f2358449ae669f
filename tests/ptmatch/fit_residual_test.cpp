#include "ptmatch/fit_residual.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;

TEST(FitResidual, IsRootMeanSquareLargestAndWhere) {
    const PlanePoints a = {{0, 0}, {1, 0}, {0, 1}, {5, 5}};
    const PlanePoints b = {{0, 0}, {4, 4}, {0, 1}, {5, 5}};  // the second is 5 off
    const rxFitResidual expected{2.5, 5.0, 1};
    EXPECT_EQ(rfFitResidual(rx2PtMatchTm(), a, b), expected);
    EXPECT_EQ(rfFitResidual(rx2PTm(), a, b), expected);
    const SpacePoints c = {{0, 0, 0}, {1, 2, 3}, {0, 0, 1}, {7, 8, 9}};
    const SpacePoints d = {{0, 0, 0}, {3, 3, 5}, {0, 0, 1}, {7, 8, 9}};  // 3 off
    EXPECT_EQ(rfFitResidual(rx3PtMatchTm(), c, d), (rxFitResidual{1.5, 3.0, 1}));
}

TEST(FitResidual, IsTakenWithTheTransformFromAToB) {
    rx2PTm perspective;
    perspective.translate({3, 0});
    rx3PtMatchTm space;
    space.translate({0, 0, 2});
    const rx2PtMatchTm affine(rxXform<2>(rxMatrix<2>(), rxVector<2>(3, 0)));
    const PlanePoints origin = {{0, 0}};
    EXPECT_EQ(rfFitResidual(affine, origin, origin).rms, 3.0);
    EXPECT_LT(rfFitResidual(affine, origin, PlanePoints{{3, 0}}).rms, 1e-14);
    EXPECT_LT(rfFitResidual(perspective, origin, PlanePoints{{3, 0}}).rms, 1e-14);
    EXPECT_EQ(rfFitResidual(space, SpacePoints{{0, 0, 0}}, SpacePoints{{0, 0, 2}}).rms, 0.0);
}

TEST(FitResidual, OfEqualDistancesTheFirstIsTheWorst) {
    const PlanePoints a = {{0, 0}, {1, 0}, {2, 0}};
    const PlanePoints b = {{0, 0}, {1, 2}, {2, -2}};
    EXPECT_EQ(rfFitResidual(rx2PTm(), a, b).worst, 1U);
}

TEST(FitResidual, WithoutPairsIsZero) {
    EXPECT_EQ(rfFitResidual(rx2PTm(), PlanePoints(), PlanePoints()), rxFitResidual());
}

TEST(FitResidual, DistancesWhoseSquaresLeaveTheRangeOfDoubleAreTold) {
    const PlanePoints a(4, rxVector<2>(0, 0));
    for (const int exponent : {-1022, -600, -530, -470, 500, 510, 515, 600, 1020}) {
        SCOPED_TRACE(exponent);
        const double unit = std::ldexp(1.0, exponent);
        const PlanePoints b = {{0, 0}, {3 * unit, 4 * unit}, {0, 0}, {0, -5 * unit}};
        const rxFitResidual residual = rfFitResidual(rx2PTm(), a, b);
        EXPECT_EQ(residual.largest / unit, 5.0);
        EXPECT_NEAR(residual.rms / unit, std::sqrt(12.5), 4 * kEps * 5.0);
        EXPECT_EQ(residual.worst, 1U);
    }
    const PlanePoints mixed = {{1e-200, 0}, {0, 1e200}, {1e-200, 0}, {1, 0}};
    EXPECT_EQ(rfFitResidual(rx2PTm(), a, mixed), (rxFitResidual{5e199, 1e200, 1}));
    const rxFitResidual smallest = rfFitResidual(rx2PTm(), a, PlanePoints(4, {0, 0x1p-1074}));
    EXPECT_EQ(smallest, (rxFitResidual{0x1p-1074, 0x1p-1074, 0}));
}

TEST(FitResidual, ADistanceBeyondTheRangeOfDoubleIsInfinite) {
    const PlanePoints a = {{1e308, 0}, {0, 0}};
    const rxFitResidual residual = rfFitResidual(rx2PTm(), a, PlanePoints{{-1e308, 0}, {1, 1}});
    EXPECT_EQ(residual, (rxFitResidual{kInfinity, kInfinity, 0}));
}

TEST(FitResidual, ADistanceThatIsNotANumberIsTheWorst) {
    const PlanePoints a = {{0, 0}, {1, 0}, {2, 0}, {3, 0}};
    const PlanePoints b = {{0, 9}, {kNaN, 0}, {2, 100}, {kNaN, 0}};
    const rxFitResidual residual = rfFitResidual(rx2PTm(), a, b);
    EXPECT_TRUE(std::isnan(residual.rms));
    EXPECT_TRUE(std::isnan(residual.largest));
    EXPECT_EQ(residual.worst, 1U);
}

TEST(FitResidual, SequencesOfDifferentLengthsAreRefused) {
    EXPECT_THROW(rfFitResidual(rx2PtMatchTm(), PlanePoints(2), PlanePoints(3)),
                 rx2PtMatchTm::BadArgs);
    EXPECT_THROW(rfFitResidual(rx2PTm(), PlanePoints(2), PlanePoints(3)), rx2PTm::BadArgs);
    EXPECT_THROW(rfFitResidual(rx3PtMatchTm(), SpacePoints(2), SpacePoints(3)),
                 rx3PtMatchTm::BadArgs);
}

}  // namespace
