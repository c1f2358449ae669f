#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <vector>

#include "ptmatch/ppmatch.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"
#include "support/documented_bytes.h"
#include "support/pattern_pictures.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::documentedBytes;
using ptmatch::testing::dotsOf;
using ptmatch::testing::gridOf;
using ptmatch::testing::GridParts;
using ptmatch::testing::imageOf;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::mapOf;
using ptmatch::testing::Picture;
using ptmatch::testing::stored;
using ptmatch::testing::trainedOn;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StrEq;
using ::testing::ThrowsMessage;
using Defs = rxPointMatcherDefs;
using Pair = rxPair<long>;
using Points = std::vector<rxVector<2>>;

const Picture kSparse = {"##..", "...#", "#...", "..#."};
const Picture kDense = {"####", "#.##", "####"};
const rxXform<2> kGrid = gridOf({20, 1}, {-1, 20}, {7, 9});
const Points kTriangle = {{0, 0}, {4, 0}, {0, 3}};

rxPointMatcher trained(const Picture& picture) {
    return trainedOn(imageOf(picture, kGrid, Pair(5, -6)));
}

rxPointMatcherRunParams tolerant() {
    rxPointMatcherRunParams params(0.7);
    params.scaleUncertainty(rxRange(-0.2, 0.2));
    params.maxNumResults(2);
    return params;
}

std::vector<ByteVector> resultsOf(const rxPointMatcher& matcher, const Points& data) {
    rxPointMatcherResultSet found;
    matcher.run(data, tolerant(), found);
    std::vector<ByteVector> results;
    for (const rxPointMatcherResult& result : found.results()) results.push_back(stored(result));
    return results;
}

void loadInto(rxPointMatcher& matcher, const ByteVector& bytes) {
    rxMemoryLoadArchive ar(bytes);
    ar || matcher;
}

// ---- what is recorded

TEST(PointMatcherGridRecord, IsAsDocumented) {
    const rxPointMatcher matcher = trainedOn(imageOf({"#.", "##"}));
    EXPECT_EQ(stored(matcher), documentedBytes("matcher trained on a grid"));
}

TEST(PointMatcherGridRecord, HoldsItsPartsInThisOrder) {
    for (const Picture& picture : {kSparse, kDense}) {
        const rxPointMatcher matcher = trained(picture);
        EXPECT_EQ(GridParts::of(matcher).record(), stored(matcher));
    }
}

TEST(PointMatcherGridRecord, LoadedMatcherGivesTheSameResults) {
    for (const Picture& picture : {kSparse, kDense}) {
        const rxPointMatcher source = trained(picture);
        const rxPointMatcher copy = loaded<rxPointMatcher>(stored(source));
        EXPECT_EQ(copy.trainMode(), Defs::ePointToGrid);
        EXPECT_EQ(stored(copy), stored(source));
        const Points data = dotsOf(picture, gridOf({20.5, 3}, {-2, 19.5}, {300, 200}));
        EXPECT_FALSE(resultsOf(source, data).empty());
        EXPECT_EQ(resultsOf(copy, data), resultsOf(source, data));
    }
}

TEST(PointMatcherGridRecord, ResultsAreStoredWithTheirMap) {
    const rxPointMatcher matcher = trained(kDense);
    rxPointMatcherResultSet found;
    matcher.run(dotsOf(kDense, kGrid), tolerant(), found);
    ASSERT_FALSE(found.results().empty());
    const auto copy = loaded<rxPointMatcherResultSet>(stored(found));
    EXPECT_EQ(copy.results().at(0).gridToDataMap(Pair(5, -5)), 4);
    EXPECT_EQ(copy.results().at(0).gridToDataMap(Pair(6, -5)), -1);
    EXPECT_EQ(stored(copy), stored(found));
}

TEST(PointMatcherGridRecord, AnyNonZeroPresenceIsPresent) {
    const ByteVector bytes = stored(trained(kDense));
    for (const long presence : {2L, -1L}) {
        ByteVector changed = bytes;
        const ByteVector flag = stored(presence);
        std::ranges::copy(flag, changed.begin() + 8);  // after the version and the absent model
        EXPECT_EQ(stored(loaded<rxPointMatcher>(changed)), bytes);
    }
}

// ---- loads into a matcher that holds something

TEST(PointMatcherGridRecord, LoadReplacesTheGridOfTheTarget) {
    rxPointMatcher target = trained(kSparse);
    const rxPointMatcher other = trainedOn(imageOf({"#.#", "##."}));
    loadInto(target, stored(other));
    EXPECT_EQ(stored(target), stored(other));
}

