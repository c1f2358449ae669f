// The command grid-match as its users meet it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "tool_runner.h"
#include "xml_check.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string kFolder = PTMATCH_DATA_DIR "/dots_staggered";

// A plate of 8 x 6 dots with three of them missing, so that it looks alike from no other side.
const std::vector<std::string> kPlate = {"xxxxxxxx", "x.xxxxxx", "xxxxxxxx",
                                         "xxxx.xxx", "x.xxxxxx", "xxxxxxxx"};

// The rows as a file, with an empty margin.
std::string withMargin(const std::vector<std::string>& rows, std::size_t left, std::size_t top) {
    std::string text(top, '\n');
    for (const std::string& row : rows) text += std::string(left, '.') + row + "\n";
    return text;
}

// The dots of the rows, 25 apart, from (200, 150), turned, row by row.
std::string dotsOf(const std::vector<std::string>& rows, double degrees) {
    const double angle = degrees * 3.14159265358979323846 / 180.0;
    std::string csv;
    for (std::size_t j = 0; j < rows.size(); ++j) {
        for (std::size_t i = 0; i < rows[j].size(); ++i) {
            if (rows[j][i] != 'x') continue;
            const double x = 25.0 * static_cast<double>(i);
            const double y = 25.0 * static_cast<double>(j);
            csv += std::to_string(200 + std::cos(angle) * x - std::sin(angle) * y) + "," +
                   std::to_string(150 + std::sin(angle) * x + std::cos(angle) * y) + "\n";
        }
    }
    return csv;
}

std::vector<long> upTo(long count) {
    std::vector<long> numbers;
    for (long k = 0; k < count; ++k) numbers.push_back(k);
    return numbers;
}

class GridMatchTool : public Tool {
  protected:
    Outcome gridMatch(const std::vector<std::string>& options) const {
        return run("grid-match", options);
    }
    json found(std::vector<std::string> options) const {
        options.insert(options.end(), {"--pattern", "p.txt", "--data", "d.csv", "--json"});
        return json::parse(gridMatch(options).out);
    }
    std::string refusal(const std::vector<std::string>& options) const {
        return refusalBy("grid-match", options);
    }
};

}  // namespace

