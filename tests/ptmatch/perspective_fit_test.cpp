#include "ptmatch/perspective_fit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "foundation/exception.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/transform_world.h"
#include "support/archive_bytes.h"

namespace {

using namespace ptmatch::testing;
using Params = rx2PTm::Params;

constexpr Params kOblique = {0.8, 0.15, 120, -0.1, 0.9, 40, 1.5e-4, -2e-4};

PlanePoints images(const Params& p, const PlanePoints& points) {
    PlanePoints result;
    for (const auto& v : points) {
        const double w = p[6] * v.x() + p[7] * v.y() + 1.0;
        result.emplace_back((p[0] * v.x() + p[1] * v.y() + p[2]) / w,
                            (p[3] * v.x() + p[4] * v.y() + p[5]) / w);
    }
    return result;
}

PlanePoints shifted(const PlanePoints& points, double x, double y) {
    PlanePoints result;
    for (const auto& p : points) result.push_back(p + rxVector<2>(x, y));
    return result;
}

double largestCoordinate(const PlanePoints& points) {
    double largest = 0.0;
    for (const auto& p : points) largest = std::max({largest, std::abs(p.x()), std::abs(p.y())});
    return largest;
}

/// Four corners of a square and random points within it.
PlanePoints pointsWithin(TransformWorld& world, double half, int more) {
    PlanePoints points = {{-0.8 * half, -0.6 * half},
                          {half, -0.8 * half},
                          {0.8 * half, half},
                          {-0.6 * half, 0.8 * half}};
    const PlanePoints others = world.planePoints({0, 0}, half, more);
    points.insert(points.end(), others.begin(), others.end());
    return points;
}

std::string refusal(const PlanePoints& a, const PlanePoints& b) {
    try {
        (void)rfFitPerspectiveNormalized(a, b);
    } catch (const rxMathError& error) {
        return error.message();
    }
    return "fitted";
}

constexpr const char* kOpen = "the pairs leave the perspective transform open\n";
constexpr const char* kSingular = "the pairs determine a singular perspective transform\n";

// --- The exact inverse

TEST(ExactPerspective, KeepsTheParametersAndTakesTheAdjugate) {
    const Params p = {2, 0, 3, 1, 4, 5, 0, 0.5};
    const rx2PTm tm = rfExactPerspective(p);
    EXPECT_EQ(tm.a2bParams(), p);
    // The adjugate (1.5 1.5 -12, -1 2 -7, 0.5 -1 8) by its last element.
    EXPECT_EQ(tm.b2aParams(), (Params{1.5 / 8, 1.5 / 8, -12.0 / 8, -1.0 / 8, 2.0 / 8, -7.0 / 8,
                                      0.5 / 8, -1.0 / 8}));
}

TEST(ExactPerspective, InvertsToTheLevelOfRounding) {
    for (const double half : {1.0, 500.0, 1e6}) {
        for (unsigned seed = 1; seed <= 100; ++seed) {
            SCOPED_TRACE(seed);
            TransformWorld world(seed);
            const rx2PTm tm = rfExactPerspective(world.perspective(half));
            EXPECT_LT(roundTripError(tm, lattice(-half, half, 7)), 64 * kEps * half);
        }
    }
}

TEST(ExactPerspective, RepairsTheInverseOfATransformThatMembersMade) {
    rx2PTm tm;
    tm.translate({1e6, 1e6});
    const PlanePoints points = lattice(-5, 5, 11);
    EXPECT_GT(roundTripError(tm, points), 0.1);
    EXPECT_EQ(roundTripError(rfExactPerspective(tm.a2bParams()), points), 0.0);
}

TEST(ExactPerspective, HoldsNoPairs) {
    rx2PTm tm = rfExactPerspective(kOblique);
    EXPECT_THROW(tm.fit(), rxMatrixExt::SingularMatrix);
    EXPECT_EQ(tm.a2bParams(), kOblique);
}

TEST(ExactPerspective, ElementsThatCancelAreRoundedOnce) {
    // p0 p4 - p1 p3 = (1 + e)(1 - e) - 1 = -e^2, which single products would make 0.
    const double e = 0x1p-27;
    const rx2PTm tm = rfExactPerspective({1 + e, 1, 1, 1, 1 - e, 0, 1, 0});
    EXPECT_EQ(tm.b2aParams()[0], (1 - e) / -(e * e));
}

TEST(ExactPerspective, SingularAndInfiniteTransformsAreRefused) {
    for (const Params& p :
         {Params{}, Params{1, 2, 3, 2, 4, 6, 0, 0}, Params{1, 0, 0, 0, 0, 0, 0, 0},
          // The third row is the sum of the others, of elements that are not exact.
          Params{0.1, 0.2, 0.3, 0.6, 0.5, 0.7, 0.7, 0.7}, Params{1, 0, 0, 0, 1, 0, kNaN, 0},
          Params{kInfinity, 0, 0, 0, 1, 0, 0, 0}, Params{1e200, 0, 0, 0, 1e-200, 0, 0, 1e300}}) {
        EXPECT_THROW(rfExactPerspective(p), rxMathError);
    }
}

TEST(ExactPerspective, NearlySingularTransformIsInvertedAsLongAsItIsNot) {
    // The determinant is e, the cofactors are about one.
    const double e = 0x1p-40;
    const rx2PTm tm = rfExactPerspective({1, 1, 0, 1, 1 + e, 0, 0, 0});
    EXPECT_EQ(tm.b2aParams(), (Params{(1 + e) / e, -1 / e, 0, -1 / e, 1 / e, 0, 0, 0}));
    EXPECT_THROW(rfExactPerspective({1, 1, 0, 1, 1 + 2 * kEps, 0, 0, 0}), rxMathError);
}

TEST(ExactPerspective, RowsAndColumnsThatDependOnceRoundedAreRefused) {
    // The second row is 0.7 times the third.
    EXPECT_THROW(rfExactPerspective({1, 2, 3, 0.1 * 0.7, 0.3 * 0.7, 0.7, 0.1, 0.3}), rxMathError);
    for (unsigned seed = 1; seed <= 2000; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const auto random = [&] { return world.uniform(-1.0, 1.0); };
        std::array<std::array<double, 3>, 3> m;
        for (auto& row : m) row = {random(), random(), random()};
        const double s = random();
        for (const double t : {0.0, random()}) {
            for (std::size_t k = 0; k < 3; ++k) {
                auto rows = m;
                auto columns = m;
                for (std::size_t i = 0; i < 3; ++i) {
                    rows[k][i] = s * m[(k + 1) % 3][i] + t * m[(k + 2) % 3][i];
                    columns[i][k] = s * m[i][(k + 1) % 3] + t * m[i][(k + 2) % 3];
                }
                for (const auto& h : {rows, columns}) {
                    const double last = h[2][2];
                    const Params p = {h[0][0] / last, h[0][1] / last, h[0][2] / last,
                                      h[1][0] / last, h[1][1] / last, h[1][2] / last,
                                      h[2][0] / last, h[2][1] / last};
                    ASSERT_THROW(rfExactPerspective(p), rxMathError) << k << ", " << t;
                }
            }
        }
    }
}

TEST(ExactPerspective, IsAsGoodInAllUnits) {
    const PlanePoints points = lattice(-4, 4, 5);
    for (const double b : {1e-300, 1e-161, 1e-158, 1e-100, 1e150, 1e300}) {
        SCOPED_TRACE(b);
        const rx2PTm tm =
            rfExactPerspective({1.1 * b, 0.3 * b, 5 * b, -0.2 * b, 0.9 * b, 2 * b, 1e-3, 2e-3});
        EXPECT_LT(roundTripError(tm, points), 16 * kEps * 5);
    }
    for (const double a : {1e-120, 1e-80, 1e80, 1e120}) {
        for (const double b : {1e-120, 1e-80, 1e80, 1e120}) {
            SCOPED_TRACE(testing::Message() << a << ", " << b);
            const rx2PTm tm = rfExactPerspective({1.1 * b / a, 0.3 * b / a, 5 * b, -0.2 * b / a,
                                                  0.9 * b / a, 2 * b, 1e-3 / a, 2e-3 / a});
            for (const auto& p : points) {
                const rxVector<2> back = tm.b2a(tm.a2b({a * p.x(), a * p.y()}));
                EXPECT_LT(distance({back.x() / a, back.y() / a}, p), 16 * kEps * 5);
            }
        }
    }
}

TEST(ExactPerspective, AnInverseWithoutEightParametersIsRefused) {
    // Regular, but the origin of b is the image of a point at infinity: p0 p4 = p1 p3.
    const Params p = {0, 1, 0, 0, 0, 1, 1, 0};
    try {
        (void)rfExactPerspective(p);
        FAIL() << "an inverse was found";
    } catch (const rxMathError& error) {
        EXPECT_EQ(error.message(),
                  "the inverse of a perspective transform has no eight-parameter form: it takes "
                  "the origin to infinity\n");
    }
    // Moving the origin of b helps.
    const rx2PTm shift = rfExactPerspective({1, 0, 5, 0, 1, 7, 0, 0});
    Params moved = p;
    for (std::size_t k = 0; k < 2; ++k) {
        moved[k] += 5 * p[6 + k];
        moved[3 + k] += 7 * p[6 + k];
    }
    moved[2] += 5;
    moved[5] += 7;
    const rx2PTm tm = rfExactPerspective(moved);
    EXPECT_LT(roundTripError(tm, lattice(1, 5, 5)), 64 * kEps * 5);
    EXPECT_EQ(tm.a2b({1, 2}), shift.a2b({1, 0.5}));
}

// --- Composition

TEST(ConcatPerspective, IsTheFirstAndThenTheSecond) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE(seed);
        TransformWorld world(seed);
        const rx2PTm first = rfExactPerspective(world.perspective(500));
        const rx2PTm second = rfExactPerspective(world.perspective(2000));
        const rx2PTm both = rfConcatPerspective(first, second);
        for (const auto& p : lattice(-400, 400, 5)) {
            const rxVector<2> expected = second.a2b(first.a2b(p));
            EXPECT_LT(distance(both.a2b(p), expected), 1e-10);
            EXPECT_LT(distance(both.b2a(expected), p), 1e-10);
        }
    }
}

