#pragma once

#include "foundation/vector.h"

namespace ptmatch::detail {

/// Pixels along one axis from low to high, both included; empty when low lies above high.
struct PixelSpan {
    long low;
    long high;

    bool isEmpty() const { return low > high; }
};

/// The part of the three pixels around one that lies in an image of that extent.
inline PixelSpan blockSpan(long centre, long extent) {
    return {centre > 0 ? centre - 1 : 0, centre + 1 < extent ? centre + 1 : extent - 1};
}

/// Calls set(x, y) for the pixels of the 3 x 3 block around a pixel that lie inside width x height.
template <class Set>
void forEachBlockPixel(const rxPair<long>& centre, long width, long height, Set&& set) {
    const PixelSpan columns = blockSpan(centre.x(), width);
    const PixelSpan rows = blockSpan(centre.y(), height);
    for (long y = rows.low; y <= rows.high; ++y) {
        for (long x = columns.low; x <= columns.high; ++x) set(x, y);
    }
}

}  // namespace ptmatch::detail
