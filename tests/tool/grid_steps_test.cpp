#include "grid_steps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>

#include "plane_vectors.h"
#include "real_grids.h"

using namespace ptmatch::tool;

namespace {

using Points = std::vector<rxVector<2>>;

// The nodes of columns x rows; of a staggered grid only those with an even sum.
Points gridPoints(const GridSteps& steps, long columns, long rows, bool staggered = false) {
    Points points;
    for (long j = 0; j < rows; ++j) {
        for (long i = 0; i < columns; ++i) {
            if (staggered && (i + j) % 2 != 0) continue;
            points.push_back(scaled(steps.xv, static_cast<double>(i)) +
                             scaled(steps.yv, static_cast<double>(j)));
        }
    }
    return points;
}

void addClutter(Points& points, std::size_t count, double width, double height,
                std::mt19937& random) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (std::size_t k = 0; k < count; ++k) {
        const double x = width * unit(random);
        points.emplace_back(x, height * unit(random));
    }
}

void expectNear(const rxVector<2>& found, const rxVector<2>& expected, double tolerance) {
    EXPECT_NEAR(found.x(), expected.x(), tolerance);
    EXPECT_NEAR(found.y(), expected.y(), tolerance);
}

void expectSteps(const std::optional<ProposedSteps>& found, const GridSteps& expected,
                 double tolerance) {
    ASSERT_TRUE(found.has_value());
    expectNear(found->steps.xv, expected.xv, tolerance);
    expectNear(found->steps.yv, expected.yv, tolerance);
}

// The two steps that the nodes with a point are apart.
GridSteps latticeOf(const GridSteps& steps, bool staggered) {
    return staggered ? GridSteps{steps.xv + steps.yv, steps.yv - steps.xv} : steps;
}

// The largest distance of the coordinates of `found` on `expected` from whole numbers when those
// span the same lattice, else infinity.
double latticeError(const GridSteps& found, const GridSteps& expected) {
    const double area = cross(expected.xv, expected.yv);
    const std::array<double, 4> k = {
        cross(found.xv, expected.yv) / area, cross(found.yv, expected.yv) / area,
        cross(expected.xv, found.xv) / area, cross(expected.xv, found.yv) / area};
    double error = 0.0;
    for (const double value : k) error = std::max(error, std::abs(value - std::round(value)));
    const double determinant =
        std::round(k[0]) * std::round(k[3]) - std::round(k[1]) * std::round(k[2]);
    return std::abs(determinant) == 1.0 ? error : std::numeric_limits<double>::infinity();
}

// Prints a line per plate; returns those whose proposal is another lattice than the true one.
std::vector<std::string> wrongProposals(const std::vector<RealGrid>& grids) {
    std::vector<std::string> wrong;
    for (const RealGrid& grid : grids) {
        const auto begin = std::chrono::steady_clock::now();
        const auto found = proposeSteps(grid.points, grid.staggered);
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        const double error = found ? latticeError(latticeOf(found->steps, grid.staggered),
                                                  latticeOf({grid.xv, grid.yv}, grid.staggered))
                                   : std::numeric_limits<double>::infinity();
        // Within the tolerances of the mapping: a fifth of the size, 20 degrees.
        if (!(error < 0.2)) wrong.push_back(grid.name);
        if (!found) continue;
        std::printf(
            "  %-20s xv %7.2f,%7.2f (true %7.2f,%7.2f)  yv %7.2f,%7.2f (true "
            "%7.2f,%7.2f)  off %.3f steps  %4zu of %4zu agree  %.3f s\n",
            grid.name.c_str(), found->steps.xv.x(), found->steps.xv.y(), grid.xv.x(), grid.xv.y(),
            found->steps.yv.x(), found->steps.yv.y(), grid.yv.x(), grid.yv.y(), error,
            found->supporters, found->lookedAt, seconds.count());
    }
    return wrong;
}

}  // namespace

TEST(GridSteps, AreExactOnAnExactGrid) {
    const GridSteps square{{25, 0}, {0, 25}};
    const auto found = proposeSteps(gridPoints(square, 5, 4), false);
    expectSteps(found, square, 1e-12);
    EXPECT_EQ(found->lookedAt, 20U);
    EXPECT_EQ(found->supporters, 20U);
    const GridSteps oblong{{30, 4}, {-3, 50}};
    expectSteps(proposeSteps(gridPoints(oblong, 5, 4), false), oblong, 1e-12);
}

TEST(GridSteps, TurnWithTheGridAndPointForward) {
    for (int degrees = -180; degrees <= 180; degrees += 7) {
        const double angle = degrees * 3.14159265358979323846 / 180.0;
        const GridSteps steps{{20 * std::cos(angle), 20 * std::sin(angle)},
                              {-30 * std::sin(angle), 30 * std::cos(angle)}};
        const auto found = proposeSteps(gridPoints(steps, 6, 5), false);
        ASSERT_TRUE(found.has_value()) << degrees;
        EXPECT_LT(latticeError(found->steps, steps), 1e-9) << degrees;
        EXPECT_GT(found->steps.xv.x(), 0.0) << degrees;
        EXPECT_GT(cross(found->steps.xv, found->steps.yv), 0.0) << degrees;
        EXPECT_GE(std::abs(found->steps.xv.x()) / found->steps.xv.len(),
                  std::abs(found->steps.yv.x()) / found->steps.yv.len())
            << degrees;
    }
}

