#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

#include "foundation/attention.h"
#include "hardening/fault_scenario.h"
#include "hardening/fault_world.h"
#include "ptmatch/certainty.h"
#include "ptmatch/distinct_instances.h"
#include "ptmatch/ptgdmap.h"
#include "ptmatch/run_cost.h"
#include "ptmatch/run_watch.h"
#include "ptmatch/vote_image.h"
#include "ptmatch/why_not.h"
#include "support/allocation_meter.h"

namespace ptmatch::testing {

namespace {

/// What a host does at a check.
enum class Act { eInterrupt, eThrow, eRequest };

constexpr std::array kActs = {Act::eInterrupt, Act::eThrow, Act::eRequest};

/// Not derived from anything that a library may expect.
struct HostLeaves {};

int numPolls = 0;
int pollToActAt = 0;
Act actAtPoll = Act::eInterrupt;

bool pollOfHost() {
    if (++numPolls != pollToActAt) return false;
    if (actAtPoll == Act::eThrow) throw HostLeaves();
    if (actAtPoll == Act::eRequest) rxAttention::request();
    return actAtPoll == Act::eInterrupt;
}

/// Listens to the checks while it lives.
class Host {
  public:
    explicit Host(int actAt = 0, Act act = Act::eInterrupt) {
        numPolls = 0;
        pollToActAt = actAt;
        actAtPoll = act;
        EXPECT_EQ(rxAttention::setHandler(&pollOfHost), nullptr);
    }
    ~Host() {
        // Nobody has put another one in its place.
        EXPECT_EQ(rxAttention::setHandler(nullptr), &pollOfHost);
        rxAttention::clear();
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
};

enum class Ending { eFinished, eInterrupted, eHostLeft };

Ending endingOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const rxAttention::Interrupted&) {
        return Ending::eInterrupted;
    } catch (const HostLeaves&) {
        return Ending::eHostLeft;
    }
    return Ending::eFinished;
}

Ending expectedEnding(Act act, bool isLastPoll) {
    if (act == Act::eThrow) return Ending::eHostLeft;
    // A request is seen at the next check.
    return act == Act::eRequest && isLastPoll ? Ending::eFinished : Ending::eInterrupted;
}

void expectPromisedAfterwards(const FaultSubject& subject, Ending ending,
                              const ByteVector& outcome) {
    if (ending != Ending::eFinished) {
        EXPECT_EQ(subject.left(), subject.leftByFailure);
        subject.call();
    }
    EXPECT_EQ(subject.outcome(), outcome);
}

void interruptAt(const FaultScenario& scenario, const ByteVector& outcome, int poll, Act act,
                 bool isLast) {
    const AllocationBalance balance;
    {
        const FaultSubject subject = scenario.make();
        std::optional<Host> host(std::in_place, poll, act);
        const Ending ending = endingOf(subject.call);
        EXPECT_EQ(numPolls, poll);
        host.reset();
        EXPECT_EQ(ending, expectedEnding(act, isLast));
        expectPromisedAfterwards(subject, ending, outcome);
    }
    EXPECT_EQ(balance.blocks(), 0);
    EXPECT_EQ(balance.bytes(), 0);
}

// ---- calls that look for interruption

class InterruptedCall : public ::testing::TestWithParam<FaultScenario> {};

TEST_P(InterruptedCall, LeavesWhatIsPromisedAtEveryPoll) {
    const FaultScenario& scenario = GetParam();
    const FaultSubject undisturbed = scenario.make();
    int count = 0;
    {
        const Host host;
        undisturbed.call();
        count = numPolls;
    }
    ASSERT_GE(count, 5);
    const ByteVector outcome = undisturbed.outcome();
    for (int poll = 1; poll <= count; ++poll) {
        for (const Act act : kActs) {
            SCOPED_TRACE("poll " + std::to_string(poll) + " of " + std::to_string(count));
            interruptAt(scenario, outcome, poll, act, poll == count);
            if (HasFailure()) return;
        }
    }
    if (isReportAsked()) std::printf("%-44s %6d polls\n", scenario.name.c_str(), count);
}

FaultTable<MatcherRun> watchedTable(Training training) {
    FaultTable<MatcherRun> table = runTable(training);
    table.call = [](MatcherRun& run) {
        rfRunWatched(run.matcher, run.data, run.params, run.found, rxRunLimits());
    };
    return table;
}

FaultScenario overScalesScenario() {
    FaultTable<MatcherRun> table = runTable(Training::eByVotes);
    table.prepare = [](MatcherRun& run) {
        prepare(run, Training::eByVotes);
        run.params.scaleUncertainty(rxRange(-0.2, 0.2));
    };
    return table.named("RunOverScales");
}

/// Of a question that changes nothing, `ask` gives what describes the answer.
FaultScenario askedOf(Training training, const std::string& name,
                      std::function<ByteVector(const MatcherRun&)> ask) {
    struct Asked {
        MatcherRun run;
        ByteVector answer;
    };
    FaultTable<Asked> table;
    table.prepare = [training](Asked& asked) {
        prepare(asked.run, training);
        asked.run.run();
    };
    table.call = [ask](Asked& asked) { asked.answer = ask(asked.run); };
    table.outcome = [](const Asked& asked) { return asked.answer; };
    table.left = [](const Asked& asked) {
        return joined({describeOutcome(asked.run), asked.answer});
    };
    return table.named(name + nameOf(training));
}

ByteVector whyNot(const MatcherRun& run) {
    return describe(rfWhyNot(run.matcher, run.data, run.params));
}

ByteVector whyNothing(const MatcherRun& run) {
    rxPointMatcherRunParams params = run.params;
    params.rotationUncertainty(rxAngleRange(rxDegree(44), rxDegree(52)));
    narrowTranslations(params);
    return describe(rfWhyNot(run.matcher, run.data, params));
}

ByteVector bestPlace(const MatcherRun& run) {
    rxPointMatcherRunParams params = run.params;
    params.rotationUncertainty(rxAngleRange::FullRange());
    return describe(rfBestVotePlace(run.matcher, run.data, params));
}

std::vector<FaultScenario> interruptible() {
    std::vector<FaultScenario> all = {overScalesScenario()};
    for (const Training training : {Training::eByVotes, Training::eWeighted, Training::eSparse}) {
        all.push_back(runTable(training).named("Run" + nameOf(training)));
        all.push_back(watchedTable(training).named("WatchedRun" + nameOf(training)));
        all.push_back(askedOf(training, "WhyNot", whyNot));
        all.push_back(askedOf(training, "WhyNothing", whyNothing));
        all.push_back(askedOf(training, "BestVotePlace", bestPlace));
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Searches, InterruptedCall, ::testing::ValuesIn(interruptible()),
                         nameOfScenario);

// ---- calls that never look

class UninterruptibleCall : public ::testing::TestWithParam<FaultScenario> {};

TEST_P(UninterruptibleCall, FinishesWhileARequestStands) {
    const FaultSubject undisturbed = GetParam().make();
    undisturbed.call();
    const FaultSubject subject = GetParam().make();
    const Host host(1, Act::eInterrupt);
    rxAttention::request();
    subject.call();
    EXPECT_EQ(numPolls, 0);
    EXPECT_EQ(subject.outcome(), undisturbed.outcome());
}

FaultScenario mappedGrid() {
    return askedOf(Training::eDense, "GridMap", [](const MatcherRun& run) {
        rxPtToGridMapResult result;
        const rxPtToGridMapRunParams params(rxVector<2>(20, 0), rxVector<2>(0, 20));
        EXPECT_GE(rfPtToGridMap(run.data, params, result), 3);
        return stored(result.grid2point(), result.map());
    });
}

FaultScenario placedPattern() {
    return askedOf(Training::eDense, "Corresponder", [](const MatcherRun&) {
        rx_PointToGridCorresponder tool;
        tool.train(denseImage(), rx_PointToGridCorresponderTrainParams());
        rx_PointToGridCorresponderResultSet found;
        EXPECT_TRUE(tool.run(denseImage(), rx_PointToGridCorresponderRunParams(), found));
        return stored(tool, found.results());
    });
}

std::vector<FaultScenario> uninterruptible() {
    std::vector<FaultScenario> all = {mappedGrid(), placedPattern()};
    for (const Training training : {Training::eExhaustive, Training::eDense}) {
        all.push_back(runTable(training).named("Run" + nameOf(training)));
        all.push_back(watchedTable(training).named("WatchedRun" + nameOf(training)));
        all.push_back(askedOf(training, "WhyNot", whyNot));
    }
    for (const Training training : kTrainings) {
        FaultTable<rxPointMatcher> table;
        table.prepare = [](rxPointMatcher&) {};
        table.call = [training](rxPointMatcher& matcher) { train(matcher, training); };
        table.outcome = [](const rxPointMatcher& matcher) { return describe(matcher); };
        all.push_back(table.named("Train" + nameOf(training)));
        all.push_back(askedOf(training, "Certainty", [](const MatcherRun& run) {
            return describe(rfCertainty(run.matcher, run.data, run.params, run.found, 0));
        }));
        all.push_back(askedOf(training, "DistinctInstances", [](const MatcherRun& run) {
            return stored(rfDistinctInstances(run.matcher, run.found));
        }));
        all.push_back(askedOf(training, "RunCost", [](const MatcherRun& run) {
            return describe(rfRunCost(run.matcher, run.data, run.params));
        }));
    }
    all.push_back(askedOf(Training::eByVotes, "VoteImage", [](const MatcherRun& run) {
        return describe(rfVoteImage(run.matcher, run.data, run.params, {1.0, 4.0}));
    }));
    all.push_back(askedOf(Training::eByVotes, "NearestVotePlace", [](const MatcherRun& run) {
        return describe(rfNearestVotePlace(run.matcher, run.data, run.params, poseAt(100, 50, 4)));
    }));
    return all;
}

INSTANTIATE_TEST_SUITE_P(Others, UninterruptibleCall, ::testing::ValuesIn(uninterruptible()),
                         nameOfScenario);

// ---- the two ways in which a watched run ends early

class InterruptedWatchedRun : public ::testing::TestWithParam<Training> {
  protected:
    /// Of the runs here: a test that tries each of these times has something to try.
    static constexpr int kFewestTimesTold = 7;

    /// Calls `act` at the given one of the times that progress is told, which it counts.
    void run(MatcherRun& watched, int actAt, const std::function<void()>& act,
             double timeLimit = std::numeric_limits<double>::infinity()) {
        numTold_ = 0;
        rxRunLimits limits;
        limits.timeLimit = timeLimit;
        limits.progressInterval = 0.0;
        limits.onProgress = [&](double) {
            if (++numTold_ == actAt) act();
        };
        rfRunWatched(watched.matcher, watched.data, watched.params, watched.found, limits);
    }
    int numTold() const { return numTold_; }

    int numTimesTold() {
        MatcherRun watched;
        prepare(watched, GetParam());
        run(watched, 0, [] {});
        return numTold_;
    }

    static ByteVector outcomeOfPlainRun() {
        MatcherRun plain;
        prepare(plain, GetParam());
        plain.run();
        return describeOutcome(plain);
    }

    static ByteVector leftByInterruption() {
        MatcherRun left;
        prepare(left, GetParam());
        left.found = emptiedResults(timeLeftByFailure(GetParam()));
        return describeLeft(left);
    }

  private:
    int numTold_ = 0;
};

TEST_P(InterruptedWatchedRun, ListenerThatThrowsEndsItWhereverItIs) {
    const ByteVector outcome = outcomeOfPlainRun();
    const int count = numTimesTold();
    ASSERT_GE(count, kFewestTimesTold);
    for (int k = 1; k <= count; ++k) {
        SCOPED_TRACE(k);
        MatcherRun watched;
        prepare(watched, GetParam());
        EXPECT_THROW(run(watched, k, [] { throw HostLeaves(); }), HostLeaves);
        if (k < count) {
            EXPECT_EQ(describeLeft(watched), leftByInterruption());
        } else {
            EXPECT_EQ(describeOutcome(watched), outcome);  // the run was over
        }
        EXPECT_EQ(rxAttention::setHandler(nullptr), nullptr);
        run(watched, 0, [] {});
        EXPECT_EQ(describeOutcome(watched), outcome);
    }
    if (isReportAsked())
        std::printf("WatchedRun%-34s %6d times told\n", nameOf(GetParam()).c_str(), count);
}

TEST_P(InterruptedWatchedRun, LimitThatPassesEndsItAtTheNextPoll) {
    const ByteVector outcome = outcomeOfPlainRun();
    const int count = numTimesTold();
    ASSERT_GE(count, kFewestTimesTold);
    double limit = 0.002;
    // The last but one is told at the last poll, the last when the run is over.
    for (int k = 1; k <= count - 2; ++k) {
        SCOPED_TRACE(k);
        for (bool wasTold = false; !wasTold;) {
            ASSERT_LT(limit, 100.0);
            MatcherRun watched;
            prepare(watched, GetParam());
            const auto linger = [&] {
                wasTold = true;
                std::this_thread::sleep_for(std::chrono::duration<double>(limit));
            };
            EXPECT_THROW(run(watched, k, linger, limit), rxDeadlinePassed);
            EXPECT_LE(numTold(), k);
            EXPECT_EQ(describeLeft(watched), leftByInterruption());
            EXPECT_EQ(rxAttention::setHandler(nullptr), nullptr);
            watched.run();
            EXPECT_EQ(describeOutcome(watched), outcome);
            // On a busy machine it may have passed before: another try with more time.
            if (!wasTold) limit *= 2.0;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Searches, InterruptedWatchedRun,
                         ::testing::Values(Training::eByVotes, Training::eWeighted,
                                           Training::eSparse),
                         [](const auto& tested) { return nameOf(tested.param); });

TEST(WatchedRunOfRefusedLimits, LeavesTheResults) {
    MatcherRun run;
    prepare(run, Training::eByVotes);
    const ByteVector before = describeLeft(run);
    rxRunLimits limits;
    limits.timeLimit = -1.0;
    EXPECT_THROW(rfRunWatched(run.matcher, run.data, run.params, run.found, limits),
                 rxPointMatcherDefs::BadParams);
    EXPECT_EQ(describeLeft(run), before);
}

}  // namespace

}  // namespace ptmatch::testing
