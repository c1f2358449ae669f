#include "grid_mapping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>

#include "input_error.h"
#include "plane_vectors.h"
#include "real_grids.h"

using namespace ptmatch::tool;
using testing::HasSubstr;

namespace {

GridMapReport reportOf(const std::vector<rxVector<2>>& points, const GridSteps& steps,
                       bool staggered = false) {
    GridMapReport report;
    report.dataFile = "d.csv";
    report.data.points = points;
    report.choice.steps = steps;
    report.staggered = staggered;
    report.sizeTolerance = {0.8, 1.2};
    report.angleToleranceDeg = {-20, 20};
    return report;
}

GridMapReport mapped(GridMapReport report) {
    mapToGrid(report);
    return report;
}

rxVector<2> rotated(const rxVector<2>& v, double degrees) {
    const double angle = degrees * 3.14159265358979323846 / 180.0;
    return {std::cos(angle) * v.x() - std::sin(angle) * v.y(),
            std::sin(angle) * v.x() + std::cos(angle) * v.y()};
}

// 5 columns of 4 rows; the point of column i and row j is number 5 j + i.
std::vector<rxVector<2>> block(const GridSteps& steps) {
    std::vector<rxVector<2>> points;
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 5; ++i) {
            points.push_back(rxVector<2>(300, 200) + scaled(steps.xv, i) + scaled(steps.yv, j));
        }
    }
    return points;
}

// Whether every point of a block has its own column and row.
void expectOwnPositions(const GridMapReport& report) {
    for (int j = 0; j < 4; ++j) {
        for (int i = 0; i < 5; ++i) {
            const auto& position = report.positions[static_cast<std::size_t>(5 * j + i)];
            ASSERT_TRUE(position.has_value()) << i << ", " << j;
            EXPECT_EQ(*position, rxPair<long>(i, j));
        }
    }
}

// How the positions of a plate compare with the true ones.
struct Comparison {
    std::size_t right = 0;
    std::size_t wrong = 0;
    std::size_t missed = 0;
};

// Lattice coordinates, in which neighbours with a point are one step apart.
rxPair<long> onLattice(const rxPair<long>& position, bool staggered) {
    if (!staggered) return position;
    return {(position.x() + position.y()) / 2, (position.y() - position.x()) / 2};
}

// The best agreement over every shift, turn and flip that a lattice may have.
Comparison compared(const RealGrid& grid, const std::vector<GridPosition>& positions) {
    std::size_t best = 0;
    for (int code = 0; code < 81; ++code) {
        const std::array<long, 4> m = {code % 3 - 1, code / 3 % 3 - 1, code / 9 % 3 - 1,
                                       code / 27 - 1};
        if (std::abs(m[0] * m[3] - m[1] * m[2]) != 1) continue;
        std::map<std::pair<long, long>, std::size_t> votes;
        for (std::size_t k = 0; k < positions.size(); ++k) {
            if (!positions[k] || !grid.truth[k]) continue;
            const rxPair<long> found = onLattice(*positions[k], grid.staggered);
            const rxPair<long> truth = onLattice(*grid.truth[k], grid.staggered);
            ++votes[{truth.x() - m[0] * found.x() - m[1] * found.y(),
                     truth.y() - m[2] * found.x() - m[3] * found.y()}];
        }
        for (const auto& vote : votes) best = std::max(best, vote.second);
    }
    const auto placed = static_cast<std::size_t>(std::count_if(
        positions.begin(), positions.end(), [](const auto& p) { return p.has_value(); }));
    return {best, placed - best, grid.nodes() - best};
}

// As the command does it without options.
GridMapReport mappedByDefault(const RealGrid& grid) {
    GridMapReport report = reportOf(grid.points, {}, grid.staggered);
    report.choice = chooseSteps({}, grid.points, grid.staggered, grid.name);
    report.snap = defaultSnap(report.choice.steps, grid.staggered);
    mapToGrid(report);
    return report;
}

}  // namespace

TEST(GridMapping, EveryPointGetsItsColumnAndRow) {
    const GridSteps steps{{25, 1}, {-1, 30}};
    const GridMapReport report = mapped(reportOf(block(steps), steps));
    expectOwnPositions(report);
    ASSERT_TRUE(report.dataFromGrid.has_value());
    EXPECT_NEAR(report.dataFromGrid->trans().x(), 300, 1e-9);
    EXPECT_NEAR(report.dataFromGrid->matrix().element(0, 0), 25, 1e-9);
    EXPECT_NEAR(report.dataFromGrid->matrix().element(1, 1), 30, 1e-9);
}

TEST(GridMapping, StepsInAnyDirectionGivePositionsOnTheStepsAsGiven) {
    for (int degrees = 0; degrees < 360; degrees += 15) {
        for (const double flip : {1.0, -1.0}) {
            const GridSteps steps{rotated({25, 1}, degrees), rotated({0, flip * 30}, degrees)};
            const GridMapReport report = mapped(reportOf(block(steps), steps));
            SCOPED_TRACE(testing::Message() << degrees << " " << flip);
            expectOwnPositions(report);
            EXPECT_NEAR(report.dataFromGrid->trans().y(), 200, 1e-9);
            EXPECT_NEAR(report.dataFromGrid->matrix().element(0, 0), steps.xv.x(), 1e-9);
            EXPECT_NEAR(report.dataFromGrid->matrix().element(1, 1), steps.yv.y(), 1e-9);
        }
    }
}

