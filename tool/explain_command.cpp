#include "explain_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <ostream>

#include "explain_grid.h"
#include "explain_json.h"
#include "explain_table.h"
#include "grid_match_picture.h"
#include "grid_match_search.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "match_picture.h"
#include "number_text.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

// Two to four numbers with commas between.
ExpectedPose parseExpected(const std::string& text) {
    constexpr std::size_t kFewest = 2;
    constexpr std::size_t kMost = 4;
    std::vector<double> numbers;
    std::string rest = text + ",";
    for (auto end = rest.find(','); end != std::string::npos; end = rest.find(',')) {
        const auto number = parseNumber(rest.substr(0, end));
        if (!number || !std::isfinite(*number)) numbers.resize(kMost + 1);
        numbers.push_back(number.value_or(0.0));
        rest.erase(0, end + 1);
    }
    if (numbers.size() < kFewest || numbers.size() > kMost) {
        throw InputError("expected X,Y or X,Y,DEG or X,Y,DEG,SCALE, found " + inQuotes(text));
    }
    ExpectedPose pose{{numbers[0], numbers[1]}, {}, {}};
    if (numbers.size() > kFewest) pose.rotationDeg = numbers[kFewest];
    if (numbers.size() == kMost) pose.scale = numbers[kMost - 1];
    if (pose.scale && !(*pose.scale > 0.0)) throw InputError("SCALE must be greater than 0");
    return pose;
}

void describe(CLI::App& command, const char* option, const std::string& text) {
    command.get_option(option)->description(text);
}

// Options of both kinds of run are added once, and what they say goes to both.
void addOptionsOfRuns(CLI::App& command, ExplainOptions& options) {
    addRunOptions(command, options.match.run);
    command
        .add_flag("--exhaustive", options.match.exhaustive,
                  "Try every assignment of points; for a handful of points only")
        ->group("Run parameters");
    addStepOptions(command, options.gridMatch.steps);
    addNumber(command, "--snap",
              "With --pattern: largest distance of a point from its position, data units",
              options.gridMatch.snap);
    describe(command, "--rotation",
             "Rotation allowed around the expected pose, degrees (default -15,15), or of the "
             "pattern against the steps (default -20,20)");
    describe(command, "--scale",
             "Scales to try, as change against the expected pose (default 0,0), or size of the "
             "grid against the steps (default -0.2,0.2)");
}

// Options that only one kind of run has.
constexpr const char* kPointOptions[] = {
    "--start-x",       "--start-y",   "--start-rotation", "--start-scale", "--x-translation",
    "--y-translation", "--grid-size", "--capture-range",  "--exhaustive",  "--expect"};
constexpr const char* kGridOptions[] = {"--xv", "--yv", "--snap"};

template <std::size_t N>
void refuse(const CLI::App& command, const char* const (&names)[N], const std::string& other) {
    for (const char* const name : names) {
        if (command.count(name) == 0) continue;
        throw CLI::ValidationError(name, "is not for " + other);
    }
}

void completeOptions(const CLI::App& command, ExplainOptions& options) {
    MatchOptions& match = options.match;
    GridMatchOptions& grid = options.gridMatch;
    if (match.modelFile.empty() == grid.patternFile.empty()) {
        throw CLI::RequiredError(match.modelFile.empty() ? "--model or --pattern"
                                                         : "one of --model and --pattern");
    }
    if (!match.data.isGiven()) throw CLI::RequiredError("--data");
    if (!match.modelFile.empty()) return refuse(command, kGridOptions, "--model");
    refuse(command, kPointOptions, "--pattern");
    grid.data = match.data;
    if (command.count("--rotation") > 0) grid.rotationDeg = match.run.rotationDeg;
    if (command.count("--scale") > 0) grid.scale = match.run.scale;
    grid.minCoverage = match.run.minCoverage;
    grid.maxResults = match.run.maxResults;
}

ExplainReport explainedPoints(const ExplainOptions& options, std::ostream& notes) {
    ExplainReport report;
    report.timeLimit = options.timeLimit;
    report.match.params = runParams(options.match.run);
    report.match.exhaustive = options.match.exhaustive;
    report.match.modelFile = options.match.modelFile;
    report.match.dataFile = options.match.data.files.front();
    PointQuestion question;
    question.run = options.match.run;
    question.exhaustive = options.match.exhaustive;
    question.expected = options.expected;
    question.timeLimit = options.timeLimit;
    question.model = readModel(options.match.modelFile, options.match.exhaustive
                                                            ? rxPointMatcherDefs::eExhaustiveMode
                                                            : rxPointMatcherDefs::eAutoDetect);
    report.match.model = question.model.table;
    report.match.data = readPoints(report.match.dataFile);
    if (question.exhaustive) noteLongSearch(report.match.model, report.match.data, notes);
    const InterruptGuard guard(InterruptGuard::Way::kExitAtOnce);
    explainPoints(question, report);
    return report;
}

