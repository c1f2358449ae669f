// The command fit as its users meet it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tool_runner.h"
#include "xml_check.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string kPlate = PTMATCH_DATA_DIR "/oblique_plate/pairs.csv";

// x' = 2 x + 1, y' = 2 y - 1, and one pair that is off by 6 in y.
const std::string kPairs =
    "# marks\nax,ay,bx,by\n0,0,1,-1\n10,0,21,-1\n10,10,21,19\n0,10,1,19\n5,5,11,15\n2,7,5,13\n";

class FitTool : public Tool {
  protected:
    Outcome fit(const std::vector<std::string>& options) const { return run("fit", options); }
    std::string refusal(const std::vector<std::string>& options) const {
        return refusalBy("fit", options);
    }
};

}  // namespace

TEST_F(FitTool, PlateSeenObliquelyNeedsAPerspectiveTransform) {
    const auto residuals = [&](const std::string& model) {
        const Outcome outcome = fit({"--pairs", kPlate, "--model", model, "--json"});
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.err, "");
        return json::parse(outcome.out)["residuals"];
    };
    // Pixels; the table of docs/real_data.md has the same.
    EXPECT_NEAR(residuals("affine")["rms"], 18.295, 1e-3);
    EXPECT_NEAR(residuals("perspective")["rms"], 0.500, 1e-3);
    EXPECT_EQ(residuals("perspective")["worst"], json({{"pair", 71}, {"line", 72}}));
}

TEST_F(FitTool, DocumentationShowsWhatIsPrinted) {
    const std::string document = readFile(PTMATCH_SOURCE_DIR "/docs/tool.md");
    for (const std::string model : {"affine", "perspective"}) {
        const std::string out = fit({"--pairs", kPlate, "--model", model}).out;
        std::string shown;
        for (std::size_t begin = 0; begin < out.size();) {
            const std::size_t end = out.find('\n', begin);
            if (end > begin) shown += "    " + out.substr(begin, end - begin);
            shown += "\n";
            begin = end + 1;
        }
        EXPECT_THAT(document, HasSubstr(shown));
    }
}

