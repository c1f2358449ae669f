// Promise: any arguments are the options of a command, or are refused with an error of parsing or a
// message in one line; options that were taken stand for parameters that a run accepts.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzzers.h"
#include "grid_options.h"
#include "input_error.h"
#include "number_text.h"
#include "option_text.h"
#include "promise.h"
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

void checkRun(const RunOptions& run) {
    isTaken([&] {
        const rxPointMatcherRunParams params = runParams(run);
        promise(params.minCoverage() >= 0.0 && params.minCoverage() <= 1.0, "a share");
        promise(params.maxNumResults() >= 1, "a result at least");
        promise(params.autoGridSize() || params.gridSize() > 0.0, "a grid size above 0");
    });
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
    } catch (const CLI::ParseError&) {
        return;
    }
    promise(app.get_subcommands().size() == 1, "one command");
    checkRun(asked.match.run);
    checkRun(asked.explain.match.run);
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
    isTaken([&] { promise(parseVector(text).isFinite(), "finite coordinates"); });
    isTaken([&] { promise(parseCount(text) >= 1, "a count from 1 on"); });
    isTaken([&] {
        const double value = parseFinite(text);
        promise(std::isfinite(value), "a finite number");
        promise(isSame(parseFinite(shortText(value)), value), "a number that reads back");
        promise(!significantText(value, 6).empty() && !fixedText(value, 3).empty(), "text");
    });
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
