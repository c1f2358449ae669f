// The tool as its users meet it: a program that reads files, prints, draws and ends with a code.

#include "tool_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "xml_check.h"

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string kNeedleModel = PTMATCH_DATA_DIR "/demo_pick/model.csv";
const std::string kNeedleData = PTMATCH_DATA_DIR "/demo_pick/data.csv";
const std::string kStarsModel = PTMATCH_DATA_DIR "/beehive/model.csv";
const std::string kStarsData = PTMATCH_DATA_DIR "/beehive/data.csv";

// How many entries of the best map agree with the truth of the scene, and where they do not.
struct Agreement {
    std::size_t truePairs = 0;   // pairs of the truth that were found
    std::size_t otherPairs = 0;  // pairs that the truth does not have
};

Agreement compareWithTruth(const json& found, const std::string& scene) {
    const json truth = json::parse(readFile(PTMATCH_DATA_DIR "/" + scene + "/truth.json"));
    const auto expected = truth["map"].get<std::vector<long>>();
    const auto map = found["results"].at(0)["map"].get<std::vector<long>>();
    EXPECT_EQ(map.size(), expected.size());
    Agreement agreement;
    for (std::size_t i = 0; i < std::min(map.size(), expected.size()); ++i) {
        if (map[i] < 0) continue;
        ++(map[i] == expected[i] ? agreement.truePairs : agreement.otherPairs);
    }
    return agreement;
}

}  // namespace

