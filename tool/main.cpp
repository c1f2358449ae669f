// The command-line tool. Exit codes: 0 found or fitted, 1 nothing found, 2 bad input, 130
// interrupted.

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>

#include "exit_code.h"
#include "fit_command.h"
#include "foundation/attention.h"
#include "grid_map_command.h"
#include "grid_match_command.h"
#include "info_command.h"
#include "interrupt_guard.h"
#include "match_command.h"
#include "train_command.h"

namespace {

using namespace ptmatch::tool;

std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
    return "ptmatch: " + CLI::FailureMessage::simple(app, error);
}

int complain(const std::exception& error) {
    std::cerr << "ptmatch: " << error.what() << '\n';
    return kExitBadInput;
}

int runTool(int argc, char** argv) {
    CLI::App app(
        "Finds known patterns and grids among points in the plane, and fits transforms to pairs.",
        "ptmatch");
    app.require_subcommand(1);
    app.failure_message(failureMessage);
    MatchOptions match;
    GridMapOptions gridMap;
    GridMatchOptions gridMatch;
    FitOptions fit;
    TrainOptions train;
    InfoOptions info;
    addMatchCommand(app, match);
    const CLI::App* const gridMapCommand = addGridMapCommand(app, gridMap);
    const CLI::App* const gridMatchCommand = addGridMatchCommand(app, gridMatch);
    const CLI::App* const fitCommand = addFitCommand(app, fit);
    const CLI::App* const trainCommand = addTrainCommand(app, train);
    const CLI::App* const infoCommand = addInfoCommand(app, info);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kExitBadInput;  // 0: help was asked for
    }
    if (gridMapCommand->parsed()) return runGridMap(gridMap, std::cout, std::cerr);
    if (gridMatchCommand->parsed()) return runGridMatch(gridMatch, std::cout, std::cerr);
    if (fitCommand->parsed()) return runFit(fit, std::cout, std::cerr);
    if (trainCommand->parsed()) return runTrain(train, std::cout, std::cerr);
    if (infoCommand->parsed()) return runInfo(info, std::cout);
    return runMatch(match, std::cout, std::cerr);
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that goes early is an error of writing, so that unfinished files are tidied up.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return runTool(argc, argv);
    } catch (const rxAttention::Interrupted&) {
        std::cerr << "ptmatch: interrupted\n";
        return kExitInterrupted;
    } catch (const std::exception& error) {
        return complain(error);
    }
}
