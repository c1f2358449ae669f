// Report, table, JSON text, CSV text and picture of a grid match.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "grid_match_json.h"
#include "grid_match_picture.h"
#include "grid_match_search.h"
#include "grid_match_table.h"
#include "sample_grid_match_report.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

GridMatchReport sampleWithoutPlacement() {
    GridMatchReport report = sampleGridMatchReport();
    report.placements.clear();
    return report;
}

}  // namespace

TEST(GridMatchReport, TheTransformLeadsFromPositionsOfTheFile) {
    const GridPlacement placement = sampleGridMatchReport().placements.front();
    ASSERT_TRUE(placement.dataFromPattern.has_value());
    const rxVector<2> corner = *placement.dataFromPattern * rxVector<2>(1, 0);
    EXPECT_NEAR(corner.x(), 110, 1e-9);
    EXPECT_NEAR(corner.y(), 50, 1e-9);
    EXPECT_NEAR(placement.rmsError, 0.0, 1e-9);
    EXPECT_EQ(placement.matched(), 4U);
}

TEST(GridMatchReport, PairsThatDetermineNoTransformLeaveItOut) {
    GridMatchReport report = sampleGridMatchReport();
    GridPlacement placement = report.placements.front();
    placement.map = {-1, 3, -1, -1, -1};
    fitToMap(placement, report.pattern, report.data.points);
    EXPECT_FALSE(placement.dataFromPattern.has_value());
    EXPECT_EQ(placement.rmsError, 0.0);
    report.placements = {placement};
    EXPECT_THAT(gridMatchTable(report), HasSubstr(" ? "));
    EXPECT_EQ(json::parse(gridMatchJson(report))["results"][0]["xform"], nullptr);
    EXPECT_EQ(xmlFault(gridMatchPicture(report, YAxis::kDown)), "");
}

TEST(GridMatchReport, TheNearerOfTwoPointsIsTaken) {
    GridMatchReport report = sampleGridMatchReport();
    report.data.points.emplace_back(121.5, 51.5);
    GridPlacement placement = report.placements.front();
    placement.map = {2, 6, 4, -1, 1};
    preferNearest(placement, report.pattern, report.data.points);
    EXPECT_THAT(placement.map, ElementsAre(2, 3, 4, -1, 1));
    EXPECT_NEAR(placement.rmsError, 0.0, 1e-9);
}

TEST(GridMatchTable, TellsPatternStepsAndPlacements) {
    EXPECT_EQ(gridMatchTable(sampleGridMatchReport()),
              "pattern of 2 x 3 positions, 5 set, 6 data points: 1 placement found in 0.013 s\n"
              "steps as given: --xv 10,0 --yv 0,9.5\n"
              "\n"
              "rank  position 0, 0: x       y  direction [deg]  column step  row step  coverage  "
              "error (RMS)  matched  beyond\n"
              "   1           100.000  50.000            0.000       10.000    10.000    80.0 %  "
              "      0.000      4/5       0\n");
    EXPECT_EQ(gridMatchTable(sampleWithoutPlacement()),
              "pattern of 2 x 3 positions, 5 set, 6 data points: nothing found (0.013 s)\n"
              "steps as given: --xv 10,0 --yv 0,9.5\n");
}

TEST(GridMatchJson, HoldsEveryField) {
    json found = json::parse(gridMatchJson(sampleGridMatchReport()));
    const json xform = found["results"][0]["xform"];
    ASSERT_EQ(xform.size(), 6U);
    EXPECT_NEAR(xform[0], 10.0, 1e-9);
    EXPECT_NEAR(xform[4], 100.0, 1e-9);
    EXPECT_NEAR(found["results"][0]["rms_error"], 0.0, 1e-9);
    found["results"][0].erase("xform");
    found["results"][0].erase("rms_error");
    EXPECT_EQ(found, json::parse(R"({
        "pattern": {"file": "plates/pattern.txt", "corner": [1, 0], "width": 2, "height": 3,
                    "staggered": false, "sparse": true,
                    "positions": [[1, 0], [2, 0], [1, 1], [1, 2], [2, 2]]},
        "data": {"file": "plates/data.csv", "points": 6},
        "parameters": {
            "steps": {"xv": [10.0, 0.0], "yv": [0.0, 9.5], "proposed": false},
            "rotation_deg": [-20.0, 20.0], "scale": [-0.2, 0.2], "snap": "auto",
            "min_coverage": 0.5, "max_results": 1},
        "time_s": 0.0125,
        "results": [{"coverage": 0.8, "matched": 4, "reaches_beyond": 0,
                     "map": [2, 3, 4, -1, 1]}]})"));
    EXPECT_EQ(json::parse(gridMatchJson(sampleWithoutPlacement()))["results"], json::array());
}

