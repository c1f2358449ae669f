// What the search counted, as a picture: colours, files, and the option of the tool.

#include "vote_picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "base64.h"
#include "colour_scale.h"
#include "raster_picture.h"
#include "tool_runner.h"
#include "vote_text.h"
#include "xml_check.h"

using namespace ptmatch::tool;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

double linearPart(std::uint8_t part) {
    const double shown = part / 255.0;
    return shown <= 0.04045 ? shown / 12.92 : std::pow((shown + 0.055) / 1.055, 2.4);
}

// L* of CIE 1976, 0 to 100.
double lightnessOf(const Rgb& colour) {
    const double luminance = 0.2126 * linearPart(colour.red) + 0.7152 * linearPart(colour.green) +
                             0.0722 * linearPart(colour.blue);
    return luminance > 0.008856 ? 116.0 * std::cbrt(luminance) - 16.0 : 903.3 * luminance;
}

// The pixels of a PNG file.
RasterPicture decoded(const std::string& png) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_memory(&image, png.data(), png.size()), 0);
    image.format = PNG_FORMAT_RGB;
    RasterPicture picture(image.width, image.height);
    EXPECT_NE(png_image_finish_read(&image, nullptr, &picture.at(0, 0), 0, nullptr), 0);
    return picture;
}

bool isSame(const Rgb& one, const Rgb& other) {
    return one.red == other.red && one.green == other.green && one.blue == other.blue;
}

// Votes 0 to 11 in three rows, of a model of 20; a pose in the last element.
VoteReport sampleVotes() {
    VoteReport report;
    report.isOfBestPose = true;
    report.image.width = 4;
    report.image.height = 3;
    for (int vote = 0; vote < 12; ++vote) report.image.votes.push_back(vote);
    report.image.firstStep = {-2, 5};
    report.image.step = 2.5;
    report.image.threshold = 6;
    report.image.highestPossible = 20;
    report.highestColumn = 3;
    report.highestRow = 2;
    report.poses = {{1, {3.25, 2.5}, 11}};
    return report;
}

}  // namespace

TEST(Base64, AgreesWithTheVectorsOfItsStandard) {
    EXPECT_EQ(base64Text(""), "");
    EXPECT_EQ(base64Text("f"), "Zg==");
    EXPECT_EQ(base64Text("fo"), "Zm8=");
    EXPECT_EQ(base64Text("foo"), "Zm9v");
    EXPECT_EQ(base64Text("foobar"), "Zm9vYmFy");
    EXPECT_EQ(base64Text("\xff\xfe\xfb"), "//77");
}

TEST(ColourScale, EqualStepsAreEqualStepsOfLightness) {
    for (int k = 0; k <= 100; ++k) {
        EXPECT_NEAR(lightnessOf(scaleColour(0.01 * k)), 6.0 + 0.88 * k, 1.0) << k;
    }
    EXPECT_TRUE(isSame(scaleColour(-1), scaleColour(0)));
    EXPECT_TRUE(isSame(scaleColour(2), scaleColour(1)));
    EXPECT_EQ(hexText({255, 9, 160}), "#ff09a0");
}

TEST(VotePicture, AVoteIsASquareOfItsColour) {
    const RasterPicture picture = decoded(votePng(sampleVotes()));
    ASSERT_EQ(picture.width(), 1000U);
    ASSERT_EQ(picture.height(), 750U);
    EXPECT_TRUE(isSame(picture.at(0, 0), scaleColour(0)));
    EXPECT_TRUE(isSame(picture.at(249, 249), scaleColour(0)));
    EXPECT_TRUE(isSame(picture.at(250, 0), scaleColour(1.0 / 11)));
    EXPECT_TRUE(isSame(picture.at(0, 250), scaleColour(4.0 / 11)));
    // The ring around the highest vote leaves its middle free.
    EXPECT_TRUE(isSame(picture.at(875, 625), scaleColour(1)));
}

TEST(VotePicture, APixelOfManyVotesIsTheHighest) {
    VoteReport report = sampleVotes();
    report.image.width = 4001;
    report.image.height = 1;
    report.image.votes.assign(4001, 0);
    report.image.votes[1000] = 9;
    report.highestColumn = 1000;
    report.highestRow = 0;
    report.poses.clear();
    const RasterPicture picture = decoded(votePng(report));
    ASSERT_EQ(picture.width(), 1334U);
    ASSERT_EQ(picture.height(), 1U);
    EXPECT_TRUE(isSame(picture.at(333, 0), scaleColour(1)));
    EXPECT_TRUE(isSame(picture.at(1200, 0), scaleColour(0)));
}

