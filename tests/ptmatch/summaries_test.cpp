#include "ptmatch/summaries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>
#include <string>

#include "ptmatch/addition_world.h"
#include "support/archive_bytes.h"
#include "support/pattern_pictures.h"

namespace {

using namespace ptmatch::testing;
using Defs = rxPointMatcherDefs;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

template <class T>
std::string printed(const T& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

TEST(Summaries, OfParametersNameEachOfThem) {
    EXPECT_EQ(printed(rxPointMatcherRunParams()),
              "coverage       0.5 or more\n"
              "start pose     identity\n"
              "x translation  any\n"
              "y translation  any\n"
              "rotation       -15 to 15 deg\n"
              "scale          0 %\n"
              "grid size      automatic\n"
              "capture range  automatic\n"
              "results        1 at most");
}

TEST(Summaries, OfParametersTellWhatWasSet) {
    rxPointMatcherRunParams params(0.8);
    params.startPose(poseAt(10.5, -20, 30, 2));
    params.yTranslationUncertainty(rxRange(-5, 5.25));
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.scaleUncertainty(rxRange(-0.1, 0.2));
    params.autoGridSize(false);
    params.gridSize(0.75);
    params.autoCaptureRange(false);
    params.captureRange(3);
    params.maxNumResults(12);
    EXPECT_EQ(printed(params),
              "coverage       0.8 or more\n"
              "start pose     at (10.5, -20), rotation 30 deg, scale 2\n"
              "x translation  any\n"
              "y translation  -5 to 5.25\n"
              "rotation       any\n"
              "scale          -10 to 20 %\n"
              "grid size      0.75\n"
              "capture range  3\n"
              "results        12 at most");
}

TEST(Summaries, OfPosesThatAreNoSimilarityShowTheMatrix) {
    rxPointMatcherRunParams params;
    params.startPose(rxXform<2>(rxMatrix<2>(1, 0.5, 0, 2), {0, 7}));
    EXPECT_THAT(printed(params), HasSubstr("at (0, 7), matrix (1, 0.5) (0, 2)\n"));
}

TEST(Summaries, OfAResultAreOneLine) {
    Points data = mapped(poseAt(100, 50, 5), tenPoints());
    data.pop_back();
    const rxPointMatcherResultSet found = foundIn(data, trainedOnPoints(tenPoints()));
    const std::string line = printed(found.results().at(0));
    EXPECT_THAT(line, StartsWith("coverage 0.9 (9 matched), fit error "));
    EXPECT_THAT(line, HasSubstr(", at (100, 50), rotation 5 deg, scale 1"));
    EXPECT_THAT(line, Not(HasSubstr("\n")));
}

TEST(Summaries, OfResultsNumberThem) {
    EXPECT_EQ(printed(rxPointMatcherResultSet()), "0 results in 0 s");
    const rxPointMatcherResultSet found = foundIn(tenPoints(), trainedOnPoints(tenPoints()));
    EXPECT_THAT(printed(found), StartsWith("1 result in "));
    EXPECT_THAT(printed(found), HasSubstr(" s\n  1  " + printed(found.results().at(0))));
}

TEST(Summaries, OfGridResultsLeaveTheNumberOfPointsOut) {
    const Picture plate = {"####", "####", "####"};
    rxPointMatcherRunParams params(0.9);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    const rxPointMatcherResultSet found =
        foundIn(dotsOf(plate, gridOf({25, 0}, {0, 25})),
                trainedOn(imageOf(plate, gridOf({25, 0}, {0, 25}))), params);
    EXPECT_THAT(printed(found.results().at(0)), StartsWith("coverage 1, fit error "));
}

TEST(Summaries, OfAResultThatWasRecordedWithNoModeAreALineToo) {
    ByteVector bytes = stored(foundIn(tenPoints(), trainedOnPoints(tenPoints())).results().at(0));
    constexpr std::size_t kPlaceOfMode = 4;  // after the version
    ASSERT_EQ(bytes.at(kPlaceOfMode), Defs::ePointToPoint);
    bytes[kPlaceOfMode] = 9;
    EXPECT_THAT(printed(loaded<rxPointMatcherResult>(bytes)), StartsWith("coverage 1, fit error "));
}

TEST(Summaries, DoNotDependOnTheStreamNorChangeIt) {
    std::ostringstream stream;
    stream << std::hex << std::scientific << std::setprecision(2) << std::showpos;
    const auto flags = stream.flags();
    stream << rxPointMatcherRunParams();
    EXPECT_EQ(stream.str(), printed(rxPointMatcherRunParams()));
    EXPECT_EQ(stream.flags(), flags);
    EXPECT_EQ(stream.precision(), 2);
}

}  // namespace
