#include "ptmatch/search_grid.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ptmatch/label_image.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/point_matcher_run_params.h"

namespace {

using namespace ptmatch::detail;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Centre (2, 1.5), radius 2.5, default grid size 0.75.
rx_PointMatcherModel triangle() {
    rx_PointMatcherModel model;
    model.train({{0, 0}, {4, 0}, {0, 3}});
    return model;
}

rx_PointMatcherModel coincident() {
    rx_PointMatcherModel model;
    model.train({{1, 1}, {1, 1}, {1, 1}});
    return model;
}

std::vector<double> values(const Lattice& lattice) {
    std::vector<double> all;
    lattice.forEach([&](double value) { all.push_back(value); });
    return all;
}

rxAngleRange degrees(double low, double high) {
    return {rxRadian(rxDegree(low)), rxRadian(rxDegree(high)), false};
}

SearchGrid gridOver(const std::vector<rxVector<2>>& data, double gridSize) {
    return *makeSearchGrid(data, triangle(), rxXform<2>(), gridSize);
}

template <class Action>
std::string badParams(Action action) {
    try {
        action();
    } catch (const rxPointMatcherDefs::BadParams& error) {
        return error.what();
    }
    return "nothing thrown";
}

TEST(SearchGrid, CoversTheDataWithABorderOfOnePixel) {
    // 10 units wide at 1 / pixel: 11 pixels and the border; 2.6 rounds to 3.
    const SearchGrid grid = gridOver({{5, 5}, {15, 7.6}}, 1.0);
    EXPECT_EQ(grid.width, 13);
    EXPECT_EQ(grid.height, 6);
    EXPECT_EQ(grid.imageFromModel * rxVector<2>(5, 5), rxVector<2>(1, 1));
}

TEST(SearchGrid, SeesTheDataFromTheStartPose) {
    const rxXform<2> start(rxVector<2>(100, 0), rxRadian(0), rxRadian(0), 2.0, 2.0);
    const std::vector<rxVector<2>> data{{100, 0}, {110, 20}};
    const auto grid = makeSearchGrid(data, triangle(), start, 1.0);
    EXPECT_EQ(grid->data[0], rxVector<2>(0, 0));
    EXPECT_EQ(grid->data[1], rxVector<2>(5, 10));
}

TEST(SearchGrid, NothingToSearchWithoutDataOrWithoutAGridSize) {
    const std::vector<rxVector<2>> data{{1, 1}};
    EXPECT_FALSE(makeSearchGrid({}, triangle(), rxXform<2>(), 1.0));
    EXPECT_FALSE(makeSearchGrid(data, triangle(), rxXform<2>(), kInfinity));
}

TEST(SearchGrid, RefusesAnImageThatCouldNotBeHeld) {
    const char* message =
        "gridSize is too small for the extent of the data: "
        "the search image would not fit in memory\n";
    EXPECT_EQ(badParams([] { gridOver({{0, 0}, {1e6, 1e6}}, 1e-3); }), message);
    EXPECT_EQ(badParams([] { gridOver({{0, 0}, {1, 1}}, 5e-324); }), message);
    EXPECT_EQ(badParams([] { gridOver({{-1e308, 0}, {1e308, 0}}, 1.0); }), message);
}

TEST(SearchGrid, RefusesAModelBeyond32BitPixels) {
    EXPECT_EQ(badParams([] {
                  gridOver({{1e10, 0}, {1e10, 1}}, 1.0);
              }),
              "the data lie too far from the model for this gridSize: "
              "set a startPose that brings the model near the data\n");
}

TEST(SearchGrid, RefusesDataThatOverflowAtTheStartPose) {
    const rxXform<2> start(rxVector<2>(0, 0), rxRadian(0), rxRadian(0), 1e-10, 1e-10);
    const std::vector<rxVector<2>> data{{1e300, 0}};
    EXPECT_EQ(badParams([&] { makeSearchGrid(data, triangle(), start, 1.0); }),
              "data overflow when they are seen from startPose\n");
}

TEST(LabelImage, LaterPointOverwritesAnEarlierOne) {
    const SearchGrid grid = gridOver({{0, 0}, {1, 0}, {6, 0}}, 1.0);
    const LabelImage blocks(grid, LabelImage::Extent::Block);
    EXPECT_EQ(blocks.dataIndexAt(0, 0), 0);
    EXPECT_EQ(blocks.dataIndexAt(1, 1), 1);
    EXPECT_EQ(blocks.dataIndexAt(3, 2), 1);
    EXPECT_EQ(blocks.dataIndexAt(4, 1), -1);
    const LabelImage points(grid, LabelImage::Extent::Point);
    EXPECT_EQ(points.dataIndexAt(1, 1), 0);
    EXPECT_EQ(points.dataIndexAt(2, 1), 1);
    EXPECT_EQ(points.dataIndexAt(0, 0), -1);
}

TEST(LabelImage, OutsideNothingIsLabelled) {
    const SearchGrid grid = gridOver({{0, 0}}, 1.0);
    const LabelImage blocks(grid, LabelImage::Extent::Block);
    EXPECT_EQ(blocks.dataIndexAt(-1, 0), -1);
    EXPECT_EQ(blocks.dataIndexAt(0, 3), -1);
}

TEST(LabelImage, LabelsMoreThan65535Points) {
    std::vector<rxVector<2>> data(65536, rxVector<2>(0, 0));
    data.emplace_back(9, 0);
    const SearchGrid grid = gridOver(data, 1.0);
    const LabelImage points(grid, LabelImage::Extent::Point);
    EXPECT_EQ(points.dataIndexAt(1, 1), 65535);
    EXPECT_EQ(points.dataIndexAt(10, 1), 65536);
}

TEST(TranslationWindow, FullRangesReachEightPixelsBeyondTheData) {
    const rx_PointMatcherModel model = triangle();
    const SearchGrid grid = gridOver({{0, 0}, {10, 20}}, 1.0);
    // centre pixel (3, 2.5); image 13 x 23
    const auto window = translationWindow(grid, model, rxPointMatcherRunParams());
    ASSERT_TRUE(window);
    EXPECT_EQ(window->ul(), rxPair<long>(-11, -11));
    EXPECT_EQ(window->lr(), rxPair<long>(9 + 8, 20 + 8));
}

TEST(TranslationWindow, NormalRangesAreInModelUnitsRoundedOutwards) {
    rxPointMatcherRunParams params;
    params.xTranslationUncertainty(rxRange(-1.2, 1.0));
    params.yTranslationUncertainty(rxRange(2.0, 100.0));
    const auto window = translationWindow(gridOver({{0, 0}, {10, 20}}, 0.5), triangle(), params);
    ASSERT_TRUE(window);
    EXPECT_EQ(window->ul(), rxPair<long>(-3, 4));
    EXPECT_EQ(window->lr().x(), 2);
    EXPECT_EQ(window->lr().y(), 38 + 8);  // the far end is cut to the outer bound
}

TEST(TranslationWindow, OutsideTheDataThereIsNothingToTry) {
    rxPointMatcherRunParams params;
    params.xTranslationUncertainty(rxRange(100.0, 120.0));
    EXPECT_FALSE(translationWindow(gridOver({{0, 0}, {10, 20}}, 1.0), triangle(), params));
    params.xTranslationUncertainty(rxRange(1.0, -1.0));
    EXPECT_FALSE(translationWindow(gridOver({{0, 0}, {10, 20}}, 1.0), triangle(), params));
}

TEST(ScaleLattice, NoUncertaintyIsTheSingleScaleOne) {
    EXPECT_EQ(values(scaleLattice(rxRange(0.0, 0.0), triangle(), 0.75)), std::vector<double>{1.0});
}

TEST(ScaleLattice, StepIsOneAndAHalfGridSizesAtTheModelRadius) {
    // step 1.5 * 0.25 / 2.5 = 0.15; (0.4 / 0.15 truncated + 1) / 2 = 1 step to either side
    const Lattice scales = scaleLattice(rxRange(-0.2, 0.2), triangle(), 0.25);
    EXPECT_DOUBLE_EQ(scales.step, 0.15);
    EXPECT_DOUBLE_EQ(scales.low, 0.85);
    EXPECT_DOUBLE_EQ(scales.high, 1.15);
}

TEST(ScaleLattice, StartsAtOneTenthAndOnlyTheUpperEndStaysAbove) {
    const Lattice scales = scaleLattice(rxRange(-0.9, -0.8), triangle(), 0.25);
    // 0.1 to 0.2, centre 0.15, step 0.15, half (0 + 1) / 2 = 0: a single scale
    EXPECT_EQ(scales.low, scales.high);
    EXPECT_DOUBLE_EQ(scales.low, 0.15);
    const Lattice wide = scaleLattice(rxRange(-0.9, 0.0), triangle(), 0.5);
    EXPECT_LT(wide.low, 0.1);  // steps of 0.3 around 0.55 reach below
}

TEST(ScaleLattice, ModelWithoutExtentHasASingleScale) {
    EXPECT_EQ(values(scaleLattice(rxRange(-0.5, 0.5), coincident(), 1.0)),
              std::vector<double>{1.0});
}

TEST(RotationLattice, FullRangeIsSymmetricAndCoversAFullTurn) {
    for (const double gridSize : {0.75, 0.3, 0.1, 0.01}) {
        SCOPED_TRACE(gridSize);
        const Lattice lattice =
            rotationLattice(rxAngleRange::FullRange(), triangle(), 1.0, gridSize);
        EXPECT_EQ(lattice.low, -lattice.high);
        EXPECT_LE(lattice.low, -180.0);
        // Adding up may carry the last angle beyond the end; the first one, a turn away, covers it.
        const std::vector<double> angles = values(lattice);
        EXPECT_EQ(angles.front(), lattice.low);
        EXPECT_GE(angles.back(), angles.front() + 360.0 - lattice.step);
    }
}

TEST(RotationLattice, NarrowerThanAStepIsItsMiddle) {
    const double step = triangle().rotationStep_(1.0, 0.75);  // about 31 degrees
    const Lattice narrow = rotationLattice(degrees(10, 10 + 0.9 * step), triangle(), 1.0, 0.75);
    EXPECT_EQ(values(narrow).size(), 1U);
    EXPECT_NEAR(narrow.low, 10 + 0.45 * step, 1e-12);
    EXPECT_GT(values(rotationLattice(degrees(10, 10 + 1.1 * step), triangle(), 1.0, 0.75)).size(),
              1U);
}

TEST(RotationLattice, EndsOneStepBeyondTheLastWholeOne) {
    const Lattice angles = rotationLattice(degrees(-15, 15), triangle(), 1.0, 0.1);
    // step atan2(0.2, 2.5) = 4.57 degrees; 15 / 4.57 truncated + 1 = 4 steps
    EXPECT_NEAR(angles.high, 4 * angles.step, 1e-9);
    EXPECT_NEAR(angles.low, -4 * angles.step, 1e-9);
}

TEST(LatticeSize, AbsurdUncertaintiesAreRefused) {
    rxPointMatcherRunParams params;
    const char* message =
        "the uncertainty ranges are too wide for this gridSize: "
        "more than 2^31 pairs of scale and rotation would have to be tried\n";
    params.scaleUncertainty(rxRange(-0.5, 1e12));
    EXPECT_EQ(badParams([&] { checkLatticeSize(params, triangle(), 0.75); }), message);
    params.scaleUncertainty(rxRange(1e308, 1e308));
    EXPECT_EQ(badParams([&] { checkLatticeSize(params, triangle(), 0.75); }), message);
    params.scaleUncertainty(rxRange(-0.5, 1e5));
    params.rotationUncertainty(rxAngleRange::FullRange());
    EXPECT_EQ(badParams([&] { checkLatticeSize(params, triangle(), 1e-2); }), message);
}

TEST(LatticeSize, StepBelowOneUlpIsRefused) {
    rxPointMatcherRunParams params;
    params.scaleUncertainty(rxRange(0.0, 4e-16));
    EXPECT_NE(badParams([&] { checkLatticeSize(params, triangle(), 1e-17); }), "nothing thrown");
}

// Half an ulp is lost at even values only, so a test at the largest value alone would miss it.
TEST(LatticeSize, StepOfHalfAnUlpIsRefused) {
    rx_PointMatcherModel model;
    model.train({{-1.5, 0}, {1.5, 0}, {0, 0}});
    rxPointMatcherRunParams params;
    params.rotationUncertainty(degrees(0, 0));
    params.scaleUncertainty(rxRange(0.5 + 0x1p-52, 0.5 + 5 * 0x1p-52));
    EXPECT_NE(badParams([&] { checkLatticeSize(params, model, 0x1p-53); }), "nothing thrown");
}

TEST(ModelPixels, RoundHalvesAwayFromZero) {
    const SearchGrid grid = gridOver({{0, 0}, {10, 10}}, 1.0);
    std::vector<rxPair<long>> pixels;
    rx_PointMatcherModel model;
    model.train({{-3.5, 0}, {0.5, 0}, {1.5, 2.49}});
    modelPixels(grid, model, 1.0, 0.0, pixels);
    EXPECT_EQ(pixels, (std::vector<rxPair<long>>{{-3, 1}, {2, 1}, {3, 3}}));
}

TEST(ModelPixels, PointsOutside32BitsLieOutsideEveryImage) {
    EXPECT_EQ(nearestPixel(rxVector<2>(1e300, -1e300)), rxPair<long>(2147483647, -2147483648L));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(nearestPixel(rxVector<2>(nan, 5)), rxPair<long>(-2147483648L, -2147483648L));
}

}  // namespace
