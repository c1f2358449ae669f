#include "interrupt_guard.h"

#include <unistd.h>

#include "foundation/attention.h"
#include "progress_watch.h"

namespace ptmatch::tool {
namespace {

// Only what is safe in a signal handler happens below: request() is, and so are write and _exit.

extern "C" void askSearchToStop(int) {
    rxAttention::request();
}

extern "C" void exitInterrupted(int) {
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
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // a second Ctrl-C does not ask again
    ::sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &previous_);
}

InterruptGuard::~InterruptGuard() {
    ::sigaction(SIGINT, &previous_, nullptr);
    rxAttention::clear();
}

}  // namespace ptmatch::tool
