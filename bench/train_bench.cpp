// Training: the nearest and the farthest neighbour of every model point, and the model's extent.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
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

enum Kind : std::int64_t { kSpaced, kUniform, kLattice, kCircle, kClusters };
constexpr const char* kKindNames[] = {"spaced", "uniform", "lattice", "circle", "two clusters"};

/// Sets on which searches for neighbours differ: a square at random, ties everywhere, no point
/// nearer the middle than others, and crowds in an otherwise empty box.
Points makePoints(Kind kind, long size) {
    if (kind == kSpaced) return makeModel(size, Spread::Spaced);
    Points points = makeModel(size, Spread::Uniform);
    const long columns = std::lround(std::sqrt(static_cast<double>(size)));
    for (long k = 0; k < size && kind != kUniform; ++k) {
        rxVector<2>& point = points[static_cast<std::size_t>(k)];
        const double angle = point.x();
        if (kind == kLattice) point = rxPair<long>(k % columns, k / columns);
        if (kind == kCircle) point = {500 * std::cos(angle), 500 * std::sin(angle)};
        if (kind == kClusters)
            point = {1e-6 * point.x() + (k % 2 == 0 ? 0.0 : 1e6), 1e-6 * point.y()};
    }
    return points;
}

void train(benchmark::State& state) {
    const Points points = makePoints(static_cast<Kind>(state.range(1)), state.range(0));
    state.SetLabel(kKindNames[state.range(1)]);
    if (!verify(state, isTrainedAlike(points), "the model is not the reference's")) return;
    rxPointMatcher matcher;
    measurePaired(
        state, 1, [&](std::size_t) { matcher.train(points, rxPointMatcherDefs::eAutoDetect); },
        [&](std::size_t) { benchmark::DoNotOptimize(ptmatch::reference::trainModel(points)); });
}

}  // namespace

BENCHMARK(train)
    ->Name("Train")
    ->ArgNames({"points", "kind"})
    ->ArgsProduct({{10, 20, 40, 60, 80, 100, 300, 1000, 2000},
                   {kSpaced, kUniform, kLattice, kCircle, kClusters}})
    ->Iterations(41)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

// The plain loop takes seconds here; one round tells enough. Points are not spaced at these sizes,
// as drawing them until they are takes longer still.
BENCHMARK(train)
    ->Name("TrainLarge")
    ->ArgNames({"points", "kind"})
    ->ArgsProduct({{10000, 100000}, {kUniform, kLattice, kCircle, kClusters}})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
