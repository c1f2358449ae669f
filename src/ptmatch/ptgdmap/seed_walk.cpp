#include "ptmatch/ptgdmap/seed_walk.h"

#include <vector>

namespace ptmatch::detail {
namespace {

/// A node on the way from the start of a walk to where it is now.
struct Step {
    std::int32_t node;
    std::int32_t nextLink;
};

/// One walk.   @param path  empty, and empty again afterwards; kept by the caller for its memory.
/// @return the number of nodes reached, without the start.
std::int32_t walk(std::span<PointNode> nodes, std::int32_t start, const AxisTest& test,
                  std::vector<Step>& path) {
    std::int32_t reached = 0;
    nodes[static_cast<std::size_t>(start)].visited = true;
    path.push_back({start, 0});
    while (!path.empty()) {
        Step& step = path.back();
        PointNode& node = nodes[static_cast<std::size_t>(step.node)];
        if (step.nextLink == node.numLinks) {
            path.pop_back();
            continue;
        }
        NeighbourLink& link = node.links[static_cast<std::size_t>(step.nextLink++)];
        PointNode& neighbour = nodes[static_cast<std::size_t>(link.neighbour)];
        if (neighbour.visited || !test.isAlongAxis(link.angleDeg)) continue;
        link.used = true;
        neighbour.visited = true;
        ++reached;
        path.push_back({link.neighbour, 0});  // the rest of this node's links wait on the path
    }
    return reached;
}

}  // namespace

AxisTest::AxisTest(const MapSetup& setup, const AxisDirections& axes)
    : axes_(axes),
      tolerance_(setup.dirTolDeg),
      upperTolerance_(360.0 - setup.dirTolDeg),
      hasX_(!setup.xv.isNull()),
      hasY_(!setup.yv.isNull()) {}

std::optional<std::int32_t> findSeed(std::span<PointNode> nodes, const AxisTest& test) {
    std::optional<std::int32_t> seed;
    std::int32_t longest = 0;
    std::vector<Step> path;
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        if (nodes[k].visited) continue;
        const auto start = static_cast<std::int32_t>(k);
        const std::int32_t reach = walk(nodes, start, test, path);
        if (reach > longest) {
            longest = reach;
            seed = start;
        }
    }
    return seed;
}

}  // namespace ptmatch::detail
