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

rxVector<3> meanOf(const SpacePoints& points) {
    std::array<double, 3> sum{};
    for (const auto& p : points) {
        sum[0] += p.x();
        sum[1] += p.y();
        sum[2] += p.z();
    }
    const auto n = static_cast<double>(points.size());
    return {sum[0] / n, sum[1] / n, sum[2] / n};
}

/// First a turn about the line through p along the first axis of space a.
rx3PtMatchTm turnedBefore(const rx3PtMatchTm& tm, const rxVector<3>& p, double angle) {
    Params turned = tm.a2bParams();
    for (std::size_t r = 0; r < 12; r += 4) {
        const double y = turned[r + 1];
        const double z = turned[r + 2];
        turned[r + 1] = std::cos(angle) * y + std::sin(angle) * z;
        turned[r + 2] = std::cos(angle) * z - std::sin(angle) * y;
        turned[r + 3] += (y - turned[r + 1]) * p.y() + (z - turned[r + 2]) * p.z();
    }
    return rfExactSpaceTransform(turned);
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

TEST(SpaceFits, MeetThinPatternsAsWellAsTheirCoordinatesTell) {
    struct Thin {
        double offset;
        double thickness;
    };
    for (const Thin& thin :
         {Thin{0, 1e-1}, Thin{0, 1e-4}, Thin{0, 1e-8}, Thin{0, 1e-12}, Thin{1e3, 1e-6},
          Thin{1e3, 1e-10}, Thin{1e5, 1e-5}, Thin{1e5, 1e-9}, Thin{1e6, 1e-4}, Thin{1e6, 1e-8}}) {
        for (unsigned seed = 1; seed <= 20; ++seed) {
            SCOPED_TRACE(testing::Message()
                         << thin.thickness << " at " << thin.offset << ", seed " << seed);
            TransformWorld world(seed);
            const rx3PtMatchTm truth = world.rotation();
            SpacePoints rod;
            SpacePoints slab;
            for (int i = 0; i < 12; ++i) {
                const rxVector<3> p = world.spacePoints({0, 0, 0}, 1, 1).front();
                const double thickness = thin.thickness;
                rod.emplace_back(5 * p.x(), thickness * p.y(), thickness * p.z());
                slab.emplace_back(5 * p.x(), 5 * p.y(), thickness * p.z());
            }
            const rx3PtMatchTm placing = world.rotation();
            const rxVector<3> origin(thin.offset, -thin.offset, thin.offset);
            const double rounding = kEps * (10 + 4 * thin.offset);
            for (const Fit fit : kFits) {
                const SpacePoints at0 = mapped(placing, fit == rfFitAffine3D ? slab : rod);
                const SpacePoints a = shifted(at0, origin);
                const SpacePoints b = shifted(mapped(truth, at0), origin);
                const rx3PtMatchTm tm = fit(a, b);
                EXPECT_LT(rfFitResidual(tm, a, b).largest, 16 * rounding);
                Params p = tm.a2bParams();
                for (const std::size_t t : {3U, 7U, 11U}) p[t] = truth.a2bParams()[t];
                EXPECT_LT(difference(p, truth.a2bParams()), 16 * rounding / thin.thickness);
            }
        }
    }
}

TEST(SpaceFits, FlatImagesOfSolidsAreThinNotPlane) {
    TransformWorld world(6);
    const rx3PtMatchTm turn = world.rotation();
    const SpacePoints at0 = world.spacePoints({0, 0, 0}, 5, 12);
    SpacePoints flat;
    for (const auto& p : at0) flat.emplace_back(p.x(), p.y(), 1e-10 * p.z());
    const SpacePoints a = shifted(at0, {1e6, 1e6, 1e6});
    const SpacePoints b = mapped(turn, flat);
    const rx3PtMatchTm tm = rfFitAffine3D(a, b);
    EXPECT_LT(rfFitResidual(tm, a, b).largest, 1e-9);
    EXPECT_NEAR(determinant(tm) / 1e-10, 1.0, 1e-4);
}

TEST(SpaceFits, GoFromAnyUnitsToAnyOthers) {
    TransformWorld world(5);
    const SpacePoints at1 = world.spacePoints({1, 2, 3}, 5, 8);
    const SpacePoints turned = mapped(world.rotation(), at1);
    const auto inUnits = [](const SpacePoints& points, double unit) {
        SpacePoints result;
        for (const auto& p : points) result.emplace_back(unit * p.x(), unit * p.y(), unit * p.z());
        return result;
    };
    for (const double unitA : {1e-149, 1e-140, 1e-100, 1.0, 1e100, 1e148}) {
        for (const double unitB : {1e-149, 1e-140, 1e-100, 1.0, 1e100, 1e148}) {
            SCOPED_TRACE(testing::Message() << unitA << " to " << unitB);
            const SpacePoints a = inUnits(at1, unitA);
            const SpacePoints b = inUnits(turned, unitB);
            for (const Fit fit : {rfFitSimilarity3D, rfFitAffine3D}) {
                const rx3PtMatchTm tm = fit(a, b);
                EXPECT_LT(rfFitResidual(tm, a, b).largest / unitB, 64 * kEps * 10);
                EXPECT_LT(roundTripError(tm, a) / unitA, 64 * kEps * 10);
            }
        }
    }
}

TEST(SpaceFits, ErrNoMoreThanTheHeaderStates) {
    struct Stated {
        int numPairs;
        double rigid;
        double affine;
    };
    for (const Stated& stated :
         {Stated{4, 1.4e-10, 8e-6}, Stated{12, 2e-11, 4e-11}, Stated{33, 1e-11, 2e-11}}) {
        SCOPED_TRACE(stated.numPairs);
        std::array<double, 3> worst{};
        double worstResidual = 0.0;
        for (unsigned seed = 1; seed <= 2000; ++seed) {
            TransformWorld world(seed);
            const rx3PtMatchTm truth = world.rotation();
            const SpacePoints at0 = world.spacePoints({0, 0, 0}, 5, stated.numPairs);
            const SpacePoints a = shifted(at0, {1e6, 1e6, 1e6});
            const SpacePoints b = shifted(mapped(truth, at0), {1e6, 1e6, 1e6});
            for (std::size_t k = 0; k < 3; ++k) {
                const rx3PtMatchTm tm = kFits[k](a, b);
                Params p = tm.a2bParams();
                for (const std::size_t t : {3U, 7U, 11U}) p[t] = truth.a2bParams()[t];
                worst[k] = std::max(worst[k], difference(p, truth.a2bParams()));
                worstResidual = std::max(worstResidual, rfFitResidual(tm, a, b).largest);
            }
        }
        EXPECT_LT(worst[0], stated.rigid);
        EXPECT_LT(worst[1], stated.rigid);
        EXPECT_LT(worst[2], stated.affine);
        EXPECT_LT(worstResidual, 1e-9);
    }
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

TEST(FitRigid3D, NoOtherRotationOfAThinPatternIsBetter) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        SpacePoints a;
        for (const auto& p : world.spacePoints({0, 0, 0}, 1, 10)) {
            a.emplace_back(5 * p.x(), 0.01 * p.y(), 0.02 * p.z());
        }
        const rxVector<3> mean = meanOf(a);
        const SpacePoints b = noisy(world, mapped(world.rotation(), a), 0.01);
        const rx3PtMatchTm best = rfFitRigid3D(a, b);
        EXPECT_LT(shear(best, 1.0), 32 * kEps);
        EXPECT_NEAR(determinant(best), 1.0, 32 * kEps);
        const double least = sumOfSquares(best, a, b);
        for (int k = 0; k < 30; ++k) {
            EXPECT_GE(sumOfSquares(turnedBefore(best, mean, world.uniform(-3, 3)), a, b), least);
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

TEST(SpaceFits, VeryManyPointsOnOneLineOrInOnePlaneAreRefused) {
    constexpr int kPoints = 1000000;
    SpacePoints line;
    SpacePoints plane;
    TransformWorld world(3);
    for (int i = 0; i < kPoints; ++i) {
        const double s = world.uniform(-5, 5);
        const double t = world.uniform(-5, 5);
        line.emplace_back(0.3 * t, -0.7 * t, 0.45 * t);
        plane.emplace_back(s + 0.3 * t, t, 0.3 * s - 0.7 * t);
    }
    const SpacePoints cloud = world.spacePoints({0, 0, 0}, 5, kPoints);
    EXPECT_EQ(refusal(rfFitRigid3D, line, cloud), "the points lie on one line\n");
    EXPECT_EQ(refusal(rfFitRigid3D, cloud, line), "the points lie on one line\n");
    EXPECT_EQ(refusal(rfFitAffine3D, plane, cloud), "the points a lie in one plane\n");
    EXPECT_EQ(refusal(rfFitAffine3D, cloud, plane), "the points b lie in one plane\n");
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

TEST(ExactSpaceTransform, RowsAndColumnsThatDependOnceRoundedAreRefused) {
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const auto random = [&] { return world.uniform(-1.0, 1.0); };
        Params p;
        for (double& element : p) element = random();
        const double s = random();
        for (const double t : {0.0, random()}) {
            for (std::size_t k = 0; k < 3; ++k) {
                Params rows = p;
                Params columns = p;
                const std::size_t k1 = (k + 1) % 3;
                const std::size_t k2 = (k + 2) % 3;
                for (std::size_t i = 0; i < 3; ++i) {
                    rows[4 * k + i] = s * p[4 * k1 + i] + t * p[4 * k2 + i];
                    columns[4 * i + k] = s * p[4 * i + k1] + t * p[4 * i + k2];
                }
                ASSERT_THROW(rfExactSpaceTransform(rows), rxMathError) << k << ", " << t;
                ASSERT_THROW(rfExactSpaceTransform(columns), rxMathError) << k << ", " << t;
            }
        }
    }
}

TEST(ExactSpaceTransform, IsAsGoodInAllUnits) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        TransformWorld world(seed);
        const Params p = world.rotation().a2bParams();
        for (const double unit : {1e-300, 1e-150, 1e150, 1e300}) {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", unit " << unit);
            Params scaled = p;
            for (double& element : scaled) element *= unit;
            const Params inverse = rfExactSpaceTransform(scaled).b2aParams();
            for (std::size_t r = 0; r < 3; ++r) {
                for (std::size_t c = 0; c < 3; ++c) {
                    EXPECT_NEAR(inverse[4 * r + c] * unit, p[4 * c + r], 8 * kEps);
                }
            }
        }
    }
}

TEST(ExactSpaceTransform, SingularAndInfiniteOnesAreRefused) {
    for (const Params& p : {Params{}, Params{1, 0, 0, 0, 0, 1, 0, 0, 1, 1, 0, 0},
                            Params{0.1, 0.2, 0.3, 0, 0.6, 0.5, 0.7, 0, 0.7, 0.7, 1.0, 0},
                            Params{kNaN, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0},
                            // The inverse alone is not finite.
                            Params{1e-310, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0},
                            Params{1, 0, 0, kInfinity, 0, 1, 0, 0, 0, 0, 1, 0}}) {
        EXPECT_THROW(rfExactSpaceTransform(p), rxMathError);
    }
}

}  // namespace
