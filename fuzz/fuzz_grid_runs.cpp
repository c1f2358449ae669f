// Promise: a small pattern image, of a transform of moderate numbers, trains or is refused; a run
// on points of moderate coordinates is refused with a documented exception and empty results, or
// gives what the plain reference gives, to the last bit.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "earlier_results.h"
#include "foundation/fitter.h"
#include "foundation/image.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "pattern_input.h"
#include "promise.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"
#include "reference/reference_grid_match.h"
#include "refusals.h"

namespace ptmatch::fuzz::grid_runs {
namespace {

using reference::GridMatcher;
using reference::GridResult;
using Points = std::vector<rxVector<2>>;

constexpr long kMostSide = 6;
constexpr double kSpread = 400.0;

/// Whether a call ends without one of the exceptions that are documented of a run.
constexpr Refusals<rxPointMatcherDefs::BadParams, rxLSPointToPointFitter::Errors, rxMathError>
    succeeds;

rxPelBuffer<unsigned char> patternImage(FuzzInput& input) {
    const long width = input.integer(1, kMostSide);
    const long height = input.integer(1, kMostSide);
    rxPelBuffer<unsigned char> image = markImage(input, width, height);
    image.offset({input.integer(-3, 3), input.integer(-3, 3)});
    return image;
}

/// Mostly steps that are nearly square, as on plates.
rxXform<2> gridXform(FuzzInput& input) {
    const double e00 = input.flag() ? 20.0 : input.moderate(64.0);
    const double e01 = input.flag() ? 0.0 : input.moderate(64.0);
    const double e10 = input.flag() ? 0.0 : input.moderate(64.0);
    const double e11 = input.flag() ? 20.0 : input.moderate(64.0);
    return {rxMatrix<2>(e00, e01, e10, e11), input.moderatePoint(kSpread)};
}

Points dataPoints(FuzzInput& input, const rxPelBuffer<unsigned char>& image) {
    Points data = input.moderatePoints(0, 8, kSpread);
    const rxVector<2> shift = input.moderatePoint(kSpread);
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            if (image.pointToRow(y)[x] == 0 || input.byte() < 32) continue;
            const rxVector<2> node = image.clientFromImageXform() *
                                     rxVector<2>(static_cast<double>(x), static_cast<double>(y));
            data.push_back(node + shift + rxVector<2>{0.01 * input.byte(), 0.01 * input.byte()});
        }
    }
    return data;
}

rxPointMatcherRunParams runParams(FuzzInput& input) {
    rxPointMatcherRunParams params;
    params.minCoverage(static_cast<double>(input.byte()) / 255.0);
    const double low = static_cast<double>(input.integer(0, 100)) / 200.0;
    params.scaleUncertainty({-low, static_cast<double>(input.integer(0, 100)) / 200.0});
    const double turn = static_cast<double>(input.integer(0, 60));
    params.rotationUncertainty({rxDegree(-turn), rxDegree(turn)});
    if (input.flag()) {
        params.autoCaptureRange(false);
        params.captureRange(std::abs(input.moderate(64.0)));
    }
    params.maxNumResults(input.integer(1, 6));
    return params;
}

void compare(const rxPointMatcherResult& result, const GridResult& expected,
             const rxPair<long>& corner) {
    promise(isSame(result.coverage(), expected.coverage), "the coverage of the reference");
    promise(isSame(result.fitError(), expected.fitError), "the fit error of the reference");
    promise(result.runMode() == rxPointMatcherDefs::ePointToGrid, "a run on a grid");
    promise(isSamePose(result.modelToDataXform(), expected.modelToDataXform),
            "the pose of the reference");
    for (long y = 0; y < expected.gridToData.height; ++y) {
        for (long x = 0; x < expected.gridToData.width; ++x) {
            promise(
                result.gridToDataMap(corner + rxPair<long>(x, y)) == expected.gridToData.at(x, y),
                "the map of the reference");
        }
    }
}

/// Steps of a length at which the reference's arrays stay small.
bool hasSoundSteps(const rxXform<2>& xform) {
    const rxMatrix<2>& m = xform.matrix();
    const double shortest = std::min(std::hypot(m.element(0, 0), m.element(1, 0)),
                                     std::hypot(m.element(0, 1), m.element(1, 1)));
    return shortest >= 4.0;
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    rxPelBuffer<unsigned char> image = patternImage(input);
    image.clientFromImageXform(gridXform(input));
    const rxPointMatcherRunParams params = runParams(input);
    const Points data = dataPoints(input, image);

    const std::optional<GridMatcher> reference = reference::trainOnImage(image);
    rxPointMatcher matcher;
    try {
        matcher.train(rxPelBuffer_const<unsigned char>(image));
    } catch (const rxPointMatcherDefs::InsufficientModelPoints&) {
        promise(!reference, "trains as the reference");
        return;
    }
    promise(reference.has_value(), "trains as the reference");

    bool isSmall = false;
    const bool isCounted = succeeds([&] {
        const rxRunCost cost = rfRunCost(matcher, data, params);
        isSmall = cost.work <= 100'000 && cost.imageBytes <= 1 << 22;
    });
    if (isCounted && !isSmall) return;
    rxPointMatcherResultSet found = earlierResults();
    if (!succeeds([&] { matcher.run(data, params, found); })) {
        promise(found.results().empty(), "no results after a failed run");
        return;
    }
    promise(isCounted, "a run is refused when its cost is");
    if (!hasSoundSteps(image.clientFromImageXform())) return;
    const std::vector<GridResult> expected = runOnGrid(*reference, data, params);
    promise(found.results().size() == expected.size(), "as many results as the reference");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        compare(found.results()[i], expected[i], reference->pattern.corner);
    }
}

}  // namespace ptmatch::fuzz::grid_runs