TEST(GridSteps, AStaggeredGridHasItsPointsOnEvenPositions) {
    const GridSteps square{{20, 0}, {0, 20}};
    expectSteps(proposeSteps(gridPoints(square, 8, 6, true), true), square, 1e-12);
    // Hexagonal: any two of three diagonals would do; the steps along the axes are proposed.
    const GridSteps hexagonal{{20 * std::sqrt(3.0), 0}, {0, 20}};
    expectSteps(proposeSteps(gridPoints(hexagonal, 8, 9, true), true), hexagonal, 1e-9);
    // Long and flat: the nearest neighbours are two steps apart, not on a diagonal.
    const GridSteps flat{{10, 0}, {0, 30}};
    expectSteps(proposeSteps(gridPoints(flat, 12, 6, true), true), flat, 1e-9);
    const GridSteps tilted{{19, 6}, {-6, 19}};
    expectSteps(proposeSteps(gridPoints(tilted, 8, 8, true), true), tilted, 1e-9);
}

TEST(GridSteps, TheDiagonalLatticeIsPlainWhenNotCalledStaggered) {
    const GridSteps steps{{20, 3}, {-3, 20}};
    const auto found = proposeSteps(gridPoints(steps, 8, 8, true), false);
    ASSERT_TRUE(found.has_value());
    EXPECT_LT(latticeError(found->steps, latticeOf(steps, true)), 1e-9);
}

TEST(GridSteps, SurviveNoiseGapsClutterAndDoubles) {
    const unsigned seed = 20240611;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0.0, 0.8);
    const GridSteps steps{{21, 5}, {-6, 24}};
    Points points;
    for (const rxVector<2>& p : gridPoints(steps, 9, 9)) {
        if (random() % 5 == 0) continue;
        const double dx = noise(random);
        points.emplace_back(200 + p.x() + dx, 200 + p.y() + noise(random));
        if (random() % 4 == 0) points.emplace_back(points.back().x() + 1.5, points.back().y());
    }
    addClutter(points, 300, 640, 480, random);
    const auto found = proposeSteps(points, false);
    ASSERT_TRUE(found.has_value());
    EXPECT_LT(latticeError(found->steps, steps), 0.05);
}

TEST(GridSteps, ASingleLineGivesTheOneStepItHas) {
    const GridSteps row{{25, 1}, {}};
    expectSteps(proposeSteps(gridPoints(row, 9, 1), false), row, 1e-12);
    const GridSteps column{{}, {2, 40}};
    expectSteps(proposeSteps(gridPoints(column, 1, 6), false), column, 1e-12);
    EXPECT_FALSE(proposeSteps(gridPoints(row, 9, 1), true).has_value());
}

TEST(GridSteps, TheSmallestGridIsOneCell) {
    const GridSteps steps{{10, 0}, {0, 12}};
    expectSteps(proposeSteps(gridPoints(steps, 2, 2), false), steps, 1e-12);
}

TEST(GridSteps, NothingIsProposedWithoutALattice) {
    EXPECT_FALSE(proposeSteps({}, false).has_value());
    EXPECT_FALSE(proposeSteps({{1, 1}}, false).has_value());
    EXPECT_FALSE(proposeSteps({{0, 0}, {5, 1}}, false).has_value());
    EXPECT_FALSE(proposeSteps({{0, 0}, {10, 0}, {3, 17}}, true).has_value());
    EXPECT_FALSE(proposeSteps(Points(50, {7, 7}), false).has_value());
}

TEST(GridSteps, FarFlungPointsDoNoHarm) {
    const GridSteps steps{{25, 0}, {0, 25}};
    Points points = gridPoints(steps, 6, 6);
    points.insert(points.end(), {{1e9, 3}, {-4, 1e12}, {1e300, -1e300}, {-1e308, 1e308}});
    expectSteps(proposeSteps(points, false), steps, 1e-12);
}

TEST(GridSteps, ManyPointsCostLittle) {
    const GridSteps steps{{25, 0}, {0, 25}};
    Points points = gridPoints(steps, 400, 400);
    points.insert(points.end(), 20000, {5000, 5000});
    const auto begin = std::chrono::steady_clock::now();
    expectSteps(proposeSteps(points, false), steps, 1e-9);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("  180,000 points: %.2f s\n", seconds.count());
    EXPECT_LT(seconds.count(), 60.0);  // quadratic work would take many minutes
}

TEST(GridSteps, FindTheLatticeOfTheCarriedPlates) {
    EXPECT_THAT(wrongProposals(carriedGrids()), testing::IsEmpty());
}

TEST(GridSteps, FindTheLatticeOfEveryRealPlate) {
    const std::vector<RealGrid> grids = sharedGrids();
    if (grids.empty()) GTEST_SKIP() << "no collection of plates beside the checkout";
    const std::vector<std::string> wrong = wrongProposals(grids);
    std::printf("  right: %zu of %zu\n", grids.size() - wrong.size(), grids.size());
    EXPECT_THAT(wrong, testing::IsEmpty());
}
