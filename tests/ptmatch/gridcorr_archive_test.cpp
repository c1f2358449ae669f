#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "foundation/geometry_archive.h"
#include "ptmatch/gridcorr.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Defs = rx_PointToGridCorresponderDefs;
using Tool = rx_PointToGridCorresponder;
using TrainParams = rx_PointToGridCorresponderTrainParams;
using RunParams = rx_PointToGridCorresponderRunParams;
using Result = rx_PointToGridCorresponderResult;
using ResultSet = rx_PointToGridCorresponderResultSet;

const ByteVector kVersion = {0x4c, 0x04, 0, 0};  // 1100

/// What the record of a tool holds, to be put together in ways that no tool does.
struct ToolRecord {
    long featureType = 1;
    rxPair<long> size{3, 2};
    rxPair<long> offset{-4, 7};
    ByteVector pixels = {1, 1, 0, 0, 1, 1};
    std::vector<long> rect = {-4, 7, 2, 1};
    long count = 4;
    std::vector<Tool::ProbePt> probes = {
        {{0, 0}, true}, {{1, 0}, true}, {{2, 0}, false}, {{2, 1}, true}};

    ByteVector bytes() const {
        ByteVector bytes = joined({kVersion, kVersion, stored(true, featureType)});
        const unsigned char head[] = {0, 1};  // version and kind of an image of 8 bits
        bytes.insert(bytes.end(), head, head + 2);
        bytes = joined({bytes, stored(size.x(), size.y(), offset, rxXform<2>()), pixels});
        for (const long number : rect) bytes = joined({bytes, stored(number)});
        bytes = joined({bytes, stored(count)});
        for (const Tool::ProbePt& probe : probes) {
            bytes = joined({bytes, stored(probe.position, probe.expected)});
        }
        return bytes;
    }
};

Tool someTool() {
    Tool tool;
    tool.train({{-4, 7}, {-3, 7}, {-3, 8}, {-2, 8}, {-2, 9}},
               TrainParams(true, Defs::eWideBorderPoints),
               rxXform<2>(rxMatrix<2>(2, 1, 0, 3), rxVector<2>(5, 7)));
    return tool;
}

ResultSet someResults() {
    const ByteVector bytes = joined({kVersion,
                                     stored(1.5),
                                     {0, 2, 0, 0, 0},
                                     kVersion,
                                     stored(true, 0.75, rxPair<long>(-3, 9)),
                                     kVersion,
                                     stored(true, 0.5, rxPair<long>(2147483647, -2147483648))});
    return loaded<ResultSet>(bytes);
}

TEST(GridCorresponderArchive, TrainParametersAreStaggeredAndFeatureType) {
    EXPECT_EQ(stored(TrainParams()), joined({kVersion, {0}, {1, 0, 0, 0}}));
    EXPECT_EQ(stored(TrainParams(true, Defs::eWideBorderPoints)),
              joined({kVersion, {1}, {2, 0, 0, 0}}));
    const auto stray = static_cast<Defs::FeatureType>(-2);
    const ByteVector bytes = stored(TrainParams(true, stray));
    EXPECT_EQ(bytes, joined({kVersion, {1}, {0xfe, 0xff, 0xff, 0xff}}));
    EXPECT_EQ(loaded<TrainParams>(bytes).featureType(), stray);
    EXPECT_TRUE(loaded<TrainParams>(bytes).staggered());
}

TEST(GridCorresponderArchive, RunParametersAreNumberOfResultsAcceptAndConfusion) {
    const ByteVector bytes = joined(
        {kVersion, {1, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0xe0, 0x3f}, {0, 0, 0, 0, 0, 0, 0xf0, 0x3f}});
    EXPECT_EQ(stored(RunParams()), bytes);
    const RunParams copy = loaded<RunParams>(stored(RunParams(0.25, 7.0, -9)));
    EXPECT_EQ(copy.accept(), 0.25);
    EXPECT_EQ(copy.confusion(), 7.0);
    EXPECT_EQ(copy.maxNumResults(), -9);
}

TEST(GridCorresponderArchive, ResultIsFoundScoreAndPosition) {
    EXPECT_EQ(stored(Result()), joined({kVersion, {0}, ByteVector(8, 0), ByteVector(8, 0)}));
    const ByteVector bytes = joined(
        {kVersion, {1}, {0, 0, 0, 0, 0, 0, 0xe8, 0x3f}, {5, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}});
    const Result result = loaded<Result>(bytes);
    EXPECT_TRUE(result.found());
    EXPECT_EQ(result.score(), 0.75);
    EXPECT_EQ(result.position(), rxPair<long>(5, -1));
    EXPECT_EQ(stored(result), bytes);
    EXPECT_EQ(bytes.size(), rx_MinimalRecordSize<Result>::value);
}

