// What becomes of outputs when they cannot be written, when memory ends, or when a signal ends the
// process: the exit code that the documentation tells, old files as they were, nothing
// half-written.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>
#include <utility>

#include "input_error.h"
#include "output_file.h"
#include "process_end.h"
#include "tool_runner.h"

// Sanitizers reserve more addresses than a limit of memory leaves.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PTMATCH_HOSTILE_RESERVES_ADDRESSES 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define PTMATCH_HOSTILE_RESERVES_ADDRESSES 1
#endif
#endif

namespace {

using namespace ptmatch::tool;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// In scripts, $model and so on.
constexpr const char* kHostileNames =
    "tool=" PTMATCH_TOOL "; model=" PTMATCH_DATA_DIR "/demo_pick/model.csv; data=" PTMATCH_DATA_DIR
    "/demo_pick/data.csv; dots=" PTMATCH_DATA_DIR "/dots7x7/data.csv; pattern=" PTMATCH_DATA_DIR
    "/dots_staggered/pattern.txt; staggered=" PTMATCH_DATA_DIR
    "/dots_staggered/data.csv; pairs=" PTMATCH_DATA_DIR "/oblique_plate/pairs.csv; ";

// Each command with an output OUT.
constexpr const char* kHostileWriters[] = {
    "$tool match --model $model --data $data --svg OUT",
    "$tool match --model $model --data $data --votes OUT.svg",
    "$tool grid-map --data $dots --csv OUT",
    "$tool grid-map --data $dots --svg OUT",
    "$tool grid-match --pattern $pattern --data $staggered --csv OUT",
    "$tool explain --model $model --data $data --svg OUT",
    "$tool fit --model perspective --pairs $pairs --csv OUT",
    "$tool train --model $model --out OUT",
    "$tool info card.ptm --svg OUT"};

std::string withOutput(std::string script, const std::string& output) {
    const auto at = script.find("OUT");
    // Votes are drawn into a file whose ending tells the format.
    const bool hasEnding = script.compare(at, 7, "OUT.svg") == 0;
    return script.replace(at, hasEnding ? 7 : 3, output);
}

class HostileOutput : public Tool {
  protected:
    static std::vector<std::string> bash(const std::string& script) {
        return {"/bin/bash", "-c", kHostileNames + script};
    }
    Outcome shell(const std::string& script) const { return runProgram(bash(script)); }

    bool hasUnfinished() const {
        const std::vector<std::string> names = filesInWork();
        return std::any_of(names.begin(), names.end(), [](const std::string& name) {
            return name.find(".tmp") != std::string::npos;
        });
    }
    // Waits for what another process does; fails after a while.
    template <class Condition>
    static bool comesTrue(Condition condition) {
        for (int i = 0; i < 4000; ++i) {
            if (condition()) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }
    // The end of a process: the number of its signal, or 1000 and its exit code.
    static int endOf(pid_t child) {
        const int status = statusAtEnd(child);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 1000 + WEXITSTATUS(status);
    }
};

// A pipe with a name that is full to the brim: whoever writes to it waits.
class FullPipe {
  public:
    explicit FullPipe(const fs::path& path) {
        EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
        descriptor_ = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        EXPECT_GE(descriptor_, 0);
        const std::string block(4096, '.');
        while (::write(descriptor_, block.data(), block.size()) > 0) {
        }
    }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;
    ~FullPipe() { ::close(descriptor_); }

  private:
    int descriptor_ = -1;
};

}  // namespace

TEST_F(HostileOutput, ClosedStreamsAreErrorsOfWritingAndNoFileTakesTheirPlace) {
    const std::string command = "$tool match --model $model --data $data --svg out.svg --json ";
    Outcome outcome = shell(command + ">&-");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.err, "ptmatch: the results cannot be written to standard output\n");
    EXPECT_THAT(filesInWork(), ElementsAre());

    EXPECT_EQ(shell(command + "<&- >&- 2>&-").exitCode, 2);
    EXPECT_THAT(filesInWork(), ElementsAre());

    outcome = shell(command + "<&- 2>&-");
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_THAT(outcome.out, StartsWith("{"));
    EXPECT_THAT(readFile(work() / "out.svg"), StartsWith("<?xml"));

