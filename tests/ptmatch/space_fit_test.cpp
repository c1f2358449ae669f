#include "ptmatch/space_fit.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "foundation/exception.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/transform_world.h"
#include "support/archive_bytes.h"

namespace {

using namespace ptmatch::testing;
using Params = rx3PtMatchTm::Params;
using Fit = rx3PtMatchTm (*)(std::span<const rxVector<3>>, std::span<const rxVector<3>>);

constexpr Fit kFits[] = {rfFitRigid3D, rfFitSimilarity3D, rfFitAffine3D};

SpacePoints shifted(const SpacePoints& points, const rxVector<3>& v) {
    SpacePoints result;
    for (const auto& p : points) result.emplace_back(p.x() + v.x(), p.y() + v.y(), p.z() + v.z());
    return result;
}

SpacePoints noisy(TransformWorld& world, const SpacePoints& points, double sigma) {
    SpacePoints result;
    for (const auto& p : points) {
        const double x = p.x() + world.normal(sigma);
        const double y = p.y() + world.normal(sigma);
        result.emplace_back(x, y, p.z() + world.normal(sigma));
    }
    return result;
}

double determinant(const rx3PtMatchTm& tm) {
    const Params& p = tm.a2bParams();
    return p[0] * (p[5] * p[10] - p[6] * p[9]) - p[1] * (p[4] * p[10] - p[6] * p[8]) +
           p[2] * (p[4] * p[9] - p[5] * p[8]);
}

/// Largest element of M^T M - scale^2 I.
double shear(const rx3PtMatchTm& tm, double scale) {
    const Params& p = tm.a2bParams();
    double largest = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            const double product = p[i] * p[j] + p[4 + i] * p[4 + j] + p[8 + i] * p[8 + j];
            largest = std::max(largest, std::abs(product - (i == j ? scale * scale : 0.0)));
        }
    }
    return largest;
}

std::string refusal(Fit fit, const SpacePoints& a, const SpacePoints& b) {
    try {
        (void)fit(a, b);
    } catch (const rxMathError& error) {
        return error.message();
    }
    return "fitted";
}

double sumOfSquares(const rx3PtMatchTm& tm, const SpacePoints& a, const SpacePoints& b) {
    const double rms = rfFitResidual(tm, a, b).rms;
    return rms * rms * static_cast<double>(a.size());
}

// --- Exact recoveries

TEST(SpaceFits, RecoverExactTransformsToTheRoundingOfTheCoordinates) {
    for (const double offset : {0.0, 1e3, 1e6}) {
        for (unsigned seed = 1; seed <= 100; ++seed) {
            SCOPED_TRACE(std::to_string(offset) + ", seed " + std::to_string(seed));
            TransformWorld world(seed);
            const rx3PtMatchTm rotation = world.rotation();
            rx3PtMatchTm scaled = rotation;
            scaled.scale(world.uniform(0.5, 2.0));
            rx3PtMatchTm affine = scaled;
            affine.scale(rxVector<3>(1, 1.5, -0.7));
            const SpacePoints at0 =
                world.spacePoints({0, 0, 0}, 5, 6 + static_cast<int>(seed % 20));
            const SpacePoints a = shifted(at0, {offset, offset, offset});
            const std::array truths = {rotation, scaled, affine};
            for (std::size_t k = 0; k < 3; ++k) {
                // Every fit from the model on to the most general one.
                const SpacePoints b = shifted(mapped(truths[k], at0), {offset, -offset, offset});
                for (std::size_t fit = k; fit < 3; ++fit) {
                    const rx3PtMatchTm tm = kFits[fit](a, b);
                    const double rounding = kEps * (10 + 4 * offset);
                    ASSERT_LT(rfFitResidual(tm, a, b).largest, 16 * rounding) << k << ' ' << fit;
                    ASSERT_LT(roundTripError(tm, a), 32 * rounding) << k << ' ' << fit;
                }
            }
        }
    }
}

TEST(SpaceFits, LoseNoDigitsToAnOffsetThatCostsTheClassEleven) {
    TransformWorld world(2);
    const rx3PtMatchTm truth = world.rotation();
    const SpacePoints at0 = world.spacePoints({0, 0, 0}, 5, 20);
    const SpacePoints a = shifted(at0, {1e6, 1e6, 1e6});
    const SpacePoints b = shifted(mapped(truth, at0), {1e6, 1e6, 1e6});
    const auto matrixError = [&](const rx3PtMatchTm& tm) {
        Params p = tm.a2bParams();
        for (const std::size_t t : {3U, 7U, 11U}) p[t] = truth.a2bParams()[t];
        return difference(p, truth.a2bParams());
    };
    EXPECT_GT(matrixError(rx3PtMatchTm(a, b)), 1e-5);
    // The coordinates are multiples of 1e-10 and the points some units apart.
    for (const Fit fit : kFits) EXPECT_LT(matrixError(fit(a, b)), 1e-9);
}

// --- The models

