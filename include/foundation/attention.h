#pragma once

#include <string>

#include "foundation/exception.h"
#include "foundation/export.h"

/// The one point at which a host can interrupt a long search: the search calls check() in its
/// loops.
///
/// Two ways to interrupt, both for the whole process and both off by default:
///   - request() asks every search to stop, from another thread or from a signal handler.
///     It stays until clear(); a search started meanwhile is interrupted at its first check.
///   - setHandler() installs a function that check() asks each time, in the thread of the
///     search; for deadlines, progress bars, and hosts that interrupt one search of several.
///
///     std::signal(SIGINT, [](int) { rxAttention::request(); });
///     try { matcher.run(data, params, results); }
///     catch (const rxAttention::Interrupted&) { rxAttention::clear(); }
///
/// What was written before request() is visible to whoever catches Interrupted.
///
/// The exhaustive correspondence search never checks: nothing here ends it.
///
/// Between two checks lies the vote on all translations at one scale and rotation: microseconds to
/// milliseconds as a rule, seconds for the largest images that a run accepts.
class PTMATCH_EXPORT rxAttention {
  public:
    class Interrupted;

    /// Returns true to interrupt the search that asks. What it throws passes through check().
    using Handler = bool (*)();

    /// Returns when no interruption is wanted.   Cost: two atomic loads and one of the thread; a
    /// look at the clock in a watched run, and the handler if there is one.
    /// @throws Interrupted: a request stands, or the handler returned true.
    /// @throws what a handler throws; in a watched run (ptmatch/run_watch.h) what its watch throws.
    static void check();

    /// Asks for interruption. Safe in a signal handler.
    static void request() noexcept;
    /// Withdraws the request. Safe in a signal handler.
    static void clear() noexcept;
    /// Whether a request stands. Safe in a signal handler.
    static bool isRequested() noexcept;

    /// Installs the handler and returns the one it replaces; null stands for none. From any
    /// thread, at any time; a check that runs meanwhile in another thread may still call the old
    /// one. A handler runs in the thread that checks, in several at once if need be.
    static Handler setHandler(Handler handler) noexcept;
};

/// Thrown by rxAttention::check(). The interrupted call leaves its arguments as a failed call does.
class PTMATCH_EXPORT rxAttention::Interrupted : public rxExceptionWithString {
  public:
    /// @param message  what `what()` gives, as it is.
    explicit Interrupted(std::string message);
    Interrupted(const Interrupted&) noexcept;
    Interrupted& operator=(const Interrupted&) noexcept;
    ~Interrupted() override;

    [[noreturn]] void suicideAndRethrow() override;

  private:
    static rxPersistent* make();
    static const rx_Instantiator sExemplar;
};