TEST(PointMatcherGridRecord, LoadIntoAnExhaustiveMatcherKeepsItsMode) {
    rxPointMatcher target;
    target.train(kTriangle, Defs::eExhaustiveMode);
    loadInto(target, stored(trained(kDense)));
    EXPECT_EQ(target.trainMode(), Defs::eExhaustiveMode);
    EXPECT_EQ(target.modelPoints(), kTriangle);  // absent from the record
    EXPECT_THROW(target.pattern(), Defs::NotTrained);
}

TEST(PointMatcherGridRecord, LoadIntoAMatcherOfPointsLeavesItOne) {
    rxPointMatcher target;
    target.train(kTriangle, Defs::eAutoDetect);
    loadInto(target, stored(trained(kDense)));
    EXPECT_EQ(target.trainMode(), Defs::ePointToPoint);
    EXPECT_EQ(target.modelPoints(), kTriangle);
}

TEST(PointMatcherGridRecord, AbsentCorresponderLeavesTheOldOneWhichNoRunAcceptsAlone) {
    for (const Picture& picture : {kSparse, kDense}) {
        rxPointMatcher target = trained(picture);
        loadInto(target, stored(rxPointMatcher()));  // no parts, but no grid points as well
        EXPECT_EQ(target.trainMode(), Defs::ePointToGrid);
        EXPECT_EQ(target.pattern().size(), Pair(4, static_cast<long>(picture.size())));
        rxPointMatcherResultSet found;
        EXPECT_THAT([&] { target.run(kTriangle, tolerant(), found); },
                    ThrowsMessage<Defs::NotTrained>(
                        HasSubstr("rxPointMatcher tool is not trained: the number")));
    }
}

TEST(PointMatcherGridRecord, SparsePointsOfAnotherGridAreNotRun) {
    // A dense grid brings positions and an untrained nested matcher, which leaves the old one.
    rxPointMatcher target = trained(kSparse);
    loadInto(target, stored(trained(kDense)));
    rxPointMatcherResultSet found;
    EXPECT_THAT([&] { target.run(dotsOf(kDense, kGrid), tolerant(), found); },
                ThrowsMessage<Defs::NotTrained>(
                    StrEq("rxPointMatcher tool is not trained: the numbers of grid positions and "
                          "of grid points differ\n")));
    EXPECT_THAT(found.results(), IsEmpty());
}

void expectNotRun(const rxPointMatcher& matcher, const Picture& picture, const char* message) {
    rxPointMatcherResultSet found;
    EXPECT_THAT([&] { matcher.run(dotsOf(picture, kGrid), tolerant(), found); },
                ThrowsMessage<Defs::NotTrained>(HasSubstr(message)));
    EXPECT_THAT(found.results(), IsEmpty());
}

TEST(PointMatcherGridRecord, SparsePointsUnderADensePatternOfAsManyAreNotRun) {
    const Picture sparse = {"##.##.##", "........", "##.##.##"};
    const Picture dense = {"####", "####", "####"};
    rxPointMatcher target = trained(sparse);
    loadInto(target, stored(trained(dense)));
    expectNotRun(target, dense, "the pattern is not one that is searched for as points");
}

TEST(PointMatcherGridRecord, DenseGridWhosePositionsAreGoneIsNotRun) {
    rxPointMatcher untrained = trained(kDense);
    untrained.untrain();  // the number of points and the transform stay
    rxPointMatcher target = trained(kDense);
    loadInto(target, stored(untrained));
    expectNotRun(target, kDense, "the numbers of grid positions and of grid points differ");
}

// ---- records that contradict themselves

void expectRefused(const GridParts& parts, const char* message) {
    rxPointMatcher target = trained(kDense);
    const ByteVector before = stored(target);
    EXPECT_THAT([&] { loadInto(target, parts.record()); },
                ThrowsMessage<rxArchive::Errors>(HasSubstr(message)));
    EXPECT_EQ(stored(target), before);
}

TEST(PointMatcherGridRecord, NumberOfGridPointsIsThatOfThePattern) {
    for (const Picture& picture : {kSparse, kDense}) {
        const GridParts parts = GridParts::of(trained(picture));
        const long n = parts.numGridPoints;
        for (const long number : {-n, 0L, 1L, n - 1, n + 1, 2147483647L}) {
            GridParts changed = parts;
            changed.numGridPoints = number;
            expectRefused(changed, "point matcher: the number of grid points is not that of the");
        }
    }
}

