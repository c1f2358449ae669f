#pragma once

#include <span>

#include "small_runs.h"

namespace ptmatch::determinism {

/// Problems of the sizes that are met with: whole search images, hundreds of unknowns. Milliseconds
/// each.
std::span<const SmallRun> largeRuns();

}  // namespace ptmatch::determinism
