#pragma once

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "foundation/attention.h"
#include "foundation/export.h"
#include "ptmatch/ppmatch.h"

/// How long a watched run may take, and whom to tell how far it is.
struct PTMATCH_EXPORT rxRunLimits {
    /// Seconds of a steady clock from the call on; infinite: no limit.
    double timeLimit = std::numeric_limits<double>::infinity();

    /// Called in the thread of the run with the share of its lattice points that are done: never
    /// less than the time before, and 1 at last when the run has found what it finds. What it
    /// throws ends the run and comes out of it. It may run a matcher itself: that run is neither
    /// counted nor under this limit. Empty: nobody is told.
    std::function<void(double fraction)> onProgress;
    /// Seconds between two calls, at least; 0 calls at every lattice point.
    double progressInterval = 0.1;
};

/// A watched run took longer than its limit.
class PTMATCH_EXPORT rxDeadlinePassed : public rxAttention::Interrupted {
  public:
    /// @param message  what `what()` gives, as it is.
    explicit rxDeadlinePassed(std::string message);
    rxDeadlinePassed(const rxDeadlinePassed&) noexcept;
    rxDeadlinePassed& operator=(const rxDeadlinePassed&) noexcept;
    ~rxDeadlinePassed() override;

    [[noreturn]] void suicideAndRethrow() override;

  private:
    static rxPersistent* make();
    static const rx_Instantiator sExemplar;
};

/// `matcher.run(data, params, resultSet)` under a limit of time, telling how far it is.
///
/// An addition beside the matcher: the run is the same, and so are its results.
///
///     rxRunLimits limits;
///     limits.timeLimit = 0.5;
///     limits.onProgress = [&](double fraction) { bar.show(fraction); };
///     try { rfRunWatched(matcher, data, params, found, limits); }
///     catch (const rxDeadlinePassed& late) { log(late.what()); }
///
/// The watch looks whenever the run looks for interruption, between two lattice points and between
/// two candidates: that is how much later than its limit a run may end. An exhaustive run and one
/// in the grid mode of a dense pattern never look: for these the limit has no effect, and progress
/// is told once, at the end (`rfRunCost(...).isInterruptible` tells them beforehand). The vote over
/// the lattice is most of a run; the candidates that are fitted after it come at fraction 1.
///
/// Any number of threads may watch a run of their own. The watch is a matter of its thread alone:
/// the handler of `rxAttention` is asked as ever, after the watch, and may be set meanwhile.
///
/// @throws rxDeadlinePassed  the limit passed; also an `rxAttention::Interrupted`.
/// @throws rxPointMatcherDefs::BadParams  a limit or an interval is negative or not a number.
/// @throws whatever `run` and `onProgress` throw.
/// After an exception the result set is left as `run` leaves it; as it was, when the limits are
/// refused; and with the results of the run, when `onProgress` throws at the end of it.
/// Cost: that of the run and of `rfRunCost`, and a look at the clock for each lattice point.
PTMATCH_EXPORT void rfRunWatched(const rxPointMatcher& matcher,
                                 const std::vector<rxVector<2>>& data,
                                 const rxPointMatcherRunParams& params,
                                 rxPointMatcherResultSet& resultSet, const rxRunLimits& limits);