TEST(ConcatPerspective, WithTheInverseIsTheIdentity) {
    const rx2PTm tm = rfExactPerspective(kOblique);
    const rx2PTm inverse = rfExactPerspective(tm.b2aParams());
    EXPECT_LT(difference(rfConcatPerspective(tm, inverse), rx2PTm(), lattice(0, 1000, 5)), 1e-11);
}

TEST(ConcatPerspective, StandsInForAMoveThatWouldCostDigits) {
    const rx2PTm tm = rfExactPerspective(kOblique);
    const rx2PTm shift = rfExactPerspective({1, 0, 1000, 0, 1, -1000, 0, 0});
    const PlanePoints points = lattice(-500, 500, 5);
    rx2PTm translated = tm;
    translated.translate({1000, -1000});
    const rx2PTm chained = rfConcatPerspective(shift, tm);
    EXPECT_LT(difference(chained, translated, lattice(-1, 1, 3)), 1e-9) << "they mean the same";
    EXPECT_LT(roundTripError(chained, points), 1e-11);
    EXPECT_GT(roundTripError(translated, points), 1e-6);
}

TEST(ConcatPerspective, AProductWithoutEightParametersIsRefused) {
    const rx2PTm shift = rfExactPerspective({1, 0, 2, 0, 1, 0, 0, 0});
    const rx2PTm horizonAtTwo = rfExactPerspective({1, 0, 0, 0, 1, 0, -0.5, 0});
    try {
        (void)rfConcatPerspective(shift, horizonAtTwo);
        FAIL() << "the origin has no image";
    } catch (const rxMathError& error) {
        EXPECT_EQ(error.message(),
                  "two perspective transforms together have no eight-parameter form: they take the "
                  "origin to infinity\n");
    }
    EXPECT_EQ(
        rfConcatPerspective(horizonAtTwo, rfExactPerspective({1, 0, 3, 0, 1, 0, 0, 0})).a2b({1, 1}),
        rxVector<2>(5, 2));
}

