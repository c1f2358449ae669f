#include "fit_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "input_error.h"
#include "sample_pairs.h"

using namespace ptmatch::tool;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string kForLines = "; for points on one line, take similarity or rigid";

std::string refusal(FitModel model, const PairTable& pairs) {
    try {
        reportOnFit(model, pairs, "p.csv");
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

void expectClose(const HomogeneousMatrix& found, const HomogeneousMatrix& expected,
                 double tolerance) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t r = 0; r < found.size(); ++r) {
        for (std::size_t c = 0; c < found.size(); ++c) {
            EXPECT_NEAR(found[r][c], expected[r][c], tolerance) << r << ", " << c;
        }
    }
}

}  // namespace

TEST(FitReport, ExactPairsGiveTheirTransformBack) {
    for (const FitModel model : allModels()) {
        const FitReport report = reportOnFit(model, samplePairs(model, 15), "p.csv");
        SCOPED_TRACE(report.traits().name);
        // Coordinates of some 300: a few hundred roundings of them.
        expectClose(report.fitted.bFromA, sampleTransform(model), 1e-11);
        EXPECT_LT(report.fitted.residual.largest, 1e-11);
        EXPECT_EQ(report.equations(), 15 * report.traits().dimensions);
        for (std::size_t i = 0; i < report.pairs.size(); ++i) {
            const Coordinates back = mapped(report.fitted.aFromB, report.pairs.b[i]);
            for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(back[k], report.pairs.a[i][k], 1e-11);
        }
    }
}

TEST(FitReport, ErrorOfAPairIsEstimatedFromWhatTheFitLeaves) {
    constexpr double kSigma = 0.2;  // of a coordinate
    for (const FitModel model : allModels()) {
        PairTable pairs = samplePairs(model, 400);
        std::mt19937 random(2);
        std::normal_distribution<double> noise(0.0, kSigma);
        for (Coordinates& p : pairs.b) {
            for (std::size_t k = 0; k < pairs.dimensions; ++k) p[k] += noise(random);
        }
        const double expected = kSigma * std::sqrt(static_cast<double>(pairs.dimensions));
        const FitReport report = reportOnFit(model, pairs, "p.csv");
        ASSERT_TRUE(report.estimatedError());
        // 800 equations or more tell it to some 3 %.
        EXPECT_NEAR(*report.estimatedError(), expected, 0.1 * expected) << report.traits().name;
        EXPECT_GT(*report.estimatedError(), report.fitted.residual.rms);
    }
}

TEST(FitReport, AnOutlierIsTheWorstPair) {
    for (const FitModel model : allModels()) {
        PairTable pairs = samplePairs(model, 20);
        pairs.b[13][1] += 25.0;
        const FitReport report = reportOnFit(model, pairs, "p.csv");
        EXPECT_EQ(report.fitted.residual.worst, 13U) << report.traits().name;
        const Coordinates d = report.residualOf(13);
        EXPECT_NEAR(std::hypot(d[0], d[1], d[2]), report.fitted.residual.largest, 1e-12);
        EXPECT_GT(d[1], 5.0);  // towards the point, not away from it
    }
}

TEST(FitReport, WithoutRedundancyThereIsNoEstimate) {
    EXPECT_FALSE(reportOnFit(FitModel::kAffine, samplePairs(FitModel::kAffine, 3), "p.csv")
                     .estimatedError());
    EXPECT_TRUE(
        reportOnFit(FitModel::kRigid, samplePairs(FitModel::kRigid, 2), "p.csv").estimatedError());
}

TEST(FitReport, TooFewPairsAreCounted) {
    for (const FitModel model : allModels()) {
        const FitModelTraits& traits = traitsOf(model);
        EXPECT_EQ(refusal(model, samplePairs(model, traits.fewestPairs - 1)),
                  std::string("p.csv: ") + traits.name + " needs at least " +
                      std::to_string(traits.fewestPairs) + " pairs, found " +
                      std::to_string(traits.fewestPairs - 1));
        EXPECT_EQ(refusal(model, samplePairs(model, traits.fewestPairs)), "");
    }
}

