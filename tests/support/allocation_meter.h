#pragma once

#include <cstddef>
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

/// Lets the current thread run out of memory while it lives: the given number of allocations
/// succeed, every one after them fails. Do not nest.
class AllocationFailure {
  public:
    explicit AllocationFailure(std::size_t successes);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
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