TEST(PointMatcherGridRecord, CorresponderIsTrained) {
    GridParts parts = GridParts::of(trained(kDense));
    parts.corresponder.untrain();
    expectRefused(parts, "point matcher: the grid corresponder is not trained");
    parts.corresponder = rx_PointToGridCorresponder();
    parts.numGridPoints = 0;
    expectRefused(parts, "point matcher: the grid corresponder is not trained");
}

TEST(PointMatcherGridRecord, PositionsAreAsManyAsThePointsOfASparseGrid) {
    GridParts parts = GridParts::of(trained(kSparse));
    parts.gridPositions.pop_back();
    expectRefused(parts, "the numbers of grid positions and of grid points differ");
    parts.gridPositions.resize(7);
    expectRefused(parts, "the numbers of grid positions and of grid points differ");
}

TEST(PointMatcherGridRecord, CorresponderAloneRuns) {
    const rxPointMatcher source = trained(kDense);
    const GridParts parts = GridParts::of(source);
    const auto matcher = loaded<rxPointMatcher>(
        joined({stored(200009UL, 0L, 1L, parts.corresponder, 0L, parts.gridXform,
                       parts.numGridPoints, std::vector<Pair>())}));
    EXPECT_EQ(matcher.trainMode(), Defs::ePointToGrid);
    EXPECT_EQ(resultsOf(matcher, dotsOf(kDense, kGrid)), resultsOf(source, dotsOf(kDense, kGrid)));
}

// ---- damage

TEST(PointMatcherGridRecord, FailedLoadLeavesTheMatcherAsItWas) {
    const ByteVector bytes = stored(trained(kSparse));
    const ByteVector before = stored(trained(kDense));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        rxPointMatcher target = trained(kDense);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), before);
    }
}

TEST(PointMatcherGridRecord, LoadThatRunsOutOfMemoryChangesNothing) {
    const ByteVector bytes = stored(trained(kSparse));
    rxPointMatcher target = trained(kDense);
    const ByteVector before = stored(target);
    const std::size_t failures = ptmatch::testing::withEveryAllocationFailing(
        [&] { loadInto(target, bytes); }, [&] { EXPECT_EQ(stored(target), before); });
    EXPECT_GE(failures, 6U);  // corresponder, pattern, probes, nested matcher and model, positions
    EXPECT_EQ(stored(target), bytes);
}

TEST(PointMatcherGridRecord, DamagedRecordsAreRefusedOrLoaded) {
    for (const Picture& picture : {kSparse, kDense}) {
        const std::size_t refused =
            ptmatch::testing::expectTamperingHandled(stored(trained(picture)), [](rxArchive& ar) {
                rxPointMatcher fresh;
                ar || fresh;
            });
        EXPECT_GT(refused, 0U);
    }
}

/// Whatever the record says, a run ends, and what it finds can be relied on.
void expectRunEnds(const rxPointMatcher& matcher, const Points& data) {
    rxPointMatcherResultSet found;
    try {
        matcher.run(data, tolerant(), found);
    } catch (const Defs::Errors&) {
    } catch (const rx_PointToGridCorresponderDefs::InsufficientMemory&) {
    }
    for (const rxPointMatcherResult& result : found.results()) {
        EXPECT_TRUE(result.modelToDataXform().isFinite());
        EXPECT_GE(result.coverage(), 0.0);
        EXPECT_LE(result.coverage(), 1.0);
        EXPECT_FALSE(std::isnan(result.fitError()));
        for (const long index : mapOf(result, matcher.pattern())) {
            EXPECT_GE(index, -1);
            EXPECT_LT(index, static_cast<long>(data.size()));
        }
    }
}

TEST(PointMatcherGridRecord, WhatLoadsAfterDamageCanBeRun) {
    for (const Picture& picture : {kSparse, kDense}) {
        ByteVector bytes = stored(trained(picture));
        const Points data = dotsOf(picture, kGrid);
        int runnable = 0;
        for (std::size_t at = 0; at < bytes.size(); ++at) {
            for (const unsigned mask : {1U, 2U, 4U, 8U, 16U, 32U, 64U, 128U, 255U}) {
                const unsigned char original = bytes[at];
                bytes[at] = static_cast<unsigned char>(original ^ mask);
                try {
                    const auto matcher = loaded<rxPointMatcher>(bytes);
                    if (matcher.isTrained() && matcher.trainMode() == Defs::ePointToGrid) {
                        SCOPED_TRACE("byte " + std::to_string(at) + " xor " + std::to_string(mask));
                        expectRunEnds(matcher, data);
                        ++runnable;
                    }
                } catch (const rxArchive::Errors&) {
                }
                bytes[at] = original;
            }
        }
        EXPECT_GT(runnable, 100);
    }
}

}  // namespace
