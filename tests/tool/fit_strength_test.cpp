#include "fit_strength.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "point_spread.h"
#include "sample_pairs.h"

using namespace ptmatch::tool;

namespace {

double distance(const Coordinates& p, const Coordinates& q) {
    return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
}

// Points of the rim around the points a.
std::vector<Coordinates> rimOf(const PairTable& pairs) {
    std::mt19937 random(3);
    std::normal_distribution<double> normal;
    const PointSpread spread = spreadOf(pairs.a, pairs.dimensions);
    std::vector<Coordinates> rim;
    for (int k = 0; k < 100; ++k) {
        Coordinates d{};
        for (std::size_t i = 0; i < pairs.dimensions; ++i) d[i] = normal(random);
        const double length = std::hypot(d[0], d[1], d[2]);
        Coordinates p{};
        for (std::size_t i = 0; i < 3; ++i) p[i] = spread.mean[i] + spread.reach * d[i] / length;
        rim.push_back(p);
    }
    return rim;
}

}  // namespace

// What the linearised propagation says is what many fits to disturbed pairs do.
TEST(FitStrength, GrowthIsThatOfSimulatedErrors) {
    constexpr int kRuns = 2000;
    constexpr double kError = 1e-3;  // root mean square of a pair: small against the points
    for (const FitModel model : allModels()) {
        const FitModelTraits& traits = traitsOf(model);
        const PairTable exact = samplePairs(model, 9);
        const HomogeneousMatrix truth = sampleTransform(model);
        const std::vector<Coordinates> rim = rimOf(exact);
        std::mt19937 random(11);
        std::normal_distribution<double> noise(
            0.0, kError / std::sqrt(static_cast<double>(traits.dimensions)));
        std::vector<double> squares(rim.size(), 0.0);
        for (int run = 0; run < kRuns; ++run) {
            PairTable pairs = exact;
            for (Coordinates& p : pairs.b) {
                for (std::size_t k = 0; k < traits.dimensions; ++k) p[k] += noise(random);
            }
            const HomogeneousMatrix fitted = fitTransform(model, pairs).bFromA;
            for (std::size_t i = 0; i < rim.size(); ++i) {
                const double d = distance(mapped(fitted, rim[i]), mapped(truth, rim[i]));
                squares[i] += d * d / kRuns;
            }
        }
        const double worst = std::sqrt(*std::max_element(squares.begin(), squares.end()));
        // 2000 runs tell a root mean square to some 2 %, and the points of the rim differ. The fit
        // of a perspective transform weights its pairs, which costs it a little.
        EXPECT_NEAR(strengthOf(traits, exact.a, truth).errorGrowth, worst / kError,
                    0.08 * worst / kError)
            << traits.name;
    }
}

TEST(FitStrength, GrowthOfAffineFitsHasAClosedForm) {
    // Four corners of a square and its mean: 1/n + reach^2 / (sum of squares along an axis).
    const std::vector<Coordinates> square = {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}};
    const HomogeneousMatrix any = {{5, 1, 0}, {0, 3, 9}, {0, 0, 1}};
    const FitStrength strength = strengthOf(traitsOf(FitModel::kAffine), square, any);
    EXPECT_NEAR(strength.errorGrowth, std::sqrt(0.25 + 2.0 / 4.0), 1e-12);
    for (const double leverage : strength.leverages) EXPECT_NEAR(leverage, 0.75, 1e-12);
    EXPECT_FALSE(strength.isTorn);
}

TEST(FitStrength, DoesNotDependOnUnitsAndOrigins) {
    for (const FitModel model : {FitModel::kSimilarity, FitModel::kAffine}) {
        const FitModelTraits& traits = traitsOf(model);
        PairTable pairs = samplePairs(model, 6);
        const double growth = strengthOf(traits, pairs.a, sampleTransform(model)).errorGrowth;
        for (Coordinates& p : pairs.a) p = {1e-3 * p[0] + 512, 1e-3 * p[1] - 1024, 0};
        EXPECT_NEAR(strengthOf(traits, pairs.a, sampleTransform(model)).errorGrowth, growth,
                    1e-6 * growth);
    }
}

// What the linearised propagation says is what the fit does when a pair is moved.
TEST(FitStrength, LeverageIsTheLargestShareThatTheFitFollows) {
    constexpr double kShift = 1e-4;
    for (const FitModel model : allModels()) {
        const FitModelTraits& traits = traitsOf(model);
        const PairTable exact = samplePairs(model, 7);
        const FitStrength strength = strengthOf(traits, exact.a, sampleTransform(model));
        std::mt19937 random(5);
        std::normal_distribution<double> normal;
        for (std::size_t i = 0; i < exact.size(); ++i) {
            double largest = 0.0;
            for (int k = 0; k < 300; ++k) {
                Coordinates d{};
                for (std::size_t c = 0; c < traits.dimensions; ++c) d[c] = normal(random);
                const double length = std::hypot(d[0], d[1], d[2]);
                PairTable pairs = exact;
                for (std::size_t c = 0; c < 3; ++c) pairs.b[i][c] += kShift * d[c] / length;
                const Coordinates image = fitTransform(model, pairs).images[i];
                largest = std::max(largest, distance(image, exact.b[i]) / kShift);
            }
            // 300 directions come near the worst one. The fit of a perspective transform weights
            // its pairs.
            EXPECT_NEAR(strength.leverages[i], largest,
                        model == FitModel::kPerspective ? 0.06 : 0.01)
                << traits.name << ", pair " << i;
        }
    }
}

