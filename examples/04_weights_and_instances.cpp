// Points that count more, points that must not be there, and several parts in view.
#include <ptmatch/distinct_instances.h>
#include <ptmatch/ppmatch.h>

#include <cmath>
#include <iomanip>
#include <iostream>
#include <vector>

namespace {

using Points = std::vector<rxVector<2>>;

// A bracket with five holes, in millimetres. There is another bracket, with the same five and a
// sixth.
const Points kBracket = {{0, 0}, {60, 0}, {60, 20}, {20, 20}, {20, 50}};
const rxVector<2> kSixthHole(0, 50);

rxXform<2> poseAt(double x, double y, double degrees) {
    return {rxVector<2>(x, y), rxDegree(degrees), rxDegree(degrees), 1.0, 1.0};
}

/// Adds a part to the scene, each point up to 0.2 mm off, as a camera would see it.
void place(const Points& part, const rxXform<2>& pose, Points& scene) {
    for (const rxVector<2>& point : part) {
        const double angle = static_cast<double>(scene.size());  // as good as any
        scene.push_back(pose * point + rxVector<2>(0.2 * std::cos(angle), 0.2 * std::sin(angle)));
    }
}

void print(const rxPointMatcherResult& result) {
    const rxVector<2>& at = result.modelToDataXform().trans();
    // Adding 0 makes a -0 that comes of rounding a plain 0.
    std::cout << "  at (" << std::round(at.x()) + 0.0 << ", " << std::round(at.y()) + 0.0
              << "), turned by "
              << std::round(rxDegree(result.modelToDataXform().rotation()).toDouble()) + 0.0
              << " degrees, coverage " << result.coverage() << '\n';
}

/// What is searched for everywhere here: any rotation, true size.
rxPointMatcherRunParams partParams(double minCoverage, long maxNumResults) {
    rxPointMatcherRunParams params(minCoverage);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.autoCaptureRange(false);
    params.captureRange(1.0);
    params.maxNumResults(maxNumResults);
    return params;
}

/// The other bracket lies there complete, ours lacks a hole: which is found?
void tellALookAlike() {
    Points scene;
    Points other = kBracket;
    other.push_back(kSixthHole);
    place(other, poseAt(300, 80, 40), scene);
    place({kBracket.begin() + 1, kBracket.end()}, poseAt(100, 120, -75), scene);
    rxPointMatcherResultSet found;

    // All points count the same: the other bracket has all five holes, and wins.
    rxPointMatcher matcher;
    matcher.train(kBracket, rxPointMatcherDefs::eAutoDetect);
    matcher.run(scene, partParams(0.7, 1), found);
    std::cout << "our five holes:\n";
    for (const rxPointMatcherResult& result : found.results()) print(result);

    // The sixth hole is put into the model with a negative weight: where there is a point, the pose
    // loses. Coverage is the matched weight over the positive weight, here (5 - 2) / 5 for the
    // other bracket and 4 / 5 for ours.
    Points withSixth = kBracket;
    withSixth.push_back(kSixthHole);
    matcher.train(withSixth, {1, 1, 1, 1, 1, -2}, rxPointMatcherDefs::eAutoDetect);
    matcher.run(scene, partParams(0.7, 1), found);
    std::cout << "and no sixth hole:\n";
    for (const rxPointMatcherResult& result : found.results()) print(result);

    // Weights above 1 make points that matter more. With a first hole of weight 6, ours, which has
    // lost it, comes to 4 / 10, and the other to (10 - 4) / 10: neither is returned.
    matcher.train(withSixth, {6, 1, 1, 1, 1, -4}, rxPointMatcherDefs::eAutoDetect);
    matcher.run(scene, partParams(0.7, 1), found);
    std::cout << "with a first hole that has to be there: " << found.results().size()
              << " results\n";
}

/// Three plates in view. A run returns its best poses, and several of them may be views of one
/// copy: this plate, turned by half a turn, covers itself but for one hole. Ask for many results,
/// then take those that are of different copies.
void findEveryCopy() {
    const Points plate = {{0, 0}, {60, 0}, {60, 40}, {0, 40}, {15, 10}};
    Points scene;
    place(plate, poseAt(50, 60, 10), scene);
    place(plate, poseAt(120, 200, -160), scene);
    place({plate.begin() + 1, plate.end()}, poseAt(200, 70, 100), scene);  // one hole is hidden
    place({{10, 10}, {95, 20}, {240, 180}, {30, 190}}, poseAt(0, 0, 0), scene);  // and clutter

    rxPointMatcher matcher;
    matcher.train(plate, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherResultSet found;
    matcher.run(scene, partParams(0.6, 30), found);
    std::cout << found.results().size() << " results:\n";
    for (const rxPointMatcherResult& result : found.results()) print(result);
    const std::vector<std::size_t> copies = rfDistinctInstances(matcher, found);
    std::cout << copies.size() << " plates:\n";
    for (const std::size_t i : copies) print(found.results()[i]);
}

}  // namespace

int main() {
    std::cout << std::setprecision(3);
    tellALookAlike();
    findEveryCopy();
}

// Prints:
//
//     our five holes:
//       at (300, 80), turned by 40 degrees, coverage 1
//     and no sixth hole:
//       at (100, 120), turned by -75 degrees, coverage 0.8
//     with a first hole that has to be there: 0 results
//     7 results:
//       at (120, 200), turned by -160 degrees, coverage 1
//       at (50, 60), turned by 10 degrees, coverage 1
//       at (200, 70), turned by 100 degrees, coverage 0.8
//       at (102, 110), turned by -170 degrees, coverage 0.8
//       at (77, 142), turned by 20 degrees, coverage 0.8
//       at (150, 122), turned by -80 degrees, coverage 0.6
//       at (106, 2), turned by 87 degrees, coverage 0.6
//     3 plates:
//       at (120, 200), turned by -160 degrees, coverage 1
//       at (50, 60), turned by 10 degrees, coverage 1
//       at (200, 70), turned by 100 degrees, coverage 0.8
