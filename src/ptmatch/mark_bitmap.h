#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/block_pixels.h"
#include "ptmatch/tile_extent.h"
#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// The marks of a search image, one bit each, laid out for vote kernels: a mark for each pixel of
/// the 3 x 3 blocks around the data points' pixels, or, for tiles of several translations, for each
/// pixel from which a window of the tile's size to the right and below meets such a block.
///
/// Points whose pixels are known but for a few pixels need larger windows. A bitmap may have
/// several layers, for points of several reaches: the windows of a layer are larger than the tile
/// by its reach on each side.
///
/// A step of one tile is several pixels, so pixels of the same position modulo the tile stand side
/// by side: for tiles of u x v the bitmap consists of u v phases, each with the cells
/// (x, y) = (a + u i, b + v j) of one (a, b).
/// In a phase, 64 columns are a strip of words, one a row, that follow one another row by row.
/// Around every strip stand rows of zeros and beside the outer ones a strip of zeros, which
/// neighbours share; so a block that overlaps the phase anywhere can be read whole.
///
///      zeros   strip 0   strip 1   zeros (and those of the next phase)
///     +-------+---------+---------+-------+
///     | 0   0 | 0  0  0 | 0  0  0 | 0   0 |  kBlockRows - 1 rows
///     | 0   0 | 1  1  0 | 0  1  1 | 0   0 |  rows() rows
///     +-------+---------+---------+-------+
///
/// Cells of i = -1 and j = -1 exist as well, and more of them where windows are larger than tiles:
/// windows that begin outside may reach inside. Layers follow one another like phases.
class MarkBitmap {
  public:
    /// What a bitmap takes at most: with copies, where it is small enough for them.
    static double maxBytes(const TileShape& tile, long width, long height,
                           std::span<const long> reaches = kNoReach);

    /// @param tile     1 x 1 for the marks themselves.
    /// @param pixels   the data points' pixels; parts of blocks outside width x height are cut.
    /// @param reaches  one for each layer, 0 or more.
    /// Cost O(layers x size of the image / 8 + data u (v + 2)), for windows that are larger than a
    /// tile in proportion.
    MarkBitmap(const TileShape& tile, long width, long height, std::span<const rxPair<long>> pixels,
               std::span<const long> reaches = kNoReach);

    /// What part of the pixels of the image is marked, at most 1: of a bitmap of one layer for
    /// single translations, before it has copies. Counts them all.
    double density() const;

    /// Where a point finds its marks whose window begins at pixel (x, y) for the first tile.
    struct Sight {
        std::int64_t column;   ///< in its phase
        std::int64_t row;      ///< likewise
        std::ptrdiff_t phase;  ///< first word of the phase
    };
    Sight sightFrom(std::int64_t x, std::int64_t y, std::size_t layer = 0) const {
        const std::int64_t a = x & (tile_.columns() - 1);
        const std::int64_t b = y & (tile_.rows() - 1);
        const std::int64_t phase = (b << tile_.log2Columns) + a;
        return {(x >> tile_.log2Columns) + layout_.columnsBefore,
                (y >> tile_.log2Rows) + layout_.rowsBefore,
                static_cast<std::ptrdiff_t>(phase) * layout_.phaseSize +
                    static_cast<std::ptrdiff_t>(layer) * layout_.layerSize};
    }

    /// Whether a block that begins at a column contains a cell of the phase. One that begins at a
    /// row does from above -kBlockRows to below rows().
    bool meetsColumns(std::int64_t column) const {
        return column > -64 && column < layout_.columns;
    }
    std::int64_t rows() const { return layout_.rows; }

    /// The view from a sight; it may be read where it contains a cell of the phase.
    MarkView view(const Sight& sight) const {
        const std::uint64_t shift = static_cast<std::uint64_t>(sight.column) & 63;
        return {firstWordOf_(sight) + static_cast<std::ptrdiff_t>(shift) * copySize_,
                shift & shiftMask_};
    }

    const std::uint64_t* words() const { return words_.data(); }
    /// From a word to the one right of it; 0 when no view needs it.
    std::ptrdiff_t stride() const { return isSpread_() ? 0 : layout_.stride; }

    /// Words from a strip to the next one.
    std::ptrdiff_t stripSize() const { return layout_.stride; }

    /// Tells that this many views were counted in blocks. When it was often enough, and the bitmap
    /// is small, a copy for each shift is made, which spares the kernels the shifting.
    void addUse(std::int64_t numViews);

  private:
    /// The reaches of a bitmap whose points are where they seem to be.
    static constexpr std::array<long, 1> kNoReach{0};

    /// Sizes of a bitmap: cells of a phase, and words.
    struct Layout {
        std::int64_t columnsBefore;  // cells that lie before pixel 0
        std::int64_t rowsBefore;
        std::int64_t columns;
        std::int64_t rows;
        std::ptrdiff_t stride;
        std::ptrdiff_t phaseSize;
        std::ptrdiff_t layerSize;
        std::ptrdiff_t numWords;

        Layout(const TileShape& tile, long width, long height, std::span<const long> reaches);
        bool allowsCopies() const;
    };

    bool isSpread_() const { return copySize_ != 0; }
    std::ptrdiff_t firstWordOf_(const Sight& sight) const {
        return sight.phase + static_cast<std::ptrdiff_t>((sight.column >> 6) + 1) * layout_.stride +
               static_cast<std::ptrdiff_t>(sight.row) + kBlockRows - 1;
    }
    void markAround_(const PixelSpan& columns, const PixelSpan& rows, std::size_t layer);
    void markCells_(Sight first, std::int64_t numColumns, std::int64_t numRows);
    void spread_();

    TileShape tile_;
    Layout layout_;
    std::ptrdiff_t copySize_ = 0;   // words of the copy for one shift; 0 while there is none
    std::uint64_t shiftMask_ = 63;  // 0 when the copies take the place of shifts
    std::vector<std::uint64_t> words_;
    std::int64_t viewsLeft_;  // to be counted before copies pay
    double numPixels_;
};

}  // namespace ptmatch::detail
