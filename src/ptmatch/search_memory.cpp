#include "ptmatch/search_memory.h"

#include <cmath>

#include "ptmatch/block_flags.h"
#include "ptmatch/label_image.h"
#include "ptmatch/mark_bitmap.h"
#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/search_grid.h"
#include "ptmatch/vote_rows.h"

namespace ptmatch::detail {
namespace {

double labelBytes(const SearchGrid& grid) {
    const double bytesPerLabel = grid.data.size() <= kMaxShortLabels ? 2.0 : 4.0;
    return imageBytes(static_cast<double>(grid.width), static_cast<double>(grid.height),
                      bytesPerLabel);
}

double tileBytes(const TileShape& tile, const SearchGrid& grid, const rxPelRect& window) {
    return MarkBitmap::maxBytes(tile, grid.width, grid.height) +
           BlockFlags::bytes(TileExtent(tile, window.width() + 1, window.height() + 1));
}

constexpr TileSet kNoTiles{true};

}  // namespace

double imageBytes(double width, double height, double bytesPerPixel) {
    constexpr double kAlignment = kRowAlignment;
    return std::ceil(width * bytesPerPixel / kAlignment) * kAlignment * height;
}

void checkImageBytes(double bytes) {
    if (!(bytes <= kMaxSearchImageBytes)) {  // also when it is not a number
        throw rxPointMatcherDefs::BadParams(
            "gridSize is too small for the extent of the data: "
            "the search image would not fit in memory\n");
    }
}

double searchImageBytes(const SearchGrid& grid, const rxPelRect& window, const TileSet& tiles) {
    const long width = window.width() + 1;
    double bytes =
        labelBytes(grid) + VoteRows::bytes(width, rowsPerPart(width, window.height() + 1));
    for (std::size_t shape = 0; shape < tiles.size(); ++shape) {
        if (tiles[shape]) bytes += tileBytes(kTileShapes[shape], grid, window);
    }
    return bytes;
}

void checkImageMemory(const SearchGrid& grid, const rxPelRect& window, long bytesPerVote) {
    checkImageBytes(
        imageBytes(static_cast<double>(grid.width), static_cast<double>(grid.height), 1.0) +
        2.0 * labelBytes(grid) +
        imageBytes(static_cast<double>(window.width()) + 1.0,
                   static_cast<double>(window.height()) + 1.0, static_cast<double>(bytesPerVote)));
    checkImageBytes(searchImageBytes(grid, window, kNoTiles));
}

TileSet affordableTiles(const SearchGrid& grid, const rxPelRect& window) {
    TileSet affordable = kNoTiles;
    for (std::size_t shape = 1; shape < kTileShapes.size(); ++shape) {
        if (!affordable[kTileShapes[shape].next]) continue;
        affordable[shape] = true;
        affordable[shape] = searchImageBytes(grid, window, affordable) <= kMaxSearchImageBytes;
    }
    return affordable;
}

}  // namespace ptmatch::detail
