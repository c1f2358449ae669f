// Short answers to frequent questions, each with a check that it is one.
#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ptmatch/adapters.h"
#include "ptmatch/certainty.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "read_points.h"

namespace {

using Points = std::vector<rxVector<2>>;

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

double degreesOf(const rxPointMatcherResult& result) {
    return rxDegree(result.modelToDataXform().rotation()).toDouble();
}

// The card among 286 dots, and where it lies: turned by -5.3 degrees.
struct Scene {
    Points card = readPoints("data/demo_pick/model.csv");
    Points dots = readPoints("data/demo_pick/data.csv");
    rxPointMatcher matcher;
    rxPointMatcherResultSet found;

    Scene() {
        matcher.train(card, rxPointMatcherDefs::eAutoDetect);
        matcher.run(dots, rxPointMatcherRunParams(), found);
    }
    const rxPointMatcherResult& best() const { return found.results().at(0); }
};

void dotsAreMissing() {
    const Scene scene;
    const rxPointMatcher& matcher = scene.matcher;
    // A third of the dots of the card are covered.
    std::vector<bool> isCovered(scene.dots.size());
    for (std::size_t k = 0; k < scene.card.size(); k += 3) {
        isCovered[static_cast<std::size_t>(scene.best().modelToDataMap()[k])] = true;
    }
    Points dots;
    for (std::size_t k = 0; k < scene.dots.size(); ++k) {
        if (!isCovered[k]) dots.push_back(scene.dots[k]);
    }
    rxPointMatcherResultSet found;
    // [missing]
    rxPointMatcherRunParams params;
    params.minCoverage(0.6);  // up to four dots of ten may be missing
    matcher.run(dots, params, found);
    for (std::size_t k = 0; k < matcher.modelPoints().size(); ++k) {
        if (found.results().at(0).modelToDataMap()[k] < 0) std::cout << k << " is missing\n";
    }
    // [missing]
    require(std::abs(degreesOf(found.results().at(0)) + 5.3) < 0.2, "the card is found");
    require(std::abs(found.results()[0].coverage() - 2.0 / 3.0) < 1e-9, "two thirds are there");
}

void twoCopies() {
    const Scene scene;
    const rxPointMatcher& matcher = scene.matcher;
    Points dots = scene.dots;
    const rxXform<2> second(rxVector<2>(150, 600), rxDegree(10), rxDegree(10), 1.0, 1.0);
    for (const rxVector<2>& p : scene.card) dots.push_back(second * p);
    rxPointMatcherResultSet found;
    // [copies]
    rxPointMatcherRunParams params(0.7);
    params.maxNumResults(20);  // each copy may come several times
    matcher.run(dots, params, found);
    const std::vector<std::size_t> copies = rfDistinctInstances(matcher, found);
    for (const std::size_t i : copies) {
        std::cout << found.results()[i].modelToDataXform().trans().x() << '\n';
    }
    // [copies]
    require(copies.size() == 2, "two copies are found, each once");
}

void limitTheRotation() {
    const Scene scene;
    const rxPointMatcher& matcher = scene.matcher;
    const Points& dots = scene.dots;
    rxPointMatcherResultSet found;
    rxPointMatcherRunParams params;
    // [rotation]
    params.rotationUncertainty(rxAngleRange(rxRadian(rxDegree(-10)), rxRadian(rxDegree(10))));
    matcher.run(dots, params, found);  // -10 to 10 degrees against the start pose
    // [rotation]
    require(found.results().size() == 1, "-5.3 degrees are allowed");
    params.rotationUncertainty(rxAngleRange(rxRadian(rxDegree(0)), rxRadian(rxDegree(10))));
    params.minCoverage(0.9);
    matcher.run(dots, params, found);
    require(found.results().empty(), "-5.3 degrees are not allowed");
}

void holdTheScale() {
    const Scene scene;
    const rxPointMatcher& matcher = scene.matcher;
    const Points& dots = scene.dots;
    const rxPointMatcherResult& result = scene.best();
    // [scale]
    const double scale = result.modelToDataXform().xScale();  // of the fitted similarity
    const bool isAsLarge = std::abs(scale - 1.0) < 0.02;
    const rxRefit refit = rfRefit(matcher, dots, result, rxRefitDefs::eRigid);
    const rxXform<2> pose = refit.dataFromModelXform();  // of scale 1
    // [scale]
    std::cout << "scale " << scale << " leaves " << result.fitError() << " pixels, scale 1 leaves "
              << refit.residual.rms << '\n';
    require(isAsLarge && scale != 1.0, "runs fit a scale of their own");
    require(std::abs(pose.xScale() - 1.0) < 1e-12, "the refit holds it");
}

void whichPointWentWhere() {
    const Scene scene;
    const rxPointMatcher& matcher = scene.matcher;
    const Points& dots = scene.dots;
    const rxPointMatcherResult& result = scene.best();
    double sum = 0.0;
    // [pairs]
    const rxMatchedPairs pairs = rfMatchedPairs(matcher, dots, result);
    for (std::size_t k = 0; k < pairs.model.size(); ++k) {
        const rxVector<2> placed = result.modelToDataXform() * pairs.model[k];
        const rxVector<2> miss = pairs.data[k] - placed;
        sum += miss.x() * miss.x() + miss.y() * miss.y();
    }
    const double rms = std::sqrt(sum / static_cast<double>(pairs.model.size()));
    // [pairs]
    require(std::abs(rms - result.fitError()) < 1e-9, "this is the fit error");
    require(pairs.dataIndices.size() == 30, "all 30 dots have a partner");
}

void theGridComesBackRotated() {
    const Points dots = readPoints("data/dots7x7/data.csv");
    rxPtToGridMapRunParams params(rxVector<2>(27, 0), rxVector<2>(0, 27));
    rxPtToGridMapResult grid;
    // [turned]
    params.angleTol(rxAngleRange(rxRadian(rxDegree(-47)), rxRadian(rxDegree(47))));
    rfPtToGridMap(dots, params, grid);
    // A column leads to the right now, to within 45 degrees. For a plate that is held upside
    // down, turn the positions by half a turn:
    const auto upsideDown = [](const rxPair<long>& p) { return rxPair<long>(-p.x(), -p.y()); };
    // [turned]
    const rxMatrix<2>& m = grid.grid2point().matrix();
    require(grid.valid() && m.element(0, 0) > std::abs(m.element(1, 0)), "columns go right");
    require(upsideDown(rxPair<long>(2, -3)) == rxPair<long>(-2, 3), "both signs change");
}

void theSameEveryTime() {
    const Scene scene;
    const Scene again;
    require(scene.best().modelToDataXform() == again.best().modelToDataXform(), "the same bits");
    Points turned = scene.dots;
    std::reverse(turned.begin(), turned.end());
    rxPointMatcherResultSet found;
    scene.matcher.run(turned, rxPointMatcherRunParams(), found);
    const rxPointMatcherResult& other = found.results().at(0);
    for (std::size_t k = 0; k < scene.card.size(); ++k) {
        const long last = static_cast<long>(turned.size()) - 1;
        require(other.modelToDataMap()[k] == last - scene.best().modelToDataMap()[k],
                "the same partners");
    }
    const rxVector<2> moved =
        other.modelToDataXform().trans() - scene.best().modelToDataXform().trans();
    require(std::hypot(moved.x(), moved.y()) < 1e-9, "the same pose but for rounding");
}

void howAccurate() {
    const Scene scene;
    const rxPointMatcher& matcher = scene.matcher;
    const Points& dots = scene.dots;
    rxPointMatcherResultSet found;
    // [accuracy]
    rxPointMatcherRunParams params(0.1);  // low, so that the next best pose is told, too
    params.maxNumResults(10);
    matcher.run(dots, params, found);
    const rxCertainty sure = rfCertainty(matcher, dots, params, found, 0);
    if (sure.covariance) {
        std::cout << "rotation +- " << rxDegree(rxRadian(sure.covariance->rotationSigma)).toDouble()
                  << " degrees, origin +- " << sure.covariance->positionAt(rxVector<2>(0, 0)).rms()
                  << " pixels\n";
    }
    if (sure.nextPose) std::cout << "next pose: " << sure.nextPose->coverageMargin << " less\n";
    if (sure.closeClutterProbability()) {
        std::cout << "by accident: " << *sure.closeClutterProbability() << " at most\n";
    }
    // [accuracy]
    require(sure.covariance.has_value() && sure.nextPose.has_value(), "all is told");
    require(sure.nextPose->coverageMargin > 0.4, "no other pose comes near");
}

void pointsOfAnotherLibrary() {
    const Scene scene;
    // [adapters]
    struct KeyPoint {  // as your image library has it
        float x, y;
        int id;
    };
    const std::array<KeyPoint, 4> corners = {{{0, 0, 7}, {40, 0, 3}, {40, 25, 1}, {10, 30, 9}}};
    rxPointMatcher matcher;
    matcher.train(rfPoints(corners), rxPointMatcherDefs::eAutoDetect);
    const KeyPoint first = rfPointAs<KeyPoint>(matcher.modelPoints()[1]);
    // [adapters]
    require(first.x == 40.0F && first.y == 0.0F, "points go there and back");
}

// [circles]
// The dots of a plate of so many columns and rows, row by row from the top left;
// nothing unless all of them are seen.
std::optional<Points> findDots(const Points& centres, const rxVector<2>& column,
                               const rxVector<2>& row, long numColumns, long numRows) {
    rxPtToGridMapRunParams params(column, row);
    params.snapSize(0.3 * column.len());
    rxPtToGridMapResult grid;
    if (rfPtToGridMap(centres, params, grid) < 3) return std::nullopt;
    std::map<std::pair<long, long>, rxVector<2>> dots;  // by row and column
    for (std::size_t k = 0; k < centres.size(); ++k) {
        const rxPair<long> p = grid.map()[k];
        if (p.x() != rxPtToGridMapResult::kUnassigned)
            dots.emplace(std::pair(p.y(), p.x()), centres[k]);
    }
    // The block of full rows and columns among what was placed; clutter lies around it.
    for (const auto& [corner, dot] : dots) {
        Points block;
        for (long y = 0; y < numRows; ++y) {
            for (long x = 0; x < numColumns; ++x) {
                const auto found = dots.find({corner.first + y, corner.second + x});
                if (found != dots.end()) block.push_back(found->second);
            }
        }
        if (block.size() == static_cast<std::size_t>(numColumns * numRows)) return block;
    }
    return std::nullopt;
}
// [circles]

void comingFromACircleGridFinder() {
    const Points centres = readPoints("data/dots7x7/data.csv");
    const auto dots = findDots(centres, rxVector<2>(24, -13), rxVector<2>(13, 24), 7, 7);
    require(dots.has_value() && (*dots)[0] == centres[73] && (*dots)[1] == centres[57],
            "the plate of 7 x 7 dots is found");
}

void comingFromARansacLoop() {
    const Scene scene;
    const Points& model = scene.card;
    const Points& dots = scene.dots;
    // [ransac]
    const double inlierDistance = 4.0;  // pixels
    const double inlierShare = 0.8;     // of the model

    rxPointMatcher matcher;
    matcher.train(model, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params(inlierShare);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.autoCaptureRange(false);
    params.captureRange(inlierDistance);
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    if (found.results().empty()) return;  // no consensus
    const rxPointMatcherResult& result = found.results().front();
    const rxRefit homography = rfRefit(matcher, dots, result, rxRefitDefs::ePerspective);
    // [ransac]
    require(homography.numPairs == 30 && homography.residual.rms < 0.4, "the inliers are refitted");
}

void comingFromAnIcp() {
    const Scene scene;
    const Points& model = scene.card;
    const Points& dots = scene.dots;
    const double angle = -4.0;
    const double x = 535.0;
    const double y = 345.0;
    // [icp]
    rxPointMatcher matcher;
    matcher.train(model, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params;
    params.startPose(rxXform<2>(rxVector<2>(x, y), rxDegree(angle), rxDegree(angle), 1.0, 1.0));
    params.rotationUncertainty(rxAngleRange(rxRadian(rxDegree(-3)), rxRadian(rxDegree(3))));
    params.xTranslationUncertainty(rxRange(-20, 20));
    params.yTranslationUncertainty(rxRange(-20, 20));
    rxPointMatcherResultSet found;
    matcher.run(dots, params, found);
    // [icp]
    require(found.results().size() == 1 && found.results()[0].coverage() == 1.0, "it is found");
}

}  // namespace

int main() try {
    std::cout << std::setprecision(3);
    dotsAreMissing();
    twoCopies();
    limitTheRotation();
    holdTheScale();
    whichPointWentWhere();
    theGridComesBackRotated();
    theSameEveryTime();
    howAccurate();
    pointsOfAnotherLibrary();
    comingFromACircleGridFinder();
    comingFromARansacLoop();
    comingFromAnIcp();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
