// The command grid-map as its users meet it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tool_runner.h"
#include "xml_check.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string kPlate = PTMATCH_DATA_DIR "/dots7x7/data.csv";
const std::string kStaggered = PTMATCH_DATA_DIR "/dots_staggered/data.csv";

// 4 columns of 3 rows, 10 apart.
const std::string kSmallGrid =
    "0,0\n10,0\n20,0\n30,0\n0,10\n10,10\n20,10\n30,10\n0,20\n10,20\n20,20\n30,20\n";

class GridMapTool : public Tool {
  protected:
    Outcome gridMap(const std::vector<std::string>& options) const {
        return run("grid-map", options);
    }
    std::string refusal(const std::vector<std::string>& options) const {
        return refusalBy("grid-map", options);
    }
};

json truthOf(const std::string& plate) {
    return json::parse(readFile(PTMATCH_DATA_DIR "/" + plate + "/truth.json"))["grid"];
}

}  // namespace

TEST_F(GridMapTool, PlacesTheDotsOfAPhotographWithoutOptions) {
    const Outcome outcome = gridMap({"--data", kPlate});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, StartsWith("91 points: 49 placed in "));
    EXPECT_THAT(outcome.out, HasSubstr("\nsteps proposed from the data, 38 of 91 points agree: "
                                       "--xv 23.46,-13.03 --yv 13.11,23.46\n"));
    EXPECT_EQ(outcome.err, "");
}

TEST_F(GridMapTool, PositionsAreTheTrueOnes) {
    // The truth counts from the same corner, in the same directions.
    Outcome outcome = gridMap({"--data", kPlate, "--json"});
    EXPECT_EQ(json::parse(outcome.out)["map"], truthOf("dots7x7"));
    outcome = gridMap({"--data", kStaggered, "--staggered", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(json::parse(outcome.out)["map"], truthOf("dots_staggered"));
}

TEST_F(GridMapTool, WritesTableAndPictureOfEveryPoint) {
    const Outcome outcome =
        gridMap({"--data", kPlate, "--csv", "dots.csv", "--svg", "dots.svg", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(filesInWork(), ElementsAre("dots.csv", "dots.svg"));
    const std::string svg = readFile(work() / "dots.svg");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "data-placed"), 49U);
    EXPECT_EQ(countElements(svg, "circle", "data-unplaced"), 42U);
    const std::string csv = readFile(work() / "dots.csv");
    EXPECT_THAT(csv, StartsWith("x,y,i,j\n"));
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 92);
    // The table is one of points, too.
    EXPECT_EQ(json::parse(gridMap({"--data", "dots.csv", "--json"}).out)["map"],
              json::parse(outcome.out)["map"]);
}

TEST_F(GridMapTool, GivenStepsDecideTheDirectionsOfThePositions) {
    write("d.csv", kSmallGrid);
    const auto map = [&](const std::vector<std::string>& steps) {
        std::vector<std::string> options = {"--data", "d.csv", "--json"};
        options.insert(options.end(), steps.begin(), steps.end());
        return json::parse(gridMap(options).out)["map"];
    };
    EXPECT_EQ(map({"--xv", "10,0", "--yv", "0,10"})[1], json({1, 0}));
    EXPECT_EQ(map({"--xv", "-10,0", "--yv", "0,-10"})[1], json({2, 2}));
    EXPECT_EQ(map({"--xv", "0,10", "--yv", "-10,0"})[1], json({0, 2}));
    EXPECT_EQ(map({"--xv", "0,-10", "--yv", "10,0"})[1], json({2, 1}));
}

TEST_F(GridMapTool, EveryOptionReachesTheParameters) {
    write("d.csv", kSmallGrid);
    const Outcome outcome =
        gridMap({"--data", "d.csv", "--xv", "9,0", "--yv", "0,10.5", "--snap", "1.5", "--size-tol",
                 "0.7,1.3", "--angle-tol", "full", "--keep-all", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(json::parse(outcome.out)["parameters"], json::parse(R"({
        "steps": {"xv": [9.0, 0.0], "yv": [0.0, 10.5], "proposed": false}, "staggered": false,
        "snap": 1.5, "size_tol": [0.7, 1.3], "angle_tol_deg": "full", "keep_all": true})"));
}

TEST_F(GridMapTool, NothingPlacedIsCodeOneWithTheReasonAndStillDrawn) {
    write("d.csv", kSmallGrid);
    const Outcome outcome = gridMap({"--data", "d.csv", "--xv", "50,0", "--yv", "0,50", "--svg",
                                     "none.svg", "--csv", "none.csv"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, StartsWith("12 points: no grid found ("));
    EXPECT_THAT(outcome.out, EndsWith("steps as given: --xv 50,0 --yv 0,50\n"));
    EXPECT_EQ(outcome.err,
              "ptmatch: note: no two neighbours are as far apart as --size-tol allows around the "
              "steps; the nearest neighbour of a point is typically 10 away\n");
    EXPECT_THAT(readFile(work() / "none.svg"), HasSubstr("No grid found"));
    EXPECT_THAT(readFile(work() / "none.csv"), StartsWith("x,y,i,j\n0,0,,\n10,0,,\n"));
}

TEST_F(GridMapTool, ExactSizesAreNamedAsTheReason) {
    write("d.csv", "0,0\n10.1,0\n20,0.1\n0,9.9\n10,10\n20.1,10\n");
    const Outcome outcome =
        gridMap({"--data", "d.csv", "--xv", "10,0", "--yv", "0,10", "--size-tol", "1,1"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("--size-tol allows one exact distance only"));
}

TEST_F(GridMapTool, AGridOfStepsThatWereNotAllowedIsPointedOut) {
    const Outcome outcome = gridMap({"--data", kPlate, "--size-tol", "1.8,2.2"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, StartsWith("91 points: 49 placed in "));
    EXPECT_THAT(outcome.err, StartsWith("ptmatch: note: neighbours of the grid found are 1."));
    EXPECT_THAT(outcome.err, EndsWith(" of the given step apart, which --size-tol does not allow: "
                                      "are the steps right?\n"));
    EXPECT_EQ(gridMap({"--data", kPlate, "--size-tol", "full"}).err, "");
}

TEST_F(GridMapTool, BadInputIsNamedAndCodeTwo) {
    write("d.csv", kSmallGrid);
    write("two.csv", "0,0\n5,0\n");
    write("empty.csv", "x,y\n");
    write("bad.csv", "1,2\n3,x\n");
    EXPECT_THAT(refusal({}), StartsWith("ptmatch: --data is required\n"));
    EXPECT_EQ(refusal({"--data", "none.csv"}),
              "ptmatch: none.csv: cannot be opened: No such file or directory\n");
    EXPECT_EQ(refusal({"--data", "empty.csv"}), "ptmatch: empty.csv: holds no points\n");
    EXPECT_THAT(refusal({"--data", "bad.csv"}), StartsWith("ptmatch: bad.csv:2: "));
    EXPECT_EQ(refusal({"--data", "two.csv"}),
              "ptmatch: two.csv: no grid is seen among the points; give --xv and --yv\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--xv", "3,4", "--yv", "6,8"}),
              "ptmatch: --xv and --yv are parallel\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--xv", "0,0", "--yv", "0,0"}),
              "ptmatch: --xv and --yv: at least one must be other than 0,0\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--staggered", "--xv", "3,4"}),
              "ptmatch: a staggered grid needs both --xv and --yv\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--snap", "-1"}),
              "ptmatch: --snap: must not be negative, found -1\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--size-tol", "-0.1,1"}),
              "ptmatch: --size-tol: LO must not be negative, found -0.1\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--angle-tol", "0,1e9"}),
              "ptmatch: --angle-tol: must be within -1000 to 1000 degrees\n");
    EXPECT_THAT(refusal({"--data", "d.csv", "--xv", "3"}),
                StartsWith("ptmatch: --xv: expected X,Y, found \"3\""));
    EXPECT_THAT(refusal({"--data", "d.csv", "--size-tol", "2,1"}),
                StartsWith("ptmatch: --size-tol: expected LO,HI with LO not above HI"));
    EXPECT_THAT(refusal({"--data", "d.csv", "--no-such-option"}), HasSubstr("--no-such-option"));
}

