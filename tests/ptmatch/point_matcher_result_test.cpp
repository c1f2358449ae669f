#include "ptmatch/point_matcher_result.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <vector>

#include "foundation/geometry_archive.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Defs = rxPointMatcherDefs;
using Result = rxPointMatcherResult;
using ResultSet = rxPointMatcherResultSet;
using Map = std::vector<long>;

const rxXform<2> kPose(rxVector<2>(3.0, -4.0), rxRadian(0.5), rxRadian(0.25), 2.0, 1.5);

ByteVector imageRecord(const rxPelBuffer<long>& image) {
    rxMemoryStoreArchive ar;
    rxPelBuffer_const<long> view(image);
    ar || view;
    return ar.takeStored();
}

/// 3 columns, 2 rows: -1 everywhere but 7 at (2, 1).
rxPelBuffer<long> gridImage() {
    rxPelBuffer<long> image(3, 2, 32);
    for (long y = 0; y < 2; ++y) {
        for (long x = 0; x < 3; ++x) image.put(x, y, -1);
    }
    image.put(2, 1, 7);
    return image;
}

ByteVector resultRecord(unsigned long mode, const Map& map, const rxPelBuffer<long>& image) {
    return joined({stored(200009UL, mode, kPose, map, 0.75, 0.125), imageRecord(image)});
}

/// Only a matcher fills in results, and archives: a result as some matcher may have stored it.
Result resultOf(unsigned long mode, const Map& map) {
    return loaded<Result>(resultRecord(mode, map, rxPelBuffer<long>()));
}

Result gridResult() {
    return loaded<Result>(resultRecord(Defs::ePointToGrid, {}, gridImage()));
}

ByteVector resultSetRecord(double time, const std::vector<ByteVector>& results) {
    ByteVector bytes =
        joined({stored(200009UL, time), {0}, stored(static_cast<unsigned long>(results.size()))});
    for (const ByteVector& result : results)
        bytes.insert(bytes.end(), result.begin(), result.end());
    return bytes;
}

ResultSet someResults() {
    return loaded<ResultSet>(resultSetRecord(
        1.5, {resultRecord(1, {2, -1, 0}, rxPelBuffer<long>()),
              resultRecord(3, {-1, -7}, rxPelBuffer<long>()), resultRecord(2, {}, gridImage())}));
}

TEST(PointMatcherResult, DefaultIsAnEmptyPointResult) {
    const Result result;
    EXPECT_EQ(result.runMode(), Defs::ePointToPoint);
    EXPECT_EQ(result.modelToDataXform(), rxXform<2>());
    EXPECT_TRUE(result.modelToDataMap().empty());
    EXPECT_EQ(result.coverage(), 0.0);
    EXPECT_EQ(result.fitError(), 0.0);
    EXPECT_THROW(result.gridToDataMap(rxPair<long>(0, 0)), Defs::NotRun);
}

TEST(PointMatcherResult, PointModesHaveAMapOfModelPoints) {
    for (const unsigned long mode : {1UL, 3UL}) {
        const Result result = resultOf(mode, {2, -1, 0});
        EXPECT_EQ(result.runMode(), static_cast<Defs::Mode>(mode));
        EXPECT_EQ(result.modelToDataMap(), Map({2, -1, 0}));
        EXPECT_EQ(result.modelToDataXform(), kPose);
        EXPECT_EQ(result.coverage(), 0.75);
        EXPECT_EQ(result.fitError(), 0.125);
        EXPECT_THAT([&] { result.gridToDataMap(rxPair<long>(0, 0)); },
                    ::testing::ThrowsMessage<Defs::NotRun>(::testing::StrEq(
                        "rxPointMatcherResult was not run in mode ePointToGrid\n")));
    }
}

TEST(PointMatcherResult, GridModeHasAMapOfGridPositions) {
    const Result result = gridResult();
    EXPECT_EQ(result.runMode(), Defs::ePointToGrid);
    EXPECT_EQ(result.gridToDataMap(rxPair<long>(2, 1)), 7);
    EXPECT_EQ(result.gridToDataMap(rxPair<long>(1, 2 - 1)), -1);
    EXPECT_EQ(result.modelToDataXform(), kPose);
    EXPECT_THAT([&] { (void)result.modelToDataMap(); },
                ::testing::ThrowsMessage<Defs::NotRun>(::testing::StrEq(
                    "rxPointMatcherResult was not run in mode ePointToGrid or eExhaustiveMode\n")));
}

