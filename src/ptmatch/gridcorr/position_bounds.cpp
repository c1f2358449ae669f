#include "ptmatch/gridcorr/position_bounds.h"

#include <algorithm>
#include <string>
#include <utility>

#include "ptmatch/gridcorr.h"

namespace ptmatch::detail {
namespace {

void requireIn32Bits(long first, long last) {
    if (std::in_range<std::int32_t>(first) && std::in_range<std::int32_t>(last)) return;
    throw rx_PelBuffer::Errors("grid positions from " + std::to_string(first) + " to " +
                               std::to_string(last) + " do not fit 32 bits");
}

}  // namespace

rxPelRect boundsOf(std::span<const rxPair<long>> positions) {
    long minX = positions.front().x();
    long maxX = minX;
    long minY = positions.front().y();
    long maxY = minY;
    for (const rxPair<long>& p : positions) {
        minX = std::min(minX, p.x());
        maxX = std::max(maxX, p.x());
        minY = std::min(minY, p.y());
        maxY = std::max(maxY, p.y());
    }
    // Before any difference is taken.
    requireIn32Bits(minX, maxX);
    requireIn32Bits(minY, maxY);
    return rxPelRect(rxPair<long>(minX, minY), rxPair<long>(maxX, maxY));
}

void requireIn32Bits(const rxPelRect& bounds) {
    requireIn32Bits(bounds.ul().x(), bounds.lr().x());
    requireIn32Bits(bounds.ul().y(), bounds.lr().y());
}

void requireImageSize(std::int64_t width, std::int64_t height) {
    // Each side first: the product of two 33-bit numbers may not fit.
    if (width > kMaxPositions || height > kMaxPositions || width * height > kMaxPositions) {
        throw rx_PointToGridCorresponderDefs::InsufficientMemory();
    }
}

}  // namespace ptmatch::detail