ExplainReport explainedGrid(const ExplainOptions& options) {
    ExplainReport report;
    report.isGrid = true;
    report.timeLimit = options.timeLimit;
    GridMatchSetup setup = readGridMatch(options.gridMatch);
    setup.report.dataFile = options.gridMatch.data.files.front();
    setup.report.data = readPoints(setup.report.dataFile);
    const InterruptGuard guard(InterruptGuard::Way::kExitAtOnce);
    explainGrid({setup, options.gridMatch.snap, options.timeLimit}, report);
    return report;
}

// The pose that the answer is about, drawn as match and grid-match draw their best one.
std::string explainPicture(const ExplainReport& report, const PictureStyle& style) {
    const Rerun* shown = report.chosen ? &report.reruns[*report.chosen] : nullptr;
    if (report.expected && report.expected->isFound()) shown = &*report.expected;
    if (report.isGrid) {
        GridMatchReport grid = report.gridMatch;
        if (shown && shown->placement) grid.placements = {*shown->placement};
        return gridMatchPicture(grid, style);
    }
    MatchReport match = report.match;
    if (shown && shown->pose) match.poses = {*shown->pose};
    return matchPicture(match, style);
}

}  // namespace

CLI::App* addExplainCommand(CLI::App& app, ExplainOptions& options) {
    CLI::App* const command = app.add_subcommand(
        "explain", "Tell why match or grid-match find nothing, or not what is expected");
    command
        ->add_option("--model", options.match.modelFile,
                     "Table of the pattern, or a trained matcher, as for match")
        ->type_name("FILE");
    command
        ->add_option("--pattern", options.gridMatch.patternFile,
                     "Set positions of a grid, or a trained matcher, as for grid-match")
        ->type_name("FILE");
    addFile(*command, "--data", "Table of the points to search: x,y (required)",
            options.match.data.files.emplace_back());
    command->add_flag("--json", options.json, "Print the answer as JSON");
    addPictureOptions(*command, options.picture, "Draw the pose that the answer is about", true);
    addText(*command, "--expect", "X,Y[,DEG[,SCALE]]",
            "With --model: tell what excludes a pose here, or what it ranks behind; X,Y is where "
            "the centre of the model lies in the data",
            [&options](const std::string& text) { options.expected = parseExpected(text); });
    addText(*command, "--time-limit", "SECONDS",
            "Time for each search with relaxed limits (default 10)",
            [&options](const std::string& text) {
                options.timeLimit = parseFinite(text);
                if (!(options.timeLimit > 0.0)) throw InputError("must be greater than 0");
            });
    command->get_option("--expect")->group("Options");
    command->get_option("--time-limit")->group("Options");
    addOptionsOfRuns(*command, options);
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([command, &options] { completeOptions(*command, options); });
    return command;
}

int runExplain(const ExplainOptions& options, std::ostream& out, std::ostream& notes) {
    const bool isGrid = !options.gridMatch.patternFile.empty();
    const std::string& modelFile = isGrid ? options.gridMatch.patternFile : options.match.modelFile;
    const std::string& dataFile = options.match.data.files.front();
    const PictureOptions asked = pictureOfTable(options.picture, dataFile);
    requireSparedInputs(asked.outputs(),
                        {{modelFile, isGrid ? "the pattern" : "the table of the model"},
                         {dataFile, "the table of the data"},
                         {asked.backgroundFile, "the photograph"}});
    PictureOutput picture(asked);
    if (options.expected && options.match.exhaustive) {
        throw InputError("--expect: is not for --exhaustive");
    }
    const ExplainReport report = isGrid ? explainedGrid(options) : explainedPoints(options, notes);
    picture.draw([&](const PictureStyle& style) { return explainPicture(report, style); });
    out << (options.json ? explainJson(report) : explainTable(report)) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    picture.commit();
    return report.hasFound() ? kExitFound : kExitNothingFound;
}

}  // namespace ptmatch::tool
