// Why a run finds nothing, and what no run can find.
#include <algorithm>
#include <cmath>
#include <exception>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/fitter.h"
#include "ptmatch/clutter_chance.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/why_not.h"
#include "read_points.h"

namespace {

using Points = std::vector<rxVector<2>>;

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

rxAngleRange degrees(double low, double high) {
    return {rxRadian(rxDegree(low)), rxRadian(rxDegree(high))};
}

// [explain]
void explain(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
             const rxPointMatcherRunParams& params) {
    const rxWhyNot why = rfWhyNot(matcher, data, params);
    std::cout << "  best coverage " << why.bestCoverage << ", wanted " << params.minCoverage()
              << ", " << why.numCandidates << " candidates; cells " << why.cost.gridSize
              << ", capture range " << why.cost.captureRange << '\n';
    if (!why.nearestMiss) return;
    const rxNearestMiss& miss = *why.nearestMiss;
    std::cout << "  nearest miss: coverage " << miss.coverage
              << (miss.isBelowCoverage ? ", too little" : "")
              << (miss.isOutsideRotation ? ", rotation not allowed" : "")
              << (miss.isSingular ? ", no inverse" : "") << '\n';
}
// [explain]

// The card among 286 dots, which default parameters find: turned by -5.3 degrees, at (539, 341).
void explainThreeFailures() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const Points data = readPoints("data/demo_pick/data.csv");

    const auto failWith = [&](const char* name, const rxPointMatcherRunParams& params,
                              rxWhyNotDefs::Reason reason) {
        rxPointMatcherResultSet found;
        matcher.run(data, params, found);
        require(found.results().empty(), std::string(name) + " is found");
        require(rfWhyNot(matcher, data, params).reason == reason, "another reason");
        std::cout << name << ":\n";
        explain(matcher, data, params);
    };

    rxPointMatcherRunParams params(0.9);
    params.rotationUncertainty(degrees(-4, 20));
    failWith("rotations of -4 to 20 degrees", params, rxWhyNotDefs::ePose);

    params = rxPointMatcherRunParams(0.9);
    params.autoCaptureRange(false);
    params.captureRange(1.0);
    failWith("capture range of a pixel", params, rxWhyNotDefs::eCoverage);

    params = rxPointMatcherRunParams(0.9);
    params.scaleUncertainty(rxRange(0.2, 0.3));
    failWith("scales of 1.2 to 1.3", params, rxWhyNotDefs::eCoverage);
}

// The best of the poses that are certainly wrong: what accidents reach.
void tellWhatAccidentsReach() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const Points data = readPoints("data/demo_pick/data.csv");
    for (const double captureRange : {6.4, 1.0}) {
        double highest = 0.0;
        for (const rxAngleRange& wrong : {degrees(10, 20), degrees(40, 170), degrees(-170, -20)}) {
            // [accidents]
            rxPointMatcherRunParams params(0.0);
            params.rotationUncertainty(wrong);  // none of which can be
            params.autoCaptureRange(false);
            params.captureRange(captureRange);
            rxPointMatcherResultSet found;
            matcher.run(data, params, found);
            highest = std::max(highest, found.results().at(0).coverage());
            // [accidents]
        }
        std::cout << "capture range " << captureRange << ": accidents cover up to " << highest
                  << '\n';
    }
}

double largestDistance(const rxXform<2>& xform, const Points& from, const Points& to) {
    double largest = 0.0;
    for (std::size_t k = 0; k < from.size(); ++k) {
        const rxVector<2> miss = xform * from[k] - to[k];
        largest = std::max(largest, std::hypot(miss.x(), miss.y()));
    }
    return largest;
}