// --- The normalised fit

TEST(FitPerspectiveNormalized, MeetsFourPairsExactly) {
    const PlanePoints a = {{0, 0}, {1000, 0}, {1000, 1000}, {0, 1000}};
    const rx2PTm tm = rfFitPerspectiveNormalized(a, images(kOblique, a));
    for (std::size_t k = 0; k < 8; ++k) {
        EXPECT_NEAR(tm.a2bParams()[k], kOblique[k], 64 * kEps * std::abs(kOblique[k])) << k;
    }
    EXPECT_LT(roundTripError(tm, lattice(0, 1000, 11)), 16 * kEps * 1000);
}

TEST(FitPerspectiveNormalized, RecoversRandomTransformsOfAnySize) {
    for (const double half : {1e-6, 1.0, 500.0, 5000.0, 1e9}) {
        for (const double offset : {0.0, 1.0, 10.0}) {  // in units of half
            SCOPED_TRACE(std::to_string(half) + " at " + std::to_string(offset));
            for (unsigned seed = 1; seed <= 100; ++seed) {
                TransformWorld world(seed);
                const Params truth = world.perspective(half);
                const PlanePoints at0 = pointsWithin(world, half, static_cast<int>(seed % 30));
                const PlanePoints a = shifted(at0, offset * half, offset * half);
                const PlanePoints b = shifted(images(truth, at0), offset * half, -offset * half);
                const rx2PTm tm = rfFitPerspectiveNormalized(a, b);
                const double rounding = kEps * half * (1.0 + offset);
                ASSERT_LT(rfFitResidual(tm, a, b).largest, 64 * rounding) << "seed " << seed;
                ASSERT_LT(roundTripError(tm, a), 64 * rounding) << "seed " << seed;
            }
        }
    }
}

