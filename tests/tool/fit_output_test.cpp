// The table and the JSON text of a fit.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "fit_json.h"
#include "fit_table.h"
#include "sample_pairs.h"

using namespace ptmatch::tool;
using nlohmann::json;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// A square, doubled, turned by a quarter and moved, with one corner off by 1 in x.
FitReport squareReport(FitModel model) {
    const PairTable pairs =
        planePairs({{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}}, [](const Coordinates& p) {
            const bool isOff = p[0] == 4 && p[1] == 4;
            return Coordinates{10 - 2 * p[1] + (isOff ? 1.0 : 0.0), 20 + 2 * p[0], 0};
        });
    return reportOnFit(model, pairs, "plates/p.csv");
}

}  // namespace

TEST(FitTable, TellsTransformBothWaysAndWhatItLeaves) {
    // Least squares by hand: a quarter of the error shows at each corner.
    EXPECT_EQ(fitTable(squareReport(FitModel::kAffine)),
              "affine fitted to 4 pairs (8 equations, 6 unknowns)\n"
              "\n"
              "a to b         0.125        -1.875        9.75\n"
              "                   2             0          20\n"
              "b to a             0           0.5         -10\n"
              "        -0.533333333  0.0333333333  4.53333333\n"
              "\n"
              "        largest scale  smallest scale  mirror image\n"
              "a to b     2.02689615      1.85011945            no\n"
              "b to a     0.54050564     0.493365188            no\n"
              "\n"
              "residual (RMS)  largest  of pair  in line  error of a pair  error growth   back\n"
              "          0.25     0.25        1        1              0.5         0.866  0.932\n");
}

TEST(FitTable, SimilaritiesAreToldAsRotationScaleAndTranslation) {
    const auto tableOf = [](FitModel model) {
        return fitTable(reportOnFit(model, samplePairs(model, 5), "p.csv"));
    };
    EXPECT_THAT(tableOf(FitModel::kSimilarity),
                HasSubstr("\n\n"
                          "        rotation [deg]        scale  translation x           y\n"
                          "a to b      40.1070457            3             30         -12\n"
                          "b to a     -40.1070457  0.333333333    -5.07155112  9.50154562\n"
                          "\n"));
    const std::string space = tableOf(FitModel::kSimilarity3D);
    EXPECT_THAT(space, StartsWith("similarity3d fitted to 5 pairs (15 equations, 7 unknowns)\n"));
    EXPECT_THAT(space, ContainsRegex("translation x +y +z +axis x +y +z\n"));
    EXPECT_THAT(space, ContainsRegex("\na to b +40.1070457 +3 +30 +-12 +5 .* 1\n"));
}

TEST(FitTable, MatricesMapThePointsAsWellAsTheFit) {
    // Coordinates of a national grid, and millimetres to be kept.
    PairTable pairs = samplePairs(FitModel::kAffine, 10);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs.b[i][0] += 5e5 + (i % 3 == 0 ? 0.004 : -0.002);
        pairs.b[i][1] += 5.4e6 + (i % 2 == 0 ? 0.003 : -0.003);
    }
    const FitReport report = reportOnFit(FitModel::kAffine, pairs, "p.csv");
    std::istringstream table(fitTable(report));
    std::string word;
    while (table >> word && word != "b") continue;
    const auto matrixAfter = [&](const std::string& last) {
        HomogeneousMatrix matrix = {{0, 0, 0}, {0, 0, 0}, {0, 0, 1}};
        while (table >> word && word != last) continue;
        for (std::size_t k = 0; k < 6; ++k) table >> matrix[k / 3][k % 3];
        return matrix;
    };
    HomogeneousMatrix there = {{0, 0, 0}, {0, 0, 0}, {0, 0, 1}};
    for (std::size_t k = 0; k < 6; ++k) table >> there[k / 3][k % 3];
    const HomogeneousMatrix back = matrixAfter("a");
    const auto expectShift = [](const HomogeneousMatrix& printed, const HomogeneousMatrix& matrix,
                                const std::vector<Coordinates>& points, double largest) {
        for (const Coordinates& p : points) {
            const Coordinates shifted = mapped(printed, p);
            const Coordinates exact = mapped(matrix, p);
            EXPECT_LE(std::hypot(shifted[0] - exact[0], shifted[1] - exact[1]), largest);
        }
    };
    const double tolerance = 1e-3 * report.fitted.residual.rms;
    expectShift(there, report.fitted.bFromA, pairs.a, tolerance);
    expectShift(back, report.fitted.aFromB, pairs.b, tolerance);
}

TEST(FitTable, ResidualsAreListedByPairAndLine) {
    EXPECT_EQ(residualTable(squareReport(FitModel::kAffine)),
              "pair  line     dx  dy  distance  leverage\n"
              "   1     1   0.25   0      0.25     0.750\n"
              "   2     2  -0.25   0      0.25     0.750\n"
              "   3     3   0.25   0      0.25     0.750\n"
              "   4     4  -0.25   0      0.25     0.750\n");
}

