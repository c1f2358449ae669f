// Runs of the search by votes on planted problems, with the default parameters; "fullTurn" allows
// every rotation.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "paired_ratio.h"
#include "planted_problem.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/search_grid.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"
#include "same_results.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;

struct RunCase {
    long numModel;
    long numData;
    Spread spread;
    bool isFullTurn;
    bool hasReference;  // false: the plain reference would take minutes
    long numRounds;
};

constexpr long kNumSets = 5;

std::string nameOf(const RunCase& which) {
    return "Run/" + std::to_string(which.numModel) + "/" + std::to_string(which.numData) +
           (which.isFullTurn ? "/fullTurn" : "/15deg") +
           (which.spread == Spread::Uniform ? "/uniform" : "");
}

rxPointMatcherResultSet runOn(const rxPointMatcher& matcher, const PlantedProblem& problem,
                              std::size_t input) {
    rxPointMatcherResultSet found;
    matcher.run(problem.data[input].points, problem.params, found);
    return found;
}

bool areAllFound(const rxPointMatcher& matcher, const PlantedProblem& problem) {
    for (std::size_t i = 0; i < problem.data.size(); ++i) {
        const rxPointMatcherResultSet found = runOn(matcher, problem, i);
        if (!isPlantedInstance(found, problem.model, problem.data[i])) return false;
    }
    return true;
}

// What decides the cost of the vote: the number of translations, and of rotations.
void reportSearchSize(benchmark::State& state, const PlantedProblem& problem) {
    rx_PointMatcherModel model;
    model.train(problem.model);
    const double gridSize = model.defaultGridSize();
    const std::optional<ptmatch::detail::SearchGrid> grid = ptmatch::detail::makeSearchGrid(
        problem.data.front().points, model, problem.params.startPose(), gridSize);
    if (!grid) return;
    const std::optional<rxPelRect> window =
        ptmatch::detail::translationWindow(*grid, model, problem.params);
    if (!window) return;
    long numRotations = 0;
    ptmatch::detail::rotationLattice(problem.params.rotationUncertainty(), model, 1.0, gridSize)
        .forEach([&](double) { ++numRotations; });
    state.counters["translations"] =
        static_cast<double>((window->width() + 1) * (window->height() + 1));
    state.counters["rotations"] = static_cast<double>(numRotations);
}

void run(benchmark::State& state, const RunCase& which) {
    const PlantedProblem problem =
        makeProblem(which.numModel, which.numData, which.spread, which.isFullTurn, kNumSets);
    rxPointMatcher matcher;
    matcher.train(problem.model, rxPointMatcherDefs::eAutoDetect);
    if (!verify(state, areAllFound(matcher, problem), "the planted instance was not found")) return;
    reportSearchSize(state, problem);

    const auto library = [&](std::size_t input) { runOn(matcher, problem, input); };
    if (!which.hasReference) {
        measureAlone(state, problem.data.size(), library);
        return;
    }
    const reference::Model model = reference::trainModel(problem.model);
    const auto plain = [&](std::size_t input) {
        return reference::run(model, problem.data[input].points, problem.params);
    };
    const std::size_t numCompared = which.numRounds < kNumSets ? 1 : problem.data.size();
    for (std::size_t i = 0; i < numCompared; ++i) {
        const bool isSame = areSame(runOn(matcher, problem, i), plain(i));
        if (!verify(state, isSame, "the results are not the reference's")) return;
    }
    measurePaired(state, problem.data.size(), library,
                  [&](std::size_t input) { benchmark::DoNotOptimize(plain(input)); });
}

const RunCase kCases[] = {
    {12, 40, Spread::Spaced, false, true, 41},   {12, 40, Spread::Spaced, true, true, 41},
    {50, 150, Spread::Spaced, false, true, 41},  {50, 150, Spread::Spaced, true, true, 21},
    {100, 400, Spread::Spaced, false, true, 21}, {100, 400, Spread::Spaced, true, true, 7},
    {300, 2000, Spread::Spaced, false, true, 5}, {300, 2000, Spread::Spaced, true, false, 7},
    {12, 40, Spread::Uniform, false, true, 41},  {100, 400, Spread::Uniform, false, false, 7},
};

const bool isRegistered = [] {
    for (const RunCase& which : kCases) {
        benchmark::RegisterBenchmark(nameOf(which).c_str(), run, which)
            ->Iterations(which.numRounds)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
