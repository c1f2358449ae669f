#include "foundation/image.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <new>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/allocation_meter.h"

using ptmatch::testing::AllocationMeter;

namespace {

using Errors = rx_PelBuffer::Errors;

// Every pixel tells its column and row in the whole image.
rxPelBuffer<short> numberedImage(long width, long height) {
    rxPelBuffer<short> image(width, height, 32);
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) image.put(x, y, static_cast<short>(100 * y + x));
    }
    return image;
}

struct Geometry {
    rxPair<long> size;
    rxPair<long> offset;
    const void* firstPixel;
    friend bool operator==(const Geometry&, const Geometry&) = default;
};

template <class Image>
Geometry geometryOf(const Image& image) {
    return {image.size(), image.offset(), image.pointToRow(0)};
}

template <class T>
class PelBufferOf : public testing::Test {};
using PixelTypes = testing::Types<unsigned char, short, unsigned short, int, unsigned int, long>;
TYPED_TEST_SUITE(PelBufferOf, PixelTypes);

TYPED_TEST(PelBufferOf, RowsAreAlignedAsAsked) {
    for (const long alignment : {1L, 2L, 4L, 8L, 16L, 32L, 64L, 4096L}) {
        for (const long width : {1L, 7L, 32L, 33L}) {
            rxPelBuffer<TypeParam> image(width, 3, alignment);
            EXPECT_GE(image.rowUpdate(), width);
            for (long y = 0; y < 3; ++y) {
                const auto address = reinterpret_cast<std::uintptr_t>(image.pointToRow(y));
                EXPECT_EQ(address % static_cast<std::uintptr_t>(alignment), 0U);
                EXPECT_EQ(image.pointToRow(y), image.pointToRow(0) + y * image.rowUpdate());
            }
            const long rowBytes = image.rowUpdate() * static_cast<long>(sizeof(TypeParam));
            EXPECT_EQ(rowBytes % alignment, 0);
            EXPECT_LT(rowBytes - width * static_cast<long>(sizeof(TypeParam)),
                      std::max(alignment, static_cast<long>(sizeof(TypeParam))));
        }
    }
}

TYPED_TEST(PelBufferOf, ReadsBackWhatWasPut) {
    rxPelBuffer<TypeParam> image(3, 2, 32);
    image.put(2, 1, TypeParam{77});
    EXPECT_EQ(image.get(2, 1), TypeParam{77});
    EXPECT_EQ(image.get(rxPair<long>(2, 1)), TypeParam{77});
    EXPECT_EQ(image.pointToRow(1)[2], TypeParam{77});
    const rxPelBuffer_const<TypeParam> view = image;
    EXPECT_EQ(view.get(2, 1), TypeParam{77});
    EXPECT_EQ(view.get(rxPair<long>(2, 1)), TypeParam{77});
    EXPECT_EQ(view.pointToRow(1), image.pointToRow(1));
}

TEST(PelBuffer, DefaultImageIsEmpty) {
    const rxPelBuffer<short> image;
    EXPECT_EQ(image.size(), rxPair<long>(0, 0));
    EXPECT_EQ(image.rowUpdate(), 0);
    EXPECT_EQ(image.offset(), rxPair<long>(0, 0));
    EXPECT_EQ(image.clientFromImageXform(), rxXform<2>());
    EXPECT_THROW(image.get(0, 0), Errors);
    const rxPelBuffer_const<short> view;
    EXPECT_EQ(view.size(), rxPair<long>(0, 0));
    EXPECT_THROW(view.get(0, 0), Errors);
}

TEST(PelBuffer, NewImageHasOffsetZeroAndItsSize) {
    const rxPelBuffer<unsigned char> image(5, 4, 32);
    EXPECT_EQ(image.width(), 5);
    EXPECT_EQ(image.height(), 4);
    EXPECT_EQ(image.size(), rxPair<long>(5, 4));
    EXPECT_EQ(image.rowUpdate(), 32);
    EXPECT_EQ(image.offset(), rxPair<long>(0, 0));
}

TEST(PelBuffer, ImageWithoutPixelsKeepsItsSize) {
    for (const auto& size : {rxPair<long>(0, 5), rxPair<long>(5, 0), rxPair<long>(0, 0),
                             rxPair<long>(0, 2147483647)}) {
        rxPelBuffer<int> image(size.x(), size.y(), 32);
        EXPECT_EQ(image.size(), size);
        EXPECT_THROW(image.get(0, 0), Errors);
        image.setEntire();
        EXPECT_EQ(image.size(), size);
    }
}

