#include "ptmatch/ptgdmap/ring_growth.h"

#include <cmath>

#include "ptmatch/ptgdmap/distance_bands.h"
#include "ptmatch/ptgdmap/local_model.h"
#include "ptmatch/ptgdmap/ring_order.h"

namespace ptmatch::detail {
namespace {

/// False for not-a-number, too.
bool isWithinLimit(const rxVector<2>& position) {
    return std::abs(position.x()) < RingGrowth::kPositionLimit &&
           std::abs(position.y()) < RingGrowth::kPositionLimit;
}

}  // namespace

bool RefitSchedule::isDue(std::int32_t count) {
    if (count < threshold_) return false;
    while (threshold_ <= count) {
        const std::int64_t next = threshold_ + previous_;
        previous_ = threshold_;
        threshold_ = next;
    }
    return true;
}

RingGrowth::RingGrowth(const PointBuckets& points, const MapSetup& setup, rx2PtMatchTm& estimator)
    : points_(points),
      estimator_(estimator),
      squaredSnap_(setup.snap * setup.snap),
      dof_(setup.dof()) {}

void RingGrowth::refineAround(std::int32_t node) {
    const auto accept = [](const PointNode&, const rxVector<2>&) {};
    const Walk walk =
        walkRings(node, accept, [](std::int32_t count) { return count > kEnoughToFit; });
    // A pass that runs out of rings keeps its last fit, although points may have come since.
    if (walk.hasStopped) estimator_.fit(dof_);
}

std::int32_t RingGrowth::assignAround(std::int32_t node, std::span<rxPair<long>> map) {
    const auto assign = [&](const PointNode& accepted, const rxVector<2>& position) {
        map[static_cast<std::size_t>(accepted.index)] =
            rxPair<long>(static_cast<long>(position.x()), static_cast<long>(position.y()));
    };
    return walkRings(node, assign, [](std::int32_t) { return false; }).count;
}

/// Takes up the centre bucket and then ring after ring.
///
/// Only rings with points in them are gone through. An empty one would change nothing: it leaves
/// the count as it is, and at the end of the ring before, the schedule has moved beyond the count
/// and the walk has not stopped for it. The one exception is the first ring, because nothing is
/// asked between the centre bucket and its end: even an empty one has an end, as soon as there is
/// any bucket besides the centre.
template <class Accept, class Stop>
RingGrowth::Walk RingGrowth::walkRings(std::int32_t node, Accept&& accept, Stop&& stop) {
    const std::vector<RingBucket> order = ringOrder(points_.buckets(), points_.bucketOf(node));
    RefitSchedule schedule;
    std::int32_t count = 0;
    // @return whether to stop
    const auto endRing = [&] {
        if (schedule.isDue(count)) estimator_.fit(dof_);
        return stop(count);
    };
    for (std::size_t k = 0; k < order.size(); ++k) {
        const std::int32_t ring = order[k].ring;
        if (k == 1 && ring > 1 && endRing()) return {count, true};
        count += takeUp(points_.buckets()[static_cast<std::size_t>(order[k].bucket)], accept);
        const bool isLastOfRing = k + 1 == order.size() || order[k + 1].ring != ring;
        if (ring > 0 && isLastOfRing && endRing()) return {count, true};
    }
    return {count, false};
}

/// @return how many of the bucket's points lie on the grid.
template <class Accept>
std::int32_t RingGrowth::takeUp(const Bucket& bucket, Accept&& accept) {
    std::int32_t count = 0;
    for (std::int32_t k = bucket.begin; k < bucket.end; ++k) {
        const PointNode& node = points_.nodes()[static_cast<std::size_t>(k)];
        const rxVector<2> position = nearestNode(estimator_.b2a(node.point));
        const double squaredMiss = squaredLength(estimator_.a2b(position) - node.point);
        if (!(squaredMiss <= squaredSnap_) || !isWithinLimit(position)) continue;
        estimator_.update(position, node.point);
        accept(node, position);
        ++count;
    }
    return count;
}

}  // namespace ptmatch::detail
