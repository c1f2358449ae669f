// What the tool says about itself: help, manual page and completion, all made from one description.

#include "tool_pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "tool_app.h"
#include "tool_runner.h"

using namespace ptmatch::tool;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

const std::vector<std::string> kCommands = {"match", "grid-map", "grid-match", "explain",
                                            "fit",   "train",    "info"};

class ToolPages : public Tool {
  protected:
    ToolPages() { addAllCommands(app_, options_); }

    const CLI::App& app() const { return app_; }

    // What bash would offer for the last of the words after `ptmatch`.
    std::vector<std::string> completions(const std::vector<std::string>& words) const {
        std::string script = "source '" PTMATCH_PAGES_DIR "/ptmatch.bash'\nCOMP_WORDS=(ptmatch";
        for (const std::string& word : words) script += " '" + word + "'";
        script += ")\nCOMP_CWORD=" + std::to_string(words.size()) +
                  "\n_ptmatch\nfor reply in \"${COMPREPLY[@]}\"; do echo \"$reply\"; done | sort\n";
        write(".script", script);
        const Outcome outcome = runProgram({"/bin/bash", ".script"});
        EXPECT_EQ(outcome.err, "");
        std::istringstream lines(outcome.out);
        std::vector<std::string> replies;
        for (std::string line; std::getline(lines, line);) replies.push_back(line);
        return replies;
    }

  private:
    AllOptions options_;
    CLI::App app_{kToolDescription, "ptmatch"};
};

// Lines of the help that begin with the name of the program.
std::vector<std::string> examplesIn(const std::string& help) {
    std::vector<std::string> examples;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  ptmatch ", 0) == 0) examples.push_back(line.substr(10));
    }
    return examples;
}

}  // namespace

TEST_F(ToolPages, ExamplesOfEveryHelpRun) {
    fs::create_directory_symlink(PTMATCH_DATA_DIR, work() / "data");
    for (const std::string& command : kCommands) {
        const Outcome help = run(command, {"--help"});
        EXPECT_EQ(help.exitCode, 0);
        const std::vector<std::string> examples = examplesIn(help.out);
        EXPECT_GE(examples.size(), 2U) << command;
        for (const std::string& example : examples) {
            const Outcome outcome =
                runProgram({"/bin/sh", "-c", std::string(PTMATCH_TOOL) + " " + example});
            EXPECT_EQ(outcome.exitCode, 0) << example << "\n" << outcome.err;
        }
    }
}

