#include "foundation/memory_archive.h"

#include <gtest/gtest.h>

#include "support/archive_bytes.h"

using ptmatch::testing::ByteVector;
using ptmatch::testing::stored;

namespace {

TEST(MemoryArchive, HoldsTheRecordsAndNothingElse) {
    rxMemoryStoreArchive ar;
    EXPECT_TRUE(ar.stored().empty());
    unsigned char value = 5;
    ar || value;
    EXPECT_EQ(ar.stored(), ByteVector{5});
    EXPECT_EQ(ar.bytesLeft(), std::nullopt);
}

TEST(MemoryArchive, StartsAnewAfterItsBytesAreTaken) {
    rxMemoryStoreArchive ar;
    unsigned char value = 5;
    ar || value;
    EXPECT_EQ(ar.takeStored(), ByteVector{5});
    EXPECT_TRUE(ar.stored().empty());
    value = 6;
    ar || value;
    EXPECT_EQ(ar.stored(), ByteVector{6});
}

TEST(MemoryArchive, CountsWhatIsLeft) {
    const ByteVector bytes = stored(1L, 2L);
    rxMemoryLoadArchive ar(bytes);
    EXPECT_EQ(ar.bytesLeft(), 8U);
    long value = 0;
    ar || value;
    EXPECT_EQ(ar.bytesLeft(), 4U);
    EXPECT_EQ(ar.position(), 4U);
    ar || value;
    EXPECT_EQ(ar.bytesLeft(), 0U);
}

TEST(MemoryArchive, RefusedReadConsumesNothing) {
    const ByteVector bytes = {7, 7};
    rxMemoryLoadArchive ar(bytes);
    long value = 0;
    EXPECT_THROW(ar || value, rxArchive::Errors);
    EXPECT_EQ(ar.position(), 0U);
    unsigned char byte = 0;
    ar || byte;
    EXPECT_EQ(byte, 7);
}

TEST(MemoryArchive, EmptyInputIsRefusedForEveryPrimitive) {
    rxMemoryLoadArchive ar(std::span<const unsigned char>{});
    unsigned char byte = 1;
    EXPECT_THROW(ar || byte, rxArchive::Errors);
    EXPECT_EQ(byte, 1);
}

// Records ask for the direction first; what derives from an archive can do otherwise.
TEST(MemoryArchive, GoesOneWayOnly) {
    struct Store : rxMemoryStoreArchive {
        using rxMemoryStoreArchive::read_;
    } storing;
    struct Load : rxMemoryLoadArchive {
        using rxMemoryLoadArchive::rxMemoryLoadArchive;
        using rxMemoryLoadArchive::write_;
    } loading{std::span<const unsigned char>{}};
    unsigned char byte = 1;
    EXPECT_THROW(storing.read_({&byte, 1}), rxArchive::Errors);
    EXPECT_THROW(loading.write_({&byte, 1}), rxArchive::Errors);
    EXPECT_EQ(byte, 1);
}

}  // namespace
