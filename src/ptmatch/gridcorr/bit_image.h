#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ptmatch::detail {

/// Rows of pixels that are worked on at a time.
inline constexpr std::size_t kBitBlockRows = 8;

/// 64 columns by kBitBlockRows rows of pixels, a word for each row; bit i is column i.
using BitBlock = std::array<std::uint64_t, kBitBlockRows>;

/// An image of one bit per pixel, made for reading BitBlocks that begin at any pixel.
///
/// Words of the same 64 columns follow one another row by row; to the right of every word stands
/// another one, and below every row kBitBlockRows - 1 further ones, of zeros at the edges.
class BitImage {
  public:
    BitImage() = default;
    /// Of zeros.
    BitImage(std::size_t width, std::size_t height);

    std::size_t width() const { return width_; }
    std::size_t height() const { return height_; }

    void set(std::size_t x, std::size_t y) {
        words_[(x / 64) * stride_ + y] |= std::uint64_t{1} << (x % 64);
    }

    /// The word that holds the pixel; the one to the right of it stands stride() further on.
    const std::uint64_t* wordAt(std::size_t x, std::size_t y) const {
        return words_.data() + (x / 64) * stride_ + y;
    }
    std::size_t stride() const { return stride_; }

  private:
    std::size_t width_ = 0;
    std::size_t height_ = 0;
    std::size_t stride_ = 0;
    std::vector<std::uint64_t> words_;
};

}  // namespace ptmatch::detail
