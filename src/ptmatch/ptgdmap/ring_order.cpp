#include "ptmatch/ptgdmap/ring_order.h"

#include <algorithm>
#include <cstdlib>

#include "ptmatch/ptgdmap/radix_sort.h"

namespace ptmatch::detail {
namespace {

struct PlacedBucket {
    std::int64_t alongRing;
    RingBucket bucket;
};

/// Cells from the start of a ring to the cell that is (dx, dy) away from the centre. Each side is
/// 2 * ring cells long.
std::int64_t placeAlongRing(std::int64_t dx, std::int64_t dy, std::int64_t ring) {
    const std::int64_t side = 2 * ring;
    if (dy == -ring && dx < ring) return dx + ring;
    if (dx == ring && dy < ring) return side + (dy + ring);
    if (dy == ring && dx > -ring) return 2 * side + (ring - dx);
    return 3 * side + (ring - dy);
}

}  // namespace

std::vector<RingBucket> ringOrder(std::span<const Bucket> buckets, std::int32_t centre) {
    const std::int64_t cx = buckets[static_cast<std::size_t>(centre)].bx;
    const std::int64_t cy = buckets[static_cast<std::size_t>(centre)].by;
    std::vector<PlacedBucket> placed;
    placed.reserve(buckets.size());
    for (std::size_t b = 0; b < buckets.size(); ++b) {
        const std::int64_t dx = buckets[b].bx - cx;
        const std::int64_t dy = buckets[b].by - cy;
        const std::int64_t ring = std::max(std::abs(dx), std::abs(dy));
        placed.push_back({placeAlongRing(dx, dy, ring),
                          {static_cast<std::int32_t>(b), static_cast<std::int32_t>(ring)}});
    }
    // Ring and place together would take 65 bits.
    radixSort(placed, [](const PlacedBucket& p) { return p.alongRing; });
    radixSort(placed, [](const PlacedBucket& p) { return p.bucket.ring; });

    std::vector<RingBucket> order;
    order.reserve(placed.size());
    for (const PlacedBucket& p : placed) order.push_back(p.bucket);
    return order;
}

}  // namespace ptmatch::detail
