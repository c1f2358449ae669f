#include "ptmatch/gridcorr/search_image.h"

#include <algorithm>
#include <bit>

namespace ptmatch::detail {

SearchImage::SearchImage(std::size_t width, std::size_t height, bool hasOtherValues)
    : hasOtherValues_(hasOtherValues), ones_(width, height) {
    if (hasOtherValues) occupied_ = BitImage(width, height);
}

TileCounts::TileCounts(const BitImage& image)
    : columns_((image.width() + 63) / 64),
      rows_((image.height() + kBitBlockRows - 1) / kBitBlockRows),
      sums_((columns_ + 1) * (rows_ + 1)) {
    for (std::size_t row = 0; row < rows_; ++row) {
        const std::uint32_t* above = sums_.data() + row * (columns_ + 1);
        std::uint32_t* here = sums_.data() + (row + 1) * (columns_ + 1);
        std::uint32_t left = 0;
        for (std::size_t column = 0; column < columns_; ++column) {
            const std::uint64_t* words = image.wordAt(column * 64, row * kBitBlockRows);
            for (std::size_t r = 0; r < kBitBlockRows; ++r) {
                left += static_cast<std::uint32_t>(std::popcount(words[r]));
            }
            here[column + 1] = above[column + 1] + left;
        }
    }
}

std::size_t TileCounts::around(std::size_t x, std::size_t y, std::size_t width,
                               std::size_t height) const {
    const std::size_t left = std::min(x / 64, columns_);
    const std::size_t right = std::min((x + width + 63) / 64, columns_);
    const std::size_t top = std::min(y / kBitBlockRows, rows_);
    const std::size_t bottom = std::min((y + height + kBitBlockRows - 1) / kBitBlockRows, rows_);
    const auto sum = [&](std::size_t column, std::size_t row) {
        return std::size_t{sums_[row * (columns_ + 1) + column]};
    };
    return (sum(right, bottom) + sum(left, top)) - (sum(left, bottom) + sum(right, top));
}

}  // namespace ptmatch::detail