TEST(GridMatchCsv, HoldsEverySetPosition) {
    EXPECT_EQ(gridMatchCsv(sampleGridMatchReport()),
              "column,row,data,x,y\n1,0,2,110,50\n2,0,3,120,50\n1,1,4,110,60\n1,2,,,\n"
              "2,2,1,120,70\n");
    EXPECT_EQ(gridMatchCsv(sampleWithoutPlacement()), "column,row,data,x,y\n");
}

TEST(GridMatchPicture, ShowsEveryPointAndPosition) {
    const std::string svg = gridMatchPicture(sampleGridMatchReport(), YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "data-matched"), 4U);
    EXPECT_EQ(countElements(svg, "circle", "data-unmatched"), 2U);
    EXPECT_EQ(countElements(svg, "circle", "pattern-matched"), 4U);
    EXPECT_EQ(countElements(svg, "path", "pattern-unmatched"), 1U);
    EXPECT_EQ(countElements(svg, "circle", "pattern"), 5U);
    EXPECT_EQ(countElements(svg, "line", "lattice"), 2U + 3U);
    EXPECT_THAT(svg, HasSubstr("<title>column 2, row 2</title>"));
    EXPECT_THAT(svg, HasSubstr(">4 of 5 positions found<"));
}

TEST(GridMatchPicture, WithoutAPlacementItShowsTheDataAlone) {
    const std::string svg = gridMatchPicture(sampleWithoutPlacement(), YAxis::kUp);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, HasSubstr(">Nothing found<"));
    EXPECT_EQ(countElements(svg, "circle", "data-unmatched"), 6U);
    EXPECT_THAT(svg, Not(HasSubstr("id=\"lattice\"")));
}

TEST(GridMatchPicture, SurvivesAwkwardInput) {
    GridMatchReport report = sampleGridMatchReport();
    report.patternFile = "<&\"\x01\xff>/p.txt";
    for (const double extent : {0.0, 1e-300, 1e155, 1e300}) {
        report.data.points.assign(6, {extent, -extent});
        report.placements.front().dataFromPattern =
            rxXform<2>(rxMatrix<2>(extent, 0, 0, extent), {7, 7});
        const std::string svg = gridMatchPicture(report, YAxis::kDown);
        EXPECT_EQ(xmlFault(svg), "") << extent;
        EXPECT_THAT(svg, Not(HasSubstr("nan"))) << extent;
    }
}

TEST(TrainedViews, SearchesWithTheSameStepsShareTheirMatchers) {
    const StepOptions steps{rxVector<2>(10, 0), rxVector<2>(0, 10)};
    TrainedViews trained;
    GridMatchReport alone = sampleGridMatchReport();
    searchPattern({}, steps, alone);
    for (int i = 0; i < 3; ++i) {
        GridMatchReport report = sampleGridMatchReport();
        searchPattern({}, steps, report, trained);
        ASSERT_EQ(report.placements.size(), 1U);
        EXPECT_EQ(report.placements.front().map, alone.placements.front().map);
        EXPECT_EQ(trained.numTrained(), 1U);
    }
    // Another view needs another matcher.
    GridMatchReport turned = sampleGridMatchReport();
    turned.rotationDeg = Interval::full();
    searchPattern({}, steps, turned, trained);
    EXPECT_GT(trained.numTrained(), 1U);
}
