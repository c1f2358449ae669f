#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/vector.h"

namespace ptmatch::detail {

/// The way from a point to one of its neighbours. Directed: the neighbour may have none back.
struct NeighbourLink {
    double angleDeg = 0.0;       ///< direction to the neighbour, as `directionDeg` has it
    std::int32_t neighbour = 0;  ///< its node
    bool used = false;           ///< the seed walk went along here
};

/// A point in the course of a mapping.
struct PointNode {
    static constexpr int kMaxLinks = 4;

    rxVector<2> point;
    std::int32_t index = 0;  ///< in the caller's list
    std::uint8_t numLinks = 0;
    bool visited = false;  ///< by the seed walk
    std::array<NeighbourLink, kMaxLinks> links;

    std::span<NeighbourLink> ownLinks() { return std::span(links).first(numLinks); }
    std::span<const NeighbourLink> ownLinks() const { return std::span(links).first(numLinks); }
};

/// A square cell with at least one point in it.
struct Bucket {
    std::int32_t bx = 0;
    std::int32_t by = 0;
    std::int32_t begin = 0;  ///< its nodes are those from here up to `end`
    std::int32_t end = 0;
};

/// The points, sorted into square cells that count from the lower corner of their bounding box.
///
/// Cells without points do not exist here, so that time and memory depend on the number of points
/// alone, however far they lie apart. Buckets stand row by row, each row from left to right, and
/// the nodes of a bucket in reverse order of the input: the list of a bucket grows at its head. The
/// order of `nodes()` is therefore the order in which every stage visits them.
class PointBuckets {
  public:
    /// Cells beyond this one are taken for this one.
    static constexpr std::int32_t kLastCell = 2147483646;

    /// @param points  finite; no more than 2^31 - 1.
    PointBuckets(std::span<const rxVector<2>> points, double cellSize);

    std::vector<PointNode>& nodes() { return nodes_; }
    const std::vector<PointNode>& nodes() const { return nodes_; }
    const std::vector<Bucket>& buckets() const { return buckets_; }

    /// The bucket that holds a node.   Cost: logarithmic in the number of buckets.
    std::int32_t bucketOf(std::int32_t node) const;

  private:
    std::vector<PointNode> nodes_;
    std::vector<Bucket> buckets_;
};

/// Goes through all buckets in order and tells which lie around each.
class BucketSweep {
  public:
    /// The bucket itself and its eight neighbours in the order in which they are searched, -1 for
    /// those without points.
    using Surroundings = std::array<std::int32_t, 9>;

    explicit BucketSweep(std::span<const Bucket> buckets) : buckets_(buckets) {}

    /// Of the first bucket at the first call, then of the next one.
    Surroundings next();

  private:
    std::int32_t advance(std::int32_t& cursor, std::int64_t place) const;
    std::int32_t bucketAt(std::int32_t candidate, std::int64_t place) const;

    std::span<const Bucket> buckets_;
    std::int32_t current_ = 0;
    // The first bucket not before the cell at the lower left (upper left) of the current one. Both
    // cells move forward only, so that the whole sweep costs one pass.
    std::int32_t below_ = 0;
    std::int32_t above_ = 0;
};

}  // namespace ptmatch::detail
