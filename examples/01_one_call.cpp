// One call: where is this pattern, and how is it turned?
#include <ptmatch/ppmatch.h>

#include <cmath>
#include <iostream>
#include <vector>

int main() {
    // The pattern: four holes of a part, in millimetres. Any unit will do, and any number of points
    // from three on.
    const std::vector<rxVector<2>> holes = {{0, 0}, {40, 0}, {40, 25}, {10, 30}};

    // The data: what was measured, in the same unit. More points than the part has, in any order.
    const std::vector<rxVector<2>> seen = {{70, 60}, {13, 9},   {75, 90},
                                           {75, 50}, {100, 50}, {100, 90}};

    // Training looks at the pattern once, also for many runs.
    rxPointMatcher matcher;
    matcher.train(holes, rxPointMatcherDefs::eAutoDetect);

    // What may be found. Without this line: patterns turned by up to 15 degrees.
    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());

    rxPointMatcherResultSet found;
    matcher.run(seen, params, found);  // this is the call

    // No result is no error: look before you use it.
    if (found.results().empty()) {
        std::cout << "not found\n";
        return 1;
    }
    const rxPointMatcherResult& best = found.results().front();
    const rxXform<2>& pose = best.modelToDataXform();  // takes points of the pattern to the data
    const rxVector<2> corner = pose * rxVector<2>(0, 0);
    std::cout << "found " << 100 * best.coverage() << " percent of the holes\n"
              << "turned by " << std::round(rxDegree(pose.rotation()).toDouble()) << " degrees\n"
              << "the first hole lies at (" << std::round(corner.x()) << ", "
              << std::round(corner.y()) << ")\n";
}

// Prints:
//
//     found 100 percent of the holes
//     turned by 90 degrees
//     the first hole lies at (100, 50)
