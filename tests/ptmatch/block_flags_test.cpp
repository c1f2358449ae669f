#include "ptmatch/block_flags.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace {

using namespace ptmatch::detail;
using Numbers = std::vector<std::uint32_t>;

/// Three strips of four bands.
BlockFlags someFlags() {
    return BlockFlags(TileExtent(kTileShapes[0], 150, 30));
}

Numbers numbersOf(const BlockFlags& flags) {
    Numbers numbers;
    flags.appendTo(numbers);
    return numbers;
}

TEST(BlockFlags, AreFoundBandByBandAndInEachStrip) {
    BlockFlags flags = someFlags();
    ASSERT_EQ(flags.extent().strips, 3);
    ASSERT_EQ(flags.extent().bands, 4);
    flags.set(2, 1);
    flags.set(0, 3);
    flags.set(0, 3);
    EXPECT_EQ(flags.numFlagged(), 2);
    EXPECT_EQ(flags.nextBand(0, 4), 1);
    EXPECT_EQ(flags.nextBand(2, 4), 3);
    EXPECT_EQ(flags.nextBand(2, 3), 3);
    EXPECT_EQ(flags.nextInStrip(2, 0, 4), 1);
    EXPECT_EQ(flags.nextInStrip(0, 0, 4), 3);
    EXPECT_EQ(flags.nextInStrip(1, 0, 4), 4);
    EXPECT_EQ(numbersOf(flags), (Numbers{3, 9}));
}

TEST(BlockFlags, NothingIsLeftOfWhatWasCleared) {
    BlockFlags flags = someFlags();
    flags.setAll();
    EXPECT_TRUE(flags.isFull());
    flags.clear();
    EXPECT_EQ(flags.numFlagged(), 0);
    EXPECT_EQ(flags.nextBand(0, 4), 4);
    EXPECT_EQ(numbersOf(flags), Numbers{});
    flags.set(1, 1);
    flags.setOnly(std::array<std::uint32_t, 1>{6});
    EXPECT_EQ(flags.nextBand(0, 4), 2);
    EXPECT_EQ(numbersOf(flags), Numbers{6});
}

TEST(BlockFlags, BlocksBeyondTheExtentAreIgnored) {
    BlockFlags flags = someFlags();
    flags.set(3, 0);
    flags.set(0, 4);
    EXPECT_EQ(flags.numFlagged(), 0);
    EXPECT_EQ(numbersOf(flags), Numbers{});
}

}  // namespace
