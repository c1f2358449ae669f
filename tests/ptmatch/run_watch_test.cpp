#include "ptmatch/run_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

#include "foundation/geometry_archive.h"
#include "ptmatch/addition_world.h"
#include "ptmatch/run_cost.h"
#include "support/archive_bytes.h"

namespace {

using namespace ptmatch::testing;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Defs = rxPointMatcherDefs;

std::atomic<int> polls{0};
bool countPoll() {
    ++polls;
    return false;
}
bool interrupt() {
    return true;
}

class RunWatch : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_EQ(rxAttention::setHandler(nullptr), nullptr);
        rxAttention::clear();
    }

    // Some hundred lattice points.
    static rxPointMatcherRunParams params() {
        rxPointMatcherRunParams all(0.9);
        all.rotationUncertainty(rxAngleRange::FullRange());
        return all;
    }

    rxPointMatcher matcher_ = trainedOnPoints(tenPoints());
    Points data_ = mapped(poseAt(100, 50, 77), tenPoints());
    rxPointMatcherResultSet found_;
};

TEST_F(RunWatch, TheRunIsTheSame) {
    rfRunWatched(matcher_, data_, params(), found_, {});
    const rxPointMatcherResultSet plain = foundIn(data_, matcher_, params());
    ASSERT_EQ(found_.results().size(), plain.results().size());
    for (std::size_t i = 0; i < plain.results().size(); ++i) {
        EXPECT_EQ(stored(found_.results()[i]), stored(plain.results()[i]));
    }
}

TEST_F(RunWatch, ProgressIsTheShareOfLatticePointsThatAreDone) {
    std::vector<double> told;
    rxRunLimits limits;
    limits.progressInterval = 0.0;
    limits.onProgress = [&](double fraction) { told.push_back(fraction); };
    rfRunWatched(matcher_, data_, params(), found_, limits);
    const auto numPoints =
        static_cast<std::size_t>(rfRunCost(matcher_, data_, params()).numLatticePoints);
    ASSERT_GT(told.size(), numPoints);
    for (std::size_t i = 0; i < told.size(); ++i) {
        const double expected = static_cast<double>(i) / static_cast<double>(numPoints);
        EXPECT_EQ(told[i], std::min(1.0, expected)) << i;
    }
}

TEST_F(RunWatch, ProgressIsToldAtMostOnceInAnInterval) {
    int numTold = 0;
    rxRunLimits limits;
    limits.progressInterval = 3600.0;
    limits.onProgress = [&](double fraction) {
        ++numTold;
        EXPECT_EQ(fraction, 1.0);
    };
    rfRunWatched(matcher_, data_, params(), found_, limits);
    EXPECT_EQ(numTold, 1);
}

TEST_F(RunWatch, ADeadlineEndsTheRunWithItsOwnException) {
    rxRunLimits limits;
    limits.timeLimit = 0.0;
    try {
        rfRunWatched(matcher_, data_, params(), found_, limits);
        FAIL() << "ran to its end";
    } catch (const rxAttention::Interrupted& error) {
        EXPECT_NE(dynamic_cast<const rxDeadlinePassed*>(&error), nullptr);
        EXPECT_THAT(error.what(), HasSubstr("limit of 0 s"));
    }
    EXPECT_THAT(found_.results(), IsEmpty());
    rfRunWatched(matcher_, data_, params(), found_, {});  // the next one is not under it
    EXPECT_THAT(found_.results(), SizeIs(1));
}

TEST_F(RunWatch, ADeadlineIsMetToALatticePoint) {
    // A run of many seconds: the smallest steps of rotation and scale over a large area.
    rxPointMatcherRunParams slow = params();
    slow.scaleUncertainty(rxRange(-0.5, 0.5));
    slow.autoGridSize(false);
    slow.gridSize(0.05);
    Points data = Randoms(5).uniformPoints(300, 200);
    rxRunLimits limits;
    limits.timeLimit = 0.2;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(rfRunWatched(matcher_, data, slow, found_, limits), rxDeadlinePassed);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken.count(), 0.2);
    EXPECT_LT(taken.count(), 10.0);  // a slow machine, an unoptimised build
}

TEST_F(RunWatch, ARunOfTheListenerIsItsOwn) {
    std::vector<double> plain;
    rxRunLimits limits;
    limits.progressInterval = 0.0;
    limits.onProgress = [&](double fraction) { plain.push_back(fraction); };
    rfRunWatched(matcher_, data_, params(), found_, limits);

    std::vector<double> told;
    limits.onProgress = [&](double fraction) {
        told.push_back(fraction);
        if (told.size() > 3) return;
        EXPECT_THAT(foundIn(data_, matcher_, params()).results(), SizeIs(1));
    };
    rfRunWatched(matcher_, data_, params(), found_, limits);
    EXPECT_THAT(found_.results(), SizeIs(1));
    EXPECT_EQ(told, plain);
}

