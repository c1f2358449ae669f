#pragma once

#include <cstddef>

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
};

}  // namespace ptmatch::testing
