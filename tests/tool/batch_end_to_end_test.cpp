// One model among many data sets, as users meet it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "tool_runner.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string kModel = PTMATCH_DATA_DIR "/demo_pick/model.csv";
const std::string kData = PTMATCH_DATA_DIR "/demo_pick/data.csv";
const std::string kStarsModel = PTMATCH_DATA_DIR "/beehive/model.csv";
const std::string kStarsData = PTMATCH_DATA_DIR "/beehive/data.csv";
const std::string kPattern = PTMATCH_DATA_DIR "/dots_staggered/pattern.txt";
const std::string kDots = PTMATCH_DATA_DIR "/dots_staggered/data.csv";

class Batch : public Tool {
  protected:
    // A triangle, moved by (10 k, 0) in the data set k.
    void writeTriangles(int count) const {
        write("m.csv", "0,0\n10,0\n0,20\n");
        for (int k = 0; k < count; ++k) write(nameOf(k), triangle(k, ""));
    }
    static std::string nameOf(int k) { return "d" + std::to_string(k) + ".csv"; }
    static std::string triangle(int k, const std::string& end) {
        const std::string x0 = std::to_string(10 * k);
        const std::string x1 = std::to_string(10 * k + 10);
        return x0 + ",0" + end + "\n" + x1 + ",0" + end + "\n" + x0 + ",20" + end + "\n";
    }
    std::vector<std::string> optionsFor(int count) const {
        std::vector<std::string> options = {"--model", "m.csv", "--data"};
        for (int k = 0; k < count; ++k) options.push_back(nameOf(k));
        return options;
    }
};

// What a program shows that has a terminal on standard error.
struct Shown {
    std::string text;
    int exitCode = -1;
};

// Runs a command of the shell; calls `atTimeLeft` with its process once a time left is shown.
Shown shownOnTerminal(
    const std::string& shellCommand, const std::function<void(pid_t)>& atTimeLeft = [](pid_t) {}) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || ::grantpt(terminal) != 0 || ::unlockpt(terminal) != 0) {
        ADD_FAILURE() << "no terminal";
        return {};
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const int side = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY);
        if (side < 0 || ::dup2(side, STDERR_FILENO) < 0) ::_exit(125);
        ::close(side);
        ::execl("/bin/sh", "/bin/sh", "-c", shellCommand.c_str(), nullptr);
        ::_exit(127);
    }
    Shown shown;
    int status = 0;
    bool hasTimeLeft = false;
    for (bool isRunning = true; isRunning;) {
        isRunning = ::waitpid(child, &status, WNOHANG) == 0;
        pollfd ready{terminal, POLLIN, 0};
        while (::poll(&ready, 1, 50) > 0 && (ready.revents & POLLIN) != 0) {
            char block[256];
            const auto size = ::read(terminal, block, sizeof block);
            if (size <= 0) break;
            shown.text.append(block, static_cast<std::size_t>(size));
        }
        if (isRunning && !hasTimeLeft && shown.text.find(" left") != std::string::npos) {
            hasTimeLeft = true;
            atTimeLeft(child);
        }
    }
    ::close(terminal);
    if (WIFEXITED(status)) shown.exitCode = WEXITSTATUS(status);
    return shown;
}

}  // namespace

TEST_F(Batch, ResultsAreInTheOrderOfTheInput) {
    writeTriangles(20);
    for (const char* const jobs : {"1", "4"}) {
        std::vector<std::string> options = optionsFor(20);
        options.insert(options.end(), {"--json", "--jobs", jobs});
        const Outcome outcome = match(options);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
        const json found = json::parse(outcome.out);
        ASSERT_EQ(found["runs"].size(), 20U);
        for (int k = 0; k < 20; ++k) {
            const json& run = found["runs"][static_cast<std::size_t>(k)];
            EXPECT_EQ(run["data"], json({{"file", nameOf(k)}, {"points", 3}}));
            EXPECT_EQ(run["fate"], "done");
            EXPECT_NEAR(run["results"][0]["translation"][0].get<double>(), 10.0 * k, 1e-9);
        }
        EXPECT_EQ(found["batch"]["jobs"], std::stoi(jobs));
        EXPECT_EQ(found["batch"]["found"], 20);
        EXPECT_GT(found["batch"]["per_second"], 0.0);
    }
}

