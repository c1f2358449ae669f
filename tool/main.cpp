// The command-line tool. Exit codes: 0 found or fitted, 1 nothing found, 2 bad input, 3 a part of a
// batch failed, 130 interrupted.

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "exit_code.h"
#include "foundation/attention.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "number_text.h"
#include "shown_text.h"
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
    const std::string reason = withoutControls(reasonOf(*app, error));
    return "ptmatch: " + CLI::FailureMessage::simple(app, CLI::Error(error.get_name(), reason));
}

// Names of files and words of the library come from anywhere, and must not act on a terminal.
int complain(std::string_view message) {
    try {
        std::cerr << "ptmatch: " << withoutControls(message) << '\n';
    } catch (const std::bad_alloc&) {
        std::cerr << "ptmatch: " << kNotEnoughMemory << '\n';  // takes no memory
    }
    return kExitBadInput;
}

// Without this, the first file that is opened would take the place of a standard stream that is
// closed, and get what is meant for it. The null device is opened the wrong way round: reading and
// writing must fail as they would.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        const bool isClosed = ::fcntl(stream, F_GETFD) < 0 && errno == EBADF;
        // The lowest number that is free is this one.
        if (isClosed) ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

// Help and version are output like any other.
int endOfParsing(const CLI::App& app, const CLI::ParseError& error) {
    if (app.exit(error) != 0) return kExitBadInput;
    std::cout << std::flush;
    return std::cout ? kExitFound : complain("standard output cannot be written");
}

int runTool(int argc, char** argv) {
    CLI::App app(kToolDescription, "ptmatch");
    app.failure_message(failureMessage);
    AllOptions options;
    addAllCommands(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return endOfParsing(app, error);
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
    // A reader that goes early and a limit of file sizes are errors of writing, so that unfinished
    // files are tidied up.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    occupyStandardStreams();
    try {
        return runTool(argc, argv);
    } catch (const rxAttention::Interrupted&) {
        std::cerr << "ptmatch: interrupted\n";
        return kExitInterrupted;
    } catch (const std::bad_alloc&) {
        std::cerr << "ptmatch: " << kNotEnoughMemory << '\n';  // takes no memory
        return kExitBadInput;
    } catch (const std::exception& error) {
        return complain(error.what());
    }
}
