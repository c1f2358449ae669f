#include "grid_map_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "csv_points.h"
#include "sample_grid_report.h"

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

using Position = rxPair<long>;

GridMapReport reportOf(const std::vector<GridPosition>& positions, bool staggered = false) {
    GridMapReport report;
    report.positions = positions;
    report.data.points.resize(positions.size());
    report.staggered = staggered;
    return report;
}

std::vector<Position> missingOf(const std::vector<GridPosition>& positions,
                                bool staggered = false) {
    const auto missing = figuresOf(reportOf(positions, staggered)).missing;
    EXPECT_TRUE(missing.has_value());
    return missing.value_or(std::vector<Position>());
}

}  // namespace

TEST(GridMapReport, CountsAndMeasures) {
    const GridMapFigures figures = figuresOf(sampleGridReport());
    EXPECT_EQ(figures.placed, 6U);
    EXPECT_EQ(figures.nodes, 5U);
    EXPECT_EQ(figures.goesOn, 0U);
    EXPECT_EQ(figures.bounds->low, Position(0, 0));
    EXPECT_EQ(figures.bounds->high, Position(2, 1));
    EXPECT_THAT(*figures.missing, ElementsAre(Position(1, 1)));
    // One point of six is off, by 0.5.
    EXPECT_NEAR(*figures.rmsError, std::sqrt(0.25 / 6), 1e-12);
    EXPECT_NEAR(*figures.largestError, 0.5, 1e-12);
}

TEST(GridMapReport, WithoutAPlacedPointThereIsNothingToMeasure) {
    const GridMapFigures figures = figuresOf(sampleEmptyGridReport());
    EXPECT_EQ(figures.placed, 0U);
    EXPECT_FALSE(figures.bounds || figures.missing || figures.rmsError || figures.largestError);
}

TEST(GridMapReport, MissingNodesLieWithinTheHullOfThePlacedOnes) {
    // A triangle: its slanted side passes through (1, 2) and (2, 1), and not through (2, 2).
    EXPECT_THAT(missingOf({{{0, 0}}, {{3, 0}}, {{0, 3}}}),
                ElementsAre(Position(1, 0), Position(2, 0), Position(0, 1), Position(1, 1),
                            Position(2, 1), Position(0, 2), Position(1, 2)));
    // Edges between the nodes of a row: rounded towards the inside on both sides.
    EXPECT_THAT(missingOf({{{0, 0}}, {{5, 0}}, {{1, 3}}, {{2, 3}}}),
                ElementsAre(Position(1, 0), Position(2, 0), Position(3, 0), Position(4, 0),
                            Position(1, 1), Position(2, 1), Position(3, 1), Position(4, 1),
                            Position(1, 2), Position(2, 2), Position(3, 2)));
    EXPECT_THAT(missingOf({{{-3, -1}}, {{3, 1}}}), ElementsAre(Position(0, 0)));
    EXPECT_THAT(missingOf({{{-2, 5}}, {{1, 5}}}), ElementsAre(Position(-1, 5), Position(0, 5)));
    EXPECT_THAT(missingOf({{{4, -7}}, {{4, -7}}}), IsEmpty());
}

TEST(GridMapReport, OfAStaggeredGridOnlyEvenSumsCanBeMissing) {
    EXPECT_THAT(missingOf({{{-2, 0}}, {{2, 0}}, {{0, 2}}, {{0, -2}}}, true),
                ElementsAre(Position(-1, -1), Position(1, -1), Position(0, 0), Position(-1, 1),
                            Position(1, 1)));
}

TEST(GridMapReport, AHullTooLargeToLookThroughIsNotCounted) {
    EXPECT_FALSE(figuresOf(reportOf({{{0, 0}}, {{3000, 3000}}})).missing.has_value());
    EXPECT_FALSE(
        figuresOf(reportOf({{{-1073741823, 0}}, {{1073741823, 1073741823}}})).missing.has_value());
    EXPECT_TRUE(figuresOf(reportOf({{{0, 0}}, {{4000, 1000}}})).missing.has_value());
}

TEST(GridMapReport, CountsFromZeroAndTheTransformFollows) {
    GridMapReport report = sampleGridReport();
    const GridMapFigures before = figuresOf(report);
    for (GridPosition& position : report.positions) {
        if (position) position = *position + Position(-7, 3);
    }
    report.dataFromGrid = rxXform<2>(rxMatrix<2>(10, 0, 0, 10), {170, 20});
    countFromZero(report);
    EXPECT_EQ(report.positions, sampleGridReport().positions);
    EXPECT_EQ(*report.dataFromGrid, *sampleGridReport().dataFromGrid);
    EXPECT_EQ(figuresOf(report).rmsError, before.rmsError);
}

TEST(GridMapReport, StaggeredSumsStayEvenWhenCountedFromZero) {
    GridMapReport report = reportOf({{{-3, 5}}, {{-2, 4}}, {}, {{-1, 7}}}, true);
    countFromZero(report);
    EXPECT_THAT(report.positions,
                ElementsAre(GridPosition(Position(1, 1)), GridPosition(Position(2, 0)),
                            GridPosition(), GridPosition(Position(3, 3))));
    report = reportOf({{{-3, 5}}, {{-2, 6}}}, true);
    countFromZero(report);
    EXPECT_THAT(report.positions,
                ElementsAre(GridPosition(Position(0, 0)), GridPosition(Position(1, 1))));
}

TEST(GridMapReport, CsvHoldsEveryPointAndReadsBack) {
    GridMapReport report = sampleGridReport();
    report.data.points[5] = {0.1 + 0.2, -1e-300};
    const std::string csv = gridMapCsv(report);
    EXPECT_EQ(csv,
              "x,y,i,j\n100,50,0,0\n110,50,1,0\n120,50,2,0\n100.3,60.4,0,1\n120,60,2,1\n"
              "0.30000000000000004,-1e-300,,\n120,50,2,0\n");
    EXPECT_EQ(parsePoints(csv, "csv").points, report.data.points);
}
