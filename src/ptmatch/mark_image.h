#pragma once

#include "foundation/image.h"
#include "foundation/vector.h"

namespace ptmatch::detail {

struct SearchGrid;

/// Alignment, in bytes, of the rows of every working image.
inline constexpr long kRowAlignment = 32;

/// Calls set(x, y) for the pixels of the 3 x 3 block around a pixel that lie inside width x height.
template <class Set>
void forEachBlockPixel(const rxPair<long>& centre, long width, long height, Set&& set) {
    for (long y = centre.y() - 1; y <= centre.y() + 1; ++y) {
        if (y < 0 || y >= height) continue;
        for (long x = centre.x() - 1; x <= centre.x() + 1; ++x) {
            if (x >= 0 && x < width) set(x, y);
        }
    }
}

/// The data as marks: 1 in the 3 x 3 block around each data point's pixel, also where blocks
/// overlap, 0 elsewhere. Cost O(pixels + data).
rxPelBuffer<unsigned char> drawMarks(const SearchGrid& grid);

}  // namespace ptmatch::detail
