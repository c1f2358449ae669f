#include "fit_warnings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "sample_pairs.h"

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

Coordinates same(const Coordinates& p) {
    return p;
}

std::vector<FitWarning> warnings(FitModel model, const PairTable& pairs) {
    return reportOnFit(model, pairs, "p.csv").warnings;
}

std::vector<std::string> kinds(FitModel model, const PairTable& pairs) {
    std::vector<std::string> result;
    for (const FitWarning& warning : warnings(model, pairs)) result.push_back(warning.kind);
    return result;
}

// Twenty points along a line, to either side of it by `width`.
std::vector<Coordinates> strip(double width) {
    std::vector<Coordinates> points;
    for (int k = 0; k < 20; ++k) {
        points.push_back({static_cast<double>(k), k % 4 < 2 ? width : -width, 0});
    }
    return points;
}

}  // namespace

TEST(FitWarnings, ThereAreNoneForManySpreadPairs) {
    for (const FitModel model : allModels()) {
        EXPECT_THAT(kinds(model, samplePairs(model, 12)), IsEmpty()) << traitsOf(model).name;
    }
}

TEST(FitWarnings, FewestPairsAreWarnedOf) {
    for (const FitModel model : allModels()) {
        const std::size_t fewest = traitsOf(model).fewestPairs;
        EXPECT_THAT(kinds(model, samplePairs(model, fewest, 4)), testing::Contains("fewest_pairs"));
        EXPECT_THAT(kinds(model, samplePairs(model, fewest + 4, 4)),
                    testing::Not(testing::Contains("fewest_pairs")));
    }
    EXPECT_EQ(warnings(FitModel::kAffine, planePairs({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, same))
                  .at(0)
                  .message,
              "3 pairs are the fewest for affine: it meets them exactly, whatever their errors "
              "are, and the residuals say nothing");
    EXPECT_EQ(warnings(FitModel::kRigid, planePairs({{0, 0, 0}, {1, 0, 0}}, same)).at(0).message,
              "2 pairs are the fewest for rigid: the residuals show only a part of their errors");
}

TEST(FitWarnings, NearlyCollinearPointsAreWarnedOf) {
    const auto found = warnings(FitModel::kAffine, planePairs(strip(0.05), same));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "weak_geometry");
    EXPECT_EQ(found[0].message,
              "the pairs barely determine affine: the points a lie nearly on one line (0.85 % as "
              "wide as long); errors of the pairs grow up to 43 times within the circle around "
              "the points a");
    EXPECT_THAT(kinds(FitModel::kAffine, planePairs(strip(1.0), same)), IsEmpty());
    EXPECT_THAT(kinds(FitModel::kPerspective, planePairs(strip(0.05), same)),
                ElementsAre("weak_geometry"));
    // Points on a line are enough for a rotation.
    EXPECT_THAT(kinds(FitModel::kSimilarity, planePairs(strip(0.05), same)), IsEmpty());
}

TEST(FitWarnings, NearlyFlatPointsOfSpaceAreWarnedOf) {
    PairTable pairs = samplePairs(FitModel::kAffine3D, 30);
    for (Coordinates& p : pairs.a) p[2] = 50 + 0.002 * p[2];
    pairs.b = pairs.a;
    const auto found = warnings(FitModel::kAffine3D, pairs);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "weak_geometry");
    EXPECT_THAT(found[0].message, HasSubstr("the points a lie nearly in one plane ("));
    EXPECT_THAT(found[0].message, HasSubstr("within the sphere around the points a"));
    EXPECT_THAT(kinds(FitModel::kRigid3D, pairs), IsEmpty());
}

TEST(FitWarnings, ManyPairsMakeUpForANarrowStrip) {
    std::vector<Coordinates> points;
    for (int k = 0; k < 100; ++k) {
        for (const Coordinates& p : strip(0.05)) points.push_back(p);
    }
    EXPECT_THAT(kinds(FitModel::kAffine, planePairs(points, same)), IsEmpty());
}

TEST(FitWarnings, AWeakWayBackIsWarnedOf) {
    const auto flattened = [](const Coordinates& p) { return Coordinates{p[0], 0.002 * p[1], 0}; };
    const auto found = warnings(FitModel::kAffine, planePairs(strip(5.0), flattened));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "weak_inverse");
    EXPECT_THAT(found[0].message, StartsWith("the pairs barely determine the way back from b to "
                                             "a: the points b lie nearly on one line ("));
}

