#include "ptmatch/affine_approximation.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/exception.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using Area = rxRectangle<double>;

rx2PTm oblique(double gradient) {
    return rfExactPerspective({1, 0, 0, 0, 1, 0, gradient, 0});
}

TEST(AffineApproximation, OverTheDefaultSquareIsThatOfTheClass) {
    const rx2PTm tm = rfExactPerspective({0.9, 0.2, 3, -0.1, 1.1, -2, 0.03, -0.02});
    EXPECT_EQ(rfAffineApproximation(tm, Area(-5, -5, 10, 10)), tm.a2bTm());
    EXPECT_EQ(rfAffineApproximation(tm, Area(-5, -5, 10, 10)), tm.a2bXform());
}

TEST(AffineApproximation, OfAnAffineTransformIsThatTransformAnywhere) {
    const rxXform<2> affine(rxMatrix<2>(2, 0.5, -1, 3), rxVector<2>(4, -5));
    const rx2PTm tm{rx2PtMatchTm(affine)};
    const PlanePoints area = lattice(1000, 2000, 5);
    EXPECT_LT(difference(rfAffineApproximation(tm, Area(1000, 1000, 1000, 1000)),
                         rx2PtMatchTm(affine), area),
              64 * kEps * 2000);
}

TEST(AffineApproximation, ServesTheRectangleThatIsUsed) {
    const rx2PTm tm = oblique(1e-4);
    const PlanePoints plane = lattice(0, 1000, 21);
    EXPECT_NEAR(difference(tm.a2bTm(), tm, plane), 128.6, 0.1);
    EXPECT_NEAR(difference(rfAffineApproximation(tm, Area(0, 0, 1000, 1000)), tm, plane), 26.6,
                0.1);
}

TEST(AffineApproximation, NoOtherAffineTransformHasASmallerRmsAtItsPoints) {
    const rx2PTm tm = oblique(3e-4);
    const rx2PtMatchTm best = rfAffineApproximation(tm, Area(0, 0, 500, 300));
    PlanePoints a;
    for (int j = 0; j < 6; ++j) {
        for (int i = 0; i < 6; ++i) a.emplace_back(100.0 * i, 60.0 * j);
    }
    const PlanePoints b = mapped(tm, a);
    const double least = rfFitResidual(best, a, b).rms;
    TransformWorld world(1);
    for (int k = 0; k < 100; ++k) {
        const rxMatrix<2>& m = best.a2bXform().matrix();
        const rxXform<2> other(
            rxMatrix<2>(m.element(0, 0) + world.normal(1e-4), m.element(0, 1) + world.normal(1e-4),
                        m.element(1, 0) + world.normal(1e-4), m.element(1, 1) + world.normal(1e-4)),
            best.a2bXform().trans() + rxVector<2>(world.normal(0.01), world.normal(0.01)));
        EXPECT_GT(rfFitResidual(rx2PtMatchTm(other), a, b).rms, least);
    }
}

TEST(AffineApproximation, ComesWithItsPairs) {
    const rx2PTm tm = oblique(1e-4);
    rx2PtMatchTm affine = rfAffineApproximation(tm, Area(0, 0, 1000, 1000));
    const rx2PtMatchTm before = affine;
    affine.fit(6);
    EXPECT_EQ(affine, before);
}

TEST(AffineApproximation, ARectangleGivenFromItsOtherCornerIsTheSame) {
    const rx2PTm tm = oblique(1e-4);
    const PlanePoints plane = lattice(0, 1000, 5);
    EXPECT_LT(difference(rfAffineApproximation(tm, Area(0, 0, 1000, 1000)),
                         rfAffineApproximation(tm, Area(1000, 1000, -1000, -1000)), plane),
              1e-10);
}

