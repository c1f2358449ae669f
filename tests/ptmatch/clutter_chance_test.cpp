#include "ptmatch/clutter_chance.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "ptmatch/addition_world.h"

namespace {

using namespace ptmatch::testing;
using Defs = rxPointMatcherDefs;

rxClutterScene sceneOfTenPoints() {
    rxClutterScene scene;
    scene.numDataPoints = 60;
    scene.area = 100.0 * 100.0;
    scene.captureRange = 1.5;
    scene.numModelPoints = 10;
    scene.modelRadius = 27;
    scene.translationWidth = 40;
    scene.translationHeight = 40;
    return scene;
}

// The most model points that some translation of a net of fine steps brings within the capture
// range of a data point: at most what the best translation of all brings there.
int mostMet(const Points& model, const Points& data, const rxClutterScene& scene) {
    int most = 0;
    for (double y = 0.0; y <= scene.translationHeight; y += 1.0) {
        for (double x = 0.0; x <= scene.translationWidth; x += 1.0) {
            int met = 0;
            for (const rxVector<2>& m : model) {
                for (const rxVector<2>& d : data) {
                    if ((m + rxVector<2>(x, y) - d).len() < scene.captureRange) {
                        ++met;
                        break;
                    }
                }
            }
            most = std::max(most, met);
        }
    }
    return most;
}

TEST(ClutterChance, BoundsHowOftenRandomScenesReachACoverage) {
    constexpr int kScenes = 60;
    const rxClutterScene scene = sceneOfTenPoints();
    std::vector<int> reached(11);
    for (unsigned seed = 1; seed <= kScenes; ++seed) {
        Randoms random(seed);
        const int most = mostMet(tenPoints(), random.uniformPoints(60, 100.0), scene);
        for (int k = 0; k <= most; ++k) ++reached[static_cast<std::size_t>(k)];
    }
    for (int k = 1; k <= 10; ++k) {
        const double bound = std::pow(10.0, rfLog10FalseAlarms(scene, k));
        const double share = reached[static_cast<std::size_t>(k)] / static_cast<double>(kScenes);
        // Three standard deviations of a share.
        EXPECT_LE(share, bound + 3.0 * std::sqrt(std::min(bound, 1.0) / kScenes)) << k;
    }
    // Nor is the bound far too high: what none of the scenes reach is told by three points more
    // than the most that some of them reach.
    int most = 0;
    while (reached[static_cast<std::size_t>(most + 1)] > 0) ++most;
    EXPECT_LT(rfLog10FalseAlarms(scene, most + 3), -2.0);
}

TEST(ClutterChance, OfOnePoseIsTheBinomialTail) {
    rxClutterScene scene = sceneOfTenPoints();
    scene.translationWidth = scene.translationHeight = 0.0;
    // One cell for any d: the least bound is that of the smallest, a sixteenth of the range.
    const double reach = 1.5 + 1.5 / 16;
    const double p = 1.0 - std::pow(1.0 - std::numbers::pi * reach * reach / 1e4, 60.0);
    double tail = 0.0;
    double choose = 120.0;  // 3 of 10
    for (int k = 3; k <= 10; ++k) {
        tail += choose * std::pow(p, k) * std::pow(1.0 - p, 10 - k);
        choose *= (10.0 - k) / (k + 1.0);
    }
    EXPECT_NEAR(rfLog10FalseAlarms(scene, 3), std::log10(tail), 1e-9);
}

TEST(ClutterChance, FallsWithMatchesAndGrowsWithDensityAndPoses) {
    const rxClutterScene scene = sceneOfTenPoints();
    for (int k = 1; k < 10; ++k) {
        EXPECT_LE(rfLog10FalseAlarms(scene, k + 1), rfLog10FalseAlarms(scene, k)) << k;
    }
    const double base = rfLog10FalseAlarms(scene, 8);
    rxClutterScene denser = scene;
    denser.numDataPoints *= 2.0;
    EXPECT_GT(rfLog10FalseAlarms(denser, 8), base);
    rxClutterScene turned = scene;
    turned.rotationLength = 1.0;
    EXPECT_GT(rfLog10FalseAlarms(turned, 8), base);
    turned.highScale = 1.2;
    EXPECT_GT(rfLog10FalseAlarms(turned, 8), rfLog10FalseAlarms(scene, 8));
}

TEST(ClutterChance, StaysFiniteForThousandsOfPoints) {
    rxClutterScene scene = sceneOfTenPoints();
    scene.numModelPoints = 5000;
    scene.numDataPoints = 100;
    const double all = rfLog10FalseAlarms(scene, 5000);
    EXPECT_TRUE(std::isfinite(all));
    EXPECT_LT(all, -1000.0);
    EXPECT_EQ(rfLog10FalseAlarms(scene, 5001), -std::numeric_limits<double>::infinity());
}

TEST(ClutterChance, WithoutDataPointsNothingIsMet) {
    rxClutterScene scene = sceneOfTenPoints();
    scene.numDataPoints = 0.0;
    for (const double area : {1e4, 1.0}) {
        scene.area = area;
        EXPECT_EQ(rfLog10FalseAlarms(scene, 1), -std::numeric_limits<double>::infinity());
        EXPECT_TRUE(std::isfinite(rfLog10FalseAlarms(scene, 0)));
    }
}

TEST(ClutterChance, EndsForTheMostPointsThatThereCanBe) {
    rxClutterScene scene = sceneOfTenPoints();
    scene.numModelPoints = 2147483647.0;
    scene.numDataPoints = 900.0;
    // The slowest sum begins just above the mean.
    const double reach = 1.5 + 1.5 / 16;
    const double p = 1.0 - std::pow(1.0 - std::numbers::pi * reach * reach / 1e4, 900.0);
    const double mean = scene.numModelPoints * p;
    EXPECT_TRUE(std::isfinite(rfLog10FalseAlarms(scene, std::ceil(mean + 1.0))));
    EXPECT_LT(rfLog10FalseAlarms(scene, 1.01 * mean), -1000.0);
}

TEST(ClutterChance, RefusesScenesThatAreNone) {
    const auto refused = [](double rxClutterScene::*member, double value) {
        rxClutterScene scene = sceneOfTenPoints();
        scene.*member = value;
        EXPECT_THROW(rfLog10FalseAlarms(scene, 3), Defs::BadParams) << value;
    };
    refused(&rxClutterScene::area, 0.0);
    refused(&rxClutterScene::captureRange, 0.0);
    refused(&rxClutterScene::numDataPoints, -1.0);
    refused(&rxClutterScene::rotationLength, NAN);
    refused(&rxClutterScene::highScale, 0.5);
    refused(&rxClutterScene::modelRadius, INFINITY);
    refused(&rxClutterScene::numModelPoints, 1e18);
    EXPECT_THROW(rfLog10FalseAlarms(sceneOfTenPoints(), -1.0), Defs::BadParams);
}

}  // namespace
