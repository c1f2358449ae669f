#include "machine.h"

#include <fstream>

namespace ptmatch::bench {

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    const std::string key = "model name";
    for (std::string line; std::getline(info, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with(key) && colon != std::string::npos) return line.substr(colon + 2);
    }
    return "unknown";
}

std::string compilerName() {
#if defined(__clang__)
    return "Clang " __clang_version__;
#elif defined(__GNUC__)
    return "GCC " __VERSION__;
#else
    return "unknown";
#endif
}

}  // namespace ptmatch::bench