TEST(AffineApproximation, ARectangleAcrossTheHorizonIsRefused) {
    const rx2PTm tm = oblique(-0.01);  // w = 0 at x = 100
    EXPECT_NO_THROW(rfAffineApproximation(tm, Area(0, 0, 99, 50)));
    EXPECT_THROW(rfAffineApproximation(tm, Area(0, 0, 100, 50)), rxMathError);
    EXPECT_THROW(rfAffineApproximation(tm, Area(0, 0, 500, 50)), rxMathError);
    EXPECT_NO_THROW(rfAffineApproximation(tm, Area(200, 0, 500, 50)));
    EXPECT_THROW(rfAffineApproximation(tm, Area(0, 0, kNaN, 50)), rxMathError);
}

TEST(AffineApproximation, OneCornerBeyondTheHorizonIsEnough) {
    const auto sloping = [](double p6, double p7) {
        return rfExactPerspective({1, 0, 0, 0, 1, 0, p6, p7});
    };
    const Area area(-1, -1, 2, 2);
    for (const double p6 : {-0.6, 0.6}) {
        for (const double p7 : {-0.6, 0.6}) {  // w is -0.2 at one corner, 1 and 2.2 at the others
            EXPECT_THROW(rfAffineApproximation(sloping(p6, p7), area), rxMathError);
        }
    }
    EXPECT_NO_THROW(rfAffineApproximation(sloping(0.4, 0.4), area));
}

TEST(AffineApproximation, ARectangleWithoutAreaIsRefused) {
    EXPECT_THROW(rfAffineApproximation(oblique(1e-4), Area(0, 0, 1000, 0)),
                 rxLSPointToPointFitter::Errors);
    EXPECT_THROW(rfAffineApproximation(oblique(1e-4), Area(5, 5, 0, 0)),
                 rxLSPointToPointFitter::Errors);
}

TEST(AffineApproximation, WhatIsNotFiniteOrBeyondRangeIsAMathErrorThatSaysSo) {
    const auto messageOf = [](const rx2PTm& tm, const Area& area) {
        try {
            (void)rfAffineApproximation(tm, area);
        } catch (const rxMathError& error) {
            return error.message();
        }
        return std::string("fitted");
    };
    const std::string notFinite =
        "a parameter is not finite, or a corner of the rectangle not, or beyond 1e140\n";
    for (const double bad : {kNaN, kInfinity, -kInfinity, 1e308, 2e140}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(messageOf(rx2PTm(), Area(bad, 0, 1, 1)), notFinite);
        EXPECT_EQ(messageOf(rx2PTm(), Area(0, bad, 1, 1)), notFinite);
        EXPECT_EQ(messageOf(rx2PTm(), Area(0, 0, bad, 1)), notFinite);
        EXPECT_EQ(messageOf(oblique(1e-4), Area(0, 0, 1, bad)), notFinite);
    }
    EXPECT_EQ(messageOf(rx2PTm(), Area(1e308, 0, 1e308, 1)), notFinite) << "the far corner";
    const rx2PTm enlarging = rfExactPerspective({1e100, 0, 0, 0, 1e100, 0, 0, 0});
    EXPECT_EQ(messageOf(enlarging, Area(0, 0, 1e50, 1e50)),
              "the image of a corner of the rectangle is beyond 1e140\n");
    EXPECT_EQ(messageOf(enlarging, Area(0, 0, 1e40, 1e40)), "fitted");
    EXPECT_EQ(messageOf(rx2PTm(), Area(-1e140, -1e140, 2e140, 2e140)), "fitted");
}

TEST(AffineApproximation, ExtentsThatRoundingHidesAreRefused) {
    EXPECT_THROW(rfAffineApproximation(rx2PTm(), Area(1e9, 0, 1e-9, 1)),
                 rxLSPointToPointFitter::Errors);
    EXPECT_THROW(rfAffineApproximation(rx2PTm(), Area(0, 0, 1e-170, 1e-170)),
                 rxLSPointToPointFitter::Errors);
    EXPECT_NO_THROW(rfAffineApproximation(rx2PTm(), Area(0, 0, 1e-140, 1e-140)));
    EXPECT_NO_THROW(rfAffineApproximation(rx2PTm(), Area(0, 0, 1e-17, 1)));
}

}  // namespace
