#include "ptmatch/search_memory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ptmatch/label_image.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_model.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/translation_search.h"
#include "ptmatch/vote_planner.h"
#include "support/allocation_meter.h"

namespace {

using namespace ptmatch::detail;

constexpr long kLimit = 2147483648;
constexpr TileSet kNoTiles{true};
constexpr TileSet kAllTiles{true, true, true, true, true, true};

/// A grid of any size: nothing of that size is allocated.
SearchGrid gridOf(long width, long height) {
    SearchGrid grid;
    grid.gridSize = 1.0;
    grid.width = width;
    grid.height = height;
    return grid;
}

rxPelRect windowOf(long width, long height) {
    return {0, 0, width - 1, height - 1};
}

bool fits(const SearchGrid& grid, const rxPelRect& window) {
    try {
        checkImageMemory(grid, window, 2);
    } catch (const rxPointMatcherDefs::BadParams& error) {
        EXPECT_EQ(std::string(error.what()),
                  "gridSize is too small for the extent of the data: "
                  "the search image would not fit in memory\n");
        return false;
    }
    return true;
}

TEST(ImageMemory, IsReckonedFromPaddedRowsAndTheVoteImage) {
    // One column of data: rows of 3 marks take 32 bytes, those of 20 votes 64.
    const auto fitsWith = [](long height, long voteWidth) {
        return fits(gridOf(3, height), windowOf(voteWidth, height));
    };
    const long rows = kLimit / (3 * 32 + 64);
    EXPECT_TRUE(fitsWith(rows, 20));
    EXPECT_FALSE(fitsWith(rows + 1, 20));
    EXPECT_FALSE(fitsWith(rows, 33));
}

long divideUp(long a, long b) {
    return (a + b - 1) / b;
}

/// What a search without tiles takes in an image of 3 rows for a window of one, reckoned by hand.
long bytesOfOneRow(long width) {
    const long labels = divideUp(2 * width, 32) * 32 * 3;
    const long votes = 4 * (width + 2) * 4 + 3 * divideUp(width, 64) * 8;
    const long marks = (11 * (divideUp(width + 1, 64) + 1) + 11 + 7) * 8;
    const long flags = divideUp(width, 64) + 1;
    return labels + votes + marks + flags;
}

TEST(ImageMemory, WindowOfOneRowIsHeldToWhatTheSearchTakes) {
    long width = 1000000;
    for (long step = 1L << 26; step > 0; step /= 2) {
        if (bytesOfOneRow(width + step) <= kLimit) width += step;
    }
    EXPECT_TRUE(fits(gridOf(width, 3), windowOf(width, 1)));
    EXPECT_FALSE(fits(gridOf(width + 1, 3), windowOf(width + 1, 1)));
    // A byte a mark, two label images and a vote image would have let it pass.
    EXPECT_LT(3 * width + 12 * width + 2 * width, kLimit * 9 / 10);
}

TEST(ImageMemory, SizesFarBeyondMemoryAreRefused) {
    EXPECT_FALSE(fits(gridOf(700000000, 3), windowOf(700000017, 20)));
    EXPECT_FALSE(fits(gridOf(3, 700000000), windowOf(20, 700000017)));
}

TEST(AffordableTiles, AllOfThemInAnImageThatIsSmallForTheLimit) {
    EXPECT_EQ(affordableTiles(gridOf(2000, 2000), windowOf(2000, 2000)), kAllTiles);
}

TEST(AffordableTiles, FlatImagesNearTheLimitLeaveOutTheLargestFirst) {
    bool isSomeLeftOut = false;
    bool isSomeKept = false;
    for (long width = 20000000; width <= 40000000; width += 500000) {
        SCOPED_TRACE(width);
        const SearchGrid grid = gridOf(width, 3);
        const rxPelRect window = windowOf(width, 20);
        if (!fits(grid, window)) continue;
        const TileSet tiles = affordableTiles(grid, window);
        EXPECT_TRUE(tiles[0]);
        EXPECT_LE(searchImageBytes(grid, window, tiles), kMaxSearchImageBytes);
        for (std::size_t shape = 1; shape < tiles.size(); ++shape) {
            if (tiles[shape]) {
                EXPECT_TRUE(tiles[kTileShapes[shape].next]);
                isSomeKept = true;
                continue;
            }
            isSomeLeftOut = true;
            TileSet more = tiles;
            more[shape] = true;
            EXPECT_TRUE(!tiles[kTileShapes[shape].next] ||
                        searchImageBytes(grid, window, more) > kMaxSearchImageBytes)
                << "shape " << shape;
        }
    }
    EXPECT_TRUE(isSomeKept);
    EXPECT_TRUE(isSomeLeftOut);
}

rx_PointMatcherModel trained(const std::vector<rxVector<2>>& points) {
    rx_PointMatcherModel model;
    model.train(points);
    return model;
}

/// Heap that a search takes for labels, its construction and two votes with tiles of each shape.
std::size_t heapOf(const SearchGrid& grid, const rxPelRect& window, bool usesTiles) {
    const rx_PointMatcherModel model = trained({{0, 0}, {4, 0}, {0, 3}});
    const VoteWeights weights = *makeVoteWeights(3, {}, 1.0);
    CoarseStore store(3, 1);
    const ptmatch::testing::AllocationMeter meter;
    const LabelImage labels(grid, LabelImage::Extent::Block);
    TranslationSearch search(grid, model, weights, window);
    for (int shape = usesTiles ? static_cast<int>(kTileShapes.size()) - 1 : 0; shape >= 0;
         --shape) {
        forceTileShape(shape);
        search.offerPeaks(1.0, 0.0, 4, store);
        search.offerPeaks(1.0, 0.0, 4, store);
    }
    forceTileShape(-1);
    return meter.total();
}

// Large enough that there are no copies for shifts, and that the few points count for nothing.
TEST(SearchImageBytes, AreWhatASearchTakes) {
    struct Size {
        long width, height, windowWidth, windowHeight;
    };
    for (const Size& size :
         {Size{200000, 3, 200000, 1}, Size{200000, 3, 200000, 20}, Size{3, 100000, 20, 100000},
          Size{3, 100000, 1, 100000}, Size{1000, 900, 1017, 917}, Size{3000, 700, 65, 9}}) {
        SCOPED_TRACE(testing::Message() << size.width << " x " << size.height << ", window "
                                        << size.windowWidth << " x " << size.windowHeight);
        SearchGrid grid = gridOf(size.width, size.height);
        grid.data = {{1, 1}, {5, 1}, {1, 4}};
        const rxPelRect window = windowOf(size.windowWidth, size.windowHeight);
        for (const bool usesTiles : {false, true}) {
            const double reckoned =
                searchImageBytes(grid, window, usesTiles ? kAllTiles : kNoTiles);
            const auto taken = static_cast<double>(heapOf(grid, window, usesTiles));
            EXPECT_LE(taken, reckoned + 8192.0);
            EXPECT_GE(taken, 0.9 * reckoned);
        }
    }
}

// Small bitmaps get their copies; what they are reckoned at holds these.
TEST(SearchImageBytes, HoldTheCopiesOfSmallBitmaps) {
    SearchGrid grid = gridOf(60, 30);
    grid.data = {{1, 1}, {5, 1}, {1, 4}};
    const rxPelRect window = windowOf(60, 30);
    const rx_PointMatcherModel model = trained({{0, 0}, {4, 0}, {0, 3}});
    const VoteWeights weights = *makeVoteWeights(3, {}, 1.0);
    CoarseStore store(3, 1);
    forceTileShape(0);
    const ptmatch::testing::AllocationMeter meter;
    const LabelImage labels(grid, LabelImage::Extent::Block);
    TranslationSearch search(grid, model, weights, window);
    for (int i = 0; i < 20000; ++i) search.offerPeaks(1.0, 0.0, 3, store);
    forceTileShape(-1);
    EXPECT_GT(meter.largest(), 40000U);  // the copies were made
    EXPECT_LE(static_cast<double>(meter.total()),
              searchImageBytes(grid, window, kNoTiles) + 8192.0);
}

}  // namespace
