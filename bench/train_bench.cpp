// Training: the nearest and the farthest neighbour of every model point, and the model's extent.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "paired_ratio.h"
#include "planted_problem.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "reference/reference_model.h"

namespace {

using namespace ptmatch::bench;

bool isTrainedAlike(const Points& points) {
    rx_PointMatcherModel model;
    model.train(points);
    const ptmatch::reference::Model expected = ptmatch::reference::trainModel(points);
    return model.defaultGridSize() == expected.defaultGridSize &&
           model.center() == expected.centre && model.radius() == expected.radius &&
           model.totalWeight() == expected.totalWeight;
}

void train(benchmark::State& state) {
    const Points points = makeModel(state.range(0), Spread::Spaced);
    if (!verify(state, isTrainedAlike(points), "the model is not the reference's")) return;
    rxPointMatcher matcher;
    measurePaired(
        state, 1, [&](std::size_t) { matcher.train(points, rxPointMatcherDefs::eAutoDetect); },
        [&](std::size_t) { benchmark::DoNotOptimize(ptmatch::reference::trainModel(points)); });
}

}  // namespace

BENCHMARK(train)
    ->Name("Train")
    ->ArgName("points")
    ->Arg(50)
    ->Arg(300)
    ->Arg(2000)
    ->Iterations(41)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
