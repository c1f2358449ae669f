// What a run may find (parameters and ranges), and what a result tells.
//
// The drill file of a circuit board says in millimetres where its 66 holes are. A scan of the board
// shows 74 bright spots, in pixels: most are holes, some are print. The scanner has 300 dots per
// inch, is off by up to 2 percent, and the board may have been put on it any way round.
#include <ptmatch/ppmatch.h>
#include <ptmatch/summaries.h>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <vector>

#include "points_file.h"

int main() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/versa64/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> spots = readPoints("data/versa64/data.csv");

    rxPointMatcherRunParams params;
    // The pose that is expected: nothing but a change of units, 25.4 mm to 300 pixels. All that
    // follows is said relative to it.
    const double pixelsPerMillimetre = 300.0 / 25.4;
    params.startPose(rxXform<2>(rxVector<2>(0, 0), rxDegree(0), rxDegree(0), pixelsPerMillimetre,
                                pixelsPerMillimetre));
    // How far the real pose may be from it. Every range costs time in proportion to its length.
    params.scaleUncertainty(rxRange(-0.02, 0.02));          // 2 percent smaller to 2 percent larger
    params.rotationUncertainty(rxAngleRange::FullRange());  // else: -15 to 15 degrees
    params.xTranslationUncertainty(rxRange::FullRange());   // anywhere, which is the default
    // A spot belongs to a hole when it lies within 2 pixels of where the hole should be. The
    // default, the size of the search cells, is generous.
    params.autoCaptureRange(false);
    params.captureRange(2.0);
    // Nine tenths of the holes have to be seen; the others may be covered.
    params.minCoverage(0.9);
    // The best pose is enough. Ask for more to see what else comes near.
    params.maxNumResults(1);
    std::cout << params << "\n\n";

    // A setter refuses what makes no sense, and keeps the value that it had.
    try {
        params.minCoverage(90);
    } catch (const rxPointMatcherDefs::BadParams& error) {
        std::cout << "refused: " << error.what() << '\n';
    }

    rxPointMatcherResultSet found;
    matcher.run(spots, params, found);
    if (found.results().empty()) return 1;
    const rxPointMatcherResult& best = found.results().front();
    const rxXform<2>& pose = best.modelToDataXform();

    std::cout << std::fixed;
    // The share of the pattern that was found: 65 of 66 holes.
    std::cout << "coverage  " << std::setprecision(4) << best.coverage() << '\n';
    // How far spots lie from their holes: root mean square, in the unit of the data.
    std::cout << "fit error " << std::setprecision(2) << best.fitError() << " pixels\n";
    // Rotation and scale of the pose, the latter as a change of the expected one.
    std::cout << "rotation  " << rxDegree(pose.rotation()).toDouble() << " degrees\n";
    std::cout << "scale     " << pose.xScale() << " pixels per mm, "
              << 100 * (pose.xScale() / pixelsPerMillimetre - 1) << " percent off\n";
    // A pose takes any point along, not only those of the pattern; its inverse takes spots back.
    const rxVector<2> fiducial = pose * rxVector<2>(10, -20);
    std::cout << "the point (10, -20) of the board is seen at (" << fiducial.x() << ", "
              << fiducial.y() << ")\n";
    const rxVector<2> spot = pose.inverse() * spots[0];
    std::cout << "spot 0 lies at (" << spot.x() << ", " << spot.y() << ") of the board\n";
    // Which spot each hole went to; negative where there is none.
    const std::vector<long>& map = best.modelToDataMap();
    std::cout << std::count_if(map.begin(), map.end(), [](long spotIndex) { return spotIndex < 0; })
              << " hole has no spot; hole 0 is spot " << map[0] << '\n';
}

// Prints:
//
//     coverage       0.9 or more
//     start pose     at (0, 0), rotation 0 deg, scale 11.811
//     x translation  any
//     y translation  any
//     rotation       any
//     scale          -2 to 2 %
//     grid size      automatic
//     capture range  2
//     results        1 at most
//
//     refused: minCoverage must be in [0.0, 1.0]
//
//     coverage  0.9848
//     fit error 0.51 pixels
//     rotation  -0.18 degrees
//     scale     11.80 pixels per mm, -0.10 percent off
//     the point (10, -20) of the board is seen at (136.29, 363.37)
//     spot 0 lies at (22.18, -16.98) of the board
//     1 hole has no spot; hole 0 is spot 55
