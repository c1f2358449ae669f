#pragma once

#include <pybind11/pybind11.h>

#include <functional>

namespace ptmatch::python {

/// Lets other Python threads run while this one computes, and Ctrl-C end the computation.
///
///     const LongCall call;                  // from here on nothing of Python may be touched
///     matcher.run(data, params, found);
///
/// Searches call `rxAttention::check`. The handler that the module installs asks Python for
/// signals then, at most twenty times a second and only in threads that are in such a call;
/// KeyboardInterrupt, or what else a signal handler raises, ends the search and comes out of it.
/// Python runs signal handlers in its main thread alone: a search in another one goes on.
class LongCall {
  public:
    /// Gives the interpreter away; needs to hold it.
    LongCall();
    /// Takes it again.
    ~LongCall();
    LongCall(const LongCall&) = delete;
    LongCall& operator=(const LongCall&) = delete;

    /// Makes the searches of this process ask as above. What handler there was is asked, too.
    static void installHandler();

    /// Calls Python in the middle of such a call.
    /// @param action  holds the interpreter; gives false after an error of Python, which is thrown
    ///     then. Plain C: it may be left without destructors, as the end of a program does.
    static void withInterpreter(const std::function<bool()>& action);

  private:
    PyThreadState* state_;  // null: the interpreter was kept
};

}  // namespace ptmatch::python
