#include "ptmatch/gridcorr/search_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace {

using ptmatch::detail::BitImage;
using ptmatch::detail::kBitBlockRows;
using ptmatch::detail::SearchImage;
using ptmatch::detail::TileCounts;

bool bitAt(const BitImage& image, std::size_t x, std::size_t y) {
    return ((*image.wordAt(x, y) >> (x % 64)) & 1U) != 0;
}

TEST(BitImage, HoldsWhatWasSet) {
    BitImage image(130, 9);
    const std::vector<std::pair<std::size_t, std::size_t>> places = {{0, 0},   {63, 0},  {64, 0},
                                                                     {127, 5}, {128, 5}, {129, 8}};
    for (const auto& [x, y] : places) image.set(x, y);
    std::size_t set = 0;
    for (std::size_t y = 0; y < 9; ++y) {
        for (std::size_t x = 0; x < 130; ++x) set += bitAt(image, x, y) ? 1 : 0;
    }
    EXPECT_EQ(set, places.size());
    for (const auto& [x, y] : places) EXPECT_TRUE(bitAt(image, x, y)) << x << ", " << y;
}

TEST(BitImage, HasZerosToTheRightAndBelow) {
    for (const std::size_t width : {1U, 63U, 64U, 65U, 128U}) {
        BitImage image(width, 3);
        for (std::size_t y = 0; y < 3; ++y) {
            for (std::size_t x = 0; x < width; ++x) image.set(x, y);
        }
        const std::uint64_t* last = image.wordAt(width - 1, 0);
        for (std::size_t y = 0; y < 3 + kBitBlockRows - 1; ++y) {
            EXPECT_EQ(last[image.stride() + y], 0U);
            EXPECT_EQ(last[y] != 0, y < 3);
        }
    }
}

TEST(SearchImage, TellsOnesFromOtherValues) {
    SearchImage image(10, 2, true);
    image.put(1, 0, 1);
    image.put(2, 0, 2);
    image.put(3, 1, 255);
    image.put(4, 1, 0);
    EXPECT_TRUE(bitAt(image.ones(), 1, 0));
    EXPECT_TRUE(bitAt(image.occupied(), 1, 0));
    EXPECT_FALSE(bitAt(image.ones(), 2, 0));
    EXPECT_TRUE(bitAt(image.occupied(), 2, 0));
    EXPECT_FALSE(bitAt(image.ones(), 3, 1));
    EXPECT_TRUE(bitAt(image.occupied(), 3, 1));
    EXPECT_FALSE(bitAt(image.ones(), 4, 1));
    EXPECT_FALSE(bitAt(image.occupied(), 4, 1));
}

TEST(SearchImage, KeepsOneImageWhenThereAreNoOtherValues) {
    SearchImage image(10, 2, false);
    image.put(1, 0, 1);
    EXPECT_EQ(&image.ones(), &image.occupied());
}

TEST(TileCounts, CountTheTilesThatARectangleTouches) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        const std::size_t width = 1 + random() % 300;
        const std::size_t height = 1 + random() % 60;
        BitImage image(width, height);
        std::vector<std::pair<std::size_t, std::size_t>> set;
        for (int n = 0; n < 50; ++n) {
            const std::size_t x = random() % width;
            const std::size_t y = random() % height;
            if (!bitAt(image, x, y)) set.emplace_back(x, y);
            image.set(x, y);
        }
        const TileCounts counts(image);
        const std::size_t x = random() % width;
        const std::size_t y = random() % height;
        const std::size_t columns = 1 + random() % 400;  // may end beyond the image
        const std::size_t rows = 1 + random() % 80;
        const auto expected = std::count_if(set.begin(), set.end(), [&](const auto& place) {
            const std::size_t tileX = place.first / 64;
            const std::size_t tileY = place.second / kBitBlockRows;
            return tileX >= x / 64 && tileX <= (x + columns - 1) / 64 &&
                   tileY >= y / kBitBlockRows && tileY <= (y + rows - 1) / kBitBlockRows;
        });
        ASSERT_EQ(counts.around(x, y, columns, rows), static_cast<std::size_t>(expected));
    }
}

}  // namespace