TEST(GridCorresponderArchive, ResultSetIsTimeAndResults) {
    EXPECT_EQ(stored(ResultSet()), joined({kVersion, ByteVector(8, 0), {0, 0, 0, 0, 0}}));
    const ResultSet results = someResults();
    EXPECT_EQ(results.time(), 1.5);
    ASSERT_EQ(results.results().size(), 2U);
    EXPECT_EQ(results.results()[0].score(), 0.75);
    EXPECT_EQ(results.results()[0].position(), rxPair<long>(-3, 9));
    EXPECT_EQ(results.results()[1].position(), rxPair<long>(2147483647, -2147483648));
    EXPECT_EQ(stored(loaded<ResultSet>(stored(results))), stored(results));
}

TEST(GridCorresponderArchive, ToolIsParametersPatternRectangleAndProbes) {
    Tool tool;
    tool.train({{-4, 7}, {-3, 7}, {-3, 8}, {-2, 8}}, TrainParams(true, Defs::eBorderPoints),
               rxXform<2>());
    ToolRecord record;
    record.count = 4;
    record.probes = {{{0, 0}, true}, {{1, 0}, true}, {{1, 1}, true}, {{2, 1}, true}};
    // On the diagonals of what is there: the two empty places of this pattern.
    record.count = 6;
    record.probes.insert(record.probes.begin() + 2, {{2, 0}, false});
    record.probes.insert(record.probes.begin() + 3, {{0, 1}, false});
    EXPECT_EQ(stored(tool), record.bytes());
}

TEST(GridCorresponderArchive, LoadedToolIsTheStoredOne) {
    const Tool tool = someTool();
    const Tool copy = loaded<Tool>(stored(tool));
    EXPECT_EQ(copy.probes(), tool.probes());
    EXPECT_EQ(copy.pattern().offset(), rxPair<long>(-4, 7));
    EXPECT_EQ(copy.pattern().clientFromImageXform(), tool.pattern().clientFromImageXform());
    EXPECT_TRUE(copy.trainParams().staggered());
    EXPECT_EQ(copy.trainParams().featureType(), Defs::eWideBorderPoints);
    EXPECT_EQ(stored(copy), stored(tool));

    ResultSet results;
    EXPECT_TRUE(copy.run({{0, 0}, {1, 0}, {1, 1}, {2, 1}, {2, 2}}, RunParams(1.0), results));
    EXPECT_EQ(results.results()[0].position(), rxPair<long>(4, -7));
}

TEST(GridCorresponderArchive, LoadReplacesWhateverTheTargetHeld) {
    Tool large;
    large.train({{0, 0}, {5, 0}, {0, 9}, {1, 1}}, TrainParams(), rxXform<2>());
    for (const Tool& tool : {Tool(), someTool()}) {
        EXPECT_EQ(stored(loaded<Tool>(stored(tool), large)), stored(tool));
    }
    Tool untrained = someTool();
    untrained.untrain();
    const Tool copy = loaded<Tool>(stored(untrained), large);
    EXPECT_FALSE(copy.isTrained());
    EXPECT_EQ(copy.pattern().size(), rxPair<long>(3, 3));
}

TEST(GridCorresponderArchive, DefaultToolComesBack) {
    const ByteVector bytes = stored(Tool());
    EXPECT_EQ(stored(loaded<Tool>(bytes, someTool())), bytes);
}

template <class T>
void expectVersionAt(ByteVector bytes, std::size_t at, int line) {
    for (const unsigned long version : {0UL, 1UL, 1099UL, 1101UL, 200009UL, 4294967295UL}) {
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
        try {
            loaded<T>(bytes);
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/gridcorr");
            EXPECT_EQ(error.line(), line);
        }
    }
}

TEST(GridCorresponderArchive, OtherVersionsAreUnknown) {
    expectVersionAt<TrainParams>(stored(TrainParams()), 0, 59);
    expectVersionAt<RunParams>(stored(RunParams()), 0, 77);
    expectVersionAt<Result>(stored(Result()), 0, 96);
    expectVersionAt<ResultSet>(stored(someResults()), 0, 115);
    expectVersionAt<ResultSet>(stored(someResults()), 4 + 8 + 5, 96);  // of its first result
    expectVersionAt<Tool>(stored(someTool()), 0, 625);
    expectVersionAt<Tool>(stored(someTool()), 4, 59);
}

template <class T>
void expectUnchangedByFailedLoads(const ByteVector& bytes, const T& value) {
    const ByteVector before = stored(value);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        T target = value;
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), before);
    }
}

TEST(GridCorresponderArchive, FailedLoadsLeaveTheTargetAsItWas) {
    expectUnchangedByFailedLoads(stored(TrainParams(true, Defs::eAllPoints)), TrainParams());
    expectUnchangedByFailedLoads(stored(RunParams(0.1, 0.2, 3)), RunParams());
    expectUnchangedByFailedLoads(stored(Result()), someResults().results()[0]);
    expectUnchangedByFailedLoads(stored(someResults()), ResultSet());
    expectUnchangedByFailedLoads(ToolRecord().bytes(), someTool());
    expectUnchangedByFailedLoads(stored(someTool()), Tool());
}