TEST(VotePicture, WithAxesItIsOneFileThatTellsTheFigures) {
    VoteReport report = sampleVotes();
    report.posesElsewhere = 2;
    const std::string svg = voteSvg(report, {});
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "image", ""), 1U);
    EXPECT_THAT(svg, HasSubstr("href=\"data:image/png;base64,iVBORw0KGgo"));
    EXPECT_EQ(countElements(svg, "circle", "marks"), 4U);
    EXPECT_THAT(svg, HasSubstr("<title>highest vote 11</title>"));
    EXPECT_THAT(svg, HasSubstr(">11 of 20<"));
    EXPECT_THAT(svg, HasSubstr(">2.50, 17.50<"));
    EXPECT_THAT(svg, HasSubstr("poses at other scales, rotations"));
}

TEST(VotePicture, TextTellsCornersAndMarks) {
    EXPECT_EQ(voteTable(sampleVotes()),
              "votes at scale 1.00000, rotation 0.000 deg against the start, nearest to the best "
              "pose: 4 x 3 translations, step 2.5, threshold 6\n\n"
              "             column   row  shift x       y   vote\n"
              " upper left       0     0   -5.000  12.500      0\n"
              "lower right       3     2    2.500  17.500     11\n"
              "    highest       3     2    2.500  17.500  11/20\n"
              "     pose 1    3.25  2.50    3.125  18.750     11\n");
}

TEST_F(Tool, ShowsTheVotesOfItsSearch) {
    const std::vector<std::string> needle = {"--model", PTMATCH_DATA_DIR "/demo_pick/model.csv",
                                             "--data", PTMATCH_DATA_DIR "/demo_pick/data.csv"};
    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), needle.begin(), needle.end());
        return more;
    };
    const Outcome shown = match(with({"--votes", "v.PNG"}));
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_EQ(shown.err, "");
    EXPECT_THAT(shown.out, HasSubstr("30/30\n\nvotes at scale 1.00000, rotation -5.115 deg"));
    EXPECT_THAT(shown.out, HasSubstr("\n    highest      91     48  533.153  334.023  30/30\n"));
    const RasterPicture picture = decoded(readFile(work() / "v.PNG"));
    EXPECT_EQ(picture.width(), 858U);
    EXPECT_EQ(picture.height(), 570U);

    const Outcome asJson = match(with({"--votes", "v.svg", "--json", "--min-coverage", "0.4"}));
    EXPECT_EQ(xmlFault(readFile(work() / "v.svg")), "");
    const json votes = json::parse(asJson.out)["votes"];
    EXPECT_EQ(votes["highest"]["vote"], 30);
    EXPECT_EQ(votes["choice"], "best pose");
    EXPECT_EQ(votes["poses"][0]["vote"], 30);
    EXPECT_EQ(votes["threshold"], 6);

    // Nothing is found: the place of the highest vote.
    const Outcome nothing = match({"--model", needle[1], "--data", needle[3], "--min-coverage",
                                   "0.9", "--start-rotation", "90", "--votes", "v.svg"});
    EXPECT_EQ(nothing.exitCode, 1);
    EXPECT_THAT(nothing.out, HasSubstr(", where the highest vote stands: "));
}

TEST_F(Tool, RefusesVotesThatItCannotShow) {
    write("m.csv", "0,0\n10,0\n0,20\n30,5\n");
    write("two.csv", "0,0\n1,1\n");
    const auto refusal = [&](std::vector<std::string> more) {
        more.insert(more.begin(), {"--model", "m.csv", "--data", "m.csv"});
        return refusalBy("match", more);
    };
    EXPECT_THAT(refusal({"--votes", "v.jpg"}), HasSubstr("ends in .png or .svg, found \"v.jpg\""));
    EXPECT_THAT(refusal({"--votes", "v.png", "--exhaustive"}), HasSubstr("does not vote"));
    EXPECT_THAT(refusal({"--votes", "v.png", "--grid-size", "0.002"}),
                HasSubstr("too many for a picture; choose a --grid-size above 0.002"));
    EXPECT_THAT(refusal({"--votes", "v.svg", "--svg", "./v.svg"}), HasSubstr("the file of --svg"));
    EXPECT_THAT(refusal({"--frames", "--votes", "v.png"}), HasSubstr("--votes: "));
    const Outcome few =
        match({"--model", "m.csv", "--data", "two.csv", "--min-coverage", "1", "--votes", "v.png"});
    EXPECT_EQ(few.exitCode, 1);
    EXPECT_THAT(few.err, StartsWith("ptmatch: note: no votes were counted, and v.png is not"));
    EXPECT_THAT(filesInWork(), ElementsAre("m.csv", "two.csv"));
}
