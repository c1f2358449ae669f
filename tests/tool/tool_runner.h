#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

inline std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Outcome {
    int exitCode = -1;  // -1: ended by a signal
    std::string out;
    std::string err;
};

// A folder of its own for each test, with its input and output.
class Tool : public testing::Test {
  protected:
    Tool() : folder_(fs::temp_directory_path() / ("ptmatch_tool_" + std::to_string(::getpid()))) {
        fs::create_directories(folder_ / "work");
    }
    ~Tool() override { fs::remove_all(folder_); }

    // Where tests put their files; the program runs here.
    fs::path work() const { return folder_ / "work"; }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(work() / name, std::ios::binary) << text;
    }
    std::vector<std::string> filesInWork() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(work())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    pid_t start(const std::vector<std::string>& command) const {
        std::vector<std::string> words = command;
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        const pid_t child = ::fork();
        if (child != 0) return child;
        ::setpgid(0, 0);  // so that it can be ended with all that it starts
        receiveSignals();
        if (::chdir(work().c_str()) != 0) ::_exit(126);
        redirect(STDOUT_FILENO, "out");
        redirect(STDERR_FILENO, "err");
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    Outcome finish(pid_t child) const {
        const int status = statusAtEnd(child);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(folder_ / "out"),
                readFile(folder_ / "err")};
    }
    // As waitpid() tells it. A program that does not end is ended, which is a failure.
    static int statusAtEnd(pid_t child) {
        using std::chrono::milliseconds;
        constexpr std::chrono::seconds kPatience(120);  // for sanitizers on a busy machine
        const auto start = std::chrono::steady_clock::now();
        auto pause = std::chrono::microseconds(200);
        int status = 0;
        for (;;) {
            const pid_t given = ::waitpid(child, &status, WNOHANG);
            if (given == child) break;
            if (given < 0 && errno != EINTR) {
                ADD_FAILURE() << "the program cannot be waited for";
                break;
            }
            if (std::chrono::steady_clock::now() - start > kPatience) {
                ADD_FAILURE() << "did not end within " << kPatience.count() << " s";
                ::kill(-child, SIGKILL);
                ::waitpid(child, &status, 0);
                break;
            }
            std::this_thread::sleep_for(pause);
            pause = std::min<std::chrono::microseconds>(pause * 2, milliseconds(5));
        }
        return status;
    }
    Outcome runProgram(const std::vector<std::string>& command) const {
        return finish(start(command));
    }
    // The tool with a command and its options.
    Outcome run(const std::string& name, std::vector<std::string> options) const {
        options.insert(options.begin(), {PTMATCH_TOOL, name});
        return runProgram(options);
    }
    // What a command says that is used wrongly.
    std::string refusalBy(const std::string& name, const std::vector<std::string>& options) const {
        const Outcome outcome = run(name, options);
        EXPECT_EQ(outcome.exitCode, 2);
        EXPECT_EQ(outcome.out, "");
        return outcome.err;
    }
    Outcome match(const std::vector<std::string>& options) const { return run("match", options); }
    // Interrupts the program as soon as it is ready for it, and waits for its end.
    Outcome interrupt(std::vector<std::string> options) const {
        options.insert(options.begin(), {PTMATCH_TOOL, "match"});
        const pid_t child = start(options);
        while (!handlesInterrupt(child)) {
            int status = 0;
            if (::waitpid(child, &status, WNOHANG) == child) {
                ADD_FAILURE() << "ended before it could be interrupted";
                return {};
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ::kill(child, SIGINT);
        return finish(child);
    }

  private:
    // Whoever runs the tests may ignore or hold signals (nohup does), which programs inherit.
    static void receiveSignals() {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) ::signal(signal, SIG_DFL);
        sigset_t none;
        ::sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
    }
    void redirect(int target, const char* name) const {
        const int file =
            ::open((folder_ / name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (file < 0 || ::dup2(file, target) < 0) ::_exit(125);
    }
    // True once the program has installed a handler for SIGINT; those of the tests, which the
    // process has until it becomes the program, do not count.
    static bool handlesInterrupt(pid_t process) {
        const std::string folder = "/proc/" + std::to_string(process);
        std::error_code ignored;
        if (fs::equivalent(folder + "/exe", "/proc/self/exe", ignored)) return false;
        std::ifstream status(folder + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.rfind("SigCgt:", 0) != 0) continue;
            const unsigned long long caught = std::stoull(line.substr(7), nullptr, 16);
            return (caught >> (SIGINT - 1) & 1U) != 0;
        }
        return false;
    }

    fs::path folder_;
};