TEST(FitReport, PairsThatLeaveTheTransformOpenAreSaidToBeSo) {
    const std::vector<Coordinates> line = {{0, 0, 0}, {1, 2, 0}, {2, 4, 0}, {3, 6, 0}, {4, 8, 0}};
    const auto same = [](const Coordinates& p) { return p; };
    const auto square = [](const Coordinates& p) { return Coordinates{p[0], p[0] * p[0], 0}; };
    const auto place = [](const Coordinates&) { return Coordinates{7, 7, 0}; };
    EXPECT_EQ(refusal(FitModel::kAffine, planePairs(line, square)),
              "p.csv: affine cannot be fitted: the points a lie on one line" + kForLines);
    EXPECT_EQ(refusal(FitModel::kPerspective, planePairs(line, square)),
              "p.csv: perspective cannot be fitted: the points a lie on one line" + kForLines);
    const std::vector<Coordinates> spread = {{0, 0, 0}, {1, 2, 0}, {2, 1, 0}, {3, 9, 0}, {5, 4, 0}};
    const auto flat = [](const Coordinates& p) { return Coordinates{p[0] + p[1], 3, 0}; };
    EXPECT_EQ(refusal(FitModel::kAffine, planePairs(spread, flat)),
              "p.csv: affine cannot be fitted: the points b lie on one line" + kForLines);
    for (const FitModel model : {FitModel::kRigid, FitModel::kSimilarity}) {
        const std::string begin =
            std::string("p.csv: ") + traitsOf(model).name + " cannot be fitted: ";
        EXPECT_EQ(refusal(model, planePairs(line, same)), "");
        EXPECT_EQ(refusal(model, planePairs(line, place)), begin + "the points b lie in one place");
        EXPECT_EQ(refusal(model, planePairs({{1, 1, 0}, {1, 1, 0}}, same)),
                  begin + "the points a lie in one place");
        // A square and its mirror image: every rotation is as good.
        const auto mirrored = [](const Coordinates& p) { return Coordinates{p[0], -p[1], 0}; };
        EXPECT_EQ(
            refusal(model, planePairs({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, mirrored)),
            begin + "the pairs leave the rotation open");
    }
}

TEST(FitReport, PointsApartByRoundingOnlyAreNamedByTheirSide) {
    const auto same = [](const Coordinates& p) { return p; };
    const double next = std::nextafter(1e6, 2e6);
    EXPECT_EQ(refusal(FitModel::kRigid, planePairs({{1e6, 0, 0}, {next, 0, 0}}, same)),
              "p.csv: rigid cannot be fitted: the points a lie in one place");
    EXPECT_EQ(
        refusal(FitModel::kAffine, planePairs({{1e6, 1, 0}, {next, 2, 0}, {1e6, 3, 0}}, same)),
        "p.csv: affine cannot be fitted: the points a lie on one line" + kForLines);
}

TEST(FitReport, PerspectivePairsNeedFourInGeneralPosition) {
    const auto same = [](const Coordinates& p) { return p; };
    const std::vector<Coordinates> allButOne = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0},
                                                {3, 0, 0}, {4, 0, 0}, {3, 5, 0}};
    EXPECT_THAT(refusal(FitModel::kPerspective, planePairs(allButOne, same)),
                testing::EndsWith("; it takes four pairs of which no three lie on one line"));
    // The origin of a goes to infinity: there is a transform, but none with w = 1 there.
    const auto inverted = [](const Coordinates& p) {
        return Coordinates{1.0 / p[0], p[1] / p[0], 0};
    };
    const std::string message =
        refusal(FitModel::kPerspective,
                planePairs({{1, 1, 0}, {1, -1, 0}, {-1, -1, 0}, {-1, 1, 0}}, inverted));
    EXPECT_THAT(message, StartsWith("p.csv: perspective cannot be fitted: "));
    EXPECT_THAT(message, HasSubstr("origin"));
    EXPECT_THAT(message, HasSubstr("; add a constant to the coordinates of a or b"));
}

