#pragma once

#include <array>
#include <cstddef>

#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// A rectangle of neighbouring translations that are bounded together.
struct TileShape {
    int log2Columns;
    int log2Rows;
    std::size_t next;  ///< what surviving tiles are searched by: an index into kTileShapes

    constexpr long columns() const { return 1L << log2Columns; }
    constexpr long rows() const { return 1L << log2Rows; }
};

/// The shapes that a search may begin with, the smallest first; the first one is a single
/// translation. The smaller a tile, the sharper its bound, and the more of them there are.
inline constexpr std::array<TileShape, 6> kTileShapes{{
    {0, 0, 0},  // 1 x 1
    {0, 1, 0},  // 1 x 2, one below the other: strips of words stay as full as they are
    {1, 1, 0},  // 2 x 2
    {2, 2, 0},  // 4 x 4
    {3, 3, 2},  // 8 x 8
    {4, 4, 3},  // 16 x 16
}};

/// Tiles of a shape that a block of the next smaller ones covers.
constexpr double tilesPerBlockOfNext(const TileShape& tile) {
    const TileShape& part = kTileShapes[tile.next];
    return 64.0 * kBlockRows * static_cast<double>(part.columns() * part.rows()) /
           static_cast<double>(tile.columns() * tile.rows());
}

/// A choice among kTileShapes.
using TileSet = std::array<bool, kTileShapes.size()>;

/// Tiles that cover a window of translations, in the blocks of 64 columns by kBlockRows rows that
/// they are counted in. Tiles and blocks may reach beyond the window to the right and below.
struct TileExtent {
    long strips = 0;
    long bands = 0;

    TileExtent() = default;
    /// @param width, height  translations of the window.
    TileExtent(const TileShape& shape, long width, long height)
        : strips(divideUp(width, 64 * shape.columns())),
          bands(divideUp(height, kBlockRows * shape.rows())) {}

    long blocks() const { return strips * bands; }

  private:
    static long divideUp(long a, long b) { return (a + b - 1) / b; }
};

}  // namespace ptmatch::detail
