#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <span>
#include <vector>

#include "foundation/geometry_archive.h"
#include "foundation/memory_archive.h"
#include "ptmatch/ptgdmap.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using Params = rxPtToGridMapRunParams;
using Result = rxPtToGridMapResult;
using Positions = std::vector<rxPair<long>>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

rxAngleRange degrees(double start, double end) {
    return rxAngleRange(rxDegree(start), rxDegree(end));
}

/// Every field differs from its default.
Params unusual() {
    return Params(rxVector<2>(10, 1), rxVector<2>(-2, 12), true, 1.5, rxRange(0.5, 2.0),
                  degrees(-30, 40));
}

void expectSameFields(const Params& a, const Params& b) {
    EXPECT_EQ(a.xv(), b.xv());
    EXPECT_EQ(a.yv(), b.yv());
    EXPECT_EQ(a.staggered(), b.staggered());
    EXPECT_EQ(a.snapSize(), b.snapSize());
    EXPECT_EQ(a.sizeTol(), b.sizeTol());
    EXPECT_EQ(a.angleTol(), b.angleTol());
}

void expectSameFields(const Result& a, const Result& b) {
    EXPECT_EQ(a.valid(), b.valid());
    EXPECT_EQ(a.time(), b.time());
    EXPECT_EQ(a.grid2point(), b.grid2point());
    EXPECT_EQ(a.map(), b.map());
}

/// Positions and transform of a mapping, and a point that belongs to no node.
Result mapped() {
    Result result;
    const std::vector<rxVector<2>> points = {{0, 0}, {10, 0}, {0, 10}, {10, 10}, {5, 14}};
    rfPtToGridMap(points, Params(rxVector<2>(10, 0), rxVector<2>(0, 10)), result);
    return result;
}

TEST(PtToGridMapRunParams, DefaultsKnowNoStepAndLeaveEveryChoiceOpen) {
    const Params params;
    EXPECT_TRUE(params.xv().isNull());
    EXPECT_TRUE(params.yv().isNull());
    EXPECT_FALSE(params.staggered());
    EXPECT_EQ(params.snapSize(), 0.0);
    EXPECT_EQ(params.sizeTol().range(), rxRangeDefs::Empty);
    EXPECT_EQ(params.angleTol().range(), rxRangeDefs::Empty);
}

TEST(PtToGridMapRunParams, ArgumentsReachTheirFields) {
    const Params params = unusual();
    EXPECT_EQ(params.xv(), rxVector<2>(10, 1));
    EXPECT_EQ(params.yv(), rxVector<2>(-2, 12));
    EXPECT_TRUE(params.staggered());
    EXPECT_EQ(params.snapSize(), 1.5);
    EXPECT_EQ(params.sizeTol(), rxRange(0.5, 2.0));
    EXPECT_EQ(params.angleTol(), degrees(-30, 40));
}

TEST(PtToGridMapRunParams, SettersReachTheirFieldsAlone) {
    Params params;
    params.xv(rxVector<2>(10, 1));
    expectSameFields(params, Params(rxVector<2>(10, 1)));
    params.yv(rxVector<2>(-2, 12));
    expectSameFields(params, Params(rxVector<2>(10, 1), rxVector<2>(-2, 12)));
    params.staggered(true);
    expectSameFields(params, Params(rxVector<2>(10, 1), rxVector<2>(-2, 12), true));
    params.snapSize(1.5);
    params.sizeTol(rxRange(0.5, 2.0));
    params.angleTol(degrees(-30, 40));
    expectSameFields(params, unusual());
}

TEST(PtToGridMapRunParams, EveryValueIsStoredAsItIs) {
    Params params;
    params.snapSize(-1.0);
    EXPECT_EQ(params.snapSize(), -1.0);
    params.snapSize(kInfinity);
    EXPECT_EQ(params.snapSize(), kInfinity);
    params.xv(rxVector<2>(kInfinity, -1e300));
    EXPECT_EQ(params.xv(), rxVector<2>(kInfinity, -1e300));
    params.sizeTol(rxRange(2.0, -1.0));
    EXPECT_EQ(params.sizeTol(), rxRange(2.0, -1.0));
    params.sizeTol(rxRange::FullRange());
    EXPECT_EQ(params.sizeTol().range(), rxRangeDefs::Full);
    params.angleTol(degrees(1000, -1000));
    EXPECT_EQ(params.angleTol(), degrees(1000, -1000));
    params.angleTol(rxAngleRange::FullRange());
    EXPECT_EQ(params.angleTol().range(), rxRangeDefs::Full);
    params.yv(rxVector<2>(kNaN, 0));
    EXPECT_FALSE(params.yv().isFinite());
}

TEST(PtToGridMapRunParams, CopiesAreIndependent) {
    const Params source = unusual();
    Params copy(source);
    copy.staggered(false);
    EXPECT_TRUE(source.staggered());
    copy = source;
    expectSameFields(copy, source);
}

