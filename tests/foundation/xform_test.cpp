#include "foundation/xform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include "foundation/exception.h"

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = std::numbers::pi;

rxXform<2> scaling(double sx, double sy) {
    return rxXform<2>(rxVector<2>(), rxRadian(), rxRadian(), sx, sy);
}

/// A transform of about unit size, far from singular.
rxXform<2> randomTransform(std::mt19937& engine) {
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    const rxRadian turn(kPi * uniform(engine));
    const rxRadian shear(turn.toDouble() + uniform(engine));
    return rxXform<2>(rxVector<2>(10.0 * uniform(engine), 10.0 * uniform(engine)), turn, shear,
                      1.25 + 0.5 * uniform(engine), 1.25 + 0.5 * uniform(engine));
}

TEST(Matrix2, ElementsAreInRowMajorOrder) {
    const rxMatrix<2> m(1.0, 2.0, 3.0, 4.0);
    EXPECT_EQ(m.element(0, 0), 1.0);
    EXPECT_EQ(m.element(0, 1), 2.0);
    EXPECT_EQ(m.element(1, 0), 3.0);
    EXPECT_EQ(m.element(1, 1), 4.0);
    EXPECT_EQ(m.determinant(), -2.0);
    EXPECT_EQ(rxMatrix<2>(), rxMatrix<2>(1.0, 0.0, 0.0, 1.0));
    EXPECT_NE(m, rxMatrix<2>(1.0, 2.0, 3.0, 5.0));
}

TEST(Matrix2, MultipliesRowsByColumns) {
    const rxMatrix<2> a(1.0, 2.0, 3.0, 4.0);
    const rxMatrix<2> b(5.0, 6.0, 7.0, 8.0);
    EXPECT_EQ(a * b, rxMatrix<2>(19.0, 22.0, 43.0, 50.0));
    EXPECT_EQ(a * rxVector<2>(5.0, 7.0), rxVector<2>(19.0, 43.0));
}

// A static object that is built from the identity before main runs.
const rxXform<2> kBuiltEarly = rxXform<2>::I;

TEST(Xform2, TheIdentityIsAConstant) {
    static_assert(rxXform<2>::I == rxXform<2>());
    EXPECT_EQ(kBuiltEarly, rxXform<2>(rxMatrix<2>(1.0, 0.0, 0.0, 1.0), rxVector<2>(0.0, 0.0)));
    EXPECT_EQ(rxXform<2>::I * rxVector<2>(3.0, -4.0), rxVector<2>(3.0, -4.0));
}

TEST(Xform2, EqualAnglesAndUnitScalesAreARotation) {
    for (double angle : {0.0, 0.3, 1.0, -2.5, 3.0}) {
        const rxXform<2> xform(rxVector<2>(0.0, 0.0), rxRadian(angle), rxRadian(angle), 1.0, 1.0);
        EXPECT_EQ(xform * rxVector<2>(1.0, 0.0), rxVector<2>(std::cos(angle), std::sin(angle)));
        EXPECT_EQ(xform * rxVector<2>(0.0, 1.0), rxVector<2>(-std::sin(angle), std::cos(angle)));
        EXPECT_DOUBLE_EQ(xform.rotation().toDouble(), angle);
        EXPECT_DOUBLE_EQ(xform.xScale(), 1.0);
    }
}

TEST(Xform2, ZeroAnglesScaleTheAxes) {
    EXPECT_EQ(scaling(2.0, 3.0).matrix(), rxMatrix<2>(2.0, 0.0, 0.0, 3.0));
}

TEST(Xform2, EachAxisHasItsAngleAndLength) {
    const rxXform<2> xform(rxVector<2>(5.0, 6.0), rxRadian(0.5), rxRadian(0.2), 2.0, 3.0);
    EXPECT_EQ(xform.matrix(), rxMatrix<2>(2.0 * std::cos(0.5), -3.0 * std::sin(0.2),
                                          2.0 * std::sin(0.5), 3.0 * std::cos(0.2)));
    EXPECT_EQ(xform.trans(), rxVector<2>(5.0, 6.0));
    EXPECT_DOUBLE_EQ(xform.xScale(), 2.0);
    EXPECT_DOUBLE_EQ(xform.xRot().toDouble(), 0.5);
    EXPECT_EQ(xform.rotation(), xform.xRot());
}

