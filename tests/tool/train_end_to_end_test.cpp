// Trained matchers as files: written by one run of the tool, used by others.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "tool_runner.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string kModel = PTMATCH_DATA_DIR "/demo_pick/model.csv";
const std::string kData = PTMATCH_DATA_DIR "/demo_pick/data.csv";
const std::string kPattern = PTMATCH_DATA_DIR "/dots_staggered/pattern.txt";
const std::string kDots = PTMATCH_DATA_DIR "/dots_staggered/data.csv";

class TrainedFile : public Tool {
  protected:
    void train(std::vector<std::string> options) const {
        options.insert(options.end(), {"--out", "trained.ptm"});
        const Outcome outcome = run("train", options);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    }
    json jsonOf(const std::string& command, std::vector<std::string> options) const {
        options.push_back("--json");
        const Outcome outcome = run(command, options);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        return json::parse(outcome.out);
    }
    json info() const { return jsonOf("info", {"trained.ptm"}).at("records").at(0); }
};

}  // namespace

TEST_F(TrainedFile, MatchesAsTheTableDoes) {
    train({"--model", kModel});
    const json fromTable = jsonOf("match", {"--model", kModel, "--data", kData});
    const json fromFile = jsonOf("match", {"--model", "trained.ptm", "--data", kData});
    EXPECT_EQ(fromFile["results"], fromTable["results"]);
    EXPECT_EQ(fromFile["model"]["points"], 30);
    EXPECT_EQ(fromFile["model"]["file"], "trained.ptm");
}

TEST_F(TrainedFile, KeepsWeights) {
    write("m.csv", "x,y,weight\n0,0,1\n10,0,1\n0,20,98\n");
    write("d.csv", "0,0\n10,0\n70,70\n");
    train({"--model", "m.csv"});
    EXPECT_EQ(match({"--model", "trained.ptm", "--data", "d.csv"}).exitCode, 1);
    EXPECT_EQ(info()["weights"], json({1, 1, 98}));
    EXPECT_EQ(info()["total_weight"], 100);
    const json exhaustive =
        jsonOf("match", {"--model", "trained.ptm", "--data", "d.csv", "--exhaustive"});
    EXPECT_EQ(exhaustive["model"]["weighted"], true);
    EXPECT_EQ(exhaustive["parameters"]["exhaustive"], true);
}

TEST_F(TrainedFile, GridPatternMatchesAsTheTextDoes) {
    const std::vector<std::string> steps = {"--xv", "17.86,3.11", "--yv", "-3.85,16.38"};
    std::vector<std::string> options = {"--pattern", kPattern};
    options.insert(options.end(), steps.begin(), steps.end());
    train(options);
    options.insert(options.end(), {"--data", kDots});
    const json fromText = jsonOf("grid-match", options);
    json fromFile = jsonOf("grid-match", {"--pattern", "trained.ptm", "--data", kDots});
    EXPECT_EQ(fromFile["parameters"], fromText["parameters"]);
    EXPECT_EQ(fromFile["results"], fromText["results"]);
    EXPECT_EQ(fromFile["results"][0]["matched"], 25);
    fromFile["pattern"]["file"] = kPattern;
    EXPECT_EQ(fromFile["pattern"], fromText["pattern"]);
}

TEST_F(TrainedFile, GridPatternWithoutStepsHasThemProposed) {
    train({"--pattern", kPattern});
    EXPECT_EQ(info()["xv"], nullptr);
    const json found = jsonOf("grid-match", {"--pattern", "trained.ptm", "--data", kDots});
    EXPECT_EQ(found["parameters"]["steps"]["proposed"], true);
    EXPECT_EQ(found["results"][0]["matched"], 25);
}

TEST_F(TrainedFile, StepsGivenStandForThoseTrained) {
    train({"--pattern", kPattern, "--xv", "500,0"});
    EXPECT_EQ(info()["xv"], json({500, 0}));
    EXPECT_EQ(info()["yv"], json({0, 500}));
    EXPECT_EQ(run("grid-match", {"--pattern", "trained.ptm", "--data", kDots}).exitCode, 1);
    const Outcome outcome = run("grid-match", {"--pattern", "trained.ptm", "--data", kDots, "--xv",
                                               "17.86,3.11", "--yv", "-3.85,16.38"});
    EXPECT_EQ(outcome.exitCode, 0);
}

