// Promise: any arguments are the options of a command, or are refused with an error of parsing that
// is shown in one line; the command (of explain, the runs that it would explain), carried out with
// these options on small files of the fuzzer's own, without pictures and tables, ends with what it
// found or a message in one line. Any text is the value of an option or refused alike.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "exit_code.h"
#include "fuzzers.h"
#include "grid_options.h"
#include "input_error.h"
#include "model_source.h"
#include "number_text.h"
#include "option_text.h"
#include "promise.h"
#include "ptmatch/run_cost.h"
#include "run_options.h"
#include "shown_text.h"
#include "tool_app.h"

namespace ptmatch::fuzz::options {
namespace {

using namespace tool;

// A byte from 128 on is one of these arguments; others are characters of one, up to a line feed.
constexpr std::string_view kWords[] = {
    "match",
    "grid-map",
    "grid-match",
    "explain",
    "fit",
    "train",
    "info",
    "--model",
    "--data",
    "--pattern",
    "--pairs",
    "--out",
    "--xv",
    "--yv",
    "--rotation",
    "--scale",
    "--start-x",
    "--start-y",
    "--start-scale",
    "--start-rotation",
    "--grid-size",
    "--capture-range",
    "--max-results",
    "--min-coverage",
    "--json",
    "--csv",
    "--svg",
    "--png",
    "--votes",
    "--exhaustive",
    "--staggered",
    "--snap",
    "--size-tol",
    "--angle-tol",
    "--keep-all",
    "--expect",
    "--time-limit",
    "--residuals",
    "--jobs",
    "--background",
    "--y-up",
    "--x-translation",
    "--y-translation",
    "--help",
    "--version",
    "--",
    "full",
    "0,0",
    "-5,5",
    "1e308",
    "-1e-320",
    "affine",
    "perspective",
    "similarity",
    "rigid3d",
    "--frames",
    "2147483648",
    "nan",
    "inf,inf",
    "",
    "--rotation=1,2",
    "--model=a",
    "-15,15",
    "a.csv",
};

std::vector<std::string> argumentsOf(Bytes bytes) {
    std::vector<std::string> all;
    std::string raw;
    const auto finish = [&] {
        if (!raw.empty()) all.push_back(std::move(raw));
        raw.clear();
    };
    for (const std::uint8_t byte : bytes) {
        if (byte < 128 && byte != '\n') {
            raw += static_cast<char>(byte);
            continue;
        }
        finish();
        if (byte >= 128) all.emplace_back(kWords[(byte - 128U) % std::size(kWords)]);
    }
    finish();
    return all;
}

template <class Read>
bool isTaken(const Read& read) {
    try {
        read();
        return true;
    } catch (const InputError& error) {
        const std::string_view message = error.what();
        promise(!message.empty(), "a message");
        promise(message.find('\n') == std::string_view::npos, "a message in one line");
    }
    return false;
}

/// Tables and patterns to carry commands out on, in a folder that is there as long as the process.
class SmallFiles {
  public:
    SmallFiles() {
        std::string name =
            (std::filesystem::temp_directory_path() / "fuzz-options-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for files");
        folder_ = name;
        write("model.csv", "0,0\n40,0\n40,25\n10,30\n");
        write("data.csv", "3,1\n43,2\n42,26\n12,31\n90,90\n");
        write("nodes.csv", "0,0\n20,0\n40,0\n0,20\n20,20\n40,20\n0,40\n20,40\n");
        write("pattern.txt", "xxx\nxx.\n");
        write("plane.csv", "0,0,1,2\n10,0,11,2\n10,10,11,12\n0,10,1,12.1\n5,3,6,5\n7,7,8,9\n");
        write("space.csv",
              "0,0,0,1,2,3\n9,0,0,10,2,3\n0,9,0,1,11,3\n0,0,9,1,2,12\n9,9,9,10,11,12\n");
    }
    ~SmallFiles() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;

    std::string operator()(const std::string& name) const { return (folder_ / name).string(); }

  private:
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(folder_ / name) << text;
    }

