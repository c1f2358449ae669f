#include "ptmatch/search_task.h"

#include <gtest/gtest.h>

#include "reference/reference_model.h"

namespace ptmatch::testing {

using namespace ptmatch::detail;
using reference::Random;

Task randomTask(Random& random, double width, double height) {
    Task task;
    task.model = reference::spreadPoints(random, random.integer(6, 40), 0.6 * width, 3.0);
    const rxXform<2> pose = reference::poseAbout({0.3 * width, 0.3 * width}, 2.0, 1.0,
                                                 {random.uniform(0.0, 0.3 * width), 5.0});
    for (const rxVector<2>& m : task.model) task.data.push_back(pose * m);
    for (long i = random.integer(10, 120); i > 0; --i) {
        task.data.emplace_back(random.uniform(0.0, width), random.uniform(0.0, height));
    }
    task.params.rotationUncertainty(
        rxAngleRange(rxRadian(rxDegree(-0.5)), rxRadian(rxDegree(2.5)), false));
    task.params.autoGridSize(false);
    task.params.gridSize(1.0);
    task.capacity = random.pick<long>({1, 3, 8, 8, 8, 300});
    return task;
}

void addWeights(Random& random, long low, long high, Task& task) {
    for (std::size_t i = 0; i < task.model.size(); ++i) {
        task.weights.push_back(i < 2 ? high : random.integer(low, high));
    }
}

Expected expectedOf(const Task& task, double minCoverage) {
    const reference::Model model = reference::trainModel(task.model, task.weights);
    const reference::SearchWorld world =
        reference::prepareSearch(model, task.data, task.params, minCoverage, task.capacity);
    long polls = 0;
    return {model.totalWeight,
            reference::searchLattice(model, world, task.params, polls).bestFirst()};
}

namespace {

rx_PointMatcherModel trained(const Task& task) {
    rx_PointMatcherModel model;
    if (task.weights.empty()) {
        model.train(task.model);
    } else {
        const reference::Model weighted = reference::trainModel(task.model, task.weights);
        model.train(task.model, task.weights, weighted.totalWeight);
    }
    return model;
}

}  // namespace

PreparedTask::PreparedTask(const Task& task, double minCoverage)
    : model(trained(task)),
      grid(*makeSearchGrid(task.data, model, task.params.startPose(), 1.0)),
      weights(*makeVoteWeights(model.points().size(), model.weights(), minCoverage)),
      window(*translationWindow(grid, model, task.params)) {}

namespace {

// Two data points fix the grid whatever lies between them.
constexpr double kPlantedSide = 100.0;
constexpr long kPlantedShift = 7;

}  // namespace

rxPair<long> plantedTranslation() {
    return {kPlantedShift, -kPlantedShift};
}

Task plantedAt(Random& random, const std::vector<rxVector<2>>& model, double scale,
               double degrees) {
    Task task;
    task.model = model;
    task.data = {rxVector<2>(0.0, 0.0), rxVector<2>(kPlantedSide, kPlantedSide)};
    task.params.autoGridSize(false);
    task.params.gridSize(1.0);
    const PreparedTask empty(task, 1.0);
    std::vector<rxPair<long>> pixels;
    modelPixels(empty.grid, empty.model, scale, degrees, pixels);
    for (const rxPair<long>& pixel : pixels) {
        const rxPair<long> at = pixel + plantedTranslation();
        const rxVector<2> centre(static_cast<double>(at.x() + random.integer(-1, 1)) + 0.5,
                                 static_cast<double>(at.y() + random.integer(-1, 1)) + 0.5);
        task.data.push_back(empty.grid.imageFromModel.inverse() * centre);
    }
    return task;
}

void expectSameCandidates(const Task& task, const PreparedTask& prepared,
                          const OfferPeaks& offerPeaks, const Expected& expected) {
    CoarseStore store(prepared.model.totalWeight(), task.capacity);
    voteOverLattice(prepared.model, task.params, 1.0, prepared.weights.minimumScore, offerPeaks,
                    store);

    std::size_t i = 0;
    for (long score = store.first(); score >= 0; score = store.next(), ++i) {
        ASSERT_LT(i, expected.bestFirst.size());
        const auto& [expectedScore, candidate] = expected.bestFirst[i];
        EXPECT_EQ(score, expectedScore) << i;
        EXPECT_EQ(store.current()->translation, candidate.translation) << i;
        EXPECT_EQ(store.current()->scale, candidate.scale) << i;
        EXPECT_EQ(store.current()->rotationDegrees, candidate.rotationDeg) << i;
    }
    EXPECT_EQ(i, expected.bestFirst.size());
}

}  // namespace ptmatch::testing
