#pragma once

namespace ptmatch::tool {

// What every command ends with; kExitInterrupted stands with the handling of the signal.
constexpr int kExitFound = 0;
constexpr int kExitNothingFound = 1;
constexpr int kExitBadInput = 2;
// A batch of which some data sets could not be used.
constexpr int kExitSomeFailed = 3;

}  // namespace ptmatch::tool
