#include "run_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <sstream>
#include <string>

#include "input_error.h"
#include "scale_note.h"

using namespace ptmatch::tool;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// The options after parsing `line`.
RunOptions parsed(const std::string& line) {
    CLI::App app;
    RunOptions options;
    addRunOptions(app, options);
    app.parse(line);
    return options;
}

rxPointMatcherRunParams paramsOf(const std::string& line) {
    return runParams(parsed(line));
}

// The message with which `line` is refused, by the parser or by the matcher.
std::string refusal(const std::string& line) {
    try {
        paramsOf(line);
    } catch (const CLI::ParseError& error) {
        return error.what();
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

double degrees(const rxRadian& angle) {
    return rxDegree(angle).toDouble();
}

}  // namespace

TEST(RunOptions, WithoutOptionsTheParametersAreTheDefaultOnes) {
    EXPECT_TRUE(paramsOf("") == rxPointMatcherRunParams());
}

TEST(RunOptions, EveryParameterHasItsOption) {
    const rxPointMatcherRunParams params = paramsOf(
        "--min-coverage 0.75 --start-x 3 --start-y -4 --start-rotation 90 --start-scale 2 "
        "--rotation -20,30 --scale -0.1,0.2 --x-translation -5,6 --y-translation 7,8 "
        "--grid-size 1.5 --capture-range 2.5 --max-results 9");
    EXPECT_EQ(params.minCoverage(), 0.75);
    EXPECT_EQ(params.startPose().trans(), rxVector<2>(3, -4));
    EXPECT_NEAR(degrees(params.startPose().rotation()), 90.0, 1e-12);
    EXPECT_NEAR(params.startPose().xScale(), 2.0, 1e-12);
    EXPECT_NEAR(degrees(params.rotationUncertainty().start()), -20.0, 1e-12);
    EXPECT_NEAR(degrees(params.rotationUncertainty().end()), 30.0, 1e-12);
    EXPECT_TRUE(params.scaleUncertainty() == rxRange(-0.1, 0.2));
    EXPECT_TRUE(params.xTranslationUncertainty() == rxRange(-5, 6));
    EXPECT_TRUE(params.yTranslationUncertainty() == rxRange(7, 8));
    EXPECT_FALSE(params.autoGridSize());
    EXPECT_EQ(params.gridSize(), 1.5);
    EXPECT_FALSE(params.autoCaptureRange());
    EXPECT_EQ(params.captureRange(), 2.5);
    EXPECT_EQ(params.maxNumResults(), 9);
}

TEST(RunOptions, FullAllowsEverything) {
    const auto params = paramsOf("--rotation full --x-translation full --y-translation full");
    EXPECT_EQ(params.rotationUncertainty().range(), rxRangeDefs::Full);
    EXPECT_EQ(params.xTranslationUncertainty().range(), rxRangeDefs::Full);
    EXPECT_EQ(params.yTranslationUncertainty().range(), rxRangeDefs::Full);
}

TEST(RunOptions, AWholeTurnAllowsEveryRotation) {
    EXPECT_EQ(paramsOf("--rotation -180,180").rotationUncertainty().range(), rxRangeDefs::Full);
    EXPECT_EQ(paramsOf("--rotation 0,359").rotationUncertainty().range(), rxRangeDefs::Normal);
}

TEST(RunOptions, ValuesOutOfBoundsAreRefusedInTheWordsOfTheOptions) {
    EXPECT_EQ(refusal("--min-coverage 1.5"), "--min-coverage: must be from 0 to 1, found 1.5");
    EXPECT_EQ(refusal("--min-coverage -1"), "--min-coverage: must be from 0 to 1, found -1");
    EXPECT_EQ(refusal("--scale full"), "--scale: expected LO,HI, found \"full\"");
    EXPECT_EQ(refusal("--scale -0.95,0"), "--scale: LO must be at least -0.9, found -0.95");
    EXPECT_EQ(refusal("--grid-size 0"), "--grid-size: must be greater than 0, found 0");
    EXPECT_EQ(refusal("--capture-range -1"), "--capture-range: must not be negative, found -1");
    EXPECT_EQ(refusal("--max-results 0"), "--max-results: must be at least 1, found 0");
    EXPECT_EQ(refusal("--start-scale 0"), "--start-scale: must be greater than 0, found 0");
    EXPECT_EQ(refusal("--start-scale -1"), "--start-scale: must be greater than 0, found -1");
}

TEST(RunOptions, BoundsThemselvesAreAllowed) {
    EXPECT_EQ(paramsOf("--min-coverage 0").minCoverage(), 0.0);
    EXPECT_EQ(paramsOf("--min-coverage 1").minCoverage(), 1.0);
    EXPECT_TRUE(paramsOf("--scale -0.9,0").scaleUncertainty() == rxRange(-0.9, 0.0));
    EXPECT_EQ(paramsOf("--max-results 2147483647").maxNumResults(), 2147483647);
}

TEST(RunOptions, ACaptureRangeOfZeroIsAllowed) {
    EXPECT_EQ(paramsOf("--capture-range 0").captureRange(), 0.0);
}

TEST(RunOptions, TextThatIsNoNumberIsRefusedByName) {
    EXPECT_EQ(refusal("--min-coverage half"),
              "--min-coverage: expected a finite number, found \"half\"");
    EXPECT_EQ(refusal("--start-x nan"), "--start-x: expected a finite number, found \"nan\"");
    EXPECT_EQ(refusal("--grid-size inf"), "--grid-size: expected a finite number, found \"inf\"");
    EXPECT_EQ(refusal("--max-results 1.5"),
              "--max-results: expected a whole number, found \"1.5\"");
    EXPECT_EQ(refusal("--max-results 99999999999"),
              "--max-results: must be at most 2147483647, found 99999999999");
    EXPECT_EQ(refusal("--max-results 2147483648"),
              "--max-results: must be at most 2147483647, found 2147483648");
    EXPECT_EQ(refusal("--max-results -99999999999"),
              "--max-results: must be at least 1, found -99999999999");
}

TEST(RunOptions, IntervalsAreTwoNumbersInOrder) {
    for (const char* text : {"5", "1,", ",2", "1,2,3", "a,b", "1,nan", "Full"}) {
        EXPECT_THAT(refusal("--rotation " + std::string(text)),
                    HasSubstr("--rotation: expected LO,HI or full, found"))
            << text;
    }
    EXPECT_EQ(refusal("--rotation 2,1"),
              "--rotation: expected LO,HI with LO not above HI, found \"2,1\"");
}

TEST(RunOptions, ScaleWithoutTheExpectedOneIsNoted) {
    const auto noteOn = [](const std::string& range) {
        std::ostringstream notes;
        noteScaleElsewhere(parseInterval(range), notes);
        return notes.str();
    };
    EXPECT_THAT(noteOn("0.9,1.1"),
                StartsWith("ptmatch: note: --scale 0.9,1.1 tries scales 1.9 to 2.1 times the "));
    EXPECT_THAT(noteOn("-0.3,-0.1"), HasSubstr(" tries scales 0.7 to 0.9 times "));
    for (const char* usual : {"0,0", "-0.1,0.1", "0,0.5", "-0.5,0", "full"}) {
        EXPECT_EQ(noteOn(usual), "") << usual;
    }
}

TEST(RunOptions, UnknownOptionsAreRefused) {
    EXPECT_THAT(refusal("--angle 3"), HasSubstr("--angle"));
}
