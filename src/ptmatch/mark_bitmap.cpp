#include "ptmatch/mark_bitmap.h"

#include <algorithm>
#include <bit>

#include "ptmatch/block_pixels.h"

namespace ptmatch::detail {

MarkBitmap::MarkBitmap(long tile, long width, long height, std::span<const rxPair<long>> pixels)
    : log2Tile_(std::countr_zero(static_cast<unsigned long>(tile))),
      columns_(((width - 1) >> log2Tile_) + 2),
      rows_(((height - 1) >> log2Tile_) + 2),
      stride_(static_cast<std::ptrdiff_t>(rows_) + kBlockRows - 1),
      phaseSize_(stride_ * (static_cast<std::ptrdiff_t>((columns_ + 63) / 64) + 1)) {
    // The strip of zeros right of the last phase, and the rows of zeros below it.
    const std::ptrdiff_t numWords =
        phaseSize_ * static_cast<std::ptrdiff_t>(tile * tile) + stride_ + kBlockRows - 1;
    words_.resize(static_cast<std::size_t>(numWords));
    for (const rxPair<long>& pixel : pixels) {
        const PixelSpan x = blockSpan(pixel.x(), width);
        const PixelSpan y = blockSpan(pixel.y(), height);
        if (x.isEmpty() || y.isEmpty()) continue;
        for (long row = y.low - (tile - 1); row <= y.high; ++row) {
            for (long column = x.low - (tile - 1); column <= x.high; ++column) mark_(column, row);
        }
    }
    const double numPixels = static_cast<double>(width) * static_cast<double>(height);
    density_ = std::min(1.0, static_cast<double>(numMarks_) / numPixels);
}

void MarkBitmap::mark_(std::int64_t x, std::int64_t y) {
    const MarkView at = view(sightFrom(x, y));
    std::uint64_t& word = words_[static_cast<std::size_t>(at.word)];
    const std::uint64_t bit = std::uint64_t{1} << at.shift;
    numMarks_ += (word & bit) == 0 ? 1 : 0;
    word |= bit;
}

}  // namespace ptmatch::detail
