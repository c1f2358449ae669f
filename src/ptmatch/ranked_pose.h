#pragma once

#include <vector>

#include "foundation/xform.h"

namespace ptmatch::detail {

/// A pose with everything that a result says about it.
struct RankedPose {
    rxXform<2> modelToData;
    std::vector<long> map;  ///< data index per model point, -1 = unmatched
    double coverage = 0.0;
    double fitError = 0.0;
};

/// The order of results: higher coverage first, then smaller fit error.
/// Complete ties are left to the caller.
inline bool isBetter(const RankedPose& a, const RankedPose& b) {
    if (a.coverage != b.coverage) return a.coverage > b.coverage;
    return a.fitError < b.fitError;
}

}  // namespace ptmatch::detail