TEST_F(Batch, OneDataSetOfManyGetsWhatItGetsAlone) {
    const auto resultsOf = [&](const std::vector<std::string>& options) {
        return json::parse(match(options).out);
    };
    const json alone = resultsOf({"--model", kModel, "--data", kData, "--json"});
    const json batch =
        resultsOf({"--model", kModel, "--data", kStarsData, kData, "--jobs", "2", "--json"});
    EXPECT_EQ(batch["runs"][1]["results"], alone["results"]);
    EXPECT_EQ(batch["parameters"], alone["parameters"]);
    EXPECT_EQ(batch["model"], alone["model"]);
}

TEST_F(Batch, OneBadFileDoesNotLoseTheOthers) {
    writeTriangles(3);
    write("d1.csv", "0,0\n1,abc\n");
    Outcome outcome = match(optionsFor(3));
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.err, "ptmatch: d1.csv:2: expected a number in column 2 (y), found \"abc\"\n");
    EXPECT_THAT(outcome.out, HasSubstr("d1.csv  failed\n"));
    EXPECT_THAT(outcome.out, HasSubstr("2 of 3 data sets searched in "));
    EXPECT_THAT(outcome.out, HasSubstr(": 2 with a pose, 1 failed\n"));
    std::vector<std::string> options = optionsFor(3);
    options.push_back("--json");
    const json found = json::parse(match(options).out);
    EXPECT_EQ(found["runs"][1]["fate"], "failed");
    EXPECT_THAT(found["runs"][1]["error"].get<std::string>(), StartsWith("d1.csv:2: expected"));
    EXPECT_FALSE(found["runs"][1].contains("results"));
    EXPECT_EQ(match({"--model", "m.csv", "--data", "no.csv", "none.csv"}).exitCode, 2);
}

TEST_F(Batch, NothingFoundAnywhereIsCodeOne) {
    writeTriangles(1);
    write("e.csv", "0,0\n1000,0\n");
    EXPECT_EQ(
        match({"--model", "m.csv", "--data", "e.csv", "e.csv", "--min-coverage", "1"}).exitCode, 1);
    const Outcome outcome =
        match({"--model", "m.csv", "--data", "e.csv", "d0.csv", "--min-coverage", "1"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, HasSubstr("\n e.csv       2     -\n"));
}

TEST_F(Batch, FramesOfAFileAreDataSets) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    write("video.csv", "x,y,frame\n" + triangle(1, ",7") + triangle(5, ",b") + "3,3,7\n");
    const Outcome outcome =
        match({"--model", "m.csv", "--data", "video.csv", "--frames", "--json"});
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const json found = json::parse(outcome.out);
    ASSERT_EQ(found["runs"].size(), 2U);
    EXPECT_EQ(found["runs"][0]["data"],
              json({{"file", "video.csv"}, {"frame", "7"}, {"points", 4}}));
    EXPECT_EQ(found["runs"][1]["data"]["frame"], "b");
    EXPECT_NEAR(found["runs"][1]["results"][0]["translation"][0].get<double>(), 50.0, 1e-9);
    // Without the option the column is one of those that are not looked at.
    EXPECT_EQ(
        json::parse(
            match({"--model", "m.csv", "--data", "video.csv", "--json"}).out)["data"]["points"],
        7);
}

TEST_F(Batch, NamesOfFramesDoNotActOnTheTerminal) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    write("v.csv", "x,y,frame\n" + triangle(1, ",\x1b[31m") + triangle(1, ",\u00fc"));
    const Outcome outcome = match({"--model", "m.csv", "--data", "v.csv", "--frames"});
    EXPECT_THAT(outcome.out, HasSubstr("\nv.csv frame ?[31m       3     1 "));
    EXPECT_THAT(outcome.out, HasSubstr("\n    v.csv frame \u00fc       3     1 "));
    EXPECT_EQ(json::parse(match({"--model", "m.csv", "--data", "v.csv", "--frames", "--json"})
                              .out)["runs"][0]["data"]["frame"],
              "\x1b[31m");
}

