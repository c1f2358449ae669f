// The table and the JSON text of a mapping onto a grid.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "grid_map_json.h"
#include "grid_map_table.h"
#include "sample_grid_report.h"

using namespace ptmatch::tool;
using nlohmann::json;

TEST(GridMapTable, TellsStepsAndCounts) {
    EXPECT_EQ(gridMapTable(sampleGridReport()),
              "7 points: 6 placed in 0.013 s\n"
              "steps as given: --xv 10,0 --yv 0,9.5\n"
              "\n"
              "                     x       y  length  angle [deg]\n"
              "       step i   10.000   0.000  10.000        0.000\n"
              "       step j    0.000  10.000  10.000       90.000\n"
              "position 0, 0  100.000  50.000\n"
              "\n"
              "columns i  rows j  placed  missing  strays  doubles  error (RMS)  largest error\n"
              "   0 to 2  0 to 1       6        1       0        1        0.204          0.500\n");
}

TEST(GridMapTable, SaysWhenThereIsNoGridAndWhatWasAskedFor) {
    GridMapReport report = sampleEmptyGridReport();
    report.choice.proposal = ProposedSteps{report.choice.steps, 4, 7};
    EXPECT_EQ(gridMapTable(report),
              "7 points: no grid found (0.013 s)\n"
              "steps proposed from the data, 4 of 7 points agree: --xv 10,0 --yv 0,9.5\n");
}

TEST(GridMapJson, HoldsEveryField) {
    GridMapReport report = sampleGridReport();
    report.choice.proposal = ProposedSteps{report.choice.steps, 4, 7};
    report.angleToleranceDeg = Interval::full();
    const json found = json::parse(gridMapJson(report));
    const json expected = json::parse(R"({
        "data": {"file": "plates/data.csv", "points": 7},
        "parameters": {
            "steps": {"xv": [10.0, 0.0], "yv": [0.0, 9.5], "proposed": true,
                      "agreeing_points": 4, "asked_points": 7},
            "staggered": false, "snap": 2.5, "size_tol": [0.8, 1.2], "angle_tol_deg": "full",
            "keep_all": true},
        "time_s": 0.0125,
        "grid": {"found": true, "xform": [10.0, 0.0, 0.0, 10.0, 100.0, 50.0], "placed": 6,
                 "nodes": 5, "strays": 0, "doubles": 1, "goes_on": 0, "low": [0, 0], "high": [2, 1], "missing": [[1, 1]]},
        "map": [[0, 0], [1, 0], [2, 0], [0, 1], [2, 1], null, [2, 0]]})");
    json without = found;
    without["grid"].erase("rms_error");
    without["grid"].erase("max_error");
    EXPECT_EQ(without, expected);
    const GridMapFigures figures = figuresOf(report);
    EXPECT_EQ(found["grid"]["rms_error"], *figures.rmsError);
    EXPECT_EQ(found["grid"]["max_error"], *figures.largestError);
}

TEST(GridMapJson, WithoutAGridTheFieldsAreNull) {
    const json found = json::parse(gridMapJson(sampleEmptyGridReport()));
    EXPECT_EQ(found["grid"], json::parse(R"({
        "found": false, "xform": null, "placed": 0, "nodes": 0, "strays": 0, "doubles": 0, "goes_on": 0, "low": null,
        "high": null, "missing": null, "rms_error": null, "max_error": null})"));
    EXPECT_EQ(found["map"],
              json::array({nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr}));
    EXPECT_EQ(found["parameters"]["steps"]["proposed"], false);
}
