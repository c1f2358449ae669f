#include "ptmatch/run_watch.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "foundation/thread_watch.h"
#include "ptmatch/matcher_access.h"
#include "ptmatch/run_cost.h"

namespace {

using ptmatch::detail::exchangeThreadWatch;
using ptmatch::detail::ThreadWatch;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The watch over one run.
class Watch final : public ThreadWatch {
  public:
    Watch(const rxRunLimits& limits, Clock::time_point start, std::int64_t numLatticePoints)
        : limits_(limits), start_(start), numLatticePoints_(numLatticePoints) {}

    /// Called by the check before each lattice point, and before each candidate after those.
    void look() override {
        const double seconds = secondsSince(start_);
        const double fraction = fractionDone();
        ++numLooks_;
        if (seconds > limits_.timeLimit) throw rxDeadlinePassed(lateMessage(fraction));
        if (seconds - toldAt_ < limits_.progressInterval) return;
        toldAt_ = seconds;
        tell(fraction);
    }

    void tell(double fraction) const;

  private:
    double fractionDone() const {
        if (numLatticePoints_ == 0) return 0.0;
        return std::min(1.0,
                        static_cast<double>(numLooks_) / static_cast<double>(numLatticePoints_));
    }

    std::string lateMessage(double fraction) const {
        char text[128];
        (void)std::snprintf(text, sizeof text,
                            "the run took longer than its limit of %g s; %.3g %% of the scales and "
                            "rotations were done\n",
                            limits_.timeLimit, 100.0 * fraction);
        return text;
    }

    const rxRunLimits& limits_;
    Clock::time_point start_;
    std::int64_t numLatticePoints_;
    std::int64_t numLooks_ = 0;
    double toldAt_ = 0.0;
};

/// While it lives, checks in this thread look at the given watch. Watches of one thread nest.
class Watching {
  public:
    explicit Watching(ThreadWatch* watch) : outer_(exchangeThreadWatch(watch)) {}
    Watching(const Watching&) = delete;
    Watching& operator=(const Watching&) = delete;
    ~Watching() { (void)exchangeThreadWatch(outer_); }

  private:
    ThreadWatch* outer_;
};

void Watch::tell(double fraction) const {
    if (!limits_.onProgress) return;
    // A run that the listener makes is its own: it would be counted here, and told of, without end.
    const Watching unwatched(nullptr);
    limits_.onProgress(fraction);
}

void checkLimits(const rxRunLimits& limits) {
    // Written so that what is not a number is refused.
    if (!(limits.timeLimit >= 0.0) || !(limits.progressInterval >= 0.0)) {
        throw rxPointMatcherDefs::BadParams(
            "the time limit and the progress interval of a run must be 0 or above\n");
    }
}

/// 0 for arguments that the run refuses: it says so itself.
std::int64_t numLatticePointsOf(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                                const rxPointMatcherRunParams& params) {
    try {
        return rfRunCost(matcher, data, params).numLatticePoints;
    } catch (const rxException&) {
        return 0;
    }
}

}  // namespace

rxDeadlinePassed::rxDeadlinePassed(std::string message) : Interrupted(std::move(message)) {}

rxDeadlinePassed::rxDeadlinePassed(const rxDeadlinePassed&) noexcept = default;

rxDeadlinePassed& rxDeadlinePassed::operator=(const rxDeadlinePassed&) noexcept = default;

rxDeadlinePassed::~rxDeadlinePassed() = default;

void rxDeadlinePassed::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxDeadlinePassed::make() {
    return new rxDeadlinePassed(std::string());
}

const rx_Instantiator rxDeadlinePassed::sExemplar(typeid(rxDeadlinePassed), &rxDeadlinePassed::make,
                                                  "rxDeadlinePassed");

void rfRunWatched(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                  const rxPointMatcherRunParams& params, rxPointMatcherResultSet& resultSet,
                  const rxRunLimits& limits) {
    checkLimits(limits);
    // As the run would: what fails before it leaves no earlier results, either.
    ptmatch::detail::MatcherAccess::emptyResults(resultSet);
    const Clock::time_point start = Clock::now();
    Watch watch(limits, start, numLatticePointsOf(matcher, data, params));
    {
        const Watching watching(&watch);
        matcher.run(data, params, resultSet);
    }
    watch.tell(1.0);
}
