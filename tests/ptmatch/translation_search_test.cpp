#include "ptmatch/translation_search.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/vote_kernel_choice.h"
#include "ptmatch/vote_planner.h"
#include "reference/random_problems.h"
#include "reference/reference_model.h"
#include "reference/reference_search.h"

// The candidates of the first vote against those of the plain reference, on images of many strips
// and bands, where the random runs of the whole matcher have one or two.
namespace {

using namespace ptmatch::detail;
namespace reference = ptmatch::reference;
using reference::Random;

struct Task {
    std::vector<rxVector<2>> model;
    std::vector<long> weights;
    std::vector<rxVector<2>> data;
    rxPointMatcherRunParams params;
    long capacity = 8;
};

/// An image of about width x height pixels of size 1.
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

/// Compares the stores after a vote over the lattice: scores, candidates and their order.
void expectSameCandidates(const Task& task, double minCoverage) {
    const reference::Model plainModel = reference::trainModel(task.model, task.weights);
    const reference::SearchWorld world =
        reference::prepareSearch(plainModel, task.data, task.params, minCoverage, task.capacity);
    long polls = 0;
    const reference::CoarseList plain =
        reference::searchLattice(plainModel, world, task.params, polls);
    const std::vector<reference::CoarseList::Item> expected = plain.bestFirst();

    rx_PointMatcherModel model;
    if (task.weights.empty()) {
        model.train(task.model);
    } else {
        model.train(task.model, task.weights, plainModel.totalWeight);
    }
    const SearchGrid grid = *makeSearchGrid(task.data, model, task.params.startPose(), 1.0);
    const VoteWeights weights =
        *makeVoteWeights(model.points().size(), model.weights(), minCoverage);
    TranslationSearch search(grid, model, weights, *translationWindow(grid, model, task.params));
    CoarseStore store(model.totalWeight(), task.capacity);
    voteOverLattice(
        model, task.params, 1.0, weights.minimumScore,
        [&](double scale, double degrees, long threshold, CoarseStore& to) {
            search.offerPeaks(scale, degrees, threshold, to);
        },
        store);

    std::size_t i = 0;
    for (long score = store.first(); score >= 0; score = store.next(), ++i) {
        ASSERT_LT(i, expected.size());
        EXPECT_EQ(score, expected[i].score) << i;
        EXPECT_EQ(store.current()->translation, expected[i].entry.translation) << i;
        EXPECT_EQ(store.current()->scale, expected[i].entry.scale) << i;
        EXPECT_EQ(store.current()->rotationDegrees, expected[i].entry.rotationDeg) << i;
    }
    EXPECT_EQ(i, expected.size());
    EXPECT_GT(i, 0U);
}

/// Every kernel, with the planner's choice and with each shape of tiles.
void expectSameCandidatesInEveryWay(const Task& task, double minCoverage) {
    for (const VoteKernel* kernel : voteKernels()) {
        for (int shape = -1; shape < static_cast<int>(kTileShapes.size()); ++shape) {
            SCOPED_TRACE(testing::Message() << kernel->name << ", tile shape " << shape);
            forceVoteKernel(kernel->name);
            forceTileShape(shape);
            expectSameCandidates(task, minCoverage);
            if (testing::Test::HasFailure()) break;
        }
    }
    forceVoteKernel("");
    forceTileShape(-1);
}

TEST(TranslationSearch, FindsTheReferencesCandidatesOnManyStripsAndBands) {
    for (std::uint64_t seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        const Task task =
            randomTask(random, random.uniform(60.0, 300.0), random.uniform(30.0, 200.0));
        expectSameCandidatesInEveryWay(task, random.pick<double>({0.1, 0.3, 0.5}));
        if (HasFailure()) return;
    }
}

TEST(TranslationSearch, FindsTheReferencesCandidatesWithWeights) {
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        Task task = randomTask(random, random.uniform(100.0, 200.0), 90.0);
        addWeights(random, seed % 2 == 0 ? -4 : 1, seed % 3 == 0 ? 900 : 9, task);
        expectSameCandidatesInEveryWay(task, random.pick<double>({0.2, 0.5}));
        if (HasFailure()) return;
    }
}

TEST(TranslationSearch, WindowOfManyPartsGivesTheSame) {
    Random random(3);
    Task task = randomTask(random, 500.0, 320.0);  // 170,000 translations: two parts
    task.capacity = 8;
    expectSameCandidatesInEveryWay(task, 0.2);
}

}  // namespace
