// The command-line tool. Exit codes: 0 found or fitted, 1 nothing found, 2 bad input, 3 a part of a
// batch failed, 130 interrupted.

#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "exit_code.h"
#include "foundation/attention.h"
#include "interrupt_guard.h"
#include "number_text.h"
#include "tool_app.h"

namespace {

using namespace ptmatch::tool;

// What the parser says, but for words that it does not know: it calls commands otherwise than the
// tool does, and lists unexpected words from the last to the first.
std::string reasonOf(const CLI::App& app, const CLI::Error& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    if (app.get_subcommands().empty()) {
        if (unknown.empty()) return "a command is required";
        return "unknown command " + inQuotes(unknown.front());
    }
    if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr) return error.what();
    std::string text = unknown.size() == 1 ? "The following argument was not expected:"
                                           : "The following arguments were not expected:";
    for (const std::string& word : unknown) text += " " + printable(word);
    return text;
}

std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
    return "ptmatch: " +
           CLI::FailureMessage::simple(app, CLI::Error(error.get_name(), reasonOf(*app, error)));
}

int complain(const std::exception& error) {
    std::cerr << "ptmatch: " << error.what() << '\n';
    return kExitBadInput;
}

int runTool(int argc, char** argv) {
    CLI::App app(kToolDescription, "ptmatch");
    app.failure_message(failureMessage);
    AllOptions options;
    addAllCommands(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kExitBadInput;  // 0: help or version was asked for
    }
    const auto isGiven = [&](const char* command) { return app.got_subcommand(command); };
    if (isGiven("grid-map")) return runGridMap(options.gridMap, std::cout, std::cerr);
    if (isGiven("grid-match")) return runGridMatch(options.gridMatch, std::cout, std::cerr);
    if (isGiven("explain")) return runExplain(options.explain, std::cout, std::cerr);
    if (isGiven("fit")) return runFit(options.fit, std::cout, std::cerr);
    if (isGiven("train")) return runTrain(options.train, std::cout, std::cerr);
    if (isGiven("info")) return runInfo(options.info, std::cout);
    return runMatch(options.match, std::cout, std::cerr);
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
