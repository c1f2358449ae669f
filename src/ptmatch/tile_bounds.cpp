#include "ptmatch/tile_bounds.h"

#include <cstdint>

namespace ptmatch::detail {
namespace {

// A block of tiles covers several blocks of the next smaller ones, side by side and one below the
// other.
void flagSurvivors(const TileShape& tile, long strip, long band, const StripCounter& counter,
                   BlockFlags& next) {
    const TileShape& part = kTileShapes[tile.next];
    const int log2Across = tile.log2Columns - part.log2Columns;
    const int log2Down = tile.log2Rows - part.log2Rows;
    const int columns = 64 >> log2Across;
    const int rows = kBlockRows >> log2Down;
    const std::uint64_t first = ~std::uint64_t{0} >> (64 - columns);
    for (int row = 0; row < kBlockRows; row += rows) {
        std::uint64_t survivors = 0;
        for (int r = row; r < row + rows; ++r) survivors |= counter.survivors(r);
        for (long i = 0; i < (1L << log2Across); ++i) {
            if (((survivors >> (i * columns)) & first) != 0) {
                next.set((strip << log2Across) + i, (band << log2Down) + row / rows);
            }
        }
    }
}

}  // namespace

void boundTiles(const TileShape& tile, const BlockFlags& flags, long threshold,
                StripCounter& counter, BlockFlags& next) {
    next.clear();
    const long bands = flags.extent().bands;
    for (long strip = 0; strip < flags.extent().strips; ++strip) {
        long band = flags.nextInStrip(strip, 0, bands);
        if (band == bands) continue;
        counter.aimAt(strip);
        for (; band < bands; band = flags.nextInStrip(strip, band + 1, bands)) {
            if (counter.count(band, threshold)) flagSurvivors(tile, strip, band, counter, next);
        }
    }
}

}  // namespace ptmatch::detail
