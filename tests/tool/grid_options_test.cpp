#include "grid_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include "input_error.h"

using namespace ptmatch::tool;
using testing::StartsWith;

namespace {

using Points = std::vector<rxVector<2>>;

const Points kSquare = {{0, 0}, {10, 0}, {0, 10}, {10, 10}};

StepOptions parsed(const std::string& line) {
    CLI::App app;
    StepOptions options;
    addStepOptions(app, options);
    app.parse(line);
    return options;
}

std::string refusal(const std::string& line, bool staggered = false,
                    const Points& points = kSquare) {
    try {
        chooseSteps(parsed(line), points, staggered, "d.csv");
    } catch (const CLI::ParseError& error) {
        return error.what();
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

}  // namespace

TEST(GridOptions, GivenStepsAreTakenAsTheyAre) {
    const StepChoice choice =
        chooseSteps(parsed("--xv -25,1.5 --yv 1e-3,30"), kSquare, false, "d.csv");
    EXPECT_EQ(choice.steps.xv, rxVector<2>(-25, 1.5));
    EXPECT_EQ(choice.steps.yv, rxVector<2>(1e-3, 30));
    EXPECT_FALSE(choice.proposal.has_value());
}

TEST(GridOptions, OneStepAloneStandsAlone) {
    const StepChoice choice = chooseSteps(parsed("--yv 0,30"), kSquare, false, "d.csv");
    EXPECT_TRUE(choice.steps.xv.isNull());
    EXPECT_EQ(choice.steps.yv, rxVector<2>(0, 30));
    EXPECT_EQ(stepsText(choice.steps), "--yv 0,30");
}

TEST(GridOptions, ASquareGridNeedsOneStepOnly) {
    EXPECT_EQ(squared(parsed("--xv 24,7")).yv, rxVector<2>(-7, 24));
    EXPECT_EQ(squared(parsed("--yv -7,24")).xv, rxVector<2>(24, 7));
    EXPECT_EQ(squared(parsed("--xv 0,0 --yv -7,24")).xv, rxVector<2>(24, 7));
    EXPECT_EQ(squared(parsed("--xv 24,7 --yv 1,2")).yv, rxVector<2>(1, 2));
    EXPECT_FALSE(squared(StepOptions()).xv.has_value());
}

TEST(GridOptions, WithoutStepsTheyAreProposed) {
    const StepChoice choice = chooseSteps({}, kSquare, false, "d.csv");
    ASSERT_TRUE(choice.proposal.has_value());
    EXPECT_EQ(stepsText(choice.steps), "--xv 10,0 --yv 0,10");
}

TEST(GridOptions, StepsThatAreNoGridAreRefused) {
    EXPECT_EQ(refusal("--xv 0,0 --yv 0,0"), "--xv and --yv: at least one must be other than 0,0");
    EXPECT_EQ(refusal("--xv 0,0"), "--xv and --yv: at least one must be other than 0,0");
    EXPECT_EQ(refusal("--xv 3,4 --yv -6,-8"), "--xv and --yv are parallel");
    EXPECT_EQ(refusal("--xv 0.1,0.3 --yv 0.3,0.9"), "--xv and --yv are parallel");
    EXPECT_EQ(refusal("--xv 1e150,0 --yv 1e-150,0"), "--xv and --yv are parallel");
    EXPECT_EQ(refusal("--xv 1e140,0 --yv 0,1e-140"), "");
    EXPECT_EQ(refusal("--xv 10,0", true), "a staggered grid needs both --xv and --yv");
    EXPECT_EQ(refusal("--xv 1e-200,0 --yv 0,1"),
              "--xv: must have a length from 1e-150 to 1e150, found 1e-200");
    EXPECT_EQ(refusal("--xv 1,0 --yv 0,1e200"),
              "--yv: must have a length from 1e-150 to 1e150, found 1e+200");
}

TEST(GridOptions, TextThatIsNoPairIsRefusedByName) {
    for (const char* text : {"5", "1,", ",2", "1,2,3", "a,b", "1,nan", "inf,1", "full"}) {
        EXPECT_THAT(refusal("--xv " + std::string(text)),
                    StartsWith("--xv: expected X,Y, found \""))
            << text;
    }
}

TEST(GridOptions, DataWithoutAGridAskForSteps) {
    EXPECT_EQ(refusal("", false, {{0, 0}, {10, 0}}),
              "d.csv: no grid is seen among the points; give --xv and --yv");
}
