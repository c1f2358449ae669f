#include "ptmatch/group_search.h"

#include <gtest/gtest.h>

#include "ptmatch/search_task.h"
#include "ptmatch/vote_kernel_choice.h"
#include "reference/reference_model.h"
#include "support/assertion_recorder.h"

// The candidates of a vote with groups against those of the plain reference, with every shape of
// groups.
namespace {

using namespace ptmatch::detail;
using ptmatch::reference::Random;
using ptmatch::testing::addWeights;
using ptmatch::testing::Expected;
using ptmatch::testing::expectedOf;
using ptmatch::testing::PreparedTask;
using ptmatch::testing::randomTask;
using ptmatch::testing::Task;

/// Lets searches use one shape of groups.
class ForcedGroups {
  public:
    explicit ForcedGroups(int shape) { forceGroupShape(shape); }
    ~ForcedGroups() { forceGroupShape(kPlannedGroups); }
    ForcedGroups(const ForcedGroups&) = delete;
    ForcedGroups& operator=(const ForcedGroups&) = delete;
};

/// So many scales and rotations that every group has neighbours.
Task taskOverScales(Random& random, double width, double height) {
    Task task = randomTask(random, width, height);
    task.params.scaleUncertainty(rxRange(-0.22, 0.22));
    task.params.rotationUncertainty(rxAngleRange(rxRadian(rxDegree(random.uniform(-30.0, -8.0))),
                                                 rxRadian(rxDegree(20.0)), false));
    return task;
}

void expectSameCandidates(const Task& task, double minCoverage, const Expected& expected,
                          std::size_t maxBlocksKept = GroupSearch::kMaxBlocksKept) {
    const PreparedTask prepared(task, minCoverage);
    TranslationSearch search(prepared.grid, prepared.model, prepared.weights, prepared.window);
    GroupSearch groups(prepared.grid, prepared.model, task.params, prepared.weights,
                       prepared.window, search, maxBlocksKept);
    const OfferPeaks offerPeaks = [&](double scale, double degrees, long threshold,
                                      CoarseStore& to) {
        groups.offerPeaks(scale, degrees, threshold, to);
    };
    ptmatch::testing::expectSameCandidates(task, prepared, offerPeaks, expected);
}

/// @return the number of candidates.
std::size_t compareWithEveryShape(const Task& task, double minCoverage) {
    const Expected expected = expectedOf(task, minCoverage);
    for (int shape = kEveryShapeInTurn; shape < static_cast<int>(kNumGroupShapes); ++shape) {
        SCOPED_TRACE(testing::Message() << "group shape " << shape);
        const ForcedGroups forced(shape);
        expectSameCandidates(task, minCoverage, expected);
        if (testing::Test::HasFailure()) break;
    }
    return expected.bestFirst.size();
}

TEST(GroupSearch, FindsTheReferencesCandidatesWithGroupsOfEveryShape) {
    std::size_t numCandidates = 0;
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        const Task task =
            taskOverScales(random, random.uniform(30.0, 110.0), random.uniform(20.0, 60.0));
        numCandidates += compareWithEveryShape(task, random.pick<double>({0.2, 0.4, 0.6}));
        if (HasFailure()) return;
    }
    EXPECT_GT(numCandidates, 20U);
}

TEST(GroupSearch, FindsTheReferencesCandidatesWithWeights) {
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Random random(seed);
        Task task = taskOverScales(random, 70.0, 50.0);
        addWeights(random, seed % 2 == 0 ? -4 : 1, seed % 3 == 0 ? 900 : 9, task);
        EXPECT_GT(compareWithEveryShape(task, 0.4), 0U);
        if (HasFailure()) return;
    }
}

TEST(GroupSearch, OneScaleAndAWholeTurnGiveTheSame) {
    Random random(9);
    Task task = randomTask(random, 60.0, 45.0);
    task.params.rotationUncertainty(rxAngleRange::FullRange());
    EXPECT_GT(compareWithEveryShape(task, 0.4), 0U);
}

TEST(GroupSearch, OneRotationAndManyScalesGiveTheSame) {
    Random random(10);
    Task task = randomTask(random, 60.0, 45.0);
    task.params.rotationUncertainty(rxAngleRange(rxRadian(0.0), rxRadian(0.0), false));
    task.params.scaleUncertainty(rxRange(-0.4, 0.4));
    EXPECT_GT(compareWithEveryShape(task, 0.4), 0U);
}

