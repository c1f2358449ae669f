#pragma once

#include <string>

namespace ptmatch::bench {

/// The processor, as the system calls it, or "unknown".
std::string processorName();

/// The compiler of this program and its version.
std::string compilerName();

}  // namespace ptmatch::bench