TEST(PtToGridMapRunParams, RecordHoldsVersionThenFieldsInOrder) {
    const Params params = unusual();
    EXPECT_EQ(stored(params), joined({{0x4c, 0x04, 0, 0},
                                      stored(params.xv(), params.yv()),
                                      {1},
                                      stored(params.snapSize()),
                                      stored(params.sizeTol(), params.angleTol())}));
}

TEST(PtToGridMapRunParams, DefaultRecordIsThisVeryOne) {
    const ByteVector zero(8, 0);
    EXPECT_EQ(
        stored(Params()),
        joined(
            {{0x4c, 0x04, 0, 0}, zero, zero, zero, zero, {0}, zero, {1, 0, 0, 0}, {1, 0, 0, 0}}));
}

TEST(PtToGridMapRunParams, LoadReversesStore) {
    expectSameFields(loaded<Params>(stored(unusual())), unusual());
    expectSameFields(loaded<Params>(stored(Params()), unusual()), Params());
}

template <class T>
void expectOtherVersionsUnknown(const T& stored, int line) {
    ByteVector bytes = ptmatch::testing::stored(stored);
    for (const unsigned long version : {0UL, 1UL, 1099UL, 1101UL, 200009UL, 4294967295UL}) {
        const ByteVector head = ptmatch::testing::stored(version);
        std::copy(head.begin(), head.end(), bytes.begin());
        try {
            loaded<T>(bytes);
            ADD_FAILURE() << "version " << version << " was read";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), "ptmatch/ptgdmap");
            EXPECT_EQ(error.line(), line);
        }
    }
}

TEST(PtToGridMapRunParams, OtherVersionsAreUnknown) {
    expectOtherVersionsUnknown(unusual(), 59);
}

TEST(PtToGridMapRunParams, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(stored(unusual()), [](rxArchive& ar) {
            Params fresh;
            ar || fresh;
        });
    EXPECT_GE(refused, 4U * 9U) << "every damage of the version";
}

TEST(PtToGridMapRunParams, FailedLoadLeavesEveryFieldAsItWas) {
    const ByteVector bytes = stored(Params());
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        Params target = unusual();
        EXPECT_THROW(ar || target, rxArchive::Errors);
        expectSameFields(target, unusual());
    }
}

TEST(PtToGridMapResult, StartsEmptyAndNotValid) {
    const Result result;
    EXPECT_FALSE(result.valid());
    EXPECT_EQ(result.time(), 0.0);
    EXPECT_EQ(result.grid2point(), rxXform<2>::I);
    EXPECT_TRUE(result.map().empty());
}

TEST(PtToGridMapResult, CopiesAreIndependent) {
    const Result source = mapped();
    Result copy(source);
    expectSameFields(copy, source);
    copy = Result();
    ASSERT_EQ(source.map().size(), 5U);
    copy = source;
    expectSameFields(copy, source);
}

TEST(PtToGridMapResult, LoadReversesStoreWithPointsThatHaveNoPosition) {
    const Result source = mapped();
    ASSERT_TRUE(source.valid());
    ASSERT_EQ(source.map().back(), rxPair<long>(2147483647, 2147483647));
    ASSERT_NE(source.grid2point(), rxXform<2>::I);
    expectSameFields(loaded<Result>(stored(source)), source);
    expectSameFields(loaded<Result>(stored(Result()), source), Result());
}

TEST(PtToGridMapResult, RecordHoldsVersionThenFieldsInOrder) {
    const Result result = mapped();
    EXPECT_EQ(stored(result), joined({{0x4c, 0x04, 0, 0},
                                      {1},
                                      stored(result.time(), result.grid2point()),
                                      {0, 5, 0, 0, 0},
                                      stored(result.map()[0], result.map()[1], result.map()[2]),
                                      stored(result.map()[3]),
                                      {0xff, 0xff, 0xff, 0x7f, 0xff, 0xff, 0xff, 0x7f}}));
}

TEST(PtToGridMapResult, OtherVersionsAreUnknown) {
    expectOtherVersionsUnknown(mapped(), 81);
}

TEST(PtToGridMapResult, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(stored(mapped()), [](rxArchive& ar) {
            Result fresh;
            ar || fresh;
        });
    EXPECT_GE(refused, 5U * 9U) << "every damage of both versions";
}

TEST(PtToGridMapResult, FailedLoadLeavesEveryFieldAsItWas) {
    const ByteVector bytes = stored(Result());
    const Result before = mapped();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMemoryLoadArchive ar{std::span(bytes).first(length)};
        Result target = before;
        EXPECT_THROW(ar || target, rxArchive::Errors);
        expectSameFields(target, before);
    }
}

}  // namespace