TEST(PointMatcherResult, OtherModesHaveNeitherMap) {
    for (const unsigned long mode : {0UL, 4UL, 4294967295UL}) {
        const Result result = resultOf(mode, {1});
        EXPECT_THROW((void)result.modelToDataMap(), Defs::NotRun);
        EXPECT_THROW(result.gridToDataMap(rxPair<long>(0, 0)), Defs::NotRun);
    }
}

TEST(PointMatcherResult, StrayModeKeepsItsValue) {
    EXPECT_EQ(static_cast<int>(resultOf(4, {}).runMode()), 4);
    EXPECT_EQ(static_cast<int>(resultOf(4294967295UL, {}).runMode()), -1);
    const ByteVector bytes = resultRecord(4294967295UL, {}, rxPelBuffer<long>());
    EXPECT_EQ(stored(loaded<Result>(bytes)), bytes);
}

TEST(PointMatcherResult, DefaultRecordIsThisVeryOne) {
    const ByteVector zero(8, 0);
    const ByteVector one = {0, 0, 0, 0, 0, 0, 0xf0, 0x3f};
    const ByteVector expected = joined({
        {0x49, 0x0d, 0x03, 0x00},  // 200009
        {1, 0, 0, 0},              // ePointToPoint
        one,
        zero,
        zero,
        one,
        zero,
        zero,             // identity
        {0, 0, 0, 0, 0},  // no map
        zero,
        zero,  // coverage, fit error
        imageRecord(rxPelBuffer<long>()),
    });
    EXPECT_EQ(stored(Result()), expected);
}

TEST(PointMatcherResult, RecordHoldsMapEntriesIn32Bits) {
    const ByteVector bytes = stored(resultOf(3, {2, -1}));
    const ByteVector mapRecord = {0, 2, 0, 0, 0, 2, 0, 0, 0, 0xff, 0xff, 0xff, 0xff};
    ASSERT_GT(bytes.size(), 56 + mapRecord.size());
    EXPECT_TRUE(std::equal(mapRecord.begin(), mapRecord.end(), bytes.begin() + 56));
}

TEST(PointMatcherResult, LoadReversesStore) {
    for (const ByteVector& bytes :
         {resultRecord(1, {2, -1, 0, -9}, rxPelBuffer<long>()), resultRecord(2, {}, gridImage())}) {
        EXPECT_EQ(stored(loaded<Result>(bytes, resultOf(3, {5}))), bytes);
    }
}

template <class T>
void expectVersions(ByteVector bytes, int line) {
    const auto withVersion = [&bytes](unsigned long version) {
        const ByteVector head = stored(version);
        std::copy(head.begin(), head.end(), bytes.begin());
        return bytes;
    };
    const ByteVector current = withVersion(200009);
    for (const unsigned long version : {0UL, 1UL, 200008UL}) {
        EXPECT_EQ(stored(loaded<T>(withVersion(version))), current);
    }
    for (const unsigned long version : {200010UL, 4294967295UL}) {
        try {
            loaded<T>(withVersion(version));
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/ppmatch");
            EXPECT_EQ(error.line(), line);
        }
    }
}

TEST(PointMatcherResult, OlderVersionsHaveTheSameLayoutAndNewerOnesAreUnknown) {
    expectVersions<Result>(resultRecord(1, {2, -1}, rxPelBuffer<long>()), 2259);
}

TEST(PointMatcherResult, UnknownVersionOfTheMapHasNoSource) {
    ByteVector bytes = resultRecord(1, {2, -1}, rxPelBuffer<long>());
    bytes[56] = 1;
    try {
        loaded<Result>(bytes);
        ADD_FAILURE() << "was read";
    } catch (const rxArchive::UnknownVersion& error) {
        EXPECT_EQ(error.source(), nullptr);
        EXPECT_EQ(error.line(), 0);
    }
}

