#include "ptmatch/mark_bitmap.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <utility>
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

std::set<std::pair<long, long>> marksOf(const Picture& picture) {
    std::set<std::pair<long, long>> marks;
    for (const rxPair<long>& pixel : picture.pixels) {
        for (long y = pixel.y() - 1; y <= pixel.y() + 1; ++y) {
            for (long x = pixel.x() - 1; x <= pixel.x() + 1; ++x) {
                const bool isInside = x >= 0 && y >= 0 && x < picture.width && y < picture.height;
                if (isInside) marks.insert({x, y});
            }
        }
    }
    return marks;
}

/// Whether a tile whose first translation brings a point onto (x, y) can bring it onto a mark.
bool meetsMark(const std::set<std::pair<long, long>>& marks, const TileShape& tile, long x,
               long y) {
    for (long dy = 0; dy < tile.rows(); ++dy) {
        for (long dx = 0; dx < tile.columns(); ++dx) {
            if (marks.contains({x + dx, y + dy})) return true;
        }
    }
    return false;
}

/// The cell (column, row) of the block that a point sees from (x, y).
bool seen(const MarkBitmap& bitmap, const MarkView& view, unsigned column, int row) {
    const std::uint64_t bit = view.shift + column;
    const std::uint64_t* word = bitmap.words() + view.word + row;
    if (bit >= 64) word += bitmap.stride();
    return ((*word >> (bit % 64)) & 1) != 0;
}

// Every block that meets the bitmap, cell by cell.
void expectShowsMarks(const MarkBitmap& bitmap, const Picture& picture, const TileShape& tile,
                      std::mt19937& random) {
    const std::set<std::pair<long, long>> marks = marksOf(picture);
    for (int i = 0; i < 40; ++i) {
        const long x = static_cast<long>(random()) % (picture.width + 2 * 64 * tile.columns()) -
                       64 * tile.columns();
        const long y =
            static_cast<long>(random()) % (picture.height + 2 * 8 * tile.rows()) - 8 * tile.rows();
        const MarkBitmap::Sight sight = bitmap.sightFrom(x, y);
        const bool isReadable = bitmap.meetsColumns(sight.column) && sight.row > -kBlockRows &&
                                sight.row < bitmap.rows();
        for (int row = 0; row < kBlockRows; ++row) {
            for (unsigned column = 0; column < 64; ++column) {
                const bool expected =
                    meetsMark(marks, tile, x + static_cast<long>(column) * tile.columns(),
                              y + row * tile.rows());
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