TEST(FitPerspectiveNormalized, IsAsGoodInAllUnits) {
    TransformWorld world(7);
    const PlanePoints a = pointsWithin(world, 5, 6);
    const PlanePoints b = images({0.9, 0.2, 3.0, -0.1, 1.1, -2.0, 0.03, -0.02}, a);
    for (const double unitA : {1e-130, 1e-80, 1.0, 1e80, 1e130}) {
        for (const double unitB : {1e-130, 1e-80, 1.0, 1e80, 1e130}) {
            SCOPED_TRACE(testing::Message() << unitA << ", " << unitB);
            PlanePoints a2;
            PlanePoints b2;
            for (const auto& p : a) a2.emplace_back(unitA * p.x(), unitA * p.y());
            for (const auto& p : b) b2.emplace_back(unitB * p.x(), unitB * p.y());
            const rx2PTm tm = rfFitPerspectiveNormalized(a2, b2);
            EXPECT_LT(rfFitResidual(tm, a2, b2).largest / unitB, 64 * kEps * 10);
            EXPECT_LT(roundTripError(tm, a2) / unitA, 64 * kEps * 5);
        }
    }
}

TEST(FitPerspectiveNormalized, OriginsTooFarForEightParametersAreRefused) {
    const PlanePoints image = {{0, 0}, {3999, 0}, {3999, 2999}, {0, 2999}};
    const PlanePoints oblique = {{412.3, 250.7}, {3391.9, 301.2}, {3900.5, 2900.1}, {55.2, 2811.8}};
    struct Stated {
        double offset;
        double error;
    };
    for (const Stated& stated : {Stated{1e8, 5e-4}, Stated{1e9, 0.05}, Stated{3e9, 0.4}}) {
        SCOPED_TRACE(stated.offset);
        for (const double sign : {1.0, -1.0}) {
            const PlanePoints a = shifted(image, stated.offset, sign * stated.offset);
            const PlanePoints b = shifted(oblique, stated.offset, stated.offset);
            const rx2PTm tm = rfFitPerspectiveNormalized(a, b);
            EXPECT_LT(rfFitResidual(tm, a, b).largest, stated.error);
            EXPECT_LT(roundTripError(tm, a), stated.error);
        }
    }
    const char* const tooFar =
        "the points lie too far from the origin for the eight parameters of a perspective "
        "transform: move the origins\n";
    for (const double offset : {5e9, 1e10, 1e11, 1e12}) {
        const PlanePoints a = shifted(image, offset, offset);
        EXPECT_EQ(refusal(a, shifted(oblique, offset, offset)), tooFar) << offset;
        EXPECT_EQ(refusal(a, shifted(oblique, offset, -offset)), tooFar) << offset;
    }
    // Without perspective, or with one origin near, the parameters hold more.
    EXPECT_EQ(refusal(shifted(image, 1e12, 1e12), oblique), "fitted");
    EXPECT_EQ(refusal(image, shifted(oblique, 1e12, 1e12)), "fitted");
    EXPECT_EQ(refusal(shifted(image, 1e12, 1e12), shifted(image, 1e12, -1e12)), "fitted");
}