// A board seen more and more from the side: how much of it is matched with a fixed capture range.
void bendABoard() {
    const Points board = readPoints("data/versa64/model.csv");  // 54 x 35 mm
    rxPointMatcher matcher;
    matcher.train(board, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params(0.0);
    params.scaleUncertainty(rxRange(-0.1, 0.02));
    params.autoCaptureRange(false);
    params.captureRange(0.6);
    double last = 1.0;
    for (const double tilt : {0.01, 0.03, 0.05, 0.1, 0.2}) {
        Points seen;  // the right edge lies farther away by this share
        rxLSPointToPointFitter fitter;
        for (const rxVector<2>& p : board) {
            const double w = 1.0 + tilt * (p.x() - 1.874) / 54.276;
            seen.emplace_back(p.x() / w, p.y() / w);
            fitter.update(seen.back(), p);
        }
        const double bend = largestDistance(fitter.fit(4), board, seen);
        rxPointMatcherResultSet found;
        matcher.run(seen, params, found);
        const double coverage = found.results().at(0).coverage();
        std::cout << std::fixed << std::setprecision(0) << "edge " << 100.0 * tilt
                  << " % farther: bend " << std::setprecision(2) << bend << " mm, coverage "
                  << coverage << '\n';
        require(bend > 0.6 || coverage == 1.0, "what stays within the capture range is found");
        require(coverage <= last, "coverage falls with the bend");
        last = coverage;
    }
    require(last < 0.6, "a bent board is not found");
}

void lookAtAMirrorImage() {
    const Points board = readPoints("data/versa64/model.csv");
    Points other;
    for (const rxVector<2>& p : board) other.emplace_back(-p.x(), p.y());
    rxPointMatcherRunParams params(0.0);
    params.rotationUncertainty(rxAngleRange::FullRange());
    rxPointMatcherResultSet found;
    rxPointMatcher matcher;
    matcher.train(board, rxPointMatcherDefs::eAutoDetect);
    matcher.run(other, params, found);
    const double wrong = found.results().at(0).coverage();
    matcher.train(other, rxPointMatcherDefs::eAutoDetect);
    matcher.run(other, params, found);
    std::cout << "mirror image: coverage " << wrong << ", trained as such "
              << found.results().at(0).coverage() << '\n';
    require(wrong < 0.5 && found.results()[0].coverage() == 1.0, "a mirror image is another part");
}

// How many points must be matched until clutter cannot do the same, in a picture of a megapixel.
void countUntilItIsNoAccident() {
    for (const double numData : {20.0, 100.0, 500.0}) {
        for (const double numModel : {5.0, 10.0, 30.0}) {
            // [chance]
            rxClutterScene scene;
            scene.numDataPoints = numData;
            scene.area = 1000.0 * 1000.0;  // pixels
            scene.captureRange = 4.0;
            scene.numModelPoints = numModel;
            scene.modelRadius = 150.0;
            scene.translationWidth = scene.translationHeight = 1000.0;
            scene.rotationLength = 2.0 * std::numbers::pi;
            double needed = 0.0;  // until it happens in one of a thousand pictures at most
            while (needed <= numModel && rfLog10FalseAlarms(scene, needed) > -3.0) ++needed;
            // [chance]
            std::cout << std::setprecision(0) << numModel << " points among " << numData << ": ";
            if (needed <= numModel) {
                std::cout << needed << " matched are no accident\n";
            } else {
                std::cout << "even all matched may be an accident\n";
            }
        }
    }
}

void matchASquare() {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {40, 0}, {40, 40}, {0, 40}}, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherRunParams params(0.9);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.maxNumResults(10);
    rxPointMatcherResultSet found;
    matcher.run({{100, 50}, {140, 50}, {140, 90}, {100, 90}}, params, found);
    require(found.results().size() >= 4 && found.results()[3].coverage() == 1.0,
            "a square fits in four ways");
}

}  // namespace

int main() try {
    explainThreeFailures();
    tellWhatAccidentsReach();
    bendABoard();
    lookAtAMirrorImage();
    countUntilItIsNoAccident();
    matchASquare();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