TEST_F(Batch, FilesWithoutFramesAreNamed) {
    write("m.csv", "0,0\n10,0\n0,20\n");
    write("plain.csv", "x,y\n1,2\n");
    EXPECT_EQ(match({"--model", "m.csv", "--data", "plain.csv", "--frames"}).err,
              "ptmatch: plain.csv:1: the header names no column frame (it has: x, y)\n");
    EXPECT_EQ(match({"--model", "m.csv", "--data", "m.csv", "--frames"}).err,
              "ptmatch: m.csv:1: expected a header that names the columns x, y and frame\n");
    write("hole.csv", "x,y,frame\n1,2,a\n1,2,\n");
    EXPECT_THAT(
        match({"--model", "m.csv", "--data", "hole.csv", "--frames"}).err,
        StartsWith("ptmatch: hole.csv:3: expected the name of a frame in column 3 (frame)"));
}

TEST_F(Batch, GridPatternIsLookedForInEachDataSet) {
    write("none.csv", "0,0\n1,1\n");
    const Outcome outcome = run("grid-match", {"--pattern", kPattern, "--data", kDots, "none.csv",
                                               kDots, "--jobs", "2", "--json"});
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_THAT(outcome.err, HasSubstr("none.csv: no grid is seen"));
    const json found = json::parse(outcome.out);
    const json alone =
        json::parse(run("grid-match", {"--pattern", kPattern, "--data", kDots, "--json"}).out);
    for (const std::size_t k : {0U, 2U}) {
        EXPECT_EQ(found["runs"][k]["results"], alone["results"]);
        EXPECT_EQ(found["runs"][k]["parameters"], alone["parameters"]);
    }
    EXPECT_EQ(found["pattern"], alone["pattern"]);
    EXPECT_THAT(run("grid-match", {"--pattern", kPattern, "--data", kDots, kDots}).out,
                HasSubstr("2 with a placement\n"));
}

TEST_F(Batch, EveryDataSetThatFailsIsNamed) {
    EXPECT_EQ(run("grid-match",
                  {"--pattern", kPattern, "--data", kDots, kDots, "--xv", "1,0", "--yv", "2,0"})
                  .err,
              "ptmatch: " + kDots + ": --xv and --yv are parallel\nptmatch: " + kDots +
                  ": --xv and --yv are parallel\n");
}

TEST_F(Batch, FilesForOneDataSetAreRefused) {
    writeTriangles(2);
    std::vector<std::string> options = optionsFor(2);
    options.insert(options.end(), {"--svg", "a.svg"});
    EXPECT_THAT(refusalBy("match", options),
                HasSubstr("--svg: several pictures would be written into a.svg; put {name} or"));
    EXPECT_EQ(
        refusalBy("grid-match", {"--pattern", kPattern, "--data", kDots, kDots, "--csv", "a"}),
        "ptmatch: --csv: is for one data set, not for a batch\n");
    EXPECT_THAT(refusalBy("match", {"--model", "m.csv", "--data", "d0.csv", "--jobs", "0"}),
                HasSubstr("--jobs: must be at least 1"));
    EXPECT_THAT(refusalBy("match", {"--model", "m.csv", "--data", "d0.csv", "--jobs", "1025"}),
                HasSubstr("--jobs: must be at most 1024"));
}

TEST_F(Batch, InterruptPrintsWhatIsFinished) {
    write("small.csv", "0,0\n1,1\n2,0\n");
    // Many minutes of work on the second one, none on the first. Once the first is read, it is
    // done.
    ASSERT_EQ(::mkfifo((work() / "pipe").c_str(), 0600), 0);
    const pid_t child =
        start({PTMATCH_TOOL, "match", "--model", kStarsModel, "--data", "small.csv", "pipe",
               "--rotation", "full", "--scale", "-0.5,0.5", "--grid-size", "0.5", "--json"});
    // The second is read only after the first was searched, so that writing waits for that.
    std::ofstream(work() / "pipe") << readFile(kStarsData);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    ::kill(child, SIGINT);
    const Outcome outcome = finish(child);
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err, "ptmatch: interrupted\n");
    const json found = json::parse(outcome.out);
    EXPECT_EQ(found["runs"][0]["fate"], "done");
    EXPECT_EQ(found["runs"][1]["fate"], "not finished");
    EXPECT_EQ(found["batch"]["unfinished"], 1);
}