// One step of scale is as large as the scale itself, and the rotations of a band have steps of very
// different size; the lowest scales may lie below 0, where the model is turned over.
TEST(GroupSearch, ScalesNearNothingGiveTheSame) {
    for (const double highest : {-0.5, -0.59, -0.7}) {
        SCOPED_TRACE(highest);
        Random random(11);
        Task task = randomTask(random, 40.0, 30.0);
        task.model = ptmatch::reference::spreadPoints(random, 6, 9.0, 1.5);
        for (const rxVector<2>& m : task.model) task.data.emplace_back(0.3 * m.x(), 0.3 * m.y());
        task.params.rotationUncertainty(rxAngleRange::FullRange());
        task.params.scaleUncertainty(rxRange(-0.9, highest));
        EXPECT_GT(compareWithEveryShape(task, 0.6), 0U);
        if (HasFailure()) return;
    }
}

// The ends of the rotations of every scale, where the groups of a band begin and end.
TEST(GroupSearch, PosesAtTheEndsOfTheLatticeAreFound) {
    Random random(17);
    const auto points = ptmatch::reference::spreadPoints(random, 16, 60.0, 2.0);
    std::vector<rxVector<2>> model;
    for (const rxVector<2>& p : points) model.push_back(p + rxVector<2>(20.0, 20.0));
    rxPointMatcherRunParams params;
    params.scaleUncertainty(rxRange(-0.25, 0.25));
    params.rotationUncertainty(
        rxAngleRange(rxRadian(rxDegree(-11.0)), rxRadian(rxDegree(8.0)), false));
    const ptmatch::reference::Model reference = ptmatch::reference::trainModel(model, {});
    for (const double scale :
         ptmatch::reference::scaleLattice(reference, params.scaleUncertainty(), 1.0)) {
        const std::vector<double> rotations = ptmatch::reference::rotationLattice(
            reference, params.rotationUncertainty(), scale, 1.0);
        for (const double degrees : {rotations.front(), rotations[1], rotations.back()}) {
            SCOPED_TRACE(testing::Message() << "scale " << scale << ", " << degrees << " degrees");
            Task task = ptmatch::testing::plantedAt(random, model, scale, degrees);
            task.params.scaleUncertainty(params.scaleUncertainty());
            task.params.rotationUncertainty(params.rotationUncertainty());
            const Expected expected = expectedOf(task, 1.0);
            EXPECT_FALSE(expected.bestFirst.empty());
            for (int shape = kEveryShapeInTurn; shape < static_cast<int>(kNumGroupShapes);
                 ++shape) {
                SCOPED_TRACE(testing::Message() << "group shape " << shape);
                const ForcedGroups forced(shape);
                expectSameCandidates(task, 1.0, expected);
            }
            if (HasFailure()) return;
        }
    }
}

TEST(GroupSearch, GroupsThatLeaveTooMuchAreSearchedWhole) {
    Random random(15);
    const Task task = taskOverScales(random, 110.0, 60.0);
    const Expected expected = expectedOf(task, 0.3);
    for (const std::size_t maxBlocksKept : {std::size_t{0}, std::size_t{3}, std::size_t{40}}) {
        for (int shape = kEveryShapeInTurn; shape < static_cast<int>(kNumGroupShapes); ++shape) {
            SCOPED_TRACE(testing::Message() << maxBlocksKept << ", group shape " << shape);
            const ForcedGroups forced(shape);
            expectSameCandidates(task, 0.3, expected, maxBlocksKept);
        }
        if (HasFailure()) return;
    }
}

// Beyond 1e9 pixels from the origin bounds are not to be had, and every lattice point is searched.
TEST(GroupSearch, CoordinatesFarFromTheOriginGiveTheSame) {
    for (const double offset : {1e7, 3e9}) {
        SCOPED_TRACE(offset);
        Random random(12);
        Task task = taskOverScales(random, 50.0, 40.0);
        for (rxVector<2>& m : task.model) m = m + rxVector<2>(offset, -offset);
        for (rxVector<2>& d : task.data) d = d + rxVector<2>(offset, -offset);
        EXPECT_GT(compareWithEveryShape(task, 0.5), 0U);
        if (HasFailure()) return;
    }
}

TEST(GroupSearch, EveryKernelBoundsGroupsAlike) {
    Random random(13);
    const Task task = taskOverScales(random, 80.0, 50.0);
    const Expected expected = expectedOf(task, 0.4);
    for (const VoteKernel* kernel : voteKernels()) {
        forceVoteKernel(kernel->name);
        for (const int shape : {7, 22, 33, 44}) {
            SCOPED_TRACE(testing::Message() << kernel->name << ", group shape " << shape);
            const ForcedGroups forced(shape);
            expectSameCandidates(task, 0.4, expected);
        }
    }
    forceVoteKernel("");
}