TEST_F(TrainedFile, MarginOfAPatternIsKept) {
    write("p.txt", "\n\n...xxx\n...x.x\n...xxx\n...xxx\n");
    train({"--pattern", "p.txt", "--xv", "10,0"});
    EXPECT_EQ(info()["corner"], json({3, 2}));
    EXPECT_EQ(info()["width"], 3);
    EXPECT_EQ(info()["height"], 4);
    EXPECT_EQ(info()["positions"].size(), 11U);
    EXPECT_EQ(info()["positions"][0], json({3, 2}));
}

TEST_F(TrainedFile, SparsePatternMatchesAsTheTextDoes) {
    write("p.txt", "xx.\n...\nx.x\n");
    write("d.csv", "100,50\n110,50\n100,70\n120,70\n3,4\n");
    const std::vector<std::string> steps = {"--xv", "10,0", "--yv", "0,10"};
    std::vector<std::string> options = {"--pattern", "p.txt"};
    options.insert(options.end(), steps.begin(), steps.end());
    train(options);
    EXPECT_EQ(info()["sparse"], true);
    options.insert(options.end(), {"--data", "d.csv"});
    const json fromText = jsonOf("grid-match", options);
    const json fromFile = jsonOf("grid-match", {"--pattern", "trained.ptm", "--data", "d.csv"});
    EXPECT_EQ(fromFile["results"], fromText["results"]);
    EXPECT_EQ(fromFile["results"][0]["map"], json({0, 1, 2, 3}));
}

TEST_F(TrainedFile, StepsThatAFileCannotTellAreNamed) {
    write("p.txt", "xx.\n...\nx.x\n");
    const Outcome outcome = run("train", {"--pattern", "p.txt", "--xv", "1,0", "--out", "t.ptm"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err,
              "ptmatch: note: in a trained file the steps 1,0 and 0,1 stand for unknown ones; give "
              "them to grid-match again: --xv 1,0 --yv 0,1\n");
}

TEST_F(TrainedFile, IsNotTrainedAgain) {
    train({"--model", kModel});
    EXPECT_EQ(refusalBy("train", {"--model", "trained.ptm", "--out", "t.ptm"}),
              "ptmatch: trained.ptm: is a trained matcher already, expected a table of points\n");
    EXPECT_EQ(refusalBy("train", {"--pattern", "trained.ptm", "--out", "t.ptm"}),
              "ptmatch: trained.ptm: is a trained matcher already, expected a pattern of grid "
              "positions\n");
}

TEST_F(TrainedFile, IsWrittenWhereALinkLeads) {
    write("real.ptm", "old");
    fs::create_symlink("real.ptm", work() / "link.ptm");
    EXPECT_EQ(run("train", {"--model", kModel, "--out", "link.ptm"}).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(work() / "link.ptm"));
    EXPECT_EQ(jsonOf("match", {"--model", "real.ptm", "--data", kData})["model"]["points"], 30);
}

TEST_F(TrainedFile, IsRefusedByTheOtherCommand) {
    train({"--pattern", kPattern});
    EXPECT_EQ(refusalBy("match", {"--model", "trained.ptm", "--data", kDots}),
              "ptmatch: trained.ptm: holds a trained grid pattern; give it to ptmatch grid-match "
              "--pattern\n");
    train({"--model", kModel});
    EXPECT_EQ(refusalBy("grid-match", {"--pattern", "trained.ptm", "--data", kDots}),
              "ptmatch: trained.ptm: holds trained points; give it to ptmatch match --model\n");
}

TEST_F(TrainedFile, EveryCutIsRefusedByMatchAndByInfo) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    train({"--model", "m.csv"});
    const std::string whole = readFile(work() / "trained.ptm");
    for (const std::size_t size : {std::size_t{4}, whole.size() / 2, whole.size() - 1}) {
        write("cut.ptm", whole.substr(0, size));
        EXPECT_THAT(refusalBy("match", {"--model", "cut.ptm", "--data", "m.csv"}),
                    StartsWith("ptmatch: cut.ptm: is not a trained matcher, or is damaged: "));
        EXPECT_THAT(refusalBy("info", {"cut.ptm"}),
                    StartsWith("ptmatch: cut.ptm: is no archive of records that ptmatch knows, or "
                               "is damaged"));
    }
    write("long.ptm", whole + "xyz");
    EXPECT_EQ(refusalBy("match", {"--model", "long.ptm", "--data", "m.csv"}),
              "ptmatch: long.ptm: holds 3 more bytes after a trained matcher; see ptmatch info\n");
}

