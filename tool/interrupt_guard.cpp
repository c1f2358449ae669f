#include "interrupt_guard.h"

#include <unistd.h>

#include "foundation/attention.h"
#include "process_end.h"
#include "progress_watch.h"

namespace ptmatch::tool {
namespace {

// Only what is safe in a signal handler happens below: request() and tidyUp() are, and so are
// sigaction, write and _exit.

extern "C" void askSearchToStop(int signal) {
    rxAttention::request();
    struct sigaction action = {};
    action.sa_handler = ptmatchEndBySignal;  // a second Ctrl-C does not ask again
    ::sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
}

extern "C" void exitInterrupted(int) {
    tidyUp();
    if (ProgressWatch::isLineShown()) {
        [[maybe_unused]] const auto erased =
            ::write(STDERR_FILENO, ProgressWatch::kErase, sizeof ProgressWatch::kErase - 1);
    }
    constexpr char kMessage[] = "ptmatch: interrupted\n";
    // The process ends whether or not the message could be written.
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
    ::_exit(kExitInterrupted);
}

}  // namespace

InterruptGuard::InterruptGuard(Way way) {
    rxAttention::clear();
    struct sigaction action = {};
    action.sa_handler = way == Way::kAskSearch ? askSearchToStop : exitInterrupted;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &previous_);
}

InterruptGuard::~InterruptGuard() {
    // Files may wait for their places by now.
    if (previous_.sa_handler == SIG_DFL) previous_.sa_handler = ptmatchEndBySignal;
    ::sigaction(SIGINT, &previous_, nullptr);
    rxAttention::clear();
}

}  // namespace ptmatch::tool
