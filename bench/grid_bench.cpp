// Grids: mapping points onto one, placing a pattern of positions in it, and both in one run of the
// matcher.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "paired_ratio.h"
#include "planted_problem.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/ptgdmap.h"
#include "reference/random_problems.h"
#include "reference/reference_corresponder.h"
#include "reference/reference_grid_map.h"
#include "reference/reference_grid_match.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;
using reference::Random;

constexpr double kStep = 20.0;
constexpr double kTurnDeg = 7.0;

rxXform<2> turned() {
    return rxXform<2>(rxVector<2>(300.0, -50.0), rxDegree(kTurnDeg), rxDegree(kTurnDeg), kStep,
                      kStep);
}

// The dots of a square plate of about that many nodes, turned: a twentieth of them missing, each
// displaced by up to a tenth of a step, as many points of clutter as are missing, in no order.
Points dotsOfPlate(long numNodes, std::uint64_t seed) {
    Random random(seed);
    const long side = static_cast<long>(std::lround(std::sqrt(static_cast<double>(numNodes))));
    const rxXform<2> pose = turned();
    Points points;
    for (long j = 0; j < side; ++j) {
        for (long i = 0; i < side; ++i) {
            const bool isMissing = random.chance(0.05);
            const double reach = isMissing ? 0.5 : 0.1;  // clutter stands anywhere in the cell
            const double x = static_cast<double>(i) + random.uniform(-reach, reach);
            const double y = static_cast<double>(j) + random.uniform(-reach, reach);
            points.push_back(pose * rxVector<2>(x, y));
        }
    }
    for (std::size_t k = points.size(); k-- > 1;) {
        std::swap(points[k],
                  points[static_cast<std::size_t>(random.integer(0, static_cast<long>(k)))]);
    }
    return points;
}

rxPtToGridMapRunParams plateParams() {
    return rxPtToGridMapRunParams(rxVector<2>(kStep, 0.0), rxVector<2>(0.0, kStep));
}

bool isMappedAlike(const Points& points, const rxPtToGridMapResult& result) {
    const reference::GridMapReport expected = reference::mapToGrid(points, plateParams());
    return result.valid() && expected.valid && result.map() == expected.map &&
           result.grid2point() == expected.pointFromGrid;
}

void mapOntoGrid(benchmark::State& state) {
    const Points points = dotsOfPlate(state.range(0), 1);
    const rxPtToGridMapRunParams params = plateParams();
    rxPtToGridMapResult result;
    const auto library = [&](std::size_t) { rfPtToGridMap(points, params, result); };
    library(0);
    if (!verify(state, isMappedAlike(points, result), "the map is not the reference's")) return;
    measurePaired(state, 1, library, [&](std::size_t) {
        benchmark::DoNotOptimize(reference::mapToGrid(points, params));
    });
}

// A pattern of side x side positions with a hole in every third row and column, and the positions
// of a plate that is a third larger, a hundredth of which are missing.
struct PlacementScene {
    std::vector<rxPair<long>> pattern;
    std::vector<rxPair<long>> data;
};

PlacementScene placementScene(long side) {
    Random random(2);
    const rxPair<long> shift(side / 6, side / 6);
    const auto isHole = [](long i, long j) { return i % 3 == 1 && j % 3 == 1; };
    PlacementScene scene;
    const long dataSide = side + side / 3;
    for (long j = 0; j < dataSide; ++j) {
        for (long i = 0; i < dataSide; ++i) {
            const rxPair<long> p(i, j);
            const rxPair<long> q = p - shift;
            const bool isInside = q.x() >= 0 && q.y() >= 0 && q.x() < side && q.y() < side;
            if (isInside && !isHole(q.x(), q.y())) scene.pattern.push_back(q);
            const bool isHoleHere = isInside && isHole(q.x(), q.y());
            if (!isHoleHere && !random.chance(0.01)) scene.data.push_back(p);
        }
    }
    return scene;
}

rx_PointToGridCorresponderTrainParams trainParams(long feature) {
    return rx_PointToGridCorresponderTrainParams(
        false, static_cast<rx_PointToGridCorresponderDefs::FeatureType>(feature));
}

bool isPlacedAlike(const PlacementScene& scene, const reference::Pattern& pattern,
                   const rx_PointToGridCorresponderRunParams& params,
                   const rx_PointToGridCorresponderResultSet& found) {
    const std::vector<reference::Placement> expected =
        reference::place(pattern, scene.data, params);
    if (found.results().empty() || found.results().size() != expected.size()) return false;
    for (std::size_t k = 0; k < expected.size(); ++k) {
        const rx_PointToGridCorresponderResult& result = found.results()[k];
        if (result.score() != expected[k].score || result.position() != expected[k].position) {
            return false;
        }
    }
    return true;
}