TEST_F(GridMapTool, OutputsSpareTheDataAndEachOther) {
    write("d.csv", kSmallGrid);
    EXPECT_EQ(refusal({"--data", "d.csv", "--csv", "d.csv"}),
              "ptmatch: --csv: d.csv is the table of the data; choose another file\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--svg", "./d.csv"}),
              "ptmatch: --svg: ./d.csv is the table of the data; choose another file\n");
    EXPECT_EQ(refusal({"--data", "d.csv", "--csv", "a", "--svg", "./a"}),
              "ptmatch: --svg: ./a is the file of --csv; choose another file\n");
    EXPECT_EQ(readFile(work() / "d.csv"), kSmallGrid);
}

TEST_F(GridMapTool, OutputThatCannotBeWrittenLeavesNothing) {
    write("d.csv", kSmallGrid);
    EXPECT_THAT(refusal({"--data", "d.csv", "--csv", "a.csv", "--svg", "no/folder/a.svg"}),
                HasSubstr("no/folder/a.svg: cannot be written: No such file or directory"));
    EXPECT_THAT(filesInWork(), ElementsAre("d.csv"));
    const Outcome full =
        runProgram({"/bin/sh", "-c",
                    std::string(PTMATCH_TOOL) + " grid-map --data d.csv --csv a.csv >/dev/full"});
    EXPECT_EQ(full.exitCode, 2);
    EXPECT_EQ(full.err, "ptmatch: the results cannot be written to standard output\n");
    EXPECT_THAT(filesInWork(), ElementsAre("d.csv"));
}

TEST_F(GridMapTool, HelpNamesEveryOption) {
    const Outcome help = gridMap({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option :
         {"--data", "--json", "--csv", "--svg", "--y-up", "--xv", "--yv", "--staggered", "--snap",
          "--size-tol", "--angle-tol", "--keep-all"}) {
        EXPECT_THAT(help.out, HasSubstr(option));
    }
    EXPECT_THAT(runProgram({PTMATCH_TOOL, "--help"}).out, HasSubstr("grid-map"));
}
