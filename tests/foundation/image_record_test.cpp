#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/geometry_archive.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "support/allocation_meter.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

using ptmatch::testing::AllocationMeter;
using ptmatch::testing::ByteVector;
using ptmatch::testing::expectTamperingHandled;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;

namespace {

// Version, kind, size, offset and transform.
constexpr std::size_t kHeadSize = 1 + 1 + 8 + 8 + 48;

// 2 by 3 pixels with the extremes of the type, some way into a larger image.
template <class T>
rxPelBuffer<T> sampleImage() {
    rxPelBuffer<T> image(5, 6, 32);
    rfPelSet(image, 99);
    image.clientFromImageXform(
        rxXform<2>(rxVector<2>(1.5, -2.25), rxRadian(0), rxRadian(0), 2.0, 4.0));
    image.window(1, 2, 2, 3, false);
    T value = 0;
    for (long y = 2; y < 5; ++y) {
        for (long x = 1; x < 3; ++x) image.put(x, y, value++);
    }
    using Limits = std::numeric_limits<std::conditional_t<std::is_same_v<T, long>, int, T>>;
    image.put(1, 2, Limits::min());
    image.put(2, 4, Limits::max());
    return image;
}

template <class A, class B>
void expectSameImage(const A& a, const B& b) {
    ASSERT_EQ(a.size(), b.size());
    EXPECT_EQ(a.offset(), b.offset());
    EXPECT_EQ(a.clientFromImageXform(), b.clientFromImageXform());
    for (long y = 0; y < a.height(); ++y) {
        for (long x = 0; x < a.width(); ++x) {
            EXPECT_EQ(a.pointToRow(y)[x], b.pointToRow(y)[x]) << x << ", " << y;
        }
    }
}

ByteVector head(unsigned char kind, long width, long height) {
    return joined({{0, kind}, stored(width, height, 0L, 0L), stored(1.0, 0.0, 0.0, 1.0, 0.0, 0.0)});
}

template <class T>
class ImageRecordOf : public testing::Test {};
using PixelTypes = testing::Types<unsigned char, short, unsigned short, int, unsigned int, long>;
TYPED_TEST_SUITE(ImageRecordOf, PixelTypes);

TYPED_TEST(ImageRecordOf, BringsTheViewBack) {
    const rxPelBuffer<TypeParam> image = sampleImage<TypeParam>();
    const ByteVector bytes = stored(image);
    EXPECT_EQ(bytes.size(), kHeadSize + 6 * std::min<std::size_t>(sizeof(TypeParam), 4));
    expectSameImage(loaded<rxPelBuffer<TypeParam>>(bytes), image);
    expectSameImage(loaded<rxPelBuffer_const<TypeParam>>(bytes), image);
    EXPECT_EQ(stored(rxPelBuffer_const<TypeParam>(image)), bytes);
}

TYPED_TEST(ImageRecordOf, LoadedImageIsTheWholeOfItsStore) {
    auto image = loaded<rxPelBuffer<TypeParam>>(stored(sampleImage<TypeParam>()));
    EXPECT_EQ(image.rowUpdate(), 2);
    image.setEntire();
    EXPECT_EQ(image.size(), rxPair<long>(2, 3));
    EXPECT_EQ(image.offset(), rxPair<long>(1, 2));
}

TYPED_TEST(ImageRecordOf, EmptyImagesComeBack) {
    using Image = rxPelBuffer<TypeParam>;
    for (const Image& image : {Image(), Image(0, 5, 32), Image(5, 0, 32)}) {
        const ByteVector bytes = stored(image);
        EXPECT_EQ(bytes.size(), kHeadSize);
        expectSameImage(loaded<Image>(bytes, sampleImage<TypeParam>()), image);
    }
}

TYPED_TEST(ImageRecordOf, TamperingIsHandled) {
    const std::size_t noticed =
        expectTamperingHandled(stored(sampleImage<TypeParam>()), [](rxArchive& ar) {
            rxPelBuffer<TypeParam> fresh;
            ar || fresh;
        });
    // At the least every damage to the version and to the kind.
    EXPECT_GE(noticed, 2 * 9U);
}

TEST(ImageRecord, IsLittleEndianByteForByte) {
    rxPelBuffer<short> image(2, 1, 32);
    image.put(0, 0, 0x0102);
    image.put(1, 0, -2);
    image.offset(rxPair<long>(-1, 3));
    const ByteVector bytes = stored(image);
    EXPECT_EQ(ByteVector(bytes.begin(), bytes.begin() + 18),
              (ByteVector{0, 2, 2, 0, 0, 0, 1, 0, 0, 0, 255, 255, 255, 255, 3, 0, 0, 0}));
    EXPECT_EQ(ByteVector(bytes.begin() + 18, bytes.begin() + 66), stored(rxXform<2>()));
    EXPECT_EQ(ByteVector(bytes.begin() + 66, bytes.end()), (ByteVector{2, 1, 254, 255}));
}

// A record may say that an image of no rows is two thousand million pixels wide.
TEST(ImageRecord, WideImageWithoutRowsIsStoredInNoMemory) {
    const ByteVector bytes = head(4, 2147483647, 0);
    const auto image = loaded<rxPelBuffer<long>>(bytes);
    EXPECT_EQ(image.size(), rxPair<long>(2147483647, 0));
    const ptmatch::testing::AllocationMeter meter;
    EXPECT_EQ(stored(image), bytes);
    EXPECT_LT(meter.largest(), 10000U);
}

TEST(ImageRecord, KindsAreNumberedByPixelType) {
    EXPECT_EQ(stored(rxPelBuffer<unsigned char>())[1], 1);
    EXPECT_EQ(stored(rxPelBuffer<short>())[1], 2);
    EXPECT_EQ(stored(rxPelBuffer<unsigned short>())[1], 3);
    EXPECT_EQ(stored(rxPelBuffer<int>())[1], 4);
    EXPECT_EQ(stored(rxPelBuffer<long>())[1], 4);
    EXPECT_EQ(stored(rxPelBuffer<unsigned int>())[1], 5);
}

TEST(ImageRecord, PassesThroughTheUntypedBase) {
    rxPelBuffer<unsigned short> image = sampleImage<unsigned short>();
    rxMemoryStoreArchive storing;
    rx_PelBuffer& source = image;
    storing || source;
    rxPelBuffer<unsigned short> fresh;
    rx_PelBuffer& target = fresh;
    rxMemoryLoadArchive loading(storing.stored());
    loading || target;
    expectSameImage(fresh, image);
}

TEST(ImageRecord, IntAndLongPixelsAreRecordedAlike) {
    const rxPelBuffer<long> labels = sampleImage<long>();
    expectSameImage(loaded<rxPelBuffer<int>>(stored(labels)), labels);
}

TEST(ImageRecord, AnotherKindOfPixelsIsRefusedAndTheImageStays) {
    rxPelBuffer<short> image = sampleImage<short>();
    const ByteVector bytes = stored(sampleImage<unsigned short>());
    rxMemoryLoadArchive ar(bytes);
    EXPECT_THROW(ar || image, rxArchive::Errors);
    expectSameImage(image, sampleImage<short>());
}

TEST(ImageRecord, EveryCutLeavesTheImage) {
    const ByteVector bytes = stored(rxPelBuffer<unsigned char>(4, 0, 1), sampleImage<short>());
    for (std::size_t length = kHeadSize; length < bytes.size(); ++length) {
        rxPelBuffer<unsigned char> first;
        rxPelBuffer<short> second = sampleImage<short>();
        second.offset(rxPair<long>(8, 8));
        const void* pixels = second.pointToRow(0);
        const std::span cut = std::span(bytes).first(length);
        rxMemoryLoadArchive ar(cut);
        EXPECT_THROW(ar || first || second, rxArchive::Errors);
        EXPECT_EQ(first.width(), 4);
        EXPECT_EQ(second.offset(), rxPair<long>(8, 8));
        EXPECT_EQ(second.pointToRow(0), pixels);
    }
}

TEST(ImageRecord, UnknownVersionIsRefused) {
    ByteVector bytes = stored(sampleImage<short>());
    bytes[0] = 1;
    rxPelBuffer<short> image;
    rxMemoryLoadArchive ar(bytes);
    EXPECT_THROW(ar || image, rxArchive::UnknownVersion);
}

TEST(ImageRecord, NegativeSizesAreRefused) {
    for (const auto& [width, height] : {std::pair(-1L, 1L), {1L, -1L}, {-1L, -1L}}) {
        const ByteVector bytes = joined({head(1, width, height), ByteVector(16)});
        EXPECT_THROW(loaded<rxPelBuffer<unsigned char>>(bytes), rxArchive::Errors);
    }
}

TEST(ImageRecord, AnnouncedPixelsThatAreNotThereTakeNoMemory) {
    const AllocationMeter meter;
    for (const auto& [width, height] :
         {std::pair(2147483647L, 2147483647L), {2147483647L, 1L}, {1L, 2147483647L}, {17L, 1L}}) {
        const ByteVector bytes = joined({head(1, width, height), ByteVector(16)});
        EXPECT_THROW(loaded<rxPelBuffer<unsigned char>>(bytes), rxArchive::Errors);
    }
    EXPECT_LE(meter.largest(), 1024U) << "records of a few bytes and messages";
}

TEST(ImageRecord, ThinImageTakesMemoryInProportionToItsPixels) {
    const ByteVector bytes = joined({head(1, 1, 10000), ByteVector(10000, 7)});
    const AllocationMeter meter;
    const auto image = loaded<rxPelBuffer<unsigned char>>(bytes);
    EXPECT_EQ(image.get(0, 9999), 7);
    EXPECT_LE(meter.largest(), 16384U);
}

TEST(ImageRecord, LongPixelBeyond32BitsIsNotStored) {
    rxPelBuffer<long> image(1, 1, 32);
    for (const long value : {2147483648L, -2147483649L}) {
        image.put(0, 0, value);
        EXPECT_THROW(stored(image), rxArchive::Errors);
    }
    image.put(0, 0, -2147483648L);
    EXPECT_EQ(loaded<rxPelBuffer<long>>(stored(image)).get(0, 0), -2147483648L);
}

TEST(ImageRecord, ErrorsTravelThroughTheRegistry) {
    rxMemoryStoreArchive storing;
    rfStorePolymorphic(storing, rx_PelBuffer::Errors("no such pixel"));
    rxMemoryLoadArchive loading(storing.stored());
    const std::unique_ptr<rxPersistent> error = rfLoadPolymorphic(loading);
    const auto* typed = dynamic_cast<const rx_PelBuffer::Errors*>(error.get());
    ASSERT_NE(typed, nullptr);
    EXPECT_EQ(typed->message(), "no such pixel");
}

}  // namespace
