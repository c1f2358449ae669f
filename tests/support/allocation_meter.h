#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace ptmatch::testing {

/// Measures what the current thread takes from the heap while the meter lives. Meters do not nest.
class AllocationMeter {
  public:
    AllocationMeter();
    ~AllocationMeter();
    AllocationMeter(const AllocationMeter&) = delete;
    AllocationMeter& operator=(const AllocationMeter&) = delete;

    /// Size in bytes of the largest single allocation so far.
    std::size_t largest() const;
    /// Bytes allocated so far, whether freed meanwhile or not: a bound for what was held at a time.
    std::size_t total() const;
};

/// Counts what the current thread takes from the heap while the balance lives, less what it gives
/// back: what is left at the end was leaked, or belongs to what still lives. Do not nest.
class AllocationBalance {
  public:
    AllocationBalance();
    ~AllocationBalance();
    AllocationBalance(const AllocationBalance&) = delete;
    AllocationBalance& operator=(const AllocationBalance&) = delete;

    /// Blocks that were taken and not given back; below 0 when older ones were given back.
    std::int64_t blocks() const;
    /// The bytes of these, as the heap rounds them.
    std::int64_t bytes() const;
};

/// Lets the current thread run out of memory while it lives: the given number of allocations
/// succeed, and then all fail, or so many. Do not nest.
class AllocationFailure {
  public:
    static constexpr std::size_t kAllLater = std::numeric_limits<std::size_t>::max();

    explicit AllocationFailure(std::size_t successes, std::size_t failures = kAllLater);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    /// Allocations so far, those that failed included.
    std::size_t numAllocations() const;
    /// Those that failed.
    std::size_t numFailures() const;
};

/// Runs the call with memory for no allocation at first, then for one more each time, until it
/// succeeds; after each failure calls afterFailure().   @return the number of failures.
template <class Call, class AfterFailure>
std::size_t withEveryAllocationFailing(Call&& call, AfterFailure&& afterFailure) {
    for (std::size_t failures = 0;; ++failures) {
        try {
            const AllocationFailure failure(failures);
            call();
            return failures;
        } catch (const std::bad_alloc&) {
        }
        afterFailure();
    }
}

}  // namespace ptmatch::testing