TEST(FitReport, OnePointFarFromAllOthersIsNamed) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::normal_distribution<double> noise(0.0, 0.01);
    std::vector<Coordinates> points;
    for (int k = 0; k < 10; ++k) points.push_back({uniform(random), uniform(random), 0});
    points.insert(points.begin() + 3, {1e6, 1e6, 0});
    const auto noisy = [&](const Coordinates& p) {
        return Coordinates{p[0] + noise(random), p[1] + noise(random), 0};
    };
    EXPECT_THAT(refusal(FitModel::kPerspective, planePairs(points, noisy)),
                testing::MatchesRegex(
                    "p.csv: perspective cannot be fitted: the pairs do not tell the transform from "
                    "a singular one, which takes the plane to a line or a point: all points a but "
                    "that of line 4 lie close together, within .* % of its distance"));
}

TEST(FitReport, IdenticalPairsCountOnce) {
    const std::vector<Coordinates> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 0, 0}};
    const auto same = [](const Coordinates& p) { return p; };
    PairTable pairs = planePairs(points, same);
    EXPECT_EQ(reportOnFit(FitModel::kAffine, pairs, "p.csv").distinctPairs(), 3U);
    pairs.b[3][0] += 0.1;  // measured twice
    EXPECT_EQ(reportOnFit(FitModel::kAffine, pairs, "p.csv").distinctPairs(), 4U);
}

TEST(FitReport, PairsOfSpaceOnALineOrInAPlaneAreNamed) {
    const auto tableOf = [](const std::vector<Coordinates>& points) {
        PairTable pairs = planePairs(points, [](const Coordinates& p) { return p; });
        pairs.dimensions = 3;
        return pairs;
    };
    const PairTable line = tableOf({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {5, 5, 5}});
    const PairTable plane = tableOf({{0, 0, 1}, {1, 0, 1}, {0, 1, 1}, {3, 4, 1}, {5, 4, 1}});
    EXPECT_EQ(refusal(FitModel::kRigid3D, line),
              "p.csv: rigid3d cannot be fitted: the points a lie on one line");
    EXPECT_EQ(refusal(FitModel::kRigid3D, plane), "");
    EXPECT_EQ(refusal(FitModel::kSimilarity3D, plane), "");
    EXPECT_EQ(refusal(FitModel::kAffine3D, plane),
              "p.csv: affine3d cannot be fitted: the points a lie in one plane; for points in one "
              "plane, take similarity3d or rigid3d");
}

TEST(FitReport, CoordinatesTooLargeToComputeWithAreNamedByLine) {
    PairTable pairs = samplePairs(FitModel::kAffine3D, 6);
    pairs.b[3][2] = -1e200;
    EXPECT_EQ(refusal(FitModel::kAffine3D, pairs), "p.csv:5: coordinates must be within 1e150");
}

TEST(FitReport, CsvHoldsPairsAndResiduals) {
    const PairTable pairs =
        planePairs({{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}}, [](const Coordinates& p) {
            const bool isFirst = p[0] == 0 && p[1] == 0;
            return Coordinates{p[0] + 1, p[1] + (isFirst ? 0.5 : 0.0), 0};
        });
    const FitReport report = reportOnFit(FitModel::kAffine, pairs, "p.csv");
    const std::string csv = fitCsv(report);
    EXPECT_THAT(csv, StartsWith("ax,ay,bx,by,dx,dy,distance\n0,0,1,0.5,"));
    // It is a table of pairs, too.
    const PairTable again = parsePairs(csv, 2, "r.csv");
    EXPECT_EQ(again.a, pairs.a);
    EXPECT_EQ(again.b, pairs.b);
    EXPECT_NEAR(report.residualOf(0)[1], 0.125, 1e-15);  // a quarter of the error: leverage 0.75

    PairTable space = samplePairs(FitModel::kRigid3D, 4);
    EXPECT_THAT(fitCsv(reportOnFit(FitModel::kRigid3D, space, "p.csv")),
                StartsWith("ax,ay,az,bx,by,bz,dx,dy,dz,distance\n"));
}
