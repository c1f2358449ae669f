#pragma once

#include <cstdint>
#include <span>

#include "digest.h"
#include "ptmatch/point_matcher_run_params.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::determinism {

/// One way to use the library, as small as it can be: microseconds to a millisecond.
struct SmallRun {
    const char* name;
    /// Makes a problem from the seed, solves it and adds the answer, a refusal with its message
    /// included, and no time. Equal seeds give equal answers, in any thread and any order.
    void (*run)(std::uint64_t seed, Digest& digest);
};

/// All of them: what a process that runs for long does in turn.
std::span<const SmallRun> smallRuns();

/// The settings of a run, in all their kinds.
rxPointMatcherRunParams anySettings(std::uint64_t seed);

void add(Digest& digest, const rxPointMatcherResultSet& found);

}  // namespace ptmatch::determinism
