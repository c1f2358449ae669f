#pragma once

#include <utility>

#include "long_call.h"

namespace ptmatch::python {

/// Runs on a copy of the result, which nobody else sees while other threads run. The result of
/// Python changes afterwards, also when the run fails.
template <class Result, class Run>
void runInto(Result& result, const Run& run) {
    Result found = result;
    try {
        const LongCall call;
        run(found);
    } catch (...) {
        result = std::move(found);
        throw;
    }
    result = std::move(found);
}

}  // namespace ptmatch::python