TEST(GridMapping, AFullRangeOfRotationsFindsAnyOfThem) {
    // Steps of different length, so that only a half turn looks alike.
    const GridSteps steps{{20, 0}, {0, 30}};
    for (int degrees = -175; degrees <= 180; degrees += 12) {
        const GridSteps turned{rotated(steps.xv, degrees), rotated(steps.yv, degrees)};
        GridMapReport report = reportOf(block(turned), steps);
        report.angleToleranceDeg = Interval::full();
        mapToGrid(report);
        const auto placed = std::count_if(report.positions.begin(), report.positions.end(),
                                          [](const auto& p) { return p.has_value(); });
        EXPECT_EQ(placed, 20) << degrees;
        EXPECT_EQ(figuresOf(report).bounds->high, rxPair<long>(4, 3)) << degrees;
    }
}

TEST(GridMapping, ClutterAtChancePositionsIsSetAsideUnlessAskedFor) {
    const GridSteps steps{{25, 0}, {0, 30}};
    GridMapReport report = reportOf(block(steps), steps);
    report.data.points.emplace_back(300 + 8 * 25, 200 + 7 * 30);  // right on a far node
    report.data.points.emplace_back(302, 201);                    // near a node that has its point
    report = mapped(report);
    EXPECT_EQ(report.strays, 1U);
    EXPECT_EQ(report.doubles, 1U);
    expectOwnPositions(report);
    EXPECT_FALSE(report.positions[20] || report.positions[21]);
    EXPECT_NEAR(report.dataFromGrid->trans().x(), 300, 1e-9);
    report.keepsAll = true;
    mapToGrid(report);
    EXPECT_EQ(report.strays, 1U);
    EXPECT_EQ(report.doubles, 1U);
    EXPECT_EQ(report.positions[20], GridPosition(rxPair<long>(8, 7)));
    EXPECT_EQ(report.positions[21], GridPosition(rxPair<long>(0, 0)));
}

TEST(GridMapping, ASingleRowNeedsOneStep) {
    std::vector<rxVector<2>> row;
    for (int i = 0; i < 8; ++i) row.emplace_back(10.0 + 20 * i, 5.0 - 2 * i);
    for (const double sign : {1.0, -1.0}) {
        const GridMapReport report = mapped(reportOf(row, {{sign * 20, 0}, {}}));
        ASSERT_TRUE(report.dataFromGrid.has_value());
        for (std::size_t k = 0; k < row.size(); ++k) {
            const long i = static_cast<long>(k);
            EXPECT_EQ(report.positions[k], GridPosition(rxPair<long>(sign > 0 ? i : 7 - i, 0)));
        }
        EXPECT_GT(report.dataFromGrid->matrix().determinant(), 0.0);
    }
}

TEST(GridMapping, NothingPlacedComesWithTheProbableReason) {
    const auto why = [](GridMapReport report) {
        mapToGrid(report);
        EXPECT_FALSE(report.dataFromGrid.has_value());
        EXPECT_EQ(figuresOf(report).placed, 0U);
        return whyNothingPlaced(report);
    };
    const GridSteps steps{{25, 0}, {0, 30}};
    EXPECT_EQ(why(reportOf({{1, 1}, {26, 1}}, steps)), "a grid needs at least 3 points");
    EXPECT_THAT(why(reportOf(block({{40, 0}, {0, 50}}), steps)),
                HasSubstr("nearest neighbour of a point is typically 40 away"));
    GridMapReport report = reportOf(block({{24, 0}, {0, 29}}), steps);
    report.sizeTolerance = {1, 1};
    EXPECT_THAT(why(report), HasSubstr("one exact distance only"));
    report = reportOf(block({rotated({25, 0}, 45), rotated({0, 30}, 45)}), steps);
    EXPECT_THAT(why(report), HasSubstr("--angle-tol excludes"));
}

TEST(GridMapping, PointsThatCannotBeMappedAreRefusedByName) {
    GridMapReport report = reportOf(block({{25, 0}, {0, 30}}), {{25, 0}, {0, 30}});
    report.data.points[3] = {std::nan(""), 0};
    EXPECT_THROW(mapToGrid(report), InputError);
}

TEST(GridMapping, TheCarriedPlatesAreCompleteWithoutOptions) {
    for (const RealGrid& grid : carriedGrids()) {
        const GridMapReport report = mappedByDefault(grid);
        const Comparison comparison = compared(grid, report.positions);
        EXPECT_EQ(comparison.right, grid.nodes()) << grid.name;
        EXPECT_EQ(comparison.wrong, 0U) << grid.name;
    }
}

TEST(GridMapping, RealPlatesArePlacedWithoutOptions) {
    const std::vector<RealGrid> grids = sharedGrids();
    if (grids.empty()) GTEST_SKIP() << "no collection of plates beside the checkout";
    Comparison sum;
    for (const RealGrid& grid : grids) {
        const GridMapReport report = mappedByDefault(grid);
        const Comparison c = compared(grid, report.positions);
        std::printf(
            "  %-20s right %4zu  wrong %2zu  missed %3zu of %4zu  strays %2zu  doubles %zu"
            "  goes on %2zu  %.4f s\n",
            grid.name.c_str(), c.right, c.wrong, c.missed, grid.nodes(), report.strays,
            report.doubles, figuresOf(report).goesOn, report.seconds);
        sum = {sum.right + c.right, sum.wrong + c.wrong, sum.missed + c.missed};
    }
    std::printf("  all: right %zu, wrong %zu, missed %zu\n", sum.right, sum.wrong, sum.missed);
    // What was reached; plates seen obliquely are placed in part.
    EXPECT_GE(sum.right, 2270U);
    EXPECT_LE(sum.wrong, 4U);
}