    std::filesystem::path folder_;
};

const SmallFiles& files() {
    static const SmallFiles all;
    return all;
}

/// Carries a command out, which ends with a result or a message in one line.
template <class Command>
void carryOut(const Command& command) {
    std::ostringstream out;
    std::ostringstream notes;
    int code = kExitBadInput;
    const bool isDone = isTaken([&] { code = command(out, notes); });
    promise(isDone == !out.str().empty(), "output of a command that was carried out");
    promise(!isDone || code == kExitFound || code == kExitNothingFound, "an end of a command");
}

/// Whether the run parameters are ones that the matcher takes and a search can be made for
/// thousands of times; they are checked in any case.
bool isSmallRun(const MatchOptions& asked) {
    bool isSmall = false;
    isTaken([&] {
        const rxPointMatcherRunParams params = runParams(asked.run);
        promise(params.minCoverage() >= 0.0 && params.minCoverage() <= 1.0, "a share");
        promise(params.maxNumResults() >= 1, "a result at least");
        promise(params.autoGridSize() || params.gridSize() > 0.0, "a grid size above 0");
        promise(params.autoCaptureRange() || params.captureRange() >= 0.0, "a capture range");
        const ModelSource model = readModel(files()("model.csv"), rxPointMatcherDefs::eAutoDetect);
        const PointTable data = readPoints(files()("data.csv"));
        try {
            const rxRunCost cost = rfRunCost(*model.matcher, data.points, params);
            isSmall =
                cost.work <= 50'000 && cost.imageBytes <= 1 << 20 && cost.numLatticePoints <= 2'000;
        } catch (const rxPointMatcherDefs::BadParams&) {
            // The command has to say so in its words.
            isSmall = true;
        }
    });
    return isSmall;
}

void carryOutMatch(MatchOptions asked) {
    if (!isSmallRun(asked)) return;
    asked.modelFile = files()("model.csv");
    asked.data.files = {files()("data.csv")};
    asked.data.hasFrames = false;
    asked.picture = {};
    asked.voteFile.clear();
    carryOut([&](auto& out, auto& notes) { return runMatch(asked, out, notes); });
}

void carryOutGridMatch(GridMatchOptions asked) {
    asked.patternFile = files()("pattern.txt");
    asked.data.files = {files()("nodes.csv")};
    asked.data.hasFrames = false;
    asked.csvFile.clear();
    asked.picture = {};
    carryOut([&](auto& out, auto& notes) { return runGridMatch(asked, out, notes); });
}

void carryOutGridMap(GridMapOptions asked) {
    asked.dataFile = files()("nodes.csv");
    asked.csvFile.clear();
    asked.picture = {};
    carryOut([&](auto& out, auto& notes) { return runGridMap(asked, out, notes); });
}

void carryOutFit(FitOptions asked) {
    const bool isOfSpace = asked.model && traitsOf(*asked.model).dimensions == 3;
    asked.pairsFile = files()(isOfSpace ? "space.csv" : "plane.csv");
    asked.csvFile.clear();
    asked.picture = {};
    carryOut([&](auto& out, auto& notes) { return runFit(asked, out, notes); });
}

void carryOutTrain(TrainOptions asked) {
    promise(asked.modelFile.empty() != asked.patternFile.empty(), "a model or a pattern");
    if (asked.modelFile.empty()) {
        asked.patternFile = files()("pattern.txt");
    } else {
        asked.modelFile = files()("model.csv");
    }
    asked.outFile = files()("trained.ptm");
    asked.picture = {};
    carryOut([&](auto& out, auto& notes) { return runTrain(asked, out, notes); });
}

void carryOutInfo(InfoOptions asked) {
    TrainOptions training;
    training.modelFile = files()("model.csv");
    training.outFile = files()("shown.ptm");
    if (!std::filesystem::exists(training.outFile)) {
        std::ostringstream unused;
        runTrain(training, unused, unused);
    }
    asked.file = training.outFile;
    asked.picture = {};
    carryOut([&](auto& out, auto& /*notes*/) { return runInfo(asked, out); });
}

void checkSteps(const StepOptions& steps, bool staggered) {
    if (!steps.xv && !steps.yv) return;
    isTaken([&] {
        const StepChoice choice = chooseSteps(steps, {}, staggered, "data.csv");
        promise(!choice.steps.xv.isNull() || !choice.steps.yv.isNull(), "a step at least");
        promise(!stepsText(choice.steps).empty(), "steps as text");
        const StepOptions both = squared(steps);
        promise(both.xv && both.yv, "a second step for the first");
    });
}

void parseCommand(const std::vector<std::string>& arguments) {
    CLI::App app(kToolDescription, "ptmatch");
    AllOptions asked;
    addAllCommands(app, asked);
    try {
        // The parser takes them from the last to the first.
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::ParseError& error) {
        const std::string shown = withoutControls(error.what());
        promise(!shown.empty() && shown.find('\n') == std::string::npos, "a reason in one line");
        return;
    }
    promise(app.get_subcommands().size() == 1, "one command");
    const std::string command = app.get_subcommands().front()->get_name();
    if (command == "match") carryOutMatch(asked.match);
    if (command == "grid-match") carryOutGridMatch(asked.gridMatch);
    if (command == "grid-map") carryOutGridMap(asked.gridMap);
    if (command == "fit") carryOutFit(asked.fit);
    if (command == "train") carryOutTrain(asked.train);
    if (command == "info") carryOutInfo(asked.info);
    if (command == "explain" && !asked.explain.match.modelFile.empty()) {
        carryOutMatch(asked.explain.match);
    }
    if (command == "explain" && !asked.explain.gridMatch.patternFile.empty()) {
        carryOutGridMatch(asked.explain.gridMatch);
    }
    checkSteps(asked.gridMap.steps, asked.gridMap.staggered);
    checkSteps(asked.gridMatch.steps, false);
    checkSteps(asked.train.steps, false);
}

/// What stands behind each option, without the parser.
void readValue(const std::string& text) {
    isTaken([&] {
        const Interval interval = parseInterval(text);
        promise(interval.isFull || interval.low <= interval.high, "an interval that ascends");
    });
    const bool isVector =
        isTaken([&] { promise(parseVector(text).isFinite(), "finite coordinates"); });
    const bool isCount = isTaken([&] { promise(parseCount(text) >= 1, "a count from 1 on"); });
    const bool isNumber = isTaken([&] {
        const double value = parseFinite(text);
        promise(std::isfinite(value), "a finite number");
        promise(isSame(parseFinite(shortText(value)), value), "a number that reads back");
        promise(!significantText(value, 6).empty() && !fixedText(value, 3).empty(), "text");
    });
    promise(!isCount || isNumber, "a count is a number");
    promise(!isVector || !isNumber, "a pair is no number");
    promise(printable(text).find('\n') == std::string::npos, "text on one line");
    promise(withoutControls(text).find('\033') == std::string::npos, "no control characters");
    promise(numCharacters(text) <= text.size(), "no more characters than bytes");
}

}  // namespace

void run(Bytes bytes) {
    if (bytes.empty()) return;
    const bool isValue = bytes.front() % 4 != 0;
    if (isValue) {
        readValue(std::string(bytes.begin() + 1, bytes.end()));
    } else {
        parseCommand(argumentsOf(bytes.subspan(1)));
    }
}

}  // namespace ptmatch::fuzz::options
