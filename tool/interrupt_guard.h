#pragma once

#include <csignal>

namespace ptmatch::tool {

/// Exit code of a run that was interrupted: 128 plus the number of the signal, as shells report it.
constexpr int kExitInterrupted = 130;

/// While it lives, Ctrl-C (SIGINT) ends the process in good order; before, the signal does what it
/// did, and after it that or what tidyUpOnSignals() says. One at a time per process.
class InterruptGuard {
  public:
    enum class Way {
        /// Asks the search to stop: it throws rxAttention::Interrupted at its next check. A second
        /// Ctrl-C ends the process at once.
        kAskSearch,
        /// Ends the process with a message and kExitInterrupted from within the signal handler, for
        /// searches that never check. Of outputs that are being written nothing stays.
        kExitAtOnce
    };

    explicit InterruptGuard(Way way);
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

  private:
    struct sigaction previous_ = {};
};

}  // namespace ptmatch::tool
