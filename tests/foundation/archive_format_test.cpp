// The examples of docs/archive_format.md, compared with what the library writes.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/attention.h"
#include "foundation/exception.h"
#include "foundation/fitter.h"
#include "foundation/geometry_archive.h"
#include "foundation/image.h"
#include "support/archive_bytes.h"
#include "support/documented_bytes.h"

using ptmatch::testing::documentedBytes;
using ptmatch::testing::stored;

namespace {

/// The class name at the head of the object's polymorphic record.
std::string recordedName(const rxPersistent& object) {
    rxMemoryStoreArchive ar;
    rfStorePolymorphic(ar, object);
    return ptmatch::testing::loaded<std::string>(ar.stored());
}

TEST(ArchiveFormat, PrimitivesAreAsDocumented) {
    EXPECT_EQ(stored(true, -2L, 4275878552UL, 1.0), documentedBytes("primitives"));
}

TEST(ArchiveFormat, VectorIsAsDocumented) {
    EXPECT_EQ(stored(std::vector<long>{5, -1}), documentedBytes("vector of int32"));
}

TEST(ArchiveFormat, RangesAreAsDocumented) {
    EXPECT_EQ(stored(rxRange(-0.5, 2.0), rxRange::FullRange(), rxAngleRange()),
              documentedBytes("ranges"));
}

TEST(ArchiveFormat, PolymorphicExceptionIsAsDocumented) {
    rxMemoryStoreArchive ar;
    rfStorePolymorphic(ar, rxMathError("hi"));
    EXPECT_EQ(ar.stored(), documentedBytes("polymorphic exception"));
}

TEST(ArchiveFormat, ImageIsAsDocumented) {
    rxPelBuffer<short> image(2, 1, 32);
    image.put(0, 0, 258);
    image.put(1, 0, -1);
    image.offset(rxPair<long>(5, -6));
    image.clientFromImageXform(rxXform<2>(rxMatrix<2>(), rxVector<2>(1.0, 0.0)));
    EXPECT_EQ(stored(image), documentedBytes("image"));
}

TEST(ArchiveFormat, RegisteredNamesAreAsDocumented) {
    EXPECT_EQ(recordedName(rxMathError("")), "rxMathError");
    EXPECT_EQ(recordedName(rxArchive::Errors("")), "rxArchive::Errors");
    EXPECT_EQ(recordedName(rxArchive::UnknownVersion("", 0)), "rxArchive::UnknownVersion");
    EXPECT_EQ(recordedName(rxAttention::Interrupted("")), "rxAttention::Interrupted");
    EXPECT_EQ(recordedName(rxLSPointToPointFitter::Errors("")), "rxLSPointToPointFitter::Errors");
    EXPECT_EQ(recordedName(rx_PelBuffer::Errors("")), "rx_PelBuffer::Errors");
}

}  // namespace
