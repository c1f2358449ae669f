#include "ptmatch/ptgdmap/neighbour_links.h"

#include <algorithm>
#include <cmath>

#include "foundation/assertion.h"
#include "ptmatch/ptgdmap/band_search.h"
#include "ptmatch/ptgdmap/map_setup.h"

namespace ptmatch::detail {
namespace {

// A bucket is left as soon as the point has this many links.
constexpr int kLinksToLeaveBucket = 3;

void addLink(PointNode& from, std::int32_t neighbour, double angleDeg) {
#ifndef NDEBUG
    if (from.numLinks >= PointNode::kMaxLinks) rfReportAssertion(__LINE__);
#endif
    NeighbourLink& link = from.links[from.numLinks++];
    link.angleDeg = angleDeg;
    link.neighbour = neighbour;
}

void linkToBucket(PointNode& from, std::int32_t bucket, std::vector<PointNode>& nodes,
                  BandSearch& search, DirectionHistogram& histogram) {
    const int wanted = std::max(1, kLinksToLeaveBucket - from.numLinks);
    const FirstNodes found = search.first(bucket, from.point, wanted);
    for (const std::int32_t neighbour : found.nodes()) {
        const rxVector<2> way = nodes[static_cast<std::size_t>(neighbour)].point - from.point;
        const double angleDeg = directionDeg(way);
        ++histogram[histogramBin(angleDeg)];
        addLink(from, neighbour, angleDeg);
    }
}

}  // namespace

LinkedDirections linkNeighbours(PointBuckets& points, const DistanceBands& bands) {
    LinkedDirections result;
    std::vector<PointNode>& nodes = points.nodes();
    BandSearch search(points, bands);
    BucketSweep sweep(points.buckets());
    for (const Bucket& bucket : points.buckets()) {
        const BucketSweep::Surroundings surroundings = sweep.next();
        for (std::int32_t node = bucket.begin; node < bucket.end; ++node) {
            PointNode& from = nodes[static_cast<std::size_t>(node)];
            for (const std::int32_t around : surroundings) {
                if (from.numLinks >= PointNode::kMaxLinks) break;
                if (around >= 0) linkToBucket(from, around, nodes, search, result.histogram);
            }
        }
    }
    result.work = search.work();
    return result;
}

std::size_t histogramBin(double angleDeg) {
#ifndef NDEBUG
    if (!(angleDeg >= 0.0 && angleDeg <= 360.0)) rfReportAssertion(__LINE__);
#endif
    const auto bin = static_cast<std::size_t>(std::trunc(angleDeg + 0.5));
    return bin == 360 ? 0 : bin;
}

}  // namespace ptmatch::detail