TEST(PointMatcherResult, FailedLoadLeavesTheResultAsItWas) {
    const ByteVector before = stored(gridResult());
    const ByteVector bytes = resultRecord(3, {2, -1}, rxPelBuffer<long>());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        Result target = gridResult();
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), before);
    }
}

TEST(PointMatcherResult, DamagedRecordsAreRefusedOrLoaded) {
    const auto load = [](rxArchive& ar) {
        Result fresh;
        ar || fresh;
    };
    EXPECT_GT(ptmatch::testing::expectTamperingHandled(
                  resultRecord(1, {2, -1, 0}, rxPelBuffer<long>()), load),
              0U);
    EXPECT_GT(ptmatch::testing::expectTamperingHandled(resultRecord(2, {}, gridImage()), load), 0U);
}

TEST(PointMatcherResultSet, DefaultIsEmpty) {
    const ResultSet set;
    EXPECT_TRUE(set.results().empty());
    EXPECT_EQ(set.time(), 0.0);
}

TEST(PointMatcherResultSet, ReloadedSetEqualsItsSourceFieldByField) {
    const ResultSet source = someResults();
    const ResultSet copy = loaded<ResultSet>(stored(source));
    EXPECT_EQ(copy.time(), 1.5);
    ASSERT_EQ(copy.results().size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        const Result& a = copy.results()[i];
        const Result& b = source.results()[i];
        EXPECT_EQ(a.runMode(), b.runMode());
        EXPECT_EQ(a.modelToDataXform(), b.modelToDataXform());
        EXPECT_EQ(a.coverage(), b.coverage());
        EXPECT_EQ(a.fitError(), b.fitError());
    }
    EXPECT_EQ(copy.results()[0].modelToDataMap(), Map({2, -1, 0}));
    EXPECT_EQ(copy.results()[1].modelToDataMap(), Map({-1, -7}));
    EXPECT_EQ(copy.results()[2].gridToDataMap(rxPair<long>(2, 1)), 7);
    EXPECT_EQ(copy.results()[2].gridToDataMap(rxPair<long>(0, 0)), -1);
}

TEST(PointMatcherResultSet, CopiesAreIndependent) {
    const ResultSet source = someResults();
    ResultSet copy(source);
    EXPECT_EQ(stored(copy), stored(source));
    EXPECT_NE(&copy.results()[0].modelToDataMap(), &source.results()[0].modelToDataMap());

    const ByteVector other = resultSetRecord(9.0, {resultRecord(3, {4}, rxPelBuffer<long>())});
    rxMemoryLoadArchive ar(other);
    ar || copy;
    EXPECT_EQ(copy.results().size(), 1U);
    EXPECT_EQ(stored(source), stored(someResults()));

    copy = source;
    EXPECT_EQ(stored(copy), stored(source));
}

TEST(PointMatcherResultSet, RecordHoldsVersionTimeAndResults) {
    const ByteVector one = resultRecord(1, {2, -1, 0}, rxPelBuffer<long>());
    const ByteVector two = resultRecord(3, {-1}, rxPelBuffer<long>());
    const ByteVector expected = joined({
        {0x49, 0x0d, 0x03, 0x00},        // 200009
        {0, 0, 0, 0, 0, 0, 0xf8, 0x3f},  // 1.5 seconds
        {0, 2, 0, 0, 0},                 // two results
        one,
        two,
    });
    EXPECT_EQ(stored(loaded<ResultSet>(resultSetRecord(1.5, {one, two}))), expected);
}

TEST(PointMatcherResultSet, OlderVersionsHaveTheSameLayoutAndNewerOnesAreUnknown) {
    expectVersions<ResultSet>(stored(someResults()), 2310);
}

TEST(PointMatcherResultSet, FailedLoadLeavesTheSetAsItWas) {
    const ByteVector before = stored(someResults());
    const ByteVector bytes = resultSetRecord(9.0, {resultRecord(3, {4}, rxPelBuffer<long>()),
                                                   resultRecord(1, {0, 1}, rxPelBuffer<long>())});
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        ResultSet target = someResults();
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(stored(target), before);
    }
}

TEST(PointMatcherResultSet, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(stored(someResults()), [](rxArchive& ar) {
            ResultSet fresh;
            ar || fresh;
        });
    EXPECT_GT(refused, 0U);
}

}  // namespace
