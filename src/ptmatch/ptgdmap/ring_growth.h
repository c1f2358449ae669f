#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "foundation/vector.h"
#include "ptmatch/ptgdmap/map_setup.h"
#include "ptmatch/ptgdmap/point_buckets.h"
#include "ptmatch/tm.h"

namespace ptmatch::detail {

/// When the model of a growth is fitted again: at the end of the first ring that brings the count
/// to 3, 5, 8, 13, 21, ... points or beyond.
class RefitSchedule {
  public:
    /// @return whether it is time; the next time is then after the count.
    bool isDue(std::int32_t count);

  private:
    std::int64_t previous_ = 2;
    std::int64_t threshold_ = 3;
};

/// Grows a model of the grid outwards over the points, ring by ring of buckets: a point within the
/// snap distance of the node it is nearest to belongs to the grid, and the model is refined with
/// it.
class RingGrowth {
  public:
    /// Points that fit a first pass.
    static constexpr std::int32_t kEnoughToFit = 30;

    /// Nodes this many steps out, along either axis, are not accepted: positions (also those that
    /// the diagonals of a staggered grid are turned into) stay clear of the mark of a point without
    /// one.
    static constexpr double kPositionLimit = 1073741824.0;

    /// @param estimator  fitted; grid positions in plane a, points in plane b. Refined in place.
    RingGrowth(const PointBuckets& points, const MapSetup& setup, rx2PtMatchTm& estimator);

    /// The first pass: refines the model around a node, until more than `kEnoughToFit` points have
    /// been taken up or no ring is left.
    void refineAround(std::int32_t node);

    /// The second pass: goes over all points from a node outwards and writes the position of each
    /// accepted one into the map, at the index of the point.
    /// @return how many were accepted.
    std::int32_t assignAround(std::int32_t node, std::span<rxPair<long>> map);

  private:
    struct Walk {
        std::int32_t count;  // of the points accepted
        bool hasStopped;     // before the rings ran out
    };

    template <class Accept, class Stop>
    Walk walkRings(std::int32_t node, Accept&& accept, Stop&& stop);

    template <class Accept>
    std::int32_t takeUp(const Bucket& bucket, Accept&& accept);

    const PointBuckets& points_;
    rx2PtMatchTm& estimator_;
    double squaredSnap_;
    int dof_;
};

}  // namespace ptmatch::detail