TEST(FitWarnings, APairThatDecidesAloneIsNamed) {
    std::vector<Coordinates> points = strip(0.0);
    points.insert(points.begin() + 6, {9.5, 40, 0});
    const auto found = warnings(FitModel::kAffine, planePairs(points, same));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "decisive_pairs");
    EXPECT_EQ(found[0].message,
              "pair 7 (line 7) decides a part of the transform alone: in some direction its "
              "residual shows less than 5 % of its error");
}

TEST(FitWarnings, AllButOneNearlyOnALineIsWeakForPerspective) {
    std::vector<Coordinates> points = strip(0.001);
    points.push_back({9.5, 20, 0});
    const auto found = warnings(FitModel::kPerspective, planePairs(points, same));
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0].kind, "weak_geometry");
    EXPECT_THAT(found[0].message,
                HasSubstr("perspective: all points a but that of pair 21 (line 21) lie "
                          "nearly on one line (0.017 % as wide as long); "));
}

TEST(FitWarnings, PairsThatDoNotBelongTogetherAreAskedAbout) {
    const std::vector<Coordinates> points = {
        {0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}, {3, 1, 0}};
    const auto mirrored = [](const Coordinates& p) { return Coordinates{p[0], -p[1], 0}; };
    auto found = warnings(FitModel::kRigid, planePairs(points, mirrored));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "large_residuals");
    EXPECT_THAT(found[0].message, HasSubstr("(8.944 against 6.573)"));
    EXPECT_THAT(found[0].message, HasSubstr("One side is like the mirror image of the other, "
                                            "which rigid does not make (mirrored, a similarity "
                                            "leaves "));
    const auto doubled = [](const Coordinates& p) { return Coordinates{3 * p[0], 3 * p[1], 0}; };
    found = warnings(FitModel::kRigid, planePairs(points, doubled));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_THAT(found[0].message, HasSubstr("The points b reach 3 times as far as the points a, "
                                            "and rigid does not scale."));
    EXPECT_THAT(found[0].message, testing::Not(HasSubstr("mirror")));
    EXPECT_EQ(found[1].kind, "other_scale");
    EXPECT_THAT(found[1].message, StartsWith("similarity, of scale 3, leaves far less: the error "
                                             "of a pair is "));
    EXPECT_THAT(kinds(FitModel::kSimilarity, planePairs(points, doubled)), IsEmpty());
}

TEST(FitWarnings, APairThatStandsOutIsNamedWithItsLine) {
    PairTable pairs = samplePairs(FitModel::kSimilarity, 12);
    for (std::size_t i = 0; i < pairs.size(); ++i) pairs.b[i][0] += i % 2 == 0 ? 0.1 : -0.1;
    pairs.b[6][1] += 9.0;
    const auto found = warnings(FitModel::kSimilarity, pairs);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, "outlier");
    EXPECT_THAT(found[0].message,
                testing::MatchesRegex("pair 7 \\(line 8\\) is .* off where the others take it, "
                                      "which have errors of 0.1.*: is it wrong\\?"));
}

TEST(FitWarnings, RepeatedPairsDoNotCount) {
    const std::vector<Coordinates> points = {{0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {9, 0, 0}};
    const auto found = warnings(FitModel::kAffine, planePairs(points, same));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].message,
              "3 pairs without the repeated ones are the fewest for affine: it meets them exactly, "
              "whatever their errors are, and the residuals say nothing");
}

TEST(FitWarnings, PointsAreOnlyCalledNearlyOnALineWhenTheyAre) {
    // A sixth as wide as long, and to a perspective transform little more than three points.
    const auto weak = warnings(
        FitModel::kPerspective,
        planePairs({{0, 0, 0}, {10, 2, 0}, {10, 2.01, 0}, {0, 0.01, 0}, {5, 2, 0}, {5, 2.01, 0}},
                   same));
    ASSERT_FALSE(weak.empty());
    EXPECT_EQ(weak[0].kind, "weak_geometry");
    EXPECT_THAT(weak[0].message,
                StartsWith("the pairs barely determine perspective: too few of the pairs fix some "
                           "part of it; errors of the pairs grow "));
}

TEST(FitWarnings, AHorizonThroughThePointsIsWarnedOf) {
    // Exact images under w = 1 - x / 5, which vanishes between the points.
    const auto torn = [](const Coordinates& p) {
        const double w = 1.0 - p[0] / 5.0;
        return Coordinates{p[0] / w, p[1] / w, 0};
    };
    const auto found = warnings(
        FitModel::kPerspective,
        planePairs({{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {0, 10, 0}, {3, 1, 0}, {2, 7, 0}}, torn));
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found[0].kind, "horizon");
    EXPECT_EQ(found[0].message,
              "the horizon of the fitted transform runs through the points a: no camera sees them "
              "so; some pairs are probably wrong");
}