TEST(FitPerspectiveNormalized, PairsOfVeryUnequalDistancesAreRefusedAsStated) {
    const PlanePoints square = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    const auto strip = [](double length) {
        return PlanePoints{{0, 0}, {length, 0}, {length, 1}, {0, 1}};
    };
    const auto oneFar = [](double away) {
        return PlanePoints{{0, 0}, {1, 0}, {0, 1}, {away, away}};
    };
    EXPECT_EQ(refusal(strip(3e6), square), "fitted");
    EXPECT_EQ(refusal(square, strip(3e6)), "fitted");
    EXPECT_EQ(refusal(strip(4e6), square), kSingular);
    EXPECT_EQ(refusal(square, strip(4e6)), kSingular);
    EXPECT_EQ(refusal(oneFar(2e6), oneFar(2e6)), "fitted");
    EXPECT_EQ(refusal(oneFar(3e6), oneFar(3e6)), kOpen);
}

TEST(FitPerspectiveNormalized, ErrsNoMoreThanTheHeaderStates) {
    constexpr double kHalf = 500;
    double worst = 0.0;         // in eps of the largest coordinate
    double worstFarAway = 0.0;  // in pixels
    for (const int more : {0, 6, 30}) {
        for (unsigned seed = 1; seed <= 2000; ++seed) {
            TransformWorld world(seed);
            const Params truth = world.perspective(kHalf);
            const PlanePoints at0 = pointsWithin(world, kHalf, more);
            for (const double offset : {0.0, 10.0, 1000.0}) {
                const double shift = offset * kHalf;
                const PlanePoints a = shifted(at0, shift, shift);
                const PlanePoints b = shifted(images(truth, at0), shift, -shift);
                const rx2PTm tm = rfFitPerspectiveNormalized(a, b);
                const double ofImages = rfFitResidual(tm, a, b).largest;
                const double ofRoundTrips = roundTripError(tm, a);
                if (offset == 1000.0) {
                    worstFarAway = std::max({worstFarAway, ofImages, ofRoundTrips});
                } else {
                    worst = std::max({worst, ofImages / largestCoordinate(b) / kEps,
                                      ofRoundTrips / largestCoordinate(a) / kEps});
                }
            }
        }
    }
    EXPECT_LT(worst, 32.0);
    EXPECT_LT(worstFarAway, 3e-7);
}

TEST(FitPerspectiveNormalized, IsBetterThanThePlainFitOnPixelsByDigits) {
    TransformWorld world(1);
    const PlanePoints a = world.planePoints({500, 500}, 500, 40);
    const PlanePoints b = images(kOblique, a);
    const rx2PTm plain(a, b);
    const rx2PTm normalized = rfFitPerspectiveNormalized(a, b);
    EXPECT_LT(rfFitResidual(plain, a, b).largest, 1e-10);  // measured 4.7e-12
    EXPECT_LT(rfFitResidual(normalized, a, b).largest, 2e-12);
    EXPECT_GT(roundTripError(plain, a), 1e-8);  // measured 4.5e-7
    EXPECT_LT(roundTripError(normalized, a), 2e-12);

    const PlanePoints farA = shifted(a, 1e4, 1e4);
    const PlanePoints farB = shifted(b, 1e4, 1e4);
    const rx2PTm farPlain(farA, farB);
    const rx2PTm farNormalized = rfFitPerspectiveNormalized(farA, farB);
    EXPECT_GT(rfFitResidual(farPlain, farA, farB).largest, 1e-8);
    EXPECT_GT(roundTripError(farPlain, farA), 1.0) << "the inverse is of no use there";
    EXPECT_LT(rfFitResidual(farNormalized, farA, farB).largest, 1e-10);
    EXPECT_LT(roundTripError(farNormalized, farA), 1e-10);
}

