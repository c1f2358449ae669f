#pragma once

#include <functional>
#include <optional>

#include "scene.h"

namespace ptmatch::bench::peers {

/// What one find came to.
struct Outcome {
    bool hasPose = false;
    bool hasEnded = false;  ///< false: it ran into the limit, or failed
    Similarity pose;
    double seconds = 0.0;  ///< processor time
};

/// Processor time of the process so far.
[[nodiscard]] double processorSeconds();

/// Prepares and then does the work in a child process, which has maxSeconds of processor time for
/// the work, and 4 GiB of memory. A child that is stopped or fails gives an outcome that has not
/// ended, of maxSeconds.
[[nodiscard]] Outcome runIsolated(const std::function<void()>& prepare,
                                  const std::function<Outcome()>& work, long maxSeconds);

}  // namespace ptmatch::bench::peers
