#include "ptmatch/mark_bitmap.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace ptmatch::detail {
namespace {

constexpr std::ptrdiff_t kNumShifts = 64;

// Copies for all shifts of bitmaps up to this size take 2 MiB at most, so they stay in the caches.
constexpr std::ptrdiff_t kMaxWordsOfCopy = 4096;

// What the copies of a word cost (mostly its share of pages of memory that are touched for the
// first time), in views of a block that are counted with shifts instead of without.
constexpr std::int64_t kViewsPerWord = 150;

// Cells before pixel 0 from which a window may reach it.
std::int64_t cellsBefore(int log2Step, std::span<const long> reaches) {
    const std::int64_t largest = *std::max_element(reaches.begin(), reaches.end());
    const std::int64_t step = std::int64_t{1} << log2Step;
    return 1 + ((2 * largest + step - 1) >> log2Step);
}

}  // namespace

MarkBitmap::Layout::Layout(const TileShape& tile, long width, long height,
                           std::span<const long> reaches)
    : columnsBefore(cellsBefore(tile.log2Columns, reaches)),
      rowsBefore(cellsBefore(tile.log2Rows, reaches)),
      columns(((width - 1) >> tile.log2Columns) + 1 + columnsBefore),
      rows(((height - 1) >> tile.log2Rows) + 1 + rowsBefore),
      stride(static_cast<std::ptrdiff_t>(rows) + kBlockRows - 1),
      phaseSize(stride * (static_cast<std::ptrdiff_t>((columns + 63) / 64) + 1)),
      layerSize(phaseSize * static_cast<std::ptrdiff_t>(tile.columns() * tile.rows())) {
    // The strip of zeros right of the last phase, and the rows of zeros below it.
    numWords = layerSize * std::ssize(reaches) + stride + kBlockRows - 1;
}

bool MarkBitmap::Layout::allowsCopies() const {
    return numWords <= kMaxWordsOfCopy;
}

double MarkBitmap::maxBytes(const TileShape& tile, long width, long height,
                            std::span<const long> reaches) {
    const Layout layout(tile, width, height, reaches);
    // While the copies are made, the words stand beside them.
    const std::ptrdiff_t times = layout.allowsCopies() ? 1 + kNumShifts : 1;
    return static_cast<double>(times * layout.numWords) * sizeof(std::uint64_t);
}

MarkBitmap::MarkBitmap(const TileShape& tile, long width, long height,
                       std::span<const rxPair<long>> pixels, std::span<const long> reaches)
    : tile_(tile),
      layout_(tile, width, height, reaches),
      words_(static_cast<std::size_t>(layout_.numWords)),
      viewsLeft_(layout_.allowsCopies() ? kViewsPerWord * layout_.numWords
                                        : std::numeric_limits<std::int64_t>::max()),
      numPixels_(static_cast<double>(width) * static_cast<double>(height)) {
    for (std::size_t layer = 0; layer < reaches.size(); ++layer) {
        const long left = tile.columns() - 1 + 2 * reaches[layer];
        const long up = tile.rows() - 1 + 2 * reaches[layer];
        for (const rxPair<long>& pixel : pixels) {
            const PixelSpan x = blockSpan(pixel.x(), width);
            const PixelSpan y = blockSpan(pixel.y(), height);
            if (x.isEmpty() || y.isEmpty()) continue;
            markAround_({x.low - left, x.high}, {y.low - up, y.high}, layer);
        }
    }
}

// The pixels of one column phase in a row are cells side by side, and those of a row phase in a
// column words side by side.
void MarkBitmap::markAround_(const PixelSpan& columns, const PixelSpan& rows, std::size_t layer) {
    const long lastColumn = std::min<long>(columns.high, columns.low + tile_.columns() - 1);
    const long lastRow = std::min<long>(rows.high, rows.low + tile_.rows() - 1);
    for (long y = rows.low; y <= lastRow; ++y) {
        const std::int64_t numRows = ((rows.high - y) >> tile_.log2Rows) + 1;
        for (long x = columns.low; x <= lastColumn; ++x) {
            const std::int64_t numColumns = ((columns.high - x) >> tile_.log2Columns) + 1;
            markCells_(sightFrom(x, y, layer), numColumns, numRows);
        }
    }
}

void MarkBitmap::markCells_(Sight first, std::int64_t numColumns, std::int64_t numRows) {
    while (numColumns > 0) {
        const std::int64_t bit = first.column & 63;
        const std::int64_t count = std::min<std::int64_t>(numColumns, 64 - bit);
        const std::uint64_t cells = (~std::uint64_t{0} >> (64 - count)) << bit;
        std::uint64_t* const words = words_.data() + firstWordOf_(first);
        for (std::int64_t row = 0; row < numRows; ++row) words[row] |= cells;
        first.column += count;
        numColumns -= count;
    }
}

double MarkBitmap::density() const {
    std::int64_t numMarks = 0;
    for (const std::uint64_t word : words_) numMarks += std::popcount(word);
    return std::min(1.0, static_cast<double>(numMarks) / numPixels_);
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