TEST(FitPerspectiveNormalized, AgreesWithThePlainFitWhereThatIsGood) {
    TransformWorld world(4);
    const PlanePoints a = world.planePoints({0, 0}, 5, 30);
    PlanePoints b = images({0.9, 0.2, 3.0, -0.1, 1.1, -2.0, 0.03, -0.02}, a);
    for (auto& p : b) p = p + rxVector<2>(world.normal(1e-4), world.normal(1e-4));
    // Two ways to weight errors of 1e-4: they differ by a part of that.
    EXPECT_LT(difference(rfFitPerspectiveNormalized(a, b), rx2PTm(a, b), a), 1e-4);
}

TEST(FitPerspectiveNormalized, DoesNotDependOnUnitsAndOrigins) {
    TransformWorld world(5);
    const PlanePoints a = world.planePoints({0, 0}, 5, 30);
    PlanePoints b = images({0.9, 0.2, 3.0, -0.1, 1.1, -2.0, 0.03, -0.02}, a);
    for (auto& p : b) p = p + rxVector<2>(world.normal(0.1), world.normal(0.1));
    const rx2PTm tm = rfFitPerspectiveNormalized(a, b);

    PlanePoints a2;
    PlanePoints b2;
    for (const auto& p : a) a2.emplace_back(100 * p.x() + 320, 100 * p.y() + 240);
    for (const auto& p : b) b2.emplace_back(0.01 * p.x() - 7, 0.01 * p.y() + 3);
    const rx2PTm tm2 = rfFitPerspectiveNormalized(a2, b2);
    for (std::size_t i = 0; i < a.size(); ++i) {
        const rxVector<2> image = tm.a2b(a[i]);
        const rxVector<2> expected(0.01 * image.x() - 7, 0.01 * image.y() + 3);
        EXPECT_LT(distance(tm2.a2b(a2[i]), expected), 1e-13);
    }
}

TEST(FitPerspectiveNormalized, FitsTheSameBitsEachTime) {
    TransformWorld world(6);
    const PlanePoints a = world.planePoints({300, 300}, 300, 1000);
    const PlanePoints b = world.planePoints({300, 300}, 300, 1000);
    EXPECT_EQ(stored(rfFitPerspectiveNormalized(a, b)), stored(rfFitPerspectiveNormalized(a, b)));
}

TEST(FitPerspectiveNormalized, SequencesOfDifferentLengthsAreRefused) {
    EXPECT_THROW(rfFitPerspectiveNormalized(PlanePoints(4), PlanePoints(5)), rx2PTm::BadArgs);
    EXPECT_THROW(rfPerspectiveConditioning(PlanePoints(4), PlanePoints(5)), rx2PTm::BadArgs);
}

TEST(FitPerspectiveNormalized, FewerThanFourPairsAreRefused) {
    const PlanePoints a = {{0, 0}, {1, 0}, {1, 1}};
    EXPECT_EQ(refusal(a, a), "a perspective transform needs at least 4 pairs\n");
    EXPECT_EQ(refusal({}, {}), "a perspective transform needs at least 4 pairs\n");
}

TEST(FitPerspectiveNormalized, PairsThatLeaveItOpenAreRefused) {
    for (const double offset : {0.0, 1e3, 1e6, 1e9}) {
        for (const double slope : {0.0, 0.3, 1.0, 7.123}) {
            SCOPED_TRACE(std::to_string(offset) + ", slope " + std::to_string(slope));
            PlanePoints a;
            PlanePoints b;
            for (int i = 0; i < 20; ++i) {
                a.emplace_back(offset + 1.1 * i, 2 * offset + slope * 1.1 * i);
                b.emplace_back(2.0 * i, slope * i - offset);
            }
            EXPECT_EQ(refusal(a, b), kOpen) << "all on one line";
            EXPECT_TRUE(std::isinf(rfPerspectiveConditioning(a, b)));
            a.emplace_back(offset + 3, 2 * offset + 50);
            b.emplace_back(1, -offset - 60);
            EXPECT_EQ(refusal(a, b), kOpen) << "all but one on one line";
            a.emplace_back(offset + 5, 2 * offset + 70);
            b.emplace_back(8, -offset - 65);
            EXPECT_LT(rfPerspectiveConditioning(a, b), 1000) << "all but two on one line";
        }
    }
    const PlanePoints twice = {{0, 0}, {1, 0}, {1, 1}, {1, 1}};
    EXPECT_EQ(refusal(twice, twice), kOpen);
}