    // A message has nowhere to go, least of all into a file.
    EXPECT_EQ(shell("$tool grid-map --data $data --xv 1e-9,0 --csv out.csv 2>&-").exitCode, 1);
    EXPECT_THAT(readFile(work() / "out.csv"), StartsWith("x,y,i,j\n"));
    EXPECT_EQ(shell("$tool match --model $model --data /dev/stdin <&- 2>&-").exitCode, 2);
}

TEST_F(HostileOutput, HelpThatCannotBeWrittenIsAnError) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    for (const char* words : {"--help", "--version", "match --help"}) {
        const Outcome full = shell(std::string("$tool ") + words + " >/dev/full");
        EXPECT_EQ(full.exitCode, 2) << words;
        EXPECT_EQ(full.err, "ptmatch: standard output cannot be written\n");
        EXPECT_EQ(shell(std::string("$tool ") + words + " >&-").exitCode, 2) << words;
        EXPECT_EQ(shell(std::string("$tool ") + words).exitCode, 0) << words;
    }
}

TEST_F(HostileOutput, AFullDeviceIsNamedByEveryCommand) {
    if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
    ASSERT_EQ(shell("$tool train --model $model --out card.ptm").exitCode, 0);
    fs::create_symlink("/dev/full", work() / "full.svg");
    for (const char* command : kHostileWriters) {
        const Outcome outcome = shell(withOutput(command, "full.svg"));
        EXPECT_EQ(outcome.exitCode, 2) << command;
        EXPECT_EQ(outcome.out, "") << command;
        EXPECT_THAT(outcome.err,
                    HasSubstr("full.svg: cannot be written: No space left on device\n"));
        const Outcome printed = shell(withOutput(command, "new.svg") + " >/dev/full");
        EXPECT_EQ(printed.exitCode, 2) << command;
        EXPECT_THAT(printed.err, HasSubstr("the results cannot be written to standard output\n"));
        EXPECT_THAT(filesInWork(), ElementsAre("card.ptm", "full.svg")) << command;
    }
}

// A limit of 1 KiB for files stands for a disk that becomes full: a part of each output fits. The
// system would end the process at this limit if the tool did not forbid it.
TEST_F(HostileOutput, ADiskThatBecomesFullLeavesOldFilesAndNothingElse) {
    ASSERT_EQ(shell("$tool train --model $data --out card.ptm").exitCode, 0);
    write("old.svg", "old");
    for (std::string script : kHostileWriters) {
        // That of 30 points is shorter than the limit.
        if (script.find(" train ") != std::string::npos)
            script = "$tool train --model $data --out OUT";
        if (script.find(" grid-match ") != std::string::npos) continue;  // so is its table
        const Outcome outcome = shell("ulimit -f 1; " + withOutput(script, "old.svg") +
                                      " | cat; exit ${PIPESTATUS[0]}");
        EXPECT_EQ(outcome.exitCode, 2) << script;
        EXPECT_THAT(outcome.err, HasSubstr("old.svg: cannot be written: File too large\n"))
            << script;
        EXPECT_EQ(outcome.out, "") << script;
        EXPECT_EQ(readFile(work() / "old.svg"), "old") << script;
        EXPECT_THAT(filesInWork(), ElementsAre("card.ptm", "old.svg")) << script;
    }
}

// The results lay in a file that the picture then replaced.
TEST_F(HostileOutput, WhereStandardOutputGoesNoOtherOutputIsWritten) {
    for (const char* output : {"/dev/stdout", "log"}) {
        const Outcome outcome = shell("$tool match --model $model --data $data --svg " +
                                      std::string(output) + " >>log");
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.err, "ptmatch: " + std::string(output) +
                                   ": cannot be written: standard output goes to this file\n");
    }
    EXPECT_EQ(shell("$tool grid-map --data $dots --csv log 2>log").exitCode, 2);
    EXPECT_EQ(readFile(work() / "log"),
              "ptmatch: log: cannot be written: standard error goes to this file\n");
    // A pipe takes one after the other.
    const Outcome piped = shell("$tool match --model $model --data $data --svg /dev/stdout | cat");
    EXPECT_THAT(piped.out, StartsWith("<?xml"));
    EXPECT_THAT(piped.out, HasSubstr("</svg>\n30 model points"));
    EXPECT_THAT(filesInWork(), ElementsAre("log"));
}

