#include "foundation/archive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "foundation/memory_archive.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"
#include "support/pipe_stream.h"

using ptmatch::testing::AllocationMeter;
using ptmatch::testing::ByteVector;
using ptmatch::testing::expectTamperingHandled;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;
using ::testing::HasSubstr;

namespace {

constexpr long kLargestLong = 2147483647;
constexpr long kSmallestLong = -2147483648;
constexpr unsigned long kLargestUnsigned = 4294967295;

/// The message of the rxArchive::Errors that the action ends in; empty if it ends in none.
template <class Action>
std::string refusalOf(Action&& action) {
    try {
        action();
    } catch (const rxArchive::Errors& error) {
        return error.message();
    }
    return "";
}

std::vector<long> withSize(std::size_t size) {
    return std::vector<long>(size, -1);
}

// ---------------------------------------------------------------- encoding of the primitives

TEST(Archive, TruthValueIsOneByte) {
    EXPECT_EQ(stored(false, true), (ByteVector{0, 1}));
    EXPECT_FALSE(loaded<bool>(ByteVector{0}, true));
    EXPECT_TRUE(loaded<bool>(ByteVector{1}));
}

TEST(Archive, EveryOtherByteIsRefusedAsTruthValue) {
    for (unsigned byte = 2; byte < 256; ++byte) {
        bool value = true;
        const ByteVector bytes = {static_cast<unsigned char>(byte)};
        rxMemoryLoadArchive ar(bytes);
        EXPECT_THAT(refusalOf([&] { ar || value; }), HasSubstr("not " + std::to_string(byte)));
        EXPECT_TRUE(value);
    }
}

TEST(Archive, UnsignedCharIsOneByte) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto value = static_cast<unsigned char>(byte);
        EXPECT_EQ(stored(value), ByteVector{value});
        EXPECT_EQ(loaded<unsigned char>(ByteVector{value}), value);
    }
}

TEST(Archive, IntegersAreFourLittleEndianBytes) {
    EXPECT_EQ(stored(0x01020304), (ByteVector{4, 3, 2, 1}));
    EXPECT_EQ(stored(0x01020304L), (ByteVector{4, 3, 2, 1}));
    EXPECT_EQ(stored(0xfedcba98UL), (ByteVector{0x98, 0xba, 0xdc, 0xfe}));
    EXPECT_EQ(stored(-2), (ByteVector{0xfe, 0xff, 0xff, 0xff}));
    EXPECT_EQ(stored(-2L), (ByteVector{0xfe, 0xff, 0xff, 0xff}));
    EXPECT_EQ(stored(kSmallestLong), (ByteVector{0, 0, 0, 0x80}));
    EXPECT_EQ(stored(kLargestLong), (ByteVector{0xff, 0xff, 0xff, 0x7f}));
    EXPECT_EQ(stored(kLargestUnsigned), (ByteVector{0xff, 0xff, 0xff, 0xff}));
}

TEST(Archive, IntegersComeBack) {
    for (const long value : {kSmallestLong, -65536L, -1L, 0L, 1L, 255L, 256L, kLargestLong}) {
        EXPECT_EQ(loaded<long>(stored(value)), value);
        EXPECT_EQ(loaded<int>(stored(static_cast<int>(value))), value);
    }
    for (const unsigned long value : {0UL, 1UL, 2147483648UL, kLargestUnsigned}) {
        EXPECT_EQ(loaded<unsigned long>(stored(value)), value);
    }
}

TEST(Archive, ValuesBeyond32BitsAreRefusedWhenStored) {
    if constexpr (sizeof(long) > 4) {
        EXPECT_THAT(refusalOf([] { stored(kLargestLong + 1); }),
                    HasSubstr("long value 2147483648"));
        EXPECT_THAT(refusalOf([] { stored(kSmallestLong - 1); }), HasSubstr("-2147483649"));
        EXPECT_THAT(refusalOf([] { stored(kLargestUnsigned + 1); }), HasSubstr("4294967296"));
    }
}

TEST(Archive, RefusedValueWritesNothing) {
    if constexpr (sizeof(long) > 4) {
        rxMemoryStoreArchive ar;
        long tooLarge = kLargestLong + 1;
        EXPECT_THROW(ar || tooLarge, rxArchive::Errors);
        EXPECT_TRUE(ar.stored().empty());
    }
}