TEST_F(ToolPages, HelpNamesTheCommandsAndTheExitCodes) {
    const Outcome help = runProgram({PTMATCH_TOOL, "--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const std::string& command : kCommands) {
        EXPECT_THAT(help.out, HasSubstr("\n  " + command + " "));
    }
    EXPECT_THAT(help.out, HasSubstr("Exit codes: 0 found, 1 nothing found, 2 bad input, 3 "));
}

TEST_F(ToolPages, VersionIsPrintedAndInTheManual) {
    const Outcome outcome = runProgram({PTMATCH_TOOL, "--version"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, MatchesRegex("ptmatch [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_THAT(readFile(PTMATCH_PAGES_DIR "/ptmatch.1"),
                AllOf(HasSubstr("\"" + outcome.out.substr(0, outcome.out.size() - 1) + "\""),
                      HasSubstr("\n.SH OPTIONS\n"), HasSubstr("\\fB\\-\\-version\\fR\n")));
}

TEST_F(ToolPages, WordsThatAreUnknownAreNamedInTheirOrder) {
    const std::string more = "\nRun with --help for more information.\n";
    EXPECT_EQ(runProgram({PTMATCH_TOOL, "fnd", "a"}).err,
              "ptmatch: unknown command \"fnd\"" + more);
    const Outcome none = runProgram({PTMATCH_TOOL});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_EQ(none.err, "ptmatch: a command is required" + more);
    EXPECT_EQ(refusalBy("match", {"--rotaton", "full"}),
              "ptmatch: The following arguments were not expected: --rotaton full" + more);
    EXPECT_EQ(refusalBy("grid-map", {"--rotaton"}),
              "ptmatch: The following argument was not expected: --rotaton" + more);
}

TEST_F(ToolPages, ManualAndCompletionNameEveryOption) {
    const std::string manual = manualPage(app(), "1.2.3");
    EXPECT_THAT(manual, StartsWith(".TH PTMATCH 1 \"\" \"ptmatch 1.2.3\""));
    std::size_t numOptions = 0;
    for (const std::string& name : kCommands) {
        const CLI::App& command = *app().get_subcommand(name);
        std::string offered = testing::PrintToString(completions({name, "-"}));
        const auto section = manual.find(".SS ptmatch " +
                                         (name == "grid-map"     ? "grid\\-map"
                                          : name == "grid-match" ? "grid\\-match"
                                                                 : name) +
                                         "\n");
        ASSERT_NE(section, std::string::npos) << name;
        const std::string own = manual.substr(section, manual.find("\n.S", section + 1) - section);
        for (const CLI::Option* const option : command.get_options()) {
            for (const std::string& longName : option->get_lnames()) {
                ++numOptions;
                EXPECT_THAT(offered, HasSubstr("\"--" + longName + "\""));
                std::string escaped = "\\-\\-" + longName;
                for (auto at = escaped.find('-', 4); at != std::string::npos;
                     at = escaped.find('-', at + 2)) {
                    escaped.insert(at, 1, '\\');
                }
                EXPECT_THAT(own, HasSubstr(escaped));
            }
        }
    }
    EXPECT_GT(numOptions, 50U);
}

TEST_F(ToolPages, BuiltPagesAreThoseOfTheTool) {
    EXPECT_EQ(readFile(PTMATCH_PAGES_DIR "/ptmatch.bash"), bashCompletion(app()));
    EXPECT_THAT(readFile(PTMATCH_PAGES_DIR "/ptmatch.1"),
                AllOf(HasSubstr("\n.SH COMMANDS\n.SS ptmatch match\n"),
                      HasSubstr("\n.B ptmatch info\n[\\fIoptions\\fR] \\fIFILE\\fR\n"),
                      HasSubstr("\n.SH FILES\n.TP\n.B Points\n"), HasSubstr("\n.SH SEE ALSO\n"),
                      HasSubstr("or output cannot be written")));
}

TEST_F(ToolPages, FormatterOfTheManualHasNoWarnings) {
    if (runProgram({"/bin/sh", "-c", "command -v groff"}).exitCode != 0) {
        GTEST_SKIP() << "groff is not installed";
    }
    const Outcome outcome = runProgram(
        {"/bin/sh", "-c", "groff -man -ww -Tascii -P-cbou '" PTMATCH_PAGES_DIR "/ptmatch.1'"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, HasSubstr("EXIT STATUS"));
    // Nothing at the start of a line was taken for a request.
    EXPECT_THAT(outcome.out, HasSubstr("PGM, rows of '.' and 'x'"));
}

TEST_F(ToolPages, BashOffersCommandsFirst) {
    EXPECT_THAT(completions({"gr"}), ElementsAre("grid-map", "grid-match"));
    EXPECT_EQ(completions({""}).size(), kCommands.size() + 3);  // and -h, --help, --version
    EXPECT_THAT(completions({"--v"}), ElementsAre("--version"));
}

TEST_F(ToolPages, BashOffersFilesAndWordsAfterTheirOptions) {
    write("model.csv", "");
    write("monday.csv", "");
    write("tuesday.csv", "");
    EXPECT_THAT(completions({"match", "--model", "mo"}), ElementsAre("model.csv", "monday.csv"));
    EXPECT_THAT(completions({"match", "--data", "monday.csv", "t"}), ElementsAre("tuesday.csv"));
    EXPECT_THAT(completions({"match", "--rotation", "f"}), ElementsAre("full"));
    // bash makes three words of --model=mo, and leaves quotes and backslashes in them.
    EXPECT_THAT(completions({"match", "--model", "=", "mo"}),
                ElementsAre("model.csv", "monday.csv"));
    EXPECT_THAT(completions({"match", "--rotation", "="}), ElementsAre("full"));
    write("my points.csv", "");
    EXPECT_THAT(completions({"match", "--data", "my\\ p"}), ElementsAre("my points.csv"));
    EXPECT_THAT(completions({"match", "--data", "\"my p"}), ElementsAre("my points.csv"));
    EXPECT_THAT(completions({"match", "--jobs", ""}), IsEmpty());
    EXPECT_THAT(completions({"fit", "--model", "aff"}), ElementsAre("affine", "affine3d"));
    EXPECT_THAT(completions({"info", "tu"}), ElementsAre("tuesday.csv"));
    EXPECT_THAT(completions({"match", "--model", "model.csv", "--fr"}), ElementsAre("--frames"));
}