TEST(FitRigid3D, IsARotationWithoutScaleOrReflection) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const SpacePoints a = world.spacePoints({1, 2, 3}, 5, 3 + static_cast<int>(seed % 5));
        const SpacePoints b = world.spacePoints({4, 5, 6}, 5, 3 + static_cast<int>(seed % 5));
        const rx3PtMatchTm tm = rfFitRigid3D(a, b);
        EXPECT_LT(shear(tm, 1.0), 32 * kEps);
        EXPECT_NEAR(determinant(tm), 1.0, 32 * kEps);
    }
}

TEST(FitRigid3D, PointsInOnePlaneAreEnough) {
    rx3PtMatchTm truth;
    truth.rotateOnX(rxDegree(100));
    truth.rotateOnZ(rxDegree(20));
    truth.translate({1, 2, 3});
    const SpacePoints a = {{0, 0, 7}, {4, 0, 7}, {0, 3, 7}};
    const rx3PtMatchTm tm = rfFitRigid3D(a, mapped(truth, a));
    EXPECT_LT(difference(tm.a2bParams(), truth.a2bParams()), 64 * kEps * 7);
}

TEST(FitRigid3D, AMirrorImageIsMetByTheBestRotation) {
    // Longest along x, shortest along z: the reflection of z is taken back by half a turn about x.
    const SpacePoints a = {{3, 0, 0}, {-3, 0, 0}, {0, 2, 0}, {0, -2, 0}, {0, 0, 1}, {0, 0, -1}};
    SpacePoints b = a;
    for (auto& p : b) p.x(-p.x());
    const rx3PtMatchTm tm = rfFitRigid3D(a, b);
    EXPECT_NEAR(determinant(tm), 1.0, 8 * kEps);
    EXPECT_LT(difference(tm.a2bParams(), Params{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0}), 8 * kEps);
    EXPECT_NEAR(sumOfSquares(tm, a, b), 2 * 4.0, 1e-13) << "the points of the shortest axis, 2 off";
}

TEST(FitRigid3D, NoOtherRotationIsBetter) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const SpacePoints a = world.spacePoints({1, 2, 3}, 5, 10);
        const SpacePoints b = noisy(world, mapped(world.rotation(), a), 1.0);
        const rx3PtMatchTm best = rfFitRigid3D(a, b);
        const double least = sumOfSquares(best, a, b);
        for (int k = 0; k < 30; ++k) {
            rx3PtMatchTm other = best;
            other.rotateOnX(rxRadian(world.normal(1e-3)));
            other.rotateOnY(rxRadian(world.normal(1e-3)));
            other.rotateOnZ(rxRadian(world.normal(1e-3)));
            other.translate({world.normal(1e-3), world.normal(1e-3), world.normal(1e-3)});
            EXPECT_GE(sumOfSquares(other, a, b), least);
        }
    }
}

TEST(FitSimilarity3D, IsARotationWithOnePositiveScale) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const SpacePoints a = world.spacePoints({1, 2, 3}, 5, 3 + static_cast<int>(seed % 5));
        const SpacePoints b = world.spacePoints({4, 5, 6}, 5, 3 + static_cast<int>(seed % 5));
        const rx3PtMatchTm tm = rfFitSimilarity3D(a, b);
        const double scale = std::cbrt(determinant(tm));
        EXPECT_GT(scale, 0.0);
        EXPECT_LT(shear(tm, scale), 64 * kEps * scale * scale);
    }
}

TEST(FitSimilarity3D, NoOtherScaleIsBetter) {
    TransformWorld world(3);
    const SpacePoints a = world.spacePoints({0, 0, 0}, 5, 10);
    rx3PtMatchTm truth = world.rotation();
    truth.scale(3.0);
    const SpacePoints b = noisy(world, mapped(truth, a), 1.0);
    const rx3PtMatchTm best = rfFitSimilarity3D(a, b);
    const double least = sumOfSquares(best, a, b);
    EXPECT_LE(least, sumOfSquares(rfFitRigid3D(a, b), a, b));
    for (const double factor : {0.99, 0.9999, 1.0001, 1.01}) {
        rx3PtMatchTm other = best;
        other.scale(factor);
        EXPECT_GT(sumOfSquares(other, a, b), least);
    }
}

TEST(FitAffine3D, AgreesWithTheClassWhereThatIsGood) {
    TransformWorld world(4);
    const SpacePoints a = world.spacePoints({0, 0, 0}, 2, 30);
    const SpacePoints b = world.spacePoints({0, 0, 0}, 2, 30);
    EXPECT_LT(difference(rfFitAffine3D(a, b).a2bParams(), rx3PtMatchTm(a, b).a2bParams()), 1e-13);
}

// --- What is refused

TEST(SpaceFits, SequencesOfDifferentLengthsAreRefused) {
    for (const Fit fit : kFits) {
        EXPECT_THROW(fit(SpacePoints(5), SpacePoints(6)), rx3PtMatchTm::BadArgs);
    }
}

