// The pose search against the literal one, on one thread: the first vote over the whole lattice
// ("Vote"), and everything from the data to the fitted poses ("Search"). Each vote kernel of the
// machine is measured; the literal search takes turns with it. Both leave the same candidates.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "foundation/range.h"
#include "literal_search.h"
#include "paired_ratio.h"
#include "planted_problem.h"
#include "ptmatch/correspondence.h"
#include "ptmatch/group_search.h"
#include "ptmatch/label_image.h"
#include "ptmatch/lattice_vote.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/recentring.h"
#include "ptmatch/resolved_sizes.h"
#include "ptmatch/vote_kernel_choice.h"
#include "reference/random_problems.h"

namespace {

using namespace ptmatch::bench;
using namespace ptmatch::detail;
using ptmatch::reference::Random;

constexpr long kNumSets = 3;
constexpr double kDataSide = 1500.0;
// What a run with the default parameters asks of the search: 8 candidates for one result, and half
// of the coverage of a half.
constexpr long kNumCandidates = 8;
constexpr double kCoverage = 0.25;

/// A trained model, several sets of data, and what a run hands to the search.
struct SearchProblem {
    rx_PointMatcherModel model;
    std::vector<Points> data;
    rxPointMatcherRunParams params;
};

SearchProblem searchProblem(const PlantedProblem& planted, const std::vector<long>& weights = {}) {
    SearchProblem problem;
    if (weights.empty()) {
        problem.model.train(planted.model);
    } else {
        long total = 0;
        for (const long w : weights) total += w > 0 ? w : 0;
        problem.model.train(planted.model, weights, total);
    }
    for (const PlantedData& data : planted.data) problem.data.push_back(data.points);
    problem.params = planted.params;
    problem.params.maxNumResults(kNumCandidates);
    problem.params.minCoverage(kCoverage);
    return problem;
}

SearchProblem randomPoints(long numModel, long numData, bool isFullTurn, long numSets = kNumSets) {
    return searchProblem(makeProblem(numModel, numData, Spread::Spaced, isFullTurn, numSets));
}

// Points wholly at random: the closest pair makes the grid fine and the marks sparse.
SearchProblem closePairs(long numModel, long numData, bool isFullTurn) {
    return searchProblem(makeProblem(numModel, numData, Spread::Uniform, isFullTurn, 1));
}

SearchProblem withScales(long numModel, long numData) {
    SearchProblem problem = randomPoints(numModel, numData, false);
    problem.params.scaleUncertainty(rxRange(-0.1, 0.1));
    return problem;
}

// One set of data: the literal search needs seconds for each.
SearchProblem onImageOf(long side, long numModel, long numData) {
    SearchProblem problem = randomPoints(numModel, numData, false, 1);
    problem.params.autoGridSize(false);
    problem.params.gridSize(kDataSide / static_cast<double>(side));
    return problem;
}

// What a user asks who knows nothing of the pose: the lattice has thousands of points.
SearchProblem ofAnyTurnAndScale(SearchProblem problem) {
    problem.params.rotationUncertainty(rxAngleRange::FullRange());
    problem.params.scaleUncertainty(rxRange(-0.1, 0.1));
    return problem;
}

SearchProblem weighted(long numModel, long numData) {
    Random random(5);
    std::vector<long> weights;
    for (long i = 0; i < numModel; ++i) {
        weights.push_back(random.chance(0.15) ? -random.integer(1, 4) : random.integer(1, 9));
    }
    return searchProblem(makeProblem(numModel, numData, Spread::Spaced, false, kNumSets), weights);
}

// The model is 20 x 20 dots, and so are the data, turned a little, with a quarter more of clutter.
SearchProblem dotGrid(bool isFullTurn) {
    PlantedProblem planted;
    constexpr long kSide = 20;
    constexpr double kPitch = 50.0;
    for (long y = 0; y < kSide; ++y) {
        for (long x = 0; x < kSide; ++x) {
            planted.model.push_back(
                rxVector<2>(kPitch * static_cast<double>(x), kPitch * static_cast<double>(y)));
        }
    }
    if (isFullTurn) planted.params.rotationUncertainty(rxAngleRange::FullRange());
    Random random(6);
    for (long i = 0; i < kNumSets; ++i) {
        const rxXform<2> pose = ptmatch::reference::poseAbout(
            {475.0, 475.0}, random.uniform(-14.0, 14.0), 1.0, {random.uniform(-40.0, 40.0), 25.0});
        PlantedData data;
        for (const rxVector<2>& m : planted.model) data.points.push_back(pose * m);
        for (long k = 0; k < kSide * kSide / 4; ++k) {
            data.points.emplace_back(random.uniform(-150.0, 1100.0),
                                     random.uniform(-150.0, 1100.0));
        }
        planted.data.push_back(std::move(data));
    }
    return searchProblem(planted);
}

/// One set of data, ready to be searched.
struct Scene {
    const SearchProblem& problem;
    const Points& data;
    double gridSize;
    double captureRange;
    SearchGrid grid;
    rxPelRect window;
    VoteWeights weights;
};

Scene makeScene(const SearchProblem& problem, const Points& data) {
    const ResolvedSizes sizes = resolveSizes(problem.params, problem.model);
    SearchGrid grid =
        *makeSearchGrid(data, problem.model, problem.params.startPose(), sizes.gridSize);
    const rxPelRect window = *translationWindow(grid, problem.model, problem.params);
    VoteWeights weights = *makeVoteWeights(problem.model.points().size(), problem.model.weights(),
                                           problem.params.minCoverage());
    return {problem,         data,   sizes.gridSize,    sizes.captureRange,
            std::move(grid), window, std::move(weights)};
}

// The library's search and the literal one, with the same face.

struct LibrarySearch {
    TranslationSearch translations;
    GroupSearch groups;

