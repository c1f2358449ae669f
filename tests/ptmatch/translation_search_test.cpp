#include "ptmatch/translation_search.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/assertion.h"
#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/search_task.h"
#include "ptmatch/vote_kernel_choice.h"
#include "ptmatch/vote_planner.h"
#include "reference/random_problems.h"
#include "support/allocation_meter.h"

// The candidates of the first vote against those of the plain reference, on images of many strips
// and bands, where the random runs of the whole matcher have one or two.
namespace {

using namespace ptmatch::detail;
using ptmatch::reference::Random;

using ptmatch::testing::addWeights;
using ptmatch::testing::Expected;
using ptmatch::testing::expectedOf;
using ptmatch::testing::PreparedTask;
using ptmatch::testing::randomTask;
using ptmatch::testing::Task;

/// The candidates of a search without groups.
void expectSameCandidates(const Task& task, double minCoverage, const Expected& expected) {
    const PreparedTask prepared(task, minCoverage);
    TranslationSearch search(prepared.grid, prepared.model, prepared.weights, prepared.window);
    const OfferPeaks offerPeaks = [&](double scale, double degrees, long threshold,
                                      CoarseStore& to) {
        search.offerPeaks(scale, degrees, threshold, to);
    };
    ptmatch::testing::expectSameCandidates(task, prepared, offerPeaks, expected);
}

/// Every kernel, with the planner's choice and with each shape of tiles.
/// @return the number of candidates.
std::size_t compareCandidatesInEveryWay(const Task& task, double minCoverage) {
    const Expected expected = expectedOf(task, minCoverage);
    for (const VoteKernel* kernel : voteKernels()) {
        for (int shape = -1; shape < static_cast<int>(kTileShapes.size()); ++shape) {
            SCOPED_TRACE(testing::Message() << kernel->name << ", tile shape " << shape);
            forceVoteKernel(kernel->name);
            forceTileShape(shape);
            expectSameCandidates(task, minCoverage, expected);
            if (testing::Test::HasFailure()) break;
        }
    }
    forceVoteKernel("");
    forceTileShape(-1);
    return expected.bestFirst.size();
}

void expectSameCandidatesInEveryWay(const Task& task, double minCoverage) {
    EXPECT_GT(compareCandidatesInEveryWay(task, minCoverage), 0U);
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
    // Full within the first part; with room beyond it; with little room left, so that parts begin
    // small and grow; never full.
    for (const long capacity : {1L, 8L, 64L, 80L, 300L, 20000L}) {
        SCOPED_TRACE(testing::Message() << "capacity " << capacity);
        task.capacity = capacity;
        expectSameCandidatesInEveryWay(task, 0.2);
    }
}

/// Translations from `first` pixels right of (or below) the start pose on, so many as asked for.
rxRange translations(double first, long count) {
    if (count == 1) return {first, first};
    // The ends are rounded outwards.
    return {first + 0.25, first + static_cast<double>(count) - 1.25};
}

void expectWindow(const Task& task, const rxPair<long>& size) {
    rx_PointMatcherModel model;
    model.train(task.model);
    const SearchGrid grid = *makeSearchGrid(task.data, model, task.params.startPose(), 1.0);
    const rxPelRect window = *translationWindow(grid, model, task.params);
    ASSERT_EQ(window.width() + 1, size.x());
    ASSERT_EQ(window.height() + 1, size.y());
}

// Windows that fill the words of a strip and the rows of a band just so, or miss that by one, where
// many points see marks and where next to none do.
TEST(TranslationSearch, WindowsOfAllSizesAndPlacesGiveTheSame) {
    std::size_t numCandidates = 0;
    for (std::uint64_t seed = 1; seed <= 4; ++seed) {
        Random random(seed);
        Task task = randomTask(random, 240.0, 200.0);
        // Whole coordinates of the corners put the model centre and the image on whole pixels.
        task.model.emplace_back(-8.0, -8.0);
        task.model.emplace_back(152.0, 152.0);
        task.data.emplace_back(-8.0, -8.0);
        task.data.emplace_back(400.0, 340.0);
        for (const double corner : {0.0, -60.0, 190.0}) {
            for (const rxPair<long>& size :
                 {rxPair<long>(1, 1), rxPair<long>(1, 65), rxPair<long>(65, 1), rxPair<long>(2, 2),
                  rxPair<long>(63, 7), rxPair<long>(64, 8), rxPair<long>(65, 9),
                  rxPair<long>(128, 63), rxPair<long>(129, 64), rxPair<long>(20, 65)}) {
                SCOPED_TRACE(testing::Message() << "seed " << seed << ", from " << corner << ", "
                                                << size.x() << " x " << size.y());
                task.params.xTranslationUncertainty(translations(corner, size.x()));
                task.params.yTranslationUncertainty(translations(corner, size.y()));
                expectWindow(task, size);
                numCandidates += compareCandidatesInEveryWay(task, 0.05);
                if (HasFailure()) return;
            }
        }
    }
    EXPECT_GT(numCandidates, 100U);
}

/// A search that votes at one scale and rotation.
struct Scene {
    rx_PointMatcherModel model;
    SearchGrid grid;
    VoteWeights weights;
    rxPelRect window;