TEST_F(RunWatch, WhatTheListenerThrowsEndsTheRun) {
    rxRunLimits limits;
    limits.progressInterval = 0.0;
    limits.onProgress = [](double fraction) {
        if (fraction > 0.5) throw std::runtime_error("enough");
    };
    EXPECT_THROW(rfRunWatched(matcher_, data_, params(), found_, limits), std::runtime_error);
    EXPECT_THAT(found_.results(), IsEmpty());
}

TEST_F(RunWatch, TheHandlerOfTheHostIsAskedAndPutBack) {
    polls = 0;
    rxAttention::setHandler(countPoll);
    rfRunWatched(matcher_, data_, params(), found_, {});
    const int watched = polls.exchange(0);
    matcher_.run(data_, params(), found_);
    EXPECT_EQ(watched, polls);
    EXPECT_EQ(rxAttention::setHandler(interrupt), countPoll);
    EXPECT_THROW(rfRunWatched(matcher_, data_, params(), found_, {}), rxAttention::Interrupted);
    EXPECT_EQ(rxAttention::setHandler(nullptr), interrupt);
}

TEST_F(RunWatch, ARequestInterruptsAsEver) {
    rxAttention::request();
    EXPECT_THROW(rfRunWatched(matcher_, data_, params(), found_, {}), rxAttention::Interrupted);
}

TEST_F(RunWatch, EachThreadHasItsOwnLimit) {
    std::atomic<int> numLate{0};
    std::atomic<int> numFound{0};
    const auto work = [&](double limit) {
        for (int i = 0; i < 20; ++i) {
            rxPointMatcherResultSet found;
            rxRunLimits limits;
            limits.timeLimit = limit;
            try {
                rfRunWatched(matcher_, data_, params(), found, limits);
                numFound += static_cast<int>(found.results().size());
            } catch (const rxDeadlinePassed&) {
                ++numLate;
            }
        }
    };
    std::thread late(work, 0.0);
    std::thread patient(work, std::numeric_limits<double>::infinity());
    late.join();
    patient.join();
    EXPECT_EQ(numLate, 20);
    EXPECT_EQ(numFound, 20);
}

// A host that installs a handler for a while may do so while a run is watched, and outlive it.
TEST_F(RunWatch, HandlersComeAndGoWhileARunIsWatched) {
    rxAttention::Handler replaced = countPoll;
    rxRunLimits limits;
    limits.progressInterval = 0.0;
    limits.onProgress = [&](double fraction) {
        if (fraction == 0.0) replaced = rxAttention::setHandler(countPoll);
    };
    polls = 0;
    rfRunWatched(matcher_, data_, params(), found_, limits);
    EXPECT_EQ(replaced, nullptr) << "a watched run installs no handler";
    EXPECT_GT(polls, 0) << "the new handler is asked";
    EXPECT_EQ(rxAttention::setHandler(replaced), countPoll) << "and stays";
    EXPECT_NO_THROW(rfRunWatched(matcher_, data_, params(), found_, {}));
    EXPECT_THAT(found_.results(), SizeIs(1));
}

TEST_F(RunWatch, ARunThatNeverLooksIsToldOfAtItsEnd) {
    const Points model = {{0, 0}, {10, 0}, {3, 7}};
    std::vector<double> told;
    rxRunLimits limits;
    limits.timeLimit = 0.0;
    limits.progressInterval = 0.0;
    limits.onProgress = [&](double fraction) { told.push_back(fraction); };
    rfRunWatched(trainedOnPoints(model, Defs::eExhaustiveMode), model, {}, found_, limits);
    EXPECT_THAT(told, ::testing::ElementsAre(1.0));
}

TEST_F(RunWatch, BadLimitsAndBadArgumentsAreRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [limit, interval] :
         {std::pair(-1.0, 0.1), std::pair(nan, 0.1), std::pair(1.0, -1.0), std::pair(1.0, nan)}) {
        const rxRunLimits limits{limit, {}, interval};
        EXPECT_THROW(rfRunWatched(matcher_, data_, params(), found_, limits), Defs::BadParams);
    }
    matcher_.run(data_, params(), found_);
    EXPECT_THROW(rfRunWatched(rxPointMatcher(), data_, params(), found_, {}), Defs::NotTrained);
    EXPECT_THAT(found_.results(), IsEmpty());  // as after the run itself
}

TEST_F(RunWatch, TheExceptionComesBackFromTheRegistry) {
    rxException* late = new rxDeadlinePassed("late");
    EXPECT_THROW(late->suicideAndRethrow(), rxDeadlinePassed);
}

}  // namespace