TEST_F(HostileOutput, TheLongestNamesAreWritten) {
    const std::string name(251, 'n');
    const Outcome outcome =
        shell("$tool grid-map --data $dots --csv " + name + ".csv --svg " + name + ".svg");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(filesInWork(), ElementsAre(name + ".csv", name + ".svg"));
    const Outcome longer = shell("$tool grid-map --data $dots --csv " + name + "longer");
    EXPECT_EQ(longer.exitCode, 2);
    EXPECT_THAT(longer.err, HasSubstr("File name too long"));
    EXPECT_EQ(filesInWork().size(), 2U);
}

// The name of an unfinished file can be guessed.
TEST_F(HostileOutput, FilesThatLieInTheWayAreNotWrittenTo) {
    const std::string target = (work() / "out").string();
    const std::string start = ".ptmatch-" + std::to_string(::getpid()) + "-";
    int number = 0;  // counts all outputs of the process: where it stands, an output tells
    {
        const PreparedFile before(target, "text");
        ASSERT_EQ(filesInWork().size(), 1U);
        ASSERT_THAT(filesInWork()[0], StartsWith(start));
        number = std::stoi(filesInWork()[0].substr(start.size()));
    }
    write("victim", "precious");
    const auto inTheWay = [&](int step) { return start + std::to_string(number + step) + ".tmp"; };
    for (int step = 1; step <= 20; ++step) {
        fs::create_symlink("victim", work() / inTheWay(step));
    }
    {
        PreparedFile output(target, "text");
        EXPECT_EQ(readFile(work() / inTheWay(21)), "text");
        output.commit();
    }
    EXPECT_EQ(readFile(target), "text");
    EXPECT_EQ(readFile(work() / "victim"), "precious");
    EXPECT_EQ(filesInWork().size(), 22U);
}

// Tidying up is for the end of a process.
TEST_F(HostileOutput, UnfinishedFilesGoWithTheirObjectsAndByTidyingUp) {
    const auto path = [&](const char* name) { return (work() / name).string(); };
    for (const char* name : {"a", "b", "c", "d"}) write(name, "half");
    { const UnfinishedFile c(path("c")); }
    EXPECT_THAT(filesInWork(), ElementsAre("a", "b", "d"));
    const pid_t child = ::fork();
    if (child == 0) {
        const UnfinishedFile a(path("a"));
        UnfinishedFile b(path("b"));
        b.release();  // the file may be somebody else's from now on
        tidyUp();
        ::_exit(0);
    }
    EXPECT_EQ(endOf(child), 1000);
    EXPECT_THAT(filesInWork(), ElementsAre("b", "d"));
}

// Threads of a batch go on while a signal is handled, or when they were left.
TEST_F(HostileOutput, AFileThatIsMadeAfterTheTidyingUpGoesAndItsThreadStops) {
    write("out", "old");
    const std::string target = (work() / "out").string();
    const pid_t child = ::fork();
    if (child == 0) {
        tidyUp();
        ::alarm(1);  // the end of the process, while its thread waits for that
        PreparedFile(target, "new").commit();
        ::_exit(0);
    }
    EXPECT_EQ(endOf(child), SIGALRM);
    EXPECT_THAT(filesInWork(), ElementsAre("out"));
    EXPECT_EQ(readFile(target), "old");
}

// Its temporary was taken away: an error of writing would come before the end by the signal.
TEST_F(HostileOutput, AFileThatWasTidiedUpIsNotReportedAsAFault) {
    write("out", "old");
    const std::string target = (work() / "out").string();
    const pid_t child = ::fork();
    if (child == 0) {
        PreparedFile output(target, "new");
        tidyUp();
        ::alarm(1);
        try {
            output.commit();
        } catch (const InputError&) {
            ::_exit(1);
        }
        ::_exit(0);
    }
    EXPECT_EQ(endOf(child), SIGALRM);
    EXPECT_THAT(filesInWork(), ElementsAre("out"));
    EXPECT_EQ(readFile(target), "old");
}

TEST_F(HostileOutput, ARendererThatIsRegisteredAfterTheTidyingUpIsEnded) {
    const pid_t child = ::fork();
    if (child == 0) {
        tidyUp();
        const pid_t leader = ::fork();
        if (leader == 0) {
            for (;;) ::pause();
        }
        ::setpgid(leader, leader);
        ::alarm(60);
        const StartedProgram started(leader);
        int status = 0;
        ::waitpid(leader, &status, 0);
        ::_exit(WIFSIGNALED(status) ? WTERMSIG(status) : 1);
    }
    EXPECT_EQ(endOf(child), 1000 + SIGKILL);
}

