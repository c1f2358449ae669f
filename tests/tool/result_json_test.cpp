#include "result_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "json_parts.h"
#include "sample_report.h"

using namespace ptmatch::tool;
using nlohmann::json;

TEST(ResultJson, HoldsEveryFieldUnderItsStableName) {
    const json parsed = json::parse(resultJson(sampleReport()));
    EXPECT_EQ(parsed["model"], json::parse(R"({"file": "parts/model.csv", "points": 4,
                                               "weighted": false})"));
    EXPECT_EQ(parsed["data"], json::parse(R"({"file": "parts/data.csv", "points": 4})"));
    EXPECT_EQ(parsed["time_s"], 0.0125);
    ASSERT_EQ(parsed["results"].size(), 1U);
    const json& pose = parsed["results"][0];
    EXPECT_DOUBLE_EQ(pose["rotation_deg"], 90.0);
    EXPECT_DOUBLE_EQ(pose["scale"], 2.0);
    EXPECT_EQ(pose["translation"], json({10.0, 20.0}));
    EXPECT_EQ(pose["xform"].size(), 6U);
    EXPECT_DOUBLE_EQ(pose["xform"][1], -2.0);
    EXPECT_DOUBLE_EQ(pose["xform"][2], 2.0);
    EXPECT_EQ(pose["xform"][5], 20.0);
    EXPECT_EQ(pose["coverage"], 0.75);
    EXPECT_EQ(pose["fit_error"], 0.2886751345948129);
    EXPECT_EQ(pose["matched"], 3);
    EXPECT_EQ(pose["map"], json({2, 3, 0, -1}));
}

TEST(ResultJson, EchoesTheParameters) {
    MatchReport report = sampleReport();
    report.exhaustive = true;
    report.params.rotationUncertainty(rxAngleRange::FullRange());
    report.params.scaleUncertainty(rxRange(-0.25, 0.5));
    report.params.autoCaptureRange(false);
    report.params.captureRange(3.5);
    report.params.maxNumResults(7);
    EXPECT_EQ(json::parse(resultJson(report))["parameters"], json::parse(R"({
        "exhaustive": true, "min_coverage": 0.5, "start_pose": [1.0, 0.0, 0.0, 1.0, 0.0, 0.0],
        "rotation_deg": "full", "scale": [-0.25, 0.5], "x_translation": "full",
        "y_translation": "full", "grid_size": "auto", "capture_range": 3.5, "max_results": 7})"));
}

TEST(ResultJson, BoundedRangesArePairsInDegreesAndUnits) {
    MatchReport report = sampleReport();
    report.params.xTranslationUncertainty(rxRange(-1, 2));
    report.params.autoGridSize(false);
    report.params.gridSize(0.5);
    const json params = json::parse(resultJson(report))["parameters"];
    EXPECT_DOUBLE_EQ(params["rotation_deg"][0], -15.0);
    EXPECT_DOUBLE_EQ(params["rotation_deg"][1], 15.0);
    EXPECT_EQ(params["x_translation"], json({-1.0, 2.0}));
    EXPECT_EQ(params["grid_size"], 0.5);
}

TEST(ResultJson, NothingFoundIsAnEmptyList) {
    MatchReport report = sampleReport();
    report.poses.clear();
    EXPECT_EQ(json::parse(resultJson(report))["results"], json::array());
}

TEST(ResultJson, FileNamesThatAreNoTextDoNotBreakIt) {
    MatchReport report = sampleReport();
    report.modelFile = "caf\xe9.csv";
    EXPECT_EQ(json::parse(resultJson(report))["model"]["file"], "caf\xEF\xBF\xBD.csv");
}

TEST(ResultJson, EmptyRangesAreNamed) {
    EXPECT_EQ(rangeJson(rxRange()), "empty");
    EXPECT_EQ(rangeJson(rxAngleRange()), "empty");
    EXPECT_EQ(rangeJson(rxRange(0.0, 0.0)), Json({0.0, 0.0}));
}
