#include "ptmatch/survival_record.h"

#include <gtest/gtest.h>

namespace {

using ptmatch::detail::SurvivalRecord;

constexpr double kNumBlocks = 100.0;
constexpr double kTilesPerBlock = 1.0;

TEST(SurvivalRecord, CorrectsTheEstimateToWhatWasFound) {
    SurvivalRecord record;
    for (int i = 0; i < 16; ++i) record.note(0.01, 4);
    record.correct(kNumBlocks, kTilesPerBlock);
    EXPECT_NEAR(record.correction(), 4.0, 1e-9);
}

TEST(SurvivalRecord, KeepsTheCorrectionWhileNothingIsNoted) {
    SurvivalRecord record(0.1);
    record.correct(kNumBlocks, kTilesPerBlock);
    EXPECT_EQ(record.correction(), 0.1);
    for (int i = 0; i < 16; ++i) record.note(0.01, 0);
    record.correct(kNumBlocks, kTilesPerBlock);
    const double correction = record.correction();
    EXPECT_LT(correction, 0.1);
    for (int i = 0; i < 100; ++i) record.correct(kNumBlocks, kTilesPerBlock);
    EXPECT_EQ(record.correction(), correction);
}

TEST(SurvivalRecord, WhatIsOlderCountsLess) {
    SurvivalRecord record;
    for (int i = 0; i < 4; ++i) {
        record.note(0.01, 0);
        record.correct(kNumBlocks, kTilesPerBlock);
    }
    const double none = record.correction();
    record.note(0.01, 8);
    record.correct(kNumBlocks, kTilesPerBlock);
    EXPECT_GT(record.correction(), 3.0);
    EXPECT_LT(record.correction(), 8.0);
    EXPECT_LT(none, 1.0);
}

TEST(SurvivalRecord, NothingFoundAmongFewBlocksStaysAProbability) {
    SurvivalRecord record;
    for (int i = 0; i < 30; ++i) {
        record.note(0.5, 0);
        record.correct(0.1, kTilesPerBlock);
        EXPECT_GE(record.correction(), 0.0);
        EXPECT_LE(record.correction() * 0.5, 0.7);
    }
}

}  // namespace
