#include "ptmatch/mark_bitmap.h"

#include <algorithm>
#include <limits>

#include "ptmatch/block_pixels.h"

namespace ptmatch::detail {
namespace {

constexpr std::ptrdiff_t kNumShifts = 64;

// Copies for all shifts of bitmaps up to this size take 2 MiB at most, so they stay in the caches.
constexpr std::ptrdiff_t kMaxWordsOfCopy = 4096;

// What the copies of a word cost (mostly its share of pages of memory that are touched for the
// first time), in views of a block that are counted with shifts instead of without.
constexpr std::int64_t kViewsPerWord = 150;

}  // namespace

MarkBitmap::Layout::Layout(const TileShape& tile, long width, long height)
    : columns(((width - 1) >> tile.log2Columns) + 2),
      rows(((height - 1) >> tile.log2Rows) + 2),
      stride(static_cast<std::ptrdiff_t>(rows) + kBlockRows - 1),
      phaseSize(stride * (static_cast<std::ptrdiff_t>((columns + 63) / 64) + 1)) {
    // The strip of zeros right of the last phase, and the rows of zeros below it.
    const std::ptrdiff_t numPhases = static_cast<std::ptrdiff_t>(tile.columns() * tile.rows());
    numWords = phaseSize * numPhases + stride + kBlockRows - 1;
}

bool MarkBitmap::Layout::allowsCopies() const {
    return numWords <= kMaxWordsOfCopy;
}

double MarkBitmap::maxBytes(const TileShape& tile, long width, long height) {
    const Layout layout(tile, width, height);
    // While the copies are made, the words stand beside them.
    const std::ptrdiff_t times = layout.allowsCopies() ? 1 + kNumShifts : 1;
    return static_cast<double>(times * layout.numWords) * sizeof(std::uint64_t);
}

MarkBitmap::MarkBitmap(const TileShape& tile, long width, long height,
                       std::span<const rxPair<long>> pixels)
    : tile_(tile),
      layout_(tile, width, height),
      words_(static_cast<std::size_t>(layout_.numWords)),
      viewsLeft_(layout_.allowsCopies() ? kViewsPerWord * layout_.numWords
                                        : std::numeric_limits<std::int64_t>::max()) {
    for (const rxPair<long>& pixel : pixels) {
        const PixelSpan x = blockSpan(pixel.x(), width);
        const PixelSpan y = blockSpan(pixel.y(), height);
        if (x.isEmpty() || y.isEmpty()) continue;
        for (long row = y.low - (tile.rows() - 1); row <= y.high; ++row) {
            for (long column = x.low - (tile.columns() - 1); column <= x.high; ++column) {
                mark_(column, row);
            }
        }
    }
    const double numPixels = static_cast<double>(width) * static_cast<double>(height);
    density_ = std::min(1.0, static_cast<double>(numMarks_) / numPixels);
}

void MarkBitmap::mark_(std::int64_t x, std::int64_t y) {
    const Sight sight = sightFrom(x, y);
    std::uint64_t& word = words_[static_cast<std::size_t>(firstWordOf_(sight))];
    const std::uint64_t bit = std::uint64_t{1} << (sight.column & 63);
    numMarks_ += (word & bit) == 0 ? 1 : 0;
    word |= bit;
}

void MarkBitmap::addUse(std::int64_t numViews) {
    if (isSpread_()) return;
    viewsLeft_ -= numViews;
    if (viewsLeft_ < 0) spread_();
}

void MarkBitmap::spread_() {
    const std::size_t size = words_.size();
    words_.resize(size * kNumShifts);
    std::uint64_t* const words = words_.data();
    for (std::size_t shift = 1; shift < kNumShifts; ++shift) {
        std::uint64_t* const copy = words + shift * size;
        const auto stride = static_cast<std::size_t>(layout_.stride);
        // The last words have none to their right, and are never the first of a view.
        for (std::size_t i = 0; i + stride < size; ++i) {
            copy[i] = (words[i] >> shift) | (words[i + stride] << (64 - shift));
        }
    }
    copySize_ = static_cast<std::ptrdiff_t>(size);
    shiftMask_ = 0;
}

}  // namespace ptmatch::detail
