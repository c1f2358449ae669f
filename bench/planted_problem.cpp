#include "planted_problem.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

#include "foundation/range.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"

namespace ptmatch::bench {
namespace {

using reference::Random;

constexpr std::uint64_t kSeed = 20'240'601;
constexpr double kModelSide = 1000.0;
constexpr double kDataSide = 1500.0;
constexpr double kMissing = 0.1;
constexpr double kJitterOfGrid = 0.25;
// Of the points that were planted, this share must come back with its own data point. A clutter
// point may by chance lie nearer than the displaced one.
constexpr double kMinTrueMatches = 0.8;

const rxVector<2> kModelCentre(kModelSide / 2.0, kModelSide / 2.0);

// Half of the spacing of a square lattice of as many points, so that there is room for all.
double spacingOf(long numPoints) {
    return 0.5 * kModelSide / std::sqrt(static_cast<double>(numPoints));
}

rxVector<2> pointInSquare(Random& random, const rxVector<2>& centre, double side) {
    const double x = random.uniform(-side / 2.0, side / 2.0);
    const double y = random.uniform(-side / 2.0, side / 2.0);
    return centre + rxVector<2>(x, y);
}

std::vector<std::size_t> shuffledIndices(Random& random, std::size_t count) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    for (std::size_t i = count; i > 1; --i) {
        std::swap(order[i - 1],
                  order[static_cast<std::size_t>(random.integer(0, static_cast<long>(i) - 1))]);
    }
    return order;
}

PlantedData plant(Random& random, const Points& model, long numData, double jitter,
                  bool isFullTurn) {
    PlantedData data;
    const double reach = isFullTurn ? 180.0 : 14.0;
    const double rotation = random.uniform(-reach, reach);
    const rxVector<2> shift = pointInSquare(random, {0.0, 0.0}, 200.0);
    data.dataFromModel = reference::poseAbout(kModelCentre, rotation, 1.0, shift);

    const std::vector<std::size_t> slot =
        shuffledIndices(random, static_cast<std::size_t>(numData));
    data.points.resize(slot.size());
    const auto numPlanted =
        static_cast<std::size_t>(std::ceil((1.0 - kMissing) * static_cast<double>(model.size())));
    data.mapOfTruth.assign(model.size(), -1);
    std::size_t used = 0;
    for (const std::size_t i : shuffledIndices(random, model.size())) {
        if (used == numPlanted) break;
        data.mapOfTruth[i] = static_cast<long>(slot[used]);
        data.points[slot[used]] =
            pointInSquare(random, data.dataFromModel * model[i], 2.0 * jitter);
        ++used;
    }
    for (; used < slot.size(); ++used) {
        data.points[slot[used]] = pointInSquare(random, kModelCentre, kDataSide);
    }
    return data;
}

}  // namespace

Points makeModel(long numPoints, Spread spread) {
    Random random(kSeed);
    const double spacing = spread == Spread::Spaced ? spacingOf(numPoints) : 0.0;
    Points model;
    while (static_cast<long>(model.size()) < numPoints) {
        const rxVector<2> p = pointInSquare(random, kModelCentre, kModelSide);
        const bool isFree = std::all_of(model.begin(), model.end(), [&](const rxVector<2>& q) {
            return (p - q).len() >= spacing;
        });
        if (isFree) model.push_back(p);
    }
    return model;
}

PlantedProblem makeProblem(long numModel, long numData, Spread spread, bool isFullTurn,
                           long numSets) {
    PlantedProblem problem;
    problem.model = makeModel(numModel, spread);
    if (isFullTurn) problem.params.rotationUncertainty(rxAngleRange::FullRange());
    const double jitter = kJitterOfGrid * reference::trainModel(problem.model).defaultGridSize;
    Random random(kSeed + 1);
    for (long i = 0; i < numSets; ++i) {
        problem.data.push_back(plant(random, problem.model, numData, jitter, isFullTurn));
    }
    return problem;
}

bool isPlantedInstance(const rxPointMatcherResultSet& found, const Points& model,
                       const PlantedData& data) {
    if (found.results().empty()) return false;
    const rxPointMatcherResult& best = found.results().front();
    long numPlanted = 0;
    long numTrue = 0;
    double farthest = 0.0;
    for (std::size_t i = 0; i < model.size(); ++i) {
        const rxVector<2> gap = best.modelToDataXform() * model[i] - data.dataFromModel * model[i];
        farthest = std::max(farthest, gap.len());
        if (data.mapOfTruth[i] < 0) continue;
        ++numPlanted;
        if (best.modelToDataMap()[i] == data.mapOfTruth[i]) ++numTrue;
    }
    return static_cast<double>(numTrue) >= kMinTrueMatches * static_cast<double>(numPlanted) &&
           farthest < reference::trainModel(model).defaultGridSize;
}

}  // namespace ptmatch::bench