TEST(Xform2, ScaleAndRotationAreThoseOfTheXAxis) {
    const rxXform<2> xform(rxMatrix<2>(3.0, 100.0, -4.0, 100.0), rxVector<2>());
    EXPECT_EQ(xform.xScale(), 5.0);
    EXPECT_EQ(xform.xRot().toDouble(), std::atan2(-4.0, 3.0));
    EXPECT_EQ(xform.rotation(), xform.xRot());
    const rxXform<2> mirrored(rxMatrix<2>(-1.0, 0.0, 0.0, 1.0), rxVector<2>());
    EXPECT_EQ(mirrored.rotation().toDouble(), kPi);
}

TEST(Xform2, AddsTheTranslationLast) {
    // (1e16 + 1) - 1e16 is 0 in doubles, 1e16 + (1 - 1e16) would be 1.
    const rxXform<2> xform(rxMatrix<2>(1e16, 1.0, 1.0, 1e16), rxVector<2>(-1e16, -1e16));
    EXPECT_EQ(xform * rxVector<2>(1.0, 1.0), rxVector<2>(0.0, 0.0));
}

TEST(Xform2, ProductAppliesTheSecondFirst) {
    const unsigned seed = 20041;
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(-10.0, 10.0);
    for (int round = 0; round < 1000; ++round) {
        const rxXform<2> a = randomTransform(engine);
        const rxXform<2> b = randomTransform(engine);
        const rxVector<2> p(uniform(engine), uniform(engine));
        const rxVector<2> once = (a * b) * p;
        const rxVector<2> twice = a * (b * p);
        // Coordinates stay below 150.
        EXPECT_NEAR(once.x(), twice.x(), 4.0 * 150.0 * kEps);
        EXPECT_NEAR(once.y(), twice.y(), 4.0 * 150.0 * kEps);
        EXPECT_EQ((a * b).matrix(), a.matrix() * b.matrix());
        EXPECT_EQ((a * b).trans(), a * b.trans());
    }
}

TEST(Xform2, InverseTakesBack) {
    const unsigned seed = 20042;
    SCOPED_TRACE(seed);
    std::mt19937 engine(seed);
    for (int round = 0; round < 1000; ++round) {
        const rxXform<2> xform = randomTransform(engine);
        for (const rxXform<2>& unity : {xform.inverse() * xform, xform * xform.inverse()}) {
            EXPECT_NEAR(unity.matrix().element(0, 0), 1.0, 32.0 * kEps);
            EXPECT_NEAR(unity.matrix().element(0, 1), 0.0, 32.0 * kEps);
            EXPECT_NEAR(unity.matrix().element(1, 0), 0.0, 32.0 * kEps);
            EXPECT_NEAR(unity.matrix().element(1, 1), 1.0, 32.0 * kEps);
            EXPECT_NEAR(unity.trans().x(), 0.0, 640.0 * kEps);
            EXPECT_NEAR(unity.trans().y(), 0.0, 640.0 * kEps);
        }
    }
    const rxXform<2> halves(rxMatrix<2>(2.0, 0.0, 0.0, 4.0), rxVector<2>(6.0, 8.0));
    EXPECT_EQ(halves.inverse(),
              rxXform<2>(rxMatrix<2>(0.5, 0.0, 0.0, 0.25), rxVector<2>(-3.0, -2.0)));
}

