#pragma once

#include <vector>

#include "promise.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::fuzz {

/// What stands in a set before a run: whatever comes of the run, it has to go.
inline const rxPointMatcherResultSet& earlierResults() {
    static const rxPointMatcherResultSet earlier = [] {
        const std::vector<rxVector<2>> triangle = {{0, 0}, {40, 0}, {0, 30}};
        rxPointMatcher matcher;
        matcher.train(triangle, rxPointMatcherDefs::eAutoDetect);
        rxPointMatcherResultSet found;
        matcher.run(triangle, rxPointMatcherRunParams(), found);
        promise(!found.results().empty(), "a model is found among its own points");
        return found;
    }();
    return earlier;
}

}  // namespace ptmatch::fuzz
