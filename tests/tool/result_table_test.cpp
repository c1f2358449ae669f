#include "result_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sample_report.h"
#include "shown_text.h"
#include "text_table.h"

using namespace ptmatch::tool;

TEST(ResultTable, ShowsEveryFigureOfAPose) {
    EXPECT_EQ(
        resultTable(sampleReport()),
        "4 model points, 4 data points: 1 pose found in 0.013 s\n"
        "\n"
        "rank  rotation [deg]    scale  translation x       y  coverage  fit error  matched\n"
        "   1          90.000  2.00000         10.000  20.000    75.0 %      0.289      3/4\n");
}

TEST(ResultTable, ColumnsStayAlignedOverPosesOfDifferentWidth) {
    MatchReport report = sampleReport();
    report.poses.push_back(report.poses.front());
    report.poses.back().dataFromModel.trans({-123456.75, 0});
    EXPECT_EQ(
        resultTable(report),
        "4 model points, 4 data points: 2 poses found in 0.013 s\n"
        "\n"
        "rank  rotation [deg]    scale  translation x       y  coverage  fit error  matched\n"
        "   1          90.000  2.00000         10.000  20.000    75.0 %      0.289      3/4\n"
        "   2          90.000  2.00000    -123456.750   0.000    75.0 %      0.289      3/4\n");
}

TEST(ResultTable, SaysWhenNothingWasFound) {
    MatchReport report = sampleReport();
    report.poses.clear();
    report.data.points.resize(1);
    EXPECT_EQ(resultTable(report), "4 model points, 1 data point: nothing found (0.013 s)\n");
}

TEST(FoundPose, MatchedCountsEntriesThatAreNotNegative) {
    FoundPose pose;
    pose.map = {0, -1, 5, -2, 0};
    EXPECT_EQ(pose.matched(), 3U);
}

TEST(AlignedText, CountsCharactersAndNotBytes) {
    EXPECT_EQ(alignedText({{"n", "k"}, {"M\u00fcller", "7"}, {"Mueller", "8"}}),
              "      n  k\n M\u00fcller  7\nMueller  8\n");
}

TEST(AlignedText, WithoutControlsATerminalHasNothingToActOn) {
    EXPECT_EQ(withoutControls("a\x1b[31m\n\x7f"), "a?[31m??");
    EXPECT_EQ(withoutControls("a\u009b31m\u00fc\xc2"), "a?31m\u00fc?");
    EXPECT_EQ(withoutControls(std::string(100, 'z')), std::string(100, 'z'));
}
