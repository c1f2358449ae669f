#include "renderer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

#include "input_error.h"
#include "number_text.h"

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

/// Runs a program to its end.
/// @return its exit code, -1 when a signal ended it.
int run(const std::string& program, const Streams& streams) {
    std::string name = kRendererName;
    std::string format = "--format=png";
    std::string unlimited = "--unlimited";  // a photograph is more than it takes otherwise
    std::array<char*, 4> arguments = {name.data(), format.data(), unlimited.data(), nullptr};
    pid_t child = 0;
    const int error =
        ::posix_spawn(&child, program.c_str(), streams.get(), nullptr, arguments.data(), environ);
    if (error != 0) fail(std::string("cannot be started: ") + std::strerror(error));
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
    if (exitCode != 0 || png.rfind("\x89PNG", 0) != 0) {
        const std::string words = err.read();
        fail("made no picture (exit code " + std::to_string(exitCode) + ")" +
             (words.empty() ? std::string() : ": " + printable(trimmed(words))));
    }
    return png;
}

}  // namespace ptmatch::tool
