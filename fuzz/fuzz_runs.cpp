// Promise: train and run take any points, weights and parameters: they refuse with a documented
// exception and empty results, or give, in both modes on points, what the plain reference gives, to
// the last bit.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "earlier_results.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/group_planner.h"
#include "ptmatch/pose_group.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_kernel_choice.h"
#include "ptmatch/vote_planner.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"
#include "refusals.h"

namespace ptmatch::fuzz::runs {
namespace {

using Points = std::vector<rxVector<2>>;

constexpr double kMostWork = 400'000;
constexpr double kMostLatticePoints = 800;
constexpr double kMostImageBytes = 1 << 22;

/// Passes a value to a setter that may refuse it.
constexpr Refusals<rxPointMatcherDefs::BadParams> offer;

rxXform<2> startPose(FuzzInput& input) {
    if (input.flag()) return {};
    const double e00 = input.number();
    const double e01 = input.number();
    const double e10 = input.number();
    const rxMatrix<2> matrix(e00, e01, e10, input.number());
    return {matrix, input.point()};
}

rxPointMatcherRunParams runParams(FuzzInput& input) {
    rxPointMatcherRunParams params;
    offer([&] { params.minCoverage(static_cast<double>(input.byte()) / 250.0); });
    params.startPose(startPose(input));
    offer([&] { params.rotationUncertainty(input.angleRange()); });
    if (input.flag()) offer([&] { params.xTranslationUncertainty(input.range()); });
    if (input.flag()) offer([&] { params.yTranslationUncertainty(input.range()); });
    if (input.flag()) {
        const double low = static_cast<double>(input.integer(-100, 100)) / 200.0;
        const double high = static_cast<double>(input.integer(-100, 100)) / 200.0;
        offer([&] { params.scaleUncertainty({low, high}); });
    }
    if (input.flag()) {
        params.autoGridSize(false);
        offer([&] { params.gridSize(input.number()); });
    }
    if (input.flag()) {
        params.autoCaptureRange(false);
        offer([&] { params.captureRange(input.number()); });
    }
    params.maxNumResults(input.integer(1, 12));
    return params;
}

std::vector<long> weightsFor(FuzzInput& input, std::size_t count) {
    std::vector<long> weights(count);
    for (long& weight : weights) weight = input.integer(-2, 5);
    if (input.byte() == 0) weights.push_back(1);
    return weights;
}

void compare(const rxPointMatcherResultSet& found, const reference::RunReport& expected) {
    promise(found.results().size() == expected.results.size(), "as many results as the reference");
    for (std::size_t i = 0; i < expected.results.size(); ++i) {
        const rxPointMatcherResult& result = found.results()[i];
        const reference::Result& wanted = expected.results[i];
        promise(result.runMode() == wanted.runMode, "the mode of the reference");
        promise(result.modelToDataMap() == wanted.modelToDataMap, "the map of the reference");
        promise(isSame(result.coverage(), wanted.coverage), "the coverage of the reference");
        promise(isSame(result.fitError(), wanted.fitError), "the fit error of the reference");
        promise(isSamePose(result.modelToDataXform(), wanted.modelToDataXform),
                "the pose of the reference");
    }
}

/// What a result says by itself, whatever the search.
void checkResults(const rxPointMatcherResultSet& found, const Points& model, const Points& data,
                  const rxPointMatcherRunParams& params) {
    promise(std::ssize(found.results()) <= params.maxNumResults(), "no more than were wanted");
    for (const rxPointMatcherResult& result : found.results()) {
        promise(result.modelToDataMap().size() == model.size(), "a place for each model point");
        for (const long place : result.modelToDataMap()) {
            promise(place >= -1 && place < std::ssize(data), "a data point or none");
        }
        promise(result.fitError() >= 0.0, "a fit error that is a number");
        promise(result.modelToDataXform().isFinite(), "a pose that is finite");
    }
}

/// Whether library and reference can be asked for it thousands of times.
bool isSmall(const rxPointMatcher& matcher, const Points& data,
             const rxPointMatcherRunParams& params) {
    const rxRunCost cost = rfRunCost(matcher, data, params);
    return cost.work <= kMostWork &&
           static_cast<double>(cost.numLatticePoints) <= kMostLatticePoints &&
           cost.imageBytes <= kMostImageBytes;
}

void runAndCompare(const rxPointMatcher& matcher, const Points& model,
                   const std::vector<long>& weights, const Points& data,
                   const rxPointMatcherRunParams& params) {
    rxPointMatcherResultSet found = earlierResults();
    bool isCounted = false;
    try {
        if (!isSmall(matcher, data, params)) return;
        isCounted = true;
    } catch (const rxPointMatcherDefs::BadParams&) {
    }
    try {
        matcher.run(data, params, found);
    } catch (const rxPointMatcherDefs::BadParams&) {
        promise(found.results().empty(), "no results after a failed run");
        return;
    }
    promise(isCounted, "a run is refused when its cost is");
    checkResults(found, model, data, params);
    const auto reference = reference::trainModel(model, weights);
    const bool isExhaustive = matcher.trainMode() == rxPointMatcherDefs::eExhaustiveMode;
    compare(found, isExhaustive ? reference::runExhaustively(reference, data, params)
                                : reference::run(reference, data, params));
}

/// How a search is arranged: no arrangement changes what it finds.
void arrangeSearch(FuzzInput& input) {
    const auto& kernels = detail::voteKernels();
    const auto kernel = static_cast<std::size_t>(input.byte()) % kernels.size();
    detail::forceVoteKernel(kernels[kernel]->name);
    detail::forceTileShape(
        static_cast<int>(input.integer(-1, std::ssize(detail::kTileShapes) - 1)));
    const std::uint8_t groups = input.byte();
    const int shape = static_cast<int>(groups) % static_cast<int>(detail::kNumGroupShapes);
    detail::forceGroupShape(groups < 64    ? detail::kNoGroups
                            : groups < 128 ? detail::kEveryShapeInTurn
                            : groups < 192 ? -1
                                           : shape);
}

/// Many points, as wanted for what only large models need.
void runOnClouds(FuzzInput& input) {
    const Points model = input.cloud(input.integer(20, 120), 100.0);
    Points data = input.cloud(input.integer(0, 60), 150.0);
    const rxVector<2> shift = input.moderatePoint(50.0);
    for (const auto& p : model) {
        if (input.isEmpty() || input.byte() < 200) data.push_back(p + shift);
    }
    rxPointMatcherRunParams params(static_cast<double>(input.integer(40, 250)) / 250.0);
    const double turn = static_cast<double>(input.integer(0, 60));
    params.rotationUncertainty({rxDegree(-turn), rxDegree(turn)});
    params.scaleUncertainty({-0.1, static_cast<double>(input.integer(0, 20)) / 100.0});
    params.autoGridSize(input.byte() < 16);
    params.gridSize(static_cast<double>(input.integer(6, 60)));
    params.maxNumResults(input.integer(1, 5));
    rxPointMatcher matcher;
    matcher.train(model, rxPointMatcherDefs::eAutoDetect);
    runAndCompare(matcher, model, {}, data, params);
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    arrangeSearch(input);
    if (input.byte() % 4 == 0) {
        runOnClouds(input);
        return;
    }
    const bool isExhaustive = input.byte() % 4 == 0;
    const bool isWeighted = input.byte() % 4 == 0;
    const rxPointMatcherRunParams params = runParams(input);
    const long most = isExhaustive ? 5 : 12;
    const Points model = input.points(most);
    const std::vector<long> weights =
        isWeighted ? weightsFor(input, model.size()) : std::vector<long>();
    Points data = input.points(isExhaustive ? 5 : 24);
    if (input.flag()) data.insert(data.end(), model.begin(), model.end());
    if (isExhaustive && data.size() > 5) data.resize(5);

    rxPointMatcher matcher;
    // Trained before, so that a failed training shows.
    matcher.train({{0, 0}, {40, 0}, {0, 30}}, rxPointMatcherDefs::eAutoDetect);
    try {
        const auto mode =
            isExhaustive ? rxPointMatcherDefs::eExhaustiveMode : rxPointMatcherDefs::eAutoDetect;
        if (weights.empty()) {
            matcher.train(model, mode);
        } else {
            matcher.train(model, weights, mode);
        }
    } catch (const rxPointMatcherDefs::Errors&) {
        promise(!matcher.isTrained(), "untrained after a failed training");
        return;
    }
    runAndCompare(matcher, model, weights, data, params);
}

}  // namespace ptmatch::fuzz::runs
