// The command-line tool. Exit codes: 0 found, 1 nothing found, 2 bad input, 130 interrupted.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "foundation/attention.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "match_command.h"

namespace {

using namespace ptmatch::tool;

int complain(const std::exception& error) {
    std::cerr << "ptmatch: " << error.what() << '\n';
    return kExitBadInput;
}

int runTool(int argc, char** argv) {
    CLI::App app("Finds known patterns among points in the plane.", "ptmatch");
    app.require_subcommand(1);
    MatchOptions options;
    addMatchCommand(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kExitBadInput;  // 0: help was asked for
    }
    const int result = runMatch(options, std::cout);
    std::cout.flush();
    if (!std::cout) throw InputError("the results cannot be written to standard output");
    return result;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return runTool(argc, argv);
    } catch (const rxAttention::Interrupted&) {
        std::cerr << "ptmatch: interrupted\n";
        return kExitInterrupted;
    } catch (const std::exception& error) {
        return complain(error);
    }
}
