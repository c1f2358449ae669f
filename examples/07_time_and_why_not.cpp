// How long a run will take, how far it is, when to give up; and why nothing is found.
#include <ptmatch/ppmatch.h>
#include <ptmatch/run_cost.h>
#include <ptmatch/run_watch.h>
#include <ptmatch/why_not.h>

#include <functional>
#include <iomanip>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "points_file.h"

namespace {

rxAngleRange degrees(double low, double high) {
    return {rxDegree(low), rxDegree(high)};
}

/// Two plates of a star cluster, of 343 and 245 stars, that may lie any way round.
void mindTheTime() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/beehive/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> stars = readPoints("data/beehive/data.csv");
    rxPointMatcherRunParams params(0.4);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    params.autoCaptureRange(false);
    params.captureRange(8.0);
    params.autoGridSize(false);

    // The work of a run is known before it starts. Halving the size of the search cells makes it
    // up to sixteen times as much: twice the steps in x, in y, in rotation and in scale.
    for (const double gridSize : {64.0, 32.0, 16.0, 8.0, 4.0}) {
        params.gridSize(gridSize);
        const rxRunCost cost = rfRunCost(matcher, stars, params);
        std::cout << "cells of " << std::setw(2) << gridSize << " pixels: " << std::setw(8)
                  << cost.numLatticePoints << " rotations and scales, work " << std::scientific
                  << cost.work << std::defaultfloat << '\n';
    }

    // A run that is watched: a limit in seconds, and a function that is told how far it is. The
    // same works from another thread, or for a cancel button: what the function throws ends the
    // run.
    rxPointMatcherResultSet found;
    rxRunLimits limits;
    limits.timeLimit = 0.02;
    limits.progressInterval = 0.0;  // tell every step; 0.1 s unless said otherwise
    double share = 0.0;
    limits.onProgress = [&](double fraction) { share = fraction; };
    try {
        rfRunWatched(matcher, stars, params, found, limits);
    } catch (const rxDeadlinePassed&) {
        std::cout << "cells of 4 pixels: gave up " << (share < 1 ? "before" : "after")
                  << " all was searched, with " << found.results().size() << " results\n";
    }

    params.gridSize(32.0);
    limits.timeLimit = 60.0;
    rfRunWatched(matcher, stars, params, found, limits);
    std::cout << "cells of 32 pixels: " << (share == 1 ? "all" : "a part") << " searched, "
              << found.results().size() << " result";
    if (!found.results().empty()) {
        std::cout << " of coverage " << found.results().front().coverage();
    }
    std::cout << '\n';
}

/// A card of 30 dots in a sheet of 286, expected within 2 degrees; it is turned by more.
void askWhyNot() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> dots = readPoints("data/demo_pick/data.csv");
    rxPointMatcherRunParams params(0.8);
    params.rotationUncertainty(degrees(-2, 2));
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    std::cout << "a card within 2 degrees: " << found.results().size() << " results\n";

    // Looks again at all poses that the run came upon, and says what excluded them.
    const rxWhyNot why = rfWhyNot(matcher, dots, params);
    std::cout << why.numCandidates << " poses were looked at, " << why.numBelowCoverage
              << " of them have too low a coverage, " << why.numOutsideRotation
              << " too large a rotation\n";
    if (why.nearestMiss) {
        const rxNearestMiss& miss = *why.nearestMiss;
        std::cout << "the nearest miss has coverage " << miss.coverage << " and is turned by "
                  << rxDegree(miss.modelToDataXform.rotation()).toDouble() << " degrees"
                  << (miss.isOutsideRotation ? ": outside the limits" : "") << '\n';
    }
}

/// The same card from a file in which it is 25 percent too large.
void relaxOneLimitAtATime() {
    std::vector<rxVector<2>> card = readPoints("data/demo_pick/model.csv");
    for (rxVector<2>& point : card) point = rxVector<2>(1.25 * point.x(), 1.25 * point.y());
    rxPointMatcher matcher;
    matcher.train(card, rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> dots = readPoints("data/demo_pick/data.csv");
    const rxPointMatcherRunParams params(0.8);

    const rxWhyNot why = rfWhyNot(matcher, dots, params);
    std::cout << "a card of another size: "
              << (why.reason == rxWhyNotDefs::eCoverage ? "too low a coverage" : "another reason")
              << ", the best has " << why.bestCoverage << '\n';

    // What lies outside of the scales that are tried never becomes a candidate. Relax one limit at
    // a time: where the coverage jumps to 1, the limit was wrong. (A wider capture range always
    // raises it: in a sheet full of dots every point meets one by accident.)
    using Relax = std::function<void(rxPointMatcherRunParams&)>;
    const std::vector<std::pair<std::string, Relax>> relaxations = {
        {"any rotation", [](auto& p) { p.rotationUncertainty(rxAngleRange::FullRange()); }},
        {"scale 25 percent either way", [](auto& p) { p.scaleUncertainty(rxRange(-0.25, 0.25)); }},
        {"half the grid size",
         [&](auto& p) {
             p.autoGridSize(false);
             p.gridSize(0.5 * why.cost.gridSize);
         }},
        {"twice the capture range",
         [&](auto& p) {
             p.autoCaptureRange(false);
             p.captureRange(2 * why.cost.captureRange);
         }},
    };
    rxPointMatcherResultSet found;
    for (const auto& [name, relax] : relaxations) {
        rxPointMatcherRunParams relaxed = params;
        relaxed.minCoverage(0.1);
        relax(relaxed);
        matcher.run(dots, relaxed, found);
        std::cout << std::left << std::setw(28) << name << std::right;
        if (found.results().empty()) {
            std::cout << "nothing\n";
        } else {
            const rxPointMatcherResult& best = found.results().front();
            std::cout << "coverage " << best.coverage() << ", scale "
                      << best.modelToDataXform().xScale() << '\n';
        }
    }
}

}  // namespace

int main() {
    std::cout << std::setprecision(2);
    mindTheTime();
    std::cout << '\n';
    askWhyNot();
    std::cout << '\n';
    relaxOneLimitAtATime();
}

// Prints:
//
//     cells of 64 pixels:      511 rotations and scales, work 7.63e+08
//     cells of 32 pixels:     1604 rotations and scales, work 7.03e+09
//     cells of 16 pixels:     7686 rotations and scales, work 1.11e+11
//     cells of  8 pixels:    28259 rotations and scales, work 1.48e+12
//     cells of  4 pixels:   111297 rotations and scales, work 2.21e+13
//     cells of 4 pixels: gave up before all was searched, with 0 results
//     cells of 32 pixels: all searched, 1 result of coverage 0.56
//
//     a card within 2 degrees: 0 results
//     59 poses were looked at, 57 of them have too low a coverage, 30 too large a rotation
//     the nearest miss has coverage 1 and is turned by -5.3 degrees: outside the limits
//
//     a card of another size: too low a coverage, the best has 0.57
//     any rotation                coverage 0.53, scale 1
//     scale 25 percent either way coverage 1, scale 0.81
//     half the grid size          coverage 0.2, scale 1
//     twice the capture range     coverage 0.93, scale 0.98