TEST(FitJson, HoldsEveryField) {
    const FitReport report = squareReport(FitModel::kAffine);
    const json found = json::parse(fitJson(report));
    EXPECT_EQ(found["pairs"], json::parse(R"({"file": "plates/p.csv", "count": 4})"));
    EXPECT_EQ(found["model"], "affine");
    EXPECT_EQ(found["equations"], 8);
    EXPECT_EQ(found["unknowns"], 6);
    const auto expectTransform = [](const json& transform, const HomogeneousMatrix& matrix) {
        EXPECT_EQ(transform["matrix"], json(matrix));
        EXPECT_EQ(transform["xform"], json({matrix[0][0], matrix[0][1], matrix[1][0], matrix[1][1],
                                            matrix[0][2], matrix[1][2]}));
        EXPECT_EQ(transform["scales"].size(), 2U);
        EXPECT_EQ(transform["mirror_image"], false);
        EXPECT_EQ(transform.size(), 4U);
    };
    expectTransform(found["a_to_b"], report.fitted.bFromA);
    expectTransform(found["b_to_a"], report.fitted.aFromB);
    const json& residuals = found["residuals"];
    EXPECT_EQ(residuals["rms"], report.fitted.residual.rms);
    EXPECT_EQ(residuals["largest"], report.fitted.residual.largest);
    EXPECT_EQ(residuals["estimated_error"], *report.estimatedError());
    const std::size_t worst = report.fitted.residual.worst;
    EXPECT_EQ(residuals["worst"], json({{"pair", worst + 1}, {"line", worst + 1}}));
    ASSERT_EQ(residuals["of_pairs"].size(), 4U);
    const json& third = residuals["of_pairs"][2];
    EXPECT_EQ(third["pair"], 3);
    EXPECT_EQ(third["line"], 3);
    EXPECT_EQ(third["vector"], json({report.residualOf(2)[0], report.residualOf(2)[1]}));
    EXPECT_NEAR(third["distance"], 0.25, 1e-14);
    EXPECT_NEAR(third["leverage"], 0.75, 1e-14);
    EXPECT_EQ(found["error_growth"]["a_to_b"], report.strength.errorGrowth);
    EXPECT_EQ(found["error_growth"]["b_to_a"], report.strengthBack.errorGrowth);
    EXPECT_EQ(found["warnings"], json::array());
    EXPECT_EQ(found.size(), 9U);
}

TEST(FitJson, EachModelSaysWhatItHas) {
    const auto transform = [](FitModel model) {
        return json::parse(fitJson(reportOnFit(model, samplePairs(model, 8), "p.csv")))["a_to_b"];
    };
    const json similarity = transform(FitModel::kSimilarity);
    EXPECT_NEAR(similarity["rotation_deg"], 40.10704565915762, 1e-10);
    EXPECT_NEAR(similarity["scale"], 3.0, 1e-12);
    EXPECT_NEAR(similarity["translation"][1], -12.0, 1e-10);
    EXPECT_TRUE(similarity.contains("xform"));
    EXPECT_FALSE(similarity.contains("axis"));
    const json rigid = transform(FitModel::kRigid3D);
    EXPECT_NEAR(rigid["rotation_deg"], 40.10704565915762, 1e-10);
    EXPECT_NEAR(rigid["axis"][2], 1.0, 1e-12);
    EXPECT_NEAR(rigid["translation"][2], 5.0, 1e-10);
    EXPECT_EQ(rigid["matrix"].size(), 4U);
    EXPECT_FALSE(rigid.contains("xform"));
    EXPECT_EQ(transform(FitModel::kAffine3D)["scales"].size(), 3U);
    const json perspective = transform(FitModel::kPerspective);
    EXPECT_EQ(perspective.size(), 1U);
    EXPECT_NEAR(perspective["matrix"][2][1], -0.003, 1e-12);
    EXPECT_EQ(perspective["matrix"][2][2], 1.0);
}

TEST(FitJson, WhatIsUnknownOrUnboundedIsNull) {
    FitReport report = squareReport(FitModel::kAffine);
    report.strength.errorGrowth = std::numeric_limits<double>::infinity();
    report.fitted.residual.rms = std::numeric_limits<double>::infinity();
    json found = json::parse(fitJson(report));
    EXPECT_TRUE(found["error_growth"]["a_to_b"].is_null());
    EXPECT_TRUE(found["residuals"]["rms"].is_null());
    EXPECT_TRUE(found["residuals"]["estimated_error"].is_null());
    const PairTable pairs = samplePairs(FitModel::kAffine, 3);
    found = json::parse(fitJson(reportOnFit(FitModel::kAffine, pairs, "p.csv")));
    EXPECT_TRUE(found["residuals"]["estimated_error"].is_null());
    EXPECT_EQ(found["warnings"][0]["kind"], "fewest_pairs");
    EXPECT_THAT(found["warnings"][0]["message"], StartsWith("3 pairs are the fewest"));
}

TEST(FitTable, UnboundedGrowthIsSaidInWords) {
    FitReport report = squareReport(FitModel::kAffine);
    EXPECT_THAT(fitTable(report), Not(HasSubstr("unbounded")));
    report.strength.errorGrowth = std::numeric_limits<double>::infinity();
    EXPECT_THAT(fitTable(report), HasSubstr("unbounded"));
}