TEST(Archive, DoubleIsItsEightBytesFromTheLowest) {
    EXPECT_EQ(stored(1.0), (ByteVector{0, 0, 0, 0, 0, 0, 0xf0, 0x3f}));
    EXPECT_EQ(stored(-0.0), (ByteVector{0, 0, 0, 0, 0, 0, 0, 0x80}));
    EXPECT_EQ(stored(0.1), (ByteVector{0x9a, 0x99, 0x99, 0x99, 0x99, 0x99, 0xb9, 0x3f}));
}

TEST(Archive, EveryDoubleKeepsItsBits) {
    using Limits = std::numeric_limits<double>;
    const double payload = std::bit_cast<double>(std::uint64_t{0x7ff8'0000'dead'beef});
    const double signalling = std::bit_cast<double>(std::uint64_t{0xfff0'0000'0000'0001});
    for (const double value :
         {0.0, -0.0, Limits::min(), Limits::denorm_min(), Limits::max(), Limits::lowest(),
          Limits::infinity(), -Limits::infinity(), payload, signalling}) {
        const double back = loaded<double>(stored(value));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value));
    }
}

TEST(Archive, CallsChainInBothDirections) {
    const ByteVector bytes = stored(true, 7, -8L, 9UL, 0.5, static_cast<unsigned char>(10));
    EXPECT_EQ(bytes.size(), 1U + 4 + 4 + 4 + 8 + 1);
    bool truth = false;
    int number = 0;
    long signedLong = 0;
    unsigned long unsignedLong = 0;
    double real = 0;
    unsigned char byte = 0;
    rxMemoryLoadArchive ar(bytes);
    ar || truth || number || signedLong || unsignedLong || real || byte;
    EXPECT_TRUE(truth);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(signedLong, -8);
    EXPECT_EQ(unsignedLong, 9U);
    EXPECT_EQ(real, 0.5);
    EXPECT_EQ(byte, 10);
    EXPECT_EQ(ar.bytesLeft(), 0U);
}

TEST(Archive, DirectionIsFixedAndTold) {
    rxMemoryStoreArchive storing;
    EXPECT_TRUE(storing.isStoring());
    EXPECT_FALSE(storing.isLoading());
    rxMemoryLoadArchive loading(std::span<const unsigned char>{});
    EXPECT_TRUE(loading.isLoading());
    EXPECT_FALSE(loading.isStoring());
    static_assert(!std::is_copy_constructible_v<rxMemoryLoadArchive>);
    static_assert(!std::is_copy_assignable_v<rxMemoryLoadArchive>);
    static_assert(!std::is_constructible_v<rxMemoryLoadArchive, ByteVector>, "bytes would be gone");
}

TEST(Archive, ShiftReadsAnUnsignedValueFromALoadingArchiveOnly) {
    unsigned long value = 0;
    const ByteVector bytes = stored(3UL, 4UL);
    rxMemoryLoadArchive loading(bytes);
    unsigned long second = 0;
    loading >> value >> second;
    EXPECT_EQ(value, 3U);
    EXPECT_EQ(second, 4U);
    rxMemoryStoreArchive storing;
    EXPECT_THAT(refusalOf([&] { storing >> value; }), HasSubstr("storing archive"));
    EXPECT_TRUE(storing.stored().empty());
}

TEST(Archive, FailedLoadOfAPrimitiveKeepsItsValue) {
    const ByteVector bytes = {1, 2, 3};
    rxMemoryLoadArchive ar(bytes);
    long value = 42;
    EXPECT_EQ(refusalOf([&] { ar || value; }),
              "the archive ends early: 4 bytes expected at byte 0, 3 left");
    EXPECT_EQ(value, 42);
    double real = 4.5;
    EXPECT_THROW(ar || real, rxArchive::Errors);
    EXPECT_EQ(real, 4.5);
}

TEST(Archive, PrimitivesSurviveTampering) {
    expectTamperingHandled(stored(true, 7, -8L, 9UL, 0.5), [](rxArchive& ar) {
        bool truth = false;
        int number = 0;
        long signedLong = 0;
        unsigned long unsignedLong = 0;
        double real = 0;
        ar || truth || number || signedLong || unsignedLong || real;
    });
}

TEST(Archive, DamagedTruthValueIsNoticedWheneverItIsNoOther) {
    const std::size_t noticed = expectTamperingHandled(stored(true), [](rxArchive& ar) {
        bool truth = false;
        ar || truth;
    });
    EXPECT_EQ(noticed, 8U);  // of the nine damages only "1 becomes 0" is another truth value
}

TEST(Archive, StoringDoesNotWriteToItsArguments) {
    // These lie in memory that cannot be written.
    static constexpr bool kTruth = true;
    static constexpr long kNumber = -7;
    static constexpr double kReal = 0.5;
    rxMemoryStoreArchive ar;
    ar || const_cast<bool&>(kTruth) || const_cast<long&>(kNumber) || const_cast<double&>(kReal);
    EXPECT_EQ(ar.stored(), stored(true, -7L, 0.5));
}

// ---------------------------------------------------------------- containers

TEST(ArchiveVector, IsAVersionByteACountAndTheElements) {
    EXPECT_EQ(stored(std::vector<long>{5, -1}),
              (ByteVector{0, 2, 0, 0, 0, 5, 0, 0, 0, 0xff, 0xff, 0xff, 0xff}));
    EXPECT_EQ(stored(std::vector<double>{}), (ByteVector{0, 0, 0, 0, 0}));
    EXPECT_EQ(stored(ByteVector{9, 8}), (ByteVector{0, 2, 0, 0, 0, 9, 8}));
}

TEST(ArchiveVector, ComesBack) {
    for (const std::size_t size : {0U, 1U, 2U, 1000U}) {
        EXPECT_EQ(loaded<std::vector<long>>(stored(withSize(size))), withSize(size));
    }
    const std::vector<std::vector<double>> nested = {{1.5}, {}, {2.5, -3.5}};
    EXPECT_EQ(loaded<std::vector<std::vector<double>>>(stored(nested)), nested);
    const ByteVector raw = {1, 2, 3};
    EXPECT_EQ(loaded<ByteVector>(stored(raw), ByteVector{7}), raw);
}

TEST(ArchiveVector, LoadReplacesTheOldElements) {
    EXPECT_EQ(loaded(stored(std::vector<long>{5}), withSize(10)), std::vector<long>{5});
}

TEST(ArchiveVector, OtherVersionByteIsUnknownWithoutSource) {
    std::vector<long> values;
    const ByteVector bytes = {1, 0, 0, 0, 0};
    rxMemoryLoadArchive ar(bytes);
    try {
        ar || values;
        FAIL() << "version 1 was accepted";
    } catch (const rxArchive::UnknownVersion& error) {
        EXPECT_EQ(error.source(), nullptr);
        EXPECT_EQ(error.line(), 0);
    }
}

TEST(ArchiveVector, CountIsComparedWithTheBytesLeft) {
    ByteVector bytes = stored(withSize(3));
    bytes[1] = 4;  // one element more than there is room for
    std::vector<long> values = {7};
    rxMemoryLoadArchive ar(bytes);
    EXPECT_EQ(
        refusalOf([&] { ar || values; }),
        "the archive announces 4 elements of at least 4 bytes each, but only 12 bytes are left");
    EXPECT_EQ(values, std::vector<long>{7});
}

TEST(ArchiveVector, HostileCountTakesNoMemory) {
    const ByteVector bytes = {0, 0xff, 0xff, 0xff, 0xff, 1, 2, 3, 4};
    std::vector<double> values;
    rxMemoryLoadArchive ar(bytes);
    const AllocationMeter meter;
    EXPECT_THROW(ar || values, rxArchive::Errors);
    EXPECT_LE(meter.largest(), 4096U);
}

TEST(ArchiveVector, HostileCountTakesLittleMemoryWhereTheLengthIsUnknown) {
    const ByteVector bytes = {0, 0xff, 0xff, 0xff, 0xff, 1, 2, 3, 4};
    ptmatch::testing::PipeStream pipe(bytes);
    rxStreamLoadArchive ar(pipe);
    ASSERT_FALSE(ar.bytesLeft().has_value());
    const AllocationMeter meter;
    std::vector<unsigned char> values;
    EXPECT_THROW(ar || values, rxArchive::Errors);
    EXPECT_LE(meter.largest(), 65536U);
}

TEST(ArchiveVector, LargeVectorComesThroughAStreamOfUnknownLength) {
    std::vector<unsigned char> raw(300000);
    for (std::size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<unsigned char>(i * 7);
    const ByteVector bytes = stored(raw);
    ptmatch::testing::PipeStream pipe(bytes);
    rxStreamLoadArchive ar(pipe);
    std::vector<unsigned char> back;
    ar || back;
    EXPECT_EQ(back, raw);
}

/// Far larger in memory than in its record, a single byte that must be 0.
struct Bulky {
    char ballast[4096] = {};
};
rxArchive& operator||(rxArchive& ar, Bulky& /*bulky*/) {
    unsigned char byte = 0;
    ar || byte;
    if (byte != 0) throw rxArchive::Errors("a bulky object is recorded as 0");
    return ar;
}

TEST(ArchiveVector, MemoryGrowsWithTheElementsThatWereRead) {
    ByteVector bytes = stored(std::vector<Bulky>(1000));
    ASSERT_EQ(bytes.size(), 1005U);
    EXPECT_EQ(loaded<std::vector<Bulky>>(bytes).size(), 1000U);
    bytes[5 + 3] = 1;  // the fourth element is bad, so room for 1000 would be taken in vain
    rxMemoryLoadArchive ar(bytes);
    std::vector<Bulky> values;
    const AllocationMeter meter;
    EXPECT_THROW(ar || values, rxArchive::Errors);
    EXPECT_LE(meter.largest(), 8 * sizeof(Bulky));
}

TEST(ArchiveVector, ReservationNeverExceedsTheBytesLeft) {
    const ByteVector bytes(100);
    rxMemoryLoadArchive known(bytes);
    EXPECT_EQ(ptmatch::detail::reservableElements(known, 1000, 8), 12U);
    EXPECT_EQ(ptmatch::detail::reservableElements(known, 5, 8), 5U);
    ptmatch::testing::PipeStream pipe(bytes);
    rxStreamLoadArchive unknown(pipe);
    EXPECT_EQ(ptmatch::detail::reservableElements(unknown, 1000, 8), 0U);
}

TEST(ArchiveVector, MoreElementsThanACountHoldsAreRefusedBeforeAnythingIsWritten) {
    rxMemoryStoreArchive ar;
    EXPECT_THAT(
        refusalOf([&] { ptmatch::detail::passContainerHead(ar, std::uint64_t{4294967296}, 1); }),
        HasSubstr("4294967296"));
    EXPECT_TRUE(ar.stored().empty());
    ptmatch::detail::passContainerHead(ar, kLargestUnsigned, 1);
    EXPECT_EQ(ar.stored(), (ByteVector{0, 0xff, 0xff, 0xff, 0xff}));
}

TEST(ArchiveVector, SurvivesTampering) {
    const std::vector<std::vector<long>> values = {{1, 2, 3}, {}, {-1}};
    expectTamperingHandled(stored(values), [](rxArchive& ar) {
        std::vector<std::vector<long>> fresh;
        ar || fresh;
    });
}

TEST(ArchiveVector, FailedLoadKeepsTheOldElements) {
    const std::vector<std::vector<long>> values = {{1, 2, 3}, {-1}};
    const ByteVector bytes = stored(values);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        std::vector<std::vector<long>> target = {{8}};
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || target, rxArchive::Errors);
        EXPECT_EQ(target, (std::vector<std::vector<long>>{{8}}));
    }
}

TEST(ArchiveString, IsRecordedAsAContainerOfBytes) {
    const std::string text("a\0\xff", 3);
    EXPECT_EQ(stored(text), (ByteVector{0, 3, 0, 0, 0, 'a', 0, 0xff}));
    EXPECT_EQ(loaded<std::string>(stored(text)), text);
    EXPECT_EQ(loaded<std::string>(stored(std::string()), "old"), "");
    EXPECT_EQ(loaded<std::vector<std::string>>(stored(std::vector<std::string>{"x", "yz"})),
              (std::vector<std::string>{"x", "yz"}));
}

TEST(ArchiveString, SurvivesTampering) {
    expectTamperingHandled(stored(std::string("some text")), [](rxArchive& ar) {
        std::string fresh;
        ar || fresh;
    });
}

// ---------------------------------------------------------------- raw bytes and counts

TEST(ArchiveBytes, AreStoredAsTheyAre) {
    ByteVector block = {3, 1, 2};
    rxMemoryStoreArchive storing;
    storing.bytes(block).bytes({});
    EXPECT_EQ(storing.stored(), block);
    rxMemoryLoadArchive loading(block);
    EXPECT_EQ(loading.loadBytes(2), (ByteVector{3, 1}));
    EXPECT_EQ(loading.loadBytes(0), ByteVector());
    EXPECT_EQ(loading.loadBytes(1), ByteVector{2});
}

TEST(ArchiveBytes, MoreThanAreLeftAreRefused) {
    const ByteVector bytes = {1, 2};
    rxMemoryLoadArchive ar(bytes);
    EXPECT_THROW(ar.loadBytes(3), rxArchive::Errors);
    EXPECT_THROW(ar.loadBytes(std::numeric_limits<std::uint64_t>::max()), rxArchive::Errors);
    EXPECT_EQ(ar.loadBytes(2), bytes);
    rxMemoryStoreArchive storing;
    EXPECT_THROW(storing.loadBytes(1), rxArchive::Errors);
}

TEST(ArchiveBytes, ExpectedElementsAreCheckedWithoutOverflow) {
    const ByteVector bytes(16);
    rxMemoryLoadArchive ar(bytes);
    EXPECT_NO_THROW(ar.expectElements(2, 8, "points"));
    EXPECT_THAT(refusalOf([&] { ar.expectElements(3, 8, "points"); }), HasSubstr("3 points"));
    const auto huge = std::numeric_limits<std::uint64_t>::max();
    EXPECT_THROW(ar.expectElements(huge, huge, "points"), rxArchive::Errors);
    EXPECT_NO_THROW(ar.expectElements(0, huge, "points"));
}

// ---------------------------------------------------------------- nesting

/// A record that can contain itself, to any depth that the archive allows.
struct Chain {
    std::vector<Chain> inner;
};
rxArchive& operator||(rxArchive& ar, Chain& chain) {
    return ar || chain.inner;
}

Chain chainOf(int depth) {
    Chain chain;
    for (int i = 1; i < depth; ++i) {
        Chain outer;
        outer.inner.push_back(std::move(chain));
        chain = std::move(outer);
    }
    return chain;
}

TEST(ArchiveNesting, IsAllowedUpToTheLimit) {
    const ByteVector bytes = stored(chainOf(rxArchive::kMaxNesting));
    const Chain back = loaded<Chain>(bytes);
    EXPECT_EQ(stored(back), bytes);
}

TEST(ArchiveNesting, BeyondTheLimitIsRefusedWhenStored) {
    EXPECT_THAT(refusalOf([] { stored(chainOf(rxArchive::kMaxNesting + 1)); }),
                HasSubstr("more than 32 records"));
}

TEST(ArchiveNesting, BeyondTheLimitIsRefusedWhenLoaded) {
    ByteVector bytes;
    for (int i = 0; i < 100000; ++i) bytes.insert(bytes.end(), {0, 1, 0, 0, 0});
    EXPECT_THAT(refusalOf([&] { loaded<Chain>(bytes); }), HasSubstr("more than 32 records"));
}

TEST(ArchiveNesting, EndsWithTheRecordAlsoWhenItFails) {
    rxMemoryStoreArchive ar;
    Chain tooDeep = chainOf(rxArchive::kMaxNesting + 1);
    EXPECT_THROW(ar || tooDeep, rxArchive::Errors);
    Chain allowed = chainOf(rxArchive::kMaxNesting);
    EXPECT_NO_THROW(ar || allowed);
}

TEST(ArchiveNesting, GuardsCountPerArchive) {
    rxMemoryStoreArchive full;
    std::vector<std::unique_ptr<rxArchive::NestingGuard>> guards;
    guards.reserve(rxArchive::kMaxNesting);
    for (int i = 0; i < rxArchive::kMaxNesting; ++i) {
        guards.push_back(std::make_unique<rxArchive::NestingGuard>(full));
    }
    EXPECT_THROW(rxArchive::NestingGuard{full}, rxArchive::Errors);
    rxMemoryStoreArchive other;
    EXPECT_NO_THROW(rxArchive::NestingGuard{other});
    guards.pop_back();
    EXPECT_NO_THROW(rxArchive::NestingGuard{full});
}

// ---------------------------------------------------------------- what an archive accepts

template <class T>
concept Archivable = requires(rxArchive& ar, T& value) {
    ar || value;
};

TEST(Archive, TypesWithoutARecordDoNotCompile) {
    static_assert(Archivable<bool> && Archivable<int> && Archivable<long> &&
                  Archivable<unsigned long> && Archivable<double> && Archivable<unsigned char>);
    static_assert(!Archivable<float> && !Archivable<char> && !Archivable<short> &&
                  !Archivable<unsigned> && !Archivable<long long> && !Archivable<const int>);
}

}  // namespace
