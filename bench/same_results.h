#pragma once

#include "ptmatch/ppmatch.h"
#include "reference/reference_run.h"

namespace ptmatch::bench {

/// Whether both found the same: maps, coverages, errors and poses, in the same order, exactly.
[[nodiscard]] bool areSame(const rxPointMatcherResultSet& found,
                           const reference::RunReport& expected);

}  // namespace ptmatch::bench