TEST(FitStrength, LeverageIsNotHiddenByDirectionsThatOthersHold) {
    // Only the last point holds the rotation about the x axis.
    std::vector<Coordinates> points;
    for (int k = 0; k < 8; ++k) points.push_back({100.0 * k / 7.0, 0, 0});
    points.push_back({50, 60, 0});
    const HomogeneousMatrix same = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    const FitStrength strength = strengthOf(traitsOf(FitModel::kRigid3D), points, same);
    EXPECT_NEAR(strength.leverages[8], 1.0, 1e-9);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_LT(strength.leverages[i], 0.6);
}

TEST(FitStrength, FewestPairsAreFollowedWhereverTheyLie) {
    for (const FitModel model : allModels()) {
        const FitModelTraits& traits = traitsOf(model);
        if (traits.fewestPairs * traits.dimensions != traits.unknowns) continue;
        const PairTable pairs = samplePairs(model, traits.fewestPairs);
        const FitStrength strength = strengthOf(traits, pairs.a, sampleTransform(model));
        for (const double leverage : strength.leverages) EXPECT_NEAR(leverage, 1.0, 1e-6);
    }
}

TEST(FitStrength, GrowthRisesWithoutBoundAsPointsApproachALine) {
    const HomogeneousMatrix identity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const auto growthAt = [&](double width) {
        std::vector<Coordinates> points;
        for (int k = 0; k < 20; ++k) {
            points.push_back({static_cast<double>(k), k % 2 == 0 ? width : -width, 0});
        }
        return strengthOf(traitsOf(FitModel::kAffine), points, identity).errorGrowth;
    };
    // reach / (width sqrt(n)) where the width decides
    EXPECT_NEAR(growthAt(1e-2), 9.5 / (1e-2 * std::sqrt(20.0)), 2.0);
    EXPECT_NEAR(growthAt(1e-4), 9.5 / (1e-4 * std::sqrt(20.0)), 200.0);
    EXPECT_GT(growthAt(1e-12), kLargestGrowth);
    EXPECT_GT(growthAt(0.0), kLargestGrowth);
}

TEST(FitStrength, AHorizonThroughThePointsTearsThem) {
    const std::vector<Coordinates> points = {{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {1, 3, 0}};
    const HomogeneousMatrix torn = {{1, 0, 0}, {0, 1, 0}, {-1, 0, 1}};  // w = 1 - x
    const FitStrength strength = strengthOf(traitsOf(FitModel::kPerspective), points, torn);
    EXPECT_TRUE(strength.isTorn);
    EXPECT_TRUE(std::isinf(strength.errorGrowth));
}

TEST(FitStrength, AHorizonWithinTheCircleCutsItOff) {
    // w = 1 - 0.9 x is 0.1 at the rightmost point; the circle reaches beyond the horizon.
    const std::vector<Coordinates> points = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0},
                                             {-1, 1, 0},  {0, 0, 0},  {-1, 0, 0}};
    const HomogeneousMatrix steep = {{1, 0, 0}, {0, 1, 0}, {-0.9, 0, 1}};
    const FitStrength strength = strengthOf(traitsOf(FitModel::kPerspective), points, steep);
    EXPECT_FALSE(strength.isTorn);
    EXPECT_TRUE(std::isfinite(strength.errorGrowth));
}

TEST(FitStrength, BothWaysAreFirmForAGridSeenObliquely) {
    // Denominators of 1 to 0.1. The circle about the points b is wide where these are narrow.
    for (const double tilt : {0.05, 0.07, 0.09, 0.1}) {
        const HomogeneousMatrix there = {{40, 3, 100}, {0, 32, 80}, {0, -tilt, 1}};
        // Its adjugate, divided by the last element.
        const double last = 40.0 * 32.0;
        const HomogeneousMatrix back = {
            {(32 + 80 * tilt) / last, (-3 - 100 * tilt) / last, -2960.0 / last},
            {0, 40.0 / last, -3200.0 / last},
            {0, 40.0 * tilt / last, 1}};
        PairTable pairs;
        for (int k = 0; k < 100; ++k) {
            pairs.a.push_back({k % 10 * 1.0, k / 10 * 1.0, 0});
            pairs.b.push_back(mapped(there, pairs.a.back()));
            ASSERT_LT(distance(mapped(back, pairs.b.back()), pairs.a.back()), 1e-9);
        }
        const FitModelTraits& traits = traitsOf(FitModel::kPerspective);
        EXPECT_LT(strengthOf(traits, pairs.a, there).errorGrowth, 1.0) << tilt;
        EXPECT_LT(strengthOf(traits, pairs.b, back).errorGrowth, 1.0) << tilt;
    }
}
