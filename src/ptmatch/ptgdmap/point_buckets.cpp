#include "ptmatch/ptgdmap/point_buckets.h"

#include <algorithm>
#include <cmath>

#include "ptmatch/ptgdmap/distance_bands.h"
#include "ptmatch/ptgdmap/radix_sort.h"

namespace ptmatch::detail {
namespace {

struct SortedPoint {
    std::uint64_t cell = 0;  // row, then column
    std::int32_t index = 0;
};

std::int32_t cellOf(double fromCorner, double reciprocal) {
    const double cell = std::trunc(fromCorner * reciprocal + 0.5);
    // Bounded as a double: far-flung points have cells, and infinities, beyond every integer.
    return static_cast<std::int32_t>(std::min<double>(cell, PointBuckets::kLastCell));
}

constexpr std::int64_t placeOf(std::int64_t bx, std::int64_t by) {
    return by * (std::int64_t{1} << 32) + bx;
}

std::vector<SortedPoint> sortedByCell(std::span<const rxVector<2>> points, double cellSize) {
    PointBox box;
    for (const rxVector<2>& p : points) box.add(p);
    // Multiplied by the reciprocal and not divided: the cells are part of the results.
    const double reciprocal = 1.0 / cellSize;

    std::vector<SortedPoint> sorted;
    sorted.reserve(points.size());
    for (std::size_t k = points.size(); k > 0;) {
        --k;
        const std::int32_t bx = cellOf(points[k].x() - box.minX, reciprocal);
        const std::int32_t by = cellOf(points[k].y() - box.minY, reciprocal);
        sorted.push_back(
            {static_cast<std::uint64_t>(placeOf(bx, by)), static_cast<std::int32_t>(k)});
    }
    radixSort(sorted, [](const SortedPoint& p) { return p.cell; });
    return sorted;
}

}  // namespace

PointBuckets::PointBuckets(std::span<const rxVector<2>> points, double cellSize) {
    const std::vector<SortedPoint> sorted = sortedByCell(points, cellSize);
    std::size_t numBuckets = 0;
    for (std::size_t k = 0; k < sorted.size(); ++k) {
        numBuckets += k == 0 || sorted[k].cell != sorted[k - 1].cell ? 1 : 0;
    }
    buckets_.reserve(numBuckets);
    nodes_.reserve(sorted.size());
    for (std::size_t k = 0; k < sorted.size(); ++k) {
        const auto node = static_cast<std::int32_t>(k);
        if (k == 0 || sorted[k].cell != sorted[k - 1].cell) {
            buckets_.push_back({static_cast<std::int32_t>(sorted[k].cell & 0xffffffffU),
                                static_cast<std::int32_t>(sorted[k].cell >> 32U), node, node});
        }
        ++buckets_.back().end;
        PointNode& added = nodes_.emplace_back();
        added.point = points[static_cast<std::size_t>(sorted[k].index)];
        added.index = sorted[k].index;
    }
}

std::int32_t PointBuckets::bucketOf(std::int32_t node) const {
    const auto after =
        std::upper_bound(buckets_.begin(), buckets_.end(), node,
                         [](std::int32_t n, const Bucket& bucket) { return n < bucket.begin; });
    return static_cast<std::int32_t>(after - buckets_.begin()) - 1;
}

BucketSweep::Surroundings BucketSweep::next() {
    const Bucket& bucket = buckets_[static_cast<std::size_t>(current_)];
    const std::int64_t x = bucket.bx;
    const std::int64_t y = bucket.by;

    // Each row's three cells are taken from the left; those that exist follow one another.
    const auto row = [&](std::int32_t& cursor, std::int64_t by) {
        std::int32_t candidate = advance(cursor, placeOf(x - 1, by));
        std::array<std::int32_t, 3> cells{};
        for (std::int64_t dx = -1; dx <= 1; ++dx) {
            const std::int32_t found = bucketAt(candidate, placeOf(x + dx, by));
            cells[static_cast<std::size_t>(dx + 1)] = found;
            if (found >= 0) ++candidate;
        }
        return cells;
    };
    const auto [belowLeft, below, belowRight] = row(below_, y - 1);
    const auto [aboveLeft, above, aboveRight] = row(above_, y + 1);
    const std::int32_t right = bucketAt(current_ + 1, placeOf(x + 1, y));
    const std::int32_t left = bucketAt(current_ - 1, placeOf(x - 1, y));
    // The order decides which neighbours are found before a point has links enough.
    return {current_++, right, aboveRight, belowRight, above, left, aboveLeft, belowLeft, below};
}

std::int32_t BucketSweep::advance(std::int32_t& cursor, std::int64_t place) const {
    const auto size = static_cast<std::int32_t>(buckets_.size());
    const auto isBefore = [&](const Bucket& b) { return placeOf(b.bx, b.by) < place; };
    while (cursor < size && isBefore(buckets_[static_cast<std::size_t>(cursor)])) ++cursor;
    return cursor;
}

std::int32_t BucketSweep::bucketAt(std::int32_t candidate, std::int64_t place) const {
    if (candidate < 0 || candidate >= static_cast<std::int32_t>(buckets_.size())) return -1;
    const Bucket& bucket = buckets_[static_cast<std::size_t>(candidate)];
    return placeOf(bucket.bx, bucket.by) == place ? candidate : -1;
}

}  // namespace ptmatch::detail
