#include "foundation/geometry_archive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

using ptmatch::testing::ByteVector;
using ptmatch::testing::expectTamperingHandled;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;

namespace {

template <class T>
void expectRecord(const T& value, const ByteVector& bytes) {
    EXPECT_EQ(stored(value), bytes);
    EXPECT_EQ(loaded<T>(bytes), value);
}

template <class T>
std::size_t noticedDamages(const T& value) {
    return expectTamperingHandled(stored(value), [](rxArchive& ar) {
        T fresh;
        ar || fresh;
    });
}

/// Loads every cut of the record over a value that differs from it: that value must stay.
template <class T>
void expectFailedLoadKeeps(const T& value, const T& old) {
    ASSERT_FALSE(value == old);
    const ByteVector bytes = stored(value);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        T target = old;
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(target, old) << "cut to " << length;
    }
}

// Rectangles have a helper instead of an operator; this gives them one for the shared checks.
template <class T>
struct ByHelper {
    rxRectangle<T> rectangle;
    friend bool operator==(const ByHelper&, const ByHelper&) = default;
};
template <class T>
rxArchive& operator||(rxArchive& ar, ByHelper<T>& wrapped) {
    return rf_PersistenceHelper(ar, wrapped.rectangle);
}

const rxXform<2> kXform(rxMatrix<2>(1.5, -2.5, 3.5, 4.5), rxVector<2>(-5.5, 6.5));

TEST(GeometryArchive, VectorsAreTheirCoordinates) {
    expectRecord(rxVector<2>(1.5, -2.5), stored(1.5, -2.5));
    expectRecord(rxVector<3>(1.5, -2.5, 3.5), stored(1.5, -2.5, 3.5));
}

TEST(GeometryArchive, PairIsTwo32BitIntegers) {
    expectRecord(rxPair<long>(3, -4), stored(3L, -4L));
    expectRecord(rxPair<long>(2147483647, -2147483648), stored(2147483647L, -2147483648L));
}

TEST(GeometryArchive, PairBeyond32BitsIsRefused) {
    if constexpr (sizeof(long) > 4) {
        EXPECT_THROW(stored(rxPair<long>(2147483648, 0)), rxArchive::Errors);
        EXPECT_THROW(stored(rxPair<long>(0, -2147483649)), rxArchive::Errors);
    }
}

TEST(GeometryArchive, AngleIsItsRadians) {
    expectRecord(rxRadian(0.25), stored(0.25));
}

TEST(GeometryArchive, TransformIsItsMatrixByRowsThenItsTranslation) {
    expectRecord(kXform, stored(1.5, -2.5, 3.5, 4.5, -5.5, 6.5));
}

TEST(GeometryArchive, NormalRangeIsItsKindAndItsEnds) {
    expectRecord(rxRange(-1.5, 2.5), stored(0UL, -1.5, 2.5));
    expectRecord(rxAngleRange(rxRadian(-0.5), rxRadian(0.75)), stored(0UL, -0.5, 0.75));
}

TEST(GeometryArchive, RangeWithoutEndsIsItsKindAlone) {
    expectRecord(rxRange(), stored(1UL));
    expectRecord(rxRange::FullRange(), stored(2UL));
    expectRecord(rxAngleRange(), stored(1UL));
    expectRecord(rxAngleRange::FullRange(), stored(2UL));
}

TEST(GeometryArchive, LoadedFullRangesHaveTheirUsualEnds) {
    const rxRange range = loaded(stored(2UL), rxRange(3, 4));
    EXPECT_EQ(range.start(), rxRange::FullRange().start());
    EXPECT_EQ(range.end(), rxRange::FullRange().end());
    const rxAngleRange angles = loaded<rxAngleRange>(stored(2UL));
    EXPECT_EQ(angles.start(), rxAngleRange::FullRange().start());
    EXPECT_EQ(angles.end(), rxAngleRange::FullRange().end());
}

TEST(GeometryArchive, UnknownKindOfRangeIsRefused) {
    for (const unsigned long kind : {3UL, 255UL, 256UL, 4294967295UL}) {
        const ByteVector bytes = stored(kind, 0.0, 0.0);
        EXPECT_THROW(loaded<rxRange>(bytes), rxArchive::Errors);
        EXPECT_THROW(loaded<rxAngleRange>(bytes), rxArchive::Errors);
    }
}

TEST(GeometryArchive, RectanglesAreCornerAndExtent) {
    expectRecord(ByHelper<double>{{1.5, 2.5, 3.5, 4.5}}, stored(1.5, 2.5, 3.5, 4.5));
    expectRecord(ByHelper<long>{{1, -2, 3, 4}}, stored(1L, -2L, 3L, 4L));
}

TEST(GeometryArchive, IntegerRectangleThatLeavesThe32BitPlaneIsRefused) {
    const ByHelper<long> largest{{-2147483648, 0, 2147483647, 2147483647}};
    EXPECT_EQ(loaded<ByHelper<long>>(stored(largest)), largest);
    EXPECT_THROW(loaded<ByHelper<long>>(stored(1L, 0L, 2147483647L, 0L)), rxArchive::Errors);
    EXPECT_THROW(loaded<ByHelper<long>>(stored(0L, -1L, 0L, -2147483648L)), rxArchive::Errors);
    EXPECT_THROW(stored(ByHelper<long>{{1, 0, 2147483647, 0}}), rxArchive::Errors);
}