TEST(PelBuffer, ImpossibleSizesAreRefusedBeforeAllocation) {
    const AllocationMeter meter;
    for (const auto& size : {rxPair<long>(-1, 1), rxPair<long>(1, -1),
                             rxPair<long>(LONG_MIN, LONG_MIN), rxPair<long>(2147483648, 1),
                             rxPair<long>(1, LONG_MAX), rxPair<long>(2147483647, 2147483647)}) {
        EXPECT_THROW(rxPelBuffer<long>(size.x(), size.y(), 32), Errors)
            << size.x() << " x " << size.y();
    }
    // One pixel more would make the distance of the rows leave 32 bits.
    EXPECT_THROW(rxPelBuffer<unsigned char>(2147483647, 0, 32), Errors);
    EXPECT_NO_THROW(rxPelBuffer<unsigned char>(2147483616, 0, 32));
    EXPECT_LE(meter.largest(), 1024U) << "messages";
}

TEST(PelBuffer, NonsenseAlignmentIsRefused) {
    for (const long alignment : {LONG_MIN, -32L, -1L, 0L, 3L, 33L, 8192L, LONG_MAX}) {
        EXPECT_THROW(rxPelBuffer<short>(4, 4, alignment), Errors) << alignment;
    }
}

TEST(PelBuffer, CopiesShareTheirPixels) {
    rxPelBuffer<short> image = numberedImage(4, 3);
    rxPelBuffer<short> copy = image;
    const rxPelBuffer_const<short> view = image;
    const rxPelBuffer_const<short> second = view;
    copy.put(1, 2, -5);
    EXPECT_EQ(image.get(1, 2), -5);
    EXPECT_EQ(view.get(1, 2), -5);
    EXPECT_EQ(second.get(1, 2), -5);
}

TEST(PelBuffer, StoreLivesAsLongAsItsLastView) {
    auto image = std::make_unique<rxPelBuffer<short>>(numberedImage(4, 3));
    const rxPelBuffer_const<short> view = *image;
    image.reset();
    EXPECT_EQ(view.get(3, 2), 203);
}

TEST(PelBuffer, AssignmentReplacesTheView) {
    rxPelBuffer<short> image = numberedImage(4, 3);
    const rxPelBuffer<short> old = image;
    image = rxPelBuffer<short>(2, 2, 32);
    image.put(0, 0, 9);
    EXPECT_EQ(image.size(), rxPair<long>(2, 2));
    EXPECT_EQ(old.get(0, 0), 0);
    EXPECT_EQ(old.size(), rxPair<long>(4, 3));
}

TEST(PelBuffer, ReadingViewsCannotWriteAndTypesDoNotMix) {
    using Row = decltype(rxPelBuffer_const<short>().pointToRow(0));
    EXPECT_TRUE((std::is_same_v<Row, const short*>));
    EXPECT_FALSE((std::is_constructible_v<rxPelBuffer<short>, rxPelBuffer_const<short>>));
    EXPECT_FALSE((std::is_constructible_v<rxPelBuffer_const<short>, rxPelBuffer<int>>));
    EXPECT_FALSE(std::is_copy_constructible_v<rx_PelBuffer>);
    EXPECT_TRUE(std::has_virtual_destructor_v<rx_PelBuffer>);
}

TEST(PelBuffer, PositionsIncludeTheOffsetAndRowsDoNot) {
    rxPelBuffer<short> image = numberedImage(4, 3);
    image.offset(rxPair<long>(-10, 20));
    EXPECT_EQ(image.get(-10, 20), 0);
    EXPECT_EQ(image.get(-7, 22), 203);
    image.put(-9, 21, 7);
    EXPECT_EQ(image.pointToRow(1)[1], 7);
}

TEST(PelBuffer, PositionsOutsideTheViewAreRefused) {
    rxPelBuffer<short> image = numberedImage(4, 3);
    image.offset(rxPair<long>(-10, 20));
    const rxPelBuffer_const<short> view = image;
    for (const auto& position :
         {rxPair<long>(-11, 20), rxPair<long>(-6, 20), rxPair<long>(-10, 19), rxPair<long>(-10, 23),
          rxPair<long>(0, 0), rxPair<long>(LONG_MAX, 20), rxPair<long>(LONG_MIN, 20),
          rxPair<long>(-10, LONG_MAX), rxPair<long>(-10, LONG_MIN)}) {
        EXPECT_THROW(image.get(position), Errors);
        EXPECT_THROW(view.get(position), Errors);
        EXPECT_THROW(image.put(position.x(), position.y(), 1), Errors);
    }
}

