// Transforms fitted to pairs that are known: models, their residuals, what the pairs determine.
#include <array>
#include <cmath>
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/fitter.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/pinv.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/refit.h"
#include "ptmatch/space_fit.h"
#include "read_points.h"

namespace {

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

// A plate seen from the side: columns and rows of its dots, and where they lie on the photograph.
struct Plate {
    std::vector<rxVector<2>> nodes;
    std::vector<rxVector<2>> pixels;
};

Plate readPlate() {
    std::ifstream file("data/oblique_plate/pairs.csv");
    std::string line;
    std::getline(file, line);
    Plate plate;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        double ax = 0, ay = 0, bx = 0, by = 0;
        char comma = ' ';
        fields >> ax >> comma >> ay >> comma >> bx >> comma >> by;
        plate.nodes.emplace_back(ax, ay);
        plate.pixels.emplace_back(bx, by);
    }
    require(plate.nodes.size() == 80, "the plate has 80 dots");
    return plate;
}

void fitFourModels() {
    const auto [nodes, pixels] = readPlate();
    // [fit]
    rxLSPointToPointFitter fitter;
    for (std::size_t k = 0; k < nodes.size(); ++k) fitter.update(pixels[k], nodes[k]);
    const rxXform<2> rigid = fitter.fit(3);
    const rxXform<2> similarity = fitter.fit(4);
    const rxXform<2> affine = fitter.fit(6);
    const rx2PTm perspective = rfFitPerspectiveNormalized(nodes, pixels);
    // [fit]
    const auto rms = [&, &nodes = nodes, &pixels = pixels](const rxXform<2>& pixelFromNode) {
        double sum = 0.0;
        for (std::size_t k = 0; k < nodes.size(); ++k) {
            const rxVector<2> miss = pixelFromNode * nodes[k] - pixels[k];
            sum += miss.x() * miss.x() + miss.y() * miss.y();
        }
        return std::sqrt(sum / static_cast<double>(nodes.size()));
    };
    const rxFitResidual left = rfFitResidual(perspective, nodes, pixels);
    std::cout << std::fixed << std::setprecision(2) << "rigid " << rms(rigid) << ", similarity "
              << rms(similarity) << ", affine " << rms(affine) << ", perspective " << left.rms
              << " pixels\n";
    require(left.rms < 0.6 && rms(affine) > 18.0, "only the perspective model fits");
}

void refitAResult() {
    const std::vector<rxVector<2>> card = readPoints("data/demo_pick/model.csv");
    const std::vector<rxVector<2>> dots = readPoints("data/demo_pick/data.csv");
    rxPointMatcher matcher;
    matcher.train(card, rxPointMatcherDefs::eAutoDetect);
    rxPointMatcherResultSet found;
    matcher.run(dots, rxPointMatcherRunParams(), found);
    const rxPointMatcherResult& result = found.results().at(0);
    std::cout << "the run: " << result.fitError() << " pixels\n";
    // [refit]
    for (const auto model : {rxRefitDefs::eRigid, rxRefitDefs::eSimilarity, rxRefitDefs::eAffine,
                             rxRefitDefs::ePerspective}) {
        const rxRefit refit = rfRefit(matcher, dots, result, model);
        const double numEquations = 2.0 * static_cast<double>(refit.numPairs);
        const double freedom = numEquations - static_cast<int>(model);
        std::cout << static_cast<int>(model) << " unknowns: " << refit.residual.rms
                  << " pixels left, error of a pair "
                  << refit.residual.rms * std::sqrt(numEquations / freedom) << '\n';
    }
    // [refit]
}

void accumulate() {
    // [line]
    rxLeastSquares line(2);  // y = p[0] x + p[1]
    rxPsuedoInverse sums(2);
    for (int x = 1'000'000; x < 1'000'020; ++x) {
        const std::array coefficients = {static_cast<double>(x), 1.0};
        line.update(coefficients, 2.0 * x + 1.0);
        sums.update(coefficients, 2.0 * x + 1.0);
    }
    const rxLeastSquaresSolution best = line.fit();
    const double error = std::abs(best.x[0] - 2.0);
    const double errorOfSums = std::abs(sums.fit()[0] - 2.0);
    // [line]
    require(best.isDetermined() && best.rank == 2, "two unknowns are determined");
    require(error < 1e-10 && errorOfSums > 1e-7, "the sums lose the digits");
    std::cout << std::scientific << std::setprecision(0) << "slope off by " << error << ", "
              << errorOfSums << " from normal equations; condition " << best.condition << '\n';

    // [open]
    rxLeastSquares column(2);
    column.update(std::array{3.0, 1.0}, 5.0);  // all points have x = 3:
    column.update(std::array{3.0, 1.0}, 5.2);  // no slope can be told
    const bool isOpen = !column.fit().isDetermined();
    // [open]
    require(isOpen, "a column of points leaves the slope open");
}

void fitInSpace() {
    // [space]
    const std::vector<rxVector<3>> seen = {{0, 0, 0}, {100, 0, 0}, {0, 100, 0}, {0, 0, 50}};  // mm
    const std::vector<rxVector<3>> touched = {
        {500, 200, 30}, {500, 300, 30}, {400, 200, 30}, {500, 200, 80}};
    const rx3PtMatchTm robotFromCamera = rfFitRigid3D(seen, touched);
    const rxVector<3> target = robotFromCamera.a2b(rxVector<3>(50, 50, 0));
    // [space]
    require(std::abs(target.x() - 450) < 1e-9 && std::abs(target.y() - 250) < 1e-9 &&
                std::abs(target.z() - 30) < 1e-9,
            "the target is where it was touched");
}

}  // namespace

int main() try {
    fitFourModels();
    refitAResult();
    accumulate();
    fitInSpace();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
