#include "matrix_parts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

using namespace ptmatch::tool;

namespace {

// The rotation by `degrees` about the unit vector `n`, times a scale (Rodrigues' formula).
HomogeneousMatrix turned(const Coordinates& n, double degrees, double scale) {
    const double angle = degrees * std::numbers::pi / 180.0;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const HomogeneousMatrix crossed = {{0, -n[2], n[1]}, {n[2], 0, -n[0]}, {-n[1], n[0], 0}};
    HomogeneousMatrix m(4, std::vector<double>(4, 0.0));
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t k = 0; k < 3; ++k) {
            m[r][k] = scale * ((r == k ? c : 0.0) + s * crossed[r][k] + (1.0 - c) * n[r] * n[k]);
        }
    }
    m[3][3] = 1.0;
    return m;
}

}  // namespace

TEST(MatrixParts, RotationInThePlaneGoesFromXToY) {
    const RotationAndScale parts = rotationAndScaleOf({{0, -2, 5}, {2, 0, 6}, {0, 0, 1}});
    EXPECT_DOUBLE_EQ(parts.rotationDeg, 90.0);
    EXPECT_DOUBLE_EQ(parts.scale, 2.0);
    EXPECT_FALSE(parts.axis);
    EXPECT_DOUBLE_EQ(rotationAndScaleOf({{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}).rotationDeg, -90.0);
}

TEST(MatrixParts, RotationInSpaceIsFoundAtEveryAngle) {
    std::mt19937 random(5);
    std::normal_distribution<double> normal;
    for (const double degrees : {1e-6, 0.5, 30.0, 90.0, 120.0, 179.0, 179.999999}) {
        for (int k = 0; k < 20; ++k) {
            Coordinates n = {normal(random), normal(random), normal(random)};
            const double length = std::hypot(n[0], n[1], n[2]);
            for (double& element : n) element /= length;
            const RotationAndScale parts = rotationAndScaleOf(turned(n, degrees, 3.0));
            // Some roundings of angles in degrees; of an axis, of a rotation by so little.
            EXPECT_NEAR(parts.rotationDeg, degrees, 1e-12 * 180);
            EXPECT_NEAR(parts.scale, 3.0, 1e-14 * 3);
            ASSERT_TRUE(parts.axis);
            const double axisError = degrees < 1e-3 ? 1e-7 : 1e-13;
            for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR((*parts.axis)[i], n[i], axisError);
        }
    }
}

TEST(MatrixParts, HalfATurnHasAnAxisOfEitherSign) {
    for (std::size_t i = 0; i < 3; ++i) {
        Coordinates n{};
        n[i] = 1.0;
        const RotationAndScale parts = rotationAndScaleOf(turned(n, 180.0, 1.0));
        EXPECT_NEAR(parts.rotationDeg, 180.0, 1e-12);
        ASSERT_TRUE(parts.axis);
        EXPECT_NEAR(std::abs((*parts.axis)[i]), 1.0, 1e-15);
    }
}

TEST(MatrixParts, TurningNothingHasNoAxis) {
    const RotationAndScale parts = rotationAndScaleOf(turned({0, 0, 1}, 0.0, 2.0));
    EXPECT_EQ(parts.rotationDeg, 0.0);
    EXPECT_EQ(parts.scale, 2.0);
    EXPECT_FALSE(parts.axis);
}

TEST(MatrixParts, StretchesAndMirrorImagesOfAffineMatrices) {
    const HomogeneousMatrix plane = {{0, -3, 7}, {0.5, 0, 8}, {0, 0, 1}};
    EXPECT_THAT(stretchesOf(plane),
                testing::Pointwise(testing::DoubleNear(1e-15), std::vector<double>{3.0, 0.5}));
    EXPECT_FALSE(isMirroring(plane));
    EXPECT_TRUE(isMirroring({{1, 0, 7}, {0, -1, 8}, {0, 0, 1}}));
    const HomogeneousMatrix space = {{0, 2, 0, 0}, {1, 0, 0, 0}, {0, 0, 4, 0}, {0, 0, 0, 1}};
    EXPECT_THAT(stretchesOf(space),
                testing::Pointwise(testing::DoubleNear(1e-14), std::vector<double>{4.0, 2.0, 1.0}));
    EXPECT_TRUE(isMirroring(space));
}