TEST_F(Batch, InterruptEndsAnExhaustiveBatchThatNeverAsks) {
    std::string points;
    for (int i = 0; i < 20; ++i) {
        points += std::to_string(i * i) + "," + std::to_string(7 * i % 11) + "\n";
    }
    write("p.csv", points);
    write("two.csv", "0,0\n1,1\n");
    const Outcome outcome =
        interrupt({"--model", "p.csv", "--data", "two.csv", "p.csv", "--exhaustive"});
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.err,
              "ptmatch: note: --exhaustive will try about 3e+26 assignments; this may not end\n"
              "ptmatch: interrupted\n");
    EXPECT_THAT(outcome.out, HasSubstr("p.csv  not finished\n"));
}

TEST_F(Batch, ProgressIsShownOnATerminalOnly) {
    ASSERT_EQ(::mkfifo((work() / "pipe").c_str(), 0600), 0);
    write("m.csv", "0,0\n10,0\n0,20\n");
    const std::string folder = "cd " + work().string() + " && ";
    const std::string tool =
        folder + PTMATCH_TOOL " match --model m.csv --data m.csv pipe >out.txt";
    // The second table comes once the progress was seen.
    const Shown shown = shownOnTerminal(
        folder + "{ while [ ! -e seen ]; do sleep 0.1; done; cat m.csv; } >pipe & " + tool,
        [&](pid_t) { write("seen", ""); });
    EXPECT_THAT(shown.text, StartsWith("\r\033[K["));
    EXPECT_THAT(shown.text, HasSubstr("[###############---------------] 50 %, 1 of 2, "));
    EXPECT_THAT(shown.text, testing::EndsWith("\r\033[K"));
    EXPECT_THAT(readFile(work() / "out.txt"), HasSubstr("2 of 2 data sets"));
    const Outcome outcome =
        runProgram({"/bin/sh", "-c", folder + "{ sleep 1.5; cat m.csv; } >pipe & " + tool});
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(readFile(work() / "out.txt"), HasSubstr("2 of 2 data sets"));
}

TEST_F(Batch, LongSearchesShowTheirShareAndTheTimeLeft) {
    // Many minutes of work, which are watched until the time left is known.
    for (const std::string& data : {kStarsData, kStarsData + " " + kStarsData}) {
        const Shown shown = shownOnTerminal(
            "exec " PTMATCH_TOOL " match --model " + kStarsModel + " --data " + data +
                " --jobs 2 --rotation full --scale -0.5,0.5 --grid-size 0.5 >" +
                (work() / "out.txt").string(),
            [](pid_t tool) { ::kill(tool, SIGINT); });
        EXPECT_THAT(shown.text, StartsWith("\r\033[K[-"));
        EXPECT_THAT(shown.text, HasSubstr(data == kStarsData ? " %, " : " %, 0 of 2, "));
        EXPECT_THAT(shown.text, HasSubstr(" left"));
        EXPECT_THAT(shown.text, testing::EndsWith("\r\033[Kptmatch: interrupted\r\n"));
        EXPECT_EQ(shown.exitCode, 130);
        const std::string out = readFile(work() / "out.txt");
        if (data == kStarsData) {
            EXPECT_EQ(out, "");
        } else {
            EXPECT_THAT(out, HasSubstr("2 not finished"));
        }
    }
}

TEST_F(Batch, AQuickRunShowsNoProgress) {
    writeTriangles(2);
    const Shown shown = shownOnTerminal("cd " + work().string() +
                                        " && exec " PTMATCH_TOOL
                                        " match --model m.csv --data d0.csv d1.csv >out.txt");
    EXPECT_EQ(shown.text, "");
    EXPECT_EQ(shown.exitCode, 0);
    EXPECT_THAT(readFile(work() / "out.txt"), HasSubstr("2 of 2 data sets"));
}
