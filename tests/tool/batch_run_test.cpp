#include "batch_run.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "batch_table.h"
#include "exit_code.h"
#include "foundation/attention.h"
#include "grid_match_batch.h"
#include "interrupt_guard.h"
#include "progress_watch.h"
#include "sample_grid_match_report.h"

using namespace ptmatch::tool;
using Fate = BatchEnd::Fate;

TEST(BatchRun, EveryPieceIsDoneOnceWhateverTheNumberOfThreads) {
    for (const long jobs : {1L, 2L, 7L, 200L}) {
        const auto calls = std::make_shared<std::vector<std::atomic<int>>>(100);
        const BatchEnd end =
            runBatch(100, jobs, [calls](std::size_t i, const TellShare&) { ++(*calls)[i]; });
        EXPECT_EQ(end.count(Fate::kDone), 100U);
        for (const auto& count : *calls) EXPECT_EQ(count, 1);
        EXPECT_FALSE(end.isInterrupted);
        EXPECT_FALSE(end.hasThreadsLeft);
    }
}

TEST(BatchRun, PiecesAreDoneAtTheSameTime) {
    // Each of two pieces waits for the other one to begin.
    const auto begun = std::make_shared<std::atomic<int>>(0);
    const BatchEnd end = runBatch(2, 2, [begun](std::size_t, const TellShare&) {
        ++*begun;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (*begun < 2) {
            if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("alone");
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(end.count(Fate::kDone), 2U);
}

TEST(BatchRun, APieceThatThrowsDoesNotTouchTheOthers) {
    const BatchEnd end = runBatch(5, 2, [](std::size_t i, const TellShare&) {
        if (i == 3) throw std::runtime_error("no such thing\n");
    });
    EXPECT_EQ(end.count(Fate::kDone), 4U);
    EXPECT_EQ(end.fates[3], Fate::kFailed);
    EXPECT_EQ(end.errors[3], "no such thing");
    EXPECT_EQ(exitCodeOf(end, true), kExitSomeFailed);
}

TEST(BatchRun, ExitCodeTellsHowItCameOut) {
    BatchEnd end;
    end.fates = {Fate::kDone, Fate::kDone};
    EXPECT_EQ(exitCodeOf(end, true), kExitFound);
    EXPECT_EQ(exitCodeOf(end, false), kExitNothingFound);
    end.fates = {Fate::kFailed, Fate::kFailed};
    EXPECT_EQ(exitCodeOf(end, false), kExitBadInput);
    end.fates = {Fate::kDone, Fate::kUnfinished};
    end.isInterrupted = true;
    EXPECT_EQ(exitCodeOf(end, true), kExitInterrupted);
}

TEST(BatchRun, AfterARequestNoPieceIsBegun) {
    rxAttention::clear();
    const BatchEnd end = runBatch(10, 1, [](std::size_t i, const TellShare&) {
        if (i == 4) rxAttention::request();
    });
    rxAttention::clear();
    EXPECT_EQ(end.count(Fate::kDone), 5U);
    EXPECT_EQ(end.count(Fate::kUnfinished), 5U);
    EXPECT_TRUE(end.isInterrupted);
    EXPECT_FALSE(end.hasThreadsLeft);
}

TEST(BatchRun, AnInterruptedPieceIsUnfinished) {
    rxAttention::clear();
    const BatchEnd end = runBatch(3, 1, [](std::size_t i, const TellShare&) {
        if (i != 1) return;
        rxAttention::request();
        rxAttention::check();
    });
    rxAttention::clear();
    EXPECT_EQ(end.fates, (std::vector<Fate>{Fate::kDone, Fate::kUnfinished, Fate::kUnfinished}));
}

TEST(BatchRun, SummaryNamesWhatIsNotDone) {
    BatchEnd end;
    end.fates = {Fate::kDone, Fate::kDone, Fate::kFailed, Fate::kUnfinished};
    end.seconds = 0.5;
    EXPECT_EQ(batchSummary(end, 1, 1, "a pose"),
              "2 of 4 data sets searched in 0.500 s (4 a second, 1 job): 1 with a pose, 1 failed, "
              "1 not finished\n");
    end.fates = {Fate::kDone};
    EXPECT_EQ(batchSummary(end, 2, 1, "a placement"),
              "1 of 1 data set searched in 0.500 s (2 a second, 2 jobs): 1 with a placement\n");
}

TEST(BatchRun, FailuresBeginWithTheNameOfTheirDataSet) {
    const std::vector<DataSet> sets = {
        {"a.csv", {}, {}, {}}, {"a.csv", "7", {}, {}}, {"b", {}, {}, {}}};
    BatchEnd end;
    end.errors = {"a.csv:2: expected a number", "std::bad_alloc", ""};
    nameFailures(end, sets);
    EXPECT_EQ(end.errors, (std::vector<std::string>{"a.csv:2: expected a number",
                                                    "a.csv frame 7: std::bad_alloc", ""}));
}

TEST(BatchRunDeathTest, AFailingOutputIsNamedAlsoWhenThreadsAreLeft) {
    BatchEnd end;
    end.fates = {Fate::kUnfinished};
    end.errors = {""};
    end.isInterrupted = true;
    end.hasThreadsLeft = true;
    std::ostringstream out;
    EXPECT_EXIT(finishBatch(end, false, "table", out, std::cerr),
                testing::ExitedWithCode(kExitInterrupted), "^ptmatch: interrupted\n$");
    out.setstate(std::ios::badbit);
    EXPECT_EXIT(
        finishBatch(end, false, "table", out, std::cerr), testing::ExitedWithCode(kExitBadInput),
        "^ptmatch: interrupted\nptmatch: the results cannot be written to standard output\n$");
}

TEST(BatchRun, AGridBatchKeepsWhatItPrints) {
    const auto batch = std::make_shared<GridMatchBatch>();
    batch->common = sampleGridMatchReport();
    batch->search = [](GridMatchReport& report) { report.seconds = 7.0; };
    batch->sets = {{"d.csv", {}, batch->common.data, {}}};
    runGridMatchBatch(batch);
    ASSERT_EQ(batch->end.count(Fate::kDone), 1U);
    const GridBatchMatch& match = batch->matches.front();
    EXPECT_EQ(match.numPoints, 6U);
    EXPECT_EQ(match.report.seconds, 7.0);
    EXPECT_EQ(match.report.placements.size(), 1U);
    EXPECT_TRUE(match.report.data.points.empty());
    EXPECT_TRUE(match.report.pattern.positions.empty());
}

TEST(ProgressText, TellsShareNumbersAndTimeLeft) {
    EXPECT_EQ(progressText(1, 4, 10.0), "[#######-----------------------] 25 %, 1 of 4, 30 s left");
    EXPECT_EQ(progressText(2, 4, 600.0),
              "[###############---------------] 50 %, 2 of 4, 10 min left");
    EXPECT_EQ(progressText(1, 1000, 100.0),
              "[------------------------------] 0 %, 1 of 1000, 28 h left");
    EXPECT_EQ(progressText(0, 3, 5.7),
              "[------------------------------] 0 %, 0 of 3, searching for 5 s");
    EXPECT_EQ(progressText(3, 3, 5.0), "[##############################] 100 %, 3 of 3, 0 s left");
    EXPECT_EQ(progressText(1, 4, 10.0, 1.0),
              "[###############---------------] 50 %, 1 of 4, 10 s left");
    EXPECT_EQ(progressText(3, 4, 5.0, 1.5),
              "[##############################] 100 %, 3 of 4, 0 s left");
    EXPECT_EQ(progressText(0.5, 10.0), "[###############---------------] 50 %, 10 s left");
    EXPECT_EQ(progressText(0.0, 3.2), "[------------------------------] 0 %, searching for 3 s");
    EXPECT_EQ(progressText(1.0, 3.2), "[##############################] 100 %, 0 s left");
}
