#include "match_picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "sample_report.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using testing::HasSubstr;
using testing::Not;

TEST(MatchPicture, ShowsEveryPointInTheGroupItBelongsTo) {
    const std::string svg = matchPicture(sampleReport(), YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "data-matched"), 3U);
    EXPECT_EQ(countElements(svg, "circle", "data-unmatched"), 1U);
    EXPECT_EQ(countElements(svg, "circle", "model-matched"), 3U);
    EXPECT_EQ(countElements(svg, "path", "model-unmatched"), 1U);
    EXPECT_EQ(countElements(svg, "line", "correspondence"), 3U);
    EXPECT_EQ(countElements(svg, "circle", "model"), 4U);
}

TEST(MatchPicture, LegendTellsTheFigures) {
    const std::string svg = matchPicture(sampleReport(), YAxis::kDown);
    EXPECT_THAT(svg, HasSubstr(">3 of 4 points found<"));
    EXPECT_THAT(svg, HasSubstr(">90.000\u00b0<"));
    EXPECT_THAT(svg, HasSubstr(">2.00000<"));
    EXPECT_THAT(svg, HasSubstr(">10.00, 20.00<"));
    EXPECT_THAT(svg, HasSubstr(">75.0 %<"));
    EXPECT_THAT(svg, HasSubstr(">0.289<"));
    EXPECT_THAT(svg, HasSubstr(">0.013 s<"));
    EXPECT_THAT(svg, HasSubstr(">parts/model.csv<"));
}

TEST(MatchPicture, HintsNamePointsByIndexAndCoordinates) {
    const std::string svg = matchPicture(sampleReport(), YAxis::kDown);
    EXPECT_THAT(svg, HasSubstr("<title>data 2 (10, 20.5)</title>"));
    EXPECT_THAT(svg, HasSubstr("<title>model 3 (5, 5)</title>"));
}

TEST(MatchPicture, SmallErrorsAreDrawnLongerAndTheLegendSaysSo) {
    MatchReport report = sampleReport();
    report.poses.front().fitError = 0.001;
    EXPECT_THAT(matchPicture(report, YAxis::kDown), HasSubstr(">error, drawn 100\u00d7<"));
    report.poses.front().fitError = 30.0;
    EXPECT_THAT(matchPicture(report, YAxis::kDown), HasSubstr(">error<"));
    EXPECT_THAT(matchPicture(report, YAxis::kDown), Not(HasSubstr("\u00d7")));
}

TEST(MatchPicture, PointsWithoutPartnerStepBackOnACrowdedPage) {
    MatchReport report = sampleReport();
    EXPECT_THAT(matchPicture(report, YAxis::kDown), Not(HasSubstr("stroke-opacity=\"0.55\"")));
    report.data.points.resize(200, {3, 3});
    EXPECT_THAT(matchPicture(report, YAxis::kDown), HasSubstr("stroke-opacity=\"0.55\""));
}

TEST(MatchPicture, WithoutAPoseItShowsTheDataAlone) {
    MatchReport report = sampleReport();
    report.poses.clear();
    const std::string svg = matchPicture(report, YAxis::kUp);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, HasSubstr(">Nothing found<"));
    EXPECT_EQ(countElements(svg, "circle", "data-unmatched"), 4U);
    EXPECT_EQ(countElements(svg, "circle", "model"), 4U);
    EXPECT_EQ(countElements(svg, "line", "correspondence"), 0U);
}

TEST(MatchPicture, SurvivesAwkwardInput) {
    MatchReport report = sampleReport();
    report.modelFile = "<&\"\x01\xff>/m.csv";
    report.dataFile = std::string(300, 'd');
    report.data.points.assign(4, {1e300, -1e300});
    EXPECT_EQ(xmlFault(matchPicture(report, YAxis::kDown)), "");
    report.data.points.assign(4, {7, 7});
    report.model.points.assign(4, {0, 0});
    report.poses.front().dataFromModel.trans({7, 7});
    const std::string svg = matchPicture(report, YAxis::kDown);
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_THAT(svg, Not(HasSubstr("nan")));
}