TEST(GridCorresponderArchive, DamagedRecordsAreRefusedOrLoaded) {
    using ptmatch::testing::expectTamperingHandled;
    const auto loadOf = []<class T>(T) {
        return [](rxArchive& ar) {
            T fresh;
            ar || fresh;
        };
    };
    // Each version byte, at least, and the bytes of `bool`.
    EXPECT_GE(expectTamperingHandled(stored(TrainParams()), loadOf(TrainParams())), 36U + 8U);
    EXPECT_GE(expectTamperingHandled(stored(RunParams()), loadOf(RunParams())), 36U);
    EXPECT_GE(expectTamperingHandled(stored(Result()), loadOf(Result())), 36U + 8U);
    EXPECT_GE(expectTamperingHandled(stored(someResults()), loadOf(ResultSet())), 108U + 16U);
    EXPECT_GE(expectTamperingHandled(stored(someTool()), loadOf(Tool())), 72U + 8U);
    EXPECT_GE(expectTamperingHandled(stored(Tool()), loadOf(Tool())), 72U + 8U);
}

void expectRefused(const ToolRecord& record, const char* reason) {
    const Tool before = someTool();
    const ByteVector bytes = record.bytes();
    rxMemoryLoadArchive ar(bytes);
    Tool target = before;
    try {
        ar || target;
        ADD_FAILURE() << "was loaded, although: " << reason;
    } catch (const rxArchive::Errors& error) {
        EXPECT_EQ(error.message(), std::string("grid corresponder: ") + reason);
    }
    EXPECT_EQ(stored(target), stored(before));
}

TEST(GridCorresponderArchive, ConsistentRecordsAreLoaded) {
    const ToolRecord record;
    EXPECT_EQ(stored(loaded<Tool>(record.bytes())), record.bytes());
    ToolRecord untrained;
    untrained.count = 0;
    untrained.probes.clear();
    EXPECT_EQ(stored(loaded<Tool>(untrained.bytes())), untrained.bytes());
}

TEST(GridCorresponderArchive, RectanglesOfAnotherPatternAreRefused) {
    for (const bool withProbes : {true, false}) {
        for (const std::vector<long>& rect : std::vector<std::vector<long>>{{-3, 7, 2, 1},
                                                                            {-4, 8, 2, 1},
                                                                            {-4, 7, 3, 1},
                                                                            {-4, 7, 2, 0},
                                                                            {0, 0, 0, 0},
                                                                            {-4, 7, 2, -1}}) {
            ToolRecord record;
            record.rect = rect;
            if (!withProbes) {
                record.count = 0;
                record.probes.clear();
            }
            expectRefused(record, "the rectangle is not that of the pattern");
        }
    }
    ToolRecord beyond;
    beyond.rect = {2147483647, 7, 2, 1};
    EXPECT_THROW(loaded<Tool>(beyond.bytes()), rxArchive::Errors);
}

TEST(GridCorresponderArchive, EmptyPatternHasNoProbes) {
    ToolRecord record;
    record.size = rxPair<long>(0, 0);
    record.offset = rxPair<long>(0, 0);
    record.pixels.clear();
    record.rect = {0, 0, 0, 0};
    expectRefused(record, "a probe lies outside the pattern");
    record.rect = {5, 5, -1, -1};
    record.offset = rxPair<long>(5, 5);
    expectRefused(record, "a probe lies outside the pattern");
}

TEST(GridCorresponderArchive, ProbesOutsideThePatternAreRefused) {
    for (const rxPair<long>& position :
         {rxPair<long>(3, 1), rxPair<long>(0, 2), rxPair<long>(2, 2147483647)}) {
        ToolRecord record;
        record.probes[3].position = position;
        expectRefused(record, "a probe lies outside the pattern");
    }
    for (const rxPair<long>& position :
         {rxPair<long>(-1, 0), rxPair<long>(0, -1), rxPair<long>(-2147483648, 0)}) {
        ToolRecord record;
        record.probes[0].position = position;
        expectRefused(record, "a probe lies outside the pattern");
    }
}

TEST(GridCorresponderArchive, ProbesOutOfOrderAreRefused) {
    ToolRecord swapped;
    std::swap(swapped.probes[1], swapped.probes[3]);
    expectRefused(swapped, "the probes are not in raster order");
    ToolRecord repeated;
    repeated.probes[1] = repeated.probes[0];
    expectRefused(repeated, "the probes are not in raster order");
}

TEST(GridCorresponderArchive, CountsBeyondTheRecordAreRefused) {
    ToolRecord negative;
    negative.count = -1;
    expectRefused(negative, "a negative number of probes");
    for (const long count : {5L, 1000000L, 2147483647L}) {
        ToolRecord record;
        record.count = count;
        const ByteVector bytes = record.bytes();
        EXPECT_THROW(loaded<Tool>(bytes), rxArchive::Errors);
    }
}

}  // namespace
