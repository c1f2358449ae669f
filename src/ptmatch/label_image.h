#pragma once

#include <cstddef>
#include <cstdint>
#include <variant>

#include "foundation/image.h"

namespace ptmatch::detail {

struct SearchGrid;

/// Alignment, in bytes, of the rows of a label image.
inline constexpr long kRowAlignment = 32;

/// Data points up to which labels of 16 bits suffice.
inline constexpr std::size_t kMaxShortLabels = 65535;

/// Which data point lies where on the search grid.
/// Labels are data indices plus 1 (0 = nothing there), of 16 bits while those suffice.
class LabelImage {
  public:
    /// How much of its surroundings a data point labels.
    enum class Extent {
        Point,  ///< its pixel alone
        Block   ///< the 3 x 3 block around it, as the marks are drawn
    };

    /// Draws all data points in order: where two meet, the later one stays. Cost O(pixels + data).
    LabelImage(const SearchGrid& grid, Extent extent);

    /// Index of the data point at a pixel; -1 where none is and outside the image.
    long dataIndexAt(long x, long y) const;

  private:
    template <class Label>
    rxPelBuffer<Label> draw_(const SearchGrid& grid, Extent extent) const;

    long width_;
    long height_;
    std::variant<rxPelBuffer<unsigned short>, rxPelBuffer<std::uint32_t>> labels_;
};

}  // namespace ptmatch::detail
