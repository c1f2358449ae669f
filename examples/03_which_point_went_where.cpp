// Which point went where, how far it is off, and how sure that makes the result.
//
// A printed card of 30 dots lies in a sheet of 286 dots that all look alike.
#include <ptmatch/certainty.h>
#include <ptmatch/matched_pairs.h>
#include <ptmatch/ppmatch.h>
#include <ptmatch/refit.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <numeric>
#include <utility>
#include <vector>

#include "points_file.h"

namespace {

/// The places of the largest values, largest first.
std::vector<std::size_t> placesOfLargest(const std::vector<double>& values, std::size_t count) {
    std::vector<std::size_t> places(values.size());
    std::iota(places.begin(), places.end(), std::size_t{0});
    std::stable_sort(places.begin(), places.end(),
                     [&](std::size_t a, std::size_t b) { return values[a] > values[b]; });
    places.resize(std::min(count, places.size()));
    return places;
}

}  // namespace

int main() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> dots = readPoints("data/demo_pick/data.csv");

    // Ten results and a low coverage, so that the run also returns what else comes near: without a
    // rival nobody can tell by how much the best one wins.
    rxPointMatcherRunParams params(0.2);
    params.maxNumResults(10);
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    if (found.results().empty()) return 1;
    const rxPointMatcherResult& best = found.results().front();
    std::cout << std::fixed << std::setprecision(2);

    // The pairs side by side: points of the card and dots of the sheet, with their places.
    const rxMatchedPairs pairs = rfMatchedPairs(matcher, dots, best);
    std::cout << pairs.model.size() << " pairs; the first three:\n";
    for (std::size_t k = 0; k < 3; ++k) {
        std::cout << "  point " << pairs.modelIndices[k] << " of the card is dot "
                  << pairs.dataIndices[k] << " at (" << pairs.data[k].x() << ", "
                  << pairs.data[k].y() << ")\n";
    }

    // How far each pair is off. One residual much larger than the others is a wrong pair, or a dot
    // that was measured badly; many that are large say that a similarity is the wrong model.
    const rxCertainty sure = rfCertainty(matcher, dots, params, found, 0);
    std::cout << "fit error " << best.fitError() << " pixels; the worst three pairs:\n";
    for (const std::size_t k : placesOfLargest(sure.residuals, 3)) {
        std::cout << "  point " << pairs.modelIndices[k] << ": " << sure.residuals[k]
                  << " pixels\n";
    }

    // Runs fit a similarity: rotation, one scale, translation. This camera looked at the card from
    // the side. Models with more freedom show it: what they leave falls, also when it is divided by
    // the freedom that they leave, since more parameters fit any points better.
    for (const auto& [model, name] : {std::pair(rxRefitDefs::eSimilarity, "similarity"),
                                      std::pair(rxRefitDefs::eAffine, "affine"),
                                      std::pair(rxRefitDefs::ePerspective, "perspective")}) {
        const rxRefit refit = rfRefit(matcher, dots, best, model);
        const double n = static_cast<double>(refit.numPairs);
        const double freedom = 2 * n - static_cast<int>(model);  // two equations of each pair
        const double sigma = refit.residual.rms * std::sqrt(n / freedom);
        std::cout << std::setw(12) << name << " leaves " << refit.residual.rms
                  << " pixels, so each coordinate is off by " << sigma << '\n';
    }

    // How well the pose is known: best in the middle of the card, less well outside.
    if (sure.covariance) {
        const rxPoseCovariance& covariance = *sure.covariance;
        std::cout << "rotation known to " << std::setprecision(3)
                  << rxDegree(rxRadian(covariance.rotationSigma)).toDouble()
                  << " degrees, scale to " << 100 * covariance.scaleSigma << " percent\n"
                  << "position known to " << covariance.positionAt(covariance.centre).rms()
                  << " pixels in the middle of the card, to "
                  << covariance.positionAt({300, 300}).rms() << " pixels at (300, 300)\n";
    }

    // Is there another pose that is nearly as good?
    if (sure.nextPose) {
        std::cout << "the next pose is " << std::setprecision(0) << sure.nextPose->poseDistance
                  << " pixels away and covers " << 100 * sure.nextPose->coverageMargin
                  << " percent of the card less\n";
    }
    // How many such matches are to be expected by accident, had the dots been thrown at random?
    if (sure.log10FalseAlarms) {
        std::cout << "by accident: 10^" << *sure.log10FalseAlarms << '\n';
    }
}

// Prints:
//
//     30 pairs; the first three:
//       point 0 of the card is dot 222 at (426.61, 283.91)
//       point 1 of the card is dot 130 at (495.40, 275.14)
//       point 2 of the card is dot 71 at (636.89, 294.55)
//     fit error 1.79 pixels; the worst three pairs:
//       point 18: 3.84 pixels
//       point 9: 2.92 pixels
//       point 12: 2.84 pixels
//       similarity leaves 1.79 pixels, so each coordinate is off by 1.31
//           affine leaves 1.01 pixels, so each coordinate is off by 0.75
//      perspective leaves 0.32 pixels, so each coordinate is off by 0.24
//     rotation known to 0.155 degrees, scale to 0.271 percent
//     position known to 0.339 pixels in the middle of the card, to 1.705 pixels at (300, 300)
//     the next pose is 168 pixels away and covers 57 percent of the card less
//     by accident: 10^-19