// What the tool ignores is not for what it starts.
TEST_F(HostileOutput, TheRendererIsStartedWithTheUsualSignals) {
    fs::create_directory(work() / "bin");
    write("bin/rsvg-convert", "#!/bin/bash\ngrep SigIgn: /proc/$$/status >ignored\n");
    fs::permissions(work() / "bin/rsvg-convert", fs::perms::owner_all);
    shell("PATH=$PWD/bin:$PATH $tool match --model $model --data $data --png out.png");
    const std::string ignored = readFile(work() / "ignored");
    ASSERT_THAT(ignored, StartsWith("SigIgn:"));
    const unsigned long long mask = std::stoull(ignored.substr(7), nullptr, 16);
    for (const int signal : {SIGPIPE, SIGXFSZ}) EXPECT_EQ(mask >> (signal - 1) & 1U, 0U) << signal;
}

// The results of every command are more than nothing.
TEST_F(HostileOutput, AReaderThatHasGoneIsNamedByEveryCommand) {
    ASSERT_EQ(shell("$tool train --model $model --out card.ptm").exitCode, 0);
    ASSERT_EQ(::mkfifo((work() / "gone").c_str(), 0600), 0);
    write("old.svg", "old");
    for (const char* command : kHostileWriters) {
        const Outcome outcome =
            shell(": <gone & exec 3>gone; wait; " + withOutput(command, "old.svg") + " >&3");
        EXPECT_EQ(outcome.exitCode, 2) << command;
        EXPECT_EQ(outcome.err, "ptmatch: the results cannot be written to standard output\n")
            << command;
        EXPECT_EQ(readFile(work() / "old.svg"), "old") << command;
        EXPECT_THAT(filesInWork(), ElementsAre("card.ptm", "gone", "old.svg")) << command;
    }
}

// Nor can root write there.
TEST_F(HostileOutput, AFolderThatTakesNoFilesIsNamedByEveryCommand) {
    ASSERT_EQ(shell("$tool train --model $model --out card.ptm").exitCode, 0);
    for (const char* command : kHostileWriters) {
        const Outcome outcome = shell(withOutput(command, "/proc/x.svg"));
        EXPECT_EQ(outcome.exitCode, 2) << command;
        EXPECT_EQ(outcome.out, "") << command;
        EXPECT_THAT(outcome.err, HasSubstr("/proc/x.svg: cannot be written: ")) << command;
        EXPECT_THAT(filesInWork(), ElementsAre("card.ptm")) << command;
    }
}

// The process waits for a reader of its results, with all files written beside their targets.
TEST_F(HostileOutput, ASignalWhileResultsArePrintedLeavesOldFilesAndNothingElse) {
    ASSERT_EQ(shell("$tool train --model $model --out card.ptm").exitCode, 0);
    const FullPipe pipe(work() / "pipe");
    write("old.svg", "old");
    for (const int signal : {SIGTERM, SIGHUP, SIGINT}) {
        for (const char* command : kHostileWriters) {
            const pid_t child = start(bash("exec " + withOutput(command, "old.svg") + " >pipe"));
            EXPECT_TRUE(comesTrue([&] { return hasUnfinished(); })) << command;
            ::kill(child, signal);
            const int end = endOf(child);
            // The signal may come while a picture is drawn, which it interrupts in good order.
            EXPECT_TRUE(end == signal || (signal == SIGINT && end == 1130)) << command << end;
            EXPECT_EQ(readFile(work() / "old.svg"), "old") << command;
            EXPECT_THAT(filesInWork(), ElementsAre("card.ptm", "old.svg", "pipe")) << command;
        }
    }
}

TEST_F(HostileOutput, CtrlCWhileAPipeWaitsForItsReaderIsAnInterruption) {
    ASSERT_EQ(::mkfifo((work() / "pipe").c_str(), 0600), 0);
    const pid_t child =
        start(bash("exec $tool match --model $model --data $data --svg pipe --json"));
    // Computing does not sleep, and reading these files does not take as long.
    int naps = 0;
    EXPECT_TRUE(comesTrue([&] {
        const std::string state = readFile("/proc/" + std::to_string(child) + "/stat");
        const bool isTool = state.find("(ptmatch) S ") != std::string::npos;
        naps = isTool ? naps + 1 : 0;
        return naps == 20;
    }));
    ::kill(child, SIGINT);
    const Outcome outcome = finish(child);
    EXPECT_EQ(outcome.exitCode, 130);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "ptmatch: interrupted\n");
}

