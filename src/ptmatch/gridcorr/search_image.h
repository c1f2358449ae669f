#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ptmatch/gridcorr/bit_image.h"

namespace ptmatch::detail {

/// The image that a pattern is moved over: which pixels are 1, and which are anything but 0.
class SearchImage {
  public:
    /// Of zeros.
    /// @param hasOtherValues  whether a value other than 0 and 1 is going to be put.
    SearchImage(std::size_t width, std::size_t height, bool hasOtherValues);

    void put(std::size_t x, std::size_t y, unsigned char value) {
        if (value == 0) return;
        if (value == 1) ones_.set(x, y);
        if (hasOtherValues_) occupied_.set(x, y);
    }

    std::size_t width() const { return ones_.width(); }
    std::size_t height() const { return ones_.height(); }

    /// Set where the pixel is 1: an expected probe agrees.
    const BitImage& ones() const { return ones_; }
    /// Set where the pixel is not 0: a probe that is not expected disagrees.
    const BitImage& occupied() const { return hasOtherValues_ ? occupied_ : ones_; }

  private:
    bool hasOtherValues_;
    BitImage ones_;
    BitImage occupied_;  // empty when it would equal ones_
};

/// How many pixels of an image are set in a rectangle, in tiles of 64 columns and kBitBlockRows
/// rows.
class TileCounts {
  public:
    explicit TileCounts(const BitImage& image);

    /// The number in all tiles that the rectangle touches: not less than in the rectangle. Parts of
    /// it to the right of the image or below it hold nothing.
    std::size_t around(std::size_t x, std::size_t y, std::size_t width, std::size_t height) const;

  private:
    std::size_t columns_;
    std::size_t rows_;
    std::vector<std::uint32_t> sums_;  // of all tiles to the left and above, (columns + 1) per row
};

}  // namespace ptmatch::detail