TEST(PelBuffer, MessageNamesThePositionAndTheImage) {
    rxPelBuffer<short> image(4, 3, 32);
    image.offset(rxPair<long>(-10, 20));
    try {
        image.get(5, 6);
        FAIL();
    } catch (const Errors& error) {
        EXPECT_STREQ(error.what(),
                     "the position (5, 6) is outside the image of 4 x 3 pixels that begins at "
                     "(-10, 20)");
    }
}

TEST(PelBuffer, OffsetBeyond32BitsIsRefused) {
    rxPelBuffer<short> image(4, 3, 32);
    image.offset(rxPair<long>(INT_MAX, INT_MIN));
    for (const auto& position : {rxPair<long>(2147483648, 0), rxPair<long>(0, -2147483649),
                                 rxPair<long>(LONG_MIN, LONG_MAX)}) {
        EXPECT_THROW(image.offset(position), Errors);
    }
    EXPECT_EQ(image.offset(), rxPair<long>(INT_MAX, INT_MIN));
}

TEST(PelBuffer, WindowKeepsThePositionsOfItsPixels) {
    const rxPelBuffer<short> image = numberedImage(10, 8);
    rxPelBuffer<short> part = image;
    EXPECT_TRUE(part.window(2, 3, 4, 5, false));
    EXPECT_EQ(part.size(), rxPair<long>(4, 5));
    EXPECT_EQ(part.offset(), rxPair<long>(2, 3));
    EXPECT_EQ(part.rowUpdate(), image.rowUpdate());
    EXPECT_EQ(part.pointToRow(0)[0], 302);
    for (long y = 3; y < 8; ++y) {
        for (long x = 2; x < 6; ++x) EXPECT_EQ(part.get(x, y), image.get(x, y));
    }
    EXPECT_THROW(part.get(1, 3), Errors);
    EXPECT_THROW(part.get(6, 3), Errors);
}

TEST(PelBuffer, WindowOfAWindowCountsFromTheInnerOne) {
    rxPelBuffer<short> part = numberedImage(10, 8);
    part.window(2, 3, 6, 5, false);
    part.window(1, 2, 2, 2, false);
    EXPECT_EQ(part.offset(), rxPair<long>(3, 5));
    EXPECT_EQ(part.pointToRow(0)[0], 503);
    EXPECT_EQ(part.get(4, 6), 604);
}

TEST(PelBuffer, WritingThroughAWindowShowsInTheWhole) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    rxPelBuffer<short> part = image;
    part.window(2, 3, 4, 5, false);
    part.put(2, 3, -1);
    EXPECT_EQ(image.get(2, 3), -1);
}

TEST(PelBuffer, WindowOutsideTheViewIsRefusedAndChangesNothing) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    image.window(1, 1, 6, 5, false);
    const Geometry before = geometryOf(image);
    const auto expectRefused = [&](long x, long y, long width, long height) {
        EXPECT_THROW(image.window(x, y, width, height, false), Errors);
        EXPECT_EQ(geometryOf(image), before);
    };
    expectRefused(-1, 0, 2, 2);
    expectRefused(0, -1, 2, 2);
    expectRefused(0, 0, 7, 5);
    expectRefused(0, 0, 6, 6);
    expectRefused(5, 0, 2, 2);
    expectRefused(7, 0, 0, 0);
    expectRefused(0, 0, -1, 1);
    expectRefused(0, 0, 1, -1);
    expectRefused(LONG_MAX, 0, LONG_MAX, 1);
    expectRefused(LONG_MIN, 0, LONG_MAX, 1);
    expectRefused(1, 0, LONG_MAX, 1);
}

TEST(PelBuffer, WindowThatMovesTheOffsetBeyond32BitsIsRefused) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    image.offset(rxPair<long>(INT_MAX - 1, 0));
    const Geometry before = geometryOf(image);
    EXPECT_THROW(image.window(2, 0, 1, 1, false), Errors);
    EXPECT_EQ(geometryOf(image), before);
    EXPECT_TRUE(image.window(1, 0, 1, 1, false));
    image.offset(rxPair<long>(INT_MIN, 0));
    const Geometry window = geometryOf(image);
    EXPECT_THROW(image.setEntire(), Errors);
    EXPECT_EQ(geometryOf(image), window);
}

