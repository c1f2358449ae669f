#pragma once

#include "ptmatch/block_flags.h"
#include "ptmatch/strip_counter.h"
#include "ptmatch/tile_extent.h"

namespace ptmatch::detail {

/// Bounds the flagged blocks of tiles, and flags the blocks of the next smaller tiles in which one
/// of them reached the threshold.
/// @param counter  prepared with the points and a bitmap of such tiles.
/// @param next     of the extent of the next smaller tiles; what it held is forgotten.
/// Cost: StripCounter::aimAt() for each strip with a flagged block, StripCounter::count() for each
/// flagged block.
void boundTiles(const TileShape& tile, const BlockFlags& flags, long threshold,
                StripCounter& counter, BlockFlags& next);

}  // namespace ptmatch::detail
