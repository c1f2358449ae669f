#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace ptmatch::fuzz {

/// Ends the process, as a fuzzer notices, when a promise does not hold.
inline void promise(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

/// Equal to the last bit; of not-a-numbers only that both are.
inline bool isSame(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

}  // namespace ptmatch::fuzz
