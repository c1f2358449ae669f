#include "isolated_run.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace ptmatch::bench::peers {
namespace {

constexpr rlim_t kMaxBytes = rlim_t{4} << 30;

void limit(__rlimit_resource what, rlim_t most) {
    const rlimit bounds{most, most};
    setrlimit(what, &bounds);
}

// Ends the child: what the program would do at its end is the parent's to do.
[[noreturn]] void workInChild(const std::function<void()>& prepare,
                              const std::function<Outcome()>& work, long maxSeconds, int output) {
    limit(RLIMIT_AS, kMaxBytes);
    limit(RLIMIT_CORE, 0);
    // Packages that talk would spoil the table.
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0) {
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
    }
    try {
        prepare();
        // The limit counts from the start of the process, in whole seconds.
        limit(RLIMIT_CPU,
              static_cast<rlim_t>(std::ceil(processorSeconds())) + static_cast<rlim_t>(maxSeconds));
        const Outcome outcome = work();
        const bool isWritten = write(output, &outcome, sizeof outcome) == sizeof outcome;
        _exit(isWritten ? 0 : 1);
    } catch (...) {
        _exit(1);
    }
}

}  // namespace

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

Outcome runIsolated(const std::function<void()>& prepare, const std::function<Outcome()>& work,
                    long maxSeconds) {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("no pipe to a child process");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no child process");
    if (child == 0) {
        close(ends[0]);
        workInChild(prepare, work, maxSeconds, ends[1]);
    }
    close(ends[1]);
    Outcome outcome;
    const bool isRead = read(ends[0], &outcome, sizeof outcome) == sizeof outcome;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (isRead) return outcome;
    outcome = Outcome{};
    outcome.seconds = static_cast<double>(maxSeconds);
    return outcome;
}

}  // namespace ptmatch::bench::peers