TEST_F(GridMatchTool, FindsThePatternOfAPhotographedSheet) {
    const Outcome outcome =
        gridMatch({"--pattern", kFolder + "/pattern.txt", "--data", kFolder + "/data.csv", "--json",
                   "--svg", "sheet.svg", "--csv", "sheet.csv"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    const json result = json::parse(outcome.out);
    ASSERT_EQ(result["results"].size(), 1U);
    EXPECT_EQ(result["results"][0]["matched"], 25);
    // Column 0 of the pattern is column 1 of the truth.
    const json truth = json::parse(readFile(kFolder + "/truth.json"))["grid"];
    const json& positions = result["pattern"]["positions"];
    for (std::size_t k = 0; k < positions.size(); ++k) {
        const auto index = result["results"][0]["map"][k].get<std::size_t>();
        EXPECT_EQ(truth[index], json({positions[k][0].get<long>() + 1, positions[k][1]}));
    }
    EXPECT_THAT(filesInWork(), ElementsAre("sheet.csv", "sheet.svg"));
    const std::string svg = readFile(work() / "sheet.svg");
    EXPECT_EQ(xmlFault(svg), "");
    EXPECT_EQ(countElements(svg, "circle", "pattern-matched"), 25U);
    EXPECT_THAT(readFile(work() / "sheet.csv"), StartsWith("column,row,data,x,y\n1,0,"));
}

TEST_F(GridMatchTool, PositionsAreThoseOfTheFileWhateverItsMargin) {
    write("p.txt", withMargin(kPlate, 3, 2));
    write("d.csv", dotsOf(kPlate, 0));
    const json result = found({});
    EXPECT_EQ(result["pattern"]["corner"], json({3, 2}));
    EXPECT_EQ(result["results"][0]["map"], json(upTo(45)));
    const json xform = result["results"][0]["xform"];
    EXPECT_NEAR(xform[0], 25.0, 1e-5);
    EXPECT_NEAR(xform[4], 200.0 - 3 * 25.0, 1e-4);
    EXPECT_NEAR(xform[5], 150.0 - 2 * 25.0, 1e-4);
    EXPECT_EQ(result["results"][0]["reaches_beyond"], 0);
}

TEST_F(GridMatchTool, EveryRotationIsFoundWhenAllAreAllowed) {
    write("p.txt", withMargin(kPlate, 1, 0));
    for (int degrees = -170; degrees <= 180; degrees += 35) {
        write("d.csv", dotsOf(kPlate, degrees));
        const json result = found({"--rotation", "full"});
        ASSERT_EQ(result["results"].size(), 1U) << degrees;
        EXPECT_EQ(result["results"][0]["map"], json(upTo(45))) << degrees;
    }
}

TEST_F(GridMatchTool, StepsInAnyDirectionWork) {
    write("p.txt", withMargin(kPlate, 0, 0));
    for (const int degrees : {0, 90, 180, 270}) {
        write("d.csv", dotsOf(kPlate, degrees));
        const std::vector<std::string> xv = {"25,0", "0,25", "-25,0", "0,-25"};
        const auto turn = static_cast<std::size_t>(degrees / 90);
        const json result = found({"--xv", xv[turn], "--yv", xv[(turn + 1) % 4]});
        ASSERT_EQ(result["results"].size(), 1U) << degrees;
        EXPECT_EQ(result["results"][0]["map"], json(upTo(45))) << degrees;
        // Of a square grid one step is enough.
        EXPECT_EQ(found({"--xv", xv[turn]})["results"][0]["map"], json(upTo(45))) << degrees;
    }
}

TEST_F(GridMatchTool, SparsePatternsReportTheSameTransform) {
    const std::vector<std::string> few = {"x..x", "....", "xx..", "...x"};
    write("p.txt", withMargin(few, 5, 4));
    write("d.csv", dotsOf(few, 5));
    const json result = found({"--xv", "25,0", "--yv", "0,25"});
    EXPECT_EQ(result["pattern"]["sparse"], true);
    EXPECT_EQ(result["parameters"]["snap"], "auto");
    ASSERT_EQ(result["results"].size(), 1U);
    EXPECT_EQ(result["results"][0]["map"], json(upTo(5)));
    EXPECT_EQ(result["results"][0]["reaches_beyond"], nullptr);
    const json xform = result["results"][0]["xform"];
    const double x = xform[0].get<double>() * 5 + xform[1].get<double>() * 4;
    EXPECT_NEAR(x + xform[4].get<double>(), 200.0, 1e-4);
    EXPECT_NEAR(xform[0], 25.0 * std::cos(5 * 3.14159265358979323846 / 180), 1e-4);
}

TEST_F(GridMatchTool, ASingleRowIsFound) {
    const std::vector<std::string> row = {"xxxx.xx.xxxxxx"};
    write("p.txt", withMargin(row, 0, 0));
    write("d.csv", dotsOf(row, 4));
    const json result = found({"--xv", "25,0"});
    ASSERT_EQ(result["results"].size(), 1U);
    EXPECT_EQ(result["results"][0]["map"], json(upTo(12)));
    EXPECT_EQ(found({})["results"][0]["map"], json(upTo(12)));
}

TEST_F(GridMatchTool, GreyMapsAreReadAsWell) {
    std::string map = "P2 8 6 9\n";
    for (const std::string& row : kPlate) {
        for (const char c : row) map += c == 'x' ? "9 " : "0 ";
    }
    write("p.txt", map);
    write("d.csv", dotsOf(kPlate, 0));
    EXPECT_EQ(found({})["results"][0]["matched"], 45);
}

TEST_F(GridMatchTool, APlacementBeyondWhatWasSeenIsPointedOut) {
    write("p.txt", withMargin(kPlate, 0, 0));
    // The last two columns are out of sight.
    std::vector<std::string> seen = kPlate;
    for (std::string& row : seen) row.resize(6);
    write("d.csv", dotsOf(seen, 0));
    const Outcome outcome =
        gridMatch({"--pattern", "p.txt", "--data", "d.csv", "--min-coverage", "0.7", "--json"});
    EXPECT_EQ(outcome.exitCode, 0);
    const json result = json::parse(outcome.out);
    EXPECT_EQ(result["results"][0]["reaches_beyond"], 2);
    EXPECT_EQ(result["results"][0]["matched"], 33);
    EXPECT_EQ(
        outcome.err,
        "ptmatch: note: the best placement reaches 2 rows or columns beyond the grid that was "
        "seen; 2 is the most that is looked for, so a better one may lie further out\n");
}

TEST_F(GridMatchTool, APatternThatFitsNoStaggeredGridIsPointedOut) {
    const std::vector<std::string> mixed = {"x.x..x.x", ".x....x.", "x.x..x.x",
                                            "........", "........", ".x....x."};
    write("p.txt", withMargin(mixed, 0, 0));
    write("d.csv", dotsOf(std::vector<std::string>(12, "xxxxxxxxxxxxxx"), 0));
    const Outcome outcome = gridMatch({"--pattern", "p.txt", "--data", "d.csv"});
    EXPECT_THAT(outcome.err, HasSubstr("its positions do not all fit a staggered grid"));
    // All of one parity fit one.
    write("p.txt", withMargin({"x.x.x.x", ".x.x.x.", "x.x.x.x", ".x.x.x."}, 0, 0));
    EXPECT_THAT(gridMatch({"--pattern", "p.txt", "--data", "d.csv"}).err,
                Not(HasSubstr("staggered")));
}

TEST_F(GridMatchTool, SeveralPlacementsComeBestFirst) {
    write("p.txt", "xxxx\nxxxx\nxxxx\n");
    write("d.csv", dotsOf({"xxxxx", "xxxxx", "xxxx."}, 0));
    const json results = found({"--max-results", "3"})["results"];
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(results[0]["coverage"], 1.0);
    EXPECT_GE(results[1]["coverage"], results[2]["coverage"]);
}

TEST_F(GridMatchTool, NothingFoundIsCodeOneWithTheReasonAndStillDrawn) {
    write("p.txt", withMargin(kPlate, 0, 0));
    write("d.csv", dotsOf(kPlate, 45));
    Outcome outcome = gridMatch({"--pattern", "p.txt", "--data", "d.csv", "--xv", "25,0", "--svg",
                                 "none.svg", "--csv", "none.csv"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.out, HasSubstr("nothing found ("));
    EXPECT_THAT(outcome.err, HasSubstr("in directions that --rotation excludes"));
    EXPECT_THAT(readFile(work() / "none.svg"), HasSubstr("Nothing found"));
    EXPECT_EQ(readFile(work() / "none.csv"), "column,row,data,x,y\n");
    write("d.csv", dotsOf({"xxx.x", "xx.xx", "x.xxx", "xxxxx"}, 0));
    outcome = gridMatch({"--pattern", "p.txt", "--data", "d.csv", "--min-coverage", "0.9"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("fewer points than --min-coverage asks for"));
}

TEST_F(GridMatchTool, BadInputIsNamedAndCodeTwo) {
    write("p.txt", withMargin(kPlate, 0, 0));
    write("d.csv", dotsOf(kPlate, 0));
    write("two.txt", "x.x\n");
    write("bad.txt", "x,x\n");
    write("cut.pgm", "P5 100 100 255\nabc");
    write("empty.csv", "");
    EXPECT_THAT(refusal({"--data", "d.csv"}), StartsWith("ptmatch: --pattern is required\n"));
    EXPECT_THAT(refusal({"--pattern", "p.txt"}), StartsWith("ptmatch: --data is required\n"));
    const auto withPattern = [&](const std::string& pattern) {
        return refusal({"--pattern", pattern, "--data", "d.csv"});
    };
    EXPECT_EQ(withPattern("none.txt"),
              "ptmatch: none.txt: cannot be opened: No such file or directory\n");
    EXPECT_EQ(withPattern("."),
              "ptmatch: .: is a directory, expected a pattern of grid positions\n");
    EXPECT_EQ(withPattern("two.txt"),
              "ptmatch: two.txt: needs at least 3 set positions, holds 2\n");
    EXPECT_THAT(withPattern("bad.txt"), StartsWith("ptmatch: bad.txt:1: expected rows of"));
    EXPECT_EQ(withPattern("cut.pgm"), "ptmatch: cut.pgm: ends before its 100 x 100 pixels\n");
    EXPECT_EQ(refusal({"--pattern", "p.txt", "--data", "empty.csv"}),
              "ptmatch: empty.csv: holds no points\n");
    const auto withOption = [&](const std::string& option, const std::string& value) {
        return refusal({"--pattern", "p.txt", "--data", "d.csv", option, value});
    };
    EXPECT_EQ(withOption("--min-coverage", "2"),
              "ptmatch: --min-coverage: must be from 0 to 1, found 2\n");
    EXPECT_EQ(withOption("--scale", "-0.95,0"),
              "ptmatch: --scale: LO must be at least -0.9, found -0.95\n");
    EXPECT_EQ(withOption("--scale", "full"), "ptmatch: --scale: expected LO,HI, found \"full\"\n");
    EXPECT_EQ(withOption("--snap", "-2"), "ptmatch: --snap: must not be negative, found -2\n");
    EXPECT_EQ(withOption("--rotation", "-1e4,0"),
              "ptmatch: --rotation: must be within -1000 to 1000 degrees\n");
    EXPECT_THAT(withOption("--max-results", "0"), StartsWith("ptmatch: --max-results: "));
    EXPECT_EQ(withOption("--xv", "0,0"),
              "ptmatch: --xv and --yv: at least one must be other than 0,0\n");
    EXPECT_EQ(withOption("--svg", "p.txt"),
              "ptmatch: --svg: p.txt is the pattern; choose another file\n");
    EXPECT_EQ(withOption("--csv", "./d.csv"),
              "ptmatch: --csv: ./d.csv is the table of the data; choose another file\n");
    EXPECT_THAT(withOption("--svg", "no/folder/a.svg"), HasSubstr("cannot be written"));
    EXPECT_EQ(refusal({"--pattern", "p.txt", "--data", "d.csv", "--xv", "3,4", "--yv", "6,8"}),
              "ptmatch: --xv and --yv are parallel\n");
}

TEST_F(GridMatchTool, HelpNamesEveryOption) {
    const Outcome help = gridMatch({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* option :
         {"--pattern", "--data", "--json", "--csv", "--svg", "--y-up", "--xv", "--yv", "--snap",
          "--rotation", "--scale", "--min-coverage", "--max-results"}) {
        EXPECT_THAT(help.out, HasSubstr(option));
    }
}
