#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <ostream>
#include <set>
#include <string>

#include "ptmatch/ptgdmap.h"
#include "ptmatch/real_grid.h"
#include "ptmatch/real_scene.h"

// Dot plates and checkerboards on photographs, with the true position of every dot. Each is mapped
// by somebody who has measured the two steps in the middle of the picture to a pixel: first with
// everything else left at its default, then, where it helps, with a wider snap distance or
// narrower tolerances. docs/real_data.md explains the figures.

namespace ptmatch::testing {
namespace {

using namespace std::string_literals;

struct GridCase {
    const char* set;  // directory in the collection
    double snap = 0.0;
    double sizeTol = 0.2;  // relative, to either side
    double angleTolDeg = 20.0;
    // Expected, at least this many right, at most this many of the others.
    GridAgreement expected;

    friend std::ostream& operator<<(std::ostream& out, const GridCase& c) { return out << c.set; }
};

const GridCase kCollection[] = {
    // set, snap, size, angle | right, wrong, missed, clutter, outer
    {"grids/colony_a", 0, 0.2, 20, {1253, 0, 11, 1, 0}},
    {"grids/colony_a", 6.5, 0.1, 6, {1259, 0, 5, 2, 0}},
    {"grids/dots36_01", 0, 0.2, 20, {34, 0, 2, 0, 0}},
    {"grids/dots36_01", 16, 0.1, 6, {36, 0, 0, 0, 0}},
    {"grids/dots36_03", 0, 0.2, 20, {22, 0, 14, 0, 0}},
    {"grids/dots36_03", 24.3, 0.1, 6, {36, 0, 0, 0, 0}},
    // The clutter of this one lies around the plate, where its lattice would go on.
    {"grids/hex336_a", 0, 0.2, 20, {189, 0, 147, 5, 0}},
    {"grids/hex336_a", 9.3, 0.15, 6, {336, 0, 0, 35, 0}},
    {"grids/marks3_a", 0, 0.2, 20, {77, 0, 0, 0, 0}},
    {"grids/stag25_05", 0, 0.2, 20, {25, 0, 0, 7, 0}},
    {"grids/stag27_09", 0, 0.2, 20, {26, 0, 1, 4, 0}},
    // The following lean away by 0.6 to 1.5 steps from any affine map: a part of each is placed.
    {"grids/stag91_01", 0, 0.2, 20, {43, 2, 46, 9, 0}},
    {"grids/sym10x8_a", 0, 0.2, 20, {27, 5, 48, 2, 0}},
    {"grids/sym10x8_a", 7.8, 0.1, 6, {28, 2, 50, 4, 0}},
    {"grids/sym10x8_b", 0, 0.2, 20, {28, 1, 51, 4, 0}},
    {"grids/sym7x7_05", 0, 0.2, 20, {6, 0, 43, 3, 0}},
    {"grids/sym7x7_05", 7.2, 0.1, 6, {25, 0, 24, 3, 0}},
    // A small plate among four times as many dots of the room.
    {"grids/sym10x8_video403", 0, 0.2, 20, {57, 0, 23, 41, 0}},
    {"grids/sym10x8_video403", 2.8, 0.1, 6, {64, 0, 16, 31, 0}},
    {"grids/sym7x7_03", 0, 0.2, 20, {49, 0, 0, 6, 0}},
    {"grids/sym7x7_10", 0, 0.2, 20, {49, 0, 0, 5, 0}},
    {"grids/sym7x7_14", 0, 0.2, 20, {48, 0, 1, 2, 0}},
    {"grids/twolevel_2", 0, 0.2, 20, {177, 0, 41, 0, 0}},
    {"grids/twolevel_2", 23.3, 0.1, 6, {218, 0, 0, 0, 0}},
    // Corners of a whole room, of which a board is a sixth to a quarter.
    {"checkerboards/left01", 0, 0.2, 20, {39, 0, 15, 42, 9}},
    {"checkerboards/left03", 0, 0.2, 20, {27, 2, 23, 23, 7}},
    {"checkerboards/left03", 8.9, 0.15, 6, {36, 0, 16, 15, 7}},
    {"checkerboards/left05", 0, 0.2, 20, {18, 1, 31, 36, 0}},
    {"checkerboards/left05", 8.5, 0.15, 6, {20, 2, 28, 20, 1}},
    {"checkerboards/left12", 0, 0.2, 20, {6, 0, 48, 26, 1}},
    {"checkerboards/left12", 8.4, 0.1, 6, {26, 0, 28, 19, 5}},
    {"checkerboards/small1", 0, 0.2, 20, {0, 0, 12, 42, 0}},
    {"checkerboards/small1", 4.6, 0.1, 6, {12, 0, 0, 18, 16}},
};

std::string caseName(const ::testing::TestParamInfo<GridCase>& info) {
    std::string name = info.param.set;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
    return name + (info.param.snap > 0.0 ? "_tuned" : "_default");
}

rxVector<2> toWholePixels(const rxVector<2>& v) {
    return {std::round(v.x()), std::round(v.y())};
}

rxPtToGridMapRunParams paramsOf(const GridCase& c, const RealGrid& grid) {
    rxPtToGridMapRunParams params(toWholePixels(grid.xv), toWholePixels(grid.yv), grid.staggered);
    params.snapSize(c.snap);
    params.sizeTol(rxRange(1.0 - c.sizeTol, 1.0 + c.sizeTol));
    params.angleTol(rxAngleRange(rxDegree(-c.angleTolDeg), rxDegree(c.angleTolDeg)));
    return params;
}

// What the plate's own affine map leaves at its worst node, in steps between neighbours.
double bendInSteps(const RealGrid& grid) {
    const rxVector<2> x = grid.staggered ? grid.xv + grid.yv : grid.xv;
    const rxVector<2> y = grid.staggered ? grid.yv - grid.xv : grid.yv;
    return grid.affineMaxPx / std::min(x.len(), y.len());
}

// The fastest of a few: what else the machine does has no part in the figure.
double mappingTime(const RealGrid& grid, const rxPtToGridMapRunParams& params) {
    constexpr int kRuns = 9;
    double fastest = std::numeric_limits<double>::infinity();
    for (int run = 0; run < kRuns; ++run) {
        rxPtToGridMapResult result;
        rfPtToGridMap(grid.points, params, result);
        fastest = std::min(fastest, result.time());
    }
    return fastest;
}

void expectMapped(const GridCase& c, const std::string& directory) {
    const RealGrid grid = readGrid(directory);
    rxPtToGridMapResult result;
    const rxPtToGridMapRunParams params = paramsOf(c, grid);
    rfPtToGridMap(grid.points, params, result);
    const GridAgreement found = compare(grid, result.map());
    std::printf(
        "[ REAL     ] %-24s %5zu %5zu %5.2f | %5.1f %4.2f %3.0f | %5ld %3ld %4ld %3ld %3ld | %7.3f "
        "ms\n",
        c.set, grid.points.size(), grid.numNodes(), bendInSteps(grid), c.snap, c.sizeTol,
        c.angleTolDeg, found.right, found.wrong, found.missed, found.clutter, found.outer,
        1e3 * mappingTime(grid, params));
    EXPECT_TRUE(result.valid());
    EXPECT_GE(found.right, c.expected.right);
    EXPECT_LE(found.wrong, c.expected.wrong);
    EXPECT_LE(found.missed, c.expected.missed);
    EXPECT_LE(found.clutter, c.expected.clutter);
    EXPECT_LE(found.outer, c.expected.outer);
}

class RealGridSet : public ::testing::TestWithParam<GridCase> {};

TEST_P(RealGridSet, IsMappedAsItsTruthSays) {
    const std::string directory = PTMATCH_SHARED_DATA_DIR "/"s + GetParam().set;
    if (!std::filesystem::exists(directory)) {
        GTEST_SKIP() << "the collection of real grids is not beside this checkout: " << directory;
    }
    expectMapped(GetParam(), directory);
}

INSTANTIATE_TEST_SUITE_P(Collection, RealGridSet, ::testing::ValuesIn(kCollection), caseName);

TEST(RealGridSets, HaveACaseEach) {
    const std::filesystem::path root = PTMATCH_SHARED_DATA_DIR;
    if (!std::filesystem::exists(root)) GTEST_SKIP() << "no collection of real grids at " << root;
    std::set<std::string> cases;
    for (const GridCase& c : kCollection) cases.insert(c.set);
    EXPECT_EQ(cases, setsOfKind(root, "grid"));
}

// The measure itself, on positions made up by hand.
TEST(GridAgreement, CountsAfterTheShiftThatServesMostNodes) {
    RealGrid grid;
    grid.points.resize(6);
    grid.positions = {rxPair<long>(0, 0), rxPair<long>(1, 0), rxPair<long>(2, 0),
                      rxPair<long>(0, 1), std::nullopt,       std::nullopt};
    grid.outerRing.resize(6);
    grid.outerRing[5] = rxPair<long>(3, 0);
    const rxPair<long> unplaced(rxPtToGridMapResult::kUnassigned, rxPtToGridMapResult::kUnassigned);
    const std::vector<rxPair<long>> map = {{10, 5}, {11, 5}, {13, 5}, unplaced, {4, 4}, {13, 5}};
    EXPECT_EQ(compare(grid, map), (GridAgreement{2, 1, 1, 1, 1}));
    EXPECT_EQ(compare(grid, {}), (GridAgreement{0, 0, 4, 0, 0}));
}

}  // namespace
}  // namespace ptmatch::testing
