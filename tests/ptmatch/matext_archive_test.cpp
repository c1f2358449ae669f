// The records of the matrix and of the least-squares accumulator.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "foundation/memory_archive.h"
#include "foundation/stream_archive.h"
#include "ptmatch/matext.h"
#include "ptmatch/pinv.h"
#include "ptmatch/small_matrix.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"
#include "support/documented_bytes.h"
#include "support/pipe_stream.h"

namespace {

using ptmatch::testing::allocationBound;
using ptmatch::testing::AllocationMeter;
using ptmatch::testing::ByteVector;
using ptmatch::testing::documentedBytes;
using ptmatch::testing::elementsOf;
using ptmatch::testing::expectTamperingHandled;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::matrixOf;
using ptmatch::testing::PipeStream;
using ptmatch::testing::stored;
using testing::IsEmpty;

constexpr unsigned long kVersion = 1100;
constexpr unsigned char kSequenceVersion = 0;

std::vector<std::uint64_t> bitsOf(const std::vector<double>& values) {
    std::vector<std::uint64_t> bits;
    for (const double value : values) bits.push_back(std::bit_cast<std::uint64_t>(value));
    return bits;
}

// A record whose sizes and count can contradict each other.
ByteVector matrixRecord(int cols, int rows, unsigned long count, std::vector<double> elements) {
    ByteVector bytes = stored(kVersion, cols, rows, kSequenceVersion, count);
    for (const double element : elements) bytes = joined({bytes, stored(element)});
    return bytes;
}

TEST(MatrixExtRecord, IsAsDocumented) {
    EXPECT_EQ(stored(matrixOf({{1, 2, -0.5}})), documentedBytes("matrix"));
}

TEST(MatrixExtRecord, HoldsColumnsBeforeRowsAndTheElementsRowByRow) {
    EXPECT_EQ(stored(matrixOf({{1, 2, 3}, {4, 5, 6}})), matrixRecord(3, 2, 6, {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(stored(rxMatrixExt()), matrixRecord(0, 0, 0, {}));
}

TEST(MatrixExtRecord, RoundTripKeepsSizesAndAllBits) {
    rxMatrixExt special = matrixOf({{-0.0, std::numeric_limits<double>::infinity()},
                                    {std::numeric_limits<double>::denorm_min(), 1e308},
                                    {std::bit_cast<double>(0x7ff8'0000'0000'0123U), -1.5}});
    for (const rxMatrixExt& matrix :
         {special, rxMatrixExt(), rxMatrixExt(3, 0), rxMatrixExt(0, 7), rxMatrixExt(40, 50)}) {
        const auto copy = loaded<rxMatrixExt>(stored(matrix), matrixOf({{1, 2}}));
        EXPECT_EQ(copy.rows(), matrix.rows());
        EXPECT_EQ(copy.cols(), matrix.cols());
        EXPECT_EQ(bitsOf(elementsOf(copy)), bitsOf(elementsOf(matrix)));
    }
}

template <class T>
void expectUnknownVersion(const ByteVector& bytes, const char* source, int line) {
    try {
        loaded<T>(bytes);
        FAIL() << "the version was accepted";
    } catch (const rxArchive::UnknownVersion& error) {
        EXPECT_STREQ(error.source(), source);
        EXPECT_EQ(error.line(), line);
    }
}

TEST(MatrixExtRecord, OtherVersionsAreRefused) {
    for (const unsigned long version : {0UL, 1UL, 1099UL, 1101UL, 200009UL, 4294967295UL}) {
        SCOPED_TRACE(version);
        // The version is all that is looked at.
        expectUnknownVersion<rxMatrixExt>(stored(version), "ptmatch/matext", 223);
    }
}

TEST(MatrixExtRecord, OtherVersionOfTheSequenceIsRefused) {
    const unsigned char version = 1;
    expectUnknownVersion<rxMatrixExt>(stored(kVersion, 1, 1, version, 1UL, 0.0), nullptr, 0);
}

TEST(MatrixExtRecord, ContradictingSizesAreRefusedWithTheMatrixUnchanged) {
    const rxMatrixExt before = matrixOf({{1, 2}, {3, 4}});
    for (const ByteVector& bytes :
         {matrixRecord(2, 2, 3, {1, 2, 3}), matrixRecord(2, 2, 5, {1, 2, 3, 4, 5}),
          matrixRecord(2, 0, 1, {1}), matrixRecord(0, 0, 1, {1}), matrixRecord(1, 1, 0, {}),
          matrixRecord(-1, 2, 0, {}), matrixRecord(1, -2, 0, {}), matrixRecord(-1, -2, 2, {1, 2}),
          matrixRecord(INT32_MIN, 0, 0, {}), matrixRecord(0, INT32_MIN, 0, {}),
          // 2^32 elements, of which 32 bits leave none.
          matrixRecord(65536, 65536, 0, {})}) {
        rxMatrixExt matrix = before;
        rxMemoryLoadArchive ar(bytes);
        EXPECT_THROW(ar || matrix, rxArchive::Errors);
        EXPECT_EQ(matrix, before);
    }
}

TEST(MatrixExtRecord, HostileCountsTakeNoMemory) {
    for (const ByteVector& bytes : {matrixRecord(INT32_MAX, 1, 2147483647UL, {1, 2}),
                                    matrixRecord(1 << 15, 1 << 16, 2147483648UL, {1, 2}),
                                    matrixRecord(1 << 16, 1 << 15, 2147483648UL, {}),
                                    matrixRecord(INT32_MAX, INT32_MAX, 4294967295UL, {}),
                                    matrixRecord(3, 1431655765, 4294967295UL, {})}) {
        const AllocationMeter meter;
        EXPECT_THROW(loaded<rxMatrixExt>(bytes), rxArchive::Errors);
        EXPECT_LT(meter.largest(), 1000U);
    }
}

TEST(MatrixExtRecord, CountsThatAStreamOfUnknownLengthCannotRefuteTakeNoMemory) {
    for (const ByteVector& bytes : {matrixRecord(1 << 14, 1 << 14, 1UL << 28, {1, 2}),
                                    matrixRecord(INT32_MAX, 1, 2147483647UL, {})}) {
        PipeStream pipe(bytes);
        rxStreamLoadArchive ar(pipe);
        rxMatrixExt matrix = matrixOf({{1, 2}});
        const AllocationMeter meter;
        EXPECT_THROW(ar || matrix, rxArchive::Errors);
        EXPECT_LE(meter.largest(), allocationBound(bytes.size()));
        EXPECT_EQ(matrix, matrixOf({{1, 2}}));
    }
}

TEST(MatrixExtRecord, LoadOfACutOffRecordLeavesTheMatrix) {
    const rxMatrixExt before = matrixOf({{1, 2}, {3, 4}});
    const ByteVector bytes = stored(matrixOf({{5, 6, 7}, {8, 9, 10}}));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxMatrixExt matrix = before;
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || matrix, rxArchive::Errors) << length << " bytes";
        EXPECT_EQ(matrix, before);
    }
}

TEST(MatrixExtRecord, DamageIsNoticedOrHarmless) {
    const std::size_t refused =
        expectTamperingHandled(stored(matrixOf({{1, 2, 3}, {4, 5, 6}})), [](rxArchive& ar) {
            rxMatrixExt fresh;
            ar || fresh;
        });
    // All of the version, the sizes and the sequence's version and count: 17 bytes.
    EXPECT_EQ(refused, 17U * 9U);
}

rxPsuedoInverse sampleAccumulator() {
    rxPsuedoInverse accumulator(2);
    accumulator.update(std::array{1.0, 2.0}, 3.0);
    return accumulator;
}

TEST(PsuedoInverseRecord, IsAsDocumented) {
    EXPECT_EQ(stored(sampleAccumulator()), documentedBytes("least-squares accumulator"));
}

TEST(PsuedoInverseRecord, HoldsTheMatrixAndTheRightHandSide) {
    EXPECT_EQ(stored(sampleAccumulator()),
              joined({stored(kVersion), matrixRecord(2, 2, 4, {1, 2, 2, 4}),
                      stored(std::vector<double>{3, 6})}));
}

TEST(PsuedoInverseRecord, RoundTripGoesOnWhereItWas) {
    rxPsuedoInverse accumulator = sampleAccumulator();
    auto copy = loaded<rxPsuedoInverse>(stored(accumulator), rxPsuedoInverse(5));
    EXPECT_EQ(copy.numUnknowns(), 2);
    for (rxPsuedoInverse* each : {&accumulator, &copy}) each->update(std::array{4.0, -1.0}, 0.5);
    EXPECT_EQ(copy.fit(), accumulator.fit());
    EXPECT_EQ(stored(copy), stored(accumulator));
    EXPECT_THAT(loaded<rxPsuedoInverse>(stored(rxPsuedoInverse()), copy).fit(), IsEmpty());
}

TEST(PsuedoInverseRecord, OtherVersionsAreRefused) {
    for (const unsigned long version : {0UL, 1099UL, 1101UL, 4294967295UL}) {
        expectUnknownVersion<rxPsuedoInverse>(stored(version), "ptmatch/pinv", 75);
    }
    expectUnknownVersion<rxPsuedoInverse>(stored(kVersion, 1101UL), "ptmatch/matext", 223);
    const unsigned char version = 1;
    expectUnknownVersion<rxPsuedoInverse>(
        joined({stored(kVersion), matrixRecord(0, 0, 0, {}), stored(version, 0UL)}), nullptr, 0);
}

TEST(PsuedoInverseRecord, ContradictingSizesAreRefusedWithTheAccumulatorUnchanged) {
    const std::vector<double> two{1, 2};
    for (const ByteVector& bytes :
         {joined({stored(kVersion), matrixRecord(1, 1, 1, {1}), stored(two)}),
          joined({stored(kVersion), matrixRecord(1, 2, 2, {1, 2}), stored(two)}),
          joined({stored(kVersion), matrixRecord(2, 1, 2, {1, 2}), stored(two)}),
          joined({stored(kVersion), matrixRecord(0, 2, 0, {}), stored(two)}),
          joined({stored(kVersion), matrixRecord(2, 2, 4, {1, 2, 3, 4}),
                  stored(std::vector<double>{1})}),
          joined({stored(kVersion), matrixRecord(2, 2, 4, {1, 2, 3, 4}),
                  stored(std::vector<double>{1, 2, 3})}),
          joined({stored(kVersion), matrixRecord(2, 2, 4, {1, 2, 3, 4}),
                  stored(std::vector<double>{})}),
          joined({stored(kVersion), matrixRecord(-2, 2, 4, {1, 2, 3, 4}), stored(two)}),
          joined({stored(kVersion), matrixRecord(-2, -2, 4, {1, 2, 3, 4}), stored(two)}),
          joined({stored(kVersion), matrixRecord(0, 0, 0, {}), stored(two)})}) {
        rxPsuedoInverse accumulator = sampleAccumulator();
        rxMemoryLoadArchive ar(bytes);
        EXPECT_THROW(ar || accumulator, rxArchive::Errors);
        EXPECT_EQ(stored(accumulator), stored(sampleAccumulator()));
    }
}

TEST(PsuedoInverseRecord, HostileCountsTakeNoMemory) {
    const ByteVector matrix = matrixRecord(2, 2, 4, {1, 2, 2, 4});
    for (const ByteVector& bytes :
         {joined({stored(kVersion), matrix, stored(kSequenceVersion, 2147483648UL, 1.0, 2.0)}),
          joined({stored(kVersion), matrix, stored(kSequenceVersion, 4294967295UL)}),
          joined({stored(kVersion), matrixRecord(1 << 15, 1 << 16, 2147483648UL, {1})}),
          // A square of a size that 32 bits hold, of no elements that they could number.
          joined({stored(kVersion), matrixRecord(1 << 16, 1 << 16, 0, {})})}) {
        const AllocationMeter meter;
        EXPECT_THROW(loaded<rxPsuedoInverse>(bytes), rxArchive::Errors);
        EXPECT_LT(meter.largest(), 1000U);
    }
}

TEST(PsuedoInverseRecord, LoadOfACutOffRecordLeavesTheAccumulator) {
    rxPsuedoInverse other(3);
    other.update(std::array{1.0, 2.0, 3.0}, 4.0);
    const ByteVector bytes = stored(other);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        rxPsuedoInverse accumulator = sampleAccumulator();
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || accumulator, rxArchive::Errors) << length << " bytes";
        EXPECT_EQ(stored(accumulator), stored(sampleAccumulator()));
    }
}

TEST(PsuedoInverseRecord, DamageIsNoticedOrHarmless) {
    const std::size_t refused =
        expectTamperingHandled(stored(sampleAccumulator()), [](rxArchive& ar) {
            rxPsuedoInverse fresh;
            ar || fresh;
            if (fresh.numUnknowns() == 0) throw rxArchive::Errors("nothing was loaded");
            try {
                (void)fresh.fit();
            } catch (const rxMatrixExt::SingularMatrix&) {
            }
        });
    // The heads: 4 bytes of the version, 17 of the matrix, 5 of the sequence.
    EXPECT_EQ(refused, 26U * 9U);
}

}  // namespace
