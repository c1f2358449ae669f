#include "ptmatch/ptgdmap/band_search.h"

#include <algorithm>
#include <utility>

namespace ptmatch::detail {

void FirstNodes::offer(std::int32_t node) {
    if (!hasRoomFor(node)) return;
    if (!isFull()) ++count_;
    auto place = static_cast<std::size_t>(count_ - 1);
    for (; place > 0 && nodes_[place - 1] > node; --place) nodes_[place] = nodes_[place - 1];
    nodes_[place] = node;
}

BandSearch::BandSearch(const PointBuckets& points, const DistanceBands& bands)
    : points_(points), bands_(bands), roots_(points.buckets().size(), kNone) {
    for (std::size_t b = 0; b < roots_.size(); ++b) {
        const Bucket& bucket = points.buckets()[b];
        if (bucket.end - bucket.begin <= kFewNodes) continue;
        const auto begin = static_cast<std::int32_t>(places_.size());
        for (std::int32_t node = bucket.begin; node < bucket.end; ++node) {
            places_.push_back({points.nodes()[static_cast<std::size_t>(node)].point, node});
        }
        roots_[b] = grow(begin, static_cast<std::int32_t>(places_.size()));
    }
}

FirstNodes BandSearch::first(std::int32_t bucket, const rxVector<2>& from, int wanted) {
    FirstNodes found(wanted);
    const auto b = static_cast<std::size_t>(bucket);
    if (roots_[b] != kNone) {
        searchTree(roots_[b], from, found);
        return found;
    }
    const Bucket& range = points_.buckets()[b];
    for (std::int32_t node = range.begin; node < range.end && !found.isFull(); ++node) {
        offerIfNear(points_.nodes()[static_cast<std::size_t>(node)].point, node, from, found);
    }
    return found;
}

/// The tree over a part of `places_`; the recursion is as deep as the number of halvings.
std::int32_t BandSearch::grow(std::int32_t begin, std::int32_t end) {
    Tree tree;
    tree.begin = begin;
    tree.end = end;
    tree.firstNode = places_[static_cast<std::size_t>(begin)].node;
    for (std::int32_t k = begin; k < end; ++k) {
        const Place& place = places_[static_cast<std::size_t>(k)];
        tree.firstNode = std::min(tree.firstNode, place.node);
        tree.box.add(place.point);
    }
    if (end - begin > kLeafSize) {
        const std::int32_t middle = begin + (end - begin) / 2;
        const PointBox& box = tree.box;
        splitInHalf(begin, middle, end, box.maxX - box.minX >= box.maxY - box.minY);
        tree.earlier = grow(begin, middle);
        tree.later = grow(middle, end);
        const auto firstOf = [&](std::int32_t t) {
            return trees_[static_cast<std::size_t>(t)].firstNode;
        };
        if (firstOf(tree.later) < firstOf(tree.earlier)) std::swap(tree.earlier, tree.later);
    }
    trees_.push_back(tree);
    return static_cast<std::int32_t>(trees_.size()) - 1;
}

void BandSearch::splitInHalf(std::int32_t begin, std::int32_t middle, std::int32_t end, bool byX) {
    const auto key = [&](const Place& place) {
        // Points in one place are halved by their order, so that one half has the earlier ones.
        return std::pair(byX ? place.point.x() : place.point.y(), place.node);
    };
    std::nth_element(places_.begin() + begin, places_.begin() + middle, places_.begin() + end,
                     [&](const Place& a, const Place& b) { return key(a) < key(b); });
}

void BandSearch::searchTree(std::int32_t tree, const rxVector<2>& from, FirstNodes& found) {
    const Tree& t = trees_[static_cast<std::size_t>(tree)];
    if (!found.hasRoomFor(t.firstNode)) return;
    ++work_;
    if (!bands_.mayHold(from, t.box)) return;
    if (t.earlier == kNone) {
        for (std::int32_t k = t.begin; k < t.end; ++k) {
            const Place& place = places_[static_cast<std::size_t>(k)];
            offerIfNear(place.point, place.node, from, found);
        }
        return;
    }
    searchTree(t.earlier, from, found);
    searchTree(t.later, from, found);
}

void BandSearch::offerIfNear(const rxVector<2>& point, std::int32_t node, const rxVector<2>& from,
                             FirstNodes& found) {
    ++work_;
    if (bands_.holds(squaredLength(point - from))) found.offer(node);
}

}  // namespace ptmatch::detail