TEST_F(HostileOutput, ASignalEndsTheRendererToo) {
    fs::create_directory(work() / "bin");
    write("bin/rsvg-convert", "#!/bin/bash\necho $$ >started.pid\nmv started.pid pid\nsleep 600\n");
    fs::permissions(work() / "bin/rsvg-convert", fs::perms::owner_all);
    const pid_t child = start(
        bash("PATH=$PWD/bin:$PATH exec $tool match --model $model --data $data --png out.png"));
    ASSERT_TRUE(comesTrue([&] { return fs::exists(work() / "pid"); }));
    const pid_t renderer = std::stoi(readFile(work() / "pid"));
    ::kill(child, SIGTERM);
    EXPECT_EQ(endOf(child), SIGTERM);
    const std::string state = "/proc/" + std::to_string(renderer) + "/stat";
    EXPECT_TRUE(comesTrue([&] {  // gone, or waiting for somebody to ask how it ended
        const std::string text = readFile(state);
        return text.empty() || text.find(") Z ") != std::string::npos;
    }));
    EXPECT_FALSE(fs::exists(work() / "out.png"));
}

// Not only the search: whatever needs memory first fails, from the tables to the picture.
TEST_F(HostileOutput, TooLittleMemoryIsSaidAtEveryLimit) {
#ifdef PTMATCH_HOSTILE_RESERVES_ADDRESSES
    GTEST_SKIP() << "the sanitizer needs more addresses than the limits leave";
#endif
    std::string pairs;
    for (int i = 0; i < 20000; ++i) {
        const std::string x = std::to_string(i % 141);
        const std::string y = std::to_string(i / 141);
        pairs.append(x).append(",").append(y).append(",").append(y).append(",").append(x);
        pairs.append("\n");
    }
    write("pairs.csv", pairs);
    struct Case {
        const char* command;
        std::vector<std::string> pictures;
    };
    const Case cases[] = {
        {"$tool fit --model affine --pairs pairs.csv --svg old-1.svg --json", {"old-1.svg"}},
        {"$tool grid-map --data $dots --svg old-1.svg", {"old-1.svg"}},
        {"$tool match --model $model --data $data $dots --jobs 2 --svg 'old-{number}.svg'",
         {"old-1.svg", "old-2.svg"}}};
    std::size_t tooLittle = 0;
    for (const auto& [command, pictures] : cases) {
        const bool isBatch = pictures.size() > 1;
        const auto isWhole = [&](const std::string& picture) {
            const std::string text = readFile(work() / picture);
            return text.size() > 1000 && text.substr(text.size() - 7) == "</svg>\n";
        };
        std::size_t enough = 0;
        for (int limit = 10000; limit <= 80000; limit += limit / 5) {
            for (const std::string& picture : pictures) write(picture, "old");
            const Outcome outcome = shell("ulimit -v " + std::to_string(limit) + "; " + command);
            SCOPED_TRACE(command + std::string(" within ") + std::to_string(limit) +
                         " KiB: " + outcome.err);
            if (outcome.exitCode == 127) continue;  // not even the program was loaded
            EXPECT_TRUE(outcome.exitCode == 0 || outcome.exitCode == 2 ||
                        (isBatch && outcome.exitCode == 3))
                << outcome.exitCode;
            EXPECT_FALSE(hasUnfinished());
            const auto whole = std::count_if(pictures.begin(), pictures.end(), isWhole);
            if (outcome.exitCode == 0) {
                ++enough;
                EXPECT_EQ(whole, std::ssize(pictures));
                continue;
            }
            ++tooLittle;
            EXPECT_EQ(whole, outcome.exitCode == 3 ? 1 : 0);
            for (const std::string& picture : pictures) {
                EXPECT_TRUE(isWhole(picture) || readFile(work() / picture) == "old") << picture;
            }
            EXPECT_THAT(outcome.err, testing::AnyOf(HasSubstr("not enough memory for this input"),
                                                    HasSubstr("no thread can be started")));
        }
        EXPECT_GT(enough, 0U) << command;
    }
    EXPECT_GT(tooLittle, 0U);  // a small table may fit wherever the program does
}
