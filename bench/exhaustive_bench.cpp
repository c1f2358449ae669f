// The exhaustive search: every assignment of the smaller set, so (n + 1)^m of them.
#include <benchmark/benchmark.h>

#include <cstddef>

#include "paired_ratio.h"
#include "planted_problem.h"
#include "ptmatch/ppmatch.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"
#include "same_results.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;

constexpr long kNumSets = 5;

void runExhaustively(benchmark::State& state) {
    const PlantedProblem problem =
        makeProblem(state.range(0), state.range(1), Spread::Spaced, false, kNumSets);
    rxPointMatcher matcher;
    matcher.train(problem.model, rxPointMatcherDefs::eExhaustiveMode);
    const reference::Model model = reference::trainModel(problem.model);
    // With the default scale range (0, 0) the search fits rigid poses, which recover the pose well
    // from four points.
    rxPointMatcherResultSet found;
    const auto library = [&](std::size_t input) {
        matcher.run(problem.data[input].points, problem.params, found);
    };
    const auto plain = [&](std::size_t input) {
        return reference::runExhaustively(model, problem.data[input].points, problem.params);
    };
    for (std::size_t i = 0; i < problem.data.size(); ++i) {
        library(i);
        if (!verify(state, isPlantedInstance(found, problem.model, problem.data[i]),
                    "the planted instance was not found") ||
            !verify(state, areSame(found, plain(i)), "the results are not the reference's")) {
            return;
        }
    }
    measurePaired(state, problem.data.size(), library,
                  [&](std::size_t input) { benchmark::DoNotOptimize(plain(input)); });
}

}  // namespace

BENCHMARK(runExhaustively)
    ->Name("Exhaustive")
    ->ArgNames({"model", "data"})
    ->Args({4, 5})
    ->Args({5, 5})
    ->Args({5, 6})
    ->Args({6, 7})
    ->Args({7, 7})
    ->Iterations(11)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