TEST(FitPerspectiveNormalized, PairsOfASingularTransformAreRefused) {
    const PlanePoints line = {{0, 0}, {1, 0}, {2, 0}, {1, 1}};  // three of them
    const PlanePoints square = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    EXPECT_EQ(refusal(line, square), kSingular);
    EXPECT_EQ(refusal(square, line), kSingular);
}

TEST(FitPerspectiveNormalized, PointsNearlyOnALineAreFittedAsLongAsTheyAreNot) {
    for (const double height : {1e-3, 1e-6, 1e-9}) {
        const PlanePoints a = {{0, 0}, {1, height}, {2, 0}, {3, -height}, {4, 2 * height}};
        const rx2PTm tm = rfFitPerspectiveNormalized(a, a);
        EXPECT_LT(rfFitResidual(tm, a, a).largest, 16 * kEps);
        EXPECT_GT(rfPerspectiveConditioning(a, a), 1.0 / height);
    }
}

TEST(FitPerspectiveNormalized, CoordinatesThatAreNotNumbersAreRefused) {
    const PlanePoints good = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (const double bad : {kNaN, kInfinity, 1e151}) {
        PlanePoints points = good;
        points[2].y(bad);
        EXPECT_THROW(rfFitPerspectiveNormalized(points, good), rxMathError);
        EXPECT_THROW(rfFitPerspectiveNormalized(good, points), rxMathError);
        EXPECT_THROW(rfPerspectiveConditioning(points, good), rxMathError);
    }
}

TEST(FitPerspectiveNormalized, ATransformNearOneWithoutEightParametersMapsItsPairs) {
    // The origin of one plane goes to infinity. Rounding leaves its w at 1e-16 of the other terms,
    // divided by which the parameters are large; away from the origin they are as good as any.
    const PlanePoints a = lattice(1, 4, 4);
    const PlanePoints b = images({0, 1, 0, 0, 0, 1, 1, 0}, a);
    for (const auto& tm : {rfFitPerspectiveNormalized(a, b), rfFitPerspectiveNormalized(b, a)}) {
        const bool forward = distance(tm.a2b(a[0]), b[0]) < 1e-12;
        EXPECT_LT(rfFitResidual(tm, forward ? a : b, forward ? b : a).largest, 64 * kEps);
        EXPECT_LT(roundTripError(tm, forward ? a : b), 64 * kEps);
    }
}

TEST(PerspectiveConditioning, IsAFewUnitsForPointsSpreadOverThePlane) {
    const PlanePoints square = {{0, 0}, {1000, 0}, {1000, 1000}, {0, 1000}};
    EXPECT_LT(rfPerspectiveConditioning(square, square), 4.0);
    EXPECT_GE(rfPerspectiveConditioning(square, square), 1.0);
}

// --- The limits that the header of the class states

TEST(PerspectiveTmLimits, SampledInverseLosesDigitsAfterALargeTranslation) {
    const PlanePoints square = lattice(-5, 5, 11);
    const auto errorAfter = [&](double shift) {
        rx2PTm tm;
        tm.translate({shift, shift});
        EXPECT_EQ(roundTripError(rfExactPerspective(tm.a2bParams()), square), 0.0);
        return roundTripError(tm, square);
    };
    EXPECT_LT(errorAfter(100), 1e-10);
    const double at1e4 = errorAfter(1e4);
    EXPECT_GT(at1e4, 1e-7);
    EXPECT_LT(at1e4, 1e-5);
    EXPECT_GT(errorAfter(1e6), 0.1);
}

}  // namespace
