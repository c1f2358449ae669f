#include "ptmatch/mark_bitmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace ptmatch::detail;
using Pixels = std::vector<rxPair<long>>;

struct Picture {
    long width;
    long height;
    Pixels pixels;
};

/// Pixels inside, at the edges, and now and then outside.
Picture randomPicture(std::mt19937& random) {
    const auto upTo = [&](long n) { return static_cast<long>(random()) % (n + 1); };
    Picture picture{1 + upTo(150), 1 + upTo(40), {}};
    for (long i = upTo(30); i > 0; --i) {
        picture.pixels.emplace_back(upTo(picture.width + 3) - 2, upTo(picture.height + 3) - 2);
    }
    return picture;
}

/// The marks of a picture, summed up from its corner, so that any rectangle is looked up at once.
class Marks {
  public:
    explicit Marks(const Picture& picture)
        : width_(picture.width),
          height_(picture.height),
          sums_(static_cast<std::size_t>((width_ + 1) * (height_ + 1))) {
        for (const rxPair<long>& pixel : picture.pixels) {
            for (long y = pixel.y() - 1; y <= pixel.y() + 1; ++y) {
                for (long x = pixel.x() - 1; x <= pixel.x() + 1; ++x) {
                    if (x >= 0 && y >= 0 && x < width_ && y < height_) sum_(x + 1, y + 1) = 1;
                }
            }
        }
        for (long y = 1; y <= height_; ++y) {
            for (long x = 1; x <= width_; ++x) {
                sum_(x, y) += sum_(x - 1, y) + sum_(x, y - 1) - sum_(x - 1, y - 1);
            }
        }
    }

    /// Whether a tile whose first translation brings a point onto (x, y) can bring it onto a mark;
    /// or, with a reach, some pixel of the window that is larger by it on each side.
    bool meets(const TileShape& tile, long x, long y, long reach = 0) {
        const long left = std::clamp(x, 0L, width_);
        const long right = std::clamp(x + tile.columns() + 2 * reach, 0L, width_);
        const long top = std::clamp(y, 0L, height_);
        const long bottom = std::clamp(y + tile.rows() + 2 * reach, 0L, height_);
        return sum_(right, bottom) - sum_(left, bottom) - sum_(right, top) + sum_(left, top) > 0;
    }

  private:
    // Marks left of column x and above row y.
    int& sum_(long x, long y) { return sums_[static_cast<std::size_t>(y * (width_ + 1) + x)]; }

    long width_;
    long height_;
    std::vector<int> sums_;
};

/// The cell (column, row) of the block that a point sees from (x, y).
bool seen(const MarkBitmap& bitmap, const MarkView& view, unsigned column, int row) {
    const std::uint64_t bit = view.shift + column;
    const std::uint64_t* word = bitmap.words() + view.word + row;
    if (bit >= 64) word += bitmap.stride();
    return ((*word >> (bit % 64)) & 1) != 0;
}

// Every block that meets the bitmap, cell by cell.
void expectShowsMarks(const MarkBitmap& bitmap, const Picture& picture, const TileShape& tile,
                      std::mt19937& random, std::size_t layer = 0, long reach = 0) {
    Marks marks(picture);
    for (int i = 0; i < 40; ++i) {
        const long x = static_cast<long>(random()) % (picture.width + 2 * 64 * tile.columns()) -
                       64 * tile.columns();
        const long y =
            static_cast<long>(random()) % (picture.height + 2 * 8 * tile.rows()) - 8 * tile.rows();
        const MarkBitmap::Sight sight = bitmap.sightFrom(x, y, layer);
        const bool isReadable = bitmap.meetsColumns(sight.column) && sight.row > -kBlockRows &&
                                sight.row < bitmap.rows();
        for (int row = 0; row < kBlockRows; ++row) {
            for (unsigned column = 0; column < 64; ++column) {
                const bool expected =
                    marks.meets(tile, x + static_cast<long>(column) * tile.columns(),
                                y + row * tile.rows(), reach);
                const bool actual = isReadable && seen(bitmap, bitmap.view(sight), column, row);
                ASSERT_EQ(actual, expected)
                    << "from " << x << ", " << y << " column " << column << " row " << row;
            }
        }
    }
}

