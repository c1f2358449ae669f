#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "ptmatch/ptgdmap/distance_bands.h"
#include "ptmatch/ptgdmap/point_buckets.h"

namespace ptmatch::detail {

/// The first few of the nodes that were offered, in the order of nodes.
class FirstNodes {
  public:
    static constexpr int kMost = 3;

    /// @param wanted  1 to `kMost`.
    explicit FirstNodes(int wanted) : wanted_(wanted) {}

    bool isFull() const { return count_ == wanted_; }
    /// Whether a node, or one after it, could still be among the first.
    bool hasRoomFor(std::int32_t node) const { return !isFull() || node < last(); }
    void offer(std::int32_t node);

    std::span<const std::int32_t> nodes() const {
        return std::span(nodes_).first(static_cast<std::size_t>(count_));
    }

  private:
    std::int32_t last() const { return nodes_[static_cast<std::size_t>(count_ - 1)]; }

    int wanted_;
    int count_ = 0;
    std::array<std::int32_t, kMost> nodes_{};  // ascending
};

/// Finds, in a bucket, the first nodes whose distance from a point lies in a distance band.
///
/// Buckets with few nodes are read through. The others get a tree of boxes, halved along their
/// longer side down to a few points, each box knowing the first node in it: boxes out of reach are
/// passed over, and so are those that begin after what is found already. Many points in one place,
/// or in several places that are no neighbours of each other, are thus a matter of a few boxes each
/// instead of all pairs of points.
class BandSearch {
  public:
    /// Buckets with more nodes have a tree.
    static constexpr std::int32_t kFewNodes = 32;

    /// Both must live and stay as they are while this is used (links may change).
    BandSearch(const PointBuckets& points, const DistanceBands& bands);

    /// The first `wanted` (1 to 3) nodes of the bucket at an accepted distance from the point;
    /// those that there are, when there are fewer.
    FirstNodes first(std::int32_t bucket, const rxVector<2>& from, int wanted);

    /// Points and boxes looked at so far: what the search costs.
    std::int64_t work() const { return work_; }

  private:
    static constexpr std::int32_t kLeafSize = 8;
    static constexpr std::int32_t kNone = -1;

    struct Place {
        rxVector<2> point;
        std::int32_t node;
    };

    struct Tree {
        PointBox box;
        std::int32_t firstNode = 0;
        std::int32_t begin = 0;  // of its part of `places_`
        std::int32_t end = 0;
        std::int32_t earlier = kNone;  // the half with the earlier first node; kNone in a leaf
        std::int32_t later = kNone;
    };

    std::int32_t grow(std::int32_t begin, std::int32_t end);
    void splitInHalf(std::int32_t begin, std::int32_t middle, std::int32_t end, bool byX);
    void searchTree(std::int32_t tree, const rxVector<2>& from, FirstNodes& found);
    void offerIfNear(const rxVector<2>& point, std::int32_t node, const rxVector<2>& from,
                     FirstNodes& found);

    const PointBuckets& points_;
    DistanceBands bands_;
    std::vector<std::int32_t> roots_;  // of each bucket, kNone without a tree
    std::vector<Tree> trees_;
    std::vector<Place> places_;  // the nodes of buckets with trees, leaf by leaf
    std::int64_t work_ = 0;
};

}  // namespace ptmatch::detail