TEST(GeometryArchive, NumbersThatAreNoneComeBackBitForBit) {
    const double odd = std::bit_cast<double>(std::uint64_t{0xfff8'0000'1234'5678});
    const double infinite = std::numeric_limits<double>::infinity();
    const ByteVector bytes = stored(rxVector<2>(odd, -infinite), rxRange(odd, infinite));
    EXPECT_EQ(bytes, stored(odd, -infinite, 0UL, odd, infinite));
    rxMemoryLoadArchive ar(bytes);
    rxVector<2> v;
    rxRange range;
    ar || v || range;
    EXPECT_EQ(stored(v, range), bytes);
}

TEST(GeometryArchive, EveryRecordSurvivesTampering) {
    noticedDamages(rxVector<2>(1.5, -2.5));
    noticedDamages(rxVector<3>(1.5, -2.5, 3.5));
    noticedDamages(rxPair<long>(3, -4));
    noticedDamages(rxRadian(0.25));
    noticedDamages(kXform);
    noticedDamages(ByHelper<double>{{1.5, 2.5, 3.5, 4.5}});
    noticedDamages(ByHelper<long>{{1, 2, 3, 4}});
    // Four bytes of the kind, nine damages each; 0 becoming 1 or 2 is another range.
    EXPECT_EQ(noticedDamages(rxRange(-1.5, 2.5)), 34U);
    EXPECT_EQ(noticedDamages(rxAngleRange(rxRadian(-0.5), rxRadian(0.75))), 34U);
    noticedDamages(rxRange::FullRange());
    noticedDamages(rxAngleRange());
}

TEST(GeometryArchive, FailedLoadKeepsTheOldValue) {
    expectFailedLoadKeeps(rxVector<2>(1, 2), rxVector<2>(3, 4));
    expectFailedLoadKeeps(rxVector<3>(1, 2, 3), rxVector<3>(4, 5, 6));
    expectFailedLoadKeeps(rxPair<long>(1, 2), rxPair<long>(3, 4));
    expectFailedLoadKeeps(kXform, rxXform<2>());
    expectFailedLoadKeeps(rxRange(1, 2), rxRange::FullRange());
    expectFailedLoadKeeps(rxAngleRange::FullRange(), rxAngleRange(rxRadian(1), rxRadian(2)));
    expectFailedLoadKeeps(ByHelper<double>{{1, 2, 3, 4}}, ByHelper<double>{{5, 6, 7, 8}});
    expectFailedLoadKeeps(ByHelper<long>{{1, 2, 3, 4}}, ByHelper<long>{{5, 6, 7, 8}});
}

TEST(GeometryArchive, StoringDoesNotWriteToItsArguments) {
    // These lie in memory that cannot be written.
    static constexpr rxVector<2> kPoint(1, 2);
    static constexpr rxVector<3> kPoint3(1, 2, 3);
    static constexpr rxPair<long> kPair(1, 2);
    static constexpr rxRadian kAngle(1);
    static constexpr rxXform<2> kIdentity;
    static constexpr rxRectangle<double> kRectangle(1, 2, 3, 4);
    rxMemoryStoreArchive ar;
    ar || const_cast<rxVector<2>&>(kPoint) || const_cast<rxVector<3>&>(kPoint3) ||
        const_cast<rxPair<long>&>(kPair) || const_cast<rxRadian&>(kAngle) ||
        const_cast<rxXform<2>&>(kIdentity);
    rf_PersistenceHelper(ar, const_cast<rxRectangle<double>&>(kRectangle));
    EXPECT_EQ(ar.stored(), stored(kPoint, kPoint3, kPair, kAngle, kIdentity, 1.0, 2.0, 3.0, 4.0));
}

TEST(GeometryArchive, MinimalSizesAreThoseOfTheSmallestRecords) {
    EXPECT_EQ(rx_MinimalRecordSize<rxVector<2>>::value, stored(rxVector<2>()).size());
    EXPECT_EQ(rx_MinimalRecordSize<rxVector<3>>::value, stored(rxVector<3>()).size());
    EXPECT_EQ(rx_MinimalRecordSize<rxPair<long>>::value, stored(rxPair<long>()).size());
    EXPECT_EQ(rx_MinimalRecordSize<rxRadian>::value, stored(rxRadian()).size());
    EXPECT_EQ(rx_MinimalRecordSize<rxXform<2>>::value, stored(rxXform<2>()).size());
    EXPECT_EQ(rx_MinimalRecordSize<rxRange>::value, stored(rxRange()).size());
    EXPECT_EQ(rx_MinimalRecordSize<rxAngleRange>::value, stored(rxAngleRange()).size());
}

TEST(GeometryArchive, VectorOfPointsIsRefusedByItsCountAtOnce) {
    const std::vector<rxVector<2>> points = {{1, 2}, {3, 4}};
    ByteVector bytes = stored(points);
    EXPECT_EQ(loaded<std::vector<rxVector<2>>>(bytes), points);
    bytes[1] = 3;
    EXPECT_THROW(loaded<std::vector<rxVector<2>>>(bytes), rxArchive::Errors);
    expectTamperingHandled(stored(points), [](rxArchive& ar) {
        std::vector<rxVector<2>> fresh;
        ar || fresh;
    });
}

}  // namespace