    explicit LibrarySearch(const Scene& scene)
        : translations(scene.grid, scene.problem.model, scene.weights, scene.window),
          groups(scene.grid, scene.problem.model, scene.problem.params, scene.weights, scene.window,
                 translations) {}

    GroupSearch& overLattice() { return groups; }
    TranslationSearch& anywhere() { return translations; }
};

struct PlainSearch {
    LiteralSearch search;

    explicit PlainSearch(const Scene& scene)
        : search(scene.grid, scene.problem.model, scene.weights, scene.window) {}

    LiteralSearch& overLattice() { return search; }
    LiteralSearch& anywhere() { return search; }
};

template <class Search>
OfferPeaks offerPeaksOf(Search& search) {
    return [&](double scale, double degrees, long threshold, CoarseStore& store) {
        search.offerPeaks(scale, degrees, threshold, store);
    };
}

// Search is LibrarySearch or PlainSearch.
template <class Search>
void vote(const Scene& scene, CoarseStore& coarse) {
    Search search(scene);
    voteOverLattice(scene.problem.model, scene.problem.params, scene.gridSize,
                    scene.weights.minimumScore, offerPeaksOf(search.overLattice()), coarse);
}

template <class Search>
void searchWhole(const SearchProblem& problem, const Points& data, rx_PoseScoreStore& store) {
    const Scene scene = makeScene(problem, data);
    CoarseStore coarse(problem.model.totalWeight(), kNumCandidates);
    CoarseStore revoted(problem.model.totalWeight(), kNumCandidates);
    const LabelImage blocks(scene.grid, LabelImage::Extent::Block);
    Search search(scene);
    const long minimum = scene.weights.minimumScore;
    voteOverLattice(problem.model, problem.params, scene.gridSize, minimum,
                    offerPeaksOf(search.overLattice()), coarse);
    recentre(scene.grid, problem.model, blocks, minimum, offerPeaksOf(search.anywhere()), coarse,
             revoted);
    const LabelImage points(scene.grid, LabelImage::Extent::Point);
    findCorrespondences(data, scene.grid, problem.model, scene.captureRange, blocks, points,
                        revoted, store);
}

bool isSame(const CoarseCandidate& a, const CoarseCandidate& b) {
    return a.translation == b.translation && a.scale == b.scale &&
           a.rotationDegrees == b.rotationDegrees;
}

bool isSame(const PoseCandidate& a, const PoseCandidate& b) {
    return a.map == b.map && a.modelToData == b.modelToData && a.modelToImage == b.modelToImage;
}

// The same entries in the same order, and at least one.
template <class Store>
bool holdSame(Store& a, Store& b) {
    long scoreA = a.first();
    long scoreB = b.first();
    bool same = scoreA >= 0;
    while (same && scoreA >= 0) {
        same = scoreA == scoreB && isSame(*a.current(), *b.current());
        scoreA = a.next();
        scoreB = b.next();
    }
    return same && scoreB < 0;
}

void measureVote(benchmark::State& state, const SearchProblem& problem) {
    std::vector<Scene> scenes;
    for (const Points& data : problem.data) scenes.push_back(makeScene(problem, data));
    const long maxScore = problem.model.totalWeight();
    const auto library = [&](std::size_t input) {
        CoarseStore coarse(maxScore, kNumCandidates);
        vote<LibrarySearch>(scenes[input], coarse);
    };
    const auto literal = [&](std::size_t input) {
        CoarseStore coarse(maxScore, kNumCandidates);
        vote<PlainSearch>(scenes[input], coarse);
    };
    for (const Scene& scene : scenes) {
        CoarseStore found(maxScore, kNumCandidates);
        CoarseStore expected(maxScore, kNumCandidates);
        vote<LibrarySearch>(scene, found);
        vote<PlainSearch>(scene, expected);
        if (!verify(state, holdSame(found, expected), "the candidates are not the literal ones")) {
            return;
        }
    }
    state.counters["translations"] =
        static_cast<double>((scenes[0].window.width() + 1) * (scenes[0].window.height() + 1));
    measurePaired(state, scenes.size(), library, literal);
}

void measureSearch(benchmark::State& state, const SearchProblem& problem) {
    const long maxScore = problem.model.totalWeight();
    const auto library = [&](std::size_t input) {
        rx_PoseScoreStore store(maxScore, kNumCandidates);
        searchWhole<LibrarySearch>(problem, problem.data[input], store);
    };
    const auto literal = [&](std::size_t input) {
        rx_PoseScoreStore store(maxScore, kNumCandidates);
        searchWhole<PlainSearch>(problem, problem.data[input], store);
    };
    for (const Points& data : problem.data) {
        rx_PoseScoreStore found(maxScore, kNumCandidates);
        rx_PoseScoreStore expected(maxScore, kNumCandidates);
        searchWhole<LibrarySearch>(problem, data, found);
        searchWhole<PlainSearch>(problem, data, expected);
        if (!verify(state, holdSame(found, expected), "the poses are not the literal ones")) return;
    }
    measurePaired(state, problem.data.size(), library, literal);
}

struct SearchCase {
    const char* name;
    std::function<SearchProblem()> make;
    long numRounds;
};

const SearchCase kCases[] = {
    {"12/40/15deg", [] { return randomPoints(12, 40, false); }, 101},
    {"12/40/fullTurn", [] { return randomPoints(12, 40, true); }, 101},
    {"50/150/15deg", [] { return randomPoints(50, 150, false); }, 51},
    {"50/150/fullTurn", [] { return randomPoints(50, 150, true); }, 31},
    {"100/400/15deg", [] { return randomPoints(100, 400, false); }, 31},
    {"100/400/fullTurn", [] { return randomPoints(100, 400, true); }, 11},
    {"100/400/scales", [] { return withScales(100, 400); }, 11},
    {"300/2000/15deg", [] { return randomPoints(300, 2000, false); }, 11},
    {"dotGrid/15deg", [] { return dotGrid(false); }, 31},
    {"dotGrid/fullTurn", [] { return dotGrid(true); }, 11},
    {"100/400/image800", [] { return onImageOf(800, 100, 400); }, 5},
    {"300/2000/image2400", [] { return onImageOf(2400, 300, 2000); }, 1},
    {"12/40/closePairs/15deg", [] { return closePairs(12, 40, false); }, 51},
    {"12/40/closePairs/fullTurn", [] { return closePairs(12, 40, true); }, 31},
    {"50/150/closePairs/15deg", [] { return closePairs(50, 150, false); }, 5},
    {"50/150/closePairs/fullTurn", [] { return closePairs(50, 150, true); }, 3},
    {"100/400/closePairs/15deg", [] { return closePairs(100, 400, false); }, 3},
    {"100/400/scalesFullTurn", [] { return ofAnyTurnAndScale(randomPoints(100, 400, true, 1)); },
     3},
    {"50/75/image400/scalesFullTurn", [] { return ofAnyTurnAndScale(onImageOf(400, 50, 75)); }, 1},
    {"100/150/image400/scalesFullTurn", [] { return ofAnyTurnAndScale(onImageOf(400, 100, 150)); },
     1},
    {"100/400/weighted", [] { return weighted(100, 400); }, 31},
};

using Measure = void (*)(benchmark::State&, const SearchProblem&);

void registerCase(const std::string& name, const SearchCase& which, const char* kernel,
                  Measure measure) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) {
                                     forceVoteKernel(kernel);
                                     measure(state, which.make());
                                     forceVoteKernel("");
                                 })
        ->Iterations(which.numRounds)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

const bool isRegistered = [] {
    for (const SearchCase& which : kCases) {
        for (const VoteKernel* kernel : voteKernels()) {
            const std::string suffix = std::string(which.name) + "/" + kernel->name;
            registerCase("Vote/" + suffix, which, kernel->name, measureVote);
            registerCase("Search/" + suffix, which, kernel->name, measureSearch);
        }
    }
    return true;
}();

}  // namespace