    Scene(const std::vector<rxVector<2>>& points, const std::vector<rxVector<2>>& data)
        : model(trained(points)),
          grid(*makeSearchGrid(data, model, rxXform<2>(), 1.0)),
          weights(*makeVoteWeights(points.size(), {}, 0.1)),
          window(*translationWindow(grid, model, rxPointMatcherRunParams())) {}

    static rx_PointMatcherModel trained(const std::vector<rxVector<2>>& points) {
        rx_PointMatcherModel model;
        model.train(points);
        return model;
    }
};

struct Offered {
    long score;
    rxPair<long> translation;
    friend bool operator==(const Offered&, const Offered&) = default;
};

std::vector<Offered> bestFirst(CoarseStore& store) {
    std::vector<Offered> all;
    for (long score = store.first(); score >= 0; score = store.next()) {
        all.push_back({score, store.current()->translation});
    }
    return all;
}

TEST(TranslationSearch, CopiesOfTheMarksChangeNothing) {
    Random random(5);
    const Task task = randomTask(random, 60.0, 40.0);
    const Scene scene(task.model, task.data);
    for (const VoteKernel* kernel : voteKernels()) {
        for (int shape = 0; shape < static_cast<int>(kTileShapes.size()); ++shape) {
            SCOPED_TRACE(testing::Message() << kernel->name << ", tile shape " << shape);
            forceVoteKernel(kernel->name);
            forceTileShape(shape);
            TranslationSearch search(scene.grid, scene.model, scene.weights, scene.window);
            CoarseStore first(scene.model.totalWeight(), 40);
            search.offerPeaks(1.0, 1.0, 4, first);
            const std::vector<Offered> expected = bestFirst(first);
            EXPECT_FALSE(expected.empty());
            std::size_t largest = 0;  // the copies, when they are made
            for (int i = 0; i < 3000 && largest < 30000; ++i) {
                const ptmatch::testing::AllocationMeter meter;
                CoarseStore store(scene.model.totalWeight(), 40);
                search.offerPeaks(1.0, 1.0, 4, store);
                largest = meter.largest();
            }
            EXPECT_GE(largest, 30000U) << "no copies were made";
            CoarseStore last(scene.model.totalWeight(), 40);
            search.offerPeaks(1.0, 1.0, 4, last);
            EXPECT_EQ(bestFirst(last), expected);
        }
    }
    forceVoteKernel("");
    forceTileShape(-1);
}

TEST(TranslationSearch, VotingAgainTakesNoMemoryOfItsOwn) {
    Random random(6);
    const Task task = randomTask(random, 300.0, 200.0);  // too large for copies
    const Scene scene(task.model, task.data);
    TranslationSearch search(scene.grid, scene.model, scene.weights, scene.window);
    CoarseStore store(scene.model.totalWeight(), 8);
    const long nobody = static_cast<long>(task.model.size()) + 1;
    for (int shape = 0; shape < static_cast<int>(kTileShapes.size()); ++shape) {
        SCOPED_TRACE(shape);
        forceTileShape(shape);
        search.offerPeaks(1.0, 0.0, nobody, store);
        const ptmatch::testing::AllocationMeter meter;
        for (int i = 0; i < 20; ++i) search.offerPeaks(1.0, 0.1 * i, nobody, store);
        EXPECT_EQ(meter.total(), 0U);
    }
    forceTileShape(-1);
}

// The strong peak comes first, and fills a store whose lowest score is far below the threshold.
TEST(TranslationSearch, ThresholdDoesNotFallToWhatAFullStoreHolds) {
    const std::vector<rxVector<2>> points{{0, 0},   {9, 4},  {18, 1},  {5, 15},
                                          {14, 19}, {3, 30}, {20, 31}, {11, 40}};
    std::vector<rxVector<2>> data = points;
    // In a later part of the window: half of the model.
    for (std::size_t i = 0; i < 4; ++i) data.push_back(points[i] + rxVector<2>(0, 8000));
    const Scene scene(points, data);
    TranslationSearch search(scene.grid, scene.model, scene.weights, scene.window);
    CoarseStore store(scene.model.totalWeight(), 2);
    store.add(2, {});
    store.add(3, {});
    forceTileShape(0);  // tiles would leave out the weak peak before
    search.offerPeaks(1.0, 0.0, 7, store);
    forceTileShape(-1);
    const std::vector<Offered> offered = bestFirst(store);
    ASSERT_EQ(offered.size(), 2U);
    EXPECT_EQ(offered[0].score, 8);
    EXPECT_EQ(offered[1].score, 3);
}

int reportedLine = 0;

TEST(TranslationSearch, WeightsOfAnotherNumberOfPointsAreReportedAndOfferNothing) {
    Random random(7);
    const Task task = randomTask(random, 60.0, 40.0);
    Scene scene(task.model, task.data);
    for (const std::size_t numWeights : {std::size_t{1}, task.model.size() + 3}) {
        scene.weights.scaled.assign(numWeights, 5);
        reportedLine = 0;
        const rxAssertionHook before = rfSetAssertionHook([](int line) { reportedLine = line; });
        TranslationSearch search(scene.grid, scene.model, scene.weights, scene.window);
        rfSetAssertionHook(before);
        EXPECT_NE(reportedLine, 0);
        CoarseStore store(1000, 8);
        search.offerPeaks(1.0, 0.0, 2, store);
        EXPECT_EQ(store.numResults(), 0);
    }
}

}  // namespace