TEST(PelBuffer, ClippedWindowIsThePartInsideTheView) {
    const auto clipped = [](long x, long y, long width, long height) {
        rxPelBuffer<short> image = numberedImage(10, 8);
        const bool hasPixels = image.window(x, y, width, height, true);
        EXPECT_EQ(hasPixels, image.width() > 0 && image.height() > 0);
        if (hasPixels) {
            EXPECT_EQ(image.pointToRow(0)[0], 100 * image.offset().y() + image.offset().x());
        }
        return std::pair(image.offset(), image.size());
    };
    using Pair = rxPair<long>;
    EXPECT_EQ(clipped(2, 3, 4, 5), std::pair(Pair(2, 3), Pair(4, 5)));
    EXPECT_EQ(clipped(-3, -2, 5, 4), std::pair(Pair(0, 0), Pair(2, 2)));
    EXPECT_EQ(clipped(8, 6, 5, 4), std::pair(Pair(8, 6), Pair(2, 2)));
    EXPECT_EQ(clipped(-5, -5, 100, 100), std::pair(Pair(0, 0), Pair(10, 8)));
    EXPECT_EQ(clipped(20, 3, 5, 5), std::pair(Pair(10, 3), Pair(0, 5)));
    EXPECT_EQ(clipped(-20, 3, 5, 5), std::pair(Pair(0, 3), Pair(0, 5)));
    EXPECT_EQ(clipped(LONG_MIN, LONG_MAX, LONG_MAX, LONG_MAX), std::pair(Pair(0, 8), Pair(0, 0)));
    EXPECT_EQ(clipped(1, 1, LONG_MAX, LONG_MAX), std::pair(Pair(1, 1), Pair(9, 7)));
}

TEST(PelBuffer, EmptyWindowCanBeWidenedAgain) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    EXPECT_FALSE(image.window(10, 8, 0, 0, false));
    EXPECT_EQ(image.size(), rxPair<long>(0, 0));
    EXPECT_FALSE(image.window(0, 0, 0, 0, false));
    image.setEntire();
    EXPECT_EQ(image.size(), rxPair<long>(10, 8));
    EXPECT_EQ(image.offset(), rxPair<long>(0, 0));
    EXPECT_EQ(image.get(9, 7), 709);
}

TEST(PelBuffer, SetEntireBringsTheOffsetBack) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    image.offset(rxPair<long>(50, 60));
    const Geometry whole = geometryOf(image);
    image.window(2, 3, 6, 5, false);
    image.window(1, 1, 2, 2, false);
    EXPECT_EQ(image.get(53, 64), 403);
    image.setEntire();
    EXPECT_EQ(geometryOf(image), whole);
    image.setEntire();
    EXPECT_EQ(geometryOf(image), whole);
}

TEST(PelBuffer, OffsetSetOnAWindowMovesTheWholeAlong) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    image.window(2, 3, 6, 5, false);
    image.offset(rxPair<long>(0, 0));
    EXPECT_EQ(image.get(0, 0), 302);
    image.setEntire();
    EXPECT_EQ(image.offset(), rxPair<long>(-2, -3));
    EXPECT_EQ(image.get(0, 0), 302);
    EXPECT_EQ(image.get(-2, -3), 0);
}

// The way the search narrows its images: whole view, offset of the other image, window.
TEST(PelBuffer, WindowsOfTwoImagesCanBeLinedUp) {
    rxPelBuffer<short> marks = numberedImage(10, 8);
    marks.window(2, 3, 4, 4, false);
    rxPelBuffer<short> votes(20, 20, 32);
    votes.window(7, 7, 2, 2, false);
    votes.setEntire();
    votes.offset(marks.offset());
    votes.window(0, 0, 4, 4, false);
    EXPECT_EQ(votes.offset(), marks.offset());
    EXPECT_EQ(votes.size(), marks.size());
}

TEST(PelBuffer, SetUnboundMakesTheImageAsNew) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    const rxPelBuffer_const<short> other = image;
    image.offset(rxPair<long>(1, 2));
    image.clientFromImageXform(rxXform<2>(rxVector<2>(1, 2), rxRadian(0), rxRadian(0), 2, 2));
    image.setUnbound();
    EXPECT_EQ(image.size(), rxPair<long>(0, 0));
    EXPECT_EQ(image.rowUpdate(), 0);
    EXPECT_EQ(image.offset(), rxPair<long>(0, 0));
    EXPECT_EQ(image.clientFromImageXform(), rxXform<2>());
    image.setEntire();
    EXPECT_EQ(image.size(), rxPair<long>(0, 0)) << "the store is gone";
    EXPECT_EQ(other.get(9, 7), 709);
}

