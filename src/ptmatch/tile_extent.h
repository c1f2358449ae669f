#pragma once

#include <bit>
#include <cstddef>

#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// Tiles that cover a window of translations, in the blocks of 64 columns by kBlockRows rows that
/// they are counted in. Tiles and blocks may reach beyond the window to the right and below.
struct TileExtent {
    long tile = 1;  ///< translations along either side of a tile
    long strips = 0;
    long bands = 0;

    TileExtent() = default;
    /// @param width, height  translations of the window.
    TileExtent(long tileSide, long width, long height)
        : tile(tileSide),
          strips(divideUp(width, 64 * tileSide)),
          bands(divideUp(height, kBlockRows * tileSide)) {}

    long blocks() const { return strips * bands; }

  private:
    static long divideUp(long a, long b) { return (a + b - 1) / b; }
};

/// Tiles are 1, 2, 4, 8 or 16 translations wide; 1 stands for the translations themselves.
inline constexpr std::size_t kNumTileSizes = 5;

/// Their place in that list.
inline std::size_t tileIndex(long tile) {
    return static_cast<std::size_t>(std::countr_zero(static_cast<unsigned long>(tile)));
}

/// The tile that the surviving tiles of a larger one are counted in: a quarter along either side,
/// and single translations last.
constexpr long nextTile(long tile) {
    return tile >= 4 ? tile / 4 : 1;
}

}  // namespace ptmatch::detail
