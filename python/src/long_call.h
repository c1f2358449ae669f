#pragma once

#include <pybind11/pybind11.h>

#include <chrono>

#include "foundation/attention.h"

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
    LongCall() = default;
    LongCall(const LongCall&) = delete;
    LongCall& operator=(const LongCall&) = delete;

    /// Makes the searches of this process ask as above. What handler there was is asked, too.
    static void installHandler();

  private:
    /// Marks this thread as being in a call.
    class Marked {
      public:
        Marked();
        ~Marked();
        Marked(const Marked&) = delete;
        Marked& operator=(const Marked&) = delete;
    };

    Marked marked_;
    pybind11::gil_scoped_release released_;
};

}  // namespace ptmatch::python