void placePattern(benchmark::State& state) {
    const PlacementScene scene = placementScene(state.range(0));
    const rx_PointToGridCorresponderTrainParams training = trainParams(state.range(1));
    const rx_PointToGridCorresponderRunParams params(0.9, 1.0, 4);
    rx_PointToGridCorresponder tool;
    tool.train(scene.pattern, training, rxXform<2>::I);
    const reference::Pattern pattern = reference::trainPattern(scene.pattern, training);
    rx_PointToGridCorresponderResultSet found;
    const auto library = [&](std::size_t) { tool.run(scene.data, params, found); };
    library(0);
    if (!verify(state, isPlacedAlike(scene, pattern, params, found),
                "the placements are not the reference's")) {
        return;
    }
    measurePaired(state, 1, library, [&](std::size_t) {
        benchmark::DoNotOptimize(reference::place(pattern, scene.data, params));
    });
}

void trainPattern(benchmark::State& state) {
    const PlacementScene scene = placementScene(state.range(0));
    const rx_PointToGridCorresponderTrainParams training = trainParams(1);
    rx_PointToGridCorresponder tool;
    measurePaired(
        state, 1, [&](std::size_t) { tool.train(scene.pattern, training, rxXform<2>::I); },
        [&](std::size_t) {
            benchmark::DoNotOptimize(reference::trainPattern(scene.pattern, training));
        });
}

// A pattern of side x side dots with one missing, in a plate twice as large: the whole run.
rxPelBuffer<unsigned char> patternImage(long side) {
    rxPelBuffer<unsigned char> image(side, side, 1);
    for (long y = 0; y < side; ++y) {
        for (long x = 0; x < side; ++x) image.put(x, y, x == side / 2 && y == side / 3 ? 0 : 1);
    }
    return image;
}

bool isRunAlike(const std::vector<reference::GridResult>& expected,
                const rxPointMatcherResultSet& found) {
    if (found.results().empty() || found.results().size() != expected.size()) return false;
    for (std::size_t k = 0; k < expected.size(); ++k) {
        const rxPointMatcherResult& result = found.results()[k];
        if (result.modelToDataXform() != expected[k].modelToDataXform ||
            result.coverage() != expected[k].coverage ||
            result.fitError() != expected[k].fitError) {
            return false;
        }
    }
    return true;
}

void runOnGrid(benchmark::State& state) {
    const long side = state.range(0);
    const Points points = dotsOfPlate(4 * side * side, 3);
    rxPelBuffer<unsigned char> image = patternImage(side);
    image.clientFromImageXform(
        rxXform<2>(rxVector<2>(), rxRadian(0.0), rxRadian(0.0), kStep, kStep));
    rxPointMatcher matcher;
    matcher.train(image);
    const std::optional<reference::GridMatcher> plain = reference::trainOnImage(image);
    rxPointMatcherRunParams params(0.5);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    rxPointMatcherResultSet found;
    const auto library = [&](std::size_t) { matcher.run(points, params, found); };
    library(0);
    if (!verify(state, plain && isRunAlike(reference::runOnGrid(*plain, points, params), found),
                "the results are not the reference's")) {
        return;
    }
    measurePaired(state, 1, library, [&](std::size_t) {
        benchmark::DoNotOptimize(reference::runOnGrid(*plain, points, params));
    });
}

}  // namespace

BENCHMARK(mapOntoGrid)
    ->Name("GridMap")
    ->ArgName("points")
    ->Arg(100)
    ->RangeMultiplier(10)
    ->Range(1000, 100000)
    ->Iterations(21)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
// Doublings, for the growth; the last one is a million.
BENCHMARK(mapOntoGrid)
    ->Name("GridMapLarge")
    ->ArgName("points")
    ->Arg(250000)
    ->Arg(500000)
    ->Arg(1000000)
    ->Iterations(7)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(placePattern)
    ->Name("GridPlace")
    ->ArgNames({"side", "feature"})
    ->Args({10, 0})
    ->Args({30, 0})
    ->Args({100, 0})
    ->Args({300, 0})
    ->Args({300, 1})
    ->Iterations(11)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(trainPattern)
    ->Name("GridTrain")
    ->ArgName("side")
    ->Arg(30)
    ->Arg(300)
    ->Iterations(11)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(runOnGrid)
    ->Name("GridRun")
    ->ArgName("side")
    ->Arg(10)
    ->Arg(30)
    ->Arg(100)
    ->Iterations(11)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
