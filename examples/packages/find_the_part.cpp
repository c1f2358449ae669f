// Finds a part of four holes among six measured points and says how it lies. Ends with 0 if the
// pose is the one that the points were made with: turned by 90 degrees, then moved by (100, 50).
#include <ptmatch/ppmatch.h>

#include <cmath>
#include <iostream>
#include <vector>

namespace {

bool near(double value, double expected) {
    return std::abs(value - expected) < 1e-6;
}

// An exception of the library is caught by its type across the boundary of the shared library.
bool refusesToRunUntrained() {
    rxPointMatcherResultSet found;
    try {
        rxPointMatcher().run({{0, 0}, {1, 0}, {0, 1}}, rxPointMatcherRunParams(), found);
    } catch (const rxPointMatcherDefs::NotTrained&) {
        return true;
    }
    return false;
}

}  // namespace

int main() {
    const std::vector<rxVector<2>> holes = {{0, 0}, {40, 0}, {40, 25}, {10, 30}};
    const std::vector<rxVector<2>> seen = {{70, 60}, {13, 9},   {75, 90},
                                           {75, 50}, {100, 50}, {100, 90}};
    rxPointMatcher matcher;
    matcher.train(holes, rxPointMatcherDefs::eAutoDetect);

    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());
    rxPointMatcherResultSet found;
    matcher.run(seen, params, found);
    if (found.results().empty()) {
        std::cout << "nothing found\n";
        return 1;
    }
    const rxPointMatcherResult& best = found.results().front();
    const double degrees = rxDegree(best.modelToDataXform().rotation()).toDouble();
    const rxVector<2> corner = best.modelToDataXform() * holes[0];
    std::cout << "found: coverage " << best.coverage() << ", turned by " << std::round(degrees)
              << " degrees, first hole at (" << std::round(corner.x()) << ", "
              << std::round(corner.y()) << ")\n";
    const bool right = near(best.coverage(), 1) && near(degrees, 90) && near(corner.x(), 100) &&
                       near(corner.y(), 50);
    return right && refusesToRunUntrained() ? 0 : 1;
}
