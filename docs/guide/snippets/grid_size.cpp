// One scene, searched with grids of several sizes: too fine and too coarse find nothing.
#include <ptmatch/matched_pairs.h>
#include <ptmatch/ppmatch.h>
#include <ptmatch/run_cost.h>

#include <cstdio>
#include <vector>

#include "read_points.h"

namespace {

// [run]
/// Searches with a grid size of its own; gives the number of model points that were matched.
std::size_t numMatched(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                       double gridSize) {
    rxPointMatcherRunParams params;
    params.autoGridSize(false);
    params.gridSize(gridSize);       // model units
    params.autoCaptureRange(false);  // otherwise it would be the grid size
    params.captureRange(6.4);        // data units

    const rxRunCost cost = rfRunCost(matcher, data, params);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    std::size_t matched = 0;
    if (!found.results().empty()) {
        matched = rfMatchedPairs(matcher, data, found.results().front()).model.size();
    }
    std::printf("%9.1f  %9lld  %9lld  %7zu\n", gridSize,
                static_cast<long long>(cost.numLatticePoints),
                static_cast<long long>(cost.numTranslations), matched);
    return matched;
}
// [run]

}  // namespace

int main() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> data = readPoints("data/demo_pick/data.csv");

    bool isAsTold = true;
    std::printf("grid size  rotations     places  matched\n");
    for (const double size : {0.2, 0.4, 0.8, 1.6, 3.2, 6.4, 12.8, 25.6}) {
        const bool isFound = numMatched(matcher, data, size) == 30;
        isAsTold = isAsTold && isFound == (size > 0.3 && size < 20.0);
    }
    return isAsTold ? 0 : 1;
}