TEST_F(TrainedFile, DamageAndNewerVersionsAreNamed) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    train({"--model", "m.csv"});
    std::string bytes = readFile(work() / "trained.ptm");
    std::string newer = bytes;
    newer[0] = '\x4a';
    write("newer.ptm", newer);
    EXPECT_EQ(refusalBy("match", {"--model", "newer.ptm", "--data", "m.csv"}),
              "ptmatch: newer.ptm: is not a trained matcher, is damaged, or was written by a newer "
              "version\n");
    bytes[12] = 7;  // neither true nor false
    write("bad.ptm", bytes);
    EXPECT_THAT(refusalBy("match", {"--model", "bad.ptm", "--data", "m.csv"}),
                StartsWith("ptmatch: bad.ptm: is not a trained matcher, or is damaged: "));
}

TEST_F(TrainedFile, ForeignFilesAreNamedAsSuch) {
    write("photo.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
    EXPECT_EQ(refusalBy("match", {"--model", "photo.png", "--data", kData}),
              "ptmatch: photo.png: is neither a table of points nor a trained matcher\n");
    EXPECT_EQ(refusalBy("grid-match", {"--pattern", "photo.png", "--data", kDots}),
              "ptmatch: photo.png: is neither a pattern of grid positions nor a trained matcher\n");
    EXPECT_EQ(refusalBy("train", {"--model", "photo.png", "--out", "t.ptm"}),
              "ptmatch: photo.png: is neither a table of points nor a trained matcher\n");
    EXPECT_THAT(refusalBy("info", {"photo.png"}), HasSubstr("photo.png: is no archive"));
    EXPECT_THAT(refusalBy("info", {kModel}), HasSubstr("is no archive"));
    write("empty", "");
    EXPECT_EQ(refusalBy("info", {"empty"}), "ptmatch: empty: is empty, expected an archive\n");
    write("zeros", std::string(100, '\0'));
    EXPECT_EQ(refusalBy("match", {"--model", "zeros", "--data", kData}),
              "ptmatch: zeros: holds a matcher that is not trained\n");
    EXPECT_THAT(refusalBy("info", {"zeros"}), HasSubstr("zeros: is no archive"));
}

TEST_F(TrainedFile, IsNotWrittenWhenSomethingIsWrong) {
    write("m.csv", "0,0\n1,1\n");
    EXPECT_THAT(refusalBy("train", {"--model", "m.csv", "--out", "t.ptm"}),
                StartsWith("ptmatch: m.csv: "));
    EXPECT_THAT(refusalBy("train", {"--model", "m.csv"}), StartsWith("ptmatch: --out is required"));
    EXPECT_THAT(refusalBy("train", {"--out", "t.ptm"}),
                StartsWith("ptmatch: --model or --pattern is required"));
    EXPECT_THAT(refusalBy("train", {"--model", "m.csv", "--pattern", kPattern, "--out", "t.ptm"}),
                HasSubstr("give --model or --pattern, not both"));
    EXPECT_THAT(refusalBy("train", {"--model", "m.csv", "--xv", "1,0", "--out", "t.ptm"}),
                HasSubstr("--xv and --yv belong to --pattern"));
    EXPECT_EQ(
        refusalBy("train", {"--pattern", kPattern, "--xv", "1,0", "--yv", "2,0", "--out", "t.ptm"}),
        "ptmatch: --xv and --yv are parallel\n");
    EXPECT_EQ(refusalBy("train", {"--model", "m.csv", "--out", "m.csv"}),
              "ptmatch: --out: m.csv is what is trained on; choose another file\n");
    EXPECT_THAT(filesInWork(), testing::ElementsAre("m.csv"));
}

TEST_F(TrainedFile, SaysWhatItHolds) {
    const Outcome trained = run("train", {"--model", kModel, "--out", "card.ptm"});
    EXPECT_THAT(trained.out, StartsWith("card.ptm: 1 record, "));
    EXPECT_THAT(trained.out, HasSubstr("\nmatcher trained on points\n"));
    EXPECT_EQ(trained.err, "");
    EXPECT_EQ(run("info", {"card.ptm"}).out, trained.out);
    const Outcome grid = run("train", {"--pattern", kPattern, "--out", "grid.ptm"});
    EXPECT_THAT(grid.out, HasSubstr("\nmatcher trained on a grid pattern\n"));
    EXPECT_THAT(grid.out, HasSubstr("\n    x.x.x\n"));
}

TEST_F(TrainedFile, OfPointsThatAllCoincideAsksForAGridSize) {
    write("m.csv", "0,0\n0,0\n5,5\n5,5\n");
    const Outcome outcome = run("train", {"--model", "m.csv", "--out", "t.ptm"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.err, HasSubstr("match will need --grid-size"));
}