TEST_F(Tool, FindsTheNeedleInTheHaystackWithoutOptions) {
    const Outcome outcome = match({"--model", kNeedleModel, "--data", kNeedleData});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, StartsWith("30 model points, 286 data points: 1 pose found in "));
    EXPECT_THAT(outcome.out, EndsWith("30/30\n"));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Tool, JsonIsParsedAndAgreesWithTheTruth) {
    const Outcome outcome = match({"--model", kNeedleModel, "--data", kNeedleData, "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const json found = json::parse(outcome.out);
    const json truth = json::parse(readFile(PTMATCH_DATA_DIR "/demo_pick/truth.json"));
    ASSERT_EQ(found["results"].size(), 1U);
    EXPECT_EQ(found["results"][0]["map"], truth["map"]);
    EXPECT_EQ(found["results"][0]["matched"], 30);
    // Both are least-squares similarities over the same pairs; the truth is written with 7 digits.
    EXPECT_NEAR(found["results"][0]["rotation_deg"], truth["rotation_deg"], 1e-3);
    EXPECT_NEAR(found["results"][0]["scale"], truth["scale"], 1e-5);
    EXPECT_NEAR(found["results"][0]["fit_error"], truth["similarity_rms"], 1e-3);
}

TEST_F(Tool, PictureHoldsEveryPoint) {
    const Outcome outcome =
        match({"--model", kNeedleModel, "--data", kNeedleData, "--svg", "needle.svg", "--y-up"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(filesInWork(), testing::ElementsAre("needle.svg"));
    const std::string svg = readFile(work() / "needle.svg");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "data-unmatched"), 256U);
    EXPECT_EQ(countElements(svg, "circle", "data-matched"), 30U);
    EXPECT_EQ(countElements(svg, "circle", "model-matched"), 30U);
    EXPECT_EQ(countElements(svg, "line", "correspondence"), 30U);
    EXPECT_EQ(countElements(svg, "circle", "model"), 30U);
}

TEST_F(Tool, DemonstrationFindsWhatTheTruthSays) {
    const Outcome outcome =
        runProgram({PTMATCH_SOURCE_DIR "/examples/demo.sh", PTMATCH_TOOL, "demo"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr(" 30/30\n"));
    EXPECT_THAT(outcome.out, HasSubstr(" 65/66\n"));
    const auto found = [&](const std::string& scene) {
        EXPECT_EQ(xmlFault(readFile(work() / "demo" / (scene + ".svg"))), "");
        return json::parse(readFile(work() / "demo" / (scene + ".json")));
    };
    const Agreement needle = compareWithTruth(found("demo_pick"), "demo_pick");
    EXPECT_EQ(needle.truePairs, 30U);

    const json board = found("versa64");
    EXPECT_EQ(compareWithTruth(board, "versa64").truePairs, 65U);
    EXPECT_EQ(compareWithTruth(board, "versa64").otherPairs, 0U);
    EXPECT_NEAR(board["results"][0]["fit_error"], 0.508, 0.001);

    const json stars = found("beehive");
    EXPECT_EQ(compareWithTruth(stars, "beehive").truePairs, 190U);
    EXPECT_EQ(compareWithTruth(stars, "beehive").otherPairs, 0U);

    const json truth = json::parse(readFile(PTMATCH_DATA_DIR "/dots7x7/truth.json"));
    EXPECT_EQ(found("dots7x7")["map"], truth["grid"]);
    EXPECT_EQ(found("dots_staggered")["results"][0]["matched"], 25);
}

TEST_F(Tool, ExhaustiveSearchFindsASmallPattern) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    write("d.csv", "100,100\n110,100\n100,120\n155,155\n");
    const Outcome outcome =
        match({"--model", "m.csv", "--data", "d.csv", "--exhaustive", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const json found = json::parse(outcome.out);
    EXPECT_EQ(found["results"][0]["map"], json({0, 1, 2}));
    EXPECT_EQ(found["results"][0]["coverage"], 1.0);
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Tool, ScaleTakenForAFactorIsNoted) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    EXPECT_THAT(match({"--model", "m.csv", "--data", "m.csv", "--scale", "0.9,1.1"}).err,
                StartsWith("ptmatch: note: --scale 0.9,1.1 tries scales 1.9 to 2.1 times"));
    EXPECT_THAT(match({"--model", "m.csv", "--data", "m.csv", "m.csv", "--scale", "1,1"}).err,
                StartsWith("ptmatch: note: --scale 1,1 tries scales 2 to 2 times"));
    EXPECT_THAT(run("grid-match", {"--pattern", PTMATCH_DATA_DIR "/dots_staggered/pattern.txt",
                                   "--data", "m.csv", "--scale", "1,1"})
                    .err,
                StartsWith("ptmatch: note: --scale 1,1 tries scales 2 to 2 times"));
}

TEST_F(Tool, WeightsOfTheModelCount) {
    // The third point carries nearly all of the weight and has no partner.
    write("m.csv", "x,y,weight\n0,0,1\n10,0,1\n0,20,98\n");
    write("d.csv", "0,0\n10,0\n70,70\n");
    EXPECT_EQ(match({"--model", "m.csv", "--data", "d.csv"}).exitCode, 1);
    write("m.csv", "0,0,1\n10,0,1\n0,20,1\n");
    EXPECT_EQ(match({"--model", "m.csv", "--data", "d.csv"}).exitCode, 0);
}

TEST_F(Tool, NothingFoundIsCodeOneAndStillDrawn) {
    write("d.csv", "0,0\n1000,0\n");
    const Outcome outcome =
        match({"--model", kNeedleModel, "--data", "d.csv", "--svg", "none.svg"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, StartsWith("30 model points, 2 data points: nothing found"));
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(readFile(work() / "none.svg"), HasSubstr("Nothing found"));
}

TEST_F(Tool, MalformedLinesAreNamedByFileAndLine) {
    write("m.csv", "x,y\n1,2\n3,abc\n");
    const Outcome outcome =
        match({"--model", "m.csv", "--data", kNeedleData, "--svg", "a.svg", "--json"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: m.csv:3: expected a number in column 2 (y), found \"abc\"\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(filesInWork(), testing::ElementsAre("m.csv"));
}

TEST_F(Tool, FilesThatCannotBeReadAreNamed) {
    Outcome outcome = match({"--model", "none.csv", "--data", kNeedleData});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: none.csv: cannot be opened: No such file or directory\n");
    outcome = match({"--model", kNeedleModel, "--data", "."});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: .: is a directory, expected a table of points\n");
    write("empty.csv", "");
    outcome = match({"--model", kNeedleModel, "--data", "empty.csv"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: empty.csv: holds no points\n");
}

TEST_F(Tool, ModelsThatCannotBeTrainedAreNamed) {
    write("m.csv", "0,0\n1,1\n");
    const Outcome outcome = match({"--model", "m.csv", "--data", kNeedleData});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_THAT(outcome.err, StartsWith("ptmatch: m.csv: "));
}

TEST_F(Tool, BadOptionsAreNamedAndCodeTwo) {
    const auto refusal = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"--model", kNeedleModel, "--data", kNeedleData});
        const Outcome outcome = match(options);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err;
    };
    EXPECT_EQ(refusal({"--min-coverage", "2"}),
              "ptmatch: --min-coverage: must be from 0 to 1, found 2\n");
    EXPECT_THAT(refusal({"--rotation", "5"}),
                StartsWith("ptmatch: --rotation: expected LO,HI or full"));
    EXPECT_THAT(refusal({"--svg", ""}), StartsWith("ptmatch: --svg: expected the name of a file"));
    EXPECT_THAT(refusal({"--no-such-option"}), HasSubstr("--no-such-option"));
    EXPECT_THAT(refusal({"--svg", "no/folder/a.svg"}),
                HasSubstr("no/folder/a.svg: cannot be written: No such file or directory"));
}

TEST_F(Tool, PictureNeverReplacesATableOfTheRun) {
    const std::string model = "0,0\n10,0\n0,20\n";
    const std::string data = "1,1\n11,1\n1,21\n";
    write("m.csv", model);
    write("d.csv", data);
    fs::create_symlink("m.csv", work() / "link.svg");
    const auto refusal = [&](const std::string& picture) {
        const Outcome outcome = match({"--model", "m.csv", "--data", "d.csv", "--svg", picture});
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err;
    };
    EXPECT_EQ(refusal("m.csv"),
              "ptmatch: --svg: m.csv is the table of the model; choose another file\n");
    EXPECT_EQ(refusal("./d.csv"),
              "ptmatch: --svg: ./d.csv is the table of the data; choose another file\n");
    EXPECT_EQ(refusal("link.svg"),
              "ptmatch: --svg: link.svg is the table of the model; choose another file\n");
    EXPECT_EQ(readFile(work() / "m.csv"), model);
    EXPECT_EQ(readFile(work() / "d.csv"), data);
}

TEST_F(Tool, UnknownOptionsAreNamedEvenWithoutTables) {
    EXPECT_THAT(match({"--no-such-option"}).err, HasSubstr("--no-such-option"));
    EXPECT_THAT(match({"--data", "d.csv"}).err, StartsWith("ptmatch: --model is required\n"));
    EXPECT_THAT(match({"--model", "m.csv"}).err, StartsWith("ptmatch: --data is required\n"));
}

TEST_F(Tool, MissingArgumentsAreCodeTwoAndHelpIsNot) {
    EXPECT_EQ(match({}).exitCode, 2);
    EXPECT_EQ(runProgram({PTMATCH_TOOL}).exitCode, 2);
    EXPECT_EQ(runProgram({PTMATCH_TOOL, "no-such-command"}).exitCode, 2);
    const Outcome help = match({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option : {"--model", "--data", "--json", "--svg", "--y-up", "--min-coverage",
                               "--start-x", "--start-y", "--start-rotation", "--start-scale",
                               "--rotation", "--scale", "--x-translation", "--y-translation",
                               "--grid-size", "--capture-range", "--max-results", "--exhaustive"}) {
        EXPECT_THAT(help.out, HasSubstr(option));
    }
}

TEST_F(Tool, FullOutputDeviceIsReported) {
    const Outcome outcome =
        runProgram({"/bin/sh", "-c",
                    std::string(PTMATCH_TOOL) + " match --model " + kNeedleModel + " --data " +
                        kNeedleData + " --svg o.svg >/dev/full"});
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: the results cannot be written to standard output\n");
    EXPECT_THAT(filesInWork(), testing::IsEmpty());
}

TEST_F(Tool, ReaderThatGoesEarlyIsReportedAndLeavesNoPicture) {
    // The reader ends at once; the program starts only after that.
    const Outcome outcome =
        runProgram({"/bin/sh", "-c",
                    "{ while test ! -e gone; do sleep 0.01; done; rm gone; sleep 0.1; " +
                        std::string(PTMATCH_TOOL) + " match --model " + kNeedleModel + " --data " +
                        kNeedleData + " --svg o.svg; echo $? >code; } | : >gone"});
    EXPECT_EQ(readFile(work() / "code"), "2\n");
    EXPECT_EQ(outcome.err, "ptmatch: the results cannot be written to standard output\n");
    EXPECT_THAT(filesInWork(), testing::ElementsAre("code"));
}

TEST_F(Tool, InterruptEndsALongSearchAndLeavesNoOutput) {
    // Cells of half a pixel, every rotation and a wide range of scales: many minutes of work.
    const Outcome outcome =
        interrupt({"--model", kStarsModel, "--data", kStarsData, "--rotation", "full", "--scale",
                   "-0.5,0.5", "--grid-size", "0.5", "--svg", "stars.svg"});
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "ptmatch: interrupted\n");
    EXPECT_THAT(filesInWork(), testing::IsEmpty());
}

TEST_F(Tool, InterruptEndsAnExhaustiveSearchThatNeverAsks) {
    std::string points;
    for (int i = 0; i < 20; ++i) {
        points += std::to_string(i * i) + "," + std::to_string(7 * i % 11) + "\n";
    }
    write("p.csv", points);
    const Outcome outcome = interrupt({"--model", "p.csv", "--data", "p.csv", "--exhaustive"});
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.out, "");
    // 21 choices for each of 20 points: 2.8e26.
    EXPECT_EQ(outcome.err,
              "ptmatch: note: --exhaustive will try about 3e+26 assignments; this may not end\n"
              "ptmatch: interrupted\n");
}