TEST(Xform2, SingularMeansNoUsableDeterminant) {
    const auto isSingular = [](double e00, double e01, double e10, double e11) {
        return rxXform<2>(rxMatrix<2>(e00, e01, e10, e11), rxVector<2>(1.0, 1.0)).isSingular();
    };
    EXPECT_FALSE(isSingular(1.0, 0.0, 0.0, 1.0));
    EXPECT_FALSE(isSingular(1.0, 0.0, 0.0, -1e-300));
    EXPECT_TRUE(isSingular(0.0, 0.0, 0.0, 0.0));
    EXPECT_TRUE(isSingular(1.0, 2.0, 2.0, 4.0));
    EXPECT_TRUE(isSingular(1e-200, 0.0, 0.0, 1e-200)) << "the determinant is 0 in doubles";
    EXPECT_TRUE(isSingular(1e200, 0.0, 0.0, 1e200)) << "the determinant is beyond double";
    for (double bad : {kNaN, kInfinity, -kInfinity}) {
        EXPECT_TRUE(isSingular(bad, 0.0, 0.0, 1.0)) << bad;
        EXPECT_TRUE(isSingular(1.0, bad, 0.0, 1.0)) << bad;
        EXPECT_TRUE(isSingular(1.0, 0.0, bad, 1.0)) << bad;
        EXPECT_TRUE(isSingular(1.0, 0.0, 0.0, bad)) << bad;
    }
}

TEST(Xform2, ASingularTransformHasNoInverse) {
    EXPECT_THROW((void)scaling(0.0, 1.0).inverse(), rxMathError);
    EXPECT_THROW((void)scaling(kNaN, 1.0).inverse(), rxMathError);
    EXPECT_THROW((void)scaling(1e-200, 1e-200).inverse(), rxMathError);
    // The determinant is 1e-20, the inverse would hold 1e320.
    EXPECT_THROW((void)scaling(1e300, 1e-320).inverse(), rxMathError);
    const rxXform<2> nowhere(rxMatrix<2>(), rxVector<2>(kInfinity, 0.0));
    EXPECT_FALSE(nowhere.isSingular());
    EXPECT_THROW((void)nowhere.inverse(), rxMathError);
}

TEST(Xform2, FiniteMeansEveryNumberIs) {
    EXPECT_TRUE(rxXform<2>::I.isFinite());
    for (double bad : {kNaN, kInfinity, -kInfinity}) {
        EXPECT_FALSE(rxXform<2>(rxMatrix<2>(bad, 0.0, 0.0, 1.0), rxVector<2>()).isFinite());
        EXPECT_FALSE(rxXform<2>(rxMatrix<2>(1.0, bad, 0.0, 1.0), rxVector<2>()).isFinite());
        EXPECT_FALSE(rxXform<2>(rxMatrix<2>(1.0, 0.0, bad, 1.0), rxVector<2>()).isFinite());
        EXPECT_FALSE(rxXform<2>(rxMatrix<2>(1.0, 0.0, 0.0, bad), rxVector<2>()).isFinite());
        EXPECT_FALSE(rxXform<2>(rxMatrix<2>(), rxVector<2>(bad, 0.0)).isFinite());
        EXPECT_FALSE(rxXform<2>(rxMatrix<2>(), rxVector<2>(0.0, bad)).isFinite());
    }
}

TEST(Xform2, MatrixAndTranslationAreReplacedSeparately) {
    rxXform<2> xform;
    xform.trans(rxVector<2>(1.0, 2.0));
    EXPECT_EQ(xform.matrix(), rxMatrix<2>());
    xform.matrix(rxMatrix<2>(3.0, 4.0, 5.0, 6.0));
    EXPECT_EQ(xform.trans(), rxVector<2>(1.0, 2.0));
    EXPECT_EQ(xform.matrix(), rxMatrix<2>(3.0, 4.0, 5.0, 6.0));
}

TEST(Xform2, EqualityIsExact) {
    const rxXform<2> xform(rxMatrix<2>(1.0, 2.0, 3.0, 4.0), rxVector<2>(5.0, 6.0));
    EXPECT_EQ(xform, rxXform<2>(rxMatrix<2>(1.0, 2.0, 3.0, 4.0), rxVector<2>(5.0, 6.0)));
    EXPECT_NE(xform, rxXform<2>(rxMatrix<2>(1.0, 2.0, 3.0, 4.0 + 4.0 * kEps), xform.trans()));
    EXPECT_NE(xform, rxXform<2>(xform.matrix(), rxVector<2>(5.0, 6.0 + 4.0 * kEps)));
}

}  // namespace
