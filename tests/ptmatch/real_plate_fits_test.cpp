// Three transforms from the true positions of dots and corners on plates to where they were
// measured on photographs: affine, perspective, and perspective in normalised coordinates. What
// each leaves tells tilt from lens distortion, noise and what a fit loses. docs/real_data.md
// explains the table.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <set>
#include <string>

#include "ptmatch/fit_residual.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/real_grid.h"
#include "ptmatch/real_scene.h"
#include "ptmatch/transform_world.h"

namespace ptmatch::testing {
namespace {

using namespace std::string_literals;

struct Plate {
    const char* set;  // directory in the collection
    // RMS that each fit may leave, in pixels: what was measured, rounded up.
    double affine;
    double perspective;
    double normalized;

    friend std::ostream& operator<<(std::ostream& out, const Plate& p) { return out << p.set; }
};

const Plate kPlates[] = {
    // set, affine, perspective, normalised
    {"grids/colony_a", 1.542, 1.531, 1.531},         {"grids/dots36_01", 6.059, 0.191, 0.191},
    {"grids/dots36_03", 9.607, 0.291, 0.291},        {"grids/hex336_a", 2.508, 1.155, 1.154},
    {"grids/marks3_a", 11.678, 0.523, 0.523},        {"grids/stag25_05", 1.112, 0.141, 0.141},
    {"grids/stag27_09", 1.799, 0.153, 0.153},        {"grids/stag91_01", 9.285, 0.498, 0.498},
    {"grids/sym10x8_a", 18.296, 0.501, 0.501},       {"grids/sym10x8_b", 17.185, 0.603, 0.603},
    {"grids/sym10x8_video403", 1.864, 0.163, 0.163}, {"grids/sym7x7_03", 2.156, 0.676, 0.676},
    {"grids/sym7x7_05", 9.499, 1.136, 1.135},        {"grids/sym7x7_10", 0.967, 0.556, 0.556},
    {"grids/sym7x7_14", 1.176, 0.272, 0.272},        {"grids/twolevel_2", 7.261, 3.029, 3.029},
    {"checkerboards/left01", 3.674, 0.884, 0.883},   {"checkerboards/left03", 7.098, 1.931, 1.928},
    {"checkerboards/left05", 13.917, 1.727, 1.723},  {"checkerboards/left12", 10.033, 1.571, 1.568},
    {"checkerboards/small1", 0.056, 0.051, 0.051},
};

struct Pairs {
    PlanePoints nodes;   // true positions, in steps
    PlanePoints pixels;  // where they were measured
};

Pairs pairsOf(const RealGrid& grid) {
    Pairs pairs;
    for (std::size_t k = 0; k < grid.points.size(); ++k) {
        if (!grid.positions[k]) continue;
        pairs.nodes.emplace_back(*grid.positions[k]);
        pairs.pixels.push_back(grid.points[k]);
    }
    return pairs;
}

void expectFitted(const Plate& plate, const Pairs& pairs) {
    const auto& [nodes, pixels] = pairs;
    const rx2PtMatchTm affine(nodes, pixels, 6);
    const rx2PTm perspective(nodes, pixels);
    const rx2PTm normalized = rfFitPerspectiveNormalized(nodes, pixels);

    const rxFitResidual affineLeft = rfFitResidual(affine, nodes, pixels);
    const rxFitResidual perspectiveLeft = rfFitResidual(perspective, nodes, pixels);
    const rxFitResidual normalizedLeft = rfFitResidual(normalized, nodes, pixels);
    const double perspectiveBack = roundTripError(perspective, nodes);
    const double normalizedBack = roundTripError(normalized, nodes);
    // The other way round plane a is that of the pixels, far from the squares that are sampled.
    const double perspectiveThere = roundTripError(rx2PTm(pixels, nodes), pixels);
    const double normalizedThere =
        roundTripError(rfFitPerspectiveNormalized(pixels, nodes), pixels);
    std::printf(
        "[ REAL     ] %-24s %4zu | %7.3f %6.2f | %7.3f %6.2f | %7.3f %6.2f | %7.1e %7.1e | %7.1e "
        "%7.1e\n",
        plate.set, nodes.size(), affineLeft.rms, affineLeft.largest, perspectiveLeft.rms,
        perspectiveLeft.largest, normalizedLeft.rms, normalizedLeft.largest, perspectiveBack,
        normalizedBack, perspectiveThere, normalizedThere);

    EXPECT_LE(affineLeft.rms, plate.affine);
    EXPECT_LE(perspectiveLeft.rms, plate.perspective);
    EXPECT_LE(normalizedLeft.rms, plate.normalized);
    // Some 50 steps and some 2,000 pixels, to a hundred eps.
    EXPECT_LE(normalizedBack, 100 * kEps * 50);
    EXPECT_LE(normalizedThere, 100 * kEps * 2000);
}

class RealPlate : public ::testing::TestWithParam<Plate> {};

TEST_P(RealPlate, IsFittedToWithinItsFigures) {
    const std::string directory = PTMATCH_SHARED_DATA_DIR "/"s + GetParam().set;
    if (!std::filesystem::exists(directory)) {
        GTEST_SKIP() << "the collection of real grids is not beside this checkout: " << directory;
    }
    expectFitted(GetParam(), pairsOf(readGrid(directory)));
}

std::string caseName(const ::testing::TestParamInfo<Plate>& info) {
    std::string name = info.param.set;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Collection, RealPlate, ::testing::ValuesIn(kPlates), caseName);

TEST(RealPlates, HaveACaseEach) {
    const std::filesystem::path root = PTMATCH_SHARED_DATA_DIR;
    if (!std::filesystem::exists(root)) GTEST_SKIP() << "no collection of real grids at " << root;
    std::set<std::string> cases;
    for (const Plate& plate : kPlates) cases.insert(plate.set);
    EXPECT_EQ(cases, setsOfKind(root, "grid"));
}

}  // namespace
}  // namespace ptmatch::testing
