#include "fit_alternatives.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include "sample_pairs.h"

using namespace ptmatch::tool;

namespace {

PairTable noisyPairs(FitModel model, std::size_t count, double sigma, unsigned seed) {
    PairTable pairs = samplePairs(model, count, seed);
    std::mt19937 random(seed + 1000);
    std::normal_distribution<double> noise(0.0, sigma);
    for (Coordinates& p : pairs.b) {
        for (std::size_t k = 0; k < pairs.dimensions; ++k) p[k] += noise(random);
    }
    return pairs;
}

}  // namespace

TEST(FitAlternatives, AWrongPairStandsOut) {
    for (const FitModel model : allModels()) {
        PairTable pairs = noisyPairs(model, 12, 0.05, 3);
        pairs.b[4][1] += 20.0;
        const auto found = outstandingPair(reportOnFit(model, pairs, "p.csv"));
        ASSERT_TRUE(found) << traitsOf(model).name;
        EXPECT_EQ(found->pair, 4U);
        EXPECT_NEAR(found->distance, 20.0, 2.0);
        EXPECT_LT(found->errorOfOthers, 0.3);
    }
}

TEST(FitAlternatives, AWrongPairStandsOutAlsoWhenAnotherHasALargerResidual) {
    // The fit follows nearly all of the error of the far point.
    std::vector<Coordinates> points;
    for (int k = 0; k < 12; ++k) points.push_back({k % 4 * 1.0, k / 4 * 1.0, 0});
    points.push_back({12, 1, 0});
    PairTable pairs = planePairs(points, [](const Coordinates& p) { return p; });
    for (std::size_t i = 0; i < 12; ++i) pairs.b[i][1] += i % 2 == 0 ? 0.01 : -0.01;
    pairs.b[12][1] += 2.0;
    const FitReport report = reportOnFit(FitModel::kAffine, pairs, "p.csv");
    ASSERT_NE(report.fitted.residual.worst, 12U);
    const auto found = outstandingPair(report);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->pair, 12U);
    EXPECT_NEAR(found->distance, 2.0, 0.1);
}

TEST(FitAlternatives, NoiseHardlyEverMakesAPairStandOut) {
    constexpr int kSets = 200;
    for (const FitModel model : allModels()) {
        const FitModelTraits& traits = traitsOf(model);
        // With the fewest pairs that are looked at, and with many.
        const std::size_t enough = traits.unknowns + kEnoughRedundancy;
        const std::size_t fewest = (enough + traits.dimensions - 1) / traits.dimensions + 1;
        for (const std::size_t count : {fewest, std::size_t{40}}) {
            int found = 0;
            for (unsigned seed = 0; seed < kSets; ++seed) {
                const PairTable pairs = noisyPairs(model, count, 0.1, seed);
                found += outstandingPair(reportOnFit(model, pairs, "p.csv")).has_value() ? 1 : 0;
            }
            EXPECT_LE(found, count == fewest ? kSets / 50 : 0) << traits.name << ", " << count;
        }
    }
}

TEST(FitAlternatives, RoundingAndFewPairsSayNothing) {
    for (const FitModel model : allModels()) {
        EXPECT_FALSE(outstandingPair(reportOnFit(model, samplePairs(model, 12), "p.csv")));
        EXPECT_FALSE(betterWithScale(reportOnFit(model, samplePairs(model, 12), "p.csv")));
    }
    PairTable pairs = samplePairs(FitModel::kAffine, 5);
    pairs.b[2][0] += 30.0;
    EXPECT_FALSE(outstandingPair(reportOnFit(FitModel::kAffine, pairs, "p.csv")));
}

TEST(FitAlternatives, ASimilarityIsNamedForPairsOfAnotherScale) {
    for (const auto& [rigid, similarity] :
         {std::pair(FitModel::kRigid, FitModel::kSimilarity),
          std::pair(FitModel::kRigid3D, FitModel::kSimilarity3D)}) {
        const auto found =
            betterWithScale(reportOnFit(rigid, noisyPairs(similarity, 12, 0.1, 1), "p.csv"));
        ASSERT_TRUE(found);
        EXPECT_EQ(found->model, similarity);
        EXPECT_NEAR(found->scale, 3.0, 0.01);
        EXPECT_NEAR(found->error, 0.1 * std::sqrt(traitsOf(rigid).dimensions), 0.06);
        EXPECT_FALSE(betterWithScale(reportOnFit(rigid, noisyPairs(rigid, 12, 0.1, 1), "p.csv")));
    }
}

TEST(FitAlternatives, PairsInAWrongOrderAreNeitherMirroredNorOfAnotherScale) {
    for (const FitModel model :
         {FitModel::kRigid, FitModel::kSimilarity, FitModel::kRigid3D, FitModel::kSimilarity3D}) {
        for (unsigned seed = 0; seed < 100; ++seed) {
            PairTable pairs = samplePairs(model, 9, seed);
            std::shuffle(pairs.b.begin(), pairs.b.end(), std::mt19937(seed));
            const FitReport report = reportOnFit(model, pairs, "p.csv");
            EXPECT_FALSE(explainedByMirroring(report)) << traitsOf(model).name << ", " << seed;
            EXPECT_FALSE(betterWithScale(report)) << traitsOf(model).name << ", " << seed;
        }
    }
}

TEST(FitAlternatives, AMirroredSideIsRecognisedAtAnyScale) {
    for (const FitModel model :
         {FitModel::kRigid, FitModel::kSimilarity, FitModel::kRigid3D, FitModel::kSimilarity3D}) {
        for (const double scale : {1.0, 25.4}) {
            PairTable pairs = noisyPairs(model, 9, 0.01, 5);
            for (Coordinates& p : pairs.b) p = {scale * p[0], -scale * p[1], scale * p[2]};
            const auto left = explainedByMirroring(reportOnFit(model, pairs, "p.csv"));
            ASSERT_TRUE(left) << traitsOf(model).name;
            EXPECT_LT(*left, 0.03 * scale);
        }
    }
}
