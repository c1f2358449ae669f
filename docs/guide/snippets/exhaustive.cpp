// The exhaustive mode: what it finds, and how its work grows.
#include <exception>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "ptmatch/matched_pairs.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"

namespace {

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

void findFourAmongSix() {
    // [find]
    const std::vector<rxVector<2>> holes = {{0, 0}, {40, 0}, {40, 25}, {10, 30}};  // mm
    const std::vector<rxVector<2>> seen = {{140, 50},   {90, 90.1},  {85, 59.8},
                                           {115.2, 90}, {115, 50.1}, {60, 75}};
    rxPointMatcher matcher;
    matcher.train(holes, rxPointMatcherDefs::eExhaustiveMode);

    rxPointMatcherRunParams params;
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.autoCaptureRange(false);
    params.captureRange(1.0);  // mm: a hole this far off is not this hole
    rxPointMatcherResultSet found;
    matcher.run(seen, params, found);
    const rxPointMatcherResult& best = found.results().at(0);
    // [find]
    std::cout << "coverage " << best.coverage() << ", fit error " << std::setprecision(3)
              << best.fitError() << " mm\n";
    for (std::size_t k = 0; k < holes.size(); ++k) {
        std::cout << "hole " << k << " is point " << best.modelToDataMap()[k] << '\n';
    }
    require(best.modelToDataMap() == std::vector<long>({4, 3, 1, 2}), "every hole has its point");

    // The minimum coverage is not looked at: of other points, the best is returned all the same.
    params.minCoverage(1.0);
    matcher.run({{0, 0}, {40, 0}, {3, 90}, {-55, 20}}, params, found);
    require(!found.results().empty() && found.results().front().coverage() < 1.0,
            "a result of low coverage is returned");
}

std::vector<rxVector<2>> spread(long count) {
    std::vector<rxVector<2>> points;
    for (long k = 0; k < count; ++k) {
        points.emplace_back(10.0 * static_cast<double>(k * k % 7), 10.0 * static_cast<double>(k));
    }
    return points;
}

void showGrowth() {
    std::cout << "model  data  assignments\n";
    for (const auto& [numModel, numData] :
         {std::pair(3L, 4L), std::pair(4L, 5L), std::pair(5L, 6L), std::pair(6L, 7L),
          std::pair(7L, 8L), std::pair(8L, 9L), std::pair(8L, 20L)}) {
        const std::vector<rxVector<2>> points = spread(numModel);
        const std::vector<rxVector<2>> data = spread(numData);
        rxPointMatcher matcher;
        matcher.train(points, rxPointMatcherDefs::eExhaustiveMode);
        const rxPointMatcherRunParams params;
        // [cost]
        const rxRunCost cost = rfRunCost(matcher, data, params);
        const bool isTooLong = cost.work > 1e8;  // several seconds
        // [cost]
        require(isTooLong == (numData == 20), "only the last is too long");
        std::cout << std::setw(5) << numModel << std::setw(6) << numData << std::setw(13)
                  << std::setprecision(12) << cost.work << '\n';
    }
}

}  // namespace

int main() try {
    findFourAmongSix();
    showGrowth();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
