#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <vector>

#include "hardening/allocation_sweep.h"
#include "hardening/fault_world.h"
#include "ptmatch/certainty.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/matched_pairs.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/refit.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/summaries.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"

namespace ptmatch::testing {

namespace {

class AllocationFailureOfMatching : public ::testing::TestWithParam<FaultScenario> {};

TEST_P(AllocationFailureOfMatching, LeavesWhatIsPromised) {
    expectToWithstandAllocationFailures(GetParam());
}

using Scenarios = std::vector<FaultScenario>;

// ---- training: untrained after a failure

FaultScenario trainingScenario(Training training, Training before) {
    FaultTable<rxPointMatcher> table;
    table.prepare = [before](rxPointMatcher& matcher) { train(matcher, before); };
    table.call = [training](rxPointMatcher& matcher) { train(matcher, training); };
    table.outcome = [](const rxPointMatcher& matcher) { return describe(matcher); };
    // What is left of a grid tells nothing.
    table.left = [](const rxPointMatcher& matcher) {
        return matcher.isTrained() ? describe(matcher) : ByteVector();
    };
    table.spoil = [](rxPointMatcher& matcher) { matcher.untrain(); };
    return table.named("Train" + nameOf(training) + "After" + nameOf(before));
}

// A refused training is refused with its own exception as soon as there is memory for it.
FaultScenario refusedTrainingScenario() {
    FaultTable<rxPointMatcher> table;
    table.prepare = [](rxPointMatcher& matcher) { train(matcher, Training::eByVotes); };
    table.call = [points = Points{{1, 2}, {3, 4}}](rxPointMatcher& matcher) {
        try {
            matcher.train(points, rxPointMatcherDefs::eAutoDetect);
        } catch (const rxPointMatcherDefs::InsufficientModelPoints&) {
        }
    };
    table.outcome = [](const rxPointMatcher& matcher) { return describe(matcher); };
    table.spoil = [](rxPointMatcher& matcher) { matcher.untrain(); };
    return table.named("TrainOnTwoPoints");
}

Scenarios trainingScenarios() {
    Scenarios all = {refusedTrainingScenario()};
    for (const Training training : kTrainings) {
        all.push_back(trainingScenario(training, Training::eByVotes));
        all.push_back(trainingScenario(training, Training::eSparse));
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Training, AllocationFailureOfMatching,
                         ::testing::ValuesIn(trainingScenarios()), nameOfScenario);

// ---- runs: no results after a failure, the time that of before or, on a grid, 0

// Scales as well as rotations, sizes of the caller's, and many results.
FaultScenario manyScalesScenario() {
    FaultTable<MatcherRun> table = runTable(Training::eByVotes);
    table.prepare = [](MatcherRun& run) {
        prepare(run, Training::eByVotes);
        run.params.scaleUncertainty(rxRange(-0.2, 0.2));
        run.params.rotationUncertainty(rxAngleRange(rxDegree(2), rxDegree(6)));
        run.params.autoGridSize(false);
        run.params.gridSize(2.0);
        run.params.autoCaptureRange(false);
        run.params.captureRange(3.0);
        run.params.minCoverage(0.3);
        run.params.maxNumResults(30);
    };
    return table.named("RunOverScalesWithManyResults");
}

// Refused at its arguments: the time stays, in every mode.
FaultScenario refusedRunScenario(Training training) {
    FaultTable<MatcherRun> table = runTable(training);
    table.prepare = [training](MatcherRun& run) {
        prepare(run, training);
        run.data.emplace_back(0.0, std::numeric_limits<double>::infinity());
    };
    table.call = [](MatcherRun& run) {
        try {
            run.run();
        } catch (const rxPointMatcherDefs::BadParams&) {
        }
    };
    table.spoil = [](MatcherRun& run) { run.found = emptiedResults(7.5); };
    return table.named("RefusedRun" + nameOf(training));
}

FaultScenario watchedRunScenario(Training training) {
    FaultTable<MatcherRun> table = runTable(training);
    table.call = [](MatcherRun& run) {
        rxRunLimits limits;
        limits.timeLimit = 1e6;
        limits.progressInterval = 0.0;
        double last = 0.0;
        limits.onProgress = [&last](double fraction) { last = fraction; };
        rfRunWatched(run.matcher, run.data, run.params, run.found, limits);
        EXPECT_EQ(last, 1.0);
    };
    // The time of a run that failed before it began, or after.
    table.left = [](const MatcherRun& run) {
        const double time = run.found.time();
        return joined({describeOutcome(run), stored(time == 0.0 || time == 7.5)});
    };
    return table.named("WatchedRun" + nameOf(training));
}

Scenarios runScenarios() {
    Scenarios all = {manyScalesScenario()};
    for (const Training training : kTrainings) {
        all.push_back(runTable(training).named("Run" + nameOf(training)));
        all.push_back(refusedRunScenario(training));
        all.push_back(watchedRunScenario(training));
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Runs, AllocationFailureOfMatching, ::testing::ValuesIn(runScenarios()),
                         nameOfScenario);

// ---- grid map and corresponder

struct Mapping {
    Points points;
    rxPtToGridMapRunParams params;
    rxPtToGridMapResult result;
};

FaultScenario mappingScenario(const std::string& name, const rxPtToGridMapRunParams& params,
                              const Points& points) {
    FaultTable<Mapping> table;
    table.prepare = [params, points](Mapping& mapping) {
        mapping.points = points;
        mapping.params = params;
        // One that is valid, to be left invalid but otherwise alone.
        mapping.result = loaded<rxPtToGridMapResult>(
            stored(1100UL, true, 7.5, poseAt(1, 2), std::vector<rxPair<long>>(4)));
    };
    table.call = [](Mapping& mapping) {
        EXPECT_GE(rfPtToGridMap(mapping.points, mapping.params, mapping.result), 3);
    };
    table.outcome = [](const Mapping& mapping) {
        return stored(mapping.points, mapping.params, mapping.result.valid(),
                      mapping.result.grid2point(), mapping.result.map());
    };
    table.spoil = [](Mapping& mapping) {
        mapping.result = loaded<rxPtToGridMapResult>(
            stored(1100UL, false, 7.5, mapping.result.grid2point(), mapping.result.map()));
    };
    return table.named(name);
}

using Positions = std::vector<rxPair<long>>;

struct Placing {
    rx_PointToGridCorresponder tool;
    rx_PointToGridCorresponderResultSet found;
    bool isFound = false;
};

const Positions kDataPositions = {{4, 4}, {5, 4}, {6, 4}, {7, 4}, {4, 5}, {5, 5}, {7, 5},
                                  {4, 6}, {5, 6}, {6, 6}, {7, 6}, {1, 1}, {9, 9}};

void prepareToPlace(Placing& placing) {
    placing.tool.train(denseImage(), rx_PointToGridCorresponderTrainParams());
    placing.found = loaded<rx_PointToGridCorresponderResultSet>(
        stored(1100UL, 7.5, std::vector<rx_PointToGridCorresponderResult>(2)));
}

FaultTable<Placing> placingTable() {
    FaultTable<Placing> table;
    table.prepare = prepareToPlace;
    table.outcome = [](const Placing& placing) {
        return stored(placing.tool, placing.found.results(), placing.isFound);
    };
    table.left = [](const Placing& placing) { return stored(placing.tool, placing.found); };
    table.spoil = [](Placing& placing) { placing.found = rx_PointToGridCorresponderResultSet(); };
    return table;
}

FaultScenario placingOnListScenario() {
    FaultTable<Placing> table = placingTable();
    table.call = [](Placing& placing) {
        placing.isFound = placing.tool.run(
            kDataPositions, rx_PointToGridCorresponderRunParams(0.5, 1.0, 4), placing.found);
    };
    return table.named("PlaceOnList");
}

FaultScenario placingOnImageScenario() {
    FaultTable<Placing> table = placingTable();
    table.call = [](Placing& placing) {
        placing.isFound = placing.tool.run(
            denseImage(), rx_PointToGridCorresponderRunParams(0.5, 1.0, 1), placing.found);
    };
    return table.named("PlaceOnImage");
}

/// What training leaves alone when it fails: all but its parameters.
FaultTable<Placing> corresponderTrainingTable() {
    FaultTable<Placing> table;
    table.prepare = prepareToPlace;
    table.outcome = [](const Placing& placing) { return stored(placing.tool); };
    table.left = [](const Placing& placing) {
        Positions positions;
        for (const auto& probe : placing.tool.probes()) positions.push_back(probe.position);
        rxPelBuffer<unsigned char> pattern = placing.tool.pattern();
        return joined({stored(positions), stored(pattern)});
    };
    return table;
}

FaultScenario corresponderTrainingOnListScenario() {
    FaultTable<Placing> table = corresponderTrainingTable();
    table.call = [](Placing& placing) {
        placing.tool.train(kDataPositions,
                           rx_PointToGridCorresponderTrainParams(
                               true, rx_PointToGridCorresponderDefs::eWideBorderPoints),
                           poseAt(1, 2));
    };
    return table.named("TrainCorresponderOnList");
}

FaultScenario corresponderTrainingOnImageScenario() {
    FaultTable<Placing> table = corresponderTrainingTable();
    table.call = [](Placing& placing) {
        placing.tool.train(sparseImage(), rx_PointToGridCorresponderTrainParams());
    };
    return table.named("TrainCorresponderOnImage");
}

Scenarios gridScenarios() {
    const rxPtToGridMapRunParams upright(rxVector<2>(20, 0), rxVector<2>(0, 20));
    const rxPtToGridMapRunParams staggered(rxVector<2>(20, 0), rxVector<2>(0, 20), true, 4.0);
    return {mappingScenario("MapUprightGrid", upright, seenDots(densePicture())),
            mappingScenario("MapStaggeredGrid", staggered,
                            seenDots({"#.#.#", ".#.#.", "#.#.#", ".#.#."})),
            placingOnListScenario(),
            placingOnImageScenario(),
            corresponderTrainingOnListScenario(),
            corresponderTrainingOnImageScenario()};
}

INSTANTIATE_TEST_SUITE_P(Grids, AllocationFailureOfMatching, ::testing::ValuesIn(gridScenarios()),
                         nameOfScenario);

// ---- what stands beside the matcher: it changes none of its arguments

template <class Answer>
struct AskedRun {
    MatcherRun run;
    Answer answer{};
};

/// A question that leaves the run it is asked about as it is.
template <class Ask>
FaultScenario questionScenario(const std::string& name, Training training, Ask ask) {
    using Answer = decltype(ask(std::declval<MatcherRun&>()));
    FaultTable<AskedRun<Answer>> table;
    table.prepare = [training](AskedRun<Answer>& asked) {
        prepare(asked.run, training);
        asked.run.run();
    };
    table.call = [ask](AskedRun<Answer>& asked) { asked.answer = ask(asked.run); };
    table.outcome = [](const AskedRun<Answer>& asked) { return describe(asked.answer); };
    table.left = [](const AskedRun<Answer>& asked) { return describeOutcome(asked.run); };
    return table.named(name + nameOf(training));
}

/// Stream insertion, of a stream that lets what it runs into pass.
template <class T>
std::string textOfValue(const T& value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.exceptions(std::ios::badbit);
    stream << value;
    return stream.str();
}

const rxPointMatcherResult& bestOf(const MatcherRun& run) {
    return run.found.results().at(0);
}

FaultScenario withoutMemory(FaultScenario scenario) {
    scenario.takesMemory = false;
    return scenario;
}

Scenarios questionScenarios() {
    Scenarios all;
    for (const Training training : kTrainings) {
        all.push_back(questionScenario("MatchedPairs", training, [](MatcherRun& run) {
            return rfMatchedPairs(run.matcher, run.data, bestOf(run));
        }));
        all.push_back(questionScenario("Certainty", training, [](MatcherRun& run) {
            return rfCertainty(run.matcher, run.data, run.params, run.found, 0);
        }));
        all.push_back(questionScenario("DistinctInstances", training, [](MatcherRun& run) {
            rxDistinctness distinctness;
            distinctness.minPoseDistance = 1.0;
            return rfDistinctInstances(run.matcher, run.found, distinctness);
        }));
        all.push_back(questionScenario("WhyNot", training, [](MatcherRun& run) {
            return rfWhyNot(run.matcher, run.data, run.params);
        }));
        all.push_back(questionScenario("WhyNothing", training, [](MatcherRun& run) {
            rxPointMatcherRunParams params = run.params;
            params.rotationUncertainty(rxAngleRange(rxDegree(44), rxDegree(46)));
            narrowTranslations(params);
            return rfWhyNot(run.matcher, run.data, params);
        }));
        all.push_back(questionScenario("SummaryOfResults", training, [](MatcherRun& run) {
            // The time differs from run to run.
            return textOfValue(bestOf(run));
        }));
        const FaultScenario cost = questionScenario("RunCost", training, [](MatcherRun& run) {
            return rfRunCost(run.matcher, run.data, run.params);
        });
        const bool isSearch = training != Training::eExhaustive && training != Training::eDense;
        all.push_back(isSearch ? cost : withoutMemory(cost));
    }
    for (const auto model : {rxRefitDefs::eRigid, rxRefitDefs::eSimilarity, rxRefitDefs::eAffine,
                             rxRefitDefs::ePerspective}) {
        all.push_back(questionScenario(
            "RefitOf" + std::to_string(model), Training::eByVotes, [model](MatcherRun& run) {
                return rfRefit(run.matcher, run.data, bestOf(run), model);
            }));
    }
    all.push_back(questionScenario("Refit", Training::eDense, [](MatcherRun& run) {
        return rfRefit(run.matcher, run.data, bestOf(run), rxRefitDefs::eAffine);
    }));
    for (const Training training : {Training::eByVotes, Training::eWeighted, Training::eSparse}) {
        all.push_back(questionScenario("BestVotePlace", training, [](MatcherRun& run) {
            return rfBestVotePlace(run.matcher, run.data, run.params);
        }));
        all.push_back(questionScenario("NearestVotePlace", training, [](MatcherRun& run) {
            return rfNearestVotePlace(run.matcher, run.data, run.params, poseAt(100, 50, 4));
        }));
        all.push_back(questionScenario("VoteImage", training, [](MatcherRun& run) {
            return rfVoteImage(run.matcher, run.data, run.params, {1.0, 4.0});
        }));
    }
    all.push_back(questionScenario("Weights", Training::eWeighted,
                                   [](MatcherRun& run) { return run.matcher.weights(); }));
    all.push_back(questionScenario("UnitWeights", Training::eByVotes,
                                   [](MatcherRun& run) { return run.matcher.weights(); }));
    all.push_back(
        withoutMemory(questionScenario("ExtractedPoints", Training::eByVotes, [](MatcherRun& run) {
            rfExtractPointsFromPointMatcherResults(run.matcher, run.data, bestOf(run), smallModel(),
                                                   run.data);
            return run.found.results().size();
        })));
    all.push_back(questionScenario("SummaryOfParams", Training::eByVotes,
                                   [](MatcherRun& run) { return textOfValue(run.params); }));
    all.push_back(questionScenario("SummaryOfSet", Training::eByVotes,
                                   [](MatcherRun&) { return textOfValue(earlierResults()); }));
    return all;
}

INSTANTIATE_TEST_SUITE_P(Questions, AllocationFailureOfMatching,
                         ::testing::ValuesIn(questionScenarios()), nameOfScenario);

}  // namespace

}  // namespace ptmatch::testing
