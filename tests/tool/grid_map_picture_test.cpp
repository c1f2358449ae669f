#include "grid_map_picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "real_grids.h"
#include "sample_grid_report.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using testing::HasSubstr;
using testing::Not;

TEST(GridMapPicture, ShowsEveryPointInTheGroupItBelongsTo) {
    const std::string svg = gridMapPicture(sampleGridReport(), YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "data-placed"), 6U);
    EXPECT_EQ(countElements(svg, "circle", "data-unplaced"), 1U);
    EXPECT_EQ(countElements(svg, "circle", "missing"), 1U);
    EXPECT_EQ(countElements(svg, "line", "errors"), 6U);
    EXPECT_EQ(countElements(svg, "line", "lattice"), 3U + 2U);
}

TEST(GridMapPicture, AxesAndTheirNumbersAreDrawn) {
    const std::string svg = gridMapPicture(sampleGridReport(), YAxis::kUp);
    EXPECT_EQ(countElements(svg, "polygon", "axis-i"), 1U);
    EXPECT_EQ(countElements(svg, "polygon", "axis-j"), 1U);
    EXPECT_EQ(countElements(svg, "text", "axis-i"), 1U);
    EXPECT_EQ(countElements(svg, "text", "labels"), 3U + 2U);
}

TEST(GridMapPicture, HintsNamePointsAndPositions) {
    const std::string svg = gridMapPicture(sampleGridReport(), YAxis::kDown);
    EXPECT_THAT(svg, HasSubstr("<title>data 4 (120, 60): position 2, 1</title>"));
    EXPECT_THAT(svg, HasSubstr("<title>data 5 (133, 44)</title>"));
    EXPECT_THAT(svg, HasSubstr("<title>no point: position 1, 1</title>"));
}

TEST(GridMapPicture, PanelTellsTheFigures) {
    const std::string svg = gridMapPicture(sampleGridReport(), YAxis::kDown);
    for (const char* text : {">6 of 7 points placed<", ">plates/data.csv<", ">0 to 2<", ">0 to 1<",
                             ">10.00, 0.00<", ">0.00, 10.00<", ">0.204<", ">0.500<", ">0.013 s<"}) {
        EXPECT_THAT(svg, HasSubstr(text));
    }
}

TEST(GridMapPicture, WithoutAGridItShowsThePointsAlone) {
    const std::string svg = gridMapPicture(sampleEmptyGridReport(), YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, HasSubstr(">No grid found<"));
    EXPECT_EQ(countElements(svg, "circle", "data-unplaced"), 7U);
    EXPECT_THAT(svg, Not(HasSubstr("id=\"lattice\"")));
}

TEST(GridMapPicture, HugeLatticesAreDrawnWithFewLinesAndNumbers) {
    GridMapReport report = sampleGridReport();
    report.positions[4] = rxPair<long>(1073741823, 1073741823);
    report.dataFromGrid = rxXform<2>(rxMatrix<2>(1e-6, 0, 0, 1e-6), {100, 50});
    const std::string svg = gridMapPicture(report, YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_LE(countElements(svg, "line", "lattice"), 402U);
    EXPECT_LE(countElements(svg, "text", "labels"), 100U);
}

TEST(GridMapPicture, SurvivesAwkwardInput) {
    GridMapReport report = sampleGridReport();
    report.dataFile = "<&\"\x01\xff>/" + std::string(300, 'd');
    for (const double extent : {0.0, 1e-300, 1e155, 1e300}) {
        report.dataFromGrid = rxXform<2>(rxMatrix<2>(extent, 0, 0, extent), {7, 7});
        report.data.points.assign(report.positions.size(), {extent, -extent});
        const std::string svg = gridMapPicture(report, YAxis::kDown);
        EXPECT_EQ(xmlFault(svg), "") << extent;
        EXPECT_THAT(svg, Not(HasSubstr("nan"))) << extent;
    }
}