TEST(PelBuffer, TransformBelongsToTheViewAndStaysThroughWindows) {
    rxPelBuffer<short> image = numberedImage(10, 8);
    const rxPelBuffer<short> before = image;
    const rxXform<2> xform(rxVector<2>(1, 2), rxRadian(0.5), rxRadian(0.5), 2, 2);
    image.clientFromImageXform(xform);
    EXPECT_EQ(before.clientFromImageXform(), rxXform<2>());
    image.window(1, 1, 2, 2, false);
    EXPECT_EQ(image.clientFromImageXform(), xform);
    const rxPelBuffer_const<short> view = image;
    EXPECT_EQ(view.clientFromImageXform(), xform);
    EXPECT_EQ(view.offset(), rxPair<long>(1, 1));
    image.setEntire();
    EXPECT_EQ(image.clientFromImageXform(), xform);
}

TEST(PelBuffer, SharesPixelsOnlyWhereWindowsOfOneStoreMeet) {
    const rxPelBuffer<short> image = numberedImage(10, 8);
    const auto part = [&](long x, long y, long width, long height) {
        rxPelBuffer<short> view = image;
        view.window(x, y, width, height, false);
        return view;
    };
    EXPECT_TRUE(image.sharesPixelsWith(image));
    EXPECT_TRUE(part(0, 0, 5, 5).sharesPixelsWith(part(4, 4, 2, 2)));
    EXPECT_FALSE(part(0, 0, 5, 5).sharesPixelsWith(part(5, 0, 2, 2)));
    EXPECT_FALSE(part(0, 0, 5, 5).sharesPixelsWith(part(0, 5, 2, 2)));
    EXPECT_FALSE(part(0, 0, 5, 5).sharesPixelsWith(part(2, 2, 0, 2)));
    EXPECT_FALSE(image.sharesPixelsWith(numberedImage(10, 8)));
    EXPECT_FALSE(rxPelBuffer<short>().sharesPixelsWith(rxPelBuffer<short>()));
}

// Windows on windows, at random, against a map from positions to pixels.
TEST(PelBuffer, PositionsKeepTheirPixelsThroughAnyWindows) {
    constexpr unsigned kSeed = 1301;
    RecordProperty("seed", static_cast<int>(kSeed));
    std::mt19937 random(kSeed);
    const auto draw = [&](long low, long high) {
        return std::uniform_int_distribution<long>(low, high)(random);
    };
    for (int round = 0; round < 300; ++round) {
        SCOPED_TRACE(testing::Message() << "seed " << kSeed << ", round " << round);
        rxPelBuffer<short> image = numberedImage(draw(1, 20), draw(1, 20));
        image.offset(rxPair<long>(draw(-100, 100), draw(-100, 100)));
        const rxPelBuffer_const<short> whole = image;
        for (int step = 0; step < 5; ++step) {
            const long x = draw(0, image.width());
            const long y = draw(0, image.height());
            image.window(x, y, draw(0, image.width() - x), draw(0, image.height() - y), false);
            for (long row = 0; row < image.height(); ++row) {
                for (long column = 0; column < image.width(); ++column) {
                    const auto position = image.offset() + rxPair<long>(column, row);
                    ASSERT_EQ(image.get(position), whole.get(position));
                    ASSERT_EQ(image.pointToRow(row)[column], whole.get(position));
                }
            }
            if (draw(0, 3) == 0) {
                image.setEntire();
                ASSERT_EQ(geometryOf(image), geometryOf(whole));
            }
        }
    }
}

TEST(PelBuffer, ViewsOfOneStoreComeAndGoInSeveralThreads) {
    const rxPelBuffer_const<short> image = numberedImage(10, 8);
    const auto work = [&image] {
        for (int i = 0; i < 10000; ++i) {
            rxPelBuffer_const<short> view = image;
            view.window(1, 1, 3, 3, false);
            const rxPelBuffer_const<short> copy = view;
            ASSERT_EQ(copy.get(3, 3), 303);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(image.get(9, 7), 709);
}

TEST(PelRect, IsAnIntegerRectangle) {
    EXPECT_TRUE((std::is_same_v<rxPelRect, rxRectangle<long>>));
    EXPECT_EQ(rxPelRect().width(), 0);
    EXPECT_EQ(rxPelRect(rxPair<long>(1, 2), rxPair<long>(4, 6)), rxPelRect(1, 2, 3, 4));
    EXPECT_EQ(rxPelRect(1, 2, 3, 4).lr(), rxPair<long>(4, 6));
}

}  // namespace
