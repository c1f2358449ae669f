#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// The marks of a search image, one bit each, laid out for vote kernels: a mark for each pixel of
/// the 3 x 3 blocks around the data points' pixels, or, for tiles of t x t translations, for each
/// pixel from which a window of t x t pixels to the right and below meets such a block.
///
/// A step of one tile is t pixels, so pixels of the same position modulo t stand side by side: the
/// bitmap consists of t x t phases, each with the cells (x, y) = (a + t i, b + t j) of one (a, b).
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
/// Cells of i = -1 and j = -1 exist as well: windows that begin outside may reach inside.
class MarkBitmap {
  public:
    /// @param tile    t: 1 for the marks themselves, or a larger power of two.
    /// @param pixels  the data points' pixels; parts of blocks outside width x height are cut.
    /// Cost O(size of the image / 8 + data (t + 2)^2).
    MarkBitmap(long tile, long width, long height, std::span<const rxPair<long>> pixels);

    long tile() const { return 1L << log2Tile_; }

    /// What part of the pixels of the image is marked, at most 1.
    double density() const { return density_; }

    /// What a point sees of the bitmap that lies on pixel (x, y) for the tile at the origin.
    struct Sight {
        std::int64_t column;   ///< of the point in its phase
        std::int64_t row;      ///< likewise
        std::ptrdiff_t phase;  ///< first word of the phase
    };
    Sight sightFrom(std::int64_t x, std::int64_t y) const {
        const std::int64_t mask = tile() - 1;
        const std::int64_t phase = ((y & mask) << log2Tile_) + (x & mask);
        return {(x >> log2Tile_) + 1, (y >> log2Tile_) + 1,
                static_cast<std::ptrdiff_t>(phase) * phaseSize_};
    }

    /// Whether a block that begins at a column contains a cell of the phase. One that begins at a
    /// row does from above -kBlockRows to below rows().
    bool meetsColumns(std::int64_t column) const { return column > -64 && column < columns_; }
    std::int64_t rows() const { return rows_; }

    /// The view from a sight; it may be read where it contains a cell of the phase.
    MarkView view(const Sight& sight) const {
        return {sight.phase + static_cast<std::ptrdiff_t>((sight.column >> 6) + 1) * stride_ +
                    static_cast<std::ptrdiff_t>(sight.row) + kBlockRows - 1,
                static_cast<std::uint64_t>(sight.column & 63)};
    }

    const std::uint64_t* words() const { return words_.data(); }
    /// From a word to the one right of it.
    std::ptrdiff_t stride() const { return stride_; }

  private:
    void mark_(std::int64_t x, std::int64_t y);

    int log2Tile_;
    std::int64_t columns_;
    std::int64_t rows_;
    std::ptrdiff_t stride_;
    std::ptrdiff_t phaseSize_;
    std::vector<std::uint64_t> words_;
    double density_ = 0.0;
    std::int64_t numMarks_ = 0;
};

}  // namespace ptmatch::detail