TEST_F(FitTool, TextTellsParametersResidualsAndTheWorstPair) {
    write("p.csv", kPairs);
    const Outcome outcome = fit({"--pairs", "p.csv", "--model", "similarity", "--residuals"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err,
              "ptmatch: warning: pair 5 (line 7) is 6 off where the others take it, which have "
              "errors of 0: is it wrong?\n");
    EXPECT_THAT(outcome.out,
                StartsWith("similarity fitted to 6 pairs (12 equations, 4 unknowns)\n\na to b "));
    EXPECT_THAT(outcome.out, HasSubstr("residual (RMS)  largest  of pair  in line  "));
    EXPECT_THAT(outcome.out, HasSubstr("\npair  line "));
    const json found =
        json::parse(fit({"--pairs", "p.csv", "--model", "similarity", "--json"}).out);
    EXPECT_EQ(found["residuals"]["worst"], json({{"pair", 5}, {"line", 7}}));
}

TEST_F(FitTool, WritesTableAndPictureOfEveryPair) {
    const Outcome outcome = fit({"--pairs", kPlate, "--model", "perspective", "--csv", "r.csv",
                                 "--svg", "r.svg", "--y-up"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(filesInWork(), ElementsAre("r.csv", "r.svg"));
    const std::string svg = readFile(work() / "r.svg");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "line", "residuals"), 80U);
    // The table is one of pairs, too.
    const auto transform = [&](const std::string& table) {
        return json::parse(
            fit({"--pairs", table, "--model", "perspective", "--json"}).out)["a_to_b"];
    };
    EXPECT_EQ(transform("r.csv"), transform(kPlate));
}

TEST_F(FitTool, ReadsStandardInput) {
    write("p.csv", kPairs);
    const Outcome outcome = runProgram(
        {"/bin/sh", "-c",
         std::string(PTMATCH_TOOL) + " fit --model affine --pairs /dev/stdin --json <p.csv"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(json::parse(outcome.out)["pairs"]["count"], 6);
}

TEST_F(FitTool, FitsPairsOfSpace) {
    // A quarter turn about z, and (1, 2, 3).
    write("p.csv", "0,0,0,1,2,3\n1,0,0,1,3,3\n0,2,0,-1,2,3\n0,0,4,1,2,7\n1,1,1,0,3,4\n");
    for (const std::string model : {"rigid3d", "similarity3d"}) {
        const Outcome outcome = fit({"--pairs", "p.csv", "--model", model, "--json"});
        EXPECT_EQ(outcome.exitCode, 0);
        const json there = json::parse(outcome.out)["a_to_b"];
        EXPECT_NEAR(there["rotation_deg"], 90.0, 1e-12);
        EXPECT_NEAR(there["axis"][2], 1.0, 1e-15);
        EXPECT_NEAR(there["scale"], 1.0, 1e-15);
        EXPECT_NEAR(there["translation"][1], 2.0, 1e-14);
    }
    const Outcome outcome = fit({"--pairs", "p.csv", "--model", "affine3d"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, StartsWith("affine3d fitted to 5 pairs (15 equations, 12 unknowns)"));
}

TEST_F(FitTool, WarningsGoToStandardErrorAndTheCodeStays) {
    write("p.csv", "0,0,0,0\n10,0,10,0\n20,0.1,20,0.1\n");
    const Outcome outcome = fit({"--pairs", "p.csv", "--model", "affine"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, StartsWith("ptmatch: warning: the pairs barely determine affine: the "
                                        "points a lie nearly on one line ("));
    EXPECT_THAT(outcome.err, HasSubstr("\nptmatch: warning: 3 pairs are the fewest for affine: "));
    EXPECT_THAT(outcome.out, StartsWith("affine fitted to 3 pairs"));
    write("space.csv", "ax,ay,az,bx,by,bz\n0,0,1,0,0,1\n1,0,2,1,0,3\n0,1,5,0,1,7\n");
    EXPECT_EQ(fit({"--pairs", "space.csv", "--model", "similarity"}).err,
              "ptmatch: note: similarity is a model of the plane: the columns az and bz are not "
              "used\n");
}

TEST_F(FitTool, BadInputIsNamedAndCodeTwo) {
    write("p.csv", kPairs);
    write("bad.csv", "1,2,3,4\n1,2,x,4\n");
    write("few.csv", "1,2,3,4\n1,2,5,4\n");
    write("line.csv", "0,0,0,0\n1,1,1,2\n2,2,2,4\n3,3,3,7\n");
    write("large.csv", "0,0,0,0\n1,1,1,2\n2,2,2,4e299\n3,3,3,7\n");
    EXPECT_EQ(refusal({"--pairs", "bad.csv", "--model", "affine"}),
              "ptmatch: bad.csv:2: expected a number in column 3 (bx), found \"x\"\n");
    EXPECT_EQ(refusal({"--pairs", "few.csv", "--model", "affine"}),
              "ptmatch: few.csv: affine needs at least 3 pairs, found 2\n");
    EXPECT_EQ(refusal({"--pairs", "line.csv", "--model", "affine"}),
              "ptmatch: line.csv: affine cannot be fitted: the points a lie on one line; for "
              "points on one line, take similarity or rigid\n");
    EXPECT_EQ(refusal({"--pairs", "large.csv", "--model", "rigid"}),
              "ptmatch: large.csv:3: coordinates must be within 1e150\n");
    EXPECT_THAT(refusal({"--pairs", "p.csv", "--model", "rigid3d"}),
                StartsWith("ptmatch: p.csv:2: the header names no column az "));
    EXPECT_EQ(refusal({"--pairs", "none.csv", "--model", "affine"}),
              "ptmatch: none.csv: cannot be opened: No such file or directory\n");
    EXPECT_THAT(refusal({"--pairs", "p.csv", "--model", "cubic"}),
                StartsWith("ptmatch: --model: expected one of rigid, similarity, affine, "
                           "perspective, rigid3d, similarity3d, affine3d, found \"cubic\""));
    EXPECT_THAT(refusal({"--model", "affine"}), StartsWith("ptmatch: --pairs is required\n"));
    EXPECT_THAT(refusal({"--pairs", "p.csv"}), StartsWith("ptmatch: --model is required\n"));
    EXPECT_THAT(refusal({"--no-such-option"}), HasSubstr("--no-such-option"));
    EXPECT_EQ(refusal({"--pairs", "p.csv", "--model", "rigid3d", "--svg", "a.svg"}),
              "ptmatch: --svg: there is no picture of rigid3d, a model of space\n");
}

TEST_F(FitTool, OutputsSpareThePairsAndEachOther) {
    write("p.csv", kPairs);
    const auto refusalOf = [&](const std::vector<std::string>& outputs) {
        std::vector<std::string> options = {"--pairs", "p.csv", "--model", "affine"};
        options.insert(options.end(), outputs.begin(), outputs.end());
        return refusal(options);
    };
    EXPECT_EQ(refusalOf({"--csv", "./p.csv"}),
              "ptmatch: --csv: ./p.csv is the table of the pairs; choose another file\n");
    EXPECT_EQ(refusalOf({"--csv", "a", "--svg", "./a"}),
              "ptmatch: --svg: ./a is the file of --csv; choose another file\n");
    EXPECT_THAT(refusalOf({"--csv", "a.csv", "--svg", "no/folder/a.svg"}),
                HasSubstr("no/folder/a.svg: cannot be written: No such file or directory"));
    EXPECT_THAT(filesInWork(), ElementsAre("p.csv"));
    EXPECT_EQ(readFile(work() / "p.csv"), kPairs);
    const Outcome full = runProgram(
        {"/bin/sh", "-c",
         std::string(PTMATCH_TOOL) + " fit --pairs p.csv --model affine --csv a.csv >/dev/full"});
    EXPECT_EQ(full.exitCode, 2);
    EXPECT_THAT(full.err,
                testing::EndsWith("ptmatch: the results cannot be written to standard output\n"));
    EXPECT_THAT(filesInWork(), ElementsAre("p.csv"));
}

TEST_F(FitTool, HelpNamesEveryOptionAndGivesExamples) {
    const Outcome help = fit({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* text : {"--pairs", "--model", "--json", "--residuals", "--csv", "--svg",
                             "--y-up", "similarity3d", "Examples:"}) {
        EXPECT_THAT(help.out, HasSubstr(text));
    }
    EXPECT_THAT(runProgram({PTMATCH_TOOL, "--help"}).out, HasSubstr("\n  fit "));
}
