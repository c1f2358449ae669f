#pragma once

#include <cstdint>
#include <span>

#include "foundation/image.h"

namespace ptmatch::detail {

/// Most pixels of an image of positions.
inline constexpr std::int64_t kMaxPositions = std::int64_t{1} << 28U;

/// The rectangle from the smallest to the largest x and y of the positions, of which there is one
/// at least; as wide as their distance, so that a single position gives 0 by 0.
/// @throws rx_PelBuffer::Errors: a coordinate does not fit 32 bits.
rxPelRect boundsOf(std::span<const rxPair<long>> positions);

/// @throws rx_PelBuffer::Errors: an edge of the rectangle does not fit 32 bits.
void requireIn32Bits(const rxPelRect& bounds);

/// @throws rx_PointToGridCorresponderDefs::InsufficientMemory: more than kMaxPositions pixels.
void requireImageSize(std::int64_t width, std::int64_t height);

}  // namespace ptmatch::detail
