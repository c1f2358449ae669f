#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "foundation/vector.h"
#include "foundation/xform.h"

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

inline bool isSamePoint(const rxVector<2>& a, const rxVector<2>& b) {
    return isSame(a.x(), b.x()) && isSame(a.y(), b.y());
}

inline bool isSamePose(const rxXform<2>& a, const rxXform<2>& b) {
    for (long row = 0; row < 2; ++row) {
        for (long col = 0; col < 2; ++col) {
            if (!isSame(a.matrix().element(row, col), b.matrix().element(row, col))) return false;
        }
    }
    return isSamePoint(a.trans(), b.trans());
}

}  // namespace ptmatch::fuzz
