#include "long_call.h"

#include <cxxabi.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <exception>

#include "foundation/attention.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kInterval = std::chrono::milliseconds(50);

thread_local int openCalls = 0;
thread_local int callsThatKeep = 0;  // the interpreter, see below
thread_local Clock::time_point lastLook;
std::atomic<rxAttention::Handler> replaced{nullptr};

bool lookForSignals() {
    const rxAttention::Handler other = replaced.load();
    if (other != nullptr && other()) return true;
    if (openCalls == 0) return false;
    const Clock::time_point now = Clock::now();
    if (now - lastLook < kInterval) return false;
    LongCall::withInterpreter([] { return PyErr_CheckSignals() == 0; });
    // Waiting for the interpreter does not count.
    lastLook = Clock::now();
    return false;
}

[[noreturn]] void waitForever() {
    for (;;) pause();
}

/// Takes the interpreter, or whatever else the action does that waits for it.
///
/// When a program ends, Python ends every thread that asks for the interpreter by unwinding its
/// stack, and the destructors of C++ on it would end the process at once. Such a thread waits here
/// for the end of the process instead; between the action and here nothing is to be destroyed.
template <class Action>
void outlivingPython(const Action& action) {
    if (Py_IsInitialized() == 0 || _Py_IsFinalizing() != 0) waitForever();
    try {
        action();
    } catch (abi::__forced_unwind&) {
        waitForever();
    }
}

}  // namespace

// Who holds the interpreter while Python ends is the thread that ends it, in the destructor of some
// object: it keeps the interpreter, which it would not get again.
LongCall::LongCall() : state_(_Py_IsFinalizing() != 0 ? nullptr : PyEval_SaveThread()) {
    if (state_ == nullptr) ++callsThatKeep;
    ++openCalls;
    lastLook = Clock::now();
}

LongCall::~LongCall() {
    --openCalls;
    if (state_ == nullptr) {
        --callsThatKeep;
        return;
    }
    outlivingPython([this] { PyEval_RestoreThread(state_); });
}

void LongCall::installHandler() {
    replaced = rxAttention::setHandler(&lookForSignals);
}

void LongCall::withInterpreter(const std::function<bool()>& action) {
    if (callsThatKeep > 0) {
        if (!action()) throw py::error_already_set();
        return;
    }
    std::exception_ptr thrown;
    outlivingPython([&] {
        const PyGILState_STATE state = PyGILState_Ensure();
        if (!action()) thrown = std::make_exception_ptr(py::error_already_set());
        PyGILState_Release(state);
    });
    if (thrown) std::rethrow_exception(thrown);
}

}  // namespace ptmatch::python