TEST(MarkBitmap, ShowsTheMarksAndTheirDilationsFromEveryPlace) {
    std::mt19937 random(21);
    for (int round = 0; round < 12; ++round) {
        const Picture picture = randomPicture(random);
        for (const TileShape& tile : kTileShapes) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", tile " << tile.columns()
                                            << " x " << tile.rows());
            const MarkBitmap bitmap(tile, picture.width, picture.height, picture.pixels);
            expectShowsMarks(bitmap, picture, tile, random);
        }
    }
}

TEST(MarkBitmap, CopiesForAllShiftsShowTheSame) {
    std::mt19937 random(22);
    int numSpread = 0;
    for (int round = 0; round < 6; ++round) {
        const Picture picture = randomPicture(random);
        for (const TileShape& tile : kTileShapes) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", tile " << tile.columns()
                                            << " x " << tile.rows());
            MarkBitmap bitmap(tile, picture.width, picture.height, picture.pixels);
            bitmap.addUse(1'000'000'000);
            if (bitmap.stride() != 0) continue;  // too large for copies
            ++numSpread;
            expectShowsMarks(bitmap, picture, tile, random);
        }
    }
    EXPECT_GT(numSpread, 20);
}

TEST(MarkBitmap, LayersShowWindowsThatAreLargerThanTiles) {
    std::mt19937 random(24);
    for (int round = 0; round < 6; ++round) {
        const Picture picture = randomPicture(random);
        const std::vector<long> reaches{1 + round, 5, 40 * (round / 4)};
        for (const TileShape& tile : kTileShapes) {
            MarkBitmap bitmap(tile, picture.width, picture.height, picture.pixels, reaches);
            for (const bool hasCopies : {false, true}) {
                if (hasCopies) bitmap.addUse(1'000'000'000);
                for (std::size_t layer = 0; layer < reaches.size(); ++layer) {
                    SCOPED_TRACE(testing::Message()
                                 << "round " << round << ", tile " << tile.columns() << " x "
                                 << tile.rows() << ", reach " << reaches[layer]);
                    expectShowsMarks(bitmap, picture, tile, random, layer, reaches[layer]);
                }
            }
        }
    }
}

// A point that sees no cell must not cost a kernel anything.
TEST(MarkBitmap, BlocksMeetColumnsFromTheirLastOneOnTheFirstCellToTheirFirstOneOnTheLast) {
    const MarkBitmap bitmap(kTileShapes[0], 100, 3, Pixels{{0, 1}, {99, 1}});
    const std::int64_t first = bitmap.sightFrom(-1, 0).column;
    const std::int64_t last = bitmap.sightFrom(99, 0).column;
    EXPECT_FALSE(bitmap.meetsColumns(first - 64));
    EXPECT_TRUE(bitmap.meetsColumns(first - 63));
    EXPECT_TRUE(bitmap.meetsColumns(last));
    EXPECT_FALSE(bitmap.meetsColumns(last + 1));
}

TEST(MarkBitmap, OverlappingBlocksCountOnceInTheDensity) {
    const Pixels pixels{{1, 1}, {1, 1}, {2, 1}};
    EXPECT_DOUBLE_EQ(MarkBitmap(kTileShapes[0], 10, 6, pixels).density(), 12.0 / 60.0);
    EXPECT_DOUBLE_EQ(MarkBitmap(kTileShapes[0], 3, 3, Pixels{{1, 1}}).density(), 1.0);
    EXPECT_DOUBLE_EQ(MarkBitmap(kTileShapes[0], 3, 3, {}).density(), 0.0);
}

TEST(MarkBitmap, BlocksAtTheEdgeAreDrawnInPart) {
    const Picture picture{4, 3, {{3, 2}, {-1, 0}, {9, 9}, {2147483647L, -2147483647L}}};
    const MarkBitmap bitmap(kTileShapes[0], 4, 3, picture.pixels);
    EXPECT_DOUBLE_EQ(bitmap.density(), 6.0 / 12.0);  // 2 x 2, and 1 x 2
    std::mt19937 random(23);
    expectShowsMarks(bitmap, picture, kTileShapes[0], random);
}

}  // namespace
