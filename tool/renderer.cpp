#include "renderer.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <sstream>
#include <thread>
#include <utility>

#include "foundation/attention.h"
#include "input_error.h"
#include "number_text.h"
#include "png_file.h"
#include "process_end.h"

namespace ptmatch::tool {
namespace {

[[noreturn]] void fail(const std::string& reason) {
    throw InputError(std::string("--png: ") + kRendererName + " " + reason);
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

/// A file without a name, which is gone when it is closed.
class NamelessFile {
  public:
    NamelessFile() : file_(std::tmpfile()) {
        if (!file_) fail(std::string("cannot be given a file: ") + std::strerror(errno));
    }
    int descriptor() const { return ::fileno(file_.get()); }

    void write(std::string_view text) {
        const bool isWritten =
            std::fwrite(text.data(), 1, text.size(), file_.get()) == text.size() &&
            std::fflush(file_.get()) == 0;
        if (!isWritten) fail(std::string("cannot be given the picture: ") + std::strerror(errno));
        std::rewind(file_.get());
    }
    std::string read() {
        std::rewind(file_.get());
        std::string text;
        std::array<char, 65536> block{};
        while (const std::size_t count = std::fread(block.data(), 1, block.size(), file_.get())) {
            text.append(block.data(), count);
        }
        return text;
    }

  private:
    std::unique_ptr<std::FILE, CloseFile> file_;
};

/// The standard streams of a process to be started.
class Streams {
  public:
    Streams(int in, int out, int err) {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawn_file_actions_adddup2(&actions_, in, STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions_, out, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions_, err, STDERR_FILENO);
    }
    ~Streams() { ::posix_spawn_file_actions_destroy(&actions_); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions_; }

  private:
    posix_spawn_file_actions_t actions_{};
};

/// While it lives, this thread does not receive the signals that end the process: a program that
/// was started and is not known yet would stay.
class HeldSignals {
  public:
    HeldSignals() {
        sigset_t held;
        ::sigemptyset(&held);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaddset(&held, signal);
        ::pthread_sigmask(SIG_BLOCK, &held, &before_);
    }
    ~HeldSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    const sigset_t& before() const { return before_; }

  private:
    sigset_t before_{};
};

/// A process to be started leads a group of its own: Ctrl-C in a terminal goes to the whole group
/// of the tool, which ends the process itself.
class OwnGroup {
  public:
    /// @param signals  those that are held in the process
    explicit OwnGroup(const sigset_t& signals) {
        constexpr int kFlags =
            POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        sigset_t usual;  // the tool ignores these, which a program that it starts would inherit
        ::sigemptyset(&usual);
        for (const int signal : {SIGPIPE, SIGXFSZ}) ::sigaddset(&usual, signal);
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setflags(&attributes_, kFlags);
        ::posix_spawnattr_setpgroup(&attributes_, 0);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        ::posix_spawnattr_setsigdefault(&attributes_, &usual);
    }
    ~OwnGroup() { ::posix_spawnattr_destroy(&attributes_); }
    OwnGroup(const OwnGroup&) = delete;
    OwnGroup& operator=(const OwnGroup&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

  private:
    posix_spawnattr_t attributes_{};
};

/// As waitpid(), again when a signal came between.
pid_t waitFor(pid_t child, int& status, int options) {
    pid_t given = 0;
    do {
        given = ::waitpid(child, &status, options);
    } while (given < 0 && errno == EINTR);
    return given;
}

/// Waits for the end of a process; an interruption ends it with all that it started. It is asked
/// for again and again, since the signal may have come to another thread.
/// @return its exit code, -1 when a signal ended it or its end is not known.
/// @throws rxAttention::Interrupted
int exitCodeOf(pid_t child) {
    constexpr std::chrono::milliseconds kPause(2);
    int status = 0;
    pid_t given = 0;
    while ((given = waitFor(child, status, WNOHANG)) == 0) {
        if (rxAttention::isRequested()) {
            ::kill(-child, SIGKILL);
            waitFor(child, status, 0);
            rxAttention::check();
        }
        std::this_thread::sleep_for(kPause);
    }
    return given == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Runs the renderer to its end.
/// @return its exit code, or -1, as exitCodeOf().
int run(const std::string& program, const Streams& streams) {
    std::string name = kRendererName;
    std::string format = "--format=png";
    std::string unlimited = "--unlimited";  // a photograph is more than it takes otherwise
    std::array<char*, 4> arguments = {name.data(), format.data(), unlimited.data(), nullptr};
    std::optional<HeldSignals> held(std::in_place);
    const OwnGroup group(held->before());
    pid_t child = 0;
    tidyUpOnSignals();
    const int error = ::posix_spawn(&child, program.c_str(), streams.get(), group.get(),
                                    arguments.data(), environ);
    if (error != 0) fail(std::string("cannot be started: ") + std::strerror(error));
    const StartedProgram started(child);
    held.reset();
    return exitCodeOf(child);
}

/// Whether it begins and ends as a PNG file does: a renderer whose disk is full may say nothing.
bool isWholePng(std::string_view bytes) {
    constexpr std::string_view kStart = "\x89PNG";
    return bytes.starts_with(kStart) && bytes.ends_with(kPngEnd);
}

}  // namespace

std::string findRenderer() {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (folder.empty()) continue;  // the working folder: nothing is started from there
        std::string program = folder + "/" + kRendererName;
        if (::access(program.c_str(), X_OK) == 0) return program;
    }
    fail(
        "is needed, which is in no folder of the PATH (Debian package librsvg2-bin); --svg does "
        "without");
}

std::string renderedPng(std::string_view svg) {
    const std::string program = findRenderer();
    NamelessFile in;
    NamelessFile out;
    NamelessFile err;
    in.write(svg);
    const int exitCode = run(program, {in.descriptor(), out.descriptor(), err.descriptor()});
    std::string png = out.read();
    if (exitCode != 0 || !isWholePng(png)) {
        const std::string words = err.read();
        fail("made no picture (exit code " + std::to_string(exitCode) + ")" +
             (words.empty() ? std::string() : ": " + printable(trimmed(words))));
    }
    return png;
}

}  // namespace ptmatch::tool
