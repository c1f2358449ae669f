#include "long_call.h"

#include <atomic>

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kInterval = std::chrono::milliseconds(50);

thread_local int openCalls = 0;
thread_local Clock::time_point lastLook;
std::atomic<rxAttention::Handler> replaced{nullptr};

bool lookForSignals() {
    const rxAttention::Handler other = replaced.load();
    if (other != nullptr && other()) return true;
    if (openCalls == 0) return false;
    const Clock::time_point now = Clock::now();
    if (now - lastLook < kInterval) return false;
    const py::gil_scoped_acquire held;
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    // Waiting for the interpreter does not count.
    lastLook = Clock::now();
    return false;
}

}  // namespace

LongCall::Marked::Marked() {
    ++openCalls;
    lastLook = Clock::now();
}

LongCall::Marked::~Marked() {
    --openCalls;
}

void LongCall::installHandler() {
    replaced = rxAttention::setHandler(&lookForSignals);
}

}  // namespace ptmatch::python
