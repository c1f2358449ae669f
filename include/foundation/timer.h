#pragma once

#include <chrono>
#include <optional>

#include "foundation/export.h"

/// A stopwatch for elapsed time; changes of the system's date do not disturb it.
class PTMATCH_EXPORT rxTimer {
  public:
    /// @param started  whether timing starts at once.
    explicit rxTimer(bool started) {
        if (started) start();
    }

    /// Starts timing, or starts it anew.
    void start() { begin_ = Clock::now(); }

    /// Seconds since the last `start()`; the timer runs on. 0.0 before the first one.
    double sec() const {
        if (!begin_) return 0.0;
        return std::chrono::duration<double>(Clock::now() - *begin_).count();
    }

  private:
    using Clock = std::chrono::steady_clock;

    std::optional<Clock::time_point> begin_;
};
