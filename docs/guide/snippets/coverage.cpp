// How much of the card must be seen? Clutter alone, then the card with more and more dots hidden.
#include <ptmatch/ppmatch.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "hidden_dots.h"
#include "read_points.h"

namespace {

using Points = std::vector<rxVector<2>>;

// [clutter]
/// The coverage that clutter reaches by accident: `clutter` is data without the pattern.
double coverageByAccident(const rxPointMatcher& matcher, const Points& clutter,
                          rxPointMatcherRunParams params) {
    params.minCoverage(0.0);
    rxPointMatcherResultSet found;
    matcher.run(clutter, params, found);
    return found.results().empty() ? 0.0 : found.results().front().coverage();
}
// [clutter]

struct Best {
    double coverage = 0.0;
    bool isRight = false;
};

Best bestOf(const rxPointMatcher& matcher, const Points& data, rxPointMatcherRunParams params,
            long maxNumResults, const rxXform<2>& pose) {
    params.minCoverage(0.0);
    params.maxNumResults(maxNumResults);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    const rxPointMatcherResult& best = found.results().at(0);
    double off = 0.0;
    for (const rxVector<2>& m : matcher.modelPoints()) {
        off = std::max(off, (best.modelToDataXform() * m - pose * m).len());
    }
    return {best.coverage(), off < 2.0};
}

}  // namespace

int main() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const Points data = readPoints("data/demo_pick/data.csv");
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());

    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    const rxPointMatcherResult& whole = found.results().at(0);
    const std::vector<long>& map = whole.modelToDataMap();

    const double accident = coverageByAccident(matcher, withHiddenDots(data, map, 30), params);
    std::printf("clutter alone: %.2f\n\n", accident);

    bool isAsTold = accident < 0.5;
    std::printf("hidden  1 result    20 results\n");
    for (const long hidden : {0L, 4L, 8L, 10L, 11L, 12L, 13L, 14L, 16L}) {
        const Points seen = withHiddenDots(data, map, hidden);
        const Best one = bestOf(matcher, seen, params, 1, whole.modelToDataXform());
        const Best twenty = bestOf(matcher, seen, params, 20, whole.modelToDataXform());
        std::printf("%6ld  %.2f %s  %.2f %s\n", hidden, one.coverage,
                    one.isRight ? "right" : "wrong", twenty.coverage,
                    twenty.isRight ? "right" : "wrong");
        isAsTold = isAsTold && one.isRight == (hidden < 12) && twenty.isRight == (hidden < 14);
        // Below a coverage of a half there are only accidents, above it none.
        isAsTold = isAsTold && one.isRight == (one.coverage >= 0.5) &&
                   twenty.isRight == (twenty.coverage >= 0.5);
    }
    return isAsTold ? 0 : 1;
}
