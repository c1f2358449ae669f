#pragma once

#include <cstdint>
#include <span>

#include "foundation/image.h"
#include "foundation/vector.h"

namespace ptmatch::detail {

/// The votes of all translations of a window at once: vote (x, y) becomes the number of model
/// pixels that land on a mark when they are moved by window.ul() + (x, y), or the sum of their
/// weights.
///
/// @param marks        0 or 1 per pixel.
/// @param window       translations in pixels, both corners included.
/// @param modelPixels  one per model point, without translation.
/// @param weights      one per model point, or empty: each counts 1.
/// @param votes        of size (window.width() + 1) x (window.height() + 1); overwritten.
/// Sums must fit Vote (short or int32).   Cost O(model pixels x window), no allocation.
template <class Vote>
void countVotes(const rxPelBuffer_const<unsigned char>& marks, const rxPelRect& window,
                std::span<const rxPair<long>> modelPixels, std::span<const std::int16_t> weights,
                rxPelBuffer<Vote>& votes);

extern template void countVotes<short>(const rxPelBuffer_const<unsigned char>&, const rxPelRect&,
                                       std::span<const rxPair<long>>, std::span<const std::int16_t>,
                                       rxPelBuffer<short>&);
extern template void countVotes<std::int32_t>(const rxPelBuffer_const<unsigned char>&,
                                              const rxPelRect&, std::span<const rxPair<long>>,
                                              std::span<const std::int16_t>,
                                              rxPelBuffer<std::int32_t>&);

}  // namespace ptmatch::detail