// Groups that the planner chooses, which it does for searches too large for the plain reference.
TEST(GroupSearch, SparseImageIsSearchedByGroupsAndGivesWhatASearchWithoutThemGives) {
    Random random(14);
    for (const long numClutter : {0L, 300L, 1500L}) {
        SCOPED_TRACE(numClutter);
        Task task = randomTask(random, 400.0, 400.0);
        for (long i = 0; i < numClutter; ++i) {
            task.data.emplace_back(random.uniform(0.0, 400.0), random.uniform(0.0, 400.0));
        }
        task.params.rotationUncertainty(rxAngleRange::FullRange());
        task.params.scaleUncertainty(rxRange(-0.1, 0.1));
        const PreparedTask prepared(task, 0.4);
        TranslationSearch search(prepared.grid, prepared.model, prepared.weights, prepared.window);
        GroupSearch groups(prepared.grid, prepared.model, task.params, prepared.weights,
                           prepared.window, search);
        TranslationSearch alone(prepared.grid, prepared.model, prepared.weights, prepared.window);
        const auto offerWith = [](auto& searching, long& numPoints) {
            return [&](double scale, double degrees, long threshold, CoarseStore& to) {
                ++numPoints;
                searching.offerPeaks(scale, degrees, threshold, to);
            };
        };
        long numPoints = 0;
        long numPointsAlone = 0;
        CoarseStore store(prepared.model.totalWeight(), 8);
        CoarseStore expected(prepared.model.totalWeight(), 8);
        const long minimum = prepared.weights.minimumScore;
        voteOverLattice(prepared.model, task.params, 1.0, minimum, offerWith(groups, numPoints),
                        store);
        voteOverLattice(prepared.model, task.params, 1.0, minimum, offerWith(alone, numPointsAlone),
                        expected);
        EXPECT_EQ(numPoints, numPointsAlone);
        const long numSkippedAtLeast = numClutter == 0 ? numPoints / 2 : 0;
        EXPECT_GE(groups.numSkipped(), numSkippedAtLeast);
        long scoreExpected = expected.first();
        EXPECT_GT(scoreExpected, 0);
        for (long score = store.first(); score >= 0 || scoreExpected >= 0;
             score = store.next(), scoreExpected = expected.next()) {
            ASSERT_EQ(score, scoreExpected);
            EXPECT_EQ(store.current()->translation, expected.current()->translation);
            EXPECT_EQ(store.current()->scale, expected.current()->scale);
            EXPECT_EQ(store.current()->rotationDegrees, expected.current()->rotationDegrees);
        }
    }
}

// Nothing is where the model would fit, and groups of any shape have to see that.
TEST(GroupSearch, GroupsOfEveryShapeSkipWhatIsHopeless) {
    Random random(18);
    Task task;
    task.model = ptmatch::reference::spreadPoints(random, 12, 150.0, 6.0);
    for (int i = 0; i < 12; ++i) {
        task.data.emplace_back(random.uniform(0.0, 300.0), random.uniform(0.0, 300.0));
    }
    task.params.rotationUncertainty(
        rxAngleRange(rxRadian(rxDegree(-10.0)), rxRadian(rxDegree(10.0)), false));
    task.params.scaleUncertainty(rxRange(-0.2, 0.2));
    const PreparedTask prepared(task, 0.9);
    TranslationSearch search(prepared.grid, prepared.model, prepared.weights, prepared.window);
    for (std::size_t shape = 0; shape < kNumGroupShapes; ++shape) {
        const ForcedGroups forced(static_cast<int>(shape));
        GroupSearch groups(prepared.grid, prepared.model, task.params, prepared.weights,
                           prepared.window, search);
        CoarseStore store(prepared.model.totalWeight(), 8);
        long numPoints = 0;
        const auto offer = [&](double scale, double degrees, long threshold, CoarseStore& to) {
            ++numPoints;
            groups.offerPeaks(scale, degrees, threshold, to);
        };
        voteOverLattice(prepared.model, task.params, 1.0, prepared.weights.minimumScore, offer,
                        store);
        EXPECT_GT(2 * groups.numSkipped(), numPoints) << "shape " << shape;
    }
}

TEST(GroupSearch, WeightsOfAnotherNumberOfPointsOfferNothing) {
    Random random(16);
    const Task task = taskOverScales(random, 60.0, 40.0);
    PreparedTask prepared(task, 0.3);
    prepared.weights.scaled = {1, 2, 3};
    const ptmatch::testing::AssertionRecorder assertions;
    TranslationSearch search(prepared.grid, prepared.model, prepared.weights, prepared.window);
    GroupSearch groups(prepared.grid, prepared.model, task.params, prepared.weights,
                       prepared.window, search);
    const ForcedGroups forced(33);
    CoarseStore store(prepared.model.totalWeight(), 8);
    groups.offerPeaks(1.0, 0.0, 2, store);
    EXPECT_EQ(store.numResults(), 0);
}

}  // namespace