TEST(SpaceFits, TooFewPairsAreRefused) {
    const SpacePoints three = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    const SpacePoints two = {{0, 0, 0}, {1, 0, 0}};
    const char* const needsThree = "the transform of space needs at least 3 pairs\n";
    EXPECT_EQ(refusal(rfFitRigid3D, two, two), needsThree);
    EXPECT_EQ(refusal(rfFitSimilarity3D, two, two), needsThree);
    EXPECT_EQ(refusal(rfFitAffine3D, three, three),
              "the transform of space needs at least 4 pairs\n");
    EXPECT_EQ(refusal(rfFitRigid3D, {}, {}), needsThree);
}

TEST(SpaceFits, PointsOnOneLineAreRefused) {
    for (const double offset : {0.0, 1e3, 1e6}) {
        SpacePoints line;
        for (int i = 0; i < 10; ++i) line.emplace_back(offset + 0.1 * i, 0.7 * i, offset - 0.3 * i);
        TransformWorld world(1);
        const SpacePoints cloud = world.spacePoints({0, 0, 0}, 1, 10);
        for (const Fit fit : {rfFitRigid3D, rfFitSimilarity3D}) {
            EXPECT_EQ(refusal(fit, line, line), "the points lie on one line\n") << offset;
            EXPECT_EQ(refusal(fit, line, cloud), "the points lie on one line\n") << offset;
            EXPECT_EQ(refusal(fit, cloud, line), "the points lie on one line\n") << offset;
        }
        EXPECT_EQ(refusal(rfFitAffine3D, line, cloud), "the points a lie in one plane\n") << offset;
    }
}

TEST(SpaceFits, PointsInOnePlaneLeaveTheAffineTransformOpen) {
    for (const double offset : {0.0, 1e3, 1e6}) {
        SpacePoints plane;
        TransformWorld world(1);
        for (int i = 0; i < 20; ++i) {
            const double u = world.uniform(-5, 5);
            const double v = world.uniform(-5, 5);
            plane.emplace_back(offset + u, offset + v, offset + 0.3 * u - 0.7 * v);
        }
        const SpacePoints cloud = world.spacePoints({0, 0, 0}, 1, 20);
        EXPECT_EQ(refusal(rfFitAffine3D, plane, cloud), "the points a lie in one plane\n");
        EXPECT_EQ(refusal(rfFitAffine3D, cloud, plane), "the points b lie in one plane\n");
        EXPECT_EQ(refusal(rfFitRigid3D, plane, cloud), "fitted");
    }
}

TEST(SpaceFits, ARotationThatIsLeftOpenIsRefused) {
    // The mirror image of a pattern that is the same in all directions.
    const SpacePoints a = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    SpacePoints b = a;
    for (auto& p : b) p.x(-p.x());
    for (const Fit fit : {rfFitRigid3D, rfFitSimilarity3D}) {
        EXPECT_EQ(refusal(fit, a, b), "the pairs leave the rotation open\n");
    }
}

TEST(SpaceFits, PointsInOnePlaceAndCoordinatesThatAreNotNumbersAreRefused) {
    const SpacePoints good = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const SpacePoints one(4, rxVector<3>(1, 2, 3));
    for (const Fit fit : kFits) {
        EXPECT_EQ(refusal(fit, one, good), "all points a lie in one place\n");
        EXPECT_EQ(refusal(fit, good, one), "all points b lie in one place\n");
        for (const double bad : {kNaN, kInfinity, -1e151}) {
            SpacePoints points = good;
            points[3].z(bad);
            EXPECT_NE(refusal(fit, points, good), "fitted");
            EXPECT_NE(refusal(fit, good, points), "fitted");
        }
    }
}

// --- The transform of given parameters

TEST(ExactSpaceTransform, KeepsTheParametersAndTakesTheInverse) {
    const Params p = {2, 0, 0, 3, 0, 0, -4, 5, 0, 1, 0, 7};
    const rx3PtMatchTm tm = rfExactSpaceTransform(p);
    EXPECT_EQ(tm.a2bParams(), p);
    EXPECT_EQ(tm.b2aParams(), (Params{0.5, 0, 0, -1.5, 0, 0, 1, -7, 0, -0.25, 0, 1.25}));
    EXPECT_THROW(rx3PtMatchTm(tm).fit(), rxMatrixExt::SingularMatrix) << "there are no pairs";
}

TEST(ExactSpaceTransform, AgreesWithTheInverseByElimination) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        TransformWorld world(seed);
        rx3PtMatchTm tm = world.rotation();
        tm.scale(rxVector<3>(1, 2, 3));
        tm.translate({1, 2, 3});
        EXPECT_LT(difference(rfExactSpaceTransform(tm.a2bParams()).b2aParams(), tm.b2aParams()),
                  64 * kEps);
    }
}

TEST(ExactSpaceTransform, SingularAndInfiniteOnesAreRefused) {
    for (const Params& p : {Params{}, Params{1, 0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0},
                            Params{0.1, 0.2, 0.3, 0, 0.6, 0.5, 0.7, 0, 0.7, 0.7, 1.0, 0},
                            Params{kNaN, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0},
                            Params{1, 0, 0, kInfinity, 0, 1, 0, 0, 0, 0, 1, 0}}) {
        EXPECT_THROW(rfExactSpaceTransform(p), rxMathError);
    }
}

}  // namespace
